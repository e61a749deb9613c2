/** @file
  Result lines on the debug console.
**/
#include "TestReport.h"

STATIC CONST CHAR8  *mScenario = "";
STATIC UINT32       mBoot      = 0;
STATIC UINT32       mPassed    = 0;
STATIC UINT32       mFailed    = 0;

VOID
TestReportBegin (
  IN CONST CHAR8  *Scenario,
  IN UINT32       Boot,
  IN UINT32       Passed,
  IN UINT32       Failed
  )
{
  mScenario = Scenario;
  mBoot     = Boot;
  mPassed   = Passed;
  mFailed   = Failed;
}

BOOLEAN
TestExpect (
  IN BOOLEAN      Condition,
  IN CONST CHAR8  *Check,
  IN CONST CHAR8  *DetailFormat,
  ...
  )
{
  CHAR8    Detail[256];
  VA_LIST  Args;

  if (Condition) {
    mPassed++;
    FwLog ("CARVEX-TEST: PASS %a/boot%u/%a\n", mScenario, mBoot, Check);
    return TRUE;
  }

  VA_START (Args, DetailFormat);
  FwVSPrint (Detail, sizeof (Detail), DetailFormat, Args);
  VA_END (Args);
  mFailed++;
  FwLog ("CARVEX-TEST: FAIL %a/boot%u/%a %a\n", mScenario, mBoot, Check, Detail);
  return FALSE;
}

VOID
TestInfo (
  IN CONST CHAR8  *Format,
  ...
  )
{
  CHAR8    Text[384];
  VA_LIST  Args;

  VA_START (Args, Format);
  FwVSPrint (Text, sizeof (Text), Format, Args);
  VA_END (Args);
  FwLog ("CARVEX-TEST: INFO %a", Text);
}

UINT32
TestPassedCount (
  VOID
  )
{
  return mPassed;
}

UINT32
TestFailedCount (
  VOID
  )
{
  return mFailed;
}

/** @file
  Machine-readable results on QEMU's debug console, one line per check:
    CARVEX-TEST: PASS <scenario>/boot<n>/<check>
    CARVEX-TEST: FAIL <scenario>/boot<n>/<check> <detail>
  and at the end of the run "CARVEX-TEST: DONE <passed> <failed>" (counted
  over every boot of the scenario), or "CARVEX-TEST: REBOOT" before a reset
  that the scenario asked for.
**/
#ifndef TEST_REPORT_H_
#define TEST_REPORT_H_

#include "../Common/FwCommon.h"

// Where the results of this boot are filed, and the counts carried over
// from earlier boots of the same scenario.
VOID
TestReportBegin (
  IN CONST CHAR8  *Scenario,
  IN UINT32       Boot,
  IN UINT32       Passed,
  IN UINT32       Failed
  );

// Reports Check as passed when Condition holds, else as failed with the
// formatted detail. Returns Condition.
BOOLEAN
TestExpect (
  IN BOOLEAN      Condition,
  IN CONST CHAR8  *Check,
  IN CONST CHAR8  *DetailFormat,
  ...
  );

// An informational line (not a result).
VOID
TestInfo (
  IN CONST CHAR8  *Format,
  ...
  );

UINT32
TestPassedCount (
  VOID
  );

UINT32
TestFailedCount (
  VOID
  );

#endif

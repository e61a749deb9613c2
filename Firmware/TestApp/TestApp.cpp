/** @file
  The OVMF test application (\EFI\BOOT\BOOTX64.EFI). It reads the scenario
  name from \carvex\scenario.txt, runs that scenario's step for this boot,
  and then either resets (the scenario wants another boot: QEMU runs with
  -no-reboot, so the runner starts it again on the same variable store) or
  reports DONE and powers off.

  The boot number and the counts so far live in a non-volatile variable of
  the test's own, deleted when the scenario is done.
**/
#include "../Common/FwCommon.h"
#include "Scenarios.h"
#include "TestReport.h"

#define SCENARIO_FILE      u"\\carvex\\scenario.txt"
#define SCENARIO_NAME_MAX  48

typedef struct {
  UINT32    Boot;
  UINT32    Passed;
  UINT32    Failed;
} TEST_STATE;

STATIC CHAR16    mStateName[] = u"CarvexTestState";
STATIC EFI_GUID  mStateGuid   = { 0x6B1E3C5A, 0x2F4D, 0x4B8E, { 0x9A, 0x71, 0x3C, 0x0D, 0x5E, 0x8F, 0x1A, 0x24 } };

// The first word of the scenario file.
STATIC
BOOLEAN
ReadScenarioName (
  OUT CHAR8  Name[SCENARIO_NAME_MAX]
  )
{
  CHAR8       *Text;
  UINTN       Size;
  UINTN       Length;
  EFI_STATUS  Status;

  Status = FwReadFile (SCENARIO_FILE, reinterpret_cast<VOID **> (&Text), &Size);
  if (EFI_ERROR (Status)) {
    FwLog ("CARVEX-TEST: FAIL setup/scenario-file %s: %r\n", SCENARIO_FILE, Status);
    return FALSE;
  }

  for (Length = 0; Length + 1 < SCENARIO_NAME_MAX && Text[Length] > ' '; Length++) {
    Name[Length] = Text[Length];
  }

  Name[Length] = 0;
  gFwBS->FreePool (Text);
  return (BOOLEAN)(Length > 0);
}

STATIC
VOID
LoadState (
  OUT TEST_STATE  *State
  )
{
  UINTN  Size;

  Size = sizeof (*State);
  if (EFI_ERROR (gFwRT->GetVariable (mStateName, &mStateGuid, NULL, &Size, State)) || (Size != sizeof (*State))) {
    State->Boot   = 0;
    State->Passed = 0;
    State->Failed = 0;
  }

  State->Boot++;
}

STATIC
VOID
SaveState (
  IN TEST_STATE  *State
  )
{
  gFwRT->SetVariable (
           mStateName,
           &mStateGuid,
           EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
           sizeof (*State),
           State
           );
}

STATIC
VOID
Finish (
  IN TEST_STATE  *State,
  IN BOOLEAN     AnotherBoot
  )
{
  State->Passed = TestPassedCount ();
  State->Failed = TestFailedCount ();
  if (AnotherBoot) {
    SaveState (State);
    FwLog ("CARVEX-TEST: REBOOT %u %u\n", State->Passed, State->Failed);
    gFwRT->ResetSystem (EfiResetCold, EFI_SUCCESS, 0, NULL);
  } else {
    gFwRT->SetVariable (mStateName, &mStateGuid, 0, 0, NULL);
    FwLog ("CARVEX-TEST: DONE %u %u\n", State->Passed, State->Failed);
    gFwRT->ResetSystem (EfiResetShutdown, EFI_SUCCESS, 0, NULL);
  }
}

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  STATIC CHAR8     mScenarioName[SCENARIO_NAME_MAX];
  TEST_STATE       State;
  CONST SCENARIO   *Scenario;
  SCENARIO_RESULT  Result;

  FwInitialize (ImageHandle, SystemTable);
  FwLog ("CARVEX-TEST: START firmware %s revision 0x%x\n", gFwST->FirmwareVendor, gFwST->FirmwareRevision);
  LoadState (&State);
  if (!ReadScenarioName (mScenarioName)) {
    TestReportBegin ("setup", State.Boot, State.Passed, State.Failed);
    Finish (&State, FALSE);
    return EFI_NOT_FOUND;
  }

  TestReportBegin (mScenarioName, State.Boot, State.Passed, State.Failed);
  Scenario = FindScenario (mScenarioName);
  if (!TestExpect (Scenario != NULL, "known-scenario", "no scenario named %a", mScenarioName) ||
      !TestExpect (State.Boot <= Scenario->Boots, "boot-count", "boot %u of a %u-boot scenario", State.Boot, Scenario->Boots))
  {
    Finish (&State, FALSE);
    return EFI_ABORTED;
  }

  // Saved before the scenario runs, so that a reset from elsewhere (the
  // driver's own, say) still counts as a boot.
  SaveState (&State);
  FwLog ("CARVEX-TEST: BOOT %u %a\n", State.Boot, mScenarioName);
  Result = Scenario->Run (State.Boot);
  Finish (&State, (BOOLEAN)(Result == ScenarioNextBoot));
  return EFI_SUCCESS;
}

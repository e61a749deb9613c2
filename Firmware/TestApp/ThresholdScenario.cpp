/** @file
  A setup save in OVMF: the platform's CarvekConfigVar holds a pending
  alarm threshold (30, with 10 in force), as a change on the threshold page
  leaves it; the save slot puts 30 in force, writes the variable back with
  the attributes it had, and sets every module's threshold to 30 with its
  alarm's enabled state kept.
**/
#include "Scenarios.h"
#include "ExpectedVariables.h"
#include "Platform.h"
#include "TestReport.h"
#include <Library/DebugLib.h>
#include <NvmDimmRecords.h>
#include <Protocol/NvmDimmConfig.h>

#define BOARD_MODULES          12
#define SENSOR_REMAINING       3
#define PENDING_THRESHOLD      30

namespace {

CHAR16  mSlots[] = u"0 1 2 3";

// The module's threshold and enabled state; FALSE when the vendor refuses.
BOOLEAN
ReadAlarm (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *Config,
  IN  UINT16                    DimmId,
  OUT UINT16                    *Threshold,
  OUT UINT8                     *Enabled
  )
{
  COMMAND_STATUS  CommandStatus;
  UINTN           Index;

  for (Index = 0; Index < sizeof (CommandStatus); Index++) {
    reinterpret_cast<UINT8 *> (&CommandStatus)[Index] = 0;
  }
  return (BOOLEAN)!EFI_ERROR (Config->GetAlarmThresholds (Config, DimmId, SENSOR_REMAINING, Threshold, Enabled, &CommandStatus));
}

}  // namespace

SCENARIO_RESULT
SetupThresholds (
  IN UINT32  Boot
  )
{
  PLATFORM_SETUP            Setup = { EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };
  NVM_DIMM_CONFIG_PROTOCOL  *Config;
  EFI_HANDLE                Driver;
  UINT8                     Variable[EXPECT_CARVEK_CONFIG_SIZE + 1];
  UINT8                     EnabledBefore[BOARD_MODULES];
  UINT16                    Threshold;
  UINT8                     Enabled;
  UINT32                    Attributes;
  UINTN                     Size;
  UINT16                    DimmId;
  UINT32                    Wrong;
  EFI_STATUS                Status;

  (VOID)Boot;
  if (!PlatformBringUp (&Setup) || !PlatformStartDevices ()) {
    return ScenarioDone;
  }

  // The platform's setup infrastructure created the variable.
  Size   = sizeof (Variable);
  Status = PlatformReadVariable (gExpectCarvekConfigName, &gExpectCarvekConfigGuid, &Attributes, &Size, Variable);
  TestExpect (
    Status == EFI_SUCCESS && Size == EXPECT_CARVEK_CONFIG_SIZE && Attributes == EXPECT_ATTRIBUTES_NV_BS_RT,
    "threshold-variable-exists",
    "CarvekConfigVar: %r, %lu bytes, attributes %x",
    Status,
    static_cast<UINT64> (Size),
    Attributes
    );

  Config = NULL;
  Status = gFwBS->LocateProtocol (&gNvmDimmConfigProtocolGuid, NULL, reinterpret_cast<VOID **> (&Config));
  if (!TestExpect (!EFI_ERROR (Status) && Config != NULL, "vendor-protocol", "NVM DIMM config protocol: %r", Status)) {
    return ScenarioDone;
  }

  Wrong = 0;
  for (DimmId = 1; DimmId <= BOARD_MODULES; DimmId++) {
    Wrong += ReadAlarm (Config, DimmId, &Threshold, &EnabledBefore[DimmId - 1]) ? 0 : 1;
  }

  if (!TestExpect (Wrong == 0, "alarms-readable", "%u modules refuse GetAlarmThresholds", Wrong)) {
    return ScenarioDone;
  }

  Variable[0] = 10;
  Variable[1] = PENDING_THRESHOLD;
  Variable[2] = 1;
  Variable[3] = 0;
  Status      = PlatformWriteVariable (gExpectCarvekConfigName, &gExpectCarvekConfigGuid, EXPECT_ATTRIBUTES_NV_BS_RT, EXPECT_CARVEK_CONFIG_SIZE, Variable);
  TestExpect (!EFI_ERROR (Status), "pending-threshold-written", "CarvekConfigVar = 10, 30, 1, 0: %r", Status);

  Status = PlatformLoadDriver (&Driver);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status)) {
    return ScenarioDone;
  }

  Status = gFwBS->StartImage (Driver, NULL, NULL);
  TestExpect (Status == EFI_SUCCESS, "entry-succeeds", "entry returned %r", Status);
  Status = PlatformDispatch (mSlots);
  TestExpect (Status == EFI_SUCCESS, "save-slot", "slot 3 returned %r", Status);

  Size   = sizeof (Variable);
  Status = PlatformReadVariable (gExpectCarvekConfigName, &gExpectCarvekConfigGuid, &Attributes, &Size, Variable);
  TestExpect (
    Status == EFI_SUCCESS && Size == EXPECT_CARVEK_CONFIG_SIZE && Attributes == EXPECT_ATTRIBUTES_NV_BS_RT &&
    Variable[0] == PENDING_THRESHOLD && Variable[1] == PENDING_THRESHOLD && Variable[2] == 0 && Variable[3] == 0,
    "threshold-in-force-after-save",
    "CarvekConfigVar: %r, %lu bytes, attributes %x, %u %u %u %u",
    Status,
    static_cast<UINT64> (Size),
    Attributes,
    (UINT32)Variable[0],
    (UINT32)Variable[1],
    (UINT32)Variable[2],
    (UINT32)Variable[3]
    );

  Wrong = 0;
  for (DimmId = 1; DimmId <= BOARD_MODULES; DimmId++) {
    if (!ReadAlarm (Config, DimmId, &Threshold, &Enabled) || (Threshold != PENDING_THRESHOLD) || (Enabled != EnabledBefore[DimmId - 1])) {
      Wrong++;
      TestInfo ("module %u: threshold %u, enabled %u\n", (UINT32)DimmId, (UINT32)Threshold, (UINT32)Enabled);
    }
  }

  TestExpect (Wrong == 0, "modules-at-new-threshold", "%u modules differ", Wrong);
  return ScenarioDone;
}

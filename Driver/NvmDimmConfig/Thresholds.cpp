/** @file
  Percentage-remaining alarm thresholds: read every module's, write only the
  ones that differ, and keep each alarm's enabled state as it was.
**/
#include "Thresholds.h"
#include "CarvexConfig.h"
#include "DimmInventory.h"
#include "NvmStatus.h"
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

EFI_STATUS
EFIAPI
ConfigPercentageRemainingThresholds (
  IN UINT8  Threshold
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;
  UINT32          Count;
  UINT16          *pThresholds;
  UINT8           *pEnabledStates;
  DIMM_RECORD     *pDimms;
  UINT32          DimmCount;
  UINT16          DimmId;

  DEBUG ((DEBUG_INFO, "ConfigPercentageRemainingThresholds: Entry ThirdPartyPercentageRemainingThresholds = %d\n", Threshold));

  pCommandStatus = NULL;
  Status         = LocateCarvexConfigProtocol ();
  if (!EFI_ERROR (Status)) {
    Status = InitializeCommandStatus (&pCommandStatus);
  }

  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "ConfigPercentageRemainingThresholdsFailed on InitializeCommandStatus\n"));
    return Status;
  }

  pThresholds    = NULL;
  pEnabledStates = NULL;
  pDimms         = NULL;
  DimmCount      = 0;

  Count = GetDimmCount ();
  DEBUG ((DEBUG_INFO, "ConfigPercentageRemainingThresholds: DimmCount:%d\n", Count));

  // One element at least, so that no modules is not an allocation failure.
  pThresholds = (UINT16 *)AllocateZeroPool ((Count + 1) * sizeof (UINT16));
  if (pThresholds == NULL) {
    DEBUG ((DEBUG_ERROR, "ConfigPercentageRemainingThresholds: Allocate failed for SpareBlockAlarmThresholdsOrg\n"));
    Status = EFI_OUT_OF_RESOURCES;
    goto Finish;
  }

  pEnabledStates = (UINT8 *)AllocateZeroPool (Count + 1);
  if (pEnabledStates == NULL) {
    DEBUG ((DEBUG_ERROR, "ConfigPercentageRemainingThresholds: Allocate failed for SpareBlockAlarmOrgEnabledState\n"));
    Status = EFI_OUT_OF_RESOURCES;
    goto Finish;
  }

  Status = GetDimms (&pDimms, &DimmCount);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "ConfigPercentageRemainingThresholds: GetDimms failed: %r\n", Status));
    goto Finish;
  }

  if (DimmCount > Count) {
    DimmCount = Count;
  }

  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    Status = mNvmDimmConfigProtocol->GetAlarmThresholds (
                                       mNvmDimmConfigProtocol,
                                       pDimms[Index].DimmId,
                                       SENSOR_PERCENTAGE_REMAINING,
                                       &pThresholds[Index],
                                       &pEnabledStates[Index],
                                       pCommandStatus
                                       );
    if (EFI_ERROR (Status)) {
      DEBUG ((
        DEBUG_ERROR,
        "ConfigPercentageRemainingThresholds: GetAlarmThresholds failed for DimmId 0x%04X, Status: %r\n",
        pDimms[Index].DimmId,
        Status
        ));
      // An unreadable module reads as threshold 0, so it is written, and its
      // alarm as disabled (0).
      pThresholds[Index]    = 0;
      pEnabledStates[Index] = 0;
    }
  }

  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    DimmId = pDimms[Index].DimmId;
    if (pThresholds[Index] == Threshold) {
      DEBUG ((
        DEBUG_INFO,
        "ConfigPercentageRemainingThresholds: DimmId 0x%04X, SpareBlockAlarmOrgEnabledState: %d, SpareBlockAlarmThresholdsOrg: %d, no need to change thresholds\n",
        DimmId,
        pEnabledStates[Index],
        pThresholds[Index]
        ));
      continue;
    }

    DEBUG ((
      DEBUG_INFO,
      "ConfigPercentageRemainingThresholds: DimmId 0x%04X, thresholds changed, %d -> %d\n",
      DimmId,
      pThresholds[Index],
      Threshold
      ));
    Status = mNvmDimmConfigProtocol->SetAlarmThresholds (
                                       mNvmDimmConfigProtocol,
                                       &DimmId,
                                       1,
                                       SENSOR_PERCENTAGE_REMAINING,
                                       Threshold,
                                       pEnabledStates[Index],
                                       pCommandStatus
                                       );
    if (EFI_ERROR (Status)) {
      DEBUG ((
        DEBUG_ERROR,
        "ConfigPercentageRemainingThresholds: SetAlarmThresholds failed for DimmId 0x%04X, Status: %r\n",
        DimmId,
        Status
        ));
    }
  }

Finish:
  FreeCommandStatus (&pCommandStatus);
  if (pDimms != NULL) {
    FreePool (pDimms);
  }

  if (pThresholds != NULL) {
    FreePool (pThresholds);
  }

  if (pEnabledStates != NULL) {
    FreePool (pEnabledStates);
  }

  DEBUG ((DEBUG_INFO, "ConfigPercentageRemainingThresholds: Exit Status = %r.\n", Status));
  return Status;
}

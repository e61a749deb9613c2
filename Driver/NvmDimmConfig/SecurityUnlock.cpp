/** @file
  Unlock of every Locked module with one passphrase, and the per-module
  outcome table that the module details report afterwards.
**/
#include "Security.h"
#include "CarvexConfig.h"
#include "DimmInventory.h"
#include "NvmStatus.h"
#include "../Bmc/AuditLog.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

// Readers never look at more entries than this.
#define AUTO_UNLOCK_TABLE_MAX_ENTRIES  96

// One module's outcome, found by its device locator.
typedef struct {
  CHAR16    DeviceLocator[DIMM_DEVICE_LOCATOR_LENGTH];
  UINT8     AutoUnlockState;
  UINT8     Spare;
} AUTO_UNLOCK_OUTCOME;

static_assert (sizeof (AUTO_UNLOCK_OUTCOME) == 258, "outcome entry is 258 bytes");
static_assert (OFFSET_OF (AUTO_UNLOCK_OUTCOME, AutoUnlockState) == 256, "outcome entry layout");

// Absent until the first unlock run; kept until boot services end.
STATIC AUTO_UNLOCK_OUTCOME  *mAutoUnlockOutcomes     = NULL;
STATIC UINT32               mAutoUnlockOutcomeCount = 0;

UINT8
EFIAPI
GetAutoUnlockState (
  IN CONST CHAR16  *pDeviceLocator
  )
{
  UINT32  Entries;

  if (mAutoUnlockOutcomes == NULL) {
    return AUTO_UNLOCK_STATE_NOT_APPLICABLE;
  }

  Entries = mAutoUnlockOutcomeCount;
  if (Entries > AUTO_UNLOCK_TABLE_MAX_ENTRIES) {
    Entries = AUTO_UNLOCK_TABLE_MAX_ENTRIES;
  }

  for (UINT32 Index = 0; Index < Entries; Index++) {
    if (StrnCmp (pDeviceLocator, mAutoUnlockOutcomes[Index].DeviceLocator, DIMM_DEVICE_LOCATOR_LENGTH) == 0) {
      return mAutoUnlockOutcomes[Index].AutoUnlockState;
    }
  }

  return AUTO_UNLOCK_STATE_OTHER;
}

// A fresh table for DimmCount modules, replacing an earlier run's. Without
// one the modules are still tried; their outcomes read Not Applicable.
STATIC
VOID
ResetAutoUnlockOutcomes (
  IN UINT32  DimmCount
  )
{
  if (mAutoUnlockOutcomes != NULL) {
    FreePool (mAutoUnlockOutcomes);
    mAutoUnlockOutcomes     = NULL;
    mAutoUnlockOutcomeCount = 0;
  }

  if (DimmCount == 0) {
    return;
  }

  mAutoUnlockOutcomes = (AUTO_UNLOCK_OUTCOME *)AllocateZeroPool ((UINTN)DimmCount * sizeof (AUTO_UNLOCK_OUTCOME));
  if (mAutoUnlockOutcomes == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to allocate the auto unlock outcome table\n", "UnlockLockedDcpmms"));
    return;
  }

  mAutoUnlockOutcomeCount = DimmCount;
}

VOID
EFIAPI
UnlockLockedDcpmms (
  IN  CHAR16   *pPassphrase OPTIONAL,
  OUT BOOLEAN  *pLockedFound
  )
{
  EFI_STATUS           Status;
  COMMAND_STATUS       *pCommandStatus;
  DIMM_RECORD          *pDimms;
  UINT32               DimmCount;
  UINT16               DimmId;
  UINT8                SecurityState;
  BOOLEAN              InvalidPassphrase;
  AUTO_UNLOCK_OUTCOME  *pOutcome;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to LocateCarvexConfigProtocol:%r\n", __func__, Status));
    return;
  }

  pCommandStatus = NULL;
  Status         = InitializeCommandStatus (&pCommandStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to InitializeCommandStatus:%r\n", __func__, Status));
    return;
  }

  pDimms            = NULL;
  DimmCount         = 0;
  InvalidPassphrase = FALSE;
  Status            = GetDimms (&pDimms, &DimmCount);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to GetDimms:%r\n", __func__, Status));
    goto Finish;
  }

  ResetAutoUnlockOutcomes (DimmCount);

  if ((pDimms == NULL) || (DimmCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:pDimms %p, DimmCount %d\n", __func__, pDimms, DimmCount));
    goto Finish;
  }

  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    pOutcome = (Index < mAutoUnlockOutcomeCount) ? &mAutoUnlockOutcomes[Index] : NULL;
    if (pOutcome != NULL) {
      CopyMem (pOutcome->DeviceLocator, DimmRecordLocator (&pDimms[Index]), sizeof (pOutcome->DeviceLocator));
      pOutcome->AutoUnlockState = AUTO_UNLOCK_STATE_NOT_APPLICABLE;
    }

    SecurityState = pDimms[Index].SecurityState;
    DEBUG ((DEBUG_ERROR, "%a:%s secuirty state %d\n", __func__, DimmRecordLocator (&pDimms[Index]), SecurityState));
    if (SecurityState != DIMM_SECURITY_STATE_LOCKED) {
      continue;
    }

    if (pLockedFound != NULL) {
      *pLockedFound = TRUE;
    }

    if (pPassphrase == NULL) {
      if (pOutcome != NULL) {
        pOutcome->AutoUnlockState = AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST;
      }

      continue;
    }

    // Each module's answer stands alone, whatever the previous one said.
    DimmId                        = pDimms[Index].DimmId;
    pCommandStatus->GeneralStatus = COMMAND_STATUS_INITIAL_GENERAL_STATUS;
    Status = mNvmDimmConfigProtocol->SetSecurityState (
                                       mNvmDimmConfigProtocol,
                                       &DimmId,
                                       1,
                                       SECURITY_OPERATION_UNLOCK,
                                       pPassphrase,
                                       NULL,
                                       pCommandStatus
                                       );
    DEBUG ((DEBUG_WARN, "%a:SetSecurityState:%r:%d\n", __func__, Status, pCommandStatus->GeneralStatus));
    if (Status != EFI_SUCCESS) {
      DEBUG ((DEBUG_ERROR, "%a:Fails to unlock %s (UID:%s)\n", __func__, DimmRecordLocator (&pDimms[Index]), DimmRecordUid (&pDimms[Index])));
      if (pCommandStatus->GeneralStatus == NVM_ERR_INVALID_PASSPHRASE) {
        InvalidPassphrase = TRUE;
        if (pOutcome != NULL) {
          pOutcome->AutoUnlockState = AUTO_UNLOCK_STATE_INVALID_PASSPHRASE;
        }
      }
    } else if (pOutcome != NULL) {
      pOutcome->AutoUnlockState = AUTO_UNLOCK_STATE_SUCCESS;
    }
  }

  // Each module's outcome, for whoever reads the log after the boot. The
  // locator is copied so that a full one still ends in a NUL.
  for (UINT32 Index = 0; Index < mAutoUnlockOutcomeCount; Index++) {
    CHAR16  Locator[DIMM_DEVICE_LOCATOR_LENGTH + 1];

    CopyMem (Locator, mAutoUnlockOutcomes[Index].DeviceLocator, sizeof (mAutoUnlockOutcomes[Index].DeviceLocator));
    Locator[DIMM_DEVICE_LOCATOR_LENGTH] = 0;
    DEBUG ((DEBUG_INFO, "%a:%s auto unlock state %d\n", __func__, Locator, mAutoUnlockOutcomes[Index].AutoUnlockState));
  }

  // One entry per run, however many modules refused the passphrase.
  if (InvalidPassphrase) {
    AuditLog (AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_INVALID_PASSPHRASE);
  }

Finish:
  if (pDimms != NULL) {
    FreePool (pDimms);
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
}

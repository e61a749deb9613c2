/** @file
  Security queries over the module records and security operations through
  the NVM DIMM config protocol.
**/
#include "Security.h"
#include "CarvexConfig.h"
#include "DimmInventory.h"
#include "NvmStatus.h"
#include "Scrub.h"
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

// A secure erase refused because a scrub runs is tried this often in all.
#define SECURE_ERASE_ATTEMPTS  10

STATIC
BOOLEAN
IsArsRefusal (
  IN UINT16  NvmStatus
  )
{
  return (NvmStatus == NVM_ERR_ARS_IN_PROGRESS) || (NvmStatus == NVM_ERR_ARS_IN_PROGRESS_SECURITY);
}

EFI_STATUS
EFIAPI
GetSystemSecurityState (
  OUT UINT8    *pSecurityState,
  OUT BOOLEAN  *pUnlockedOrFrozen OPTIONAL
  )
{
  EFI_STATUS   Status;
  DIMM_RECORD  *pDimms;
  UINT32       DimmCount;
  UINT8        FirstState;
  UINT8        State;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (pSecurityState == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  pDimms    = NULL;
  DimmCount = 0;
  Status    = GetDimms (&pDimms, &DimmCount);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  if ((pDimms == NULL) || (DimmCount == 0)) {
    if (pDimms != NULL) {
      FreePool (pDimms);
    }

    return Status;
  }

  FirstState = pDimms[0].SecurityState;
  State      = FirstState;
  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    DEBUG ((DEBUG_ERROR, "%a:%s secuirty state %d\n", __func__, DimmRecordLocator (&pDimms[Index]), pDimms[Index].SecurityState));
    if (pDimms[Index].SecurityState != FirstState) {
      State = DIMM_SECURITY_STATE_MIXED;
      break;
    }
  }

  *pSecurityState = State;

  if (pUnlockedOrFrozen != NULL) {
    for (UINT32 Index = 0; Index < DimmCount; Index++) {
      if ((pDimms[Index].SecurityState == DIMM_SECURITY_STATE_UNLOCKED) ||
          (pDimms[Index].SecurityState == DIMM_SECURITY_STATE_FROZEN))
      {
        *pUnlockedOrFrozen = TRUE;
        break;
      }
    }
  }

  FreePool (pDimms);
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
LockedDcpmmsExist (
  OUT BOOLEAN  *pLockedDcpmmsExist
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;
  DIMM_RECORD     *pDimms;
  UINT32          DimmCount;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (pLockedDcpmmsExist == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:pLockedDcpmmsExist is NULL:%r\n", __func__, EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to LocateCarvexConfigProtocol:%r\n", __func__, Status));
    return Status;
  }

  pCommandStatus = NULL;
  Status         = InitializeCommandStatus (&pCommandStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to InitializeCommandStatus:%r\n", __func__, Status));
    return Status;
  }

  pDimms    = NULL;
  DimmCount = 0;
  Status    = GetDimms (&pDimms, &DimmCount);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to GetDimms:%r\n", __func__, Status));
  } else if ((pDimms == NULL) || (DimmCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:pDimms %p, DimmCount %d\n", __func__, pDimms, DimmCount));
  } else {
    for (UINT32 Index = 0; Index < DimmCount; Index++) {
      DEBUG ((DEBUG_ERROR, "%a:%s security state %d\n", __func__, DimmRecordLocator (&pDimms[Index]), pDimms[Index].SecurityState));
      if (pDimms[Index].SecurityState == DIMM_SECURITY_STATE_LOCKED) {
        *pLockedDcpmmsExist = TRUE;
        break;
      }
    }
  }

  if (pDimms != NULL) {
    FreePool (pDimms);
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_WARN, "%a:Exit:%r:LockedDcpmmsExist %d \n", __func__, Status, *pLockedDcpmmsExist));
  return Status;
}

EFI_STATUS
EFIAPI
SetSystemSecurityState (
  IN  UINT16  *pDimmIds OPTIONAL,
  IN  UINT32  DimmIdCount,
  IN  UINT16  SecurityOperation,
  IN  CHAR16  *pPassphrase OPTIONAL,
  IN  CHAR16  *pNewPassphrase OPTIONAL,
  OUT UINT16  *pNvmStatus
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;
  UINT16          NvmStatus;
  UINT32          Attempts;
  BOOLEAN         ArsStopped;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (((SecurityOperation == SECURITY_OPERATION_CHANGE_PASSPHRASE) ||
       (SecurityOperation == SECURITY_OPERATION_DISABLE) ||
       (SecurityOperation == SECURITY_OPERATION_UNLOCK) ||
       (SecurityOperation == SECURITY_OPERATION_SECURE_ERASE)) &&
      (pPassphrase == NULL))
  {
    DEBUG ((DEBUG_ERROR, "%a:No passphrase\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  if (((SecurityOperation == SECURITY_OPERATION_ENABLE) ||
       (SecurityOperation == SECURITY_OPERATION_CHANGE_PASSPHRASE)) &&
      ((pNewPassphrase == NULL) || (pNewPassphrase[0] == u'\0')))
  {
    DEBUG ((DEBUG_ERROR, "%a:No Newpassphrase\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  DEBUG ((DEBUG_WARN, "%a:SecurityOperation %d\n", __func__, SecurityOperation));
  if (SecurityOperation == SECURITY_OPERATION_FREEZE) {
    return EFI_UNSUPPORTED;
  }

  if ((SecurityOperation == 0) || (SecurityOperation > SECURITY_OPERATION_SECURE_ERASE)) {
    return EFI_INVALID_PARAMETER;
  }

  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  ArsStopped = FALSE;
  for (Attempts = 1; ; Attempts++) {
    // A retry is judged by its own answer only.
    pCommandStatus->GeneralStatus = COMMAND_STATUS_INITIAL_GENERAL_STATUS;
    Status = mNvmDimmConfigProtocol->SetSecurityState (
                                       mNvmDimmConfigProtocol,
                                       pDimmIds,
                                       DimmIdCount,
                                       SecurityOperation,
                                       pPassphrase,
                                       pNewPassphrase,
                                       pCommandStatus
                                       );
    NvmStatus = pCommandStatus->GeneralStatus;
    if (pNvmStatus != NULL) {
      *pNvmStatus = NvmStatus;
    }

    DEBUG ((DEBUG_WARN, "%a:SetSecurityState:%r:%d\n", __func__, Status, NvmStatus));

    if (!IsArsRefusal (NvmStatus)) {
      break;
    }

    if (SecurityOperation != SECURITY_OPERATION_SECURE_ERASE) {
      DEBUG ((DEBUG_ERROR, "%a:SecurityOperation %d failed caused by ARS in progress\n", __func__, SecurityOperation));
      break;
    }

    // The erase waits for no scrub: stop it and try again.
    if (!EFI_ERROR (DcpmmArsOp (TRUE))) {
      ArsStopped = TRUE;
    }

    if (Attempts == SECURE_ERASE_ATTEMPTS) {
      break;
    }
  }

  if (ArsStopped) {
    DcpmmArsOp (FALSE);
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

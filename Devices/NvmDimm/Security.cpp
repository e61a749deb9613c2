/** @file
  Module security: enable, change, disable, unlock, freeze and secure
  erase, with the wrong-passphrase limit that holds until the next power
  cycle.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>

typedef struct {
  EFI_STATUS    Status;
  UINT16        NvmStatus;
} SECURITY_OUTCOME;

STATIC CONST SECURITY_OUTCOME  mDone = { EFI_SUCCESS, NVM_SUCCESS };

STATIC
SECURITY_OUTCOME
Refuse (
  IN EFI_STATUS  Status,
  IN UINT16      NvmStatus
  )
{
  SECURITY_OUTCOME  Outcome;

  Outcome.Status    = Status;
  Outcome.NvmStatus = NvmStatus;
  return Outcome;
}

STATIC
BOOLEAN
NewPassphraseValid (
  IN CONST CHAR16  *NewPassphrase
  )
{
  UINTN  Length;

  Length = StrnLenS (NewPassphrase, NVM_PASSPHRASE_MAX + 1);
  return NewPassphrase != NULL && Length != 0 && Length <= NVM_PASSPHRASE_MAX;
}

// Checks the passphrase of an enabled module; a wrong one counts towards
// the limit.
STATIC
BOOLEAN
PassphraseAccepted (
  IN OUT NVM_MODEL_DIMM  *Dimm,
  IN     CONST CHAR16    *Passphrase
  )
{
  if (StrnLenS (Passphrase, NVM_PASSPHRASE_MAX + 1) <= NVM_PASSPHRASE_MAX &&
      NvmStrEqual (Passphrase, Dimm->Passphrase, NVM_PASSPHRASE_MAX + 1))
  {
    return TRUE;
  }
  if (Dimm->WrongPassphrases < NVM_WRONG_PASSPHRASE_LIMIT) {
    Dimm->WrongPassphrases++;
  }
  return FALSE;
}

STATIC
VOID
ClearSecurity (
  IN OUT NVM_MODEL_DIMM  *Dimm
  )
{
  Dimm->SecurityEnabled = 0;
  Dimm->Locked          = 0;
  ZeroMemSecure (Dimm->Passphrase, sizeof (Dimm->Passphrase));
}

STATIC
SECURITY_OUTCOME
ApplyToDimm (
  IN     NVM_MODEL       *Model,
  IN OUT NVM_MODEL_DIMM  *Dimm,
  IN     UINT16          Operation,
  IN     CONST CHAR16    *Passphrase,
  IN     CONST CHAR16    *NewPassphrase
  )
{
  UINT8  State;

  State = NvmModelSecurityState (Dimm);
  if (State == DIMM_SECURITY_STATE_EXCEEDED) {
    return Refuse (EFI_ACCESS_DENIED, NVM_ERR_SECURITY_COUNT_EXPIRED);
  }
  if (Operation != SECURITY_OPERATION_ENABLE && Operation != SECURITY_OPERATION_FREEZE &&
      Dimm->SecurityEnabled && Passphrase == NULL)
  {
    return Refuse (EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }

  switch (Operation) {
    case SECURITY_OPERATION_ENABLE:
      if (Dimm->SecurityEnabled) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_INVALID_SECURITY_STATE);
      }
      if (Dimm->Frozen) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_SECURITY_FROZEN);
      }
      if (Dimm->Goal.Pending) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_ENABLE_SECURITY_NOT_ALLOWED);
      }
      if (Dimm->ArsInProgress) {
        return Refuse (EFI_NOT_READY, NVM_ERR_ARS_IN_PROGRESS_SECURITY);
      }
      if (!NewPassphraseValid (NewPassphrase)) {
        return Refuse (EFI_INVALID_PARAMETER, NVM_ERR_NEW_PASSPHRASE_INVALID);
      }
      NvmStrCopy (Dimm->Passphrase, ARRAY_SIZE (Dimm->Passphrase), NewPassphrase);
      Dimm->SecurityEnabled = 1;
      Dimm->Locked          = 0;
      return mDone;

    case SECURITY_OPERATION_CHANGE_PASSPHRASE:
    case SECURITY_OPERATION_DISABLE:
      if (!Dimm->SecurityEnabled || Dimm->Locked) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_INVALID_SECURITY_STATE);
      }
      if (Dimm->Frozen) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_SECURITY_FROZEN);
      }
      if (Dimm->ArsInProgress) {
        return Refuse (EFI_NOT_READY, NVM_ERR_ARS_IN_PROGRESS_SECURITY);
      }
      if (Operation == SECURITY_OPERATION_CHANGE_PASSPHRASE && !NewPassphraseValid (NewPassphrase)) {
        return Refuse (EFI_INVALID_PARAMETER, NVM_ERR_NEW_PASSPHRASE_INVALID);
      }
      if (!PassphraseAccepted (Dimm, Passphrase)) {
        return Refuse (EFI_SECURITY_VIOLATION, NVM_ERR_INVALID_PASSPHRASE);
      }
      if (Operation == SECURITY_OPERATION_DISABLE) {
        ClearSecurity (Dimm);
      } else {
        NvmStrCopy (Dimm->Passphrase, ARRAY_SIZE (Dimm->Passphrase), NewPassphrase);
      }
      return mDone;

    case SECURITY_OPERATION_UNLOCK:
      if (State != DIMM_SECURITY_STATE_LOCKED) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_INVALID_SECURITY_STATE);
      }
      if (!PassphraseAccepted (Dimm, Passphrase)) {
        return Refuse (EFI_SECURITY_VIOLATION, NVM_ERR_INVALID_PASSPHRASE);
      }
      Dimm->Locked = 0;
      return mDone;

    case SECURITY_OPERATION_FREEZE:
      Dimm->Frozen = 1;
      return mDone;

    case SECURITY_OPERATION_SECURE_ERASE:
      if (Dimm->Frozen) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_SECURITY_FROZEN);
      }
      if (Dimm->ArsInProgress) {
        return Refuse (EFI_NOT_READY, NVM_ERR_ARS_IN_PROGRESS);
      }
      if (NvmDimmHasNamespaces (Model, Dimm->DimmId)) {
        return Refuse (EFI_ACCESS_DENIED, NVM_ERR_NAMESPACES_EXIST);
      }
      // Without security the erase needs no passphrase (callers pass "").
      if (Dimm->SecurityEnabled && !PassphraseAccepted (Dimm, Passphrase)) {
        return Refuse (EFI_SECURITY_VIOLATION, NVM_ERR_INVALID_PASSPHRASE);
      }
      ClearSecurity (Dimm);
      Dimm->EraseCount++;
      return mDone;

    default:
      return Refuse (EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
}

EFI_STATUS
EFIAPI
NvmSetSecurityState (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    *DimmIds,
  IN  UINT32                    DimmIdCount,
  IN  UINT16                    SecurityOperation,
  IN  CHAR16                    *Passphrase,
  IN  CHAR16                    *NewPassphrase,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL         *Model;
  EFI_STATUS        Status;
  UINT16            NvmStatus;
  UINT32            Index;
  SECURITY_OUTCOME  Outcome;
  SECURITY_OUTCOME  First;
  BOOLEAN           Selected[NVM_MAX_DIMMS];

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_SET_SECURITY_STATE, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL || SecurityOperation == 0 || SecurityOperation > SECURITY_OPERATION_SECURE_ERASE) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  Status = NvmSelectDimms (Model, DimmIds, DimmIdCount, NULL, 0, Selected, &NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }

  // Each module is served on its own; the call reports the first refusal.
  First = mDone;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    if (!Selected[Index]) {
      continue;
    }
    Outcome = ApplyToDimm (Model, &Model->Dimms[Index], SecurityOperation, Passphrase, NewPassphrase);
    NvmAddObjectStatus (CommandStatus, Model->Dimms[Index].DimmId, Outcome.NvmStatus);
    if (EFI_ERROR (Outcome.Status) && !EFI_ERROR (First.Status)) {
      First = Outcome;
    }
  }
  NvmSetGeneralStatus (CommandStatus, First.NvmStatus);
  return First.Status;
}

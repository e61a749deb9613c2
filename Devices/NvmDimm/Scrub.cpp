/** @file
  Address range scrub: the platform-wide status through the config protocol
  and each module's scrub settings through the mailbox. A stop keeps the
  address reached, so that a start from it resumes the scrub.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>

STATIC
EFI_STATUS
FindScrubDimm (
  IN  NVM_MODEL       *Model,
  IN  UINT16          DimmId,
  OUT NVM_MODEL_DIMM  **Dimm
  )
{
  *Dimm = (Model == NULL) ? NULL : NvmModelFindDimm (Model, DimmId);
  return *Dimm == NULL ? EFI_NOT_FOUND : EFI_SUCCESS;
}

STATIC
VOID
StartScrub (
  IN OUT NVM_MODEL_DIMM  *Dimm,
  IN     UINT64          Start,
  IN     UINT64          End
  )
{
  Dimm->ArsStart   = Start;
  Dimm->ArsEnd     = End;
  Dimm->ArsCurrent = Start;
  // Nothing left to scrub: the scrub is complete as soon as it starts.
  Dimm->ArsInProgress = Start < End ? 1 : 0;
  Dimm->ArsStatus     = Start < End ? (UINT8)ARS_STATUS_IN_PROGRESS : (UINT8)ARS_STATUS_COMPLETED;
}

EFI_STATUS
EFIAPI
NvmModelStartScrub (
  IN OUT NVM_MODEL  *Model,
  IN     UINT16     DimmId
  )
{
  NVM_MODEL_DIMM  *Dimm;
  EFI_STATUS      Status;

  Status = FindScrubDimm (Model, DimmId, &Dimm);
  if (!EFI_ERROR (Status)) {
    StartScrub (Dimm, 0, Dimm->RawCapacity);
  }
  return Status;
}

EFI_STATUS
EFIAPI
NvmModelCompleteScrub (
  IN OUT NVM_MODEL  *Model,
  IN     UINT16     DimmId
  )
{
  NVM_MODEL_DIMM  *Dimm;
  EFI_STATUS      Status;

  Status = FindScrubDimm (Model, DimmId, &Dimm);
  if (!EFI_ERROR (Status)) {
    Dimm->ArsCurrent    = Dimm->ArsEnd;
    Dimm->ArsInProgress = 0;
    Dimm->ArsStatus     = ARS_STATUS_COMPLETED;
  }
  return Status;
}

EFI_STATUS
EFIAPI
NvmGetARSStatus (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  OUT UINT8                     *ArsStatus
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;
  UINT32      Index;
  UINT8       Platform;
  UINT8       Dimm;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_ARS_STATUS, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (ArsStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  // The platform reports its busiest module: in progress, then aborted,
  // then completed, then not started.
  Platform = ARS_STATUS_NOT_STARTED;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    Dimm = Model->Dimms[Index].ArsInProgress ? (UINT8)ARS_STATUS_IN_PROGRESS : Model->Dimms[Index].ArsStatus;
    if (Dimm == ARS_STATUS_IN_PROGRESS) {
      Platform = ARS_STATUS_IN_PROGRESS;
      break;
    }
    if (Dimm == ARS_STATUS_ABORTED || (Dimm == ARS_STATUS_COMPLETED && Platform != ARS_STATUS_ABORTED)) {
      Platform = Dimm;
    }
  }
  *ArsStatus = Platform;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
GetScrubSettings (
  IN  CONST NVM_MODEL_DIMM  *Dimm,
  OUT NVM_PASS_THRU_OUTPUT  *Output,
  OUT UINT8                 *MailboxStatus
  )
{
  NVM_ARS_PAYLOAD  Payload;

  if (Output == NULL) {
    *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
    return EFI_INVALID_PARAMETER;
  }
  if (Output->OutputPayloadSize < sizeof (Payload)) {
    *MailboxStatus = PT_MAILBOX_DATA_TRANSFER;
    return EFI_BUFFER_TOO_SMALL;
  }
  ZeroMem (&Payload, sizeof (Payload));
  Payload.Enable            = Dimm->ArsInProgress;
  Payload.DpaStartAddress   = Dimm->ArsStart;
  Payload.DpaEndAddress     = Dimm->ArsEnd;
  Payload.DpaCurrentAddress = Dimm->ArsCurrent;
  CopyMem (Output->OutputPayload, &Payload, sizeof (Payload));
  Output->OutputPayloadSize = sizeof (Payload);
  *MailboxStatus            = PT_MAILBOX_SUCCESS;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
SetScrubSettings (
  IN OUT NVM_MODEL_DIMM       *Dimm,
  IN     NVM_PASS_THRU_INPUT  *Input,
  OUT    UINT8                *MailboxStatus
  )
{
  NVM_ARS_PAYLOAD  Payload;

  if (Input->InputPayloadSize < sizeof (Payload)) {
    *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
    return EFI_INVALID_PARAMETER;
  }
  CopyMem (&Payload, Input->InputPayload, sizeof (Payload));
  if (Payload.Enable == 0) {
    // Stopping an idle scrub changes nothing.
    if (Dimm->ArsInProgress) {
      Dimm->ArsInProgress = 0;
      Dimm->ArsStatus     = ARS_STATUS_ABORTED;
    }
  } else {
    if (Payload.DpaStartAddress > Payload.DpaEndAddress || Payload.DpaEndAddress > Dimm->RawCapacity) {
      *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
      return EFI_DEVICE_ERROR;
    }
    StartScrub (Dimm, Payload.DpaStartAddress, Payload.DpaEndAddress);
  }
  *MailboxStatus = PT_MAILBOX_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmPassThru (
  IN  NVM_DIMM_PASS_THRU_PROTOCOL  *This,
  IN  UINT32                       DimmHandle,
  IN  NVM_PASS_THRU_INPUT          *Input,
  OUT NVM_PASS_THRU_OUTPUT         *Output,
  IN  UINT32                       Timeout,
  OUT UINT8                        *MailboxStatus
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  NVM_MODEL_DIMM  *Dimm;
  UINT8           Ignored;

  (VOID)This;
  (VOID)Timeout;  // the model answers at once
  if (NvmSlotEnter (NVM_SLOT_PASS_THRU, NULL, &Model, &Status, MailboxStatus != NULL ? MailboxStatus : &Ignored)) {
    return Status;
  }
  if (Input == NULL || MailboxStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  Dimm = NvmModelFindDimmByHandle (Model, DimmHandle);
  if (Dimm == NULL) {
    *MailboxStatus = PT_MAILBOX_INVALID_PARAMETER;
    return EFI_INVALID_PARAMETER;
  }
  // Only the header of a get request is read: it travels as 16 bytes.
  if (Input->SubOpcode == PT_SUBOPCODE_ADDRESS_RANGE_SCRUB) {
    if (Input->Opcode == PT_OPCODE_GET_FEATURES) {
      return GetScrubSettings (Dimm, Output, MailboxStatus);
    }
    if (Input->Opcode == PT_OPCODE_SET_FEATURES) {
      return SetScrubSettings (Dimm, Input, MailboxStatus);
    }
  }
  *MailboxStatus = PT_MAILBOX_UNSUPPORTED;
  return EFI_UNSUPPORTED;
}

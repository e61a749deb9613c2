/** @file
  The controller model's own side: initial state, checks of a stored model,
  the file store and fault control.
**/
#include "BmcModel.h"
#include <Library/BaseMemoryLib.h>

VOID
EFIAPI
BmcModelInitialize (
  OUT BMC_MODEL  *Model
  )
{
  ZeroMem (Model, sizeof (*Model));
  Model->Signature = BMC_MODEL_SIGNATURE;
  Model->Version   = BMC_MODEL_VERSION;
  Model->Size      = sizeof (BMC_MODEL);
}

STATIC
BOOLEAN
Terminated (
  IN CONST CHAR8  *Text,
  IN UINTN        Max
  )
{
  UINTN  Index;

  for (Index = 0; Index < Max; Index++) {
    if (Text[Index] == 0) {
      return TRUE;
    }
  }
  return FALSE;
}

EFI_STATUS
EFIAPI
BmcModelValidate (
  IN CONST BMC_MODEL  *Model
  )
{
  UINTN  Index;
  UINTN  Other;

  if (Model == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (Model->Signature != BMC_MODEL_SIGNATURE || Model->Version != BMC_MODEL_VERSION ||
      Model->Size != sizeof (BMC_MODEL))
  {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (Model->AuditCount > BMC_MAX_AUDIT_EVENTS || Model->AuditCount > Model->AuditSequence ||
      Model->LanEntryCount > BMC_MAX_LAN_ENTRIES || Model->LanReplacementCount > BMC_MAX_LAN_ENTRIES)
  {
    return EFI_VOLUME_CORRUPTED;
  }
  for (Index = 0; Index < BMC_MAX_FILES; Index++) {
    if (!Model->Files[Index].Present) {
      continue;
    }
    if (Model->Files[Index].Size > BMC_MAX_FILE_SIZE) {
      return EFI_VOLUME_CORRUPTED;
    }
    for (Other = 0; Other < Index; Other++) {
      if (Model->Files[Other].Present && Model->Files[Other].FileId == Model->Files[Index].FileId) {
        return EFI_VOLUME_CORRUPTED;
      }
    }
  }
  for (Index = 0; Index < Model->AuditCount; Index++) {
    if (!Terminated (Model->Audit[Index].MessageId, BMC_AUDIT_ID_LENGTH) ||
        !Terminated (Model->Audit[Index].MessageText, BMC_AUDIT_TEXT_LENGTH))
    {
      return EFI_VOLUME_CORRUPTED;
    }
  }
  for (Index = 0; Index < BMC_SLOT_COUNT; Index++) {
    if (Model->Faults[Index].Mode > BmcFaultAlways) {
      return EFI_VOLUME_CORRUPTED;
    }
  }
  return EFI_SUCCESS;
}

BMC_FILE *
EFIAPI
BmcModelFindFile (
  IN BMC_MODEL  *Model,
  IN UINT8      FileId
  )
{
  UINTN  Index;

  for (Index = 0; Index < BMC_MAX_FILES; Index++) {
    if (Model->Files[Index].Present && Model->Files[Index].FileId == FileId) {
      return &Model->Files[Index];
    }
  }
  return NULL;
}

EFI_STATUS
EFIAPI
BmcModelPutFile (
  IN OUT BMC_MODEL   *Model,
  IN     UINT8       FileId,
  IN     CONST VOID  *Data,
  IN     UINT32      Size
  )
{
  BMC_FILE  *File;
  UINTN     Index;

  if (Size > BMC_MAX_FILE_SIZE || (Data == NULL && Size != 0)) {
    return EFI_BAD_BUFFER_SIZE;
  }
  File = BmcModelFindFile (Model, FileId);
  for (Index = 0; File == NULL && Index < BMC_MAX_FILES; Index++) {
    if (!Model->Files[Index].Present) {
      File = &Model->Files[Index];
    }
  }
  if (File == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  ZeroMem (File, sizeof (*File));
  File->Present = 1;
  File->FileId  = FileId;
  File->Size    = Size;
  if (Size != 0) {
    CopyMem (File->Data, Data, Size);
  }
  return EFI_SUCCESS;
}

VOID
EFIAPI
BmcModelDeleteFile (
  IN OUT BMC_MODEL  *Model,
  IN     UINT8      FileId
  )
{
  BMC_FILE  *File;

  File = BmcModelFindFile (Model, FileId);
  if (File != NULL) {
    // The passphrase file is a secret.
    ZeroMemSecure (File, sizeof (*File));
  }
}

EFI_STATUS
EFIAPI
BmcModelSetFault (
  IN OUT BMC_MODEL       *Model,
  IN     UINTN           Slot,
  IN     BMC_FAULT_MODE  Mode,
  IN     UINT32          Skip,
  IN     UINT32          Count,
  IN     EFI_STATUS      Status,
  IN     UINT8           CompletionCode
  )
{
  BMC_FAULT  *Fault;

  if (Model == NULL || Slot >= BMC_SLOT_COUNT || Mode > BmcFaultAlways || (Mode == BmcFaultTimes && Count == 0)) {
    return EFI_INVALID_PARAMETER;
  }
  Fault = &Model->Faults[Slot];
  ZeroMem (Fault, sizeof (*Fault));
  Fault->Mode           = Mode;
  Fault->Skip           = Skip;
  Fault->Count          = Count;
  Fault->Status         = Status;
  Fault->CompletionCode = CompletionCode;
  return EFI_SUCCESS;
}

VOID
EFIAPI
BmcModelClearFaults (
  IN OUT BMC_MODEL  *Model
  )
{
  ZeroMem (Model->Faults, sizeof (Model->Faults));
}

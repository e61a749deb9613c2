/** @file
  The controller command protocol over the controller model: file read and
  write, audit log, remote physical presence, LAN setting table.
**/
#include "BmcModel.h"
#include <Library/BaseMemoryLib.h>

STATIC BMC_MODEL  *mBmcModel;

// Counts the call and tells whether an injected fault answers it instead.
STATIC
BOOLEAN
BmcSlotEnter (
  IN  UINTN       Slot,
  OUT BMC_MODEL   **Model,
  OUT EFI_STATUS  *Status,
  OUT UINT8       *CompletionCode OPTIONAL
  )
{
  BMC_FAULT  *Fault;
  BOOLEAN    Fires;

  *Model = mBmcModel;
  if (mBmcModel == NULL) {
    *Status = EFI_NOT_READY;
    return TRUE;
  }
  mBmcModel->CallCount[Slot]++;
  Fault = &mBmcModel->Faults[Slot];
  Fires = FALSE;
  if (Fault->Mode != BmcFaultOff) {
    if (Fault->Skip != 0) {
      Fault->Skip--;
    } else if (Fault->Mode == BmcFaultAlways) {
      Fires = TRUE;
    } else if (Fault->Count != 0) {
      Fires = TRUE;
      if (--Fault->Count == 0) {
        Fault->Mode = BmcFaultOff;
      }
    }
  }
  if (Fires) {
    *Status = Fault->Status;
    if (CompletionCode != NULL) {
      *CompletionCode = Fault->CompletionCode;
    }
  }
  return Fires;
}

STATIC
EFI_STATUS
Complete (
  OUT UINT8       *CompletionCode OPTIONAL,
  IN  UINT8       Code,
  IN  EFI_STATUS  Status
  )
{
  if (CompletionCode != NULL) {
    *CompletionCode = Code;
  }
  return Status;
}

STATIC
EFI_STATUS
EFIAPI
BmcReadFile (
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN     UINT8                   FileId,
  IN     UINTN                   Offset,
  IN     UINTN                   Size,
  OUT    VOID                    *Buffer,
  IN OUT UINTN                   *BytesRead,
  IN     UINTN                   Reserved,
  OUT    UINT8                   *CompletionCode,
  IN     BOOLEAN                 Wait
  )
{
  BMC_MODEL   *Model;
  EFI_STATUS  Status;
  BMC_FILE    *File;
  UINTN       Count;

  (VOID)This;
  (VOID)Reserved;
  (VOID)Wait;
  if (BmcSlotEnter (BMC_SLOT_READ_FILE, &Model, &Status, CompletionCode)) {
    return Status;
  }
  if ((Buffer == NULL && Size != 0) || BytesRead == NULL) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  File = BmcModelFindFile (Model, FileId);
  if (File == NULL) {
    return Complete (CompletionCode, VESK_COMPLETION_NOT_PRESENT, EFI_NOT_FOUND);
  }
  if (Offset > File->Size) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  Count = File->Size - Offset;
  if (Count > Size) {
    Count = Size;
  }
  if (Count != 0) {
    CopyMem (Buffer, &File->Data[Offset], Count);
  }
  *BytesRead = Count;
  return Complete (CompletionCode, VESK_COMPLETION_OK, EFI_SUCCESS);
}

STATIC
EFI_STATUS
EFIAPI
BmcWriteFile (
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN     UINT8                   FileId,
  IN     UINTN                   Offset,
  IN     VOID                    *Buffer,
  IN OUT UINTN                   *Size,
  IN     UINTN                   Reserved,
  OUT    UINT8                   *CompletionCode,
  IN     BOOLEAN                 Wait
  )
{
  BMC_MODEL   *Model;
  EFI_STATUS  Status;
  BMC_FILE    *File;
  UINT8       Old[BMC_MAX_FILE_SIZE];
  UINT32      OldSize;

  (VOID)This;
  (VOID)Reserved;
  (VOID)Wait;
  if (BmcSlotEnter (BMC_SLOT_WRITE_FILE, &Model, &Status, CompletionCode)) {
    return Status;
  }
  if (Size == NULL || (Buffer == NULL && *Size != 0)) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  if (Offset > BMC_MAX_FILE_SIZE || *Size > BMC_MAX_FILE_SIZE - Offset) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_BAD_BUFFER_SIZE);
  }
  // Bytes outside the written range keep their old value; a gap reads 0.
  ZeroMem (Old, sizeof (Old));
  OldSize = 0;
  File    = BmcModelFindFile (Model, FileId);
  if (File != NULL) {
    OldSize = File->Size;
    CopyMem (Old, File->Data, OldSize);
  }
  CopyMem (&Old[Offset], Buffer, *Size);
  if (Offset + *Size > OldSize) {
    OldSize = (UINT32)(Offset + *Size);
  }
  Status = BmcModelPutFile (Model, FileId, Old, OldSize);
  ZeroMemSecure (Old, sizeof (Old));
  if (EFI_ERROR (Status)) {
    return Complete (CompletionCode, VESK_COMPLETION_UNSPECIFIED, Status);
  }
  return Complete (CompletionCode, VESK_COMPLETION_OK, EFI_SUCCESS);
}

STATIC
VOID
CopyText (
  OUT CHAR8        *Destination,
  IN  UINTN        DestinationMax,
  IN  CONST CHAR8  *Source
  )
{
  UINTN  Index;

  for (Index = 0; Index + 1 < DestinationMax && Source[Index] != 0; Index++) {
    Destination[Index] = Source[Index];
  }
  for ( ; Index < DestinationMax; Index++) {
    Destination[Index] = 0;
  }
}

STATIC
EFI_STATUS
EFIAPI
BmcAddAuditLog (
  IN  VESK_COMMANDS_PROTOCOL  *This,
  IN  UINT16                  EventCode,
  IN  CHAR8                   *MessageText,
  IN  CHAR8                   *MessageId,
  OUT UINT64                  *CompletionCode,
  IN  UINT8                   Reserved
  )
{
  BMC_MODEL        *Model;
  EFI_STATUS       Status;
  UINT8            Code;
  BMC_AUDIT_EVENT  *Event;

  (VOID)This;
  (VOID)Reserved;
  Code = VESK_COMPLETION_OK;
  if (BmcSlotEnter (BMC_SLOT_ADD_AUDIT_LOG, &Model, &Status, &Code)) {
    if (CompletionCode != NULL) {
      *CompletionCode = Code;
    }
    return Status;
  }
  if (MessageText == NULL || MessageId == NULL) {
    if (CompletionCode != NULL) {
      *CompletionCode = VESK_COMPLETION_INVALID_FIELD;
    }
    return EFI_INVALID_PARAMETER;
  }
  if (Model->AuditCount == BMC_MAX_AUDIT_EVENTS) {
    CopyMem (&Model->Audit[0], &Model->Audit[1], sizeof (Model->Audit[0]) * (BMC_MAX_AUDIT_EVENTS - 1));
    Model->AuditCount--;
  }
  Event = &Model->Audit[Model->AuditCount++];
  ZeroMem (Event, sizeof (*Event));
  Event->Sequence  = ++Model->AuditSequence;
  Event->EventCode = EventCode;
  CopyText (Event->MessageId, BMC_AUDIT_ID_LENGTH, MessageId);
  CopyText (Event->MessageText, BMC_AUDIT_TEXT_LENGTH, MessageText);
  if (CompletionCode != NULL) {
    *CompletionCode = VESK_COMPLETION_OK;
  }
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
EFIAPI
BmcGetRemotePresenceSetting (
  IN  VESK_COMMANDS_PROTOCOL  *This,
  OUT UINT8                   *Enabled,
  OUT UINT8                   *Reserved,
  OUT UINT8                   *CompletionCode,
  IN  UINT8                   Wait
  )
{
  BMC_MODEL   *Model;
  EFI_STATUS  Status;

  (VOID)This;
  (VOID)Wait;
  if (BmcSlotEnter (BMC_SLOT_GET_REMOTE_PRESENCE_SETTING, &Model, &Status, CompletionCode)) {
    return Status;
  }
  if (Enabled == NULL) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  *Enabled = Model->RemotePresenceEnabled;
  if (Reserved != NULL) {
    *Reserved = 0;
  }
  return Complete (CompletionCode, VESK_COMPLETION_OK, EFI_SUCCESS);
}

STATIC
EFI_STATUS
EFIAPI
BmcGetRemotePPAssert (
  IN  VESK_COMMANDS_PROTOCOL  *This,
  OUT UINT8                   *Asserted,
  OUT UINT8                   *CompletionCode,
  IN  UINT8                   Wait
  )
{
  BMC_MODEL   *Model;
  EFI_STATUS  Status;

  (VOID)This;
  (VOID)Wait;
  if (BmcSlotEnter (BMC_SLOT_GET_REMOTE_PP_ASSERT, &Model, &Status, CompletionCode)) {
    return Status;
  }
  if (Asserted == NULL) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  // Presence can be asserted only while the feature is enabled.
  *Asserted = (Model->RemotePresenceEnabled && Model->RemotePresenceAsserted) ? 1 : 0;
  return Complete (CompletionCode, VESK_COMPLETION_OK, EFI_SUCCESS);
}

STATIC
EFI_STATUS
EFIAPI
BmcUpdateLanSettingTable (
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN OUT VOID                    **Table,
  IN OUT UINT32                  *Count,
  OUT    UINT8                   *CompletionCode,
  IN     UINT8                   Reserved
  )
{
  BMC_MODEL   *Model;
  EFI_STATUS  Status;
  UINT32      Kept;

  (VOID)This;
  (VOID)Reserved;
  if (BmcSlotEnter (BMC_SLOT_UPDATE_LAN_SETTING_TABLE, &Model, &Status, CompletionCode)) {
    return Status;
  }
  if (Table == NULL || Count == NULL || (*Table == NULL && *Count != 0)) {
    return Complete (CompletionCode, VESK_COMPLETION_INVALID_FIELD, EFI_INVALID_PARAMETER);
  }
  // The controller keeps what fits of the board's table.
  Kept = *Count < BMC_MAX_LAN_ENTRIES ? *Count : BMC_MAX_LAN_ENTRIES;
  ZeroMem (Model->LanTable, sizeof (Model->LanTable));
  if (Kept != 0) {
    CopyMem (Model->LanTable, *Table, Kept * sizeof (Model->LanTable[0]));
  }
  Model->LanEntryCount = Kept;
  // A controller configured with a table of its own hands that back
  // instead; it stays the controller's, so the caller copies it.
  if (Model->LanReplacementCount != 0 && Model->LanReplacementCount <= BMC_MAX_LAN_ENTRIES) {
    *Table = Model->LanReplacement;
    *Count = Model->LanReplacementCount;
  }
  return Complete (CompletionCode, VESK_COMPLETION_OK, EFI_SUCCESS);
}

STATIC VESK_COMMANDS_PROTOCOL  mVeskCommandsProtocol = {
  {},
  BmcReadFile,
  BmcWriteFile,
  {},
  BmcAddAuditLog,
  {},
  BmcGetRemotePresenceSetting,
  NULL,
  BmcGetRemotePPAssert,
  {},
  BmcUpdateLanSettingTable,
};

VOID
EFIAPI
BmcDeviceBind (
  IN BMC_MODEL  *Model OPTIONAL
  )
{
  mBmcModel = Model;
}

VESK_COMMANDS_PROTOCOL *
EFIAPI
BmcDeviceCommandsProtocol (
  VOID
  )
{
  return &mVeskCommandsProtocol;
}

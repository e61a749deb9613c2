/** @file
  The component data storage model and the storage protocol over it.
**/
#include "CdsModel.h"
#include <Library/BaseMemoryLib.h>

STATIC CDS_MODEL  *mCdsModel;

VOID
EFIAPI
CdsModelInitialize (
  OUT CDS_MODEL  *Model
  )
{
  ZeroMem (Model, sizeof (*Model));
  Model->Signature = CDS_MODEL_SIGNATURE;
  Model->Version   = CDS_MODEL_VERSION;
  Model->Size      = sizeof (CDS_MODEL);
}

EFI_STATUS
EFIAPI
CdsModelValidate (
  IN CONST CDS_MODEL  *Model
  )
{
  UINTN  Index;

  if (Model == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (Model->Signature != CDS_MODEL_SIGNATURE || Model->Version != CDS_MODEL_VERSION || Model->Size != sizeof (CDS_MODEL)) {
    return EFI_INCOMPATIBLE_VERSION;
  }
  for (Index = 0; Index < CDS_MAX_RECORDS; Index++) {
    if (Model->Records[Index].Present && Model->Records[Index].DataSize > CDS_MAX_RECORD_DATA) {
      return EFI_VOLUME_CORRUPTED;
    }
  }
  if (Model->FaultMode > CdsFaultAlways) {
    return EFI_VOLUME_CORRUPTED;
  }
  return EFI_SUCCESS;
}

CDS_RECORD *
EFIAPI
CdsModelFindRecord (
  IN CDS_MODEL  *Model,
  IN UINT32     ComponentType,
  IN UINT64     KeyValue
  )
{
  UINTN  Index;

  for (Index = 0; Index < CDS_MAX_RECORDS; Index++) {
    if (Model->Records[Index].Present && Model->Records[Index].ComponentType == ComponentType &&
        Model->Records[Index].KeyValue == KeyValue)
    {
      return &Model->Records[Index];
    }
  }
  return NULL;
}

EFI_STATUS
EFIAPI
CdsModelPutRecord (
  IN OUT CDS_MODEL       *Model,
  IN     CONST CDS_KEY   *Key,
  IN     UINT32          ComponentType,
  IN     UINT32          RecordClass,
  IN     UINT8           Scope,
  IN     CONST EFI_GUID  *Owner,
  IN     CONST VOID      *Data,
  IN     UINT32          DataSize,
  IN     UINT16          Tag
  )
{
  CDS_RECORD  *Record;
  UINT64      KeyValue;
  UINTN       Index;

  if (Key == NULL || (Data == NULL && DataSize != 0)) {
    return EFI_INVALID_PARAMETER;
  }
  if (DataSize > CDS_MAX_RECORD_DATA) {
    return EFI_BAD_BUFFER_SIZE;
  }
  // The key record is packed: its value is copied out, never referenced.
  CopyMem (&KeyValue, reinterpret_cast<CONST UINT8 *>(Key) + OFFSET_OF (CDS_KEY, Value), sizeof (KeyValue));
  Record = CdsModelFindRecord (Model, ComponentType, KeyValue);
  for (Index = 0; Record == NULL && Index < CDS_MAX_RECORDS; Index++) {
    if (!Model->Records[Index].Present) {
      Record = &Model->Records[Index];
    }
  }
  if (Record == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  ZeroMem (Record, sizeof (*Record));
  Record->Present       = 1;
  Record->ComponentType = ComponentType;
  Record->RecordClass   = RecordClass;
  Record->Scope         = Scope;
  Record->Tag           = Tag;
  Record->KeyValue      = KeyValue;
  Record->Sequence      = ++Model->StoreSequence;
  if (Owner != NULL) {
    CopyMem (&Record->Owner, Owner, sizeof (Record->Owner));
  }
  CopyMem (Record->Key, Key, sizeof (Record->Key));
  Record->DataSize = DataSize;
  if (DataSize != 0) {
    CopyMem (Record->Data, Data, DataSize);
  }
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
CdsModelSetFault (
  IN OUT CDS_MODEL       *Model,
  IN     CDS_FAULT_MODE  Mode,
  IN     UINT32          Skip,
  IN     UINT32          Count,
  IN     EFI_STATUS      Status
  )
{
  if (Model == NULL || Mode > CdsFaultAlways || (Mode == CdsFaultTimes && Count == 0)) {
    return EFI_INVALID_PARAMETER;
  }
  Model->FaultMode   = Mode;
  Model->FaultSkip   = Skip;
  Model->FaultCount  = Count;
  Model->FaultStatus = Status;
  return EFI_SUCCESS;
}

// Tells whether an injected fault answers this store instead.
STATIC
BOOLEAN
CdsFaultFires (
  IN OUT CDS_MODEL  *Model
  )
{
  if (Model->FaultMode == CdsFaultOff) {
    return FALSE;
  }
  if (Model->FaultSkip != 0) {
    Model->FaultSkip--;
    return FALSE;
  }
  if (Model->FaultMode == CdsFaultAlways) {
    return TRUE;
  }
  if (Model->FaultCount == 0) {
    return FALSE;
  }
  if (--Model->FaultCount == 0) {
    Model->FaultMode = CdsFaultOff;
  }
  return TRUE;
}

STATIC
EFI_STATUS
EFIAPI
CdsSetComponentData (
  IN COMPONENT_DATA_STORAGE_PROTOCOL  *This,
  IN VOID                             *Key,
  IN UINT32                           ComponentType,
  IN UINT32                           RecordClass,
  IN UINT8                            Scope,
  IN EFI_GUID                         *Owner,
  IN VOID                             *Data,
  IN UINT32                           DataSize,
  IN UINT16                           Tag
  )
{
  (VOID)This;
  if (mCdsModel == NULL) {
    return EFI_NOT_READY;
  }
  mCdsModel->CallCount++;
  if (CdsFaultFires (mCdsModel)) {
    return mCdsModel->FaultStatus;
  }
  return CdsModelPutRecord (mCdsModel, static_cast<CONST CDS_KEY *>(Key), ComponentType, RecordClass, Scope, Owner, Data, DataSize, Tag);
}

STATIC COMPONENT_DATA_STORAGE_PROTOCOL  mCdsStorage = {
  {},
  CdsSetComponentData,
};

VOID
EFIAPI
CdsDeviceBind (
  IN CDS_MODEL  *Model OPTIONAL
  )
{
  mCdsModel = Model;
}

COMPONENT_DATA_STORAGE_PROTOCOL *
EFIAPI
CdsDeviceStorageProtocol (
  VOID
  )
{
  return &mCdsStorage;
}

/** @file
  Model of the platform's component data storage: records kept by component
  type and key value, each with the key record, the constant arguments it
  was stored with and the serial data.

  CDS_MODEL is one flat, pointer-free block that the host platform owns
  across boots and persists; tests and the simulator read the records back.
**/
#ifndef CDS_MODEL_H_
#define CDS_MODEL_H_

#include <Uefi.h>
#include <Protocol/ComponentDataStorage.h>

#define CDS_MODEL_SIGNATURE  SIGNATURE_64 ('C','D','S','M','O','D','E','L')
#define CDS_MODEL_VERSION    1

#define CDS_MAX_RECORDS      64
#define CDS_MAX_RECORD_DATA  2048

typedef struct {
  UINT8       Present;
  UINT8       Scope;
  UINT16      Tag;
  UINT32      ComponentType;
  UINT32      RecordClass;
  UINT32      DataSize;
  UINT64      KeyValue;
  UINT32      Sequence;  // store order; a replaced record takes a new one
  UINT32      Reserved;
  EFI_GUID    Owner;
  UINT8       Key[sizeof (CDS_KEY)];
  UINT8       Reserved2[2];
  UINT8       Data[CDS_MAX_RECORD_DATA];
} CDS_RECORD;

typedef enum {
  CdsFaultOff = 0,
  CdsFaultTimes,   // fail the next Count stores (after Skip stores)
  CdsFaultAlways   // fail every store after Skip stores
} CDS_FAULT_MODE;

typedef struct {
  UINT64        Signature;  // CDS_MODEL_SIGNATURE
  UINT32        Version;    // CDS_MODEL_VERSION
  UINT32        Size;       // sizeof (CDS_MODEL)
  UINT32        StoreSequence;  // stores ever accepted
  UINT32        CallCount;      // SetComponentData calls, failed ones included
  CDS_RECORD    Records[CDS_MAX_RECORDS];

  // Test and simulator control.
  UINT32        FaultMode;  // CDS_FAULT_MODE
  UINT32        FaultSkip;
  UINT32        FaultCount;
  UINT32        Reserved;
  EFI_STATUS    FaultStatus;
} CDS_MODEL;

VOID EFIAPI CdsModelInitialize (OUT CDS_MODEL *Model);
EFI_STATUS EFIAPI CdsModelValidate (IN CONST CDS_MODEL *Model);

// The record stored under that type and key value, or NULL.
CDS_RECORD *EFIAPI CdsModelFindRecord (IN CDS_MODEL *Model, IN UINT32 ComponentType, IN UINT64 KeyValue);

// Stores a record the way SetComponentData does (replacing one of the same
// type and key value). EFI_BAD_BUFFER_SIZE above CDS_MAX_RECORD_DATA,
// EFI_OUT_OF_RESOURCES when every record slot is taken.
EFI_STATUS EFIAPI CdsModelPutRecord (
  IN OUT CDS_MODEL       *Model,
  IN     CONST CDS_KEY   *Key,
  IN     UINT32          ComponentType,
  IN     UINT32          RecordClass,
  IN     UINT8           Scope,
  IN     CONST EFI_GUID  *Owner,
  IN     CONST VOID      *Data,
  IN     UINT32          DataSize,
  IN     UINT16          Tag
  );

EFI_STATUS EFIAPI CdsModelSetFault (IN OUT CDS_MODEL *Model, IN CDS_FAULT_MODE Mode, IN UINT32 Skip, IN UINT32 Count, IN EFI_STATUS Status);

// The storage protocol over a model (NULL: every call fails with
// EFI_NOT_READY).
VOID EFIAPI CdsDeviceBind (IN CDS_MODEL *Model OPTIONAL);
COMPONENT_DATA_STORAGE_PROTOCOL *EFIAPI CdsDeviceStorageProtocol (VOID);

#endif

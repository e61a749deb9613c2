/** @file
  The platform's component data storage: inventory data kept per component
  type and key. Only SetComponentData (entry 13, 8-byte entries counted from
  0) is called by this firmware; the other entries are reserved.
**/
#ifndef PROTOCOL_COMPONENT_DATA_STORAGE_H_
#define PROTOCOL_COMPONENT_DATA_STORAGE_H_

#include <Uefi/UefiBaseType.h>
#include <Protocol/UbaConfigDatabase.h>

CARVEX_GUID_DEFINE (gEfiComponentDataStorageProtocolGuid, 0x90F3D74E, 0x3034, 0x4196, 0xBE, 0xF9, 0x34, 0xB8, 0x09, 0x7D, 0x64, 0x9C);
// Passed with every module record.
CARVEX_GUID_DEFINE (gCdsDimmRecordOwnerGuid, 0x0AEBE9A6, 0x918F, 0x496A, 0x9C, 0xAE, 0x2C, 0x4E, 0xF0, 0x5E, 0x46, 0x86);

// Component type of a persistent memory module.
#define CDS_COMPONENT_TYPE_DIMM  9
// The further constant arguments a module record is stored with; their
// meaning is the storage's.
#define CDS_DIMM_RECORD_CLASS    6
#define CDS_DIMM_RECORD_SCOPE    1
#define CDS_DIMM_RECORD_TAG      144

#pragma pack(1)
// The key a record is stored under.
typedef struct {
  UINT8                 Header[16];  // not used by the driver; zero
  UINT64                Value;       // the module's slot number
  DIMM_SLOT_LOCATION    Location;
} CDS_KEY;
#pragma pack()

static_assert (offsetof (CDS_KEY, Value) == 16, "key value at bytes 16..23");
static_assert (offsetof (CDS_KEY, Location) == 24, "slot location at bytes 24..37");
static_assert (sizeof (CDS_KEY) == 38, "38-byte key record");

typedef struct COMPONENT_DATA_STORAGE_PROTOCOL COMPONENT_DATA_STORAGE_PROTOCOL;

typedef EFI_STATUS (EFIAPI *CDS_SET_COMPONENT_DATA)(
  IN COMPONENT_DATA_STORAGE_PROTOCOL  *This,
  IN VOID                             *Key,            // CDS_KEY
  IN UINT32                           ComponentType,
  IN UINT32                           RecordClass,
  IN UINT8                            Scope,
  IN EFI_GUID                         *Owner,
  IN VOID                             *Data,
  IN UINT32                           DataSize,
  IN UINT16                           Tag
  );

typedef VOID *CDS_RESERVED_ENTRY;

struct COMPONENT_DATA_STORAGE_PROTOCOL {
  CDS_RESERVED_ENTRY        Reserved[13];      // 0-12
  CDS_SET_COMPONENT_DATA    SetComponentData;  // 13
};

static_assert (offsetof (COMPONENT_DATA_STORAGE_PROTOCOL, SetComponentData) == 13 * 8, "entry 13");

//
// The serial record of named items the storage is handed.
//
#define CDS_ITEM_TYPE_TEXT      0  // ASCII, XML-escaped, NUL-terminated
#define CDS_ITEM_TYPE_BYTES16   1
#define CDS_ITEM_TYPE_UINT16    2
#define CDS_ITEM_TYPE_UINT8     3
#define CDS_ITEM_TYPE_UINT32    4
#define CDS_ITEM_TYPE_UINT64    5
#define CDS_ITEM_TYPE_BYTE      6
#define CDS_ITEM_TYPE_RAW       7  // as many bytes as the caller gives
#define CDS_ITEM_ATTRIBUTE      1

// Header of the serial buffer: the number of items; the items follow.
#define CDS_SERIAL_HEADER_SIZE  8
// An item: total size, type, attribute, then the name with its NUL and the
// value. The total size counts all of it.
#define CDS_ITEM_HEADER_SIZE    12
#define CDS_ITEM_OVERHEAD       13  // header and the name's NUL

#endif

/** @file
  The board configuration database and the platform data record it holds:
  how many processor sockets the board has, how its DIMM slots are wired to
  processors, memory controllers and channels, and its network setting
  table. The record is a wire format shared with the database: 112 bytes,
  function pointers at fixed offsets.
**/
#ifndef PROTOCOL_UBA_CONFIG_DATABASE_H_
#define PROTOCOL_UBA_CONFIG_DATABASE_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gUbaConfigDatabaseProtocolGuid, 0xE03E0D46, 0x5263, 0x4845, 0xB0, 0xA4, 0x58, 0xD5, 0x7B, 0x31, 0x77, 0xE2);
// The key the platform data record is stored under.
CARVEX_GUID_DEFINE (gPlatformDataDxeGuid, 0x4F2F91D0, 0x2AD2, 0x4C98, 0x97, 0x10, 0xAE, 0xB1, 0xB5, 0x2E, 0x60, 0xF8);

typedef struct UBA_CONFIG_DATABASE_PROTOCOL UBA_CONFIG_DATABASE_PROTOCOL;

// Copies the data stored under ResourceGuid into Buffer. *BufferSize: in,
// the room in Buffer; out, the size of the data (EFI_BUFFER_TOO_SMALL when
// it does not fit). EFI_NOT_FOUND: nothing stored under that GUID.
typedef EFI_STATUS (EFIAPI *UBA_CONFIG_GET_DATA)(
  IN     UBA_CONFIG_DATABASE_PROTOCOL  *This,
  IN     CONST EFI_GUID                *ResourceGuid,
  OUT    VOID                          *Buffer,
  IN OUT UINTN                         *BufferSize
  );

typedef VOID *UBA_CONFIG_RESERVED_ENTRY;

struct UBA_CONFIG_DATABASE_PROTOCOL {
  UBA_CONFIG_RESERVED_ENTRY    Reserved[3];  // 0-2: not called by this firmware
  UBA_CONFIG_GET_DATA          GetData;      // 3
};

static_assert (offsetof (UBA_CONFIG_DATABASE_PROTOCOL, GetData) == 3 * 8, "get-data is the fourth entry");

//
// The platform data record.
//
#define PLATFORM_DATA_SIGNATURE  SIGNATURE_32 ('P', 'D', 'A', 'T')
#define PLATFORM_DATA_VERSION    1
#define PLATFORM_DATA_SIZE       112

typedef VOID (EFIAPI *PLATFORM_DATA_GET_UINT32)(OUT UINT32 *Value);
// *Table receives the DIMM map (DIMM_MAP_ENTRY entries ending with a
// terminator), *Count its number of entries as the board gives it.
typedef EFI_STATUS (EFIAPI *PLATFORM_DATA_GET_DIMM_MAP)(OUT VOID **Table, OUT UINTN *Count);
// *Table receives the network setting table (NETWORK_SETTING_ENTRY).
typedef EFI_STATUS (EFIAPI *PLATFORM_DATA_GET_NETWORK_SETTING)(OUT VOID **Table, OUT UINT32 *Count);

typedef struct {
  UINT32                               Signature;         // PLATFORM_DATA_SIGNATURE
  UINT32                               Version;           // PLATFORM_DATA_VERSION
  PLATFORM_DATA_GET_UINT32             GetSocketCount;    // 8
  PLATFORM_DATA_GET_UINT32             GetFactorA;        // 16: per-socket factor A
  PLATFORM_DATA_GET_UINT32             GetFactorB;        // 24: per-socket factor B
  PLATFORM_DATA_GET_DIMM_MAP           GetDimmMap;        // 32
  UINT8                                Reserved40[16];
  PLATFORM_DATA_GET_NETWORK_SETTING    GetNetworkSetting; // 56
  UINT8                                Reserved64[48];
} PLATFORM_DATA;

static_assert (sizeof (PLATFORM_DATA) == PLATFORM_DATA_SIZE, "112-byte record");
static_assert (offsetof (PLATFORM_DATA, GetSocketCount) == 8, "socket count getter");
static_assert (offsetof (PLATFORM_DATA, GetFactorA) == 16, "factor A getter");
static_assert (offsetof (PLATFORM_DATA, GetFactorB) == 24, "factor B getter");
static_assert (offsetof (PLATFORM_DATA, GetDimmMap) == 32, "DIMM map getter");
static_assert (offsetof (PLATFORM_DATA, GetNetworkSetting) == 56, "network setting getter");

//
// DIMM map: 10-byte entries; the table ends at the first entry whose
// processor index is 0xFF, after at most 255 entries.
//
#define DIMM_MAP_TERMINATOR   0xFF
#define DIMM_MAP_MAX_ENTRIES  255

#pragma pack(1)
typedef struct {
  UINT8    CpuIndex;       // DIMM_MAP_TERMINATOR ends the table
  UINT8    ImcNum;
  UINT8    ChannelByte;    // carried, not reported
  UINT8    ChannelNum;
  UINT8    DimmNum;
  UINT8    SilkScreenLabel;
  UINT8    SlotData[3];    // further slot data, carried
  UINT8    Unused;
} DIMM_MAP_ENTRY;

// Network setting entry: a kind and whether the item is present.
typedef struct {
  UINT32    Kind;
  UINT8     Reserved4[2];
  UINT8     Present;       // 1 when the item is present
  UINT8     Reserved7;
} NETWORK_SETTING_ENTRY;

// Where a slot sits in the chipset's terms; in/out for the map lookup.
typedef struct {
  UINT8    Found;          // 0: 1 after a successful lookup
  UINT8    DimmNum;        // 1: in, the silk-screen label; out, the DIMM number
  UINT8    SilkScreenLabel;// 2
  UINT8    SlotData[3];    // 3..5
  UINT8    Reserved6;      // 6: left as it was
  UINT8    ChannelByte;    // 7
  UINT8    ChannelNum;     // 8
  UINT8    Reserved9[3];   // 9..11: left as they were
  UINT8    ImcNum;         // 12
  UINT8    CpuIndex;       // 13
} DIMM_SLOT_LOCATION;
#pragma pack()

static_assert (sizeof (DIMM_MAP_ENTRY) == 10, "10-byte map entries");
static_assert (offsetof (DIMM_MAP_ENTRY, SilkScreenLabel) == 5, "label at byte 5");
static_assert (offsetof (DIMM_MAP_ENTRY, SlotData) == 6, "slot data at bytes 6..8");
static_assert (sizeof (NETWORK_SETTING_ENTRY) == 8, "8-byte network entries");
static_assert (offsetof (NETWORK_SETTING_ENTRY, Present) == 6, "present flag at byte 6");
static_assert (sizeof (DIMM_SLOT_LOCATION) == 14, "14-byte location record");
static_assert (offsetof (DIMM_SLOT_LOCATION, ChannelByte) == 7, "channel byte at 7");
static_assert (offsetof (DIMM_SLOT_LOCATION, ChannelNum) == 8, "channel number at 8");
static_assert (offsetof (DIMM_SLOT_LOCATION, ImcNum) == 12, "memory controller at 12");
static_assert (offsetof (DIMM_SLOT_LOCATION, CpuIndex) == 13, "processor index at 13");

#endif

/** @file
  Model of the board configuration database: the board's socket count, its
  two per-socket factors, its DIMM slot map and its network setting table,
  handed to firmware as the platform data record.

  BOARD_MODEL is one flat, pointer-free block that the host platform owns
  across boots and persists. Beside the board it holds what tests change to
  see how firmware copes: the record's signature and version, a map handed
  over without its terminator, and failing getters.
**/
#ifndef BOARD_MODEL_H_
#define BOARD_MODEL_H_

#include <Uefi.h>
#include <Protocol/UbaConfigDatabase.h>

#define BOARD_MODEL_SIGNATURE  SIGNATURE_64 ('B','O','A','R','D','M','D','L')
#define BOARD_MODEL_VERSION    1

// Room for a full map and its terminator, and for a broken map that runs
// past the longest one a board may have.
#define BOARD_MAX_MAP_ENTRIES      300
#define BOARD_MAX_NETWORK_ENTRIES  16

// Call counts per operation.
#define BOARD_CALL_GET_DATA         0
#define BOARD_CALL_DIMM_MAP         1
#define BOARD_CALL_NETWORK_SETTING  2
#define BOARD_CALL_COUNT            3

typedef struct {
  UINT64                   Signature;  // BOARD_MODEL_SIGNATURE
  UINT32                   Version;    // BOARD_MODEL_VERSION
  UINT32                   Size;       // sizeof (BOARD_MODEL)

  UINT32                   SocketCount;
  UINT32                   FactorA;
  UINT32                   FactorB;
  // Entries handed over as the map, the terminator included when the board
  // has one.
  UINT32                   DimmMapCount;
  DIMM_MAP_ENTRY           DimmMap[BOARD_MAX_MAP_ENTRIES];
  UINT8                    Reserved0[8];
  UINT32                   NetworkCount;
  UINT32                   Reserved1;
  NETWORK_SETTING_ENTRY    Network[BOARD_MAX_NETWORK_ENTRIES];

  // The record's header as handed over (PLATFORM_DATA_SIGNATURE and
  // PLATFORM_DATA_VERSION on a sound board).
  UINT32                   RecordSignature;
  UINT32                   RecordVersion;
  // Non-zero: that operation fails with this status.
  EFI_STATUS               GetDataStatus;
  EFI_STATUS               DimmMapStatus;
  EFI_STATUS               NetworkStatus;
  UINT32                   CallCount[BOARD_CALL_COUNT];
  UINT32                   Reserved2;
} BOARD_MODEL;

// An empty, sound board: no sockets, an empty map (its terminator only),
// no network entries.
VOID EFIAPI BoardModelInitialize (OUT BOARD_MODEL *Model);

// Appends a slot to the map, keeping the terminator last.
// EFI_OUT_OF_RESOURCES when the map is full.
EFI_STATUS EFIAPI BoardModelAddSlot (IN OUT BOARD_MODEL *Model, IN CONST DIMM_MAP_ENTRY *Entry);

// The embedded board: two processors, two memory controllers of three
// channels each per processor (factors 2 and 3), silk-screen labels 1 to 12
// in processor, controller and channel order, one DIMM per channel; a
// network table with an on-board LAN (kind 2) and a PHY (kind 4).
VOID EFIAPI BoardModelDefault (OUT BOARD_MODEL *Model);

// Checks a model read back from storage: signature, version, size, counts.
EFI_STATUS EFIAPI BoardModelValidate (IN CONST BOARD_MODEL *Model);

// The board configuration database over a model (NULL: every call fails
// with EFI_NOT_READY).
VOID EFIAPI BoardDeviceBind (IN BOARD_MODEL *Model OPTIONAL);
UBA_CONFIG_DATABASE_PROTOCOL *EFIAPI BoardDeviceDatabaseProtocol (VOID);

#endif

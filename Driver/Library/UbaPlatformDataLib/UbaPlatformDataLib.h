/** @file
  The board's platform data: fetched from the board configuration database
  when the driver loads, with private copies of the DIMM map and the network
  setting table, and the lookup from a slot's silk-screen label to where the
  slot sits in the chipset's terms.
**/
#ifndef LIBRARY_UBA_PLATFORM_DATA_LIB_H_
#define LIBRARY_UBA_PLATFORM_DATA_LIB_H_

#include <Uefi.h>
#include <Protocol/UbaConfigDatabase.h>

// Published by the constructor.
extern UINT32   MaxSocketPerSystem;
extern UINT32   MaxDimmPerSocket;   // factor A x factor B
extern UINT32   MaxDimmPerCpuNode;  // MaxDimmPerSocket x MaxSocketPerSystem
// The network table holds a present on-board LAN (kind 2) and a present PHY
// (kind 4).
extern BOOLEAN  gPlatformLomAndPhySupported;

// Run among the driver's library constructors; always EFI_SUCCESS.
EFI_STATUS EFIAPI UbaPlatformDataLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

// Fetches the platform data record and keeps its values and copies. A
// missing map or network table is not a failure.
EFI_STATUS EFIAPI GetUbaPlatformData (VOID);

// The kept copy of the DIMM map, fetched again when none is kept.
// EFI_NOT_FOUND when the board gave no map.
EFI_STATUS EFIAPI GetDimmMapTable (OUT DIMM_MAP_ENTRY **ppDimmMap);

// pLocation->DimmNum holds the silk-screen label to look for. On a match
// the record is filled from the map entry and marked found; otherwise it is
// left as it was (EFI_NOT_FOUND, or the status of fetching the map).
EFI_STATUS EFIAPI MapSilkScreenLabelToChipsetDimmAddress (IN OUT DIMM_SLOT_LOCATION *pLocation);

#endif

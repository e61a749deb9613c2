/** @file
  Inventory records: at pre-post-complete every module is reported to the
  platform's component data storage as one serial record of named items,
  keyed by its slot number.
**/
#ifndef INVENTORY_CARVEX_INVENTORY_H_
#define INVENTORY_CARVEX_INVENTORY_H_

#include <Uefi.h>

// Highest slot number a record is stored under.
#define INVENTORY_MAX_SLOT  96
// What GetDimmSlotInfo returns for a locator it cannot read.
#define INVENTORY_SLOT_FORMAT_ERROR  0xFFFFFFFFFFFFFFFFULL

// Locates the storage (once) and reports every module.
EFI_STATUS EFIAPI CarvexInventoryPrePostComplete (VOID);

// Builds and stores one record per module, in the protocol's order. A
// locator whose slot number cannot be read, or is above INVENTORY_MAX_SLOT,
// ends the inventory there; the records already stored stay.
EFI_STATUS EFIAPI GatherIntelDimmInfo (VOID);

// The slot number in the last two characters of a device locator ("DIMM 7"
// is 7, "CPU1_DIMM_12" is 12, "A1" is 1), or INVENTORY_SLOT_FORMAT_ERROR.
UINT64 EFIAPI GetDimmSlotInfo (IN CONST CHAR8 *DeviceLocator);

#endif

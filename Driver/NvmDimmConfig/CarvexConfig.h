/** @file
  Binding of the NVM DIMM config protocol: located once, kept for the boot.
**/
#ifndef NVM_DIMM_CONFIG_CARVEX_CONFIG_H_
#define NVM_DIMM_CONFIG_CARVEX_CONFIG_H_

#include <Uefi.h>
#include <Protocol/NvmDimmConfig.h>

// NULL until LocateCarvexConfigProtocol succeeds; never cleared afterwards.
extern NVM_DIMM_CONFIG_PROTOCOL  *mNvmDimmConfigProtocol;

EFI_STATUS EFIAPI LocateCarvexConfigProtocol (VOID);

// The client layer's queries and operations over the protocol.
#include "Capacity.h"
#include "Convert.h"
#include "DimmInventory.h"
#include "Goals.h"
#include "Regions.h"
#include "Scrub.h"
#include "Security.h"
#include "TextParse.h"
#include "Thresholds.h"

#endif

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

// The first steps of a change request: locate the protocol, then create the
// command status the call fills in. A failure is logged under pCaller (the
// calling function's __func__) and leaves nothing to free.
EFI_STATUS EFIAPI PrepareCommand (IN CONST CHAR8 *pCaller, OUT COMMAND_STATUS **ppCommandStatus);

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

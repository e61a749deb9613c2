/** @file
  Command status objects: created before one change request to the NVM DIMM
  config protocol and freed, with every node the protocol appended, after it.
**/
#ifndef NVM_DIMM_CONFIG_NVM_STATUS_H_
#define NVM_DIMM_CONFIG_NVM_STATUS_H_

#include <Uefi.h>
#include <Protocol/NvmDimmConfig.h>

EFI_STATUS EFIAPI InitializeCommandStatus (OUT COMMAND_STATUS **ppCommandStatus);
VOID EFIAPI FreeCommandStatus (IN OUT COMMAND_STATUS **ppCommandStatus);

#endif

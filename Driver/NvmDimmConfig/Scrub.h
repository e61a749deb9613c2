/** @file
  Address range scrub: read a module's scrub settings through the mailbox
  pass-through, and stop or restart the scrub on every module.
**/
#ifndef NVM_DIMM_CONFIG_SCRUB_H_
#define NVM_DIMM_CONFIG_SCRUB_H_

#include <Uefi.h>

// Stop TRUE: stop the scrub on every module when one is running. FALSE:
// start it again on every module from the address it had reached.
EFI_STATUS EFIAPI DcpmmArsOp (IN BOOLEAN Stop);
EFI_STATUS EFIAPI GetDcpmmArsConfig (IN UINT32 DimmHandle, OUT UINT8 *Enabled, OUT UINT64 *CurrentAddress, OUT UINT64 *EndAddress);
BOOLEAN EFIAPI IsArsInProgress (VOID);

#endif

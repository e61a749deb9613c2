/** @file
  Module details pages: the list of processors with modules, and one
  processor's page of up to six module blocks.
**/
#ifndef SETUP_DIMM_DETAILS_PAGES_H_
#define SETUP_DIMM_DETAILS_PAGES_H_

#include <Uefi.h>

// Rebuilds the processor links of "Intel Optane DCPMMs Details": one link
// per present processor, in ascending processor order.
EFI_STATUS EFIAPI UpdateDimmDetailsForm (VOID);

// Fills the processor page of socket SocketIndex (the link's question less
// 0x1000): its title, the module blocks in slot order and their subtitles.
EFI_STATUS EFIAPI UpdateSocketDimmDetailsForm (IN UINT32 SocketIndex);

// The slot number a device locator carries after its first five characters
// (leading blanks and zeros skipped, digits up to the first other
// character); 0 when there is none. Reads at most LocatorLength characters.
UINT64 EFIAPI LocatorSlotNumber (IN CONST CHAR16 *pLocator, IN UINTN LocatorLength);

#endif

/** @file
  Reading the platform's memory setup variable, which the driver trusts and
  writes back only at the one size it knows.
**/
#ifndef CARVEX_SOCKET_MEMORY_CONFIG_H_
#define CARVEX_SOCKET_MEMORY_CONFIG_H_

#include <Uefi.h>
#include <Guid/PlatformVariables.h>

// Reads SocketMemoryConfig whole into pConfig (SOCKET_MEMORY_CONFIG_SIZE
// bytes) with its attributes. A variable of any other size is the platform's
// own business: EFI_BAD_BUFFER_SIZE (or GetVariable's EFI_BUFFER_TOO_SMALL
// for a longer one), and pConfig is left zeroed so that nothing of it can be
// taken for a value. On any failure *pAttributes is 0.
EFI_STATUS EFIAPI GetSocketMemoryConfig (OUT UINT32 *pAttributes, OUT UINT8 *pConfig);

#endif

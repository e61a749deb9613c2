/** @file
  The platform's capacity totals, read from the protocol once and kept for
  the boot unless a caller asks for a refresh.
**/
#ifndef NVM_DIMM_CONFIG_CAPACITY_H_
#define NVM_DIMM_CONFIG_CAPACITY_H_

#include <Uefi.h>

// Rereads the totals; a failed read leaves them zero.
EFI_STATUS EFIAPI GetMemoryResourcesInfo (VOID);

// Bytes; 0 when a needed read failed. Refresh FALSE reuses the kept totals.
UINT64 EFIAPI GetTotalRawCapacity (IN BOOLEAN Refresh);
UINT64 EFIAPI GetTotalVolatileCapacity (IN BOOLEAN Refresh);
UINT64 EFIAPI GetTotalAppDirectCapacity (IN BOOLEAN Refresh);
UINT64 EFIAPI GetTotalUnconfiguredCapacity (IN BOOLEAN Refresh);
UINT64 EFIAPI GetTotalInaccessibleCapacity (IN BOOLEAN Refresh);
UINT64 EFIAPI GetTotalReservedCapacity (IN BOOLEAN Refresh);

#endif

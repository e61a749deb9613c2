/** @file
  Region query: every App Direct region the protocol has formed, as the
  driver's own records.
**/
#ifndef NVM_DIMM_CONFIG_REGIONS_H_
#define NVM_DIMM_CONFIG_REGIONS_H_

#include <Uefi.h>

typedef struct {
  UINT32    RegionId;                // the protocol's 16-bit identifier
  UINT16    SocketId;                // 0-based; shown as processor SocketId + 1
  UINT8     RegionType;              // bit 0 App Direct, bit 1 App Direct Not Interleaved
  UINT64    Capacity;                // bytes
  UINT64    FreeCapacity;            // bytes not yet in namespaces
  UINT64    AppDirNamespaceMaxSize;  // bytes
  UINT64    AppDirNamespaceMinSize;  // bytes
} REGION_DETAILS;

// A new array the caller frees with one FreePool; no regions: NULL and 0.
// On failure the outputs are NULL and 0 as well.
EFI_STATUS EFIAPI GetRegionDetails (OUT REGION_DETAILS **ppRegions, OUT UINT32 *pRegionCount);

#endif

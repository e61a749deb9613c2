/** @file
  Platform capacity totals with a boot-long cache.
**/
#include "Capacity.h"
#include "CarvexConfig.h"
#include <NvmDimmRecords.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>

STATIC MEMORY_RESOURCES_RECORD  mMemoryResources;
STATIC BOOLEAN                  mMemoryResourcesValid = FALSE;

typedef enum {
  TotalRaw,
  TotalVolatile,
  TotalAppDirect,
  TotalUnconfigured,
  TotalInaccessible,
  TotalReserved
} CAPACITY_TOTAL;

EFI_STATUS
EFIAPI
GetMemoryResourcesInfo (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  ZeroMem (&mMemoryResources, sizeof (mMemoryResources));
  Status = mNvmDimmConfigProtocol->GetMemoryResourcesInfo (mNvmDimmConfigProtocol, &mMemoryResources);
  if (!EFI_ERROR (Status)) {
    mMemoryResourcesValid = TRUE;
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

STATIC
UINT64
GetCapacityTotal (
  IN CONST CHAR8     *pName,
  IN UINTN           ExitLevel,
  IN BOOLEAN         Refresh,
  IN CAPACITY_TOTAL  Total
  )
{
  UINT64  Value;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", pName));

  if (Refresh || !mMemoryResourcesValid) {
    if (EFI_ERROR (GetMemoryResourcesInfo ())) {
      DEBUG ((ExitLevel, "%a:Exit:%lx\n", pName, (UINT64)0));
      return 0;
    }
  }

  switch (Total) {
    case TotalRaw:
      Value = mMemoryResources.RawCapacity;
      break;
    case TotalVolatile:
      Value = mMemoryResources.VolatileCapacity;
      break;
    case TotalAppDirect:
      Value = mMemoryResources.AppDirectCapacity;
      break;
    case TotalUnconfigured:
      Value = mMemoryResources.UnconfiguredCapacity;
      break;
    case TotalInaccessible:
      Value = mMemoryResources.InaccessibleCapacity;
      break;
    default:
      Value = mMemoryResources.ReservedCapacity;
      break;
  }

  DEBUG ((ExitLevel, "%a:Exit:%lx\n", pName, Value));
  return Value;
}

UINT64
EFIAPI
GetTotalRawCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_ERROR, Refresh, TotalRaw);
}

UINT64
EFIAPI
GetTotalVolatileCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_WARN, Refresh, TotalVolatile);
}

UINT64
EFIAPI
GetTotalAppDirectCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_WARN, Refresh, TotalAppDirect);
}

UINT64
EFIAPI
GetTotalUnconfiguredCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_WARN, Refresh, TotalUnconfigured);
}

UINT64
EFIAPI
GetTotalInaccessibleCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_WARN, Refresh, TotalInaccessible);
}

UINT64
EFIAPI
GetTotalReservedCapacity (
  IN BOOLEAN  Refresh
  )
{
  return GetCapacityTotal (__func__, DEBUG_WARN, Refresh, TotalReserved);
}

/** @file
  Region query over the NVM DIMM config protocol; no cache, every caller
  reads afresh.
**/
#include "Regions.h"
#include "CarvexConfig.h"
#include "NvmStatus.h"
#include <NvmDimmRecords.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

EFI_STATUS
EFIAPI
GetRegionDetails (
  OUT REGION_DETAILS  **ppRegions,
  OUT UINT32          *pRegionCount
  )
{
  EFI_STATUS      Status;
  UINT32          Count;
  REGION_RECORD   *pRecords;
  REGION_DETAILS  *pRegions;
  COMMAND_STATUS  *pCommandStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((ppRegions == NULL) || (pRegionCount == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  *pRegionCount = 0;
  *ppRegions    = NULL;

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  pRecords       = NULL;
  pCommandStatus = NULL;
  Count          = 0;

  Status = mNvmDimmConfigProtocol->GetRegionCount (mNvmDimmConfigProtocol, &Count);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Unable to get region count:%r\n", __func__, Status));
    goto Finish;
  }

  DEBUG ((DEBUG_WARN, "%a:RegionCount %d\n", __func__, Count));
  if (Count == 0) {
    goto Finish;
  }

  pRecords = (REGION_RECORD *)AllocateZeroPool ((UINTN)Count * sizeof (REGION_RECORD));
  if (pRecords == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to allocate region info buffer\n", __func__));
    Status = EFI_OUT_OF_RESOURCES;
    goto Finish;
  }

  Status = InitializeCommandStatus (&pCommandStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to InitializeCommandStatus:%r\n", __func__, Status));
    goto Finish;
  }

  Status = mNvmDimmConfigProtocol->GetRegions (mNvmDimmConfigProtocol, Count, pRecords, pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:GetRegions:%r:%d:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus, Count));
  if (EFI_ERROR (Status)) {
    goto Finish;
  }

  pRegions = (REGION_DETAILS *)AllocateZeroPool ((UINTN)Count * sizeof (REGION_DETAILS));
  if (pRegions == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to allocate region details buffer\n", __func__));
    Status = EFI_OUT_OF_RESOURCES;
    goto Finish;
  }

  for (UINT32 Index = 0; Index < Count; Index++) {
    pRegions[Index].RegionId               = pRecords[Index].RegionId;
    pRegions[Index].SocketId               = pRecords[Index].SocketId;
    pRegions[Index].RegionType             = pRecords[Index].RegionType;
    pRegions[Index].Capacity               = pRecords[Index].Capacity;
    pRegions[Index].FreeCapacity           = pRecords[Index].FreeCapacity;
    pRegions[Index].AppDirNamespaceMaxSize = pRecords[Index].AppDirNamespaceMaxSize;
    pRegions[Index].AppDirNamespaceMinSize = pRecords[Index].AppDirNamespaceMinSize;

    // The sizes are logged by their low 32 bits.
    DEBUG ((DEBUG_WARN, "%a:RegionId:%04x\n", __func__, pRegions[Index].RegionId));
    DEBUG ((DEBUG_WARN, "%a:SocketId:%d\n", __func__, pRegions[Index].SocketId));
    DEBUG ((DEBUG_WARN, "%a:RegionType:%x\n", __func__, pRegions[Index].RegionType));
    DEBUG ((DEBUG_WARN, "%a:Capacity:%x\n", __func__, (UINT32)pRegions[Index].Capacity));
    DEBUG ((DEBUG_WARN, "%a:FreeCapacity:%x\n", __func__, (UINT32)pRegions[Index].FreeCapacity));
    DEBUG ((DEBUG_WARN, "%a:AppDirNamespaceMaxSize:%x\n", __func__, (UINT32)pRegions[Index].AppDirNamespaceMaxSize));
    DEBUG ((DEBUG_WARN, "%a:AppDirNamespaceMinSize:%x\n", __func__, (UINT32)pRegions[Index].AppDirNamespaceMinSize));
  }

  *ppRegions    = pRegions;
  *pRegionCount = Count;

Finish:
  if (pRecords != NULL) {
    FreePool (pRecords);
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

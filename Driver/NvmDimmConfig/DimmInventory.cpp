/** @file
  Module inventory queries: the protocol's raw module records turned into the
  driver's module details, the module count cached for the boot, and the
  processor sockets.
**/
#include "DimmInventory.h"
#include "CarvexConfig.h"
#include "Convert.h"
#include "Security.h"
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

// The protocol's module count, kept from the first successful query.
STATIC UINT32   mDimmCount      = 0;
STATIC BOOLEAN  mDimmCountValid = FALSE;

UINT32
EFIAPI
GetDimmCount (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT32      Count;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return 0;
  }

  Count  = 0;
  Status = mNvmDimmConfigProtocol->GetDimmCount (mNvmDimmConfigProtocol, &Count);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to GetDimmCount:%r\n", __func__, Status));
    return 0;
  }

  mDimmCount = Count;
  DEBUG ((DEBUG_WARN, "%a:DimmCount:%x\n", __func__, mDimmCount));
  mDimmCountValid = TRUE;

  DEBUG ((DEBUG_WARN, "%a:Exit:%lx\n", __func__, (UINT64)Count));
  return Count;
}

EFI_STATUS
EFIAPI
GetDimms (
  OUT DIMM_RECORD  **ppDimms,
  OUT UINT32       *pCount
  )
{
  EFI_STATUS   Status;
  UINT32       Count;
  DIMM_RECORD  *pDimms;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((ppDimms == NULL) || (pCount == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Count  = 0;
  Status = mNvmDimmConfigProtocol->GetDimmCount (mNvmDimmConfigProtocol, &Count);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to GetDimmCount:%r\n", __func__, Status));
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:DimmCount:%d\n", __func__, Count));

  // No modules: nothing to read and no array to hand over.
  if (Count == 0) {
    *ppDimms = NULL;
    *pCount  = 0;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  pDimms = (DIMM_RECORD *)AllocateZeroPool ((UINTN)Count * sizeof (DIMM_RECORD));
  if (pDimms == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Allocate failure for pDimms\n", __func__));
    return EFI_OUT_OF_RESOURCES;
  }

  Status = mNvmDimmConfigProtocol->GetDimms (mNvmDimmConfigProtocol, Count, DIMM_CATEGORIES_ALL_DETAILS, pDimms);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimms failure:%r\n", __func__, Status));
    FreePool (pDimms);
    return Status;
  }

  *ppDimms = pDimms;
  *pCount  = Count;

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Fills one details record from its raw record and logs it.
STATIC
VOID
FillDimmDetails (
  OUT DIMM_DETAILS       *pDetails,
  IN  CONST DIMM_RECORD  *pRecord
  )
{
  CONST UINT8  *pRaw;

  pRaw = reinterpret_cast<CONST UINT8 *>(pRecord);
  CopyMem (pDetails->DeviceLocator, pRaw + OFFSET_OF (DIMM_RECORD, DeviceLocator), sizeof (pDetails->DeviceLocator));
  ConvertFwVersion (pDetails->FwVer, pRecord->FwVersionMajor, pRecord->FwVersionMinor, pRecord->FwVersionHotfix, pRecord->FwVersionBuild);
  CopyMem (pDetails->DimmUid, pRaw + OFFSET_OF (DIMM_RECORD, DimmUid), sizeof (pDetails->DimmUid));
  pDetails->VendorId             = pRecord->VendorId;
  pDetails->DeviceId             = pRecord->DeviceId;
  pDetails->SubsystemVendorId    = pRecord->SubsystemVendorId;
  pDetails->SubsystemDeviceId    = pRecord->SubsystemDeviceId;
  pDetails->SocketId             = pRecord->SocketId;
  pDetails->Capacity             = pRecord->RawCapacity;
  pDetails->VolatileCapacity     = pRecord->VolatileCapacity;
  pDetails->AppDirectCapacity    = pRecord->AppDirectCapacity;
  pDetails->UnconfiguredCapacity = pRecord->UnconfiguredCapacity;
  pDetails->ReservedCapacity     = pRecord->ReservedCapacity;
  pDetails->InaccessibleCapacity = pRecord->InaccessibleCapacity;
  pDetails->Configured           = pRecord->Configured;
  pDetails->DimmID               = pRecord->DimmId;
  pDetails->DimmHandle           = (UINT16)(pRecord->DimmHandle & 0xFFFF);
  pDetails->SecurityState        = pRecord->SecurityState;

  // The raw locator is byte for byte the one copied above.
  DEBUG ((DEBUG_WARN, "%a:SocketId:%d:%d\n", "GetDimmDetails", pDetails->SocketId, pRecord->SocketId));
  DEBUG ((DEBUG_WARN, "%a:DeviceLocator:%s:%s\n", "GetDimmDetails", pDetails->DeviceLocator, pDetails->DeviceLocator));
  DEBUG ((DEBUG_WARN, "%a:FwVer:%s\n", "GetDimmDetails", pDetails->FwVer));
  DEBUG ((DEBUG_WARN, "%a:Capacity:%lx\n", "GetDimmDetails", pDetails->Capacity));
  DEBUG ((DEBUG_WARN, "%a:VolatileCapacity:%lx:%lx\n", "GetDimmDetails", pDetails->VolatileCapacity, (UINT64)pRecord->VolatileCapacity));
  DEBUG ((DEBUG_WARN, "%a:AppDirectCapacity:%lx:%lx\n", "GetDimmDetails", pDetails->AppDirectCapacity, (UINT64)pRecord->AppDirectCapacity));
  DEBUG ((DEBUG_WARN, "%a:UnconfiguredCapacity:%lx:%lx\n", "GetDimmDetails", pDetails->UnconfiguredCapacity, (UINT64)pRecord->UnconfiguredCapacity));
  DEBUG ((DEBUG_WARN, "%a:InaccessibleCapacity:%lx:%lx\n", "GetDimmDetails", pDetails->InaccessibleCapacity, (UINT64)pRecord->InaccessibleCapacity));
  DEBUG ((DEBUG_WARN, "%a:ReservedCapacity:%lx:%lx\n", "GetDimmDetails", pDetails->ReservedCapacity, (UINT64)pRecord->ReservedCapacity));
  DEBUG ((DEBUG_WARN, "%a:Configured:%d:%d\n", "GetDimmDetails", pDetails->Configured, pRecord->Configured));
  DEBUG ((DEBUG_WARN, "%a:DimmHandle:0x%x:0x%x\n", "GetDimmDetails", pDetails->DimmHandle, (UINT32)pRecord->DimmHandle));
  DEBUG ((DEBUG_WARN, "%a:DimmID:0x%x\n", "GetDimmDetails", pDetails->DimmID));
  DEBUG ((DEBUG_WARN, "%a:DimmUid:%s\n", "GetDimmDetails", pDetails->DimmUid));
  DEBUG ((DEBUG_WARN, "%a:VendorId:%04x\n", "GetDimmDetails", pDetails->VendorId));
  DEBUG ((DEBUG_WARN, "%a:DeviceId:%04x\n", "GetDimmDetails", pDetails->DeviceId));
  DEBUG ((DEBUG_WARN, "%a:SubsystemVendorId:%04x\n", "GetDimmDetails", pDetails->SubsystemVendorId));
  DEBUG ((DEBUG_WARN, "%a:SubsystemDeviceId:%04x\n", "GetDimmDetails", pDetails->SubsystemDeviceId));
  DEBUG ((DEBUG_WARN, "%a:SecurityState:%x\n", "GetDimmDetails", pDetails->SecurityState));
}

EFI_STATUS
EFIAPI
GetDimmDetails (
  OUT DIMM_DETAILS  **ppDimms,
  OUT UINT32        *pCount
  )
{
  EFI_STATUS    Status;
  UINT32        Count;
  DIMM_RECORD   *pRaw;
  DIMM_DETAILS  *pDetails;
  SMART_RECORD  Smart;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((ppDimms == NULL) || (pCount == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Count = mDimmCountValid ? mDimmCount : GetDimmCount ();
  if (Count == 0) {
    DEBUG ((DEBUG_WARN, "%a:There is no Intel Optane DCPMM\n", __func__));
    DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, EFI_SUCCESS));
    return EFI_SUCCESS;
  }

  DEBUG ((DEBUG_WARN, "%a:Dimm Count %d\n", __func__, Count));
  pRaw = (DIMM_RECORD *)AllocateZeroPool ((UINTN)Count * sizeof (DIMM_RECORD));
  if (pRaw == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Allocate failure for pDimms\n", __func__));
    return EFI_OUT_OF_RESOURCES;
  }

  Status = mNvmDimmConfigProtocol->GetDimms (mNvmDimmConfigProtocol, Count, DIMM_CATEGORIES_ALL_DETAILS, pRaw);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimms failure:%r\n", __func__, Status));
    FreePool (pRaw);
    return Status;
  }

  pDetails = (DIMM_DETAILS *)AllocateZeroPool ((UINTN)Count * sizeof (DIMM_DETAILS));
  if (pDetails == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Allocate failure\n", __func__));
    FreePool (pRaw);
    return EFI_OUT_OF_RESOURCES;
  }

  // From here on the caller owns the details array, whatever the result.
  *ppDimms = pDetails;
  *pCount  = Count;

  for (UINT32 Index = 0; Index < Count; Index++) {
    FillDimmDetails (&pDetails[Index], &pRaw[Index]);

    ZeroMem (&Smart, sizeof (Smart));
    Status = mNvmDimmConfigProtocol->GetSmartAndHealth (mNvmDimmConfigProtocol, pDetails[Index].DimmID, &Smart, NULL, NULL, NULL, NULL);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a:GetSmartAndHealth failure:%r\n", __func__, Status));
      break;
    }

    pDetails[Index].PercentageRemaining = Smart.PercentageRemaining;
    DEBUG ((DEBUG_WARN, "%a:PercentageRemaining:%lx\n", __func__, (UINT64)pDetails[Index].PercentageRemaining));

    pDetails[Index].AutoUnlockState = GetAutoUnlockState (pDetails[Index].DeviceLocator);
  }

  FreePool (pRaw);
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
GetSockets (
  OUT    UINT16  *pSocketIds,
  IN OUT UINT32  *pCount
  )
{
  EFI_STATUS     Status;
  UINT32         SocketCount;
  SOCKET_RECORD  *pSockets;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((pSocketIds == NULL) || (pCount == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  SocketCount = 0;
  pSockets    = NULL;
  Status      = mNvmDimmConfigProtocol->GetSockets (mNvmDimmConfigProtocol, &SocketCount, &pSockets);
  if (Status == EFI_SUCCESS) {
    if (*pCount < SocketCount) {
      DEBUG ((DEBUG_WARN, "%a:SocketCount:%d, %d\n", __func__, *pCount, SocketCount));
      Status = EFI_BUFFER_TOO_SMALL;
    } else {
      for (UINT32 Index = 0; Index < SocketCount; Index++) {
        pSocketIds[Index] = pSockets[Index].SocketId;
      }

      *pCount = SocketCount;
    }
  }

  if (pSockets != NULL) {
    FreePool (pSockets);
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

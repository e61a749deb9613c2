/** @file
  Gives OVMF the platform capability PCD the driver reads: reinstalls the
  PCD protocol with a copy of OVMF's table whose 64-bit get answers the
  capability mask's token and forwards every other call to OVMF's table.
  Load options: the mask (decimal or 0x hex). Without them (the UEFI Shell's
  load command passes none) the platform supports both modes (0x30).
**/
#include "../Common/FwCommon.h"
#include <Protocol/Pcd.h>

STATIC PCD_PROTOCOL  *mOriginalPcd = NULL;
STATIC PCD_PROTOCOL  mShimPcd;
STATIC UINT64        mCapabilityMask = PLATFORM_CAPABILITY_APP_DIRECT | PLATFORM_CAPABILITY_MEMORY_MODE;

STATIC
UINT64
EFIAPI
ShimGet64 (
  IN UINTN  TokenNumber
  )
{
  if (TokenNumber == PCD_TOKEN_PLATFORM_CAPABILITY_MASK) {
    return mCapabilityMask;
  }

  return mOriginalPcd->Get64 (TokenNumber);
}

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE  *Handles;
  UINTN       HandleCount;
  VOID        *Interface;
  UINT64      Mask;
  EFI_STATUS  Status;

  FwInitialize (ImageHandle, SystemTable);
  if (FwParseUint64 (FwLoadOptions (ImageHandle), &Mask) != NULL) {
    mCapabilityMask = Mask;
  }

  Status = gFwBS->LocateHandleBuffer (ByProtocol, &gPcdProtocolGuid, NULL, &HandleCount, &Handles);
  if (EFI_ERROR (Status)) {
    FwLog ("PcdShimDxe: no PCD protocol to wrap: %r\n", Status);
    return Status;
  }

  Status = gFwBS->HandleProtocol (Handles[0], &gPcdProtocolGuid, &Interface);
  if (!EFI_ERROR (Status)) {
    mOriginalPcd    = static_cast<PCD_PROTOCOL *> (Interface);
    mShimPcd        = *mOriginalPcd;
    mShimPcd.Get64  = ShimGet64;
    Status          = gFwBS->ReinstallProtocolInterface (Handles[0], &gPcdProtocolGuid, mOriginalPcd, &mShimPcd);
  }

  gFwBS->FreePool (Handles);
  FwLog ("PcdShimDxe: token %u answers 0x%lx: %r\n", PCD_TOKEN_PLATFORM_CAPABILITY_MASK, mCapabilityMask, Status);
  return Status;
}

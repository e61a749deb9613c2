/** @file
  Dynamic PCD reads through the platform's PCD protocol.
**/
#include <Library/PcdLib.h>

STATIC PCD_PROTOCOL  *mPcd = NULL;

EFI_STATUS
EFIAPI
PcdLibConstructor (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  VOID        *Interface;
  EFI_STATUS  Status;

  (VOID)ImageHandle;
  mPcd      = NULL;
  Interface = NULL;
  Status    = EFI_NOT_FOUND;
  if ((SystemTable != NULL) && (SystemTable->BootServices != NULL)) {
    Status = SystemTable->BootServices->LocateProtocol (&gPcdProtocolGuid, NULL, &Interface);
  }

  if (!EFI_ERROR (Status)) {
    mPcd = static_cast<PCD_PROTOCOL *>(Interface);
  }

  // Without the protocol every token reads as 0; the image still loads.
  return EFI_SUCCESS;
}

UINT64
EFIAPI
LibPcdGet64 (
  IN UINTN TokenNumber
  )
{
  return (mPcd != NULL) ? mPcd->Get64 (TokenNumber) : 0;
}

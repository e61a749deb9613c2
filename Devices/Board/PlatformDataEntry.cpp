/** @file
  The platform data image's start: serve the platform's models, or models
  of its own, through the board configuration database and the component
  data storage.
**/
#include "PlatformData.h"
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>

EFI_STATUS
EFIAPI
PlatformDataInstall (
  IN     BOARD_MODEL  *Board,
  IN     CDS_MODEL    *Storage,
  IN OUT EFI_HANDLE   *Handle
  )
{
  BoardDeviceBind (Board);
  CdsDeviceBind (Storage);
  return gBS->InstallMultipleProtocolInterfaces (
                Handle,
                &gUbaConfigDatabaseProtocolGuid,
                BoardDeviceDatabaseProtocol (),
                &gEfiComponentDataStorageProtocolGuid,
                CdsDeviceStorageProtocol (),
                NULL
                );
}

EFI_STATUS
EFIAPI
PlatformDataEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_STATUS                        Status;
  PLATFORM_DATA_HAND_OVER_PROTOCOL  *HandOver;
  EFI_HANDLE                        Handle;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  HandOver = NULL;
  Status   = gBS->LocateProtocol (&gPlatformDataHandOverProtocolGuid, NULL, (VOID **)&HandOver);
  if (EFI_ERROR (Status) || HandOver == NULL) {
    // Lives until the end of boot, like the protocols that serve it.
    HandOver = (PLATFORM_DATA_HAND_OVER_PROTOCOL *)AllocateZeroPool (sizeof (*HandOver));
    if (HandOver == NULL) {
      return EFI_OUT_OF_RESOURCES;
    }
    HandOver->Revision = PLATFORM_DATA_HAND_OVER_REVISION;
    HandOver->Board    = (BOARD_MODEL *)AllocateZeroPool (sizeof (BOARD_MODEL));
    HandOver->Storage  = (CDS_MODEL *)AllocateZeroPool (sizeof (CDS_MODEL));
    if (HandOver->Board == NULL || HandOver->Storage == NULL) {
      return EFI_OUT_OF_RESOURCES;
    }
    Handle = NULL;
    Status = gBS->InstallProtocolInterface (&Handle, &gPlatformDataHandOverProtocolGuid, EFI_NATIVE_INTERFACE, HandOver);
    if (EFI_ERROR (Status)) {
      return Status;
    }
  }
  if (HandOver->Revision < PLATFORM_DATA_HAND_OVER_REVISION || HandOver->Board == NULL || HandOver->Storage == NULL) {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (HandOver->Board->Signature == 0) {
    BoardModelDefault (HandOver->Board);
  }
  if (HandOver->Storage->Signature == 0) {
    CdsModelInitialize (HandOver->Storage);
  }
  Status = BoardModelValidate (HandOver->Board);
  if (!EFI_ERROR (Status)) {
    Status = CdsModelValidate (HandOver->Storage);
  }
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "PlatformData: unusable board or storage model: %r\n", Status));
    return Status;
  }
  Handle = NULL;
  Status = PlatformDataInstall (HandOver->Board, HandOver->Storage, &Handle);
  DEBUG ((DEBUG_INFO, "PlatformData: %d map entries, install: %r\n", HandOver->Board->DimmMapCount, Status));
  return Status;
}

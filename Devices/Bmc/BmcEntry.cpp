/** @file
  The controller image's start: serve the host platform's controller model,
  or one of its own, through the controller command protocol.
**/
#include "BmcPlatform.h"
#include "BmcVesk.h"
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>

EFI_STATUS
EFIAPI
BmcVeskEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_STATUS             Status;
  BMC_PLATFORM_PROTOCOL  *Platform;
  BMC_MODEL              *Model;
  EFI_HANDLE             Handle;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  Platform = NULL;
  Status   = gBS->LocateProtocol (&gBmcPlatformProtocolGuid, NULL, (VOID **)&Platform);
  if (!EFI_ERROR (Status) && Platform != NULL) {
    Model = Platform->Model;
    if (Platform->Revision < BMC_PLATFORM_REVISION || Model == NULL) {
      return EFI_INCOMPATIBLE_VERSION;
    }
    if (Model->Signature == 0) {
      BmcModelInitialize (Model);
    }
    Status = BmcModelValidate (Model);
  } else {
    // Lives until the end of boot, like the protocol that serves it.
    Model = (BMC_MODEL *)AllocateZeroPool (sizeof (BMC_MODEL));
    if (Model == NULL) {
      return EFI_OUT_OF_RESOURCES;
    }
    BmcModelInitialize (Model);
    Status = EFI_SUCCESS;
  }
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "BmcVesk: unusable controller model: %r\n", Status));
    return Status;
  }

  BmcDeviceBind (Model);
  Handle = NULL;
  Status = gBS->InstallProtocolInterface (&Handle, &gTavrilVeskCommandsProtocolGuid, EFI_NATIVE_INTERFACE, BmcDeviceCommandsProtocol ());
  DEBUG ((DEBUG_INFO, "BmcVesk: %d audit events, install: %r\n", Model->AuditCount, Status));
  return Status;
}

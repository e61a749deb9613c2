/** @file
  The vendor image's start: find the model (the host platform's, or one
  built here from the embedded board) and publish the two protocols.
**/
#include "NvmDimmDevice.h"
#include "NvmDimmPlatform.h"
#include "NvmDimmVendor.h"
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>

STATIC
EFI_STATUS
HostModel (
  IN  NVM_DIMM_PLATFORM_PROTOCOL  *Platform,
  OUT NVM_MODEL                   **Model
  )
{
  EFI_STATUS                      Status;
  CONST NVM_PLATFORM_DESCRIPTION  *Description;

  if (Platform->Revision < NVM_DIMM_PLATFORM_REVISION || Platform->Model == NULL) {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (Platform->Model->Signature == 0) {
    Description = Platform->Description != NULL ? Platform->Description : NvmModelDefaultPlatform ();
    Status      = NvmModelInitialize (Platform->Model, Description);
  } else {
    // Stored state crosses a trust boundary: use it only when it holds up.
    Status = NvmModelValidate (Platform->Model);
  }
  if (EFI_ERROR (Status)) {
    return Status;
  }
  if ((Platform->Flags & NVM_DIMM_PLATFORM_POWER_UP_AT_ENTRY) != 0) {
    NvmModelPowerCycle (Platform->Model);
  }
  *Model = Platform->Model;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
OwnModel (
  OUT NVM_MODEL  **Model
  )
{
  EFI_STATUS  Status;
  NVM_MODEL   *Own;

  // Lives until the end of boot, like the protocols that serve it.
  Own = (NVM_MODEL *)AllocateZeroPool (sizeof (NVM_MODEL));
  if (Own == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  Status = NvmModelInitialize (Own, NvmModelDefaultPlatform ());
  if (EFI_ERROR (Status)) {
    FreePool (Own);
    return Status;
  }
  // Goals created at an earlier boot are applied by this power-up's memory
  // initialisation, as a platform's would.
  NvmGoalMemoryRestore (Own);
  NvmModelPowerCycle (Own);
  *Model = Own;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmDimmVendorEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_STATUS                  Status;
  NVM_DIMM_PLATFORM_PROTOCOL  *Platform;
  NVM_MODEL                   *Model;
  EFI_HANDLE                  Handle;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  Model    = NULL;
  Platform = NULL;
  Status   = gBS->LocateProtocol (&gNvmDimmPlatformProtocolGuid, NULL, (VOID **)&Platform);
  if (!EFI_ERROR (Status) && Platform != NULL) {
    Status = HostModel (Platform, &Model);
    DEBUG ((DEBUG_INFO, "NvmDimmVendor: platform model: %r\n", Status));
  } else {
    Platform = NULL;
    Status   = OwnModel (&Model);
    DEBUG ((DEBUG_INFO, "NvmDimmVendor: embedded board: %r\n", Status));
  }
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "NvmDimmVendor: no module model: %r\n", Status));
    return Status;
  }
  DEBUG ((DEBUG_INFO, "NvmDimmVendor: %d modules, boot %d\n", Model->DimmCount, Model->BootCount));

  NvmDimmDeviceBind (Model);
  if (Platform == NULL) {
    NvmGoalMemoryKeep (Model, NvmDimmDeviceConfigProtocol ());
  }
  Handle = NULL;
  Status = gBS->InstallProtocolInterface (&Handle, &gNvmDimmConfigProtocolGuid, EFI_NATIVE_INTERFACE, NvmDimmDeviceConfigProtocol ());
  if (!EFI_ERROR (Status)) {
    Status = gBS->InstallProtocolInterface (&Handle, &gNvmDimmPassThruProtocolGuid, EFI_NATIVE_INTERFACE, NvmDimmDevicePassThruProtocol ());
  }
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "NvmDimmVendor: install failed: %r\n", Status));
  }
  return Status;
}

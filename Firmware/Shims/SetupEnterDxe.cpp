/** @file
  Announces that the user entered setup, as the platform's setup browser
  does: installs the setup-enter protocol (no interface) on a new handle.
**/
#include "../Common/FwCommon.h"
#include <Protocol/SetupEnter.h>

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE  Handle;
  EFI_STATUS  Status;

  FwInitialize (ImageHandle, SystemTable);
  Handle = NULL;
  Status = gFwBS->InstallProtocolInterface (&Handle, &gSetupEnterProtocolGuid, EFI_NATIVE_INTERFACE, NULL);
  FwLog ("SetupEnterDxe: setup-enter protocol installed: %r\n", Status);
  return Status;
}

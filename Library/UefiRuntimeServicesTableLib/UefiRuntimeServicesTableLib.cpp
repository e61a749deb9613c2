/** @file
  The runtime services table.
**/
#include <Library/UefiRuntimeServicesTableLib.h>

EFI_RUNTIME_SERVICES  *gRT = NULL;

EFI_STATUS
EFIAPI
UefiRuntimeServicesTableLibConstructor (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  (VOID)ImageHandle;
  gRT = (SystemTable != NULL) ? SystemTable->RuntimeServices : NULL;
  return EFI_SUCCESS;
}

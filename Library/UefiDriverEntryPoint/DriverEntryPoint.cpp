/** @file
  The image entry the loader calls.
**/
#include <Library/UefiDriverEntryPoint.h>

extern "C" CARVEX_IMAGE_EXPORT
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  ProcessLibraryConstructorList (ImageHandle, SystemTable);
  return ProcessModuleEntryPointList (ImageHandle, SystemTable);
}

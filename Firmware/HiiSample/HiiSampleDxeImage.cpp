/** @file
  What the build generates for the HiiSampleDxe image: its library
  constructors, then its entry point.
**/
#include "HiiSampleDxe.h"
#include <Library/UefiDriverEntryPoint.h>

VOID
EFIAPI
ProcessLibraryConstructorList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  ProcessCommonLibraryConstructors (ImageHandle, SystemTable);
}

EFI_STATUS
EFIAPI
ProcessModuleEntryPointList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  return HiiSampleDxeEntryPoint (ImageHandle, SystemTable);
}

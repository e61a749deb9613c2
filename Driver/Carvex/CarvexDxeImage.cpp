/** @file
  What the build generates for the CarvexDxe image: its library constructors
  in dependency order (the shared ones, then the board's platform data),
  then the driver's entry point.
**/
#include "Carvex.h"
#include "../Library/UbaPlatformDataLib/UbaPlatformDataLib.h"
#include <Library/DebugLib.h>
#include <Library/UefiDriverEntryPoint.h>

VOID
EFIAPI
ProcessLibraryConstructorList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_STATUS  Status;

  ProcessCommonLibraryConstructors (ImageHandle, SystemTable);
  Status = UbaPlatformDataLibConstructor (ImageHandle, SystemTable);
  ASSERT_EFI_ERROR (Status);
  (VOID)Status;
}

EFI_STATUS
EFIAPI
ProcessModuleEntryPointList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  return CarvexEntryPoint (ImageHandle, SystemTable);
}

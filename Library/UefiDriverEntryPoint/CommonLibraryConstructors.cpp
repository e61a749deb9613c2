/** @file
  The constructors every image runs first. Kept apart from the entry point
  so that a test can run them without linking an image's entry functions.
**/
#include <Library/UefiDriverEntryPoint.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Library/PcdLib.h>

#include <Library/DebugLib.h>

// Order matters: DebugLib and PcdLib may use the service tables.
VOID
EFIAPI
ProcessCommonLibraryConstructors (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  UefiBootServicesTableLibConstructor (ImageHandle, SystemTable);
  UefiRuntimeServicesTableLibConstructor (ImageHandle, SystemTable);
  DebugLibConstructor (ImageHandle, SystemTable);
  PcdLibConstructor (ImageHandle, SystemTable);
}

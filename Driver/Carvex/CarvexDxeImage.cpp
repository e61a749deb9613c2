/** @file
  What the build generates for the CarvexDxe image: its library constructors
  in dependency order, then the driver's entry point.
**/
#include "Carvex.h"
#include "../Library/PhysicalPresenceHandlerSupportLib/PhysicalPresenceHandlerSupportLib.h"
#include "../Library/SecurityGpioConfigLib/SecurityGpioConfigLib.h"
#include <Library/UefiDriverEntryPoint.h>

VOID
EFIAPI
ProcessLibraryConstructorList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  ProcessCommonLibraryConstructors (ImageHandle, SystemTable);
  // Physical presence: the registry, then its jumper and remote methods.
  PPHConstructor (ImageHandle, SystemTable);
  SecurityGpioConfigLibConstructor (ImageHandle, SystemTable);
  RppHandlerConstructor (ImageHandle, SystemTable);
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

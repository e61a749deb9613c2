/** @file
  The DebugLib constructor, run by ProcessCommonLibraryConstructors: finds
  the platform's debug sink and asks it once which levels this image prints.
**/
#ifndef DEBUG_LIB_DEBUG_LIB_CONSTRUCTOR_H_
#define DEBUG_LIB_DEBUG_LIB_CONSTRUCTOR_H_

#include <Uefi.h>

EFI_STATUS EFIAPI DebugLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif

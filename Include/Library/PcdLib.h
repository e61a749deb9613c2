/** @file
  Dynamic PCD reads through the platform's PCD protocol, located by the
  library constructor. A missing protocol reads as 0.
**/
#ifndef LIBRARY_PCD_LIB_H_
#define LIBRARY_PCD_LIB_H_

#include <Uefi.h>
#include <Protocol/Pcd.h>

UINT64 EFIAPI LibPcdGet64 (IN UINTN TokenNumber);
EFI_STATUS EFIAPI PcdLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#define PcdGet64(TokenName)  LibPcdGet64 (PCD_TOKEN_##TokenName)
#define PCD_TOKEN_PlatformCapabilityMask  PCD_TOKEN_PLATFORM_CAPABILITY_MASK

#endif

/** @file
  The image's handle, system table and boot services, set by the library
  constructor before the entry point runs. One copy per image.
**/
#ifndef LIBRARY_UEFI_BOOT_SERVICES_TABLE_LIB_H_
#define LIBRARY_UEFI_BOOT_SERVICES_TABLE_LIB_H_

#include <Uefi.h>

extern EFI_HANDLE         gImageHandle;
extern EFI_SYSTEM_TABLE   *gST;
extern EFI_BOOT_SERVICES  *gBS;

EFI_STATUS EFIAPI UefiBootServicesTableLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif

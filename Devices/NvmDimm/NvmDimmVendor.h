/** @file
  Entry point of the vendor image.
**/
#ifndef NVM_DIMM_VENDOR_H_
#define NVM_DIMM_VENDOR_H_

#include <Uefi.h>

EFI_STATUS EFIAPI NvmDimmVendorEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif

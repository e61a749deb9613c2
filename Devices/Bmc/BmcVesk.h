/** @file
  Entry point of the controller image.
**/
#ifndef BMC_VESK_H_
#define BMC_VESK_H_

#include <Uefi.h>

EFI_STATUS EFIAPI BmcVeskEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif

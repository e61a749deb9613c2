/** @file
  Event helpers for the boot manager's hand-over events.
**/
#ifndef LIBRARY_UEFI_LIB_H_
#define LIBRARY_UEFI_LIB_H_

#include <Uefi.h>

EFI_STATUS EFIAPI EfiCreateEventReadyToBootEx (IN EFI_TPL NotifyTpl, IN EFI_EVENT_NOTIFY NotifyFunction OPTIONAL, IN VOID *NotifyContext OPTIONAL, OUT EFI_EVENT *ReadyToBootEvent);
EFI_STATUS EFIAPI EfiCreateEventLegacyBootEx (IN EFI_TPL NotifyTpl, IN EFI_EVENT_NOTIFY NotifyFunction OPTIONAL, IN VOID *NotifyContext OPTIONAL, OUT EFI_EVENT *LegacyBootEvent);

#endif

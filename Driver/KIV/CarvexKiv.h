/** @file
  Out-of-band configuration hooks the driver core calls.
**/
#ifndef KIV_CARVEX_KIV_H_
#define KIV_CARVEX_KIV_H_

#include <Uefi.h>

VOID EFIAPI KivSetupEnter (IN EFI_EVENT Event, IN VOID *Context);

#endif

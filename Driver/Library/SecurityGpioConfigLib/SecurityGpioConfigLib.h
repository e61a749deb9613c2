/** @file
  The security jumper: its GPIO pad configured as an input at load, and
  the "Jumper Handle" presence method that reads it.
**/
#ifndef LIBRARY_SECURITY_GPIO_CONFIG_LIB_H_
#define LIBRARY_SECURITY_GPIO_CONFIG_LIB_H_

#include <Uefi.h>
#include <Protocol/PchGpio.h>

// The pad that carries the security jumper on this board's design
// (community 1, group 2, pad 6).
#define SECURITY_JUMPER_GPIO_PAD  0x01020006
// First configuration word: only the reset bits (11, 12) are kept, the rest
// makes the pad a plain GPIO input.
#define SECURITY_JUMPER_CONFIG_KEEP   0x1800
#define SECURITY_JUMPER_CONFIG_INPUT  0x2A022F1

EFI_STATUS EFIAPI SecurityGpioConfigLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif

/** @file
  The platform's setup browser installs this protocol (no interface) when the
  user enters setup.
**/
#ifndef PROTOCOL_SETUP_ENTER_H_
#define PROTOCOL_SETUP_ENTER_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gSetupEnterProtocolGuid, 0x71202EEE, 0x5F53, 0x40D9, 0xAB, 0x3D, 0x9E, 0x0C, 0x26, 0xD9, 0x66, 0x57);

#endif

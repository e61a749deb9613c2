/** @file
  The chipset's GPIO pads as the platform publishes them: a pad's 12-byte
  configuration and its input level. The physical-presence jumper is read
  through this; which pad carries it is a board constant.
**/
#ifndef PROTOCOL_PCH_GPIO_H_
#define PROTOCOL_PCH_GPIO_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gCarvexPchGpioProtocolGuid, 0xA8350933, 0xB1FA, 0x49BC, 0x80, 0xD5, 0x2C, 0x45, 0xCC, 0x3C, 0xCE, 0x62);

#define CARVEX_PCH_GPIO_REVISION  1

typedef UINT32  GPIO_PAD;

// The pad's configuration as the chipset lays it out; the first word holds
// the mode, direction and reset bits.
typedef struct {
  UINT32    Dw[3];
} GPIO_CONFIG;

static_assert (sizeof (GPIO_CONFIG) == 12, "GPIO configuration block is 12 bytes");

typedef struct CARVEX_PCH_GPIO_PROTOCOL CARVEX_PCH_GPIO_PROTOCOL;

struct CARVEX_PCH_GPIO_PROTOCOL {
  UINT32        Revision;  // CARVEX_PCH_GPIO_REVISION
  UINT32        Reserved;
  // EFI_NOT_FOUND for a pad the chipset does not have.
  EFI_STATUS    (EFIAPI *GetPadConfig)(IN CARVEX_PCH_GPIO_PROTOCOL *This, IN GPIO_PAD Pad, OUT GPIO_CONFIG *Config);
  EFI_STATUS    (EFIAPI *SetPadConfig)(IN CARVEX_PCH_GPIO_PROTOCOL *This, IN GPIO_PAD Pad, IN CONST GPIO_CONFIG *Config);
  // *InputValue: 0 or 1, the level the pad reads.
  EFI_STATUS    (EFIAPI *GetInputValue)(IN CARVEX_PCH_GPIO_PROTOCOL *This, IN GPIO_PAD Pad, OUT UINT32 *InputValue);
};

#endif

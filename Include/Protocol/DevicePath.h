/** @file
  Device path nodes the driver and the platforms build (packed byte layouts).
**/
#ifndef PROTOCOL_DEVICE_PATH_H_
#define PROTOCOL_DEVICE_PATH_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gEfiDevicePathProtocolGuid, 0x09576e91, 0x6d3f, 0x11d2, 0x8e, 0x39, 0x00, 0xa0, 0xc9, 0x69, 0x72, 0x3b);

#define HARDWARE_DEVICE_PATH      0x01
#define HW_VENDOR_DP              0x04
#define MEDIA_DEVICE_PATH         0x04
#define MEDIA_FILEPATH_DP         0x04
#define END_DEVICE_PATH_TYPE      0x7F
#define END_ENTIRE_DEVICE_PATH_SUBTYPE  0xFF
#define END_DEVICE_PATH_LENGTH    4

#pragma pack(1)
typedef struct {
  UINT8    Type;
  UINT8    SubType;
  UINT8    Length[2];
} EFI_DEVICE_PATH_PROTOCOL;

typedef struct {
  EFI_DEVICE_PATH_PROTOCOL    Header;
  EFI_GUID                    Guid;
} VENDOR_DEVICE_PATH;

typedef struct {
  EFI_DEVICE_PATH_PROTOCOL    Header;
  // CHAR16 PathName[] follows; accessed byte-wise since the node is packed.
} FILEPATH_DEVICE_PATH;
#pragma pack()

typedef EFI_DEVICE_PATH_PROTOCOL EFI_DEVICE_PATH;

static_assert (sizeof (EFI_DEVICE_PATH_PROTOCOL) == 4, "device path header");
static_assert (sizeof (VENDOR_DEVICE_PATH) == 20, "vendor node");

#endif

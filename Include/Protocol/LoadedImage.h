/** @file
  The loaded image protocol every image handle carries: where the image came
  from (device and file path), its load options and where it sits in memory.
**/
#ifndef PROTOCOL_LOADED_IMAGE_H_
#define PROTOCOL_LOADED_IMAGE_H_

#include <Uefi.h>

CARVEX_GUID_DEFINE (gEfiLoadedImageProtocolGuid, 0x5B1B31A1, 0x9562, 0x11d2, 0x8E, 0x3F, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B);

#define EFI_LOADED_IMAGE_PROTOCOL_REVISION  0x1000

typedef struct {
  UINT32                      Revision;
  EFI_HANDLE                  ParentHandle;
  EFI_SYSTEM_TABLE            *SystemTable;
  EFI_HANDLE                  DeviceHandle;
  EFI_DEVICE_PATH_PROTOCOL    *FilePath;
  VOID                        *Reserved;
  UINT32                      LoadOptionsSize;   // bytes
  VOID                        *LoadOptions;      // by convention CHAR16 text
  VOID                        *ImageBase;
  UINT64                      ImageSize;
  EFI_MEMORY_TYPE             ImageCodeType;
  EFI_MEMORY_TYPE             ImageDataType;
  EFI_IMAGE_UNLOAD            Unload;
} EFI_LOADED_IMAGE_PROTOCOL;

static_assert (offsetof (EFI_LOADED_IMAGE_PROTOCOL, DeviceHandle) == 24, "loaded image layout");
static_assert (offsetof (EFI_LOADED_IMAGE_PROTOCOL, LoadOptionsSize) == 48, "loaded image layout");
static_assert (offsetof (EFI_LOADED_IMAGE_PROTOCOL, LoadOptions) == 56, "loaded image layout");
static_assert (offsetof (EFI_LOADED_IMAGE_PROTOCOL, Unload) == 88, "loaded image layout");
static_assert (sizeof (EFI_LOADED_IMAGE_PROTOCOL) == 96, "loaded image size");

#endif

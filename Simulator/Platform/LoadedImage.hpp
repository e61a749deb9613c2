// The loaded-image protocol the platform installs on each image's handle
// (UEFI layout; the project's Include/ does not define it).
#pragma once

#include <Uefi.h>

namespace carvex::sim {

inline EFI_GUID gSimLoadedImageProtocolGuid = {
    0x5B1B31A1, 0x9562, 0x11D2, {0x8E, 0x3F, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B}};

inline constexpr UINT32 kLoadedImageRevision = 0x1000;

struct SimLoadedImageProtocol {
  UINT32 Revision;
  EFI_HANDLE ParentHandle;
  EFI_SYSTEM_TABLE* SystemTable;
  EFI_HANDLE DeviceHandle;
  EFI_DEVICE_PATH_PROTOCOL* FilePath;
  VOID* Reserved;
  UINT32 LoadOptionsSize;
  VOID* LoadOptions;
  VOID* ImageBase;
  UINT64 ImageSize;
  EFI_MEMORY_TYPE ImageCodeType;
  EFI_MEMORY_TYPE ImageDataType;
  EFI_IMAGE_UNLOAD Unload;
};

static_assert(sizeof(SimLoadedImageProtocol) == 96, "loaded image protocol layout");

}  // namespace carvex::sim

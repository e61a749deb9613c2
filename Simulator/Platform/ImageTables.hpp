// Each image's own EFI_BOOT_SERVICES and EFI_RUNTIME_SERVICES: every entry
// is a thunk compiled for one slot (a template per slot number), and the
// slot names the boot and the image. So the platform knows which image is
// calling without guessing, and pool accounting and faults target one image.
#pragma once

#include <cstddef>

#include <Uefi.h>

#include "ImageId.hpp"

namespace carvex::sim {

class BootServicesCore;
class RuntimeServicesCore;

struct ImageBinding {
  BootServicesCore* boot = nullptr;
  RuntimeServicesCore* runtime = nullptr;
  ImageId image = kPlatformImage;
};

inline constexpr std::size_t kImageSlotCount = 64;

// Claims a free slot bound to `binding`; throws std::runtime_error when all
// slots are in use.
std::size_t ClaimImageSlot(const ImageBinding& binding);
void ReleaseImageSlot(std::size_t slot);
std::size_t ImageSlotsInUse();

EFI_BOOT_SERVICES BootServicesTableFor(std::size_t slot);
EFI_RUNTIME_SERVICES RuntimeServicesTableFor(std::size_t slot);

// Fills a table header and its CRC (computed over HeaderSize bytes with the
// CRC field zero, as firmware does).
void SealTableHeader(EFI_TABLE_HEADER& header, UINT64 signature, UINT32 size);

}  // namespace carvex::sim

// How the simulated machine is built: what the platform reports and which
// firmware images it loads, in order.
#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <vector>

#include <Uefi.h>

namespace carvex::sim {

enum class PerformanceProfile : std::uint8_t {
  BwOptimized = 0,
  LatencyOptimized = 1,
  Balanced = 2,
};

struct PlatformSettings {
  // PCD PlatformCapabilityMask: bit 4 App Direct, bit 5 Memory Mode.
  std::uint64_t capabilityMask = 0x30;
  // Written into SocketMemoryConfig when a first boot creates it.
  PerformanceProfile performanceProfile = PerformanceProfile::Balanced;
  // Firmware images (shared objects) loaded at every boot, in this order;
  // the module vendor's driver is present when its image is listed.
  std::vector<std::filesystem::path> images;
  // Debug lines whose level has a bit here are echoed to `echo` (if set).
  std::ostream* echo = nullptr;
  UINT32 displayMask = 0x80000000;
};

}  // namespace carvex::sim

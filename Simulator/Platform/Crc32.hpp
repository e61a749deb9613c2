// The CRC-32 of UEFI table headers and CalculateCrc32 (IEEE 802.3, reflected).
#pragma once

#include <cstddef>
#include <cstdint>

namespace carvex::sim {

std::uint32_t Crc32(const void* data, std::size_t size);

}  // namespace carvex::sim

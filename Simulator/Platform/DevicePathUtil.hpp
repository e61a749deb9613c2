// Reading and building device paths (packed nodes of a type, a subtype and
// a little-endian length, ended by the end-of-entire-path node).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <Uefi.h>

namespace carvex::sim {

// Sizes of the nodes before the end node; empty optional for a malformed
// path (a node shorter than its header, or no end within 64 KiB).
std::optional<std::vector<std::size_t>> DevicePathNodeSizes(const EFI_DEVICE_PATH_PROTOCOL* path);

// One media file-path node holding `name`, then the end node.
std::vector<std::uint8_t> FilePathDevicePath(std::u16string_view name);

}  // namespace carvex::sim

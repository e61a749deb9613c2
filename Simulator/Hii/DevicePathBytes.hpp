// Device paths as untrusted bytes: walked node by node without reading past
// the bytes available.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <Protocol/DevicePath.h>

namespace carvex::sim::hii {

// Bytes of a well-formed path (every node at least 4 bytes with a non-zero
// type and subtype, ending with an end-of-entire-path node) that starts at
// bytes, end node included; nullopt when it is not one within `available`.
std::optional<std::size_t> DevicePathLength(const std::uint8_t* bytes, std::size_t available);

// A copy of the path a protocol interface points at, read at most
// kMaxDevicePathBytes; nullopt for NULL or a malformed path.
constexpr std::size_t kMaxDevicePathBytes = 0x10000;
std::optional<std::vector<std::uint8_t>> CopyDevicePath(const EFI_DEVICE_PATH_PROTOCOL* path);

}  // namespace carvex::sim::hii

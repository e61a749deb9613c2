#include "DevicePathBytes.hpp"

namespace carvex::sim::hii {

std::optional<std::size_t> DevicePathLength(const std::uint8_t* bytes, std::size_t available) {
  if (bytes == nullptr) {
    return std::nullopt;
  }
  std::size_t offset = 0;
  while (available - offset >= sizeof(EFI_DEVICE_PATH_PROTOCOL)) {
    const std::uint8_t type = bytes[offset];
    const std::uint8_t subType = bytes[offset + 1];
    const std::size_t length = bytes[offset + 2] | (static_cast<std::size_t>(bytes[offset + 3]) << 8);
    if (length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || length > available - offset) {
      return std::nullopt;
    }
    offset += length;
    if (type == END_DEVICE_PATH_TYPE && subType == END_ENTIRE_DEVICE_PATH_SUBTYPE) {
      return offset;
    }
    if (type == 0 || subType == 0) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> CopyDevicePath(const EFI_DEVICE_PATH_PROTOCOL* path) {
  if (path == nullptr) {
    return std::nullopt;
  }
  // Walk the nodes in place (each header read only once it is known to lie
  // before the end node), then copy.
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(path);
  std::size_t offset = 0;
  while (offset + sizeof(EFI_DEVICE_PATH_PROTOCOL) <= kMaxDevicePathBytes) {
    const std::uint8_t type = bytes[offset];
    const std::uint8_t subType = bytes[offset + 1];
    const std::size_t length = bytes[offset + 2] | (static_cast<std::size_t>(bytes[offset + 3]) << 8);
    if (length < sizeof(EFI_DEVICE_PATH_PROTOCOL) || offset + length > kMaxDevicePathBytes) {
      return std::nullopt;
    }
    offset += length;
    if (type == END_DEVICE_PATH_TYPE && subType == END_ENTIRE_DEVICE_PATH_SUBTYPE) {
      return std::vector<std::uint8_t>(bytes, bytes + offset);
    }
    if (type == 0 || subType == 0) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace carvex::sim::hii

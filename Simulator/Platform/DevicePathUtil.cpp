#include "DevicePathUtil.hpp"

namespace carvex::sim {

namespace {

constexpr std::size_t kMaxPathBytes = 64 * 1024;

}  // namespace

std::optional<std::vector<std::size_t>> DevicePathNodeSizes(const EFI_DEVICE_PATH_PROTOCOL* path) {
  std::vector<std::size_t> sizes;
  const auto* node = reinterpret_cast<const std::uint8_t*>(path);
  std::size_t total = 0;
  while (total < kMaxPathBytes) {
    const std::size_t length = node[2] | (static_cast<std::size_t>(node[3]) << 8);
    if (node[0] == END_DEVICE_PATH_TYPE) {
      return sizes;
    }
    if (length < sizeof(EFI_DEVICE_PATH_PROTOCOL)) {
      return std::nullopt;
    }
    sizes.push_back(length);
    total += length;
    node += length;
  }
  return std::nullopt;
}

std::vector<std::uint8_t> FilePathDevicePath(std::u16string_view name) {
  const std::size_t nodeLength = sizeof(EFI_DEVICE_PATH_PROTOCOL) + (name.size() + 1) * 2;
  std::vector<std::uint8_t> path;
  path.push_back(MEDIA_DEVICE_PATH);
  path.push_back(MEDIA_FILEPATH_DP);
  path.push_back(static_cast<std::uint8_t>(nodeLength & 0xFF));
  path.push_back(static_cast<std::uint8_t>(nodeLength >> 8));
  for (char16_t c : name) {
    path.push_back(static_cast<std::uint8_t>(c & 0xFF));
    path.push_back(static_cast<std::uint8_t>(c >> 8));
  }
  path.push_back(0);
  path.push_back(0);
  const std::uint8_t end[] = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE,
                              END_DEVICE_PATH_LENGTH, 0};
  path.insert(path.end(), std::begin(end), std::end(end));
  return path;
}

}  // namespace carvex::sim

#include "Guid.hpp"

#include <cstdio>

namespace carvex::sim {

std::string GuidToString(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return text;
}

namespace {

std::optional<std::uint64_t> ParseHex(std::string_view digits) {
  if (digits.empty()) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (char c : digits) {
    int nibble;
    if (c >= '0' && c <= '9') {
      nibble = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      nibble = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      nibble = c - 'A' + 10;
    } else {
      return std::nullopt;
    }
    value = (value << 4) | static_cast<std::uint64_t>(nibble);
  }
  return value;
}

}  // namespace

std::optional<EFI_GUID> ParseGuid(std::string_view text) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, 36);
  }
  if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' ||
      text[23] != '-') {
    return std::nullopt;
  }
  auto d1 = ParseHex(text.substr(0, 8));
  auto d2 = ParseHex(text.substr(9, 4));
  auto d3 = ParseHex(text.substr(14, 4));
  if (!d1 || !d2 || !d3) {
    return std::nullopt;
  }
  EFI_GUID guid{};
  guid.Data1 = static_cast<UINT32>(*d1);
  guid.Data2 = static_cast<UINT16>(*d2);
  guid.Data3 = static_cast<UINT16>(*d3);
  const std::size_t byteStarts[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (int i = 0; i < 8; ++i) {
    auto byte = ParseHex(text.substr(byteStarts[i], 2));
    if (!byte) {
      return std::nullopt;
    }
    guid.Data4[i] = static_cast<UINT8>(*byte);
  }
  return guid;
}

}  // namespace carvex::sim

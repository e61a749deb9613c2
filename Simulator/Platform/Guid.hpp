// GUIDs as ordered, comparable values and as registry-format text.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim {

// EFI_GUID is a plain C struct; this is the same 16 bytes as a map key.
struct GuidKey {
  std::array<std::uint8_t, 16> bytes{};

  GuidKey() = default;
  explicit GuidKey(const EFI_GUID& guid) { std::memcpy(bytes.data(), &guid, sizeof guid); }

  EFI_GUID ToEfi() const {
    EFI_GUID guid;
    std::memcpy(&guid, bytes.data(), sizeof guid);
    return guid;
  }

  auto operator<=>(const GuidKey&) const = default;
};

inline bool SameGuid(const EFI_GUID& a, const EFI_GUID& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// "98CF19ED-4109-4681-B79D-9196757C7824" (upper case, no braces).
std::string GuidToString(const EFI_GUID& guid);
// Accepts the form above, with or without braces, in either case.
std::optional<EFI_GUID> ParseGuid(std::string_view text);

}  // namespace carvex::sim

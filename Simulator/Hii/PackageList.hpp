// The packages of one registered package list, grouped by type, parsed and
// checked once when they enter the database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <Uefi/UefiInternalFormRepresentation.h>

#include "StringPackage.hpp"

namespace carvex::sim::hii {

struct PackageSet {
  std::vector<std::vector<std::uint8_t>> guids;     // whole packages, header included
  std::vector<std::vector<std::uint8_t>> forms;
  std::vector<std::vector<std::uint8_t>> keyboards;
  std::vector<StringPackage> strings;
  std::vector<std::vector<std::uint8_t>> fonts;
  std::vector<std::vector<std::uint8_t>> images;
  std::vector<std::vector<std::uint8_t>> simpleFonts;
  std::vector<std::vector<std::uint8_t>> others;    // animations and system types
  std::optional<std::vector<std::uint8_t>> devicePath;  // the whole package

  // Every package, in export order (END not included).
  std::vector<std::vector<std::uint8_t>> InExportOrder() const;
  bool HasType(std::uint8_t type, const EFI_GUID* guid) const;
  // The types present, each once.
  std::vector<std::uint8_t> Types() const;
  // Removes every package of one type.
  void RemoveType(std::uint8_t type);
  // Adds every package of `other`'s types (after RemoveType of them).
  void Absorb(PackageSet&& other);
};

enum class ParseError { None, Malformed, DuplicateLanguage };

// Parses the packages of a list whose header says PackageLength bytes; the
// walk stops at the END package, which must lie inside that length.
ParseError ParsePackageList(const EFI_HII_PACKAGE_LIST_HEADER* list, PackageSet& out);

// A device-path package holding path (end node included).
std::vector<std::uint8_t> MakeDevicePathPackage(const std::vector<std::uint8_t>& path);
// The forms package's opcodes (after its 4-byte header).
inline const std::uint8_t* FormOps(const std::vector<std::uint8_t>& package) {
  return package.data() + sizeof(EFI_HII_PACKAGE_HEADER);
}
inline std::size_t FormOpsLength(const std::vector<std::uint8_t>& package) {
  return package.size() - sizeof(EFI_HII_PACKAGE_HEADER);
}

}  // namespace carvex::sim::hii

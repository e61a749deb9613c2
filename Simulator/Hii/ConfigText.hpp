// Configuration strings (<ConfigHdr>, <BlockName>, <BlockConfig>) as UCS-2
// text: strict parsing of the hex fields, and the lower-case hex the router
// writes. Positions are indices into the caller's text so that a Progress
// pointer can always be set inside the string the caller passed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim::hii {

bool IsHexDigit(char16_t c);
unsigned HexValue(char16_t c);  // only for hex digits

// A <Number> (OFFSET, WIDTH): one or more hex digits of either case, most
// significant first. Values past 64 bits saturate at UINT64_MAX so that a
// range check rejects them instead of seeing a wrapped value.
std::optional<std::uint64_t> ParseNumber(std::u16string_view digits);

// GUID= and PATH= fields: two hex digits per byte, in memory order.
std::optional<std::vector<std::uint8_t>> ParseHexBytes(std::u16string_view digits);
// NAME= field: four hex digits per character, most significant first.
std::optional<std::u16string> ParseHexName(std::u16string_view digits);

std::u16string HexBytes(const std::uint8_t* bytes, std::size_t count);  // lower case
std::u16string HexName(std::u16string_view name);                      // lower case
// A value of `width` bytes, most significant byte (the last in memory) first.
std::u16string HexValueBigEndian(const std::uint8_t* bytes, std::size_t width);

// Lower-cases A-F between an '=' and the next '&', as the router does with
// everything it produces.
void LowerHexValues(std::u16string& text);

bool StartsWith(std::u16string_view text, std::u16string_view prefix);
// The value after "<key>" (key includes '=') up to the next '&' or the end,
// searching from the start of text; nullopt when the key is absent.
std::optional<std::u16string_view> FieldValue(std::u16string_view text, std::u16string_view key);

// One <ConfigRequest>/<ConfigResp> of a Multi string runs up to the next
// "&GUID=" or the end.
std::size_t SectionLength(std::u16string_view text);

// The routing header of a section, decoded. Each field is present only when
// its text is well formed.
struct ConfigHeader {
  std::optional<std::vector<std::uint8_t>> guid;  // 16 bytes
  std::optional<std::u16string> name;              // may be empty
  bool hasPath = false;                            // "PATH=" present at all
  std::optional<std::vector<std::uint8_t>> path;  // a well-formed device path, end node included
};
ConfigHeader ParseConfigHeader(std::u16string_view section);

// Bounded length of a NUL-terminated UCS-2 string from a caller.
std::u16string_view ViewOf(const CHAR16* text);

}  // namespace carvex::sim::hii

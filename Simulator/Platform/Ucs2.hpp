// UCS-2 text as firmware hands it over, and its UTF-8 form for people and files.
#pragma once

#include <string>
#include <string_view>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim {

// The characters before the terminating NUL (an empty string for NULL).
std::u16string FromChar16(const CHAR16* text);
// Bounded form: stops at NUL or after maxChars characters.
std::u16string FromChar16(const CHAR16* text, std::size_t maxChars);

std::string Utf16ToUtf8(std::u16string_view text);
std::u16string Utf8ToUtf16(std::string_view text);

}  // namespace carvex::sim

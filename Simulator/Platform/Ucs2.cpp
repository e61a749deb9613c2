#include "Ucs2.hpp"

namespace carvex::sim {

std::u16string FromChar16(const CHAR16* text) {
  return text == nullptr ? std::u16string() : std::u16string(text);
}

std::u16string FromChar16(const CHAR16* text, std::size_t maxChars) {
  std::u16string result;
  if (text == nullptr) {
    return result;
  }
  for (std::size_t i = 0; i < maxChars && text[i] != 0; ++i) {
    result.push_back(text[i]);
  }
  return result;
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    }
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  std::size_t i = 0;
  while (i < text.size()) {
    auto byte = static_cast<unsigned char>(text[i]);
    char32_t c;
    std::size_t extra;
    if (byte < 0x80) {
      c = byte;
      extra = 0;
    } else if ((byte & 0xE0) == 0xC0) {
      c = byte & 0x1F;
      extra = 1;
    } else if ((byte & 0xF0) == 0xE0) {
      c = byte & 0x0F;
      extra = 2;
    } else if ((byte & 0xF8) == 0xF0) {
      c = byte & 0x07;
      extra = 3;
    } else {
      out.push_back(u'\uFFFD');
      ++i;
      continue;
    }
    if (i + extra >= text.size()) {  // truncated sequence
      out.push_back(u'\uFFFD');
      break;
    }
    for (std::size_t k = 1; k <= extra; ++k) {
      c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    }
    i += extra + 1;
    if (c >= 0x10000) {
      c -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(c));
    }
  }
  return out;
}

}  // namespace carvex::sim

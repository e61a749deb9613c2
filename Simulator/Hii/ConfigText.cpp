#include "ConfigText.hpp"

#include "DevicePathBytes.hpp"

namespace carvex::sim::hii {

namespace {

constexpr char16_t kDigits[] = u"0123456789abcdef";

}  // namespace

bool IsHexDigit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

unsigned HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') {
    return c - u'0';
  }
  if (c >= u'a' && c <= u'f') {
    return c - u'a' + 10;
  }
  return c - u'A' + 10;
}

std::optional<std::uint64_t> ParseNumber(std::u16string_view digits) {
  if (digits.empty()) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (char16_t c : digits) {
    if (!IsHexDigit(c)) {
      return std::nullopt;
    }
    if (value > (UINT64_MAX >> 4)) {
      value = UINT64_MAX;  // saturate; keep validating the remaining digits
      continue;
    }
    value = (value << 4) | HexValue(c);
  }
  return value;
}

std::optional<std::vector<std::uint8_t>> ParseHexBytes(std::u16string_view digits) {
  if (digits.size() % 2 != 0) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> bytes;
  bytes.reserve(digits.size() / 2);
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    if (!IsHexDigit(digits[i]) || !IsHexDigit(digits[i + 1])) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<std::uint8_t>((HexValue(digits[i]) << 4) | HexValue(digits[i + 1])));
  }
  return bytes;
}

std::optional<std::u16string> ParseHexName(std::u16string_view digits) {
  if (digits.size() % 4 != 0) {
    return std::nullopt;
  }
  std::u16string name;
  name.reserve(digits.size() / 4);
  for (std::size_t i = 0; i < digits.size(); i += 4) {
    unsigned value = 0;
    for (std::size_t k = 0; k < 4; k++) {
      if (!IsHexDigit(digits[i + k])) {
        return std::nullopt;
      }
      value = (value << 4) | HexValue(digits[i + k]);
    }
    name.push_back(static_cast<char16_t>(value));
  }
  return name;
}

std::u16string HexBytes(const std::uint8_t* bytes, std::size_t count) {
  std::u16string text;
  text.reserve(count * 2);
  for (std::size_t i = 0; i < count; i++) {
    text.push_back(kDigits[bytes[i] >> 4]);
    text.push_back(kDigits[bytes[i] & 0xF]);
  }
  return text;
}

std::u16string HexName(std::u16string_view name) {
  std::u16string text;
  text.reserve(name.size() * 4);
  for (char16_t c : name) {
    for (int shift = 12; shift >= 0; shift -= 4) {
      text.push_back(kDigits[(c >> shift) & 0xF]);
    }
  }
  return text;
}

std::u16string HexValueBigEndian(const std::uint8_t* bytes, std::size_t width) {
  std::u16string text;
  text.reserve(width * 2);
  for (std::size_t i = width; i > 0; i--) {
    text.push_back(kDigits[bytes[i - 1] >> 4]);
    text.push_back(kDigits[bytes[i - 1] & 0xF]);
  }
  return text;
}

void LowerHexValues(std::u16string& text) {
  bool inValue = false;
  for (char16_t& c : text) {
    if (c == u'=') {
      inValue = true;
    } else if (c == u'&') {
      inValue = false;
    } else if (inValue && c >= u'A' && c <= u'F') {
      c = static_cast<char16_t>(c - u'A' + u'a');
    }
  }
}

bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::optional<std::u16string_view> FieldValue(std::u16string_view text, std::u16string_view key) {
  std::size_t at = text.find(key);
  if (at == std::u16string_view::npos) {
    return std::nullopt;
  }
  std::u16string_view rest = text.substr(at + key.size());
  return rest.substr(0, rest.find(u'&'));
}

std::size_t SectionLength(std::u16string_view text) {
  std::size_t next = text.find(u"&GUID=");
  return next == std::u16string_view::npos ? text.size() : next;
}

ConfigHeader ParseConfigHeader(std::u16string_view section) {
  ConfigHeader header;
  if (!StartsWith(section, u"GUID=")) {
    return header;
  }
  std::u16string_view guidText = section.substr(5, section.find(u'&') == std::u16string_view::npos
                                                       ? std::u16string_view::npos
                                                       : section.find(u'&') - 5);
  auto guid = ParseHexBytes(guidText);
  if (guid && guid->size() == sizeof(EFI_GUID)) {
    header.guid = std::move(guid);
  }
  if (auto nameText = FieldValue(section, u"&NAME=")) {
    header.name = ParseHexName(*nameText);
  }
  if (auto pathText = FieldValue(section, u"&PATH=")) {
    header.hasPath = true;
    auto bytes = ParseHexBytes(*pathText);
    if (bytes) {
      auto length = DevicePathLength(bytes->data(), bytes->size());
      if (length && *length == bytes->size()) {
        header.path = std::move(bytes);
      }
    }
  }
  return header;
}

std::u16string_view ViewOf(const CHAR16* text) {
  if (text == nullptr) {
    return {};
  }
  return std::u16string_view(text);
}

}  // namespace carvex::sim::hii

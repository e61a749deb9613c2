#include "StringPackage.hpp"

#include <algorithm>
#include <cstring>

namespace carvex::sim::hii {

namespace {

constexpr std::size_t kLanguageOffset = OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, Language);
constexpr std::size_t kMaxStringId = 0xFFFF;

// What firmware's own database puts into a package it creates.
constexpr std::uint16_t kLanguageWindow[16] = {0x0000, 0x0080, 0x0100, 0x0300, 0x2000, 0x2080, 0x2100, 0x3000,
                                              0x0080, 0x00C0, 0x0400, 0x0600, 0x0900, 0x3040, 0x30A0, 0xFF00};

std::uint32_t Read32(const std::uint8_t* p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

std::uint16_t Read16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

void Write32(std::uint8_t* p, std::uint32_t value) {
  p[0] = static_cast<std::uint8_t>(value);
  p[1] = static_cast<std::uint8_t>(value >> 8);
  p[2] = static_cast<std::uint8_t>(value >> 16);
  p[3] = static_cast<std::uint8_t>(value >> 24);
}

char LowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Decodes the string blocks of one package.
class BlockReader {
 public:
  BlockReader(const std::uint8_t* bytes, std::size_t length, std::size_t start)
      : bytes_(bytes), length_(length), pos_(start) {}

  bool Run(std::vector<std::optional<std::u16string>>& strings) {
    for (;;) {
      if (pos_ >= length_) {
        return false;  // no END block inside the package
      }
      const std::uint8_t type = bytes_[pos_];
      bool ok = true;
      switch (type) {
        case EFI_HII_SIBT_END:
          return true;
        case EFI_HII_SIBT_STRING_SCSU:
        case EFI_HII_SIBT_STRING_SCSU_FONT:
          pos_ += (type == EFI_HII_SIBT_STRING_SCSU) ? 1 : 2;
          ok = Strings(strings, 1, false);
          break;
        case EFI_HII_SIBT_STRINGS_SCSU:
        case EFI_HII_SIBT_STRINGS_SCSU_FONT:
          ok = Counted(strings, type == EFI_HII_SIBT_STRINGS_SCSU ? 1 : 2, false);
          break;
        case EFI_HII_SIBT_STRING_UCS2:
        case EFI_HII_SIBT_STRING_UCS2_FONT:
          pos_ += (type == EFI_HII_SIBT_STRING_UCS2) ? 1 : 2;
          ok = Strings(strings, 1, true);
          break;
        case EFI_HII_SIBT_STRINGS_UCS2:
        case EFI_HII_SIBT_STRINGS_UCS2_FONT:
          ok = Counted(strings, type == EFI_HII_SIBT_STRINGS_UCS2 ? 1 : 2, true);
          break;
        case EFI_HII_SIBT_DUPLICATE: {
          if (!Has(3)) {
            return false;
          }
          const std::uint16_t source = Read16(bytes_ + pos_ + 1);
          pos_ += 3;
          std::optional<std::u16string> text;
          if (source >= 1 && source <= strings.size()) {
            text = strings[source - 1];
          }
          ok = Add(strings, std::move(text));
          break;
        }
        case EFI_HII_SIBT_SKIP2:
        case EFI_HII_SIBT_SKIP1: {
          const std::size_t size = (type == EFI_HII_SIBT_SKIP2) ? 3 : 2;
          if (!Has(size)) {
            return false;
          }
          const std::size_t count = (type == EFI_HII_SIBT_SKIP2) ? Read16(bytes_ + pos_ + 1) : bytes_[pos_ + 1];
          pos_ += size;
          if (strings.size() + count > kMaxStringId) {
            return false;
          }
          strings.resize(strings.size() + count);
          break;
        }
        case EFI_HII_SIBT_EXT1:
        case EFI_HII_SIBT_EXT2:
        case EFI_HII_SIBT_EXT4: {
          // Font and other extended blocks carry no string; skip them whole.
          const std::size_t header = (type == EFI_HII_SIBT_EXT1) ? 3 : (type == EFI_HII_SIBT_EXT2) ? 4 : 6;
          if (!Has(header)) {
            return false;
          }
          const std::size_t blockLength = (type == EFI_HII_SIBT_EXT1)   ? bytes_[pos_ + 2]
                                          : (type == EFI_HII_SIBT_EXT2) ? Read16(bytes_ + pos_ + 2)
                                                                        : Read32(bytes_ + pos_ + 2);
          if (blockLength < header || !Has(blockLength)) {
            return false;
          }
          pos_ += blockLength;
          break;
        }
        default:
          return false;
      }
      if (!ok) {
        return false;
      }
    }
  }

 private:
  // A block's fixed prefix may already have carried pos_ past the end.
  bool Has(std::size_t count) const { return pos_ <= length_ && count <= length_ - pos_; }

  bool Add(std::vector<std::optional<std::u16string>>& strings, std::optional<std::u16string> text) {
    if (strings.size() >= kMaxStringId) {
      return false;
    }
    strings.push_back(std::move(text));
    return true;
  }

  // A block header of `header` bytes ending in a UINT16 count, then texts.
  bool Counted(std::vector<std::optional<std::u16string>>& strings, std::size_t fontBytes, bool ucs2) {
    const std::size_t header = fontBytes + 2;
    if (!Has(header)) {
      return false;
    }
    const std::uint16_t count = Read16(bytes_ + pos_ + fontBytes);
    pos_ += header;
    return Strings(strings, count, ucs2);
  }

  bool Strings(std::vector<std::optional<std::u16string>>& strings, std::size_t count, bool ucs2) {
    for (std::size_t n = 0; n < count; n++) {
      std::u16string text;
      if (!(ucs2 ? ReadUcs2(text) : ReadNarrow(text)) || !Add(strings, std::move(text))) {
        return false;
      }
    }
    return true;
  }

  bool ReadUcs2(std::u16string& text) {
    while (Has(2)) {
      const char16_t c = Read16(bytes_ + pos_);
      pos_ += 2;
      if (c == 0) {
        return true;
      }
      text.push_back(c);
    }
    return false;
  }

  // SCSU text in its single-byte form: each byte is the character.
  bool ReadNarrow(std::u16string& text) {
    while (Has(1)) {
      const std::uint8_t c = bytes_[pos_++];
      if (c == 0) {
        return true;
      }
      text.push_back(c);
    }
    return false;
  }

  const std::uint8_t* bytes_;
  std::size_t length_;
  std::size_t pos_;
};

}  // namespace

bool LanguagesEqual(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

std::optional<StringPackage> StringPackage::Parse(const std::uint8_t* bytes, std::size_t length) {
  if (bytes == nullptr || length < sizeof(EFI_HII_STRING_PACKAGE_HDR) || bytes[3] != EFI_HII_PACKAGE_STRINGS) {
    return std::nullopt;
  }
  const std::size_t declared = bytes[0] | (bytes[1] << 8) | (bytes[2] << 16);
  const std::size_t headerSize = Read32(bytes + OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, HdrSize));
  if (declared != length || headerSize < sizeof(EFI_HII_STRING_PACKAGE_HDR) || headerSize > length) {
    return std::nullopt;
  }
  const auto* languageStart = bytes + kLanguageOffset;
  const auto* nul = static_cast<const std::uint8_t*>(std::memchr(languageStart, 0, headerSize - kLanguageOffset));
  if (nul == nullptr || nul == languageStart) {
    return std::nullopt;
  }

  StringPackage package;
  package.header_.assign(bytes, bytes + headerSize);
  package.language_.assign(reinterpret_cast<const char*>(languageStart), nul - languageStart);
  // Blocks start at HdrSize, as firmware's database reads them.
  BlockReader reader(bytes, length, headerSize);
  if (!reader.Run(package.strings_)) {
    return std::nullopt;
  }
  package.original_.assign(bytes, bytes + length);
  return package;
}

StringPackage StringPackage::Create(std::string_view language, std::u16string_view languageName,
                                    std::size_t lastReservedId) {
  StringPackage package;
  const std::size_t headerSize = kLanguageOffset + language.size() + 1;
  package.header_.assign(headerSize, 0);
  std::uint8_t* h = package.header_.data();
  h[3] = EFI_HII_PACKAGE_STRINGS;
  Write32(h + OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, HdrSize), static_cast<std::uint32_t>(headerSize));
  Write32(h + OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, StringInfoOffset), static_cast<std::uint32_t>(headerSize));
  for (std::size_t i = 0; i < 16; i++) {
    h[OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, LanguageWindow) + 2 * i] = static_cast<std::uint8_t>(kLanguageWindow[i]);
    h[OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, LanguageWindow) + 2 * i + 1] =
        static_cast<std::uint8_t>(kLanguageWindow[i] >> 8);
  }
  h[OFFSET_OF(EFI_HII_STRING_PACKAGE_HDR, LanguageName)] = 1;
  std::memcpy(h + kLanguageOffset, language.data(), language.size());
  package.language_.assign(language);
  package.strings_.emplace_back(std::u16string(languageName));
  while (package.strings_.size() < lastReservedId) {
    package.strings_.emplace_back(std::u16string());
  }
  package.modified_ = true;
  return package;
}

std::vector<std::uint8_t> StringPackage::Encode() const {
  if (!modified_) {
    return original_;
  }
  std::vector<std::uint8_t> out(header_);
  std::size_t id = 0;
  while (id < strings_.size()) {
    if (strings_[id]) {
      out.push_back(EFI_HII_SIBT_STRING_UCS2);
      for (char16_t c : *strings_[id]) {
        out.push_back(static_cast<std::uint8_t>(c));
        out.push_back(static_cast<std::uint8_t>(c >> 8));
      }
      out.push_back(0);
      out.push_back(0);
      id++;
      continue;
    }
    std::size_t run = 0;
    while (id + run < strings_.size() && !strings_[id + run] && run < 0xFFFF) {
      run++;
    }
    out.push_back(EFI_HII_SIBT_SKIP2);
    out.push_back(static_cast<std::uint8_t>(run));
    out.push_back(static_cast<std::uint8_t>(run >> 8));
    id += run;
  }
  out.push_back(EFI_HII_SIBT_END);
  const auto length = static_cast<std::uint32_t>(out.size());
  out[0] = static_cast<std::uint8_t>(length);
  out[1] = static_cast<std::uint8_t>(length >> 8);
  out[2] = static_cast<std::uint8_t>(length >> 16);
  out[3] = EFI_HII_PACKAGE_STRINGS;
  return out;
}

std::string_view StringPackage::PrimaryLanguage() const {
  std::string_view all(language_);
  return all.substr(0, all.find(';'));
}

std::string_view StringPackage::SecondaryLanguages() const {
  std::string_view all(language_);
  std::size_t semicolon = all.find(';');
  return semicolon == std::string_view::npos ? std::string_view() : all.substr(semicolon + 1);
}

bool StringPackage::Matches(std::string_view language) const {
  return LanguagesEqual(PrimaryLanguage(), language);
}

const std::u16string* StringPackage::Find(EFI_STRING_ID id) const {
  if (id == 0 || id > strings_.size() || !strings_[id - 1]) {
    return nullptr;
  }
  return &*strings_[id - 1];
}

void StringPackage::Set(EFI_STRING_ID id, std::u16string text) {
  strings_.at(id - 1) = std::move(text);
  modified_ = true;
}

void StringPackage::Append(std::u16string text) {
  strings_.emplace_back(std::move(text));
  modified_ = true;
}

}  // namespace carvex::sim::hii

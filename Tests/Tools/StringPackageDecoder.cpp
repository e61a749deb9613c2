#include "StringPackageDecoder.h"

#include <gtest/gtest.h>

namespace strpkg {

namespace {

uint32_t le (const uint8_t *p, int n) {
  uint32_t v = 0;
  for (int i = n - 1; i >= 0; --i) {
    v = (v << 8) | p[i];
  }
  return v;
}

bool decodeOne (const uint8_t *p, size_t length, Language &lang) {
  if (length < 47) {
    ADD_FAILURE () << "string package too short";
    return false;
  }
  lang.hdrSize = le (p + 4, 4);
  lang.stringInfoOffset = le (p + 8, 4);
  lang.windowZero = true;
  for (int i = 12; i < 44; ++i) {
    lang.windowZero = lang.windowZero && p[i] == 0;
  }
  lang.languageName = static_cast<uint16_t> (le (p + 44, 2));
  size_t pos = 46;
  while (pos < length && p[pos] != 0) {
    lang.name += static_cast<char> (p[pos++]);
  }
  pos = lang.hdrSize; // EDK II reads the blocks from HdrSize
  uint32_t id = 1;
  for (;;) {
    if (pos >= length) {
      ADD_FAILURE () << lang.name << ": blocks run past the package";
      return false;
    }
    const uint8_t type = p[pos++];
    if (type == 0x00) {
      break;
    }
    if (type == 0x14) {
      std::u16string text;
      while (pos + 1 < length && le (p + pos, 2) != 0) {
        text += static_cast<char16_t> (le (p + pos, 2));
        pos += 2;
      }
      pos += 2;
      lang.strings[static_cast<uint16_t> (id++)] = text;
      lang.blocks.push_back ({type, 1});
    } else if (type == 0x21) {
      const uint16_t count = static_cast<uint16_t> (le (p + pos, 2));
      pos += 2;
      id += count;
      lang.blocks.push_back ({type, count});
    } else {
      ADD_FAILURE () << lang.name << ": unexpected block type " << int (type);
      return false;
    }
  }
  if (pos != length) {
    ADD_FAILURE () << lang.name << ": " << length - pos << " bytes after SIBT_END";
    return false;
  }
  lang.maxId = static_cast<uint16_t> (id - 1);
  return true;
}

} // namespace

std::vector<Language> decodeStringPackages (const uint8_t *data, size_t size) {
  std::vector<Language> out;
  size_t                pos = 0;
  while (pos < size) {
    const uint32_t header = le (data + pos, 4);
    const uint32_t length = header & 0xFFFFFF;
    if ((header >> 24) != 0x04 || length < 4 || pos + length > size) {
      ADD_FAILURE () << "bad string package header at " << pos;
      return {};
    }
    Language lang;
    if (!decodeOne (data + pos, length, lang)) {
      return {};
    }
    out.push_back (std::move (lang));
    pos += length;
  }
  return out;
}

} // namespace strpkg

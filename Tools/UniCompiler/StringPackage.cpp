#include "StringPackage.h"

#include "../Common/ByteArraySource.h"
#include "../Common/Diagnostic.h"

#include <cstdio>

namespace carvex::uni {

namespace {

enum : uint8_t { kSibtEnd = 0x00, kSibtStringUcs2 = 0x14, kSibtSkip2 = 0x21 };
constexpr uint8_t  kPackageStrings = 0x04;
constexpr uint32_t kFixedHeader = 46; // package header up to the language name
constexpr uint32_t kMaxStringId = 0xFFFF;

void put16 (std::vector<uint8_t> &out, uint32_t v) {
  out.push_back (static_cast<uint8_t> (v));
  out.push_back (static_cast<uint8_t> (v >> 8));
}

void put32 (std::vector<uint8_t> &out, uint32_t v) {
  put16 (out, v & 0xFFFF);
  put16 (out, v >> 16);
}

void putString (std::vector<uint8_t> &out, const std::u16string &text) {
  out.push_back (kSibtStringUcs2);
  for (char16_t c : text) {
    put16 (out, c);
  }
  put16 (out, 0);
}

void putSkip (std::vector<uint8_t> &out, uint32_t count) {
  while (count > 0) {
    const uint32_t run = count > 0xFFFF ? 0xFFFF : count;
    out.push_back (kSibtSkip2);
    put16 (out, run);
    count -= run;
  }
}

std::vector<uint8_t> package (const UniFile &file, const Language &lang, const std::string &fileName) {
  std::vector<uint8_t> out;
  const uint32_t       hdrSize = kFixedHeader + static_cast<uint32_t> (lang.code.size ()) + 1;
  put32 (out, 0); // length and type, patched below
  put32 (out, hdrSize);
  put32 (out, hdrSize);           // StringInfoOffset: blocks follow the header directly
  out.insert (out.end (), 32, 0); // LanguageWindow
  put16 (out, 1);                 // LanguageName: string 1
  out.insert (out.end (), lang.code.begin (), lang.code.end ());
  out.push_back (0);

  putString (out, lang.printable);
  uint32_t missing = 0;
  for (const auto &def : file.strings) {
    auto text = def.translations.find (lang.code);
    if (text == def.translations.end ()) {
      ++missing;
      continue;
    }
    putSkip (out, missing);
    missing = 0;
    putString (out, text->second);
  }
  putSkip (out, missing); // pad to the common highest identifier
  out.push_back (kSibtEnd);

  if (out.size () > 0xFFFFFF) {
    throw tools::CompileError ({fileName, lang.line}, "the " + lang.code + " string package exceeds 16 MiB");
  }
  const uint32_t header = static_cast<uint32_t> (out.size ()) | (uint32_t{kPackageStrings} << 24);
  for (int i = 0; i < 4; ++i) {
    out[i] = static_cast<uint8_t> (header >> (8 * i));
  }
  return out;
}

} // namespace

std::vector<uint8_t> encodeStringPackages (const UniFile &file, const std::string &fileName) {
  if (file.strings.size () + 1 > kMaxStringId) {
    throw tools::CompileError ({fileName, file.strings[kMaxStringId - 1].line},
                               "too many strings: identifiers end at 0xFFFF");
  }
  std::vector<uint8_t> all;
  for (const auto &lang : file.languages) {
    auto one = package (file, lang, fileName);
    all.insert (all.end (), one.begin (), one.end ());
  }
  return all;
}

std::string renderStringDefines (const UniFile &file, const std::string &headerFileName,
                                 const std::string &sourceName) {
  const std::string guard = tools::includeGuardFor (headerFileName);
  std::string out = "// String identifiers of " + sourceName + ".\n// Generated file: do not edit.\n#ifndef " + guard +
                    "\n#define " + guard + "\n\n";
  size_t width = 0;
  for (const auto &def : file.strings) {
    width = def.name.size () > width ? def.name.size () : width;
  }
  char value[16];
  for (size_t i = 0; i < file.strings.size (); ++i) {
    std::snprintf (value, sizeof value, "0x%04X", static_cast<unsigned> (i + 2));
    out +=
        "#define " + file.strings[i].name + std::string (width + 1 - file.strings[i].name.size (), ' ') + value + "\n";
  }
  return out + "\n#endif\n";
}

} // namespace carvex::uni

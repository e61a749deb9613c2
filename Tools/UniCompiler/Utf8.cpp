#include "Utf8.h"

#include "../Common/Diagnostic.h"

namespace carvex::uni {

std::vector<DecodedChar> decodeUtf8 (const std::string &bytes, const std::string &fileName) {
  std::vector<DecodedChar> out;
  size_t                   i = 0;
  int                      line = 1;
  if (bytes.size () >= 2 &&
      ((bytes[0] == '\xFF' && bytes[1] == '\xFE') || (bytes[0] == '\xFE' && bytes[1] == '\xFF'))) {
    throw tools::CompileError ({fileName, 1}, "the file is UTF-16; string files must be UTF-8");
  }
  if (bytes.compare (0, 3, "\xEF\xBB\xBF") == 0) {
    i = 3;
  }
  auto bad = [&] () { throw tools::CompileError ({fileName, line}, "invalid UTF-8"); };
  while (i < bytes.size ()) {
    const auto lead = static_cast<unsigned char> (bytes[i]);
    char32_t   code = 0;
    int        extra = 0;
    char32_t   minimum = 0;
    if (lead < 0x80) {
      code = lead, extra = 0, minimum = 0;
    } else if ((lead & 0xE0) == 0xC0) {
      code = lead & 0x1F, extra = 1, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      code = lead & 0x0F, extra = 2, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      code = lead & 0x07, extra = 3, minimum = 0x10000;
    } else {
      bad ();
    }
    if (i + static_cast<size_t> (extra) >= bytes.size ()) {
      bad (); // truncated sequence
    }
    for (int k = 1; k <= extra; ++k) {
      const auto cont = static_cast<unsigned char> (bytes[i + k]);
      if ((cont & 0xC0) != 0x80) {
        bad ();
      }
      code = (code << 6) | (cont & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
      bad ();
    }
    out.push_back ({code, line});
    if (code == '\n') {
      ++line;
    }
    i += static_cast<size_t> (extra) + 1;
  }
  return out;
}

} // namespace carvex::uni

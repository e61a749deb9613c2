// Strict UTF-8 decoding for string files.
#pragma once

#include <string>
#include <vector>

namespace carvex::uni {

struct DecodedChar {
  char32_t code;
  int      line;
};

// Decodes `bytes` (a leading byte-order mark is dropped). Throws CompileError
// at the line of the first overlong, truncated or surrogate sequence.
std::vector<DecodedChar> decodeUtf8 (const std::string &bytes, const std::string &fileName);

} // namespace carvex::uni

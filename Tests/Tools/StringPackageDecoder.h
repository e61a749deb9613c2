// A string-package reader written for the tests from the published block
// layouts: it turns the concatenated packages back into per-language maps.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace strpkg {

struct Block {
  uint8_t  type;
  uint16_t count; // SKIP2 count, otherwise 1
};

struct Language {
  std::string                        name;
  uint32_t                           hdrSize = 0, stringInfoOffset = 0;
  uint16_t                           languageName = 0;
  bool                               windowZero = false;
  std::map<uint16_t, std::u16string> strings;
  uint16_t                           maxId = 0; // last identifier the blocks cover
  std::vector<Block>                 blocks;    // in order, END excluded
};

// Decodes back-to-back string packages. Fails the current test on any
// framing error or unknown block.
std::vector<Language> decodeStringPackages (const uint8_t *data, size_t size);

} // namespace strpkg

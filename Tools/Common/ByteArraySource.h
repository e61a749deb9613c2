// Renders a byte blob as a freestanding C/C++ array definition plus the header
// that declares it. The generated files include only <stdint.h>, so they build
// for the host and for the firmware target alike.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace carvex::tools {

struct ByteArrayFiles {
  std::string header;
  std::string source;
};

// `payload` is the package data; the array gets EDK II's layout: a UINT32
// little-endian length that counts itself, then the payload, which is what
// HiiAddPackages takes. `note` is one line of comment placed in both files.
ByteArrayFiles renderByteArray (const std::string &arrayName, const std::string &headerFileName,
                                const std::vector<uint8_t> &payload, const std::string &note);

// Macro name usable as an include guard, derived from a file name.
std::string includeGuardFor (const std::string &fileName);

// True when `name` is a C identifier.
bool isCIdentifier (const std::string &name);

} // namespace carvex::tools

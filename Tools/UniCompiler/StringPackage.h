// Encodes string packages: one per language, in #langdef order, all ending
// at the same highest identifier so that EDK II's NewString accepts them.
#pragma once

#include "UniParser.h"

#include <cstdint>
#include <string>
#include <vector>

namespace carvex::uni {

// String 1 is the language's own name; string n >= 2 is file.strings[n - 2]
// as SIBT_STRING_UCS2, or part of a SIBT_SKIP2 run where the language lacks it.
std::vector<uint8_t> encodeStringPackages (const UniFile &file, const std::string &fileName);

// "#define STR_NAME 0x0002" for every string, in identifier order.
std::string renderStringDefines (const UniFile &file, const std::string &headerFileName, const std::string &sourceName);

} // namespace carvex::uni

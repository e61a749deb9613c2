// Reads the relocations of a COFF object file, to prove that the compiler
// support routines do not call themselves (or each other) after optimisation.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace carvex::pecheck {

// Returns one line per relocation that targets one of the given symbols, or a
// single line describing why the object could not be read.
std::vector<std::string> findReferencesTo (const std::vector<uint8_t> &object, const std::set<std::string> &symbols);

} // namespace carvex::pecheck

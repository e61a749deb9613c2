// Writes a resolved form set as an IFR forms package in the layout EDK II's
// browser reads: FORM_SET, the default stores and every variable store before
// the first FORM, scoped opcodes closed by END, multi-opcode expressions
// opened by a scope bit on their first opcode and closed by their own END.
#pragma once

#include "FormAst.h"

#include <cstdint>
#include <vector>

namespace carvex::vfr {

// The whole package: 4-byte package header (length, type FORMS) + opcodes.
std::vector<uint8_t> encodeFormPackage (const FormSet &formSet);

} // namespace carvex::vfr

// Integer constant expressions, as C writes them: used by #if, array
// dimensions and the numeric attributes of the form source.
#pragma once

#include "TokenCursor.h"

#include <cstdint>

namespace carvex::vfr {

enum class UnknownIdentifiers {
  AreZero, // #if: an identifier left after macro expansion counts as 0
  AreErrors
};

// Parses the longest expression at the cursor. Operators: ?: || && | ^ & == !=
// < > <= >= << >> + - * / % and unary - + ~ !, parentheses. No assignment,
// no comma. Arithmetic is 64-bit unsigned.
uint64_t evalConstExpr (TokenCursor &cursor, UnknownIdentifiers unknown);

// True when the token can start a constant expression.
bool startsConstExpr (const Token &token);

} // namespace carvex::vfr

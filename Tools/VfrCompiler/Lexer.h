// Splits one logical source line (comments removed, continuations joined)
// into tokens. Lenient by design: headers shared with C++ code may hold
// anything, so odd characters become punctuation and odd numbers are marked
// bad; the parser reports them only if it needs them.
#pragma once

#include "Token.h"

#include <string>
#include <vector>

namespace carvex::vfr {

std::vector<Token> lexLine (const std::string &line, const SourceLoc &loc, bool inMainFile);

// Removes // and /* */ comments, keeping newlines so line numbers survive.
// Throws on an unterminated block comment.
std::string stripComments (const std::string &text, const std::string &fileName);

} // namespace carvex::vfr

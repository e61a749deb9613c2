// Tokens of the form source and of the C headers it includes.
#pragma once

#include "../Common/Diagnostic.h"

#include <cstdint>
#include <string>

namespace carvex::vfr {

using tools::CompileError;
using tools::SourceLoc;

enum class TokenKind {
  Identifier,
  Number,
  String,  // "..." kept raw, quotes included
  CharLit, // '...' kept raw
  Punct,   // operators and separators, longest match
  Pragma,  // a #pragma pack directive, see PackAction
  EndOfInput
};

enum class PackAction { Set, Push, Pop };

struct Token {
  TokenKind   kind = TokenKind::EndOfInput;
  std::string text;
  uint64_t    value = 0;          // Number: its value; Pragma: the pack value (0 = default)
  bool        badNumber = false;  // Number that is not a valid integer literal (e.g. a float)
  bool        inMainFile = false; // false for tokens that come from an included header
  PackAction  pack = PackAction::Set;
  std::string macro; // name of the macro this token was expanded from, if any
  SourceLoc   loc;

  bool is (TokenKind k, const char *t) const {
    return kind == k && text == t;
  }
  bool isPunct (const char *t) const {
    return is (TokenKind::Punct, t);
  }
  bool isIdent (const char *t) const {
    return is (TokenKind::Identifier, t);
  }
};

} // namespace carvex::vfr

// Read position in a token vector, with the small helpers every parser here
// needs. Reading past the end yields an EndOfInput token placed at the last
// real token, so error messages always carry a line.
#pragma once

#include "Token.h"

#include <vector>

namespace carvex::vfr {

class TokenCursor {
public:
  explicit TokenCursor (const std::vector<Token> &tokens, SourceLoc endLoc = {});

  const Token &peek (size_t ahead = 0) const;
  const Token &next ();
  bool         atEnd () const {
            return pos_ >= tokens_.size ();
  }
  size_t position () const {
    return pos_;
  }
  void seek (size_t pos) {
    pos_ = pos;
  }

  bool         acceptPunct (const char *text);
  bool         acceptIdent (const char *word);
  const Token &expectPunct (const char *text, const char *context);
  const Token &expectIdent (const char *word, const char *context);
  const Token &expectIdentifier (const char *context);

  [[noreturn]] void fail (const std::string &message) const;
  [[noreturn]] void failAt (const Token &token, const std::string &message) const;

  // "'x'" or "end of input", for messages.
  static std::string describe (const Token &token);

private:
  const std::vector<Token> &tokens_;
  size_t                    pos_ = 0;
  Token                     end_;
};

} // namespace carvex::vfr

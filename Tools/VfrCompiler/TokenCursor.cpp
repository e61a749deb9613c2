#include "TokenCursor.h"

namespace carvex::vfr {

TokenCursor::TokenCursor (const std::vector<Token> &tokens, SourceLoc endLoc) : tokens_ (tokens) {
  end_.kind = TokenKind::EndOfInput;
  end_.loc = tokens.empty () ? std::move (endLoc) : tokens.back ().loc;
  end_.inMainFile = true;
}

const Token &TokenCursor::peek (size_t ahead) const {
  return pos_ + ahead < tokens_.size () ? tokens_[pos_ + ahead] : end_;
}

const Token &TokenCursor::next () {
  const Token &tok = peek ();
  if (pos_ < tokens_.size ()) {
    ++pos_;
  }
  return tok;
}

bool TokenCursor::acceptPunct (const char *text) {
  if (peek ().isPunct (text)) {
    next ();
    return true;
  }
  return false;
}

bool TokenCursor::acceptIdent (const char *word) {
  if (peek ().isIdent (word)) {
    next ();
    return true;
  }
  return false;
}

const Token &TokenCursor::expectPunct (const char *text, const char *context) {
  if (!peek ().isPunct (text)) {
    fail (std::string ("expected '") + text + "' " + context + ", found " + describe (peek ()));
  }
  return next ();
}

const Token &TokenCursor::expectIdent (const char *word, const char *context) {
  if (!peek ().isIdent (word)) {
    fail (std::string ("expected '") + word + "' " + context + ", found " + describe (peek ()));
  }
  return next ();
}

const Token &TokenCursor::expectIdentifier (const char *context) {
  if (peek ().kind != TokenKind::Identifier) {
    fail (std::string ("expected a name ") + context + ", found " + describe (peek ()));
  }
  return next ();
}

void TokenCursor::fail (const std::string &message) const {
  failAt (peek (), message);
}

void TokenCursor::failAt (const Token &token, const std::string &message) const {
  throw CompileError (token.loc, message);
}

std::string TokenCursor::describe (const Token &token) {
  if (token.kind == TokenKind::EndOfInput) {
    return "end of input";
  }
  return "'" + token.text + "'";
}

} // namespace carvex::vfr

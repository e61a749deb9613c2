#include "Lexer.h"

#include <cctype>

namespace carvex::vfr {

namespace {

bool isIdentStart (char c) {
  return std::isalpha (static_cast<unsigned char> (c)) || c == '_';
}
bool isIdentChar (char c) {
  return std::isalnum (static_cast<unsigned char> (c)) || c == '_';
}

// Value of a C integer literal (decimal, 0x hex, 0 octal, u/l suffixes).
bool parseInteger (const std::string &text, uint64_t &value) {
  size_t end = text.size ();
  while (end > 0 && (text[end - 1] == 'u' || text[end - 1] == 'U' || text[end - 1] == 'l' || text[end - 1] == 'L')) {
    --end;
  }
  std::string digits = text.substr (0, end);
  unsigned    base = 10;
  size_t      pos = 0;
  if (digits.size () > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
    base = 16;
    pos = 2;
  } else if (digits.size () > 1 && digits[0] == '0') {
    base = 8;
    pos = 1;
  }
  if (digits.empty ()) {
    return false;
  }
  value = 0;
  for (; pos < digits.size (); ++pos) {
    char     c = static_cast<char> (std::tolower (static_cast<unsigned char> (digits[pos])));
    unsigned d;
    if (c >= '0' && c <= '9') {
      d = static_cast<unsigned> (c - '0');
    } else if (c >= 'a' && c <= 'f') {
      d = static_cast<unsigned> (c - 'a' + 10);
    } else {
      return false;
    }
    if (d >= base || value > (UINT64_MAX - d) / base) {
      return false;
    }
    value = value * base + d;
  }
  return true;
}

const char *const kPunctuators[] = {"<<=", ">>=", "...", "==", "!=", "<=", ">=", "&&", "||", "<<", ">>",
                                    "->",  "::",  "++",  "--", "+=", "-=", "*=", "/=", "|=", "&=", "^="};

} // namespace

std::vector<Token> lexLine (const std::string &line, const SourceLoc &loc, bool inMainFile) {
  std::vector<Token> tokens;
  size_t             i = 0;
  while (i < line.size ()) {
    char c = line[i];
    if (std::isspace (static_cast<unsigned char> (c))) {
      ++i;
      continue;
    }
    Token tok;
    tok.loc = loc;
    tok.inMainFile = inMainFile;
    size_t start = i;
    if (isIdentStart (c)) {
      while (i < line.size () && isIdentChar (line[i])) {
        ++i;
      }
      tok.kind = TokenKind::Identifier;
    } else if (std::isdigit (static_cast<unsigned char> (c))) {
      // A preprocessing number: digits, letters, dots and exponent signs.
      const bool hex = line.compare (start, 2, "0x") == 0 || line.compare (start, 2, "0X") == 0;
      while (i < line.size () &&
             (isIdentChar (line[i]) || line[i] == '.' ||
              (!hex && (line[i] == '+' || line[i] == '-') && (line[i - 1] == 'e' || line[i - 1] == 'E')))) {
        ++i;
      }
      tok.kind = TokenKind::Number;
      tok.badNumber = !parseInteger (line.substr (start, i - start), tok.value);
    } else if (c == '"' || c == '\'') {
      ++i;
      while (i < line.size () && line[i] != c) {
        i += (line[i] == '\\') ? 2 : 1;
      }
      if (i >= line.size ()) {
        throw CompileError (loc, std::string ("unterminated ") + (c == '"' ? "string" : "character") + " literal");
      }
      ++i;
      tok.kind = (c == '"') ? TokenKind::String : TokenKind::CharLit;
    } else {
      tok.kind = TokenKind::Punct;
      i += 1;
      for (const char *p : kPunctuators) {
        std::string op (p);
        if (line.compare (start, op.size (), op) == 0) {
          i = start + op.size ();
          break;
        }
      }
    }
    tok.text = line.substr (start, i - start);
    tokens.push_back (std::move (tok));
  }
  return tokens;
}

std::string stripComments (const std::string &text, const std::string &fileName) {
  std::string out;
  out.reserve (text.size ());
  size_t i = 0;
  int    line = 1;
  int    commentLine = 0;
  while (i < text.size ()) {
    char c = text[i];
    if (c == '\n') {
      ++line;
    }
    if (c == '"' || c == '\'') {
      // Copy literals verbatim so that "//" inside them survives.
      out += c;
      ++i;
      while (i < text.size () && text[i] != c && text[i] != '\n') {
        if (text[i] == '\\' && i + 1 < text.size ()) {
          out += text[i++];
        }
        out += text[i++];
      }
      if (i < text.size () && text[i] == c) {
        out += text[i++];
      }
      continue;
    }
    if (c == '/' && i + 1 < text.size () && text[i + 1] == '/') {
      while (i < text.size () && text[i] != '\n') {
        ++i;
      }
      continue;
    }
    if (c == '/' && i + 1 < text.size () && text[i + 1] == '*') {
      commentLine = line;
      i += 2;
      while (i < text.size () && !(text[i] == '*' && i + 1 < text.size () && text[i + 1] == '/')) {
        if (text[i] == '\n') {
          out += '\n';
          ++line;
        }
        ++i;
      }
      if (i >= text.size ()) {
        throw CompileError ({fileName, commentLine}, "unterminated comment");
      }
      i += 2;
      out += ' ';
      continue;
    }
    out += c;
    ++i;
  }
  return out;
}

} // namespace carvex::vfr

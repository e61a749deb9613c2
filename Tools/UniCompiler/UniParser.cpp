#include "UniParser.h"

#include "../Common/Diagnostic.h"
#include "Utf8.h"

#include <cctype>
#include <cstdio>

namespace carvex::uni {

namespace {

using tools::CompileError;

struct Tok {
  enum Kind { Directive, Word, String } kind;
  std::string    word; // Directive (without '#') and Word
  std::u16string text; // String
  int            line;
};

bool isWordChar (char32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
}

std::string codePoint (char32_t c) {
  char buf[16];
  std::snprintf (buf, sizeof buf, "U+%04X", static_cast<unsigned> (c));
  return buf;
}

class Lexer {
public:
  Lexer (std::vector<DecodedChar> chars, std::string file) : chars_ (std::move (chars)), file_ (std::move (file)) {
  }

  std::vector<Tok> run () {
    std::vector<Tok> toks;
    while (skipSpaceAndComments ()) {
      const DecodedChar c = chars_[pos_];
      if (c.code == '#') {
        ++pos_;
        toks.push_back ({Tok::Directive, word (), {}, c.line});
      } else if (c.code == '"') {
        toks.push_back ({Tok::String, {}, string (), c.line});
      } else if (isWordChar (c.code)) {
        toks.push_back ({Tok::Word, word (), {}, c.line});
      } else {
        fail (c.line, "unexpected character " + codePoint (c.code));
      }
    }
    return toks;
  }

private:
  [[noreturn]] void fail (int line, const std::string &message) const {
    throw CompileError ({file_, line}, message);
  }

  bool skipSpaceAndComments () {
    while (pos_ < chars_.size ()) {
      char32_t c = chars_[pos_].code;
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
        ++pos_;
      } else if (c == '/' && pos_ + 1 < chars_.size () && chars_[pos_ + 1].code == '/') {
        while (pos_ < chars_.size () && chars_[pos_].code != '\n') {
          ++pos_;
        }
      } else {
        return true;
      }
    }
    return false;
  }

  std::string word () {
    std::string w;
    while (pos_ < chars_.size () && isWordChar (chars_[pos_].code)) {
      w += static_cast<char> (chars_[pos_++].code);
    }
    if (w.empty ()) {
      fail (pos_ < chars_.size () ? chars_[pos_].line : chars_.back ().line, "expected a word after '#'");
    }
    return w;
  }

  std::u16string string () {
    const int      line = chars_[pos_++].line;
    std::u16string text;
    for (;;) {
      if (pos_ >= chars_.size () || chars_[pos_].code == '\n') {
        fail (line, "unterminated string");
      }
      const DecodedChar c = chars_[pos_++];
      if (c.code == '"') {
        return text;
      }
      char32_t code = c.code;
      if (code == '\\') {
        code = escape (c.line);
      }
      if (code > 0xFFFF) {
        fail (c.line, "character " + codePoint (code) + " is outside the Basic Multilingual Plane");
      }
      text += static_cast<char16_t> (code);
    }
  }

  char32_t escape (int line) {
    if (pos_ >= chars_.size ()) {
      fail (line, "unterminated string");
    }
    const char32_t e = chars_[pos_++].code;
    switch (e) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case '\\':
      return '\\';
    case '"':
      return '"';
    case '\'':
      return '\'';
    case 'x': {
      char32_t v = 0;
      for (int k = 0; k < 4; ++k) {
        char32_t h = pos_ < chars_.size () ? chars_[pos_].code : 0;
        int      d = (h >= '0' && h <= '9')   ? int (h - '0')
                     : (h >= 'a' && h <= 'f') ? int (h - 'a' + 10)
                     : (h >= 'A' && h <= 'F') ? int (h - 'A' + 10)
                                              : -1;
        if (d < 0) {
          fail (line, "\\x needs four hexadecimal digits");
        }
        v = v * 16 + static_cast<char32_t> (d);
        ++pos_;
      }
      if (v == 0 || (v >= 0xD800 && v <= 0xDFFF)) {
        fail (line, "\\x" + codePoint (v).substr (2) + " is not a character");
      }
      return v;
    }
    default:
      fail (line, "unknown escape sequence");
    }
  }

  std::vector<DecodedChar> chars_;
  std::string              file_;
  size_t                   pos_ = 0;
};

class Parser {
public:
  Parser (std::vector<Tok> toks, std::string file, UniFile base, bool translationsOnly)
      : toks_ (std::move (toks)), file_ (std::move (file)), result_ (std::move (base)),
        translationsOnly_ (translationsOnly) {
  }

  UniFile run () {
    while (pos_ < toks_.size ()) {
      const Tok &t = toks_[pos_];
      if (t.kind == Tok::Directive && t.word == "langdef") {
        ++pos_;
        langdef (t.line);
      } else if (t.kind == Tok::Directive && t.word == "string") {
        ++pos_;
        stringDef (t.line);
      } else if (t.kind == Tok::Directive && t.word == "language") {
        fail (t.line, "#language outside a #string");
      } else if (t.kind == Tok::Directive) {
        fail (t.line, "unsupported directive '#" + t.word + "'");
      } else {
        fail (t.line, t.kind == Tok::String ? "unexpected string" : "unexpected '" + t.word + "'");
      }
    }
    return std::move (result_);
  }

private:
  [[noreturn]] void fail (int line, const std::string &message) const {
    throw CompileError ({file_, line}, message);
  }

  std::string expectWord (int line, const char *what) {
    if (pos_ >= toks_.size () || toks_[pos_].kind != Tok::Word) {
      fail (pos_ < toks_.size () ? toks_[pos_].line : line, std::string ("expected ") + what);
    }
    return toks_[pos_++].word;
  }

  std::u16string expectStrings (int line) {
    if (pos_ >= toks_.size () || toks_[pos_].kind != Tok::String) {
      fail (pos_ < toks_.size () ? toks_[pos_].line : line, "expected a quoted string");
    }
    std::u16string text;
    while (pos_ < toks_.size () && toks_[pos_].kind == Tok::String) {
      text += toks_[pos_++].text;
    }
    return text;
  }

  static bool validLanguage (const std::string &code) {
    if (code.empty () || code.front () == '-' || code.back () == '-') {
      return false;
    }
    for (char c : code) {
      if (!std::isalnum (static_cast<unsigned char> (c)) && c != '-') {
        return false;
      }
    }
    return true;
  }

  static bool validIdentifier (const std::string &name) {
    if (name.empty () || std::isdigit (static_cast<unsigned char> (name[0]))) {
      return false;
    }
    for (char c : name) {
      if (!std::isalnum (static_cast<unsigned char> (c)) && c != '_') {
        return false;
      }
    }
    return true;
  }

  const Language *findLanguage (const std::string &code) const {
    for (const auto &l : result_.languages) {
      if (l.code == code) {
        return &l;
      }
    }
    return nullptr;
  }

  void langdef (int line) {
    if (translationsOnly_) {
      fail (line, "#langdef is allowed only in the first file; it declares the languages");
    }
    Language lang;
    lang.line = line;
    lang.code = expectWord (line, "a language code after #langdef");
    if (!validLanguage (lang.code)) {
      fail (line, "'" + lang.code + "' is not a language code");
    }
    if (const Language *other = findLanguage (lang.code)) {
      fail (line, "language " + lang.code + " is already defined at line " + std::to_string (other->line));
    }
    lang.printable = expectStrings (line);
    result_.languages.push_back (std::move (lang));
  }

  void stringDef (int line) {
    const std::string name = expectWord (line, "a string identifier after #string");
    if (!validIdentifier (name)) {
      fail (line, "'" + name + "' is not a valid string identifier");
    }
    StringDef *def = nullptr;
    for (auto &s : result_.strings) {
      if (s.name == name) {
        def = &s;
      }
    }
    if (def == nullptr && translationsOnly_) {
      fail (line, name + " is not declared by the first file; later files only add translations");
    }
    if (def == nullptr) {
      def = &result_.strings.emplace_back ();
      def->name = name;
      def->line = line;
    }
    while (pos_ < toks_.size () && toks_[pos_].kind == Tok::Directive && toks_[pos_].word == "language") {
      const int         langLine = toks_[pos_++].line;
      const std::string code = expectWord (langLine, "a language code after #language");
      if (findLanguage (code) == nullptr) {
        fail (langLine, "language " + code + " is not declared by #langdef");
      }
      if (auto seen = def->lines.find (code); seen != def->lines.end ()) {
        const std::string &firstFile = def->files[code];
        fail (langLine, "duplicate " + code + " text for " + name + " (first at " +
                            (firstFile == file_ ? "line " : firstFile + ":") + std::to_string (seen->second) + ")");
      }
      def->translations[code] = expectStrings (langLine);
      def->lines[code] = langLine;
      def->files[code] = file_;
    }
  }

  std::vector<Tok> toks_;
  std::string      file_;
  size_t           pos_ = 0;
  UniFile          result_;
  bool             translationsOnly_;
};

} // namespace

UniFile parseUni (const std::string &bytes, const std::string &fileName) {
  UniFile file = Parser (Lexer (decodeUtf8 (bytes, fileName), fileName).run (), fileName, {}, false).run ();
  if (file.languages.empty ()) {
    throw CompileError ({fileName, 1}, "no language defined (#langdef)");
  }
  return file;
}

void addTranslations (UniFile &file, const std::string &bytes, const std::string &fileName) {
  file = Parser (Lexer (decodeUtf8 (bytes, fileName), fileName).run (), fileName, std::move (file), true).run ();
}

} // namespace carvex::uni

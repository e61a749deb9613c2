#include "Preprocessor.h"

#include "../Common/FileIo.h"
#include "ConstExpr.h"
#include "Lexer.h"
#include "TokenCursor.h"

#include <filesystem>

namespace carvex::vfr {

namespace fs = std::filesystem;

namespace {

const char *const kReserved[] = {
    "formset",    "endformset", "form",         "endform",     "guid",         "title",       "help",     "classguid",
    "class",      "subclass",   "defaultstore", "varstore",    "efivarstore",  "varid",       "name",     "attribute",
    "prompt",     "formid",     "subtitle",     "text",        "numeric",      "endnumeric",  "oneof",    "endoneof",
    "option",     "value",      "checkbox",     "endcheckbox", "string",       "endstring",   "password", "endpassword",
    "action",     "endaction",  "config",       "goto",        "question",     "questionid",  "key",      "label",
    "suppressif", "grayoutif",  "disableif",    "endif",       "ideqval",      "ideqvallist", "ideqid",   "cond",
    "TRUE",       "FALSE",      "AND",          "OR",          "NOT",          "default",     "flags",    "minimum",
    "maximum",    "step",       "minsize",      "maxsize",     "STRING_TOKEN",
};

// Predefined so that shared headers can hide C-only parts and so that the
// platform-setup class GUID needs no include.
const char *const kBuiltins[][2] = {
    {"VFRCOMPILE", "1"},
    {"EFI_HII_PLATFORM_SETUP_FORMSET_GUID",
     "{ 0x93039971, 0x8545, 0x4b04, { 0xb4, 0x5e, 0x32, 0xeb, 0x83, 0x26, 0x04, 0x0e } }"},
    {"EFI_VARIABLE_NON_VOLATILE", "0x00000001"},
    {"EFI_VARIABLE_BOOTSERVICE_ACCESS", "0x00000002"},
    {"EFI_VARIABLE_RUNTIME_ACCESS", "0x00000004"},
};

bool sameBody (const std::vector<Token> &a, const std::vector<Token> &b) {
  if (a.size () != b.size ()) {
    return false;
  }
  for (size_t i = 0; i < a.size (); ++i) {
    if (a[i].text != b[i].text) {
      return false;
    }
  }
  return true;
}

std::string trimLeft (const std::string &s) {
  size_t i = s.find_first_not_of (" \t\r");
  return i == std::string::npos ? std::string () : s.substr (i);
}

} // namespace

bool isReservedWord (const std::string &word) {
  for (const char *r : kReserved) {
    if (word == r) {
      return true;
    }
  }
  return false;
}

Preprocessor::Preprocessor (PreprocessorOptions options) : options_ (std::move (options)) {
  for (const auto &builtin : kBuiltins) {
    Macro m;
    m.body = lexLine (builtin[1], {"<builtin>", 0}, false);
    m.builtin = true;
    macros_[builtin[0]] = std::move (m);
  }
  for (const auto &[name, value] : options_.defines) {
    Macro m;
    m.body = lexLine (value, {"<command line>", 0}, true);
    m.loc = {"<command line>", 0};
    macros_[name] = std::move (m);
  }
}

std::vector<Token> Preprocessor::run (const std::string &mainFile) {
  out_.clear ();
  processFile (mainFile, true, 0);
  return std::move (out_);
}

void Preprocessor::processFile (const std::string &path, bool isMain, int depth) {
  const std::string canonical = fs::weakly_canonical (path).string ();
  if (onceFiles_.count (canonical) != 0) {
    return;
  }
  auto content = tools::readFile (path);
  if (!content) {
    throw CompileError ({path, 0}, "cannot read file");
  }
  filesRead_.push_back (path);
  const std::string text = stripComments (*content, path);
  const size_t      conditionDepth = conditions_.size ();

  size_t pos = 0;
  int    line = 1;
  while (pos < text.size ()) {
    // Gather one logical line: backslash-newline joins physical lines.
    const int   firstLine = line;
    std::string logical;
    for (;;) {
      size_t      eol = text.find ('\n', pos);
      std::string physical = text.substr (pos, eol == std::string::npos ? std::string::npos : eol - pos);
      pos = (eol == std::string::npos) ? text.size () : eol + 1;
      ++line;
      if (!physical.empty () && physical.back () == '\r') {
        physical.pop_back ();
      }
      if (!physical.empty () && physical.back () == '\\') {
        physical.pop_back ();
        logical += physical + " ";
        if (pos < text.size ()) {
          continue;
        }
      }
      logical += physical;
      break;
    }
    const SourceLoc loc{path, firstLine};
    std::string     trimmed = trimLeft (logical);
    if (!trimmed.empty () && trimmed[0] == '#') {
      std::vector<Token> tokens = lexLine (trimmed.substr (1), loc, isMain);
      directive (tokens, loc, path, isMain, depth);
      if (!tokens.empty () && tokens[0].text == "define" && active_) {
        define (tokens, loc, trimmed.substr (1), isMain);
      }
    } else if (active_) {
      std::set<std::string> hidden;
      expandInto (lexLine (logical, loc, isMain), out_, hidden, nullptr);
    }
  }
  if (conditions_.size () != conditionDepth) {
    throw CompileError (conditions_.back ().loc, "#if without #endif");
  }
}

void Preprocessor::directive (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &path, bool isMain,
                              int depth) {
  if (tokens.empty ()) {
    return; // the null directive
  }
  const std::string name = tokens[0].text;
  if (name == "if" || name == "ifdef" || name == "ifndef") {
    bool cond = false;
    if (active_) {
      if (name == "if") {
        cond = evalCondition ({tokens.begin () + 1, tokens.end ()}, loc);
      } else {
        if (tokens.size () < 2 || tokens[1].kind != TokenKind::Identifier) {
          throw CompileError (loc, "#" + name + " needs a macro name");
        }
        cond = (macros_.count (tokens[1].text) != 0) == (name == "ifdef");
      }
    }
    conditions_.push_back ({active_, cond, false, loc});
    active_ = active_ && cond;
    return;
  }
  if (name == "elif" || name == "else" || name == "endif") {
    if (conditions_.empty ()) {
      throw CompileError (loc, "#" + name + " without #if");
    }
    Conditional &top = conditions_.back ();
    if (name == "endif") {
      active_ = top.wasActive;
      conditions_.pop_back ();
      return;
    }
    if (top.sawElse) {
      throw CompileError (loc, "#" + name + " after #else");
    }
    bool cond = false;
    if (top.wasActive && !top.taken) {
      cond = (name == "else") || evalCondition ({tokens.begin () + 1, tokens.end ()}, loc);
    }
    top.sawElse = (name == "else");
    top.taken = top.taken || cond;
    active_ = top.wasActive && cond;
    return;
  }
  if (!active_) {
    return;
  }
  if (name == "define") {
    return; // handled by the caller, which has the raw text
  }
  if (name == "undef") {
    if (tokens.size () < 2) {
      throw CompileError (loc, "#undef needs a macro name");
    }
    macros_.erase (tokens[1].text);
  } else if (name == "include") {
    include (tokens, loc, path, isMain, depth);
  } else if (name == "pragma") {
    pragma (tokens, loc);
  } else if (name == "error") {
    std::string message;
    for (size_t i = 1; i < tokens.size (); ++i) {
      message += (i > 1 ? " " : "") + tokens[i].text;
    }
    throw CompileError (loc, "#error " + message);
  } else if (name != "warning" && name != "line") {
    throw CompileError (loc, "unknown preprocessor directive '#" + name + "'");
  }
}

void Preprocessor::define (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &rawLine, bool isMain) {
  if (tokens.size () < 2 || tokens[1].kind != TokenKind::Identifier) {
    throw CompileError (loc, "#define needs a macro name");
  }
  const std::string &name = tokens[1].text;
  Macro              macro;
  macro.loc = loc;
  // Function-like only when '(' touches the name.
  size_t namePos = rawLine.find (name, rawLine.find ("define") + 6);
  macro.functionLike = namePos != std::string::npos && namePos + name.size () < rawLine.size () &&
                       rawLine[namePos + name.size ()] == '(';
  macro.body.assign (tokens.begin () + 2, tokens.end ());
  if (isReservedWord (name)) {
    if (isMain) {
      throw CompileError (loc, "'" + name + "' is a keyword of the form language and cannot be a macro");
    }
    return; // a header's own TRUE/FALSE etc. must not rewrite the form language
  }
  auto existing = macros_.find (name);
  if (existing != macros_.end () && !existing->second.builtin && !macro.functionLike &&
      !existing->second.functionLike && !sameBody (existing->second.body, macro.body)) {
    throw CompileError (loc, "macro '" + name + "' redefined with a different value (first defined at " +
                                 existing->second.loc.file + ":" + std::to_string (existing->second.loc.line) + ")");
  }
  macros_[name] = std::move (macro);
}

void Preprocessor::include (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &path, bool isMain,
                            int depth) {
  if (depth >= 32) {
    throw CompileError (loc, "#include nested too deeply");
  }
  std::string target;
  bool        angled = false;
  if (tokens.size () >= 2 && tokens[1].kind == TokenKind::String) {
    target = tokens[1].text.substr (1, tokens[1].text.size () - 2);
  } else if (tokens.size () >= 3 && tokens[1].isPunct ("<")) {
    angled = true;
    for (size_t i = 2; i < tokens.size () && !tokens[i].isPunct (">"); ++i) {
      target += tokens[i].text;
    }
  } else {
    throw CompileError (loc, "#include expects \"file\" or <file>");
  }
  std::vector<std::string> candidates;
  if (!angled) {
    candidates.push_back ((fs::path (path).parent_path () / target).string ());
  }
  for (const auto &dir : options_.includeDirs) {
    candidates.push_back ((fs::path (dir) / target).string ());
  }
  for (const auto &candidate : candidates) {
    std::error_code ec;
    if (fs::is_regular_file (candidate, ec)) {
      processFile (fs::path (candidate).lexically_normal ().string (), false, depth + 1);
      return;
    }
  }
  if (!angled) {
    throw CompileError (loc, "cannot find include file \"" + target + "\"");
  }
  (void)isMain; // a system header that is not ours: the C code needs it, the forms do not
}

void Preprocessor::pragma (std::vector<Token> &tokens, const SourceLoc &loc) {
  if (tokens.size () >= 2 && tokens[1].text == "once") {
    onceFiles_.insert (fs::weakly_canonical (loc.file).string ());
    return;
  }
  if (tokens.size () < 2 || tokens[1].text != "pack") {
    return; // other pragmas concern the C compiler only
  }
  Token tok = tokens[1];
  tok.kind = TokenKind::Pragma;
  tok.value = 0;
  tok.pack = PackAction::Set;
  std::vector<Token> args (tokens.begin () + 2, tokens.end ());
  if (args.size () < 2 || !args.front ().isPunct ("(") || !args.back ().isPunct (")")) {
    throw CompileError (loc, "malformed #pragma pack");
  }
  args = {args.begin () + 1, args.end () - 1};
  size_t i = 0;
  if (i < args.size () && (args[i].isIdent ("push") || args[i].isIdent ("pop"))) {
    tok.pack = args[i].isIdent ("push") ? PackAction::Push : PackAction::Pop;
    ++i;
    if (i < args.size () && args[i].isPunct (",")) {
      ++i;
    }
  }
  if (i < args.size ()) {
    std::set<std::string> hidden;
    std::vector<Token>    expanded;
    expandInto ({args.begin () + static_cast<long> (i), args.end ()}, expanded, hidden, nullptr);
    if (expanded.size () != 1 || expanded[0].kind != TokenKind::Number || expanded[0].badNumber) {
      throw CompileError (loc, "#pragma pack needs an integer");
    }
    tok.value = expanded[0].value;
    if (tok.value != 1 && tok.value != 2 && tok.value != 4 && tok.value != 8 && tok.value != 16) {
      throw CompileError (loc, "#pragma pack value must be 1, 2, 4, 8 or 16");
    }
  }
  out_.push_back (tok);
}

bool Preprocessor::evalCondition (std::vector<Token> tokens, const SourceLoc &loc) {
  // Replace defined(X) / defined X before expansion.
  std::vector<Token> resolved;
  for (size_t i = 0; i < tokens.size (); ++i) {
    if (tokens[i].isIdent ("defined")) {
      bool   paren = i + 1 < tokens.size () && tokens[i + 1].isPunct ("(");
      size_t nameAt = i + (paren ? 2 : 1);
      if (nameAt >= tokens.size () || tokens[nameAt].kind != TokenKind::Identifier ||
          (paren && (nameAt + 1 >= tokens.size () || !tokens[nameAt + 1].isPunct (")")))) {
        throw CompileError (loc, "malformed 'defined' in #if");
      }
      Token value = tokens[i];
      value.kind = TokenKind::Number;
      value.value = macros_.count (tokens[nameAt].text) ? 1 : 0;
      value.text = std::to_string (value.value);
      resolved.push_back (value);
      i = nameAt + (paren ? 1 : 0);
    } else {
      resolved.push_back (tokens[i]);
    }
  }
  std::vector<Token>    expanded;
  std::set<std::string> hidden;
  expandInto (resolved, expanded, hidden, nullptr);
  if (expanded.empty ()) {
    throw CompileError (loc, "#if needs an expression");
  }
  TokenCursor cursor (expanded, loc);
  uint64_t    value = evalConstExpr (cursor, UnknownIdentifiers::AreZero);
  if (!cursor.atEnd ()) {
    throw CompileError (loc, "unexpected " + TokenCursor::describe (cursor.peek ()) + " in #if");
  }
  return value != 0;
}

void Preprocessor::expandInto (const std::vector<Token> &tokens, std::vector<Token> &out, std::set<std::string> &hidden,
                               const Token *useSite) {
  for (const Token &tok : tokens) {
    auto it = tok.kind == TokenKind::Identifier ? macros_.find (tok.text) : macros_.end ();
    if (it == macros_.end () || it->second.functionLike || hidden.count (tok.text) != 0) {
      Token copy = tok;
      if (useSite != nullptr) {
        copy.loc = useSite->loc;
        copy.inMainFile = useSite->inMainFile;
        copy.macro = useSite->text;
      }
      out.push_back (std::move (copy));
      continue;
    }
    hidden.insert (tok.text);
    expandInto (it->second.body, out, hidden, useSite != nullptr ? useSite : &tok);
    hidden.erase (tok.text);
  }
}

} // namespace carvex::vfr

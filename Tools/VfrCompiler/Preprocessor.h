// A minimal C preprocessor for the form source and the headers it includes:
// object-like #define/#undef, #include "..." (the including file's folder,
// then -I folders) and <...> (-I folders only; skipped when absent, so shared
// headers may include the C library), #if/#ifdef/#ifndef/#elif/#else/#endif,
// #pragma once and #pragma pack, #error. Function-like macros are recorded
// and never expanded: headers shared with C++ code may define them freely.
#pragma once

#include "Token.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace carvex::vfr {

struct PreprocessorOptions {
  std::vector<std::string>                         includeDirs;
  std::vector<std::pair<std::string, std::string>> defines; // -D NAME=VALUE
};

class Preprocessor {
public:
  explicit Preprocessor (PreprocessorOptions options);

  // The expanded token stream of `mainFile` and everything it includes.
  std::vector<Token> run (const std::string &mainFile);

  // Every file read, main file first: the build's dependency list.
  const std::vector<std::string> &filesRead () const {
    return filesRead_;
  }

private:
  struct Macro {
    std::vector<Token> body;
    bool               functionLike = false;
    bool               builtin = false;
    SourceLoc          loc;
  };
  struct Conditional {
    bool      wasActive; // state outside this #if
    bool      taken;     // some branch already chosen
    bool      sawElse;
    SourceLoc loc;
  };

  void processFile (const std::string &path, bool isMain, int depth);
  void directive (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &path, bool isMain, int depth);
  void define (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &rawLine, bool isMain);
  void include (std::vector<Token> &tokens, const SourceLoc &loc, const std::string &path, bool isMain, int depth);
  void pragma (std::vector<Token> &tokens, const SourceLoc &loc);
  bool evalCondition (std::vector<Token> tokens, const SourceLoc &loc);
  void expandInto (const std::vector<Token> &tokens, std::vector<Token> &out, std::set<std::string> &hidden,
                   const Token *useSite);

  PreprocessorOptions          options_;
  std::map<std::string, Macro> macros_;
  std::vector<Conditional>     conditions_;
  bool                         active_ = true;
  std::set<std::string>        onceFiles_;
  std::vector<std::string>     filesRead_;
  std::vector<Token>           out_;
};

// Words of the form language that a header's #define must not replace (for
// instance TRUE, which C headers like to define as an expression).
bool isReservedWord (const std::string &word);

} // namespace carvex::vfr

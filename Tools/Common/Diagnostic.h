// Source positions and the one error type both compilers report.
#pragma once

#include <stdexcept>
#include <string>

namespace carvex::tools {

struct SourceLoc {
  std::string file;
  int         line = 0;
};

// A fault in the input. Compilation stops at the first one; the driver of the
// tool prints it as "file:line: error: message" and exits non-zero.
class CompileError : public std::runtime_error {
public:
  CompileError (SourceLoc loc, const std::string &message) : std::runtime_error (message), loc_ (std::move (loc)) {
  }

  const SourceLoc &loc () const {
    return loc_;
  }

  std::string format () const {
    return loc_.file + ":" + std::to_string (loc_.line) + ": error: " + what ();
  }

private:
  SourceLoc loc_;
};

} // namespace carvex::tools

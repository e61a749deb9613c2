// Setup scripts split into commands: one command a line, words and
// double-quoted strings ("a \"b\" c"), a quoted prompt optionally followed by
// [n] to pick its n-th occurrence, and # starting a comment.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace carvex::sim::browser {

struct ScriptToken {
  std::string text;
  bool quoted = false;
  unsigned occurrence = 0;  // "Prompt"[n]: n (from 1); 0 when not given
};

struct ScriptLine {
  unsigned number = 0;  // from 1
  std::vector<ScriptToken> tokens;
};

struct ScriptSyntaxError {
  unsigned line = 0;
  std::string message;
};

// Lines without tokens (blank or comment-only) are left out.
std::vector<ScriptLine> SplitScript(const std::string& text, std::optional<ScriptSyntaxError>& error);

}  // namespace carvex::sim::browser

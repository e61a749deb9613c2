#include "ScriptLines.hpp"

#include <cctype>
#include <sstream>

namespace carvex::sim::browser {

namespace {

bool Space(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

std::vector<ScriptLine> SplitScript(const std::string& text, std::optional<ScriptSyntaxError>& error) {
  std::vector<ScriptLine> lines;
  std::istringstream in(text);
  std::string raw;
  unsigned number = 0;
  while (std::getline(in, raw)) {
    ++number;
    ScriptLine line;
    line.number = number;
    std::size_t i = 0;
    while (i < raw.size()) {
      if (Space(raw[i])) {
        ++i;
        continue;
      }
      if (raw[i] == '#') {
        break;
      }
      ScriptToken token;
      if (raw[i] == '"') {
        token.quoted = true;
        ++i;
        bool closed = false;
        while (i < raw.size()) {
          const char c = raw[i++];
          if (c == '"') {
            closed = true;
            break;
          }
          if (c == '\\' && i < raw.size()) {
            const char escaped = raw[i++];
            token.text.push_back(escaped == 'n' ? '\n' : escaped);
          } else {
            token.text.push_back(c);
          }
        }
        if (!closed) {
          error = ScriptSyntaxError{number, "unterminated string"};
          return {};
        }
        if (i < raw.size() && raw[i] == '[') {
          const std::size_t close = raw.find(']', i);
          const std::string digits = close == std::string::npos ? "" : raw.substr(i + 1, close - i - 1);
          if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos || std::stoul(digits) == 0) {
            error = ScriptSyntaxError{number, "expected [n] with n from 1 after the prompt"};
            return {};
          }
          token.occurrence = static_cast<unsigned>(std::stoul(digits));
          i = close + 1;
        }
      } else {
        while (i < raw.size() && !Space(raw[i])) {
          token.text.push_back(raw[i++]);
        }
      }
      line.tokens.push_back(std::move(token));
    }
    if (!line.tokens.empty()) {
      lines.push_back(std::move(line));
    }
  }
  return lines;
}

}  // namespace carvex::sim::browser

#include "FileIo.h"

#include <fstream>
#include <sstream>

namespace carvex::tools {

std::optional<std::string> readFile (const std::string &path) {
  std::ifstream in (path, std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  std::ostringstream content;
  content << in.rdbuf ();
  if (in.bad ()) {
    return std::nullopt;
  }
  return content.str ();
}

bool writeFileIfChanged (const std::string &path, const std::string &content) {
  if (auto existing = readFile (path); existing && *existing == content) {
    return true;
  }
  std::ofstream out (path, std::ios::binary | std::ios::trunc);
  out << content;
  out.close ();
  return static_cast<bool> (out);
}

namespace {
std::string escapeForMake (const std::string &path) {
  std::string out;
  for (char c : path) {
    if (c == ' ' || c == '#') {
      out += '\\';
    } else if (c == '$') {
      out += '$';
    }
    out += c;
  }
  return out;
}
} // namespace

std::string renderDepfile (const std::string &target, const std::vector<std::string> &dependencies) {
  std::string out = escapeForMake (target) + ":";
  for (const auto &dep : dependencies) {
    out += " \\\n  " + escapeForMake (dep);
  }
  out += "\n";
  return out;
}

} // namespace carvex::tools

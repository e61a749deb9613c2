// Whole-file reading and writing for the build-time tools.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace carvex::tools {

std::optional<std::string> readFile (const std::string &path);

// Leaves an identical file untouched so that dependent objects do not rebuild.
bool writeFileIfChanged (const std::string &path, const std::string &content);

// Makefile-style dependency list ("target: dep dep ...") for build systems.
std::string renderDepfile (const std::string &target, const std::vector<std::string> &dependencies);

} // namespace carvex::tools

// What both compilers' main functions share: writing their outputs and
// reporting a failure under the tool's name.
#pragma once

#include <functional>
#include <string>

namespace carvex::tools {

// Writes a generated file (untouched when identical); a failure is reported
// as "<tool>: error: cannot write <path>".
bool writeOutput (const char *tool, const std::string &path, const std::string &content);

// Runs a tool's work, which returns whether every output was written: 0 on
// success, 1 on failure. A CompileError prints as "file:line: error: ...",
// any other exception as "<tool>: error: <what>".
int runTool (const char *tool, const std::function<bool ()> &work);

} // namespace carvex::tools

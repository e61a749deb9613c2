#include "ToolMain.h"

#include "Diagnostic.h"
#include "FileIo.h"

#include <exception>
#include <iostream>

namespace carvex::tools {

bool writeOutput (const char *tool, const std::string &path, const std::string &content) {
  if (!writeFileIfChanged (path, content)) {
    std::cerr << tool << ": error: cannot write " << path << "\n";
    return false;
  }
  return true;
}

int runTool (const char *tool, const std::function<bool ()> &work) {
  try {
    return work () ? 0 : 1;
  } catch (const CompileError &e) {
    std::cerr << e.format () << "\n";
    return 1;
  } catch (const std::exception &e) {
    std::cerr << tool << ": error: " << e.what () << "\n";
    return 1;
  }
}

} // namespace carvex::tools

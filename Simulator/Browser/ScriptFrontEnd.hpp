// The script front end: drives the browser one command a line (see
// SCRIPTS.md) and answers its message boxes and password prompts from the
// lines that follow. The first failed command or expectation stops the run.
//
//   ScriptResult result = RunSetupScript(*browserMachine.Browser(), text, "goals.setup");
//   if (!result.ok) std::cerr << result.Describe() << "\n";
#pragma once

#include <ostream>
#include <string>

#include "FormBrowser.hpp"

namespace carvex::sim::browser {

struct ScriptOptions {
  // Leave setup when the script ends (what is unsaved is discarded and the
  // discard event raised unless a save or discard ended the work).
  bool leaveSetupAtEnd = true;
  // Each command, box and note as it happens.
  std::ostream* transcript = nullptr;
};

struct ScriptResult {
  bool ok = true;
  std::string name;
  unsigned line = 0;         // of the failed command
  std::string message;       // "expected ..., saw ..." or why the command failed
  unsigned commands = 0;     // commands run

  // "name:line: message", or "name: N commands passed".
  std::string Describe() const;
};

ScriptResult RunSetupScript(FormBrowser& browser, const std::string& text, const std::string& name = "script",
                            const ScriptOptions& options = {});

}  // namespace carvex::sim::browser

// carvex-sim setup: boot to the end of POST, enter firmware setup (the
// interactive browser, or a script), and continue the boot once the user
// leaves setup.
#pragma once

#include <string>

#include "BootCommand.hpp"

namespace carvex::sim::cli {

struct SetupCommandOptions {
  std::string script;  // empty: the interactive front end
};

void AddSetupCommand(CLI::App& app, SetupCommandOptions& options);
int RunSetupCommand(const CommonOptions& common, const SetupCommandOptions& options);

}  // namespace carvex::sim::cli

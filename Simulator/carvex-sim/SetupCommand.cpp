#include "SetupCommand.hpp"

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "BootFacts.hpp"
#include "ScriptFrontEnd.hpp"
#include "Summary.hpp"
#include "TuiFrontEnd.hpp"

namespace carvex::sim::cli {

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  if (!in) {
    throw std::invalid_argument("--script: cannot read " + path);
  }
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

void AddSetupCommand(CLI::App& app, SetupCommandOptions& options) {
  CLI::App* command = app.add_subcommand(
      "setup", "Boot to the end of POST, enter firmware setup (interactive, or --script), then finish the boot");
  command->add_option("--script", options.script, "Run a setup script (see Simulator/Browser/SCRIPTS.md)");
}

int RunSetupCommand(const CommonOptions& common, const SetupCommandOptions& options) {
  if (common.json) {
    throw std::invalid_argument("--json: only boot and modules print JSON");
  }
  const UINT32 mask = common.DisplayMask();
  const std::string script = options.script.empty() ? std::string() : ReadFile(options.script);
  SimPlatform platform(common.Platform(false), std::cerr);
  Machine& machine = platform.machine();
  machine.SetDisplay(&std::cout, mask);

  bool scriptPassed = true;
  const BootSummary summary = platform.BootThroughSetup([&](browser::FormBrowser& browser) {
    if (!script.empty()) {
      browser::ScriptOptions scriptOptions;
      scriptOptions.transcript = &std::cout;
      const browser::ScriptResult result = browser::RunSetupScript(browser, script, options.script, scriptOptions);
      std::cout << result.Describe() << "\n";
      scriptPassed = result.ok;
      return;
    }
    // The screen belongs to the browser while setup runs.
    machine.SetDisplay(nullptr, 0);
    browser::TuiFrontEnd tui(browser);
    tui.Run();
    machine.SetDisplay(&std::cout, mask);
  });
  PrintBootSummary(std::cout, platform, summary);
  return scriptPassed && summary.reports.empty() && !summary.resetLoop ? 0 : 1;
}

}  // namespace carvex::sim::cli

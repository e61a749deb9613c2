#include "SetupCommand.hpp"

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "BrowserMachine.hpp"
#include "LogLevel.hpp"
#include "ScriptFrontEnd.hpp"
#include "BootThroughSetup.hpp"
#include "SimMachine.hpp"
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
  const auto level = ParseLogLevel(common.logLevel);
  if (!level) {
    throw std::invalid_argument("--log-level: unknown level: " + common.logLevel);
  }
  const std::string script = options.script.empty() ? std::string() : ReadFile(options.script);
  SimMachine sim(common, false, std::cerr);
  Machine& machine = sim.machine();
  HiiMachine hii(machine);
  browser::BrowserMachine browsers(machine, hii);
  machine.SetDisplay(&std::cout, *level);

  bool scriptPassed = true;
  const BootSummary summary = browser::RunBootThroughSetup(machine, browsers, [&](browser::FormBrowser& browser) {
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
    machine.SetDisplay(&std::cout, *level);
  });
  PrintBootSummary(std::cout, machine, summary);
  return scriptPassed && summary.reports.empty() && !summary.resetLoop ? 0 : 1;
}

}  // namespace carvex::sim::cli

#include "SetupCommand.hpp"

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "BrowserMachine.hpp"
#include "LogLevel.hpp"
#include "ScriptFrontEnd.hpp"
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

  const std::size_t firstLine = machine.Log().Lines().size();
  const std::size_t firstReport = machine.Log().Reports().size();
  bool scriptPassed = true;
  BootSummary summary;
  machine.StartBoot();
  if (!machine.PendingReset()) machine.EndOfPost();
  if (!machine.PendingReset()) {
    machine.EnterSetup();
    browser::FormBrowser& browser = *browsers.Browser();
    if (!script.empty()) {
      browser::ScriptOptions scriptOptions;
      scriptOptions.transcript = &std::cout;
      const browser::ScriptResult result = browser::RunSetupScript(browser, script, options.script, scriptOptions);
      std::cout << result.Describe() << "\n";
      scriptPassed = result.ok;
    } else {
      // The screen belongs to the browser while setup runs.
      machine.SetDisplay(nullptr, 0);
      browser::TuiFrontEnd tui(browser);
      tui.Run();
      browser.LeaveSetup();
      machine.SetDisplay(&std::cout, *level);
    }
  }
  if (!machine.PendingReset()) machine.SignalReadyToBoot();
  summary.boots.push_back(machine.EndBoot());
  // A reset asked for in setup (or before) leads to the boots that follow.
  if (summary.boots.back().reset && summary.boots.back().reset->type != EfiResetShutdown) {
    ++summary.resets;
    const BootSummary rest = machine.RunBoot();
    summary.boots.insert(summary.boots.end(), rest.boots.begin(), rest.boots.end());
    summary.resets += rest.resets;
    summary.resetLoop = rest.resetLoop;
  }
  summary.log.assign(machine.Log().Lines().begin() + static_cast<std::ptrdiff_t>(firstLine), machine.Log().Lines().end());
  summary.reports.assign(machine.Log().Reports().begin() + static_cast<std::ptrdiff_t>(firstReport),
                         machine.Log().Reports().end());
  PrintBootSummary(std::cout, machine, summary);
  return scriptPassed && summary.reports.empty() && !summary.resetLoop ? 0 : 1;
}

}  // namespace carvex::sim::cli

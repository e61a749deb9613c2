#include "BootCommand.hpp"

#include <iostream>
#include <stdexcept>

#include "LogLevel.hpp"
#include "ModuleViews.hpp"
#include "SimMachine.hpp"
#include "Summary.hpp"

namespace carvex::sim::cli {

namespace {

SetupExit ParseSetupExit(const std::string& text) {
  if (text == "discard") return SetupExit::Discard;
  if (text == "defaults") return SetupExit::Defaults;
  return SetupExit::Save;
}

UINT32 DisplayMask(const CommonOptions& common) {
  const auto level = ParseLogLevel(common.logLevel);
  if (!level) {
    throw std::invalid_argument("--log-level: unknown level: " + common.logLevel);
  }
  return *level;
}

// The views, or why the client layer could not be read.
void PrintInspection(SimMachine& sim, const std::set<View>& views, bool showPassphrase) {
  if (!sim.Inspection()) {
    std::cout << "module views unavailable: "
              << (sim.InspectionError().empty() ? "the boot ended before the end of POST" : sim.InspectionError())
              << "\n";
    return;
  }
  PrintViews(std::cout, views, *sim.Inspection(), sim.devices().Bmc(),
             AutoUnlockOutcomes(sim.machine().Log(), sim.machine().BootNumber()), showPassphrase);
}

}  // namespace

void AddCommonOptions(CLI::App& app, CommonOptions& options) {
  app.add_option("--state-dir", options.stateDir, "Where the machine's state lives between runs")
      ->capture_default_str();
  app.add_option("--log-level", options.logLevel,
                 "Driver log shown: none, error, warn, info, verbose, all, or a hex mask")
      ->capture_default_str();
  app.add_flag("--fresh", options.fresh, "Start from a new machine (forget the state directory)");
  app.add_option("--platform", options.platformFile,
                 "Platform file (JSON) describing a new machine's modules and controller; later runs "
                 "continue from the state directory")
      ->check(CLI::ExistingFile);
  app.add_option("--capability-mask", options.capabilityMask,
                 "PlatformCapabilityMask (bit 4 App Direct, bit 5 Memory Mode)")
      ->capture_default_str();
  app.add_flag("--show-passphrase", options.showPassphrase,
               "Print the text of the controller's passphrase file in the audit view (otherwise only whether "
               "it is there)");
  app.add_flag("--no-vendor-driver", options.noVendorDriver,
               "Boot without the module vendor's driver (no NVM DIMM config protocol)");
  app.add_option("--image", options.extraImages,
                 "A further firmware image (host shared object) to load after the driver; repeatable")
      ->check(CLI::ExistingFile);
  app.add_flag("--sample-forms", options.sampleForms,
               "Also load the sample driver with its small form set (a demo of setup and HII)");
}

int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options) {
  const UINT32 mask = DisplayMask(common);
  std::set<View> views;
  if (!options.show.empty()) views = ParseViews(options.show);

  SimMachine sim(common, !views.empty(), std::cerr);
  sim.machine().SetDisplay(&std::cout, mask);
  BootOptions boot;
  boot.enterSetup = !options.setup.empty();
  boot.setupExit = ParseSetupExit(options.setup);
  boot.legacyBoot = options.legacyBoot;
  const BootSummary summary = sim.machine().RunBoot(boot);
  PrintBootSummary(std::cout, sim.machine(), summary);
  std::cout << "devices   " << sim.Origin() << "\n";
  if (!views.empty()) {
    std::cout << "\n";
    PrintInspection(sim, views, common.showPassphrase);
  }
  return summary.reports.empty() && !summary.resetLoop ? 0 : 1;
}

int RunModulesCommand(const CommonOptions& common, const std::string& views, bool logLevelGiven) {
  const UINT32 mask = DisplayMask(common);
  const std::set<View> chosen = ParseViews(views);
  SimMachine sim(common, true, std::cerr);
  sim.machine().SetDisplay(logLevelGiven ? &std::cout : nullptr, mask);
  const BootSummary summary = sim.machine().RunBoot();
  std::cout << "carvex-sim: boot " << sim.devices().Nvm().BootCount << " of the machine in "
            << sim.machine().StateDirectory().string() << " (devices " << sim.Origin() << ")\n\n";
  PrintInspection(sim, chosen, common.showPassphrase);
  for (const PlatformReport& report : summary.reports) {
    std::cout << "PROBLEM (boot " << report.boot << ", " << ReportKindName(report.kind) << ", " << report.image
              << "): " << report.message << "\n";
  }
  return summary.reports.empty() && !summary.resetLoop && sim.Inspection() ? 0 : 1;
}

}  // namespace carvex::sim::cli

#include "BootCommand.hpp"

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "LogLevel.hpp"
#include "Platform/Machine.hpp"
#include "Summary.hpp"

namespace carvex::sim::cli {

namespace {

std::uint64_t ParseMask(const std::string& text) {
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || end == nullptr || *end != '\0') {
    throw std::invalid_argument("--capability-mask: not a number: " + text);
  }
  return value;
}

SetupExit ParseSetupExit(const std::string& text) {
  if (text == "discard") return SetupExit::Discard;
  if (text == "defaults") return SetupExit::Defaults;
  return SetupExit::Save;
}

}  // namespace

void AddCommonOptions(CLI::App& app, CommonOptions& options) {
  app.add_option("--state-dir", options.stateDir, "Where the machine's state lives between runs")
      ->capture_default_str();
  app.add_option("--log-level", options.logLevel,
                 "Driver log shown: none, error, warn, info, verbose, all, or a hex mask")
      ->capture_default_str();
  app.add_flag("--fresh", options.fresh, "Start from a new machine (forget the state directory)");
  app.add_option("--capability-mask", options.capabilityMask,
                 "PlatformCapabilityMask (bit 4 App Direct, bit 5 Memory Mode)")
      ->capture_default_str();
  app.add_flag("--no-vendor-driver", options.noVendorDriver,
               "Boot without the module vendor's driver (no NVM DIMM config protocol)");
}

int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options) {
  const auto level = ParseLogLevel(common.logLevel);
  if (!level) {
    throw std::invalid_argument("--log-level: unknown level: " + common.logLevel);
  }
  if (common.fresh) {
    std::filesystem::remove_all(common.stateDir);
  }

  PlatformSettings settings;
  settings.capabilityMask = ParseMask(common.capabilityMask);
#ifdef CARVEX_SIM_NvmDimmVendorDxe
  if (!common.noVendorDriver) {
    settings.images.emplace_back(CARVEX_SIM_NvmDimmVendorDxe);
  }
#endif
#ifdef CARVEX_SIM_BmcVeskDxe
  settings.images.emplace_back(CARVEX_SIM_BmcVeskDxe);
#endif
  settings.images.emplace_back(CARVEX_SIM_CarvexDxe);

  Machine machine(common.stateDir, settings);
  machine.SetDisplay(&std::cout, *level);

  BootOptions boot;
  boot.enterSetup = !options.setup.empty();
  boot.setupExit = ParseSetupExit(options.setup);
  boot.legacyBoot = options.legacyBoot;
  const BootSummary summary = machine.RunBoot(boot);
  PrintBootSummary(std::cout, machine, summary);
  return summary.reports.empty() && !summary.resetLoop ? 0 : 1;
}

}  // namespace carvex::sim::cli

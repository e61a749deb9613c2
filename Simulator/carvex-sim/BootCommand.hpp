// carvex-sim boot: one boot of the simulated platform (and the boots that
// requested resets lead to); carvex-sim modules: a boot that shows what the
// driver's client layer reports about the modules.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace carvex::sim::cli {

struct CommonOptions {
  std::filesystem::path stateDir = ".state";
  std::string logLevel = "warn";
  bool fresh = false;
  std::string capabilityMask = "0x30";
  bool noVendorDriver = false;
  std::filesystem::path platformFile;  // empty: the embedded board
  std::vector<std::filesystem::path> extraImages;  // loaded after the driver, in order
  bool sampleForms = false;                        // the HII sample driver, for a demo
  bool showPassphrase = false;                     // the passphrase file's text in the audit view
};

struct BootCommandOptions {
  std::string setup;  // "", "save", "discard" or "defaults"
  bool legacyBoot = false;
  std::string show;  // module views after the summary ("modules,regions", "all")
};

void AddCommonOptions(CLI::App& app, CommonOptions& options);
int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options);
// logLevelGiven: echo the driver log only when the person asked for it.
int RunModulesCommand(const CommonOptions& common, const std::string& views, bool logLevelGiven);

}  // namespace carvex::sim::cli

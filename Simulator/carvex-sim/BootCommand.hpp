// carvex-sim boot: one boot of the simulated platform (and the boots that
// requested resets lead to); carvex-sim modules: a boot that shows what the
// driver's client layer reports about the modules.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "SimPlatform.hpp"

namespace carvex::sim::cli {

struct CommonOptions {
  std::filesystem::path stateDir = ".state";
  std::string logLevel = "warn";
  bool logLevelGiven = false;
  bool fresh = false;
  std::string capabilityMask = "0x30";
  bool noVendorDriver = false;
  std::filesystem::path platformFile;  // empty: the embedded board
  std::vector<std::filesystem::path> extraImages;  // loaded after the driver, in order
  bool sampleForms = false;                        // the HII sample driver, for a demo
  bool showPassphrase = false;                     // the passphrase file's text in the audit view
  bool json = false;                               // one JSON document instead of the text

  // The platform's options; throws std::invalid_argument for a bad mask.
  SimPlatformOptions Platform(bool clientProbe) const;
  // The driver log's display mask; throws std::invalid_argument.
  UINT32 DisplayMask() const;
};

struct BootCommandOptions {
  std::string setup;  // "", "save", "discard" or "defaults"
  bool legacyBoot = false;
  std::string show;  // module views after the summary ("modules,regions", "all")
};

// The options every command takes; registered on each subcommand too, so
// they may stand before or after it.
void AddCommonOptions(CLI::App& app, CommonOptions& options);
int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options);
int RunModulesCommand(const CommonOptions& common, const std::string& views);

}  // namespace carvex::sim::cli

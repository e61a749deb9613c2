// carvex-sim boot: one boot of the simulated platform (and the boots that
// requested resets lead to).
#pragma once

#include <filesystem>
#include <string>

#include <CLI/CLI.hpp>

namespace carvex::sim::cli {

struct CommonOptions {
  std::filesystem::path stateDir = ".state";
  std::string logLevel = "warn";
  bool fresh = false;
  std::string capabilityMask = "0x30";
  bool noVendorDriver = false;
};

struct BootCommandOptions {
  std::string setup;  // "", "save", "discard" or "defaults"
  bool legacyBoot = false;
};

void AddCommonOptions(CLI::App& app, CommonOptions& options);
int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options);

}  // namespace carvex::sim::cli

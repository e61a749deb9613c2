// carvex-sim inventory: the records the driver stored in the platform's
// component data storage, decoded item by item, with the LAN setting table
// the controller keeps.
#pragma once

#include <CLI/CLI.hpp>

#include "BootCommand.hpp"

namespace carvex::sim::cli {

struct InventoryCommandOptions {
  bool noBoot = false;  // read what the state directory holds, without booting
};

CLI::App* AddInventoryCommand(CLI::App& app, InventoryCommandOptions& options);
// The records as text, or as JSON with the common --json.
int RunInventoryCommand(const CommonOptions& common, const InventoryCommandOptions& options);

}  // namespace carvex::sim::cli

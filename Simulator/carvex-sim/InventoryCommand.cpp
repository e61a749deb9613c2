#include "InventoryCommand.hpp"

#include <iostream>

#include "Devices/InventoryRecords.hpp"
#include "Devices/JsonReader.hpp"
#include "SimPlatform.hpp"

namespace carvex::sim::cli {

namespace {

nlohmann::ordered_json LanTableJson(const BMC_MODEL& bmc) {
  nlohmann::ordered_json table = nlohmann::ordered_json::array();
  for (UINT32 index = 0; index < bmc.LanEntryCount && index < BMC_MAX_LAN_ENTRIES; ++index) {
    table.push_back(devices::Hex(bmc.LanTable[index], 16));
  }
  return table;
}

}  // namespace

CLI::App* AddInventoryCommand(CLI::App& app, InventoryCommandOptions& options) {
  CLI::App* command = app.add_subcommand(
      "inventory", "Boot once and show the inventory records the driver stored in the component data storage, "
                   "item by item, and the LAN setting table the controller was given");
  command->add_flag("--no-boot", options.noBoot, "Show what the state directory holds without booting");
  return command;
}

int RunInventoryCommand(const CommonOptions& common, const InventoryCommandOptions& options) {
  const UINT32 mask = common.DisplayMask();
  SimPlatform sim(common.Platform(false), std::cerr);
  bool clean = true;
  if (!options.noBoot) {
    // The driver log only when the person asked for it.
    sim.machine().SetDisplay(common.logLevelGiven ? &std::cerr : nullptr, mask);
    const BootSummary summary = sim.Boot();
    for (const PlatformReport& report : summary.reports) {
      std::cerr << "PROBLEM (boot " << report.boot << ", " << ReportKindName(report.kind) << ", " << report.image
                << "): " << report.message << "\n";
    }
    clean = summary.reports.empty() && !summary.resetLoop;
  }
  const std::vector<devices::InventoryRecord> records = devices::InventoryOf(sim.devices().ComponentData());
  const BMC_MODEL& bmc = sim.devices().Bmc();
  if (common.json) {
    nlohmann::ordered_json out = {{"records", devices::InventoryJson(records)}, {"controllerLanTable", LanTableJson(bmc)}};
    std::cout << out.dump(2) << "\n";
  } else {
    std::cout << "carvex-sim: inventory of the machine in " << sim.machine().StateDirectory().string() << " (devices "
              << sim.Origin() << ")\n\n";
    std::cout << devices::FormatInventory(records);
    std::cout << "\nController LAN setting table (" << bmc.LanEntryCount << " entries):";
    for (const auto& entry : LanTableJson(bmc)) std::cout << " " << entry.get<std::string>();
    std::cout << "\n";
  }
  return clean ? 0 : 1;
}

}  // namespace carvex::sim::cli

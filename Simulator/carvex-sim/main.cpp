// carvex-sim: boots the simulated UEFI platform through the Carvex driver.
#include <iostream>

#include <CLI/CLI.hpp>

#include "BmcCommand.hpp"
#include "BootCommand.hpp"
#include "Devices/JsonReader.hpp"
#include "InventoryCommand.hpp"
#include "SetupCommand.hpp"

int main(int argc, char** argv) {
  using namespace carvex::sim::cli;

  CLI::App app{"carvex-sim: the simulated UEFI platform that boots the Carvex driver over virtual "
               "persistent memory modules. State (non-volatile variables, module state) is kept "
               "in a state directory, so successive runs are successive boots of one machine."};
  app.require_subcommand(0, 1);
  // The common options may stand before or after the subcommand.
  app.fallthrough();

  CommonOptions common;
  AddCommonOptions(app, common);

  BootCommandOptions boot;
  CLI::App* bootCommand = app.add_subcommand("boot", "Boot once (following requested resets) and print a summary");
  bootCommand->add_option("--setup", boot.setup, "Enter setup and leave it: save, discard or defaults")
      ->check(CLI::IsMember({"save", "discard", "defaults"}));
  bootCommand->add_flag("--legacy-boot", boot.legacyBoot, "Signal legacy boot after ready-to-boot");
  bootCommand->add_option("--show", boot.show,
                          "Also show what the driver's client layer reports at the end of POST: "
                          "modules, regions, namespaces, goals, audit (comma-separated) or all");

  std::string views = "all";
  CLI::App* modulesCommand = app.add_subcommand(
      "modules", "Boot once and show the modules, regions, namespaces, pending goals and audit events "
                 "as the driver's client layer reports them");
  modulesCommand->add_option("--show", views, "Which views: modules, regions, namespaces, goals, audit, all")
      ->capture_default_str();

  SetupCommandOptions setup;
  AddSetupCommand(app, setup);
  BmcCommandOptions bmc;
  CLI::App* bmcShow = nullptr;
  CLI::App* bmcSet = nullptr;
  AddBmcCommand(app, bmc, &bmcShow, &bmcSet);

  InventoryCommandOptions inventory;
  CLI::App* inventoryCommand = AddInventoryCommand(app, inventory);

  CLI11_PARSE(app, argc, argv);
  common.logLevelGiven = app.count("--log-level") != 0;

  try {
    if (app.got_subcommand("setup")) {
      return RunSetupCommand(common, setup);
    }
    if (inventoryCommand->parsed()) {
      return RunInventoryCommand(common, inventory);
    }
    if (bmcShow->parsed()) {
      return RunBmcShow(common);
    }
    if (bmcSet->parsed()) {
      return RunBmcSet(common, bmc);
    }
    if (modulesCommand->parsed()) {
      return RunModulesCommand(common, views);
    }
    return RunBootCommand(common, boot);
  } catch (const carvex::sim::devices::PlatformFileError& error) {
    std::cerr << "carvex-sim: platform file: " << error.what() << "\n";
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "carvex-sim: " << error.what() << "\n";
    return 2;
  }
}

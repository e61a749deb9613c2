// carvex-sim: boots the simulated UEFI platform through the Carvex driver.
#include <iostream>

#include <CLI/CLI.hpp>

#include "BootCommand.hpp"

int main(int argc, char** argv) {
  using namespace carvex::sim::cli;

  CLI::App app{"carvex-sim: the simulated UEFI platform that boots the Carvex driver over virtual "
               "persistent memory modules. State (non-volatile variables, module state) is kept "
               "in a state directory, so successive runs are successive boots of one machine."};
  app.require_subcommand(0, 1);

  CommonOptions common;
  AddCommonOptions(app, common);

  BootCommandOptions boot;
  CLI::App* bootCommand = app.add_subcommand("boot", "Boot once (following requested resets) and print a summary");
  bootCommand->add_option("--setup", boot.setup, "Enter setup and leave it: save, discard or defaults")
      ->check(CLI::IsMember({"save", "discard", "defaults"}));
  bootCommand->add_flag("--legacy-boot", boot.legacyBoot, "Signal legacy boot after ready-to-boot");

  CLI11_PARSE(app, argc, argv);

  try {
    return RunBootCommand(common, boot);
  } catch (const std::exception& error) {
    std::cerr << "carvex-sim: " << error.what() << "\n";
    return 2;
  }
}

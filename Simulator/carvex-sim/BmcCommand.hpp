// carvex-sim bmc: what the baseboard management controller holds of the
// driver's out-of-band form set (bmc show), and requests queued for the
// configuration manager to route at the next boot (bmc set KEY VALUE...).
#pragma once

#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "BootCommand.hpp"
#include "ControllerStore.hpp"

namespace carvex::sim::cli {

struct BmcCommandOptions {
  std::vector<std::string> setArguments;  // KEY VALUE...
};

// A request the controller refuses before queuing it.
class BmcRequestError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// The values `bmc set` queues for KEY VALUE...; throws BmcRequestError for an
// unknown key, a missing or extra value, or a value out of range.
std::vector<kiv::RequestedValue> ParseBmcRequest(const std::vector<std::string>& arguments);

// The controller's state as text or JSON; passphrases never appear.
void PrintController(std::ostream& out, const kiv::ControllerStore& controller);
std::string ControllerJson(const kiv::ControllerStore& controller);

CLI::App* AddBmcCommand(CLI::App& app, BmcCommandOptions& options, CLI::App** showCommand, CLI::App** setCommand);
int RunBmcShow(const CommonOptions& common);
int RunBmcSet(const CommonOptions& common, const BmcCommandOptions& options);

}  // namespace carvex::sim::cli

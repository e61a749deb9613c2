// The whole simulated platform, as every command and scenario boots it: the
// machine (boot and runtime services, variables, PCD, debug sink), then, at
// each boot and in this order, the HII database, string and routing
// services, the form browser with the POST message service, and the device
// models behind the module vendor's driver and the controller, and the
// configuration manager (KIV) with the controller's copy, before any
// image's entry point runs. Entering setup only adds the user's visit.
//
//   SimPlatform platform(options, std::cerr);
//   BootSummary summary = platform.Boot();
//   BootSummary withSetup = platform.BootThroughSetup([&](browser::FormBrowser& b) { ... });
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "BrowserMachine.hpp"
#include "ConfigManager.hpp"
#include "Devices/ClientProbe.hpp"
#include "Devices/DevicePlatform.hpp"
#include "HiiMachine.hpp"
#include "Platform/Machine.hpp"

namespace carvex::sim {

struct SimPlatformOptions {
  std::filesystem::path stateDir = ".state";
  bool fresh = false;                  // forget the state directory first
  std::filesystem::path platformFile;  // a new machine's devices; empty: the embedded board
  std::uint64_t capabilityMask = 0x30;
  bool noVendorDriver = false;
  std::vector<std::filesystem::path> extraImages;  // loaded after the driver, in order
  bool sampleForms = false;                        // the HII sample driver, for demos
  bool clientProbe = false;                        // read the client layer at the end of POST
};

class SimPlatform {
 public:
  // The image the product builds, as the platform names it in its log.
  static constexpr const char* kDriverImage = "CarvexDxe";

  // Applies fresh, the platform file and the images. Notes for the person
  // (a platform file ignored for an existing machine) go to `notes`.
  SimPlatform(const SimPlatformOptions& options, std::ostream& notes);
  ~SimPlatform();
  SimPlatform(const SimPlatform&) = delete;
  SimPlatform& operator=(const SimPlatform&) = delete;

  Machine& machine() { return *machine_; }
  HiiMachine& hii() { return *hii_; }
  browser::BrowserMachine& browsers() { return *browsers_; }
  devices::DevicePlatform& devices() { return *devices_; }
  // The platform's configuration manager and the controller's copy.
  kiv::ConfigManager& configManager() { return *configManager_; }

  // A whole boot (and the boots its resets lead to).
  BootSummary Boot(const BootOptions& options = {});
  // A boot through firmware setup: `inSetup` is the user's visit.
  BootSummary BootThroughSetup(const std::function<void(browser::FormBrowser&)>& inSetup);

  // Where the devices' state came from, for the summary.
  const std::string& Origin() const { return origin_; }
  // The last boot's reading of the client layer, if the probe ran.
  const std::optional<devices::Inspection>& Inspection() const { return inspection_; }
  const std::string& InspectionError() const { return inspectionError_; }

 private:
  void Inspect(Machine& machine);

  // Declared in reverse order of teardown: the machine goes first, since
  // ending a boot still under way runs the devices' hooks.
  std::unique_ptr<devices::DevicePlatform> devices_;
  std::unique_ptr<kiv::ConfigManager> configManager_;
  std::unique_ptr<HiiMachine> hii_;
  std::unique_ptr<browser::BrowserMachine> browsers_;
  std::unique_ptr<Machine> machine_;
  std::string origin_;
  std::optional<devices::Inspection> inspection_;
  std::string inspectionError_;
};

}  // namespace carvex::sim

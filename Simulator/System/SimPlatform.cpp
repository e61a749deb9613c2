#include "SimPlatform.hpp"

#include <stdexcept>

#include "BootThroughSetup.hpp"
#include "Devices/PlatformFile.hpp"

namespace carvex::sim {

SimPlatform::SimPlatform(const SimPlatformOptions& options, std::ostream& notes) {
  if (options.fresh) {
    std::filesystem::remove_all(options.stateDir);
  }
  PlatformSettings settings;
  settings.capabilityMask = options.capabilityMask;
#ifdef CARVEX_SIM_NvmDimmVendorDxe
  if (!options.noVendorDriver) {
    settings.images.emplace_back(CARVEX_SIM_NvmDimmVendorDxe);
  }
#endif
#ifdef CARVEX_SIM_BmcVeskDxe
  settings.images.emplace_back(CARVEX_SIM_BmcVeskDxe);
#endif
  settings.images.emplace_back(CARVEX_SIM_CarvexDxe);
  if (options.sampleForms) {
#ifdef CARVEX_SIM_HiiSampleDxe
    settings.images.emplace_back(CARVEX_SIM_HiiSampleDxe);
#else
    throw std::invalid_argument("--sample-forms: this build has no sample driver image");
#endif
  }
  for (const auto& image : options.extraImages) {
    settings.images.push_back(image);
  }
  if (options.clientProbe) {
    settings.images.push_back(devices::ClientProbeImagePath());
  }

  // A platform file describes a new machine; one in the state directory
  // already has its own devices.
  const bool stateExists = std::filesystem::exists(options.stateDir / devices::DevicePlatform::kStateFile);
  std::optional<devices::DeviceState> initial;
  if (!options.platformFile.empty()) {
    if (stateExists) {
      notes << "carvex-sim: note: " << options.stateDir.string()
            << " already holds a machine; --platform is used only for a new one (add --fresh to start over)\n";
    } else {
      initial = devices::LoadPlatformFile(options.platformFile);
    }
  }
  machine_ = std::make_unique<Machine>(options.stateDir, settings);
  // Each joins every boot at the platform-protocol stage, in this order.
  hii_ = std::make_unique<HiiMachine>(*machine_);
  browsers_ = std::make_unique<browser::BrowserMachine>(*machine_, *hii_);
  devices_ = std::make_unique<devices::DevicePlatform>(*machine_, std::move(initial));
  configManager_ = std::make_unique<kiv::ConfigManager>(*machine_, *hii_);
  configManager_->SetBootCounter([this] { return devices_->Nvm().BootCount; });
  if (!configManager_->LoadWarning().empty()) {
    notes << "carvex-sim: note: " << configManager_->LoadWarning() << "\n";
  }
  origin_ = devices_->Continued()           ? "continued from " + devices_->StateFile().string()
            : !options.platformFile.empty() ? "new machine from " + options.platformFile.string()
                                            : "new machine from the embedded board";
  if (options.clientProbe) {
    machine_->OnStage(BootStage::EndOfPost, [this](Machine& machine) { Inspect(machine); });
  }
}

SimPlatform::~SimPlatform() {
  // End a boot left running while every part it calls back is still here.
  machine_.reset();
}

BootSummary SimPlatform::Boot(const BootOptions& options) { return machine_->RunBoot(options); }

BootSummary SimPlatform::BootThroughSetup(const std::function<void(browser::FormBrowser&)>& inSetup) {
  return browser::RunBootThroughSetup(*machine_, *browsers_, inSetup);
}

void SimPlatform::Inspect(Machine& machine) {
  // The client layer's own debug lines are not what the person asked for.
  std::ostream* echo = machine.Settings().echo;
  const UINT32 mask = machine.Settings().displayMask;
  machine.SetDisplay(nullptr, 0);
  try {
    inspection_ = devices::ClientProbe(machine).Read();
    inspectionError_.clear();
  } catch (const std::exception& error) {
    inspection_.reset();
    inspectionError_ = error.what();
  }
  machine.SetDisplay(echo, mask);
}

}  // namespace carvex::sim

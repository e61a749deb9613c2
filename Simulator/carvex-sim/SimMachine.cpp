#include "SimMachine.hpp"

#include <cstdlib>
#include <stdexcept>

#include "Devices/PlatformFile.hpp"

namespace carvex::sim::cli {

namespace {

std::uint64_t ParseMask(const std::string& text) {
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || end == nullptr || *end != '\0') {
    throw std::invalid_argument("--capability-mask: not a number: " + text);
  }
  return value;
}

}  // namespace

SimMachine::SimMachine(const CommonOptions& options, bool withClientProbe, std::ostream& notes) {
  if (options.fresh) {
    std::filesystem::remove_all(options.stateDir);
  }
  PlatformSettings settings;
  settings.capabilityMask = ParseMask(options.capabilityMask);
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
  if (withClientProbe) {
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
  devices_ = std::make_unique<devices::DevicePlatform>(*machine_, std::move(initial));
  origin_ = devices_->Continued()         ? "continued from " + devices_->StateFile().string()
            : !options.platformFile.empty() ? "new machine from " + options.platformFile.string()
                                            : "new machine from the embedded board";
  if (withClientProbe) {
    machine_->OnStage(BootStage::EndOfPost, [this](Machine& machine) { Inspect(machine); });
  }
}

void SimMachine::Inspect(Machine& machine) {
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

}  // namespace carvex::sim::cli

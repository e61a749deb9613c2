// The host platform's devices in a simulated machine: it owns the module
// model and the controller model across boots, runs the modules' power-up
// at each boot's memory initialisation, hands both models to the vendor and
// controller images through their platform protocols, and keeps them in the
// state directory (devices.json, a platform description) at the end of
// every boot.
#pragma once

#include <filesystem>
#include <optional>

#include "DeviceState.hpp"
#include "GpioPads.hpp"
#include "Bmc/BmcPlatform.h"
#include "NvmDimm/NvmDimmPlatform.h"
#include "Platform/Machine.hpp"

namespace carvex::sim::devices {

class DevicePlatform {
 public:
  static constexpr const char* kStateFile = "devices.json";

  // Continues from the state directory's devices.json when there is one;
  // otherwise starts from `initial` (the embedded board when empty). The
  // machine must outlive this object, which registers its stage hooks.
  DevicePlatform(Machine& machine, std::optional<DeviceState> initial = std::nullopt);
  DevicePlatform(const DevicePlatform&) = delete;
  DevicePlatform& operator=(const DevicePlatform&) = delete;

  // True when the state came from the state directory.
  bool Continued() const { return continued_; }
  std::filesystem::path StateFile() const { return machine_.StateDirectory() / kStateFile; }

  NVM_MODEL& Nvm() { return *state_.nvm; }
  BMC_MODEL& Bmc() { return *state_.bmc; }
  GpioPads& Gpio() { return gpio_; }
  DeviceState& State() { return state_; }
  // Writes devices.json now (also done before every boot ends).
  void Save() const;

 private:
  void PowerUp();
  void InstallProtocols(Machine& machine);

  Machine& machine_;
  DeviceState state_;
  bool continued_ = false;
  NVM_DIMM_PLATFORM_PROTOCOL nvmPlatform_{};
  BMC_PLATFORM_PROTOCOL bmcPlatform_{};
  GpioPads gpio_{state_.securityJumperFitted};
};

}  // namespace carvex::sim::devices

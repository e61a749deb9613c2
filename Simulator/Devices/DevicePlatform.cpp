#include "DevicePlatform.hpp"

#include <fstream>

#include "Names.hpp"
#include "PlatformFile.hpp"
#include "StateDump.hpp"

namespace carvex::sim::devices {

DevicePlatform::DevicePlatform(Machine& machine, std::optional<DeviceState> initial) : machine_(machine) {
  if (std::filesystem::exists(StateFile())) {
    state_ = LoadPlatformFile(StateFile());
    continued_ = true;
  } else if (initial) {
    state_ = std::move(*initial);
  } else {
    state_ = DefaultDeviceState();
  }
  machine_.OnStage(BootStage::MemoryInit, [this](Machine&) { PowerUp(); });
  machine_.OnStage(BootStage::PlatformProtocols, [this](Machine& m) { InstallProtocols(m); });
  machine_.OnStage(BootStage::BeforeEndBoot, [this](Machine&) { Save(); });
}

void DevicePlatform::PowerUp() {
  NVM_MODEL& model = *state_.nvm;
  // Counts and scrubs are the boot's own; everything else carries over.
  NvmModelClearCallCounts(&model);
  NvmModelPowerCycle(&model);
  for (std::uint16_t dimmId : state_.scrubAtBoot) NvmModelStartScrub(&model, dimmId);
  gpio_.PowerUp();
  machine_.Log().Note("modules powered up: boot " + std::to_string(model.BootCount) + " of the module model, " +
                      std::to_string(model.DimmCount) + " modules");
}

void DevicePlatform::InstallProtocols(Machine& machine) {
  nvmPlatform_.Revision = NVM_DIMM_PLATFORM_REVISION;
  nvmPlatform_.Flags = 0;  // powered up above, at memory initialisation
  nvmPlatform_.Model = state_.nvm.get();
  nvmPlatform_.Description = nullptr;
  bmcPlatform_.Revision = BMC_PLATFORM_REVISION;
  bmcPlatform_.Model = state_.bmc.get();
  EFI_HANDLE nvmHandle = nullptr;
  EFI_STATUS status = machine.Protocols().Install(kPlatformImage, &nvmHandle, &gNvmDimmPlatformProtocolGuid,
                                                  EFI_NATIVE_INTERFACE, &nvmPlatform_);
  EFI_HANDLE bmcHandle = nullptr;
  if (!EFI_ERROR(status)) {
    status = machine.Protocols().Install(kPlatformImage, &bmcHandle, &gBmcPlatformProtocolGuid, EFI_NATIVE_INTERFACE,
                                         &bmcPlatform_);
  }
  EFI_HANDLE gpioHandle = nullptr;
  if (!EFI_ERROR(status)) {
    status = machine.Protocols().Install(kPlatformImage, &gpioHandle, &gCarvexPchGpioProtocolGuid, EFI_NATIVE_INTERFACE,
                                         gpio_.Protocol());
  }
  if (EFI_ERROR(status)) {
    machine.Log().Report(ReportKind::ServiceMisuse, "platform",
                         "device platform protocols not installed: " + EfiStatusName(status));
  }
}

void DevicePlatform::Save() const {
  const std::filesystem::path file = StateFile();
  const std::filesystem::path temporary = file.string() + ".new";
  {
    std::ofstream out(temporary, std::ios::trunc);
    out << DumpDeviceState(state_).dump(2) << "\n";
    if (!out) throw std::runtime_error("cannot write " + temporary.string());
  }
  // Replaced whole, so that an interrupted write never leaves half a machine.
  std::filesystem::rename(temporary, file);
}

}  // namespace carvex::sim::devices

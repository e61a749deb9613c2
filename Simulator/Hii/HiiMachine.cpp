#include "HiiMachine.hpp"

namespace carvex::sim {

HiiMachine::HiiMachine(Machine& machine) {
  machine.OnStage(BootStage::PlatformProtocols, [this](Machine& m) { StartBoot(m); });
}

void HiiMachine::StartBoot(Machine& machine) {
  // The previous boot's services refer to its (gone) tables: drop them
  // without calling into them.
  services_.reset();
  const HostImage image = machine.AttachHostImage(kImageName);
  services_ = std::make_unique<HiiServices>(image.bootServices, image.runtimeServices);
  const EFI_STATUS status = services_->Install();
  if (EFI_ERROR(status)) {
    machine.Log().Note("HII services could not be installed", 0x80000000);
  }
}

}  // namespace carvex::sim

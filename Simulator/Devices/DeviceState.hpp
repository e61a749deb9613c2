// What the host platform keeps of its devices between boots: the module
// model and the controller model the images serve in place, and the
// platform's own per-module settings.
#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "Bmc/BmcModel.h"
#include "NvmDimm/NvmDimmModel.h"

namespace carvex::sim::devices {

struct DeviceState {
  DeviceState() : nvm(new NVM_MODEL()), bmc(new BMC_MODEL()) {}
  DeviceState(DeviceState&&) = default;
  DeviceState& operator=(DeviceState&&) = default;

  DeviceState Clone() const {
    DeviceState copy;
    *copy.nvm = *nvm;
    *copy.bmc = *bmc;
    copy.scrubAtBoot = scrubAtBoot;
    copy.securityJumperFitted = securityJumperFitted;
    return copy;
  }

  std::unique_ptr<NVM_MODEL> nvm;  // zero-filled until built
  std::unique_ptr<BMC_MODEL> bmc;
  // Modules (DimmId) whose address range scrub the platform starts at every
  // boot, after the power cycle aborted the one that was running.
  std::set<std::uint16_t> scrubAtBoot;
  // The board's physical-presence jumper (read through a GPIO pad).
  bool securityJumperFitted = false;
};

}  // namespace carvex::sim::devices

// What the host platform keeps of its devices between boots: the module
// model and the controller model the images serve in place, the board's
// description and the component data storage the platform serves itself,
// and the platform's own per-module settings.
#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "Bmc/BmcModel.h"
#include "Board/BoardModel.h"
#include "ComponentData/CdsModel.h"
#include "NvmDimm/NvmDimmModel.h"

namespace carvex::sim::devices {

struct DeviceState {
  DeviceState() : nvm(new NVM_MODEL()), bmc(new BMC_MODEL()), board(new BOARD_MODEL()), cds(new CDS_MODEL()) {}
  DeviceState(DeviceState&&) = default;
  DeviceState& operator=(DeviceState&&) = default;

  DeviceState Clone() const {
    DeviceState copy;
    *copy.nvm = *nvm;
    *copy.bmc = *bmc;
    *copy.board = *board;
    *copy.cds = *cds;
    copy.scrubAtBoot = scrubAtBoot;
    copy.securityJumperFitted = securityJumperFitted;
    return copy;
  }

  std::unique_ptr<NVM_MODEL> nvm;  // zero-filled until built
  std::unique_ptr<BMC_MODEL> bmc;
  std::unique_ptr<BOARD_MODEL> board;  // zero-filled until built
  std::unique_ptr<CDS_MODEL> cds;
  // Modules (DimmId) whose address range scrub the platform starts at every
  // boot, after the power cycle aborted the one that was running.
  std::set<std::uint16_t> scrubAtBoot;
  // The board's physical-presence jumper (read through a GPIO pad).
  bool securityJumperFitted = false;
};

}  // namespace carvex::sim::devices

// Puts the HII services into every boot of a simulated Machine: a fresh
// instance per boot, created from a host image named "HiiDatabase" and
// installed when the platform protocols are (before any image loads). The
// instance outlives its boot until the next one starts, so that the
// platform's browser and tools can still read what the boot registered.
//
//   carvex::sim::Machine machine(stateDirectory, settings);
//   carvex::sim::HiiMachine hii(machine);   // must live as long as machine
#pragma once

#include <memory>

#include "HiiServices.hpp"
#include "Platform/Machine.hpp"

namespace carvex::sim {

class HiiMachine {
 public:
  explicit HiiMachine(Machine& machine);
  HiiMachine(const HiiMachine&) = delete;
  HiiMachine& operator=(const HiiMachine&) = delete;

  // The services of the boot in progress (or of the last boot); null before
  // the first boot.
  HiiServices* Services() { return services_.get(); }

  static constexpr const char* kImageName = "HiiDatabase";

 private:
  void StartBoot(Machine& machine);

  std::unique_ptr<HiiServices> services_;
};

}  // namespace carvex::sim

// The machine carvex-sim boots: the platform with its images, the devices
// kept in the state directory, and (for the module views) the probe,
// which reads the client layer at the end of POST.
#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "BootCommand.hpp"
#include "Devices/DevicePlatform.hpp"
#include "Devices/ClientProbe.hpp"
#include "Platform/Machine.hpp"

namespace carvex::sim::cli {

class SimMachine {
 public:
  // Applies --fresh, --platform, --capability-mask and --no-vendor-driver.
  // Notes for the person (a platform file ignored) go to `notes`.
  SimMachine(const CommonOptions& options, bool withClientProbe, std::ostream& notes);

  Machine& machine() { return *machine_; }
  devices::DevicePlatform& devices() { return *devices_; }
  // Where the devices' state came from, for the summary.
  const std::string& Origin() const { return origin_; }
  // The last boot's reading of the client layer, if the probe ran.
  const std::optional<devices::Inspection>& Inspection() const { return inspection_; }
  const std::string& InspectionError() const { return inspectionError_; }

 private:
  void Inspect(Machine& machine);

  // The machine goes first: ending a boot still under way runs the
  // devices' hooks.
  std::unique_ptr<devices::DevicePlatform> devices_;
  std::unique_ptr<Machine> machine_;
  std::string origin_;
  std::optional<devices::Inspection> inspection_;
  std::string inspectionError_;
};

}  // namespace carvex::sim::cli

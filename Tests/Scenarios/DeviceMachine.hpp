// A machine with the module vendor's and the controller's images over the
// host's device models, the driver and the probe, in a state directory
// that outlives the machine: Reopen() is the next run of carvex-sim.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Devices/DevicePlatform.hpp"
#include "Devices/ClientProbe.hpp"
#include "Devices/PlatformFile.hpp"
#include "Platform/Machine.hpp"

namespace carvex::test {

class DeviceMachine {
 public:
  // A new machine from a platform description (JSON text), or the embedded
  // board when empty.
  explicit DeviceMachine(const std::string& platformJson = "");
  ~DeviceMachine();

  sim::Machine& machine() { return *machine_; }
  sim::devices::DevicePlatform& devices() { return *devices_; }
  const std::filesystem::path& StateDirectory() const { return state_; }

  // One whole boot; `atEndOfPost` runs with the probe once the driver's
  // end-of-POST work is done. A platform report (misuse the platform
  // detected) fails the test. Returns the boot's record.
  sim::BootRecord Boot(const std::function<void(sim::devices::ClientProbe&)>& atEndOfPost = {});
  // One whole boot that reads the client layer at the end of POST.
  sim::devices::Inspection Inspect();

  // Drops the machine and builds another on the same state directory.
  void Reopen();

 private:
  void Build(std::optional<sim::devices::DeviceState> initial);

  std::filesystem::path state_;
  std::unique_ptr<sim::Machine> machine_;
  std::unique_ptr<sim::devices::DevicePlatform> devices_;
  std::function<void(sim::devices::ClientProbe&)> hook_;
};

}  // namespace carvex::test

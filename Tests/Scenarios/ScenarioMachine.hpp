// A simulated machine in a fresh state directory, with the driver image and
// (optionally) the module vendor's driver, for scenario tests.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Machine.hpp"

namespace carvex::test {

struct ScenarioOptions {
  std::uint64_t capabilityMask = 0x30;
  bool vendorDriver = true;
  sim::PerformanceProfile profile = sim::PerformanceProfile::Balanced;
};

class ScenarioMachine {
 public:
  explicit ScenarioMachine(ScenarioOptions options = {});
  ~ScenarioMachine();

  sim::Machine& operator*() { return *machine_; }
  sim::Machine* operator->() { return machine_.get(); }

  // One byte variable's value, if present with exactly one byte.
  std::optional<std::uint8_t> Byte(std::u16string_view name, const EFI_GUID& guid);
  // SetVariable calls the driver image made on this name in the given boot.
  std::vector<sim::VariableLogEntry> DriverWrites(std::u16string_view name, unsigned boot);

 private:
  std::filesystem::path state_;
  std::unique_ptr<sim::Machine> machine_;
};

inline constexpr const char* kDriverImage = "CarvexDxe";

}  // namespace carvex::test

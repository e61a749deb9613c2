#include "ScenarioMachine.hpp"

#include <atomic>
#include <unistd.h>

namespace carvex::test {

namespace {

std::filesystem::path FreshStateDirectory() {
  static std::atomic<unsigned> counter{0};
  auto path = std::filesystem::temp_directory_path() /
              ("carvex-scenario-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path);
  return path;
}

}  // namespace

ScenarioMachine::ScenarioMachine(ScenarioOptions options) : state_(FreshStateDirectory()) {
  sim::PlatformSettings settings;
  settings.capabilityMask = options.capabilityMask;
  settings.performanceProfile = options.profile;
  if (options.vendorDriver) {
    settings.images.emplace_back(CARVEX_TEST_NvmDimmVendorDxe);
  }
  settings.images.emplace_back(CARVEX_TEST_CarvexDxe);
  machine_ = std::make_unique<sim::Machine>(state_, settings);
}

ScenarioMachine::~ScenarioMachine() {
  machine_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(state_, ignored);
}

std::optional<std::uint8_t> ScenarioMachine::Byte(std::u16string_view name, const EFI_GUID& guid) {
  const auto data = machine_->Variables().Data(name, guid);
  if (!data || data->size() != 1) {
    return std::nullopt;
  }
  return (*data)[0];
}

std::vector<sim::VariableLogEntry> ScenarioMachine::DriverWrites(std::u16string_view name, unsigned boot) {
  std::vector<sim::VariableLogEntry> writes;
  for (const auto& entry : machine_->Variables().LogFor(name)) {
    if (entry.boot == boot && entry.image == kDriverImage &&
        (entry.op == sim::VariableOp::Set || entry.op == sim::VariableOp::Delete)) {
      writes.push_back(entry);
    }
  }
  return writes;
}

}  // namespace carvex::test

#include "DeviceMachine.hpp"

#include <atomic>

#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

namespace carvex::test {

namespace {

std::filesystem::path FreshStateDirectory() {
  static std::atomic<unsigned> counter{0};
  auto path = std::filesystem::temp_directory_path() /
              ("carvex-devices-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path);
  return path;
}

}  // namespace

DeviceMachine::DeviceMachine(const std::string& platformJson) : state_(FreshStateDirectory()) {
  std::optional<sim::devices::DeviceState> initial;
  if (!platformJson.empty()) initial = sim::devices::DeviceStateFromJson(nlohmann::json::parse(platformJson));
  Build(std::move(initial));
}

DeviceMachine::~DeviceMachine() {
  // The machine first: ending a boot still under way runs the devices' hooks.
  machine_.reset();
  devices_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(state_, ignored);
}

void DeviceMachine::Build(std::optional<sim::devices::DeviceState> initial) {
  sim::PlatformSettings settings;
  settings.images = {CARVEX_TEST_NvmDimmVendorDxe, CARVEX_TEST_BmcVeskDxe, CARVEX_TEST_CarvexDxe,
                     sim::devices::ClientProbeImagePath()};
  machine_ = std::make_unique<sim::Machine>(state_, settings);
  devices_ = std::make_unique<sim::devices::DevicePlatform>(*machine_, std::move(initial));
  machine_->OnStage(sim::BootStage::EndOfPost, [this](sim::Machine& machine) {
    if (hook_) {
      sim::devices::ClientProbe probe(machine);
      hook_(probe);
    }
  });
}

sim::BootRecord DeviceMachine::Boot(const std::function<void(sim::devices::ClientProbe&)>& atEndOfPost) {
  hook_ = atEndOfPost;
  sim::BootSummary summary = machine_->RunBoot();
  hook_ = nullptr;
  for (const sim::PlatformReport& report : summary.reports) {
    ADD_FAILURE() << "platform report in boot " << report.boot << " (" << report.image << "): " << report.message;
  }
  return summary.Last();
}

sim::devices::Inspection DeviceMachine::Inspect() {
  sim::devices::Inspection inspection;
  Boot([&](sim::devices::ClientProbe& probe) { inspection = probe.Read(); });
  return inspection;
}

void DeviceMachine::Reopen() {
  machine_.reset();
  devices_.reset();
  Build(std::nullopt);
}

}  // namespace carvex::test

// A machine for the setup form set through the host browser: the vendor's
// and the controller's images and the driver over a board from a platform
// file, in a state directory of its own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

#include "BootThroughSetup.hpp"
#include "BrowserMachine.hpp"
#include "Devices/DevicePlatform.hpp"
#include "Devices/PlatformFile.hpp"
#include "HiiMachine.hpp"
#include "Platform/Machine.hpp"

namespace carvex::test {

namespace browser = sim::browser;

inline const std::filesystem::path kPlatforms = CARVEX_TEST_PLATFORMS_DIR;

// {E8B18FEE-A44E-4F97-B5EE-2D2CA54A3098}
inline constexpr EFI_GUID kFormSetGuid = {0xE8B18FEE, 0xA44E, 0x4F97, {0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98}};

// A machine with the vendor's and the controller's images and the driver
// over a board from a platform file, the HII services and the host browser,
// in a state directory of its own that goes away with it.
class BrowserBoard {
 public:
  BrowserBoard(const std::string& platformFile, std::uint64_t capabilityMask)
      : BrowserBoard(sim::devices::LoadPlatformFile(kPlatforms / platformFile), capabilityMask) {}

  BrowserBoard(sim::devices::DeviceState board, std::uint64_t capabilityMask) : state_(NewStateDirectory()) {
    sim::PlatformSettings settings;
    settings.capabilityMask = capabilityMask;
    settings.images = {CARVEX_TEST_NvmDimmVendorDxe, CARVEX_TEST_BmcVeskDxe, CARVEX_TEST_CarvexDxe};
    machine_ = std::make_unique<sim::Machine>(state_, settings);
    devices_ = std::make_unique<sim::devices::DevicePlatform>(*machine_, std::move(board));
    hii_ = std::make_unique<sim::HiiMachine>(*machine_);
    browsers_ = std::make_unique<browser::BrowserMachine>(*machine_, *hii_);
  }

  ~BrowserBoard() {
    // The browser and the HII services lean on the machine; the machine's
    // end of boot still runs the devices' hooks.
    browsers_.reset();
    hii_.reset();
    machine_.reset();
    devices_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(state_, ignored);
  }

  BrowserBoard(const BrowserBoard&) = delete;
  BrowserBoard& operator=(const BrowserBoard&) = delete;

  // One boot through setup; `inSetup` works the browser.
  sim::Machine& Machine() { return *machine_; }
  sim::devices::DevicePlatform& Devices() { return *devices_; }
  NVM_MODEL& Nvm() { return devices_->Nvm(); }

  sim::BootSummary Boot(const std::function<void(browser::FormBrowser&)>& inSetup) {
    sim::BootSummary summary = browser::RunBootThroughSetup(*machine_, *browsers_, inSetup);
    for (const sim::PlatformReport& report : summary.reports) {
      ADD_FAILURE() << "platform report (" << report.image << "): " << report.message;
    }
    return summary;
  }

 private:
  static std::filesystem::path NewStateDirectory() {
    static unsigned counter = 0;
    auto path = std::filesystem::temp_directory_path() /
                ("carvex-setup-script-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::remove_all(path);
    return path;
  }

  std::filesystem::path state_;
  std::unique_ptr<sim::Machine> machine_;
  std::unique_ptr<sim::devices::DevicePlatform> devices_;
  std::unique_ptr<sim::HiiMachine> hii_;
  std::unique_ptr<browser::BrowserMachine> browsers_;
};

}  // namespace carvex::test

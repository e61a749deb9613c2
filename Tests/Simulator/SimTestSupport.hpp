// A machine in a scratch state directory, booted, with host code attached
// as an image so that tests call the services through that image's tables.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <ostream>
#include <filesystem>
#include <memory>
#include <string>

#include <unistd.h>

#include "Platform/Machine.hpp"

namespace carvex::sim::test {

// A parameter's name for test listings: letters, digits and underscores.
inline std::string CaseName(std::string text) {
  for (char& c : text) {
    if (!std::isalnum(static_cast<unsigned char>(c))) {
      c = '_';
    }
  }
  return text;
}

class ScratchDirectory {
 public:
  ScratchDirectory() {
    static std::atomic<unsigned> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("carvex-sim-test-" + std::to_string(getpid()) + "-" + std::to_string(counter++));
    std::filesystem::remove_all(path_);
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class BootedMachine : public ::testing::Test {
 protected:
  void SetUp() override {
    machine_ = std::make_unique<Machine>(state_.Path(), settings_);
    machine_->StartBoot();
    Attach();
  }

  void Attach() {
    host_ = machine_->AttachHostImage("TestHost");
    bs_ = host_.bootServices;
    rt_ = host_.runtimeServices;
  }

  void RebootAndAttach() {
    machine_->Reboot();
    Attach();
  }

  ScratchDirectory state_;
  PlatformSettings settings_;
  std::unique_ptr<Machine> machine_;
  HostImage host_;
  EFI_BOOT_SERVICES* bs_ = nullptr;
  EFI_RUNTIME_SERVICES* rt_ = nullptr;
};

}  // namespace carvex::sim::test

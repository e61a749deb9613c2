// One boot of a machine with the HII services, the module vendor's driver
// and the driver, stopped after the end of POST with the setup form set
// installed: the test talks to it as the browser and the router would.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/HiiConfigAccess.h>
#include <Protocol/HiiConfigRouting.h>

#include "HiiMachine.hpp"
#include "Platform/Machine.hpp"

namespace carvex::test {

// {470DB1CE-ABA5-4AF6-8E74-0E1DA1D19297}, {E8B18FEE-A44E-4F97-B5EE-2D2CA54A3098}
inline constexpr EFI_GUID kSetupPackageListGuid = {0x470DB1CE, 0xABA5, 0x4AF6, {0x8E, 0x74, 0x0E, 0x1D, 0xA1, 0xD1, 0x92, 0x97}};
inline constexpr EFI_GUID kSetupFormSetGuid = {0xE8B18FEE, 0xA44E, 0x4F97, {0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98}};

class SetupBoot {
 public:
  explicit SetupBoot(std::uint64_t capabilityMask = 0x30,
                     sim::PerformanceProfile profile = sim::PerformanceProfile::Balanced);
  ~SetupBoot();

  sim::Machine& Machine() { return *machine_; }
  sim::HiiServices& Hii() { return *hii_->Services(); }
  const sim::HostImage& Host() const { return host_; }
  // The setup package list as registered; its handle, driver handle and
  // device path.
  const sim::HiiPackageListInfo& List() const { return list_; }
  EFI_HII_CONFIG_ACCESS_PROTOCOL* Access() const { return access_; }
  EFI_HII_CONFIG_ROUTING_PROTOCOL* Routing() { return Hii().ConfigRouting(); }

  // "GUID=...&NAME=...&PATH=..." of a store under `guid` on the driver's
  // device path, as the browser builds it.
  std::u16string ConfigHeader(const std::u16string& name, const EFI_GUID& guid = kSetupFormSetGuid) const;
  // Frees a string the driver or the router handed out.
  void Free(void* buffer) const;

 private:
  std::filesystem::path state_;
  std::unique_ptr<sim::Machine> machine_;
  std::unique_ptr<sim::HiiMachine> hii_;
  sim::HostImage host_;
  sim::HiiPackageListInfo list_;
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access_ = nullptr;
};

// The bytes of a "VALUE=" element (most significant byte first in the text).
std::vector<std::uint8_t> ValueBytes(const std::u16string& config, std::size_t at);
std::u16string Lower(std::u16string text);
std::u16string Widen(const std::string& text);

}  // namespace carvex::test

// The HII services as the simulated machine carries them: present before any
// image loads, reachable through an image's own boot services, and fresh at
// every boot.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include <HiiMachine.hpp>
#include <Protocol/HiiConfigRouting.h>

#include "HiiTestPackages.hpp"

namespace hiitest {
namespace {

class TempDirectory {
 public:
  TempDirectory() {
    path_ = std::filesystem::temp_directory_path() / ("carvex-hii-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(path_);
  }
  ~TempDirectory() { std::filesystem::remove_all(path_); }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

TEST(HiiMachineTest, EveryBoot_FreshServicesInstalledBeforeImagesLoad) {
  TempDirectory state;
  carvex::sim::Machine machine(state.Path());
  carvex::sim::HiiMachine hii(machine);
  bool installedBeforeImages = false;
  machine.OnStage(carvex::sim::BootStage::PlatformProtocols, [&](carvex::sim::Machine& m) {
    installedBeforeImages = m.IsInstalled(gEfiHiiDatabaseProtocolGuid) && m.IsInstalled(gEfiHiiStringProtocolGuid) &&
                            m.IsInstalled(gEfiHiiConfigRoutingProtocolGuid);
  });

  machine.StartBoot();
  EXPECT_TRUE(installedBeforeImages);
  // An image finds the database through its own boot services.
  const carvex::sim::HostImage image = machine.AttachHostImage("HiiUser");
  void* found = nullptr;
  ASSERT_EQ(image.bootServices->LocateProtocol(&gEfiHiiDatabaseProtocolGuid, nullptr, &found), EFI_SUCCESS);
  auto* database = static_cast<EFI_HII_DATABASE_PROTOCOL*>(found);
  const Bytes list = PackageList(gEfiHiiPlatformSetupFormsetGuid, {StringPackage("en-US", {u"English"})});
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(database->NewPackageList(database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()),
                                     nullptr, &handle),
            EFI_SUCCESS);
  carvex::sim::HiiServices* first = hii.Services();
  machine.EndBoot();
  EXPECT_EQ(hii.Services()->PackageLists().size(), 1u) << "still readable after its boot";

  installedBeforeImages = false;
  machine.StartBoot();
  EXPECT_TRUE(installedBeforeImages);
  EXPECT_NE(hii.Services(), first);
  EXPECT_TRUE(hii.Services()->PackageLists().empty()) << "nothing survives a reboot";
  machine.EndBoot();
}

}  // namespace
}  // namespace hiitest

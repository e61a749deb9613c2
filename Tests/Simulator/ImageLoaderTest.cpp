#include <dlfcn.h>

#include <algorithm>

#include <Protocol/Pcd.h>

#include "Platform/ImageTables.hpp"
#include "SimTestImageProtocol.h"
#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

constexpr char kImage[] = "SimTestImage";
CHAR16 gModeName[] = SIM_TEST_IMAGE_MODE_VARIABLE;

class ImageLoaderTest : public ::testing::Test {
 protected:
  Machine& Build(std::uint64_t mask = 0x30) {
    PlatformSettings settings;
    settings.capabilityMask = mask;
    settings.images = {SIM_TEST_IMAGE_PATH};
    machine_ = std::make_unique<Machine>(state_.Path(), settings);
    return *machine_;
  }

  SIM_TEST_IMAGE_PROTOCOL* Published() {
    return static_cast<SIM_TEST_IMAGE_PROTOCOL*>(
        machine_->Protocols().FirstInterface(gSimTestImageProtocolGuid));
  }

  void SetMode(UINT8 mode) {
    machine_->Variables().Put(gModeName, gSimTestImageProtocolGuid, 3, {mode});
  }

  ScratchDirectory state_;
  std::unique_ptr<Machine> machine_;
};

TEST_F(ImageLoaderTest, EveryBoot_StartsTheImageWithFreshModuleState) {
  Machine& machine = Build(0x10);
  for (int boot = 0; boot < 3; ++boot) {
    const auto& results = machine.StartBoot();
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].name, kImage);
    EXPECT_EQ(results[0].status, EFI_SUCCESS);
    ASSERT_NE(Published(), nullptr);
    EXPECT_EQ(Published()->EntryCount(), 1u) << "module state survived boot " << boot;
    EXPECT_EQ(Published()->CapabilityMask, 0x10u);
    const BootRecord record = machine.EndBoot();
    EXPECT_TRUE(record.stillMapped.empty());
  }
  EXPECT_EQ(dlopen(SIM_TEST_IMAGE_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(ImageSlotsInUse(), 0u);
}

TEST_F(ImageLoaderTest, ImageCalls_AccountedToTheImage) {
  Machine& machine = Build();
  machine.StartBoot();
  const PoolStats pool = machine.PoolStatistics(kImage);
  EXPECT_EQ(pool.allocations, 2u);
  EXPECT_EQ(pool.bytesOutstanding, 64u);
  // The PCD library locates its protocol once, in its constructor.
  EXPECT_EQ(machine.LocateProtocolCalls(gPcdProtocolGuid, std::string(kImage)), 1u);
  EXPECT_EQ(machine.OwnedBy(kImage).handles, 1u);
  EXPECT_TRUE(machine.Log().Contains("SimTestImage: entry 1", std::string_view(kImage)));
}

TEST_F(ImageLoaderTest, EndBoot_LeakReportNamesImageSizesAndSites) {
  Machine& machine = Build();
  machine.StartBoot();
  const BootRecord record = machine.EndBoot();

  ASSERT_EQ(record.leaks.leaks.size(), 2u);
  EXPECT_EQ(record.leaks.leaks[0].image, kImage);
  EXPECT_EQ(record.leaks.leaks[0].size, 48u);
  EXPECT_EQ(record.leaks.leaks[1].size, 16u);
  EXPECT_EQ(record.leaks.leaks[0].site.module, kImage);
  // Frames inside the image: the library's allocation and the image's call.
  EXPECT_GE(record.leaks.leaks[1].site.offsets.size(), 2u);
  EXPECT_NE(record.leaks.Format().find("SimTestImage: 2 allocation(s), 64 bytes"),
            std::string::npos);
}

TEST_F(ImageLoaderTest, FailedEntryPoint_UnloadsImageAndClearsWhatItLeft) {
  Machine& machine = Build();
  SetMode(SIM_TEST_IMAGE_MODE_FAIL_ENTRY);
  const auto& results = machine.StartBoot();

  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].status, EFI_ABORTED);
  EXPECT_FALSE(results[0].resident);
  EXPECT_FALSE(machine.IsInstalled(gSimTestImageProtocolGuid));
  EXPECT_EQ(machine.OwnedBy(kImage).events, 0u);
  EXPECT_EQ(dlopen(SIM_TEST_IMAGE_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
  ASSERT_EQ(machine.Log().Reports().size(), 1u);
  EXPECT_EQ(machine.Log().Reports()[0].kind, ReportKind::DanglingReference);

  machine.SignalReadyToBoot();  // its ready-to-boot notify is gone, not called
  EXPECT_FALSE(machine.Log().Contains("SimTestImage: ready to boot"));
  EXPECT_EQ(machine.EndBoot().leaks.BytesFor(kImage), 64u);
}


class ImageAllocationFault : public ImageLoaderTest,
                             public ::testing::WithParamInterface<std::uint64_t> {};

TEST_P(ImageAllocationFault, NthAllocationOfImageFails_EntryReportsIt) {
  Machine& machine = Build();
  machine.Faults().FailNthAllocation(kImage, GetParam());
  const auto& results = machine.StartBoot();

  EXPECT_EQ(results[0].status, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(machine.PoolStatistics(kImage).failedAllocations, 1u);
  EXPECT_TRUE(machine.EndBoot().leaks.Empty());
}

INSTANTIATE_TEST_SUITE_P(Allocations, ImageAllocationFault, ::testing::Values(1u, 2u));

TEST_F(ImageLoaderTest, CallSiteFault_HitsTheSameCallInTheNextMapping) {
  Machine& machine = Build();
  machine.StartBoot();
  const BootRecord clean = machine.EndBoot();
  ASSERT_EQ(clean.leaks.leaks.size(), 2u);
  const CallSite& first = clean.leaks.leaks[0].site;
  const CallSite& second = clean.leaks.leaks[1].site;
  // A frame of the second allocation that the first does not share.
  auto distinct = std::find_if(second.offsets.begin(), second.offsets.end(),
                               [&](std::uintptr_t offset) { return !first.Contains(offset); });
  ASSERT_NE(distinct, second.offsets.end());

  machine.Faults().FailCallSite(kImage, *distinct);
  const auto& results = machine.StartBoot();
  EXPECT_EQ(results[0].status, EFI_OUT_OF_RESOURCES);
  const PoolStats pool = machine.PoolStatistics(kImage);
  EXPECT_EQ(pool.allocations, 1u);  // the first still succeeded
  EXPECT_EQ(pool.failedAllocations, 1u);
}

TEST_F(ImageLoaderTest, MissingImage_ReportedAndBootGoesOn) {
  PlatformSettings settings;
  settings.images = {state_.Path() / "Missing.so", SIM_TEST_IMAGE_PATH};
  machine_ = std::make_unique<Machine>(state_.Path(), settings);
  const auto& results = machine_->StartBoot();

  ASSERT_EQ(results.size(), 2u);
  EXPECT_EQ(results[0].status, EFI_NOT_FOUND);
  EXPECT_EQ(results[1].status, EFI_SUCCESS);
  ASSERT_EQ(machine_->Log().Reports().size(), 1u);
  EXPECT_EQ(machine_->Log().Reports()[0].kind, ReportKind::ImageLoad);
}

}  // namespace
}  // namespace carvex::sim::test

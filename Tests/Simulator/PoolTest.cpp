#include <cstring>
#include <vector>

#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

class PoolTest : public BootedMachine {
 protected:
  VOID* Allocate(EFI_BOOT_SERVICES* bs, UINTN size, EFI_STATUS expected = EFI_SUCCESS) {
    VOID* buffer = &buffer;
    EXPECT_EQ(bs->AllocatePool(EfiBootServicesData, size, &buffer), expected);
    return buffer;
  }
};

TEST_F(PoolTest, EndBoot_LeakReportNamesImageSizeAndCallSite) {
  VOID* kept = Allocate(bs_, 40);
  VOID* freed = Allocate(bs_, 8);
  ASSERT_EQ(bs_->FreePool(freed), EFI_SUCCESS);
  const HostImage other = machine_->AttachHostImage("OtherHost");
  Allocate(other.bootServices, 12);
  (void)kept;

  const BootRecord record = machine_->EndBoot();
  ASSERT_EQ(record.leaks.leaks.size(), 2u);
  EXPECT_EQ(record.leaks.CountFor("TestHost"), 1u);
  EXPECT_EQ(record.leaks.BytesFor("TestHost"), 40u);
  EXPECT_EQ(record.leaks.BytesFor("OtherHost"), 12u);
  EXPECT_NE(record.leaks.Format().find("TestHost: 1 allocation(s), 40 bytes"), std::string::npos)
      << record.leaks.Format();
  // Host code has no image range: the site names the module that called.
  EXPECT_NE(record.leaks.leaks[0].site.module.find("TestHost<-"), std::string::npos);
  EXPECT_NE(record.leaks.leaks[0].site.Innermost(), 0u);
  EXPECT_TRUE(machine_->Log().Contains("TestHost still holds 1 pool allocation(s), 40 bytes"));
  machine_->StartBoot();
}

struct NthCase {
  std::uint64_t n;
  FaultInjector::Repeat repeat;
  std::vector<bool> succeeds;
};

void PrintTo(const NthCase& c, std::ostream* out) {
  *out << "n" << c.n << (c.repeat == FaultInjector::Repeat::Once ? "_once" : "_fromThenOn");
}

class NthAllocation : public PoolTest, public ::testing::WithParamInterface<NthCase> {};

TEST_P(NthAllocation, FailsChosenAllocationsOfThatImageOnly) {
  const NthCase& c = GetParam();
  const HostImage other = machine_->AttachHostImage("OtherHost");
  machine_->Faults().FailNthAllocation("TestHost", c.n, c.repeat);

  for (std::size_t i = 0; i < c.succeeds.size(); ++i) {
    VOID* buffer = Allocate(bs_, 16, c.succeeds[i] ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES);
    if (c.succeeds[i]) {
      bs_->FreePool(buffer);
    } else {
      EXPECT_EQ(buffer, nullptr);
    }
    // The other image's allocations never fail.
    other.bootServices->FreePool(Allocate(other.bootServices, 16));
  }
  std::uint64_t failures = 0;
  for (bool ok : c.succeeds) {
    failures += ok ? 0 : 1;
  }
  EXPECT_EQ(machine_->PoolStatistics("TestHost").failedAllocations, failures);
  EXPECT_EQ(machine_->Faults().AllocationCount("TestHost"), c.succeeds.size());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NthAllocation,
    ::testing::Values(NthCase{1, FaultInjector::Repeat::Once, {false, true, true}},
                      NthCase{3, FaultInjector::Repeat::Once, {true, true, false, true}},
                      NthCase{2, FaultInjector::Repeat::FromThenOn, {true, false, false, false}}));

TEST_F(PoolTest, CallSiteFault_FailsOnlyThatSite) {
  std::vector<EFI_STATUS> statuses;
  for (int i = 0; i < 3; ++i) {
    VOID* buffer = nullptr;
    statuses.push_back(bs_->AllocatePool(EfiBootServicesData, 4, &buffer));  // one call site
    if (buffer != nullptr) {
      bs_->FreePool(buffer);
    }
    if (i == 0) {
      const auto sites = machine_->PoolAllocator().CallSitesSeen("TestHost");
      ASSERT_EQ(sites.size(), 1u);
      machine_->Faults().FailCallSite("TestHost", *sites.begin());
    }
  }
  EXPECT_EQ(statuses, (std::vector<EFI_STATUS>{EFI_SUCCESS, EFI_OUT_OF_RESOURCES,
                                               EFI_OUT_OF_RESOURCES}));
  VOID* elsewhere = nullptr;
  EXPECT_EQ(bs_->AllocatePool(EfiBootServicesData, 4, &elsewhere), EFI_SUCCESS);
  bs_->FreePool(elsewhere);
}

TEST_F(PoolTest, FreedBlockHoldingWatchedText_ReportedInEitherWidth) {
  machine_->PoolAllocator().WatchFreedBlocksFor({"Pass-Word1"});
  struct Case {
    std::vector<std::uint8_t> bytes;
    bool reported;
  } cases[] = {
    {{'x', 'P', 'a', 's', 's', '-', 'W', 'o', 'r', 'd', '1', 0}, true},
    {{'P', 0, 'a', 0, 's', 0, 's', 0, '-', 0, 'W', 0, 'o', 0, 'r', 0, 'd', 0, '1', 0}, true},
    {{'P', 'a', 's', 's', '-', 'W', 'o', 'r', 'd'}, false},  // only part of it
    {std::vector<std::uint8_t>(20, 0), false},              // zeroed before the free
  };
  std::size_t expected = 0;
  for (const Case& c : cases) {
    VOID* block = Allocate(bs_, c.bytes.size());
    std::memcpy(block, c.bytes.data(), c.bytes.size());
    ASSERT_EQ(bs_->FreePool(block), EFI_SUCCESS);
    expected += c.reported;
    std::size_t reports = 0;
    for (const PlatformReport& report : machine_->Log().Reports()) {
      reports += report.kind == ReportKind::SecretInFreedPool && report.image == "TestHost";
    }
    EXPECT_EQ(reports, expected) << c.bytes.size() << " bytes";
  }
}

TEST_F(PoolTest, BadFrees_ReportedNeverCrash) {
  VOID* buffer = Allocate(bs_, 16);
  int onStack = 0;
  ASSERT_EQ(bs_->FreePool(buffer), EFI_SUCCESS);

  EXPECT_EQ(bs_->FreePool(buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->FreePool(&onStack), EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->FreePool(nullptr), EFI_INVALID_PARAMETER);

  const auto& reports = machine_->Log().Reports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].kind, ReportKind::DoubleFree);
  EXPECT_EQ(reports[1].kind, ReportKind::InvalidFree);
  EXPECT_EQ(reports[2].kind, ReportKind::InvalidFree);
  EXPECT_EQ(reports[0].image, "TestHost");
  EXPECT_EQ(machine_->PoolStatistics("TestHost").refusedFrees, 3u);
}

TEST_F(PoolTest, FreeByAnotherImage_AccountedToTheAllocator) {
  const HostImage other = machine_->AttachHostImage("OtherHost");
  VOID* buffer = Allocate(other.bootServices, 24);
  ASSERT_EQ(bs_->FreePool(buffer), EFI_SUCCESS);

  const PoolStats allocator = machine_->PoolStatistics("OtherHost");
  EXPECT_EQ(allocator.frees, 1u);
  EXPECT_EQ(allocator.bytesOutstanding, 0u);
  EXPECT_EQ(allocator.peakBytes, 24u);
  EXPECT_TRUE(machine_->EndBoot().leaks.Empty());
  machine_->StartBoot();
}

TEST_F(PoolTest, InvalidPoolTypeOrBufferPointer_Refused) {
  VOID* buffer = nullptr;
  EXPECT_EQ(bs_->AllocatePool(EfiConventionalMemory, 8, &buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->AllocatePool(EfiMaxMemoryType, 8, &buffer), EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(machine_->PoolStatistics("TestHost").allocations, 0u);
}

}  // namespace
}  // namespace carvex::sim::test

// The platform's capacity totals and their boot-long cache.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Capacity.h>

namespace {

struct Total {
  UINT64 (EFIAPI *Get)(BOOLEAN);
  UINT64  Expected;
};

TEST (CapacityTotals, ReadOnceThenCached_RefreshAsksAgain)
{
  FakePlatform Fake;
  Fake.Resources = { 100, 200, 300, 400, 500, 600 };  // raw .. reserved
  const Total Totals[] = {
    { GetTotalRawCapacity, 100 },
    { GetTotalVolatileCapacity, 200 },
    { GetTotalAppDirectCapacity, 300 },
    { GetTotalUnconfiguredCapacity, 400 },
    { GetTotalInaccessibleCapacity, 500 },
    { GetTotalReservedCapacity, 600 },
  };
  for (const Total &Entry : Totals) {
    EXPECT_EQ (Entry.Get (FALSE), Entry.Expected);
  }

  EXPECT_EQ (Fake.Calls["GetMemoryResourcesInfo"], 1u);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetTotalRawCapacity:Exit:64\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "GetTotalReservedCapacity:Exit:258\n"));

  Fake.Resources.RawCapacity = 101;
  EXPECT_EQ (GetTotalRawCapacity (FALSE), 100u);
  EXPECT_EQ (GetTotalRawCapacity (TRUE), 101u);
  EXPECT_EQ (GetTotalVolatileCapacity (TRUE), 200u);
  EXPECT_EQ (Fake.Calls["GetMemoryResourcesInfo"], 3u);
}

TEST (CapacityTotals, FailedRefresh_ZeroAndCacheLeftZeroed)
{
  FakePlatform Fake;
  Fake.ResourcesStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ (GetTotalAppDirectCapacity (FALSE), 0u);
  // Never valid yet: the next request asks again.
  Fake.ResourcesStatus = EFI_SUCCESS;
  Fake.Resources = { 1, 2, 3, 4, 5, 6 };
  EXPECT_EQ (GetTotalAppDirectCapacity (FALSE), 3u);
  EXPECT_EQ (Fake.Calls["GetMemoryResourcesInfo"], 2u);

  // A failed refresh of a valid cache leaves it zeroed but still valid.
  Fake.ResourcesStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ (GetTotalAppDirectCapacity (TRUE), 0u);
  EXPECT_EQ (GetTotalRawCapacity (FALSE), 0u);
  EXPECT_EQ (Fake.Calls["GetMemoryResourcesInfo"], 3u);
}

}  // namespace

// Region query: records as the driver keeps them, and nothing left behind.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Regions.h>
#include <Library/MemoryAllocationLib.h>

namespace {

REGION_RECORD
Region (UINT16 Id, UINT16 Socket, UINT8 Type, UINT64 Capacity, UINT64 Free)
{
  REGION_RECORD Record;
  std::memset (&Record, 0x5A, sizeof (Record));
  Record.RegionId               = Id;
  Record.SocketId               = Socket;
  Record.RegionType             = Type;
  Record.Capacity               = Capacity;
  Record.FreeCapacity           = Free;
  Record.AppDirNamespaceMaxSize = Free - 0x1000;
  Record.AppDirNamespaceMinSize = 0x1000;
  return Record;
}

TEST (GetRegionDetails, Regions_CopiedInOrderWithWideIds)
{
  FakePlatform Fake;
  Fake.Regions = { Region (0xFFFF, 1, REGION_TYPE_APP_DIRECT | REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED, 0x300000000, 0x200000000),
                   Region (2, 0, REGION_TYPE_APP_DIRECT, 0x100000000, 0x100000000) };
  REGION_DETAILS *Regions = nullptr;
  UINT32 Count = 0;
  ASSERT_EQ (GetRegionDetails (&Regions, &Count), EFI_SUCCESS);
  ASSERT_EQ (Count, 2u);
  EXPECT_EQ (Regions[0].RegionId, 0x0000FFFFu);
  EXPECT_EQ (Regions[0].SocketId, 1);
  EXPECT_EQ (Regions[0].RegionType, 3);
  EXPECT_EQ (Regions[0].Capacity, 0x300000000u);
  EXPECT_EQ (Regions[0].FreeCapacity, 0x200000000u);
  EXPECT_EQ (Regions[0].AppDirNamespaceMaxSize, 0x1FFFFF000u);
  EXPECT_EQ (Regions[0].AppDirNamespaceMinSize, 0x1000u);
  EXPECT_EQ (Regions[1].RegionId, 2u);
  FreePool (Regions);
  EXPECT_TRUE (Fake.Live.empty ());  // command status and its nodes too
}

TEST (GetRegionDetails, NoRegions_NullWithoutAskingForThem)
{
  FakePlatform Fake;
  REGION_DETAILS *Regions = reinterpret_cast<REGION_DETAILS *> (0x1);
  UINT32 Count = 7;
  EXPECT_EQ (GetRegionDetails (&Regions, &Count), EFI_SUCCESS);
  EXPECT_EQ (Regions, nullptr);
  EXPECT_EQ (Count, 0u);
  EXPECT_EQ (Fake.Calls["GetRegions"], 0u);
  EXPECT_EQ (Fake.Allocations, 0u);
}

TEST (GetRegionDetails, ProtocolFails_NoPartialArrayNothingLeaked)
{
  FakePlatform Fake;
  Fake.Regions = { Region (1, 0, REGION_TYPE_APP_DIRECT, 0x100000000, 0x100000000) };
  Fake.GetRegionsStatus = EFI_DEVICE_ERROR;
  REGION_DETAILS *Regions = nullptr;
  UINT32 Count = 0;
  EXPECT_EQ (GetRegionDetails (&Regions, &Count), EFI_DEVICE_ERROR);
  EXPECT_EQ (Regions, nullptr);
  EXPECT_EQ (Count, 0u);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetRegionDetails:GetRegions:Device Error:1:1\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetRegionDetails:Exit:Device Error\n"));
  EXPECT_TRUE (Fake.Live.empty ());

  Fake.GetRegionsStatus = EFI_SUCCESS;
  Fake.RegionCountStatus = EFI_NOT_READY;
  EXPECT_EQ (GetRegionDetails (&Regions, &Count), EFI_NOT_READY);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetRegionDetails:Unable to get region count:Not Ready\n"));
}

}  // namespace

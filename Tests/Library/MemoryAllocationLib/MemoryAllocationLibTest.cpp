// Pool helpers against a fake boot services table.
#include <gtest/gtest.h>

#include <cstring>

#include <Library/MemoryAllocationLib.h>

#include "../FakeBootServices.h"

namespace {

class MemoryAllocationLibTest : public ::testing::Test {
protected:
  FakeBootServices  Fake;
};

TEST_F (MemoryAllocationLibTest, EveryHelper_AllocatesBootServicesData)
{
  const UINT8  Data[4] = { 1, 2, 3, 4 };
  FreePool (AllocatePool (8));
  FreePool (AllocateZeroPool (8));
  FreePool (AllocateCopyPool (sizeof (Data), Data));
  FreePool (ReallocatePool (0, 8, nullptr));
  for (EFI_MEMORY_TYPE Type : Fake.PoolTypes) {
    EXPECT_EQ (Type, EfiBootServicesData);
  }

  EXPECT_EQ (Fake.PoolTypes.size (), 4u);
  EXPECT_TRUE (Fake.Live.empty ());
  EXPECT_EQ (Fake.FreeFailures, 0u);
}

TEST_F (MemoryAllocationLibTest, ZeroAndCopy_FillTheNewBlock)
{
  const UINT8  Data[4] = { 1, 2, 3, 4 };
  UINT8        *Zero = static_cast<UINT8 *> (AllocateZeroPool (16));
  UINT8        *Copy = static_cast<UINT8 *> (AllocateCopyPool (sizeof (Data), Data));
  ASSERT_NE (Zero, nullptr);
  ASSERT_NE (Copy, nullptr);
  for (UINTN Index = 0; Index < 16; Index++) {
    EXPECT_EQ (Zero[Index], 0) << Index;
  }

  EXPECT_EQ (std::memcmp (Copy, Data, sizeof (Data)), 0);
  FreePool (Zero);
  FreePool (Copy);
}

TEST_F (MemoryAllocationLibTest, ReallocateGrowAndShrink_KeepsDataFreesOld)
{
  UINT8  *Old = static_cast<UINT8 *> (AllocatePool (4));
  std::memcpy (Old, "\x11\x22\x33\x44", 4);

  UINT8  *Grown = static_cast<UINT8 *> (ReallocatePool (4, 8, Old));
  ASSERT_NE (Grown, nullptr);
  EXPECT_EQ (std::memcmp (Grown, "\x11\x22\x33\x44\0\0\0\0", 8), 0) << "tail reads as zero";
  EXPECT_EQ (Fake.Live.count (Old), 0u);

  UINT8  *Shrunk = static_cast<UINT8 *> (ReallocatePool (8, 2, Grown));
  ASSERT_NE (Shrunk, nullptr);
  EXPECT_EQ (std::memcmp (Shrunk, "\x11\x22", 2), 0);
  EXPECT_EQ (Fake.Live.size (), 1u);
  FreePool (Shrunk);
}

TEST_F (MemoryAllocationLibTest, AllocationFails_NullAndOldBufferKept)
{
  UINT8  *Old = static_cast<UINT8 *> (AllocateCopyPool (3, "abc"));
  Fake.FailNextAllocation = true;
  EXPECT_EQ (ReallocatePool (3, 64, Old), nullptr);
  EXPECT_EQ (Fake.Live.count (Old), 1u);
  EXPECT_EQ (std::memcmp (Old, "abc", 3), 0);

  Fake.FailNextAllocation = true;
  EXPECT_EQ (AllocateZeroPool (8), nullptr);
  Fake.FailNextAllocation = true;
  EXPECT_EQ (AllocateCopyPool (3, "abc"), nullptr);
  FreePool (Old);
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace

// Copies in both overlap directions, fills, comparisons and GUIDs.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include <Library/BaseMemoryLib.h>

namespace {

TEST (CopyMemTest, OverlapEitherWay_SameAsMemmove)
{
  const struct {
    UINTN  Destination;
    UINTN  Source;
    UINTN  Length;
  } Rows[] = {
    { 4, 0, 20 },  // destination inside the source: copies backwards
    { 0, 4, 20 },  // source inside the destination
    { 0, 0, 20 },
    { 10, 0, 10 }, // touching, no overlap
    { 3, 2, 0 },
  };

  for (const auto &Row : Rows) {
    std::vector<UINT8>  Expected (32);
    std::iota (Expected.begin (), Expected.end (), 1);
    std::vector<UINT8>  Actual = Expected;
    std::memmove (Expected.data () + Row.Destination, Expected.data () + Row.Source, Row.Length);
    EXPECT_EQ (CopyMem (Actual.data () + Row.Destination, Actual.data () + Row.Source, Row.Length), Actual.data () + Row.Destination);
    EXPECT_EQ (Actual, Expected) << Row.Destination << " <- " << Row.Source;
  }
}

TEST (SetMemTest, FillAndZero_OnlyTheRange)
{
  UINT8  Buffer[8] = { 9, 9, 9, 9, 9, 9, 9, 9 };
  SetMem (Buffer + 1, 3, 0x7E);
  ZeroMem (Buffer + 5, 2);
  ZeroMemSecure (Buffer + 4, 1);
  const UINT8  Expected[8] = { 9, 0x7E, 0x7E, 0x7E, 0, 0, 0, 9 };
  EXPECT_EQ (std::memcmp (Buffer, Expected, sizeof (Buffer)), 0);
}

TEST (CompareMemTest, FirstDifference_DecidesSignAsUnsigned)
{
  const UINT8  A[] = { 1, 2, 0x80 };
  const UINT8  B[] = { 1, 2, 0x7F };
  EXPECT_GT (CompareMem (A, B, 3), 0);
  EXPECT_LT (CompareMem (B, A, 3), 0);
  EXPECT_EQ (CompareMem (A, B, 2), 0);
  EXPECT_EQ (CompareMem (A, B, 0), 0);
}

TEST (GuidTest, CopyThenCompare_EqualUntilOneByteDiffers)
{
  const EFI_GUID  Source = { 0x11223344, 0x5566, 0x7788, { 1, 2, 3, 4, 5, 6, 7, 8 } };
  EFI_GUID        Copy;
  EXPECT_EQ (CopyGuid (&Copy, &Source), &Copy);
  EXPECT_TRUE (CompareGuid (&Copy, &Source));
  Copy.Data4[7] ^= 1;
  EXPECT_FALSE (CompareGuid (&Copy, &Source));
}

}  // namespace

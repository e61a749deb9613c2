// Address range scrub stop and restart on every module.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Scrub.h>

namespace {

TEST (DcpmmArsOp, StopWithoutScrub_NothingSent)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1") };
  Fake.Scrub[0x1001] = { 0, 0, 0x1000, 0x1000, false };
  EXPECT_EQ (DcpmmArsOp (TRUE), EFI_SUCCESS);
  EXPECT_EQ (Fake.Calls["PassThru"], 0u);
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "DcpmmArsOp Ars may already scrub over continue\n"));
}

TEST (DcpmmArsOp, StartWithUnreadableModule_OthersStillStarted)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2"), MakeDimm (3, 0, u"A3") };
  Fake.Scrub[0x1001] = { 0, 0, 0x1000, 0x800, false };
  Fake.Scrub[0x1002] = { 0, 0, 0x2000, 0x900, true };
  Fake.Scrub[0x1003] = { 0, 0, 0x3000, 0xA00, false };
  EXPECT_EQ (DcpmmArsOp (FALSE), EFI_SUCCESS);
  ASSERT_EQ (Fake.ScrubWrites.size (), 2u);
  EXPECT_EQ (Fake.ScrubWrites[0].Handle, 0x1001u);
  EXPECT_EQ (Fake.ScrubWrites[0].Start, 0x800u);
  EXPECT_EQ (Fake.ScrubWrites[1].Handle, 0x1003u);
  EXPECT_EQ (Fake.ScrubWrites[1].End, 0x3000u);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "DcpmmArsOp Index 1 GetDIMMArsConfig ERROR :Device Error\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "DcpmmArsOp Ars start normal\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (DcpmmArsOp, PassThruAbsent_LocateStatus)
{
  FakePlatform Fake;
  Fake.PublishPassThru = false;
  Fake.Dimms = { MakeDimm (1, 0, u"A1") };
  Fake.Scrub[0x1001] = { 1, 0, 0x1000, 0x800, false };
  EXPECT_EQ (DcpmmArsOp (TRUE), EFI_NOT_FOUND);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "DcpmmArsOp:Fail to locate the NVM DIMM config protocol:Not Found\n"));
  UINT8 Enabled = 0;
  UINT64 Current = 0, End = 0;
  EXPECT_EQ (GetDcpmmArsConfig (0x1001, &Enabled, &Current, &End), EFI_NOT_FOUND);
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace

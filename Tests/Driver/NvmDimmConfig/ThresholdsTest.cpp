// The percentage-remaining alarm threshold pushed to the modules.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Thresholds.h>

namespace {

TEST (ConfigPercentageRemainingThresholds, MixedModules_OnlyDifferingWrittenEnabledStateKept)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2"), MakeDimm (3, 0, u"A3"), MakeDimm (4, 0, u"A4") };
  Fake.Thresholds[1] = { 10, 1 };
  Fake.Thresholds[2] = { 20, 1 };
  Fake.Thresholds[4] = { 50, 0 };
  Fake.ThresholdReadFails = { 3 };

  EXPECT_EQ (ConfigPercentageRemainingThresholds (10), EFI_SUCCESS);
  ASSERT_EQ (Fake.ThresholdWrites.size (), 3u);
  EXPECT_EQ (Fake.ThresholdWrites[0].DimmId, 2);
  EXPECT_EQ (Fake.ThresholdWrites[0].Threshold, 10);
  EXPECT_EQ (Fake.ThresholdWrites[0].Enabled, 1);
  // An unreadable module is written, as disabled.
  EXPECT_EQ (Fake.ThresholdWrites[1].DimmId, 3);
  EXPECT_EQ (Fake.ThresholdWrites[1].Enabled, 0);
  EXPECT_EQ (Fake.ThresholdWrites[2].DimmId, 4);
  EXPECT_EQ (Fake.ThresholdWrites[2].Enabled, 0);
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "ConfigPercentageRemainingThresholds: DimmId 0x0001, SpareBlockAlarmOrgEnabledState: 1, SpareBlockAlarmThresholdsOrg: 10, no need to change thresholds\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "ConfigPercentageRemainingThresholds: DimmId 0x0002, thresholds changed, 20 -> 10\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "ConfigPercentageRemainingThresholds: GetAlarmThresholds failed for DimmId 0x0003, Status: Device Error\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (ConfigPercentageRemainingThresholds, EarlierWriteFails_LastCallDecidesStatus)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2") };
  Fake.Thresholds[1] = { 20, 1 };
  Fake.Thresholds[2] = { 20, 1 };
  Fake.ThresholdWriteFails = { 1 };
  EXPECT_EQ (ConfigPercentageRemainingThresholds (30), EFI_SUCCESS);
  EXPECT_EQ (Fake.ThresholdWrites.size (), 2u);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "ConfigPercentageRemainingThresholds: SetAlarmThresholds failed for DimmId 0x0001, Status: Device Error\n"));

  Fake.ThresholdWriteFails = { 2 };
  EXPECT_EQ (ConfigPercentageRemainingThresholds (40), EFI_DEVICE_ERROR);
  EXPECT_TRUE (Fake.Logged (DEBUG_INFO, "ConfigPercentageRemainingThresholds: Exit Status = Device Error.\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace

// Allocation-failure sweeps: each scenario is run with its first, second,
// third ... pool allocation failing until it runs through untouched. Every
// run must end without a crash, a leak or a bad free, and must report the
// failure (an error status or an error line); where the failing allocation
// has its own documented line, that line.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "../FakePlatform.h"
#include "../Setup/FakeHiiBox.h"
#include <NvmDimmConfig/Convert.h>
#include <NvmDimmConfig/DimmInventory.h>
#include <NvmDimmConfig/Goals.h>
#include <NvmDimmConfig/Regions.h>
#include <NvmDimmConfig/Security.h>
#include <NvmDimmConfig/Thresholds.h>
#include <Library/MemoryAllocationLib.h>

namespace {

struct Scenario {
  const char                                  *Name;
  std::function<void (FakePlatform &)>        Setup;  // before every run
  std::function<EFI_STATUS ()>                Run;    // frees what it receives
  EFI_STATUS                                  Success;
  size_t                                      Kept;   // blocks kept for the boot
  std::map<UINTN, std::string>                Lines;  // failing allocation: error line
};

void
TwoModules (FakePlatform &Fake)
{
  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_LOCKED), MakeDimm (2, 1, u"B1", DIMM_SECURITY_STATE_LOCKED) };
  Fake.Thresholds[1] = { 20, 1 };
  Fake.Thresholds[2] = { 30, 1 };
  Fake.Scrub[0x1001] = { 1, 0, 0x100000, 0x4000, false };
  Fake.Scrub[0x1002] = { 1, 0, 0x100000, 0x8000, false };
  REGION_RECORD Region{};
  Region.RegionId = 1;
  Region.Capacity = Region.FreeCapacity = 0x100000000;
  Fake.Regions = { Region };
  GOAL_RECORD Goal{};
  Goal.DimmHandle = 0x1001;
  Fake.Goals = { Goal };
  Fake.OnSetSecurityState = [&Fake] (const SecurityCall &Call) -> SecurityAnswer {
    if ((Call.Operation == SECURITY_OPERATION_SECURE_ERASE) && Fake.ScrubInProgress ()) {
      return { EFI_ABORTED, NVM_ERR_ARS_IN_PROGRESS };
    }

    if ((Call.Operation == SECURITY_OPERATION_UNLOCK) && (Call.DimmIds.at (0) == 2)) {
      return { EFI_ACCESS_DENIED, NVM_ERR_INVALID_PASSPHRASE };
    }

    return {};
  };
}

EFI_STATUS
FirstError (std::initializer_list<EFI_STATUS> Statuses)
{
  for (EFI_STATUS Status : Statuses) {
    if (EFI_ERROR (Status)) {
      return Status;
    }
  }

  return EFI_SUCCESS;
}

const Scenario  kScenarios[] = {
  { "ModuleDetails", TwoModules, [] {
      DIMM_DETAILS *Dimms = nullptr;
      UINT32 Count = 0;
      EFI_STATUS Status = GetDimmDetails (&Dimms, &Count);
      if (Dimms != nullptr) {
        FreePool (Dimms);
      }

      return Status;
    }, EFI_SUCCESS, 0,
    { { 1, "GetDimmDetails:Allocate failure for pDimms\n" }, { 2, "GetDimmDetails:Allocate failure\n" } } },
  { "Regions", TwoModules, [] {
      REGION_DETAILS *Regions = nullptr;
      UINT32 Count = 0;
      EFI_STATUS Status = GetRegionDetails (&Regions, &Count);
      if (Regions != nullptr) {
        FreePool (Regions);
      }

      return Status;
    }, EFI_SUCCESS, 0,
    { { 1, "GetRegionDetails:Fail to allocate region info buffer\n" },
      { 2, "GetRegionDetails:Fail to InitializeCommandStatus:Out of Resources\n" },
      { 3, "GetRegionDetails:Fail to allocate region details buffer\n" } } },
  { "Goals", TwoModules, [] {
      UINT16 NvmStatus = 0;
      UINT16 Sockets[] = { 0 };
      std::memset (&mPendingGoal, 0, sizeof (mPendingGoal));
      return FirstError ({ GetPendingGoalDetails (&mPendingGoal),
                           CreateGoal (nullptr, 0, Sockets, 1, GOAL_MEMORY_TYPE_APP_DIRECT, 50, &NvmStatus),
                           DeleteGoal (nullptr, 0, nullptr, 0) });
    }, EFI_SUCCESS, 0,
    { { 1, "GetPendingGoalDetails:Fail to InitializeCommandStatus:Out of Resources\n" },
      { 2, "CreateGoal:Fail to InitializeCommandStatus:Out of Resources\n" },
      { 3, "DeleteGoal:Fail to InitializeCommandStatus:Out of Resources\n" } } },
  { "SecureEraseDuringScrub", TwoModules, [] {
      CHAR16 Passphrase[] = u"secret";
      UINT16 NvmStatus = 0;
      return SetSystemSecurityState (nullptr, 0, SECURITY_OPERATION_SECURE_ERASE, Passphrase, nullptr, &NvmStatus);
    }, EFI_SUCCESS, 0, { { 1, "SetSystemSecurityState:Fail to InitializeCommandStatus:Out of Resources\n" } } },
  { "Unlock", TwoModules, [] {
      CHAR16 Passphrase[] = u"secret";
      BOOLEAN Locked = FALSE;
      UnlockLockedDcpmms (Passphrase, &Locked);
      return EFI_SUCCESS;
    }, EFI_SUCCESS, 1, { { 1, "UnlockLockedDcpmms:Fail to InitializeCommandStatus:Out of Resources\n" } } },
  { "Thresholds", TwoModules, [] { return ConfigPercentageRemainingThresholds (25); }, EFI_SUCCESS, 0,
    { { 1, "ConfigPercentageRemainingThresholdsFailed on InitializeCommandStatus\n" },
      { 2, "ConfigPercentageRemainingThresholds: Allocate failed for SpareBlockAlarmThresholdsOrg\n" },
      { 3, "ConfigPercentageRemainingThresholds: Allocate failed for SpareBlockAlarmOrgEnabledState\n" } } },
  { "TypedCapacity", TwoModules, [] {
      CHAR16 Text[] = u" 1.50";
      UINT64 Bytes = 0;
      return ConvertCapacityStrToBytes (kFakeHiiHandle, CAPACITY_UNITS_GIB, Text, &Bytes);
    }, EFI_SUCCESS, 0, { { 1, "ConvertCapacityStrToBytes:StringToDouble Not Found\n" } } },
  { "MemoryTypeText", TwoModules, [] {
      CHAR16 *Text = nullptr;
      EFI_STATUS Status = ConvertPersistentMemoryTypeToStr (3, u"App Direct", u"App Direct Not Interleaved", &Text);
      if (Text != nullptr) {
        FreePool (Text);
      }

      return Status;
    }, EFI_SUCCESS, 0, {} },
};

// Names the scenario in test output instead of dumping its bytes.
void
PrintTo (const Scenario &S, std::ostream *Out)
{
  *Out << S.Name;
}

class AllocationFailure : public testing::TestWithParam<Scenario> {};

TEST_P (AllocationFailure, EachAllocationFailing_ReportedWithoutLeak)
{
  const Scenario &S = GetParam ();
  FakePlatform Fake;
  FakeHiiBox   Box;
  Box.Texts[{ "en-US", STR_DECIMAL_SEPARATOR }] = u".";
  for (UINTN FailAt = 1; ; FailAt++) {
    ASSERT_LT (FailAt, 200u) << "the scenario never ran through";
    S.Setup (Fake);
    Fake.Log.clear ();
    Fake.Allocations       = 0;
    Fake.FailedAllocations = 0;
    Fake.FailAllocationAt  = FailAt;

    EFI_STATUS Status = S.Run ();

    EXPECT_EQ (Fake.BadFrees, 0u) << "allocation " << FailAt;
    EXPECT_LE (Fake.Live.size (), S.Kept) << "allocation " << FailAt;
    if (Fake.FailedAllocations == 0) {
      EXPECT_EQ (Status, S.Success);
      EXPECT_GT (FailAt, 1u) << "the scenario allocates nothing";
      break;
    }

    EXPECT_TRUE (EFI_ERROR (Status) || Fake.AnyErrorLogged ()) << "allocation " << FailAt << " failed silently";
    auto Line = S.Lines.find (FailAt);
    if (Line != S.Lines.end ()) {
      EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, Line->second)) << "allocation " << FailAt << ": " << Line->second;
    }
  }
}

INSTANTIATE_TEST_SUITE_P (Sweep, AllocationFailure, testing::ValuesIn (kScenarios),
                          [] (const testing::TestParamInfo<Scenario> &Info) { return std::string (Info.param.Name); });

}  // namespace

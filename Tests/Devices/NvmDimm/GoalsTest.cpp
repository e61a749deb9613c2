// Goals: pending until the next memory initialisation, which re-splits the
// modules and re-forms the regions they belong to.
#include "NvmDimmBench.h"

#include <algorithm>
#include <utility>

namespace {

using GoalsTest = NvmDimmBench;
using RegionShape = std::pair<UINT8, UINT64>;  // type, capacity

std::vector<RegionShape> ShapesOnSocket (const std::vector<REGION_RECORD> &All, UINT16 SocketId)
{
  std::vector<RegionShape>  Shapes;
  for (const auto &Region : All) {
    if (Region.SocketId == SocketId) {
      Shapes.emplace_back (Region.RegionType, Region.Capacity);
    }
  }
  std::sort (Shapes.begin (), Shapes.end ());
  return Shapes;
}

bool NamespaceOnSocket (const std::vector<NAMESPACE_INFO> &All, const std::vector<REGION_RECORD> &Regions, UINT16 SocketId)
{
  for (const auto &Namespace : All) {
    for (const auto &Region : Regions) {
      if (Region.RegionId == Namespace.RegionId && Region.SocketId == SocketId) {
        return true;
      }
    }
  }
  return false;
}

struct AppliedGoal {
  const char                *Name;
  std::vector<UINT16>       DimmIds;
  std::vector<UINT16>       SocketIds;
  UINT8                     Type;
  UINT32                    VolatilePercent;
  std::vector<RegionShape>  Socket0;
  std::vector<RegionShape>  Socket1;
  bool                      Socket0KeepsNamespace;
  bool                      Socket1KeepsNamespace;
};

const RegionShape  Ad768{ REGION_TYPE_APP_DIRECT, 768 * GiB };
const RegionShape  Ad640{ REGION_TYPE_APP_DIRECT, 640 * GiB };
const RegionShape  Ad384{ REGION_TYPE_APP_DIRECT, 384 * GiB };
const RegionShape  Adni96{ REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED, 96 * GiB };
const RegionShape  Adni128{ REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED, 128 * GiB };

const AppliedGoal  kAppliedGoals[] = {
  { "SocketNotInterleaved", {}, { 1 }, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED, 25,
    { Ad768 }, { Adni96, Adni96, Adni96, Adni96, Adni96, Adni96 }, true, false },
  { "PlatformHalfMemoryMode", {}, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 50, { Ad384 }, { Ad384 }, false, false },
  { "OneModuleAllMemoryMode", { 1 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 100, { Ad640 }, { Ad768 }, false, true },
  { "OneModuleLeavesInterleaveSet", { 2 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED, 0,
    { Ad640, Adni128 }, { Ad768 }, false, true },
};

void PrintTo (const AppliedGoal &Goal, std::ostream *Out)
{
  *Out << Goal.Name;
}

class AppliedGoalTest : public NvmDimmBench, public ::testing::WithParamInterface<AppliedGoal> {};

TEST_P (AppliedGoalTest, NextBoot_RegionsReformedAndNamespacesOfChangedRegionsLost)
{
  const AppliedGoal  &Goal    = GetParam ();
  auto               Before   = Regions ();

  for (const auto &Region : Before) {
    ASSERT_EQ (CreateNamespace (Region.RegionId, 6 * GiB).Status, EFI_SUCCESS);
  }
  auto  Created = CreateGoal (Goal.DimmIds, Goal.SocketIds, Goal.Type, Goal.VolatilePercent);
  ASSERT_EQ (Created.Status, EFI_SUCCESS);
  EXPECT_EQ (Created.Nvm, NVM_SUCCESS);

  // Nothing changes before the platform's memory initialisation.
  EXPECT_EQ (ShapesOnSocket (Regions (), 0), ShapesOnSocket (Before, 0));
  EXPECT_EQ (Namespaces ().size (), Before.size ());
  EXPECT_FALSE (Goals ().empty ());

  Reboot ();
  auto  After = Regions ();
  auto  Kept  = Namespaces ();
  EXPECT_EQ (ShapesOnSocket (After, 0), Goal.Socket0);
  EXPECT_EQ (ShapesOnSocket (After, 1), Goal.Socket1);
  EXPECT_EQ (NamespaceOnSocket (Kept, After, 0), Goal.Socket0KeepsNamespace);
  EXPECT_EQ (NamespaceOnSocket (Kept, After, 1), Goal.Socket1KeepsNamespace);
  EXPECT_TRUE (Goals ().empty ());
  for (const auto &Record : Dimms ()) {
    EXPECT_EQ (Record.Configured, 1);
    EXPECT_EQ (Record.VolatileCapacity + Record.AppDirectCapacity + Record.ReservedCapacity +
               Record.UnconfiguredCapacity + Record.InaccessibleCapacity, Record.RawCapacity);
  }
}

INSTANTIATE_TEST_SUITE_P (
  Goals,
  AppliedGoalTest,
  ::testing::ValuesIn (kAppliedGoals),
  [](const ::testing::TestParamInfo<AppliedGoal> &Info) { return std::string (Info.param.Name); }
  );

TEST_F (GoalsTest, PendingGoal_ReportedPerModuleWithSizes)
{
  ASSERT_EQ (CreateGoal ({}, { 1 }, GOAL_MEMORY_TYPE_APP_DIRECT, 25).Status, EFI_SUCCESS);
  auto  Pending = Goals ();
  auto  Records = Dimms ();

  ASSERT_EQ (Pending.size (), 6u);
  for (size_t Index = 0; Index < Pending.size (); Index++) {
    EXPECT_EQ (Pending[Index].SocketId, 1);
    EXPECT_EQ (Pending[Index].DimmHandle, Records[6 + Index].DimmHandle);
    EXPECT_EQ (Pending[Index].VolatileSize, 32 * GiB);
    EXPECT_EQ (Pending[Index].AppDirect1Size, 96 * GiB);
    EXPECT_EQ (Pending[Index].AppDirect2Size, 0u);
  }
}

TEST_F (GoalsTest, GoalTableTooSmall_NeededCountReported)
{
  ASSERT_EQ (CreateGoal ({}, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0).Status, EFI_SUCCESS);
  GOAL_RECORD       Records[4];
  UINT32            Count = 0;
  CommandStatusBox  Status;
  EXPECT_EQ (Config->GetGoalConfigs (Config, nullptr, 0, nullptr, 0, 4, Records, &Count, &Status), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ (Count, 12u);
}

TEST_F (GoalsTest, Refusals_NoModuleGetsAGoal)
{
  NVM_PLATFORM_DESCRIPTION  Board = DefaultBoard ();
  Board.Dimms[3].SecurityEnabled  = 1;
  std::u16string  Passphrase      = u"secret";
  std::copy (Passphrase.begin (), Passphrase.end (), Board.Dimms[3].Passphrase);
  Boot (Board);
  ASSERT_EQ (CreateGoal ({ 12 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 10).Status, EFI_SUCCESS);

  struct Case {
    const char           *Name;
    std::vector<UINT16>  DimmIds;
    std::vector<UINT16>  SocketIds;
    UINT8                Type;
    UINT32               VolatilePercent;
    UINT16               Nvm;
  } Cases[] = {
    { "locked module on the socket", {}, { 0 }, GOAL_MEMORY_TYPE_APP_DIRECT, 0, NVM_ERR_CREATE_GOAL_NOT_ALLOWED },
    { "goal already pending", {}, { 1 }, GOAL_MEMORY_TYPE_APP_DIRECT, 0, NVM_ERR_GOAL_ALREADY_EXISTS },
    { "unknown memory type", { 1 }, {}, 3, 0, NVM_ERR_INVALID_GOAL_PARAMETERS },
    { "over 100 percent", { 1 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 101, NVM_ERR_INVALID_GOAL_PARAMETERS },
    { "absent socket", {}, { 2 }, GOAL_MEMORY_TYPE_APP_DIRECT, 0, NVM_ERR_SOCKET_NOT_FOUND },
    { "unknown module", { 40 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0, NVM_ERR_DIMM_NOT_FOUND },
    { "modules and sockets at once", { 1 }, { 0 }, GOAL_MEMORY_TYPE_APP_DIRECT, 0, NVM_ERR_INVALID_PARAMETER },
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE (Case.Name);
    auto  Result = CreateGoal (Case.DimmIds, Case.SocketIds, Case.Type, Case.VolatilePercent);
    EXPECT_TRUE (EFI_ERROR (Result.Status));
    EXPECT_EQ (Result.Nvm, Case.Nvm);
    EXPECT_EQ (Goals ().size (), 1u);
  }
}

TEST_F (GoalsTest, Delete_OnlyInScope)
{
  ASSERT_EQ (CreateGoal ({}, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 20).Status, EFI_SUCCESS);
  UINT16            Socket = 1;
  CommandStatusBox  First;
  ASSERT_EQ (Config->DeleteGoalConfig (Config, nullptr, 0, &Socket, 1, &First), EFI_SUCCESS);
  EXPECT_EQ (First.Objects ().size (), 6u);
  auto  Left = Goals ();
  ASSERT_EQ (Left.size (), 6u);
  EXPECT_EQ (Left[0].SocketId, 0);

  CommandStatusBox  Again;
  EXPECT_EQ (Config->DeleteGoalConfig (Config, nullptr, 0, &Socket, 1, &Again), EFI_NOT_FOUND);
  EXPECT_EQ (Again.General (), NVM_ERR_NO_GOAL_TO_DELETE);

  Reboot ();
  EXPECT_EQ (ShapesOnSocket (Regions (), 1), std::vector<RegionShape> { Ad768 });
}

TEST_F (GoalsTest, UnconfiguredModules_RegionsOnlyAfterGoal)
{
  NVM_PLATFORM_DESCRIPTION  Board = DefaultBoard ();
  for (UINT32 Index = 0; Index < Board.DimmCount; Index++) {
    Board.Dimms[Index].Configured = 0;
  }
  Boot (Board);
  EXPECT_TRUE (Regions ().empty ());
  EXPECT_EQ (Dimms ()[0].UnconfiguredCapacity, 128 * GiB);

  ASSERT_EQ (CreateGoal ({ 7, 8 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0).Status, EFI_SUCCESS);
  Reboot ();
  auto  After = Regions ();
  ASSERT_EQ (After.size (), 1u);
  EXPECT_EQ (After[0].SocketId, 1);
  EXPECT_EQ (After[0].DimmCount, 2);
  EXPECT_EQ (After[0].Capacity, 256 * GiB);
}

}  // namespace

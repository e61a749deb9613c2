// Goal creation, deletion and the pending goals.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Goals.h>

namespace {

TEST (GetPendingGoalDetails, GoalRecords_ParallelArraysAndCount)
{
  FakePlatform Fake;
  for (UINT32 Index = 0; Index < 3; Index++) {
    GOAL_RECORD Goal;
    std::memset (&Goal, 0x5A, sizeof (Goal));
    Goal.DimmHandle     = 0x1001 + Index;
    Goal.SocketId       = static_cast<UINT16> (Index / 2);
    Goal.VolatileSize   = 0x100000000ULL * (Index + 1);
    Goal.AppDirect1Size = 0x10000000ULL * (Index + 1);
    Goal.AppDirect2Size = Index;
    Fake.Goals.push_back (Goal);
  }

  std::memset (&mPendingGoal, 0, sizeof (mPendingGoal));
  EXPECT_EQ (GetPendingGoalDetails (&mPendingGoal), EFI_SUCCESS);
  EXPECT_EQ (mPendingGoal.Count, 3u);
  EXPECT_EQ (mPendingGoal.DimmHandle[2], 0x1003u);
  EXPECT_EQ (mPendingGoal.SocketId[2], 1u);
  EXPECT_EQ (mPendingGoal.SocketId[1], 0u);
  EXPECT_EQ (mPendingGoal.VolatileSize[1], 0x200000000u);
  EXPECT_EQ (mPendingGoal.AppDirect1Size[2], 0x30000000u);
  EXPECT_EQ (mPendingGoal.AppDirect2Size[2], 2u);
  EXPECT_EQ (mPendingGoal.DimmHandle[3], 0u);
  EXPECT_TRUE (Fake.Live.empty ());

  // A failed query leaves the count the caller cleared.
  Fake.GetGoalsStatus = EFI_DEVICE_ERROR;
  std::memset (&mPendingGoal, 0, sizeof (mPendingGoal));
  EXPECT_EQ (GetPendingGoalDetails (&mPendingGoal), EFI_DEVICE_ERROR);
  EXPECT_EQ (mPendingGoal.Count, 0u);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (CreateGoal, Scopes_PassedWithFixedConstantsAndNvmStatusBack)
{
  FakePlatform Fake;
  UINT16 Status = 0;
  EXPECT_EQ (CreateGoal (nullptr, 0, nullptr, 0, GOAL_MEMORY_TYPE_APP_DIRECT, 40, &Status), EFI_SUCCESS);
  UINT16 Sockets[] = { 1 };
  Fake.CreateGoalAnswer = { EFI_ABORTED, NVM_ERR_CREATE_GOAL_NOT_ALLOWED };
  EXPECT_EQ (CreateGoal (nullptr, 0, Sockets, 1, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED, 100, &Status), EFI_ABORTED);
  EXPECT_EQ (Status, NVM_ERR_CREATE_GOAL_NOT_ALLOWED);

  ASSERT_EQ (Fake.GoalCreates.size (), 2u);
  for (const GoalCreateCall &Call : Fake.GoalCreates) {
    EXPECT_EQ (Call.Reserved, FALSE);
    EXPECT_EQ (Call.ReservedPercent, 0u);
    EXPECT_EQ (Call.ReserveDimm, 0);
    EXPECT_EQ (Call.LabelMajor, 1);
    EXPECT_EQ (Call.LabelMinor, 2);
  }

  EXPECT_TRUE (Fake.GoalCreates[0].DimmIds.empty ());
  EXPECT_TRUE (Fake.GoalCreates[0].SocketIds.empty ());
  EXPECT_EQ (Fake.GoalCreates[1].SocketIds, std::vector<UINT16> ({ 1 }));
  EXPECT_EQ (Fake.GoalCreates[1].PersistentMemType, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED);
  EXPECT_EQ (Fake.GoalCreates[1].VolatilePercent, 100u);
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "CreateGoal:DimmIdsCount 0, pDimmIds 0\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "CreateGoal:SocketIds[0]:0x0001\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "CreateGoal:CreateGoalConfig:Aborted:36\n"));

  UINT16 Dimms[] = { 0x11, 0x12 };
  EXPECT_EQ (DeleteGoal (Dimms, 2, nullptr, 0), EFI_SUCCESS);
  ASSERT_EQ (Fake.GoalDeletes.size (), 1u);
  EXPECT_EQ (Fake.GoalDeletes[0].first, std::vector<UINT16> ({ 0x11, 0x12 }));
  EXPECT_TRUE (Fake.GoalDeletes[0].second.empty ());
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "DeleteGoal:DimmIds[1]:0x0012\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (CreateGoal, ProtocolAbsent_StatusCodeAsTheCallerSetIt)
{
  FakePlatform Fake;
  Fake.PublishNvmDimmConfig = false;
  UINT16 Status = 0;
  EXPECT_EQ (CreateGoal (nullptr, 0, nullptr, 0, GOAL_MEMORY_TYPE_APP_DIRECT, 0, &Status), EFI_NOT_FOUND);
  EXPECT_EQ (Status, 0);
  EXPECT_EQ (DeleteGoal (nullptr, 0, nullptr, 0), EFI_NOT_FOUND);
}

}  // namespace

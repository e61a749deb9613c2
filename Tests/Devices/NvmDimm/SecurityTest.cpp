// Module security: the operations in each state, the wrong-passphrase limit,
// and the refusals that tie security to goals, namespaces and scrubs.
#include "NvmDimmBench.h"

namespace {

class SecurityTest : public NvmDimmBench {
protected:
  void EnableOn (UINT16 DimmId, const CHAR16 *Passphrase)
  {
    ASSERT_EQ (Security ({ DimmId }, SECURITY_OPERATION_ENABLE, nullptr, Passphrase).Status, EFI_SUCCESS);
  }
};

TEST_F (SecurityTest, EnableThenPowerCycle_LockedUntilUnlocked)
{
  EnableOn (1, u"pass");
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_UNLOCKED);
  Reboot ();
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_LOCKED);
  EXPECT_EQ (SecurityState (2), DIMM_SECURITY_STATE_DISABLED);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_UNLOCK, u"pass").Status, EFI_SUCCESS);
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_UNLOCKED);
}

TEST_F (SecurityTest, ThirdWrongPassphrase_ExceededUntilPowerCycle)
{
  EnableOn (1, u"pass");
  Reboot ();

  struct Attempt {
    const CHAR16  *Passphrase;
    UINT16        Nvm;
    UINT8         StateAfter;
  } Attempts[] = {
    { u"wrong", NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_LOCKED },
    { u"Pass", NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_LOCKED },
    { u"", NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_EXCEEDED },
    { u"pass", NVM_ERR_SECURITY_COUNT_EXPIRED, DIMM_SECURITY_STATE_EXCEEDED },
  };
  for (const auto &Attempt : Attempts) {
    auto  Result = Security ({ 1 }, SECURITY_OPERATION_UNLOCK, Attempt.Passphrase);
    EXPECT_TRUE (EFI_ERROR (Result.Status));
    EXPECT_EQ (Result.Nvm, Attempt.Nvm);
    EXPECT_EQ (SecurityState (1), Attempt.StateAfter);
  }

  Reboot ();
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_LOCKED);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_UNLOCK, u"pass").Nvm, NVM_SUCCESS);
}

TEST_F (SecurityTest, Operations_RefusedOrDoneByState)
{
  struct Case {
    const char     *Name;
    UINT16         Operation;
    const CHAR16   *Passphrase;
    const CHAR16   *NewPassphrase;
    UINT16         Nvm;
    UINT8          StateAfter;
  } Cases[] = {
    // Module 1 starts Disabled.
    { "disable without security", SECURITY_OPERATION_DISABLE, u"x", nullptr, NVM_ERR_INVALID_SECURITY_STATE, DIMM_SECURITY_STATE_DISABLED },
    { "enable with empty passphrase", SECURITY_OPERATION_ENABLE, nullptr, u"", NVM_ERR_NEW_PASSPHRASE_INVALID, DIMM_SECURITY_STATE_DISABLED },
    { "enable with 33 characters", SECURITY_OPERATION_ENABLE, nullptr, u"123456789012345678901234567890123", NVM_ERR_NEW_PASSPHRASE_INVALID, DIMM_SECURITY_STATE_DISABLED },
    { "enable with 32 characters", SECURITY_OPERATION_ENABLE, nullptr, u"12345678901234567890123456789012", NVM_SUCCESS, DIMM_SECURITY_STATE_UNLOCKED },
    { "enable twice", SECURITY_OPERATION_ENABLE, nullptr, u"other", NVM_ERR_INVALID_SECURITY_STATE, DIMM_SECURITY_STATE_UNLOCKED },
    { "unlock an unlocked module", SECURITY_OPERATION_UNLOCK, u"12345678901234567890123456789012", nullptr, NVM_ERR_INVALID_SECURITY_STATE, DIMM_SECURITY_STATE_UNLOCKED },
    { "change with wrong passphrase", SECURITY_OPERATION_CHANGE_PASSPHRASE, u"nope", u"next", NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_UNLOCKED },
    { "change", SECURITY_OPERATION_CHANGE_PASSPHRASE, u"12345678901234567890123456789012", u"next", NVM_SUCCESS, DIMM_SECURITY_STATE_UNLOCKED },
    { "disable with the old passphrase", SECURITY_OPERATION_DISABLE, u"12345678901234567890123456789012", nullptr, NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_UNLOCKED },
    { "third wrong passphrase", SECURITY_OPERATION_DISABLE, u"still wrong", nullptr, NVM_ERR_INVALID_PASSPHRASE, DIMM_SECURITY_STATE_EXCEEDED },
    { "right passphrase after the limit", SECURITY_OPERATION_DISABLE, u"next", nullptr, NVM_ERR_SECURITY_COUNT_EXPIRED, DIMM_SECURITY_STATE_EXCEEDED },
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE (Case.Name);
    auto  Result = Security ({ 1 }, Case.Operation, Case.Passphrase, Case.NewPassphrase);
    EXPECT_EQ (Result.Nvm, Case.Nvm);
    EXPECT_EQ (EFI_ERROR (Result.Status), Case.Nvm != NVM_SUCCESS);
    EXPECT_EQ (SecurityState (1), Case.StateAfter);
  }
}

TEST_F (SecurityTest, DisableWithPassphrase_SecurityOff)
{
  EnableOn (3, u"abc");
  EXPECT_EQ (Security ({ 3 }, SECURITY_OPERATION_DISABLE, u"abc").Nvm, NVM_SUCCESS);
  Reboot ();
  EXPECT_EQ (SecurityState (3), DIMM_SECURITY_STATE_DISABLED);
}

TEST_F (SecurityTest, EnableWhileGoalPending_Refused)
{
  ASSERT_EQ (CreateGoal ({ 2 }, {}, GOAL_MEMORY_TYPE_APP_DIRECT, 0).Status, EFI_SUCCESS);
  auto  Result = Security ({ 2 }, SECURITY_OPERATION_ENABLE, nullptr, u"pass");
  EXPECT_EQ (Result.Status, EFI_ACCESS_DENIED);
  EXPECT_EQ (Result.Nvm, NVM_ERR_ENABLE_SECURITY_NOT_ALLOWED);
  EXPECT_EQ (SecurityState (2), DIMM_SECURITY_STATE_DISABLED);
}

TEST_F (SecurityTest, EraseWithNamespacesOnModule_RefusedUntilDeleted)
{
  UINT16  Id = CreateNamespace (Regions ()[0].RegionId, 6 * GiB).Id;

  auto  Refused = Security ({ 4 }, SECURITY_OPERATION_SECURE_ERASE, u"");
  EXPECT_EQ (Refused.Nvm, NVM_ERR_NAMESPACES_EXIST);
  // A module of the other socket holds none of them.
  EXPECT_EQ (Security ({ 9 }, SECURITY_OPERATION_SECURE_ERASE, u"").Nvm, NVM_SUCCESS);

  CommandStatusBox  Delete;
  ASSERT_EQ (Config->DeleteNamespace (Config, FALSE, Id, &Delete), EFI_SUCCESS);
  EXPECT_EQ (Security ({ 4 }, SECURITY_OPERATION_SECURE_ERASE, u"").Nvm, NVM_SUCCESS);
  EXPECT_EQ (Model->Dimms[3].EraseCount, 1u);
}

TEST_F (SecurityTest, EraseWithPassphrase_ClearsSecurity)
{
  EnableOn (5, u"erase-me");
  Reboot ();
  EXPECT_EQ (Security ({ 5 }, SECURITY_OPERATION_SECURE_ERASE, u"bad").Nvm, NVM_ERR_INVALID_PASSPHRASE);
  EXPECT_EQ (Security ({ 5 }, SECURITY_OPERATION_SECURE_ERASE, u"erase-me").Nvm, NVM_SUCCESS);
  Reboot ();
  EXPECT_EQ (SecurityState (5), DIMM_SECURITY_STATE_DISABLED);
}

TEST_F (SecurityTest, ScrubInProgress_SecurityChangesRefused)
{
  EnableOn (6, u"pass");
  ASSERT_EQ (NvmModelStartScrub (Model.get (), 6), EFI_SUCCESS);
  ASSERT_EQ (NvmModelStartScrub (Model.get (), 7), EFI_SUCCESS);

  struct Case {
    UINT16        DimmId;
    UINT16        Operation;
    const CHAR16  *Passphrase;
    const CHAR16  *NewPassphrase;
    UINT16        Nvm;
  } Cases[] = {
    { 6, SECURITY_OPERATION_SECURE_ERASE, u"pass", nullptr, NVM_ERR_ARS_IN_PROGRESS },
    { 6, SECURITY_OPERATION_DISABLE, u"pass", nullptr, NVM_ERR_ARS_IN_PROGRESS_SECURITY },
    { 6, SECURITY_OPERATION_CHANGE_PASSPHRASE, u"pass", u"new", NVM_ERR_ARS_IN_PROGRESS_SECURITY },
    { 7, SECURITY_OPERATION_ENABLE, nullptr, u"pass", NVM_ERR_ARS_IN_PROGRESS_SECURITY },
    { 7, SECURITY_OPERATION_SECURE_ERASE, u"", nullptr, NVM_ERR_ARS_IN_PROGRESS },
  };
  for (const auto &Case : Cases) {
    auto  Result = Security ({ Case.DimmId }, Case.Operation, Case.Passphrase, Case.NewPassphrase);
    EXPECT_EQ (Result.Nvm, Case.Nvm) << Case.DimmId << " op " << Case.Operation;
  }
  // The refusals cost no passphrase attempt.
  EXPECT_EQ (Model->Dimms[5].WrongPassphrases, 0);
  EXPECT_EQ (SecurityState (6), DIMM_SECURITY_STATE_UNLOCKED);
}

TEST_F (SecurityTest, Frozen_ChangesRefusedUnlockAllowed)
{
  NVM_PLATFORM_DESCRIPTION  Board = DefaultBoard ();
  Board.Dimms[0].SecurityEnabled  = 1;
  Board.Dimms[0].FreezeAtPowerUp  = 1;
  Board.Dimms[0].Passphrase[0]    = u'p';
  Board.Dimms[1].FreezeAtPowerUp  = 1;
  Boot (Board);

  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_LOCKED);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_UNLOCK, u"p").Nvm, NVM_SUCCESS);
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_FROZEN);
  EXPECT_EQ (Security ({ 1 }, SECURITY_OPERATION_DISABLE, u"p").Nvm, NVM_ERR_SECURITY_FROZEN);
  EXPECT_EQ (Security ({ 2 }, SECURITY_OPERATION_ENABLE, nullptr, u"q").Nvm, NVM_ERR_SECURITY_FROZEN);
}

TEST_F (SecurityTest, SeveralModules_EachServedFirstRefusalReported)
{
  EnableOn (1, u"one");
  EnableOn (2, u"two");
  Reboot ();

  CommandStatusBox  Status;
  UINT16            Ids[]      = { 1, 2, 3 };
  CHAR16            Passphrase[] = u"two";
  EFI_STATUS        Result     = Config->SetSecurityState (Config, Ids, 3, SECURITY_OPERATION_UNLOCK, Passphrase, nullptr, &Status);

  EXPECT_EQ (Result, EFI_SECURITY_VIOLATION);
  EXPECT_EQ (Status.General (), NVM_ERR_INVALID_PASSPHRASE);
  auto  Objects = Status.Objects ();
  ASSERT_EQ (Objects.size (), 3u);
  EXPECT_EQ (Objects[0], std::make_pair (UINT32 (1), UINT16 (NVM_ERR_INVALID_PASSPHRASE)));
  EXPECT_EQ (Objects[1], std::make_pair (UINT32 (2), UINT16 (NVM_SUCCESS)));
  EXPECT_EQ (Objects[2], std::make_pair (UINT32 (3), UINT16 (NVM_ERR_INVALID_SECURITY_STATE)));
  EXPECT_EQ (SecurityState (2), DIMM_SECURITY_STATE_UNLOCKED);
}

TEST_F (SecurityTest, UnknownOperationOrModule_NothingChanges)
{
  EXPECT_EQ (Security ({ 1 }, 0, u"x").Nvm, NVM_ERR_INVALID_PARAMETER);
  EXPECT_EQ (Security ({ 1 }, 7, u"x").Nvm, NVM_ERR_INVALID_PARAMETER);
  auto  Unknown = Security ({ 1, 50 }, SECURITY_OPERATION_ENABLE, nullptr, u"pass");
  EXPECT_EQ (Unknown.Nvm, NVM_ERR_DIMM_NOT_FOUND);
  EXPECT_EQ (SecurityState (1), DIMM_SECURITY_STATE_DISABLED);
}

}  // namespace

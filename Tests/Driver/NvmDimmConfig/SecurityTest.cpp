// The rolled-up security state and security operations, including a secure
// erase that has to get an address range scrub out of the way.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/Security.h>

namespace {

TEST (GetSystemSecurityState, ModuleStates_RolledUpWithUnlockedOrFrozenFlag)
{
  FakePlatform Fake;
  const struct {
    std::vector<UINT8>  States;
    UINT8               Expected;
    BOOLEAN             UnlockedOrFrozen;
  } Cases[] = {
    { { 2, 3 }, DIMM_SECURITY_STATE_MIXED, TRUE },
    { { 1, 1, 1 }, DIMM_SECURITY_STATE_DISABLED, FALSE },
    { { 4 }, DIMM_SECURITY_STATE_FROZEN, TRUE },
    { { 6, 6 }, DIMM_SECURITY_STATE_EXCEEDED, FALSE },
    { { 1, 4, 1 }, DIMM_SECURITY_STATE_MIXED, TRUE },
    // The roll-up stops at the first difference; the flag looks at all.
    { { 1, 2, 3 }, DIMM_SECURITY_STATE_MIXED, TRUE },
    { { 7, 7 }, 7, FALSE },
  };
  for (const auto &Case : Cases) {
    Fake.Dimms.clear ();
    for (UINT8 State : Case.States) {
      Fake.Dimms.push_back (MakeDimm (static_cast<UINT16> (Fake.Dimms.size () + 1), 0, u"DIMM", State));
    }

    UINT8 State = 0xEE;
    BOOLEAN UnlockedOrFrozen = FALSE;
    EXPECT_EQ (GetSystemSecurityState (&State, &UnlockedOrFrozen), EFI_SUCCESS);
    EXPECT_EQ (State, Case.Expected) << testing::PrintToString (Case.States);
    EXPECT_EQ (UnlockedOrFrozen, Case.UnlockedOrFrozen) << testing::PrintToString (Case.States);
  }

  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (GetSystemSecurityState, NoModules_CallerValueKept)
{
  FakePlatform Fake;
  UINT8 State = 0x55;
  BOOLEAN UnlockedOrFrozen = FALSE;
  EXPECT_EQ (GetSystemSecurityState (&State, &UnlockedOrFrozen), EFI_SUCCESS);
  EXPECT_EQ (State, 0x55);
  EXPECT_EQ (UnlockedOrFrozen, FALSE);

  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_DISABLED) };
  Fake.GetDimmsStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ (GetSystemSecurityState (&State, nullptr), EFI_DEVICE_ERROR);
  EXPECT_EQ (State, 0x55);
}

TEST (LockedDcpmmsExist, LockedAmongOthers_TrueOnlyThen)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_UNLOCKED), MakeDimm (2, 0, u"A2", DIMM_SECURITY_STATE_DISABLED) };
  BOOLEAN Locked = FALSE;
  EXPECT_EQ (LockedDcpmmsExist (&Locked), EFI_SUCCESS);
  EXPECT_FALSE (Locked);
  Fake.Dimms[1].SecurityState = DIMM_SECURITY_STATE_LOCKED;
  EXPECT_EQ (LockedDcpmmsExist (&Locked), EFI_SUCCESS);
  EXPECT_TRUE (Locked);
  EXPECT_TRUE (Fake.Logged (DEBUG_WARN, "LockedDcpmmsExist:Exit:Success:LockedDcpmmsExist 1 \n"));
  EXPECT_EQ (LockedDcpmmsExist (nullptr), EFI_INVALID_PARAMETER);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (SetSystemSecurityState, PassphraseRules_RefusedBeforeTheProtocol)
{
  FakePlatform Fake;
  CHAR16 Old[] = u"old";
  CHAR16 New[] = u"new";
  CHAR16 Empty[] = u"";
  const struct {
    UINT16      Operation;
    CHAR16      *Passphrase;
    CHAR16      *NewPassphrase;
    EFI_STATUS  Status;
    const char  *Line;  // the refusal's own line, if any
  } Cases[] = {
    { SECURITY_OPERATION_ENABLE, nullptr, New, EFI_SUCCESS, nullptr },
    { SECURITY_OPERATION_ENABLE, nullptr, Empty, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No Newpassphrase\n" },
    { SECURITY_OPERATION_ENABLE, nullptr, nullptr, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No Newpassphrase\n" },
    { SECURITY_OPERATION_CHANGE_PASSPHRASE, nullptr, New, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No passphrase\n" },
    { SECURITY_OPERATION_CHANGE_PASSPHRASE, Old, Empty, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No Newpassphrase\n" },
    { SECURITY_OPERATION_CHANGE_PASSPHRASE, Old, New, EFI_SUCCESS, nullptr },
    { SECURITY_OPERATION_DISABLE, nullptr, nullptr, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No passphrase\n" },
    { SECURITY_OPERATION_UNLOCK, nullptr, nullptr, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No passphrase\n" },
    { SECURITY_OPERATION_SECURE_ERASE, nullptr, nullptr, EFI_INVALID_PARAMETER, "SetSystemSecurityState:No passphrase\n" },
    { SECURITY_OPERATION_SECURE_ERASE, Empty, nullptr, EFI_SUCCESS, nullptr },
    { SECURITY_OPERATION_FREEZE, Old, nullptr, EFI_UNSUPPORTED, nullptr },
    { 0, Old, New, EFI_INVALID_PARAMETER, nullptr },
    { 7, Old, New, EFI_INVALID_PARAMETER, nullptr },
  };
  for (const auto &Case : Cases) {
    Fake.SecurityCalls.clear ();
    Fake.Log.clear ();
    UINT16 NvmStatus = 0xEEEE;
    EXPECT_EQ (SetSystemSecurityState (nullptr, 0, Case.Operation, Case.Passphrase, Case.NewPassphrase, &NvmStatus), Case.Status) << Case.Operation;
    EXPECT_EQ (Fake.SecurityCalls.size (), Case.Status == EFI_SUCCESS ? 1u : 0u) << Case.Operation;
    EXPECT_EQ (NvmStatus, Case.Status == EFI_SUCCESS ? NVM_SUCCESS : 0xEEEE);
    if (Case.Line != nullptr) {
      EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, Case.Line)) << Case.Operation;
    }
  }

  EXPECT_TRUE (Fake.Live.empty ());
}

// Two modules scrubbing: module 1 has reached 0x4000, module 2 0x8000.
void
TwoModulesScrubbing (FakePlatform &Fake)
{
  Fake.Dimms = { MakeDimm (1, 0, u"A1"), MakeDimm (2, 0, u"A2") };
  Fake.Scrub[0x1001] = { 1, 0, 0x100000, 0x4000, false };
  Fake.Scrub[0x1002] = { 1, 0, 0x200000, 0x8000, false };
}

TEST (SetSystemSecurityState, EraseRefusedByScrub_StoppedRetriedAndResumedWhereItWas)
{
  FakePlatform Fake;
  TwoModulesScrubbing (Fake);
  Fake.OnSetSecurityState = [&Fake] (const SecurityCall &Call) -> SecurityAnswer {
    if ((Call.Operation == SECURITY_OPERATION_SECURE_ERASE) && Fake.ScrubInProgress ()) {
      return { EFI_ABORTED, NVM_ERR_ARS_IN_PROGRESS };
    }

    return {};
  };

  CHAR16 Passphrase[] = u"secret";
  UINT16 NvmStatus = 0;
  EXPECT_EQ (SetSystemSecurityState (nullptr, 0, SECURITY_OPERATION_SECURE_ERASE, Passphrase, nullptr, &NvmStatus), EFI_SUCCESS);
  EXPECT_EQ (NvmStatus, NVM_SUCCESS);
  ASSERT_EQ (Fake.SecurityCalls.size (), 2u);
  EXPECT_EQ (Fake.SecurityCalls[1].Passphrase, u"secret");

  // Stop on both, then start on both from the address each had reached.
  ASSERT_EQ (Fake.ScrubWrites.size (), 4u);
  const ScrubWrite Expected[] = {
    { 0x1001, 0, 0x4000, 0x100000, 0 },
    { 0x1002, 0, 0x8000, 0x200000, 0 },
    { 0x1001, 1, 0x4000, 0x100000, 0 },
    { 0x1002, 1, 0x8000, 0x200000, 0 },
  };
  for (size_t Index = 0; Index < 4; Index++) {
    EXPECT_EQ (Fake.ScrubWrites[Index].Handle, Expected[Index].Handle) << Index;
    EXPECT_EQ (Fake.ScrubWrites[Index].Enable, Expected[Index].Enable) << Index;
    EXPECT_EQ (Fake.ScrubWrites[Index].Start, Expected[Index].Start) << Index;
    EXPECT_EQ (Fake.ScrubWrites[Index].End, Expected[Index].End) << Index;
    EXPECT_EQ (Fake.ScrubWrites[Index].Current, 0u) << Index;
  }

  EXPECT_TRUE (Fake.ScrubInProgress ());
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (SetSystemSecurityState, EraseAlwaysRefusedByScrub_TenAttemptsThenScrubRestarted)
{
  FakePlatform Fake;
  TwoModulesScrubbing (Fake);
  Fake.OnSetSecurityState = [] (const SecurityCall &) -> SecurityAnswer {
    return { EFI_ABORTED, NVM_ERR_ARS_IN_PROGRESS_SECURITY };
  };

  CHAR16 Passphrase[] = u"";
  UINT16 NvmStatus = 0;
  EXPECT_EQ (SetSystemSecurityState (nullptr, 0, SECURITY_OPERATION_SECURE_ERASE, Passphrase, nullptr, &NvmStatus), EFI_ABORTED);
  EXPECT_EQ (NvmStatus, NVM_ERR_ARS_IN_PROGRESS_SECURITY);
  EXPECT_EQ (Fake.SecurityCalls.size (), 10u);
  EXPECT_EQ (Fake.CountLogged ("SetSystemSecurityState:SetSecurityState:Aborted:270\n"), 10u);
  // Stopped once (afterwards nothing runs), restarted once at the end.
  ASSERT_EQ (Fake.ScrubWrites.size (), 4u);
  EXPECT_EQ (Fake.ScrubWrites[2].Enable, 1);
  EXPECT_EQ (Fake.ScrubWrites[3].Enable, 1);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (SetSystemSecurityState, OtherOperationRefusedByScrub_NoRetryScrubUntouched)
{
  FakePlatform Fake;
  TwoModulesScrubbing (Fake);
  Fake.OnSetSecurityState = [] (const SecurityCall &) -> SecurityAnswer {
    return { EFI_ABORTED, NVM_ERR_ARS_IN_PROGRESS };
  };

  CHAR16 Passphrase[] = u"secret";
  UINT16 NvmStatus = 0;
  UINT16 Dimms[] = { 2 };
  EXPECT_EQ (SetSystemSecurityState (Dimms, 1, SECURITY_OPERATION_DISABLE, Passphrase, nullptr, &NvmStatus), EFI_ABORTED);
  EXPECT_EQ (NvmStatus, NVM_ERR_ARS_IN_PROGRESS);
  ASSERT_EQ (Fake.SecurityCalls.size (), 1u);
  EXPECT_EQ (Fake.SecurityCalls[0].DimmIds, std::vector<UINT16> ({ 2 }));
  EXPECT_TRUE (Fake.ScrubWrites.empty ());
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "SetSystemSecurityState:SecurityOperation 3 failed caused by ARS in progress\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace

// Unlock of every Locked module, its recorded outcomes and its audit entry.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/DimmInventory.h>
#include <NvmDimmConfig/Security.h>
#include <Library/MemoryAllocationLib.h>

namespace {

std::vector<UINT8>
OutcomesShown ()
{
  DIMM_DETAILS *Dimms = nullptr;
  UINT32 Count = 0;
  std::vector<UINT8> Outcomes;
  EXPECT_EQ (GetDimmDetails (&Dimms, &Count), EFI_SUCCESS);
  for (UINT32 Index = 0; Index < Count; Index++) {
    Outcomes.push_back (Dimms[Index].AutoUnlockState);
  }

  if (Dimms != nullptr) {
    FreePool (Dimms);
  }

  return Outcomes;
}

TEST (UnlockLockedDcpmms, MixedAnswers_OutcomePerModuleAndOneAuditEntry)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_LOCKED), MakeDimm (2, 0, u"A2", DIMM_SECURITY_STATE_LOCKED),
                 MakeDimm (3, 1, u"B1", DIMM_SECURITY_STATE_LOCKED), MakeDimm (4, 1, u"B2", DIMM_SECURITY_STATE_LOCKED),
                 MakeDimm (5, 1, u"B3", DIMM_SECURITY_STATE_DISABLED) };
  Fake.OnSetSecurityState = [] (const SecurityCall &Call) -> SecurityAnswer {
    switch (Call.DimmIds.at (0)) {
      case 2:
      case 4:
        return { EFI_ACCESS_DENIED, NVM_ERR_INVALID_PASSPHRASE };
      case 3:
        return { EFI_DEVICE_ERROR, NVM_ERR_UNKNOWN };
      default:
        return {};
    }
  };

  CHAR16 Passphrase[] = u"secret";
  BOOLEAN LockedFound = FALSE;
  UnlockLockedDcpmms (Passphrase, &LockedFound);
  EXPECT_TRUE (LockedFound);

  ASSERT_EQ (Fake.SecurityCalls.size (), 4u);
  for (const SecurityCall &Call : Fake.SecurityCalls) {
    EXPECT_EQ (Call.DimmIds.size (), 1u);
    EXPECT_EQ (Call.Operation, SECURITY_OPERATION_UNLOCK);
    EXPECT_EQ (Call.Passphrase, u"secret");
    EXPECT_FALSE (Call.HasNewPassphrase);
  }

  // Two refusals, one entry for the run.
  ASSERT_EQ (Fake.AuditEvents.size (), 1u);
  EXPECT_EQ (Fake.AuditEvents[0].EventCode, 0xFB04);
  EXPECT_EQ (Fake.AuditEvents[0].MessageId, "WJHSFMA0039K");
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "UnlockLockedDcpmms:Fails to unlock A2 (UID:8089-A2-0000-2)\n"));

  EXPECT_EQ (OutcomesShown (), std::vector<UINT8> ({ AUTO_UNLOCK_STATE_SUCCESS, AUTO_UNLOCK_STATE_INVALID_PASSPHRASE,
                                                     AUTO_UNLOCK_STATE_NOT_APPLICABLE, AUTO_UNLOCK_STATE_INVALID_PASSPHRASE,
                                                     AUTO_UNLOCK_STATE_NOT_APPLICABLE }));
  // Only the outcome table stays, for the rest of the boot.
  EXPECT_EQ (Fake.Live.size (), 1u);
}

TEST (UnlockLockedDcpmms, NoPassphrase_LockedModulesMarkedWithoutProtocolCalls)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_LOCKED), MakeDimm (2, 0, u"A2", DIMM_SECURITY_STATE_UNLOCKED) };
  BOOLEAN LockedFound = FALSE;
  UnlockLockedDcpmms (nullptr, &LockedFound);
  EXPECT_TRUE (LockedFound);
  EXPECT_TRUE (Fake.SecurityCalls.empty ());
  EXPECT_TRUE (Fake.AuditEvents.empty ());
  EXPECT_EQ (OutcomesShown (), std::vector<UINT8> ({ AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST, AUTO_UNLOCK_STATE_NOT_APPLICABLE }));
}

TEST (UnlockLockedDcpmms, ModuleNotSeenByTheRun_ReadsOther)
{
  FakePlatform Fake;
  Fake.Dimms = { MakeDimm (1, 0, u"A1", DIMM_SECURITY_STATE_LOCKED) };
  CHAR16 Passphrase[] = u"secret";
  BOOLEAN LockedFound = FALSE;
  UnlockLockedDcpmms (Passphrase, &LockedFound);
  // A second run replaces the first run's table rather than leaking it.
  UnlockLockedDcpmms (Passphrase, &LockedFound);
  EXPECT_EQ (Fake.Live.size (), 1u);

  Fake.Dimms.push_back (MakeDimm (2, 0, u"A1 ", DIMM_SECURITY_STATE_DISABLED));  // not the same locator
  EXPECT_EQ (OutcomesShown (), std::vector<UINT8> ({ AUTO_UNLOCK_STATE_SUCCESS, AUTO_UNLOCK_STATE_OTHER }));
}

}  // namespace

// The controller as the driver reaches it: the passphrase file, the audit
// log, remote presence, and injected communication failures.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Bmc/BmcModel.h"

namespace {

class BmcCommandsTest : public ::testing::Test {
protected:
  BmcCommandsTest () : Model (std::make_unique<BMC_MODEL> ()), Vesk (BmcDeviceCommandsProtocol ())
  {
    BmcModelInitialize (Model.get ());
    BmcDeviceBind (Model.get ());
  }

  ~BmcCommandsTest () override { BmcDeviceBind (nullptr); }

  EFI_STATUS Read (UINT8 FileId, std::vector<UINT8> &Data, UINT8 *Completion)
  {
    UINTN  Read = 0;
    Data.assign (VESK_PASSPHRASE_FILE_SIZE, 0xEE);
    EFI_STATUS  Status = Vesk->ReadFile (Vesk, FileId, 0, Data.size (), Data.data (), &Read, 0, Completion, TRUE);
    Data.resize (Read);
    return Status;
  }

  EFI_STATUS Write (UINT8 FileId, UINTN Offset, std::vector<UINT8> Data, UINT8 *Completion)
  {
    UINTN  Size = Data.size ();
    return Vesk->WriteFile (Vesk, FileId, Offset, Data.data (), &Size, 0, Completion, TRUE);
  }

  EFI_STATUS Audit (UINT16 Code, std::string Text, std::string Id)
  {
    UINT64  Completion = 0xFF;
    return Vesk->AddAuditLog (Vesk, Code, Text.data (), Id.data (), &Completion, 0);
  }

  std::unique_ptr<BMC_MODEL>  Model;
  VESK_COMMANDS_PROTOCOL      *Vesk;
};

TEST_F (BmcCommandsTest, PassphraseFile_WrittenWholeReadBack)
{
  std::vector<UINT8>  File (VESK_PASSPHRASE_FILE_SIZE, 0);
  std::vector<UINT8>  Back;
  UINT8               Completion = 0xFF;

  std::string  Text = "secret";
  std::copy (Text.begin (), Text.end (), File.begin ());
  ASSERT_EQ (Write (VESK_FILE_DCPMM_PASSPHRASE, 0, File, &Completion), EFI_SUCCESS);
  EXPECT_EQ (Completion, VESK_COMPLETION_OK);
  ASSERT_EQ (Read (VESK_FILE_DCPMM_PASSPHRASE, Back, &Completion), EFI_SUCCESS);
  EXPECT_EQ (Back, File);
}

TEST_F (BmcCommandsTest, MissingFile_NotFound)
{
  std::vector<UINT8>  Back;
  UINT8               Completion = 0;

  EXPECT_EQ (Read (VESK_FILE_DCPMM_PASSPHRASE, Back, &Completion), EFI_NOT_FOUND);
  EXPECT_EQ (Completion, VESK_COMPLETION_NOT_PRESENT);
  EXPECT_TRUE (Back.empty ());
}

TEST_F (BmcCommandsTest, PartialWrite_KeepsRestOfFile)
{
  std::vector<UINT8>  Back;
  UINT8               Completion;

  ASSERT_EQ (Write (5, 0, { 1, 2, 3, 4 }, &Completion), EFI_SUCCESS);
  ASSERT_EQ (Write (5, 2, { 9, 9, 9 }, &Completion), EFI_SUCCESS);
  ASSERT_EQ (Read (5, Back, &Completion), EFI_SUCCESS);
  EXPECT_EQ (Back, (std::vector<UINT8> { 1, 2, 9, 9, 9 }));
  EXPECT_EQ (Write (5, BMC_MAX_FILE_SIZE - 1, { 1, 2 }, &Completion), EFI_BAD_BUFFER_SIZE);
}

TEST_F (BmcCommandsTest, CommunicationFailures_ThenAnswer)
{
  std::vector<UINT8>  Back;
  UINT8               Completion;

  ASSERT_EQ (BmcModelSetFault (Model.get (), BMC_SLOT_READ_FILE, BmcFaultTimes, 0, 2, EFI_DEVICE_ERROR, VESK_COMPLETION_UNSPECIFIED), EFI_SUCCESS);
  EXPECT_EQ (Read (VESK_FILE_DCPMM_PASSPHRASE, Back, &Completion), EFI_DEVICE_ERROR);
  EXPECT_EQ (Read (VESK_FILE_DCPMM_PASSPHRASE, Back, &Completion), EFI_DEVICE_ERROR);
  EXPECT_EQ (Read (VESK_FILE_DCPMM_PASSPHRASE, Back, &Completion), EFI_NOT_FOUND);
  EXPECT_EQ (Model->CallCount[BMC_SLOT_READ_FILE], 3u);
}

TEST_F (BmcCommandsTest, AuditLog_KeepsNewestInOrder)
{
  for (UINT32 Index = 0; Index < BMC_MAX_AUDIT_EVENTS + 2; Index++) {
    ASSERT_EQ (Audit (static_cast<UINT16> (0xFB00 | (Index & 0xFF)), "event " + std::to_string (Index), "ID" + std::to_string (Index)), EFI_SUCCESS);
  }
  ASSERT_EQ (Model->AuditCount, static_cast<UINT32> (BMC_MAX_AUDIT_EVENTS));
  EXPECT_EQ (Model->AuditSequence, BMC_MAX_AUDIT_EVENTS + 2u);
  EXPECT_EQ (Model->Audit[0].Sequence, 3u);
  EXPECT_STREQ (Model->Audit[0].MessageText, "event 2");
  EXPECT_STREQ (Model->Audit[BMC_MAX_AUDIT_EVENTS - 1].MessageId, ("ID" + std::to_string (BMC_MAX_AUDIT_EVENTS + 1)).c_str ());
  EXPECT_EQ (BmcModelValidate (Model.get ()), EFI_SUCCESS);
}

TEST_F (BmcCommandsTest, AuditLog_LongTextCutAndTerminated)
{
  ASSERT_EQ (Audit (0xFB03, std::string (300, 'a'), std::string (40, 'b')), EFI_SUCCESS);
  EXPECT_EQ (std::string (Model->Audit[0].MessageText).size (), BMC_AUDIT_TEXT_LENGTH - 1u);
  EXPECT_EQ (std::string (Model->Audit[0].MessageId).size (), BMC_AUDIT_ID_LENGTH - 1u);
  EXPECT_EQ (Model->Audit[0].EventCode, 0xFB03);
}

TEST_F (BmcCommandsTest, RemotePresence_AssertedOnlyWhenEnabled)
{
  struct Case {
    UINT8  Enabled;
    UINT8  Asserted;
    UINT8  Seen;
  } Cases[] = { { 0, 1, 0 }, { 1, 0, 0 }, { 1, 1, 1 } };
  for (const auto &Case : Cases) {
    UINT8  Asserted   = 0xFF;
    UINT8  Completion = 0xFF;
    Model->RemotePresenceEnabled  = Case.Enabled;
    Model->RemotePresenceAsserted = Case.Asserted;
    ASSERT_EQ (Vesk->GetRemotePPAssert (Vesk, &Asserted, &Completion, 1), EFI_SUCCESS);
    EXPECT_EQ (Asserted, Case.Seen);
  }
}

TEST_F (BmcCommandsTest, LanTable_KeptUpToCapacity)
{
  std::vector<UINT64>  Table (BMC_MAX_LAN_ENTRIES + 3, 0x0102030405060708ULL);
  VOID                 *Pointer = Table.data ();
  UINT32               Count    = static_cast<UINT32> (Table.size ());
  UINT8                Completion;

  ASSERT_EQ (Vesk->UpdateLanSettingTable (Vesk, &Pointer, &Count, &Completion, 0), EFI_SUCCESS);
  EXPECT_EQ (Model->LanEntryCount, static_cast<UINT32> (BMC_MAX_LAN_ENTRIES));
  EXPECT_EQ (Pointer, Table.data ());
  EXPECT_EQ (Count, Table.size ());
}

TEST_F (BmcCommandsTest, CorruptStoredModel_Rejected)
{
  Model->AuditCount = BMC_MAX_AUDIT_EVENTS + 1;
  EXPECT_EQ (BmcModelValidate (Model.get ()), EFI_VOLUME_CORRUPTED);
  BmcModelInitialize (Model.get ());
  Model->Files[0] = { 1, 47, 0, BMC_MAX_FILE_SIZE + 1, {} };
  EXPECT_EQ (BmcModelValidate (Model.get ()), EFI_VOLUME_CORRUPTED);
}

}  // namespace

// Writing the passphrase file: what reaches the controller for each text,
// and the retry on communication failures.
#include <gtest/gtest.h>

#include <vector>

#include "../FakePlatform.h"
#include <Bmc/PassphraseFile.h>

namespace {

struct Controller {
  std::vector<EFI_STATUS>          Answers;  // per write; success after them
  std::vector<std::vector<UINT8>>  Writes;
  std::vector<UINTN>               Stalls;
};

Controller  *gController;

EFI_STATUS EFIAPI
WriteFile (VESK_COMMANDS_PROTOCOL *, UINT8 FileId, UINTN Offset, VOID *Buffer, UINTN *Size, UINTN Reserved, UINT8 *CompletionCode, BOOLEAN Wait)
{
  EXPECT_EQ (FileId, 47);
  EXPECT_EQ (Offset, 0u);
  EXPECT_EQ (Reserved, 0u);
  EXPECT_EQ (*CompletionCode, 0);
  EXPECT_TRUE (Wait);
  const UINTN  Index = gController->Writes.size ();
  gController->Writes.emplace_back ((UINT8 *)Buffer, (UINT8 *)Buffer + *Size);
  return Index < gController->Answers.size () ? gController->Answers[Index] : EFI_SUCCESS;
}

EFI_STATUS EFIAPI
Stall (UINTN Microseconds)
{
  gController->Stalls.push_back (Microseconds);
  return EFI_SUCCESS;
}

std::vector<UINT8>
FileOf (const std::string &Text)
{
  std::vector<UINT8>  Bytes (Text.begin (), Text.end ());
  Bytes.resize (33, 0);
  return Bytes;
}

struct WriteCase {
  const char      *Name;
  std::u16string  Text;
  EFI_STATUS      Status;
  std::string     Stored;  // what the file holds, when written
};

class PassphraseWriteTest : public ::testing::TestWithParam<WriteCase> {};

TEST_P (PassphraseWriteTest, Text_StoredAsEightBitFile) {
  const WriteCase  &C = GetParam ();
  FakePlatform     Fake;
  Controller       Ctl;
  gController                   = &Ctl;
  Fake.VeskCommands.WriteFile   = WriteFile;
  Fake.BootServices.Stall       = Stall;

  EXPECT_EQ (SetDcpmmPassphraseFile (C.Text.c_str ()), C.Status);
  if (C.Status == EFI_SUCCESS) {
    ASSERT_EQ (Ctl.Writes.size (), 1u);
    EXPECT_EQ (Ctl.Writes[0], FileOf (C.Stored));
  } else {
    EXPECT_TRUE (Ctl.Writes.empty ());
  }

  EXPECT_TRUE (Fake.Live.empty ());
}

INSTANTIATE_TEST_SUITE_P (
  Texts,
  PassphraseWriteTest,
  ::testing::Values (
    WriteCase{ "Plain", u"Carvex-Pass1", EFI_SUCCESS, "Carvex-Pass1" },
    WriteCase{ "Empty_ClearsTheFile", u"", EFI_SUCCESS, "" },
    WriteCase{ "ThirtyTwo", std::u16string (32, u'p'), EFI_SUCCESS, std::string (32, 'p') },
    WriteCase{ "ThirtyThree_Refused", std::u16string (33, u'p'), EFI_INVALID_PARAMETER, "" },
    WriteCase{ "NonAscii_EndsTheText", u"abc\u00e9def", EFI_SUCCESS, "abc" },
    WriteCase{ "Del_StillAscii", u"a\u007fb", EFI_SUCCESS, "a\x7f" "b" }
    ),
  [](const ::testing::TestParamInfo<WriteCase> &Info) { return std::string (Info.param.Name); }
  );

TEST (PassphraseFileTest, NullText_RefusedWithoutWriting)
{
  FakePlatform  Fake;
  Controller    Ctl;
  gController                 = &Ctl;
  Fake.VeskCommands.WriteFile = WriteFile;
  EXPECT_EQ (SetDcpmmPassphraseFile (nullptr), EFI_INVALID_PARAMETER);
  EXPECT_TRUE (Ctl.Writes.empty ());
}

struct RetryCase {
  const char               *Name;
  std::vector<EFI_STATUS>  Answers;
  EFI_STATUS               Status;
  UINTN                    Writes;
};

class PassphraseRetryTest : public ::testing::TestWithParam<RetryCase> {};

TEST_P (PassphraseRetryTest, Answers_AttemptsOneSecondApart) {
  const RetryCase  &C = GetParam ();
  FakePlatform     Fake;
  Controller       Ctl;
  Ctl.Answers                 = C.Answers;
  gController                 = &Ctl;
  Fake.VeskCommands.WriteFile = WriteFile;
  Fake.BootServices.Stall     = Stall;

  EXPECT_EQ (SetDcpmmPassphraseFile (u"Carvex-Pass1"), C.Status);
  EXPECT_EQ (Ctl.Writes.size (), C.Writes);
  EXPECT_EQ (Ctl.Stalls, std::vector<UINTN> (C.Writes - 1, 1000000u));
  for (const auto &Write : Ctl.Writes) {
    EXPECT_EQ (Write, FileOf ("Carvex-Pass1"));
  }
}

INSTANTIATE_TEST_SUITE_P (
  Answers,
  PassphraseRetryTest,
  ::testing::Values (
    RetryCase{ "FirstTry", {}, EFI_SUCCESS, 1 },
    RetryCase{ "ThirdTry", { EFI_DEVICE_ERROR, EFI_DEVICE_ERROR }, EFI_SUCCESS, 3 },
    RetryCase{ "NeverAnswers", { EFI_DEVICE_ERROR, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR, EFI_SUCCESS }, EFI_DEVICE_ERROR, 3 },
    // Only a communication failure is worth another try.
    RetryCase{ "OtherFailure", { EFI_ACCESS_DENIED }, EFI_ACCESS_DENIED, 1 }
    ),
  [](const ::testing::TestParamInfo<RetryCase> &Info) { return std::string (Info.param.Name); }
  );

}  // namespace

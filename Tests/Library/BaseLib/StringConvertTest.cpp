// ASCII to UCS-2 and back, and decimal/hex text to numbers.
#include <gtest/gtest.h>

#include <string>

#include <Library/BaseLib.h>

namespace {

TEST (StringConvertTest, AsciiToUnicode_WidensEveryByte)
{
  CHAR16  Buffer[8];
  EXPECT_EQ (AsciiStrToUnicodeStrS ("a\xE9z", Buffer, 8), EFI_SUCCESS);
  EXPECT_EQ (std::u16string (Buffer), u"a\u00E9z");
}

TEST (StringConvertTest, UnicodeToAscii_NarrowsLatin1)
{
  CHAR8  Buffer[8];
  EXPECT_EQ (UnicodeStrToAsciiStrS (u"a\u00E9z", Buffer, 8), EFI_SUCCESS);
  EXPECT_EQ (std::string (Buffer), "a\xE9z");
}

TEST (StringConvertTest, Failures_EmptyDestinationAndStatus)
{
  struct Row {
    const char     *Name;
    const CHAR16   *Source;
    UINTN          DestMax;
    RETURN_STATUS  Status;
  };
  const Row  Rows[] = {
    { "above 0xFF",  u"ab\u20AC", 8, EFI_INVALID_PARAMETER },
    { "too long",    u"abcd",     4, EFI_BUFFER_TOO_SMALL },
    { "null source", nullptr,     4, EFI_INVALID_PARAMETER },
  };

  for (const Row &R : Rows) {
    SCOPED_TRACE (R.Name);
    CHAR8  Narrow[8] = "xxxxxxx";
    EXPECT_EQ (UnicodeStrToAsciiStrS (R.Source, Narrow, R.DestMax), R.Status);
    EXPECT_EQ (Narrow[0], 0);
    EXPECT_EQ (Narrow[1], 'x') << "only the first character is cleared";
  }

  CHAR16  Wide[4] = { u'x', u'x', u'x', u'x' };
  EXPECT_EQ (AsciiStrToUnicodeStrS ("abcd", Wide, 4), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ (Wide[0], 0);
  EXPECT_EQ (AsciiStrToUnicodeStrS ("a", Wide, 0), EFI_INVALID_PARAMETER);
}

TEST (StringToNumberTest, Inputs_ParseLikeEdk2)
{
  struct Row {
    const char  *Text;
    UINT64      Decimal;
    UINT64      Hex;
  };
  const Row  Rows[] = {
    { "0",                     0,                     0 },
    { "  42",                  42,                    0x42 },
    { "\t0123",                123,                   0x123 },
    { "17abc",                 17,                    0x17ABC },
    { "0x1F",                  0,                     0x1F },
    { "0XfF",                  0,                     0xFF },
    { "",                      0,                     0 },
    { "z9",                    0,                     0 },
    { "18446744073709551615",  MAX_UINT64,            MAX_UINT64 },
    { "18446744073709551616",  MAX_UINT64,            MAX_UINT64 },
    { "FFFFFFFFFFFFFFFF",      0,                     MAX_UINT64 },
    { "10000000000000000",     10000000000000000ULL,  MAX_UINT64 },
  };

  for (const Row &R : Rows) {
    SCOPED_TRACE (R.Text);
    std::string     Narrow (R.Text);
    std::u16string  Wide (Narrow.begin (), Narrow.end ());
    EXPECT_EQ (StrDecimalToUintn (Wide.c_str ()), R.Decimal);
    EXPECT_EQ (StrDecimalToUint64 (Wide.c_str ()), R.Decimal);
    EXPECT_EQ (AsciiStrDecimalToUintn (R.Text), R.Decimal);
    EXPECT_EQ (StrHexToUintn (Wide.c_str ()), R.Hex);
  }
}

}  // namespace

// Safe copies and concatenation for both character types, with the
// length, comparison and search routines they lean on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <Library/BaseLib.h>

namespace {

struct CopyCase {
  const char     *Name;
  std::string    Initial;    // destination before the call
  UINTN          DestMax;
  const char     *Source;    // nullptr: NULL source
  UINTN          Length;     // StrnCpyS only
  RETURN_STATUS  CpyStatus;
  std::string    CpyResult;
  RETURN_STATUS  NCpyStatus;
  std::string    NCpyResult;
  RETURN_STATUS  CatStatus;
  std::string    CatResult;
};

const std::vector<CopyCase>  kCopyCases = {
  // Name            Initial  Max  Source    Len  StrCpyS                          StrnCpyS                         StrCatS
  { "fits",          "ab",    8,   "cde",    9,   EFI_SUCCESS,          "cde",     EFI_SUCCESS,          "cde",     EFI_SUCCESS,          "abcde" },
  { "exact fit",     "ab",    4,   "cde",    9,   EFI_SUCCESS,          "cde",     EFI_SUCCESS,          "cde",     EFI_BUFFER_TOO_SMALL, "" },
  { "one too long",  "",      3,   "cde",    9,   EFI_BUFFER_TOO_SMALL, "",        EFI_BUFFER_TOO_SMALL, "",        EFI_BUFFER_TOO_SMALL, "" },
  { "length limits", "ab",    3,   "cdefgh", 2,   EFI_BUFFER_TOO_SMALL, "",        EFI_SUCCESS,          "cd",      EFI_BUFFER_TOO_SMALL, "" },
  { "length zero",   "ab",    5,   "cd",     0,   EFI_SUCCESS,          "cd",      EFI_SUCCESS,          "",        EFI_SUCCESS,          "abcd" },
  { "empty source",  "ab",    4,   "",       9,   EFI_SUCCESS,          "",        EFI_SUCCESS,          "",        EFI_SUCCESS,          "ab" },
  { "null source",   "ab",    4,   nullptr,  9,   EFI_INVALID_PARAMETER, "",       EFI_INVALID_PARAMETER, "",       EFI_INVALID_PARAMETER, "" },
  { "zero max",      "ab",    0,   "c",      9,   EFI_INVALID_PARAMETER, "ab",     EFI_INVALID_PARAMETER, "ab",     EFI_INVALID_PARAMETER, "ab" },
};

// Runs one call on a 16-character destination holding Initial; checks that
// nothing past DestMax moved.
template <typename CharT, typename Call>
std::basic_string<CharT>
RunOnBuffer (const std::string &Initial, UINTN DestMax, RETURN_STATUS Expected, Call Function)
{
  CharT  Buffer[16];
  for (CharT &Unit : Buffer) {
    Unit = CharT ('#');
  }

  for (UINTN Index = 0; Index <= Initial.size (); Index++) {
    Buffer[Index] = CharT (Index < Initial.size () ? Initial[Index] : 0);
  }

  EXPECT_EQ (Function (Buffer), Expected);
  for (UINTN Index = std::max<UINTN> (DestMax, Initial.size () + 1); Index < 16; Index++) {
    EXPECT_EQ (Buffer[Index], CharT ('#')) << "index " << Index;
  }

  return std::basic_string<CharT> (Buffer);
}

template <typename CharT>
std::basic_string<CharT>
As (const std::string &Text)
{
  return std::basic_string<CharT> (Text.begin (), Text.end ());
}

TEST (SafeStringTest, CopyAndCatTable_MatchBothCharacterTypes)
{
  for (const CopyCase &Row : kCopyCases) {
    SCOPED_TRACE (Row.Name);
    std::u16string  WideSource = (Row.Source == nullptr) ? u"" : As<CHAR16> (Row.Source);
    const CHAR16    *Wide  = (Row.Source == nullptr) ? nullptr : WideSource.c_str ();
    const CHAR8     *Ascii = Row.Source;

    EXPECT_EQ (RunOnBuffer<CHAR16> (Row.Initial, Row.DestMax, Row.CpyStatus, [&] (CHAR16 *D) { return StrCpyS (D, Row.DestMax, Wide); }), As<CHAR16> (Row.CpyResult));
    EXPECT_EQ (RunOnBuffer<CHAR8> (Row.Initial, Row.DestMax, Row.CpyStatus, [&] (CHAR8 *D) { return AsciiStrCpyS (D, Row.DestMax, Ascii); }), Row.CpyResult);
    EXPECT_EQ (RunOnBuffer<CHAR16> (Row.Initial, Row.DestMax, Row.NCpyStatus, [&] (CHAR16 *D) { return StrnCpyS (D, Row.DestMax, Wide, Row.Length); }), As<CHAR16> (Row.NCpyResult));
    EXPECT_EQ (RunOnBuffer<CHAR8> (Row.Initial, Row.DestMax, Row.NCpyStatus, [&] (CHAR8 *D) { return AsciiStrnCpyS (D, Row.DestMax, Ascii, Row.Length); }), Row.NCpyResult);
    EXPECT_EQ (RunOnBuffer<CHAR16> (Row.Initial, Row.DestMax, Row.CatStatus, [&] (CHAR16 *D) { return StrCatS (D, Row.DestMax, Wide); }), As<CHAR16> (Row.CatResult));
    EXPECT_EQ (RunOnBuffer<CHAR8> (Row.Initial, Row.DestMax, Row.CatStatus, [&] (CHAR8 *D) { return AsciiStrCatS (D, Row.DestMax, Ascii); }), Row.CatResult);
  }
}

TEST (SafeStringTest, NullDestination_InvalidParameter)
{
  EXPECT_EQ (StrCpyS (nullptr, 4, u"a"), EFI_INVALID_PARAMETER);
  EXPECT_EQ (AsciiStrCatS (nullptr, 4, "a"), EFI_INVALID_PARAMETER);
}

TEST (SafeStringTest, CatOntoUnterminatedDestination_BadBufferSize)
{
  CHAR16  Buffer[4] = { u'a', u'b', u'c', u'd' };
  EXPECT_EQ (StrCatS (Buffer, 4, u"e"), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ (Buffer[0], 0);
}

TEST (SafeStringTest, OverlappingCopy_AccessDenied)
{
  CHAR8  Buffer[16] = "abcdef";
  EXPECT_EQ (AsciiStrCpyS (Buffer + 2, 8, Buffer), EFI_ACCESS_DENIED);
}

TEST (StringCompareTest, OrderAndPrefix_SignOfResult)
{
  struct Row {
    const char  *First;
    const char  *Second;
    UINTN       Length;
    int         Sign;      // of StrCmp
    int         NSign;     // of StrnCmp with Length
  };
  const Row  Rows[] = {
    { "abc",  "abc",  3, 0,  0 },
    { "abc",  "abd",  2, -1, 0 },
    { "abd",  "abc",  3, 1,  1 },
    { "ab",   "abc",  9, -1, -1 },
    { "abc",  "ab",   2, 1,  0 },
    { "",     "",     0, 0,  0 },
    { "\xE9", "a",    1, 1,  1 },    // unsigned comparison
  };
  auto  SignOf = [] (INTN Value) { return (Value > 0) - (Value < 0); };

  for (const Row &R : Rows) {
    SCOPED_TRACE (std::string (R.First) + " vs " + R.Second);
    std::u16string  A = As<CHAR16> (R.First);
    std::u16string  B = As<CHAR16> (R.Second);
    for (CHAR16 &Unit : A) { Unit = Unit & 0xFF; }
    for (CHAR16 &Unit : B) { Unit = Unit & 0xFF; }
    EXPECT_EQ (SignOf (StrCmp (A.c_str (), B.c_str ())), R.Sign);
    EXPECT_EQ (SignOf (AsciiStrCmp (R.First, R.Second)), R.Sign);
    EXPECT_EQ (SignOf (StrnCmp (A.c_str (), B.c_str (), R.Length)), R.NSign);
    EXPECT_EQ (SignOf (AsciiStrnCmp (R.First, R.Second, R.Length)), R.NSign);
  }
}

TEST (StringLengthTest, LimitsAndSizes_CountCharacters)
{
  EXPECT_EQ (StrLen (u"abc"), 3u);
  EXPECT_EQ (StrSize (u"abc"), 8u);
  EXPECT_EQ (AsciiStrSize ("abc"), 4u);
  EXPECT_EQ (StrnLenS (u"abcdef", 4), 4u);
  EXPECT_EQ (AsciiStrnLenS ("ab", 4), 2u);
  EXPECT_EQ (AsciiStrnLenS (nullptr, 4), 0u);
}

TEST (StrStrTest, Needles_FirstOccurrenceOrNull)
{
  const CHAR16  *Hay = u"abcabcd";
  EXPECT_EQ (StrStr (Hay, u"bcd"), Hay + 4);
  EXPECT_EQ (StrStr (Hay, u"abc"), Hay);
  EXPECT_EQ (StrStr (Hay, u""), Hay);
  EXPECT_EQ (StrStr (Hay, u"abce"), nullptr);
  EXPECT_EQ (StrStr (Hay, u"abcabcde"), nullptr);
}

}  // namespace

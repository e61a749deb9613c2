// The print engine through all four entry points: every conversion, flags,
// widths, 32- and 64-bit reads, status and GUID text, and truncation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <ostream>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <Library/PrintLib.h>

namespace {

std::u16string
Widen (const std::string &Text)
{
  return std::u16string (Text.begin (), Text.end ());
}

UINTN
AsciiPrintUnicodeFormat (CHAR8 *Buffer, UINTN Size, const CHAR16 *Format, ...)
{
  VA_LIST  Marker;
  VA_START (Marker, Format);
  UINTN  Count = AsciiVSPrintUnicodeFormat (Buffer, Size, Format, Marker);
  VA_END (Marker);
  return Count;
}

// One format with its arguments, printable through every entry point.
struct PrintCase {
  std::string  Format;
  std::string  Expected;
  std::function<UINTN (CHAR8 *, UINTN, const CHAR8 *)>    AsciiAscii;
  std::function<UINTN (CHAR16 *, UINTN, const CHAR8 *)>   UnicodeAscii;
  std::function<UINTN (CHAR16 *, UINTN, const CHAR16 *)>  UnicodeUnicode;
  std::function<UINTN (CHAR8 *, UINTN, const CHAR16 *)>   AsciiUnicode;
};

void
PrintTo (const PrintCase &Row, std::ostream *Out)
{
  *Out << '"' << Row.Format << '"';
}

template <typename... Args>
PrintCase
Case (std::string Format, std::string Expected, Args... Values)
{
  return {
    Format, Expected,
    [=] (CHAR8 *B, UINTN S, const CHAR8 *F) { return AsciiSPrint (B, S, F, Values...); },
    [=] (CHAR16 *B, UINTN S, const CHAR8 *F) { return UnicodeSPrintAsciiFormat (B, S, F, Values...); },
    [=] (CHAR16 *B, UINTN S, const CHAR16 *F) { return UnicodeSPrint (B, S, F, Values...); },
    [=] (CHAR8 *B, UINTN S, const CHAR16 *F) { return AsciiPrintUnicodeFormat (B, S, F, Values...); },
  };
}

const EFI_GUID  kGuid = { 0x12345678, 0x9abc, 0xdef0, { 0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef } };

std::vector<PrintCase>
AllCases ()
{
  return {
    Case ("plain text", "plain text"),
    Case ("%d|%i", "-42|7", (INT32)-42, (INT32)7),
    Case ("%d", "-2147483648", (INT32)INT32_MIN),
    Case ("%u", "4294967295", (UINT32)0xFFFFFFFF),
    Case ("%ld", "-9223372036854775808", (INT64)INT64_MIN),
    Case ("%Ld", "9223372036854775807", (INT64)INT64_MAX),
    Case ("%lu", "18446744073709551615", (UINT64)MAX_UINT64),
    Case ("%x", "ABCDEF", (UINT32)0xABCDEF),
    Case ("%X", "ABCDEF", (UINT32)0xABCDEF),
    Case ("%lx", "123456789ABCDEF0", (UINT64)0x123456789ABCDEF0ULL),
    Case ("%lX|%Lx", "FEDCBA9876543210|1", (UINT64)0xFEDCBA9876543210ULL, (UINT64)1),
    // A 32-bit conversion reads only the low half of a wider argument.
    Case ("%x|%lx", "2|100000002", (UINT64)0x100000002ULL, (UINT64)0x100000002ULL),
    Case ("%d %ld %u", "1 -2 3", (INT32)1, (INT64)-2, (UINT32)3),
    Case ("%p", "ABC", (VOID *)0xABC),
    Case ("%c%c", "Ok", (CHAR16)u'O', (CHAR16)u'k'),
    Case ("%s|%S", "wide|text", u"wide", u"text"),
    Case ("%a", "narrow", "narrow"),
    Case ("%a|%s", "<null string>|<null string>", (const CHAR8 *)nullptr, (const CHAR16 *)nullptr),
    Case ("%g", "12345678-9ABC-DEF0-0123-456789ABCDEF", &kGuid),
    Case ("%g", "<null guid>", (const EFI_GUID *)nullptr),
    Case ("100%%", "100%"),
    Case ("%q|", "q|"),
    Case ("dangling %", "dangling "),
    // Widths, padding and justification.
    Case ("[%5d]", "[   42]", (INT32)42),
    Case ("[%-5d]", "[42   ]", (INT32)42),
    Case ("[%05d]", "[-0042]", (INT32)-42),
    Case ("[%-05d]", "[42   ]", (INT32)42),
    Case ("[%08x]", "[000000AB]", (UINT32)0xAB),
    Case ("[%8X]", "[000000AB]", (UINT32)0xAB),
    Case ("[%016lx]", "[00000000DEADBEEF]", (UINT64)0xDEADBEEF),
    Case ("[%+d|% d|%+d]", "[+5| 5|-5]", (INT32)5, (INT32)5, (INT32)-5),
    Case ("[%.3d]", "[007]", (INT32)7),
    Case ("[%6.3d]", "[   007]", (INT32)7),
    Case ("[%,d]", "[1,234,567]", (INT32)1234567),
    Case ("[%,d]", "[-1,234]", (INT32)-1234),
    Case ("[%,u]", "[999]", (UINT32)999),
    Case ("[%,lu]", "[18,446,744,073,709,551,615]", (UINT64)MAX_UINT64),
    Case ("[%*d]", "[   7]", (UINTN)4, (INT32)7),
    Case ("[%-*a]", "[ab    ]", (UINTN)6, "ab"),
    Case ("[%.*a]", "[ab]", (UINTN)2, "abcdef"),
    Case ("[%.2s]", "[xy]", u"xyz"),
    Case ("[%5s]", "[   ab]", u"ab"),
    Case ("[%-5a]", "[ab   ]", "ab"),
    Case ("[%3a]", "[abcdef]", "abcdef"),
    Case ("[%5c]", "[    Z]", (CHAR16)u'Z'),
    Case ("[%-40g]", "[12345678-9ABC-DEF0-0123-456789ABCDEF    ]", &kGuid),
    // Status text.
    Case ("%r", "Success", (EFI_STATUS)EFI_SUCCESS),
    Case ("%r", "Warning Unknown Glyph", (EFI_STATUS)EFI_WARN_UNKNOWN_GLYPH),
    Case ("%r", "Warning Reset Required", (EFI_STATUS)EFI_WARN_RESET_REQUIRED),
    Case ("%r", "Load Error", (EFI_STATUS)EFI_LOAD_ERROR),
    Case ("%r", "Not Found", (EFI_STATUS)EFI_NOT_FOUND),
    Case ("%r", "Reserved (29)", (EFI_STATUS)ENCODE_ERROR (29)),
    Case ("%r", "HTTP Error", (EFI_STATUS)EFI_HTTP_ERROR),
    Case ("%r", "0000000000000008", (EFI_STATUS)ENCODE_WARNING (8)),
    Case ("%r", "8000000000000024", (EFI_STATUS)ENCODE_ERROR (36)),
    Case ("%r", "A000000000000002", (EFI_STATUS)EFI_NOT_AVAILABLE_YET),
    Case ("[%-12r]", "[Unsupported ]", (EFI_STATUS)EFI_UNSUPPORTED),
  };
}

class PrintEngineTest : public ::testing::TestWithParam<PrintCase> {};

TEST_P (PrintEngineTest, EveryEntryPoint_PrintsExpectedText)
{
  const PrintCase       &Row = GetParam ();
  const std::u16string  WideFormat = Widen (Row.Format);
  const std::u16string  WideExpected = Widen (Row.Expected);
  CHAR8                 Narrow[128];
  CHAR16                Wide[128];

  EXPECT_EQ (Row.AsciiAscii (Narrow, sizeof (Narrow), Row.Format.c_str ()), Row.Expected.size ());
  EXPECT_EQ (std::string (Narrow), Row.Expected) << "AsciiSPrint";

  EXPECT_EQ (Row.UnicodeAscii (Wide, sizeof (Wide), Row.Format.c_str ()), Row.Expected.size ());
  EXPECT_EQ (std::u16string (Wide), WideExpected) << "UnicodeSPrintAsciiFormat";

  EXPECT_EQ (Row.UnicodeUnicode (Wide, sizeof (Wide), WideFormat.c_str ()), Row.Expected.size ());
  EXPECT_EQ (std::u16string (Wide), WideExpected) << "UnicodeSPrint";

  EXPECT_EQ (Row.AsciiUnicode (Narrow, sizeof (Narrow), WideFormat.c_str ()), Row.Expected.size ());
  EXPECT_EQ (std::string (Narrow), Row.Expected) << "AsciiVSPrintUnicodeFormat";
}

// Names like "12_lx": the row number, then the format's letters and digits.
std::string
CaseName (const ::testing::TestParamInfo<PrintCase> &Info)
{
  std::string  Name = std::to_string (Info.index) + "_";
  for (char Character : Info.param.Format) {
    if (std::isalnum (static_cast<unsigned char> (Character))) {
      Name.push_back (Character);
    }
  }

  return Name;
}

INSTANTIATE_TEST_SUITE_P (Conversions, PrintEngineTest, ::testing::ValuesIn (AllCases ()), CaseName);

// Every size from nothing to more than enough: the output is the longest
// prefix that fits with its NUL, the count matches it, and no byte at or
// past BufferSize changes.
TEST (PrintTruncationTest, EverySmallBufferSize_StaysInsideAndTerminates)
{
  const std::vector<PrintCase>  Rows = {
    Case ("%a=%-6d|%r", "key=-12   |Not Found", "key", (INT32)-12, (EFI_STATUS)EFI_NOT_FOUND),
    Case ("%g %,lu", "12345678-9ABC-DEF0-0123-456789ABCDEF 1,000,000", &kGuid, (UINT64)1000000),
    Case ("[%10s]", "[     wide!]", u"wide!"),
  };
  constexpr UINT8  kGuard = 0x5A;

  for (const PrintCase &Row : Rows) {
    const std::string  &Full = Row.Expected;
    for (UINTN Size = 0; Size <= Full.size () + 2; Size++) {
      SCOPED_TRACE (Row.Format + " size " + std::to_string (Size));
      const UINTN  Fits = (Size == 0) ? 0 : std::min<UINTN> (Full.size (), Size - 1);

      std::vector<UINT8>  Narrow (Size + 8, kGuard);
      EXPECT_EQ (Row.AsciiAscii (reinterpret_cast<CHAR8 *> (Narrow.data ()), Size, Row.Format.c_str ()), Fits);
      if (Size > 0) {
        EXPECT_EQ (std::string (reinterpret_cast<CHAR8 *> (Narrow.data ())), Full.substr (0, Fits));
      }

      for (UINTN Index = Size; Index < Narrow.size (); Index++) {
        ASSERT_EQ (Narrow[Index], kGuard) << "ASCII byte " << Index;
      }

      // CHAR16 buffers: sizes count bytes, odd ones included.
      const UINTN         WideFits = (Size < 2) ? 0 : std::min<UINTN> (Full.size (), Size / 2 - 1);
      std::vector<UINT8>  WideBytes (Size + 8, kGuard);
      CHAR16              *Wide = reinterpret_cast<CHAR16 *> (WideBytes.data ());
      EXPECT_EQ (Row.UnicodeAscii (Wide, Size, Row.Format.c_str ()), WideFits);
      if (Size >= 2) {
        std::u16string  Out;
        for (UINTN Index = 0; Index < WideFits + 1; Index++) {
          CHAR16  Unit;
          std::memcpy (&Unit, WideBytes.data () + Index * 2, sizeof (Unit));
          Out.push_back (Unit);
        }

        EXPECT_EQ (Out, Widen (Full.substr (0, WideFits)) + u'\0');
      }

      for (UINTN Index = Size; Index < WideBytes.size (); Index++) {
        ASSERT_EQ (WideBytes[Index], kGuard) << "UCS-2 byte " << Index;
      }
    }
  }
}

TEST (PrintEdgeTest, NullBufferOrFormat_ReturnsZero)
{
  CHAR8  Buffer[8] = "xxxxxxx";
  EXPECT_EQ (AsciiSPrint (nullptr, 8, "abc"), 0u);
  EXPECT_EQ (AsciiSPrint (Buffer, sizeof (Buffer), nullptr), 0u);
  EXPECT_STREQ (Buffer, "");
}

TEST (PrintEdgeTest, WideCharacterIntoAsciiBuffer_PrintsQuestionMark)
{
  CHAR8   Narrow[16];
  CHAR16  Wide[16];
  EXPECT_EQ (AsciiSPrint (Narrow, sizeof (Narrow), "%s", u"a\u20ACb"), 3u);
  EXPECT_STREQ (Narrow, "a?b");
  // The same text in a CHAR16 buffer keeps the character.
  UnicodeSPrint (Wide, sizeof (Wide), u"%s%c", u"a\u20ACb", (CHAR16)0x00E9);
  EXPECT_EQ (std::u16string (Wide), u"a\u20ACb\u00E9");
}

TEST (PrintEdgeTest, HugeStarWidth_StopsAtBufferEnd)
{
  CHAR8  Buffer[16];
  EXPECT_EQ (AsciiSPrint (Buffer, sizeof (Buffer), "%*d", (UINTN)MAX_UINTN, (INT32)1), 15u);
  EXPECT_EQ (std::string (Buffer), std::string (15, ' '));
}

TEST (PrintEdgeTest, UnalignedGuid_PrintsFromItsBytes)
{
  alignas (8) UINT8  Bytes[1 + sizeof (EFI_GUID)];
  CHAR8              Buffer[64];
  std::memcpy (Bytes + 1, &kGuid, sizeof (kGuid));
  AsciiSPrint (Buffer, sizeof (Buffer), "%g", reinterpret_cast<const EFI_GUID *> (Bytes + 1));
  EXPECT_STREQ (Buffer, "12345678-9ABC-DEF0-0123-456789ABCDEF");
}

UINTN
PrintTwice (CHAR8 *First, CHAR8 *Second, UINTN Size, const CHAR8 *Format, ...)
{
  VA_LIST  Marker;
  VA_START (Marker, Format);
  AsciiVSPrint (First, Size, Format, Marker);
  UINTN  Count = AsciiVSPrint (Second, Size, Format, Marker);
  VA_END (Marker);
  return Count;
}

// The engine works on its own copy of the list, so formatting the same
// values again (one string per language) sees them from the start.
TEST (PrintEdgeTest, SameMarkerTwice_SameText)
{
  CHAR8  First[64];
  CHAR8  Second[64];
  PrintTwice (First, Second, sizeof (First), "%a %d %a %d %a %d %a", "a", (INT32)1, "b", (INT32)2, "c", (INT32)3, "d");
  EXPECT_STREQ (First, "a 1 b 2 c 3 d");
  EXPECT_STREQ (Second, First);
}

TEST (StatusToStringTest, EveryDefinedCode_HasItsOwnText)
{
  std::vector<std::string>  Seen;
  for (UINTN Code = 1; Code <= 35; Code++) {
    const CHAR8  *Text = StatusToString (ENCODE_ERROR (Code));
    ASSERT_NE (Text, nullptr) << Code;
    Seen.push_back (Text);
  }

  for (UINTN Code = 0; Code <= 7; Code++) {
    ASSERT_NE (StatusToString (ENCODE_WARNING (Code)), nullptr) << Code;
    Seen.push_back (StatusToString (ENCODE_WARNING (Code)));
  }

  std::sort (Seen.begin (), Seen.end ());
  EXPECT_EQ (std::adjacent_find (Seen.begin (), Seen.end ()), Seen.end ());
  EXPECT_EQ (StatusToString (ENCODE_ERROR (0)), nullptr);
  EXPECT_EQ (StatusToString (ENCODE_ERROR (36)), nullptr);
  EXPECT_EQ (StatusToString (ENCODE_WARNING (8)), nullptr);
}

}  // namespace

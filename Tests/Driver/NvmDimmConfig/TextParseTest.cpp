// Splitting typed texts and reading unsigned numbers from them.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include <NvmDimmConfig/TextParse.h>
#include <Library/MemoryAllocationLib.h>

namespace {

TEST (GetU64FromString, Texts_ParsedOrRefused)
{
  FakePlatform Fake;
  const struct {
    const char16_t  *Text;
    BOOLEAN         Parsed;
    UINT64          Value;
  } Cases[] = {
    { u"123", TRUE, 123 },
    { u"0x1F", TRUE, 31 },
    { u"0X1f", TRUE, 31 },
    { u"007", TRUE, 7 },
    { u"18446744073709551615", TRUE, 0xFFFFFFFFFFFFFFFFULL },
    { u"18446744073709551616", FALSE, 0 },
    { u"123456789012345678901", FALSE, 0 },
    { u"1F", FALSE, 0 },
    { u"x1", FALSE, 0 },
    { u"-5", FALSE, 0 },
    { u"", FALSE, 0 },
    { u"1 2", TRUE, 1 },  // a blank ends the number
  };
  for (const auto &Case : Cases) {
    UINT64 Value = 0xDEAD;
    EXPECT_EQ (GetU64FromString (Case.Text, &Value), Case.Parsed) << Utf8 (Case.Text);
    if (Case.Parsed) {
      EXPECT_EQ (Value, Case.Value) << Utf8 (Case.Text);
    }
  }

  EXPECT_FALSE (GetU64FromString (nullptr, nullptr));
  // The trace names this file, the function and a line number.
  const LoggedLine &Line = Fake.Log.back ();
  EXPECT_EQ (Line.Level, DEBUG_INFO);
  EXPECT_EQ (Line.Text.rfind ("NVDIMM-DBG:TextParse.cpp::GetU64FromString:", 0), 0u) << Line.Text;
  EXPECT_TRUE (Line.Text.ends_with (": pString or pOutValue is NULL.\n")) << Line.Text;
}

std::vector<std::string>
Split (const char16_t *Text, UINT32 &Count)
{
  std::vector<std::string> Parts;
  CHAR16 **Array = StrSplit (Text, u'.', &Count);
  if (Array != nullptr) {
    for (UINT32 Index = 0; Index < Count; Index++) {
      Parts.push_back (Utf8 (Array[Index]));
    }

    FreeStringArray (Array, Count);
  }

  return Parts;
}

TEST (StrSplit, Texts_PartsBetweenSeparators)
{
  FakePlatform Fake;
  const struct {
    const char16_t            *Text;
    std::vector<std::string>  Parts;
  } Cases[] = {
    { u"12.", { "12" } },
    { u"1.5", { "1", "5" } },
    { u".5", { "", "5" } },
    { u"a..b", { "a", "", "b" } },
    { u"abc", { "abc" } },
    { u".", { "" } },
  };
  for (const auto &Case : Cases) {
    UINT32 Count = 99;
    EXPECT_EQ (Split (Case.Text, Count), Case.Parts) << Utf8 (Case.Text);
    EXPECT_EQ (Count, Case.Parts.size ());
  }

  UINT32 Count = 99;
  EXPECT_EQ (StrSplit (u"", u'.', &Count), nullptr);
  EXPECT_EQ (Count, 99u);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (StrTok, Cursor_TokenTakenRestMovedToFront)
{
  FakePlatform Fake;
  std::u16string Buffer (u"ab,cd");
  CHAR16 *Cursor = Buffer.data ();
  CHAR16 *Token  = StrTok (&Cursor, u',');
  EXPECT_EQ (Utf8 (Token), "ab");
  EXPECT_EQ (Utf8 (Buffer.c_str ()), "cd");
  FreePool (Token);
  Token = StrTok (&Cursor, u',');
  EXPECT_EQ (Utf8 (Token), "cd");
  EXPECT_EQ (Buffer[0], 0);
  FreePool (Token);
  EXPECT_EQ (StrTok (&Cursor, u','), nullptr);
  EXPECT_TRUE (Fake.Live.empty ());
}

}  // namespace

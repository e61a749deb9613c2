// Capacity texts for the forms and typed capacities back to bytes.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include "../Setup/FakeHiiBox.h"
#include <NvmDimmConfig/Convert.h>
#include <Library/MemoryAllocationLib.h>

namespace {

struct CapacityText {
  UINT64       Bytes;
  const char  *Text;
};

TEST (ConvertCapacityToStr, BytesAndBinaryUnits_TruncatedWithDecimalLabels)
{
  FakePlatform Fake;
  const CapacityText Cases[] = {
    { 0, "0 B" },
    { 512, "512 B" },
    { 1048575, "1048575 B" },
    { 1048576, "1.0 MB" },
    { 1073741823, "1023.9 MB" },          // 1023.99999 MiB is not rounded up
    { 1610612736, "1.5 GB" },
    { 2136746229, "1.9 GB" },             // 1.99 GiB
    { 256ULL << 30, "256.0 GB" },
    { 1ULL << 40, "1.0 TB" },
    { (3ULL << 40) + (1ULL << 39), "3.5 TB" },
    { 0xFFFFFFFFFFFFFFFFULL, "16777216.0 TB" },  // no sign trouble at 2^64 - 1
  };
  for (const CapacityText &Case : Cases) {
    CHAR16 Text[CAPACITY_TEXT_CHARS];
    EXPECT_EQ (ConvertCapacityToStr (Case.Bytes, Text, sizeof (Text)), EFI_SUCCESS);
    EXPECT_EQ (Utf8 (Text), Case.Text) << Case.Bytes;
  }
}

TEST (ConvertCapacityToStr, ShortBuffer_TextCutAtItsEnd)
{
  FakePlatform Fake;
  CHAR16 Text[5];
  Text[4] = 0x1234;
  EXPECT_EQ (ConvertCapacityToStr (256ULL << 30, Text, 4 * sizeof (CHAR16)), EFI_SUCCESS);
  EXPECT_EQ (Utf8 (Text), "256");
  EXPECT_EQ (Text[4], 0x1234);
}

TEST (ConvertCapacityPerUnits, UnknownUnit_RefusedValueUntouched)
{
  FakePlatform Fake;
  double Value = 7.0;
  EXPECT_EQ (ConvertCapacityPerUnits (1000, 9, &Value), EFI_INVALID_PARAMETER);
  EXPECT_EQ (ConvertCapacityPerUnits (1000, 1, &Value), EFI_INVALID_PARAMETER);
  EXPECT_EQ (Value, 7.0);
  EXPECT_EQ (ConvertCapacityPerUnits (3000000000000ULL, CAPACITY_UNITS_TB, &Value), EFI_SUCCESS);
  EXPECT_EQ (Value, 3.0);
}

struct TypedCapacity {
  const char16_t  *Typed;
  UINT8           Units;
  EFI_STATUS      Status;
  UINT64          Bytes;
  const char      *TextAfter;  // the caller's text after parsing
};

TEST (ConvertCapacityStrToBytes, TypedTexts_BytesOrRefusal)
{
  FakePlatform Fake;
  FakeHiiBox   Box;
  Box.Texts[{ "en-US", STR_DECIMAL_SEPARATOR }] = u".";
  const TypedCapacity Cases[] = {
    { u"1.50", CAPACITY_UNITS_GIB, EFI_SUCCESS, 1610612736, "1.5" },
    { u"2", CAPACITY_UNITS_MIB, EFI_SUCCESS, 2097152, "2" },
    { u"  12", CAPACITY_UNITS_B, EFI_SUCCESS, 12, "  12" },
    { u"\t3", CAPACITY_UNITS_MB, EFI_SUCCESS, 3000000, "\t3" },
    { u"5.", CAPACITY_UNITS_B, EFI_SUCCESS, 5, "5." },
    { u"1.05", CAPACITY_UNITS_GB, EFI_SUCCESS, 1050000000, "1.05" },
    { u"10.000", CAPACITY_UNITS_TB, EFI_SUCCESS, 10000000000000ULL, "10." },
    { u"100", CAPACITY_UNITS_B, EFI_SUCCESS, 100, "100" },  // no separator: zeros stay
    { u"18446744", CAPACITY_UNITS_TB, EFI_SUCCESS, 18446744000000000000ULL, "18446744" },
    { u"18446745", CAPACITY_UNITS_TB, EFI_BAD_BUFFER_SIZE, 0, "18446745" },
    { u"16777216", CAPACITY_UNITS_TIB, EFI_BAD_BUFFER_SIZE, 0, "16777216" },
    { u"18446744073709551615.9", CAPACITY_UNITS_B, EFI_BAD_BUFFER_SIZE, 0, "18446744073709551615.9" },
    { u"1.2.3", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, "1.2.3" },
    { u"-1", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, "-1" },
    { u".5", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, ".5" },
    { u"1,5", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, "1,5" },
    { u"12a", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, "12a" },
    { u"", CAPACITY_UNITS_GIB, EFI_INVALID_PARAMETER, 0, "" },
    { u"2", 9, EFI_INVALID_PARAMETER, 0, "2" },
  };
  for (const TypedCapacity &Case : Cases) {
    std::u16string Text (Case.Typed);
    UINT64 Bytes = 0;
    EXPECT_EQ (ConvertCapacityStrToBytes (kFakeHiiHandle, Case.Units, Text.data (), &Bytes), Case.Status) << Utf8 (Case.Typed);
    if (Case.Status == EFI_SUCCESS) {
      EXPECT_EQ (Bytes, Case.Bytes) << Utf8 (Case.Typed);
    }

    EXPECT_EQ (Utf8 (Text.c_str ()), Case.TextAfter);
  }

  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "ConvertCapacityStrToBytes:StringToDouble Invalid Parameter\n"));
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "ConvertCapacityStrToBytes:ConvertToBytes Bad Buffer Size\n"));
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (ConvertCapacityStrToBytes, Separator_ReadFromTheStringPackageInEnglish)
{
  FakePlatform Fake;
  FakeHiiBox   Box;
  UINT64       Bytes;

  // The package decides: with "," as the en-US separator, "1,5" is a number
  // and "1.5" is not; the browser's language plays no part.
  Box.Languages = { "en-US", "fr-FR" };
  Box.Texts[{ "en-US", STR_DECIMAL_SEPARATOR }] = u",";
  Box.Texts[{ "fr-FR", STR_DECIMAL_SEPARATOR }] = u".";
  std::u16string Comma (u"1,5");
  Bytes = 0;
  EXPECT_EQ (ConvertCapacityStrToBytes (kFakeHiiHandle, CAPACITY_UNITS_GIB, Comma.data (), &Bytes), EFI_SUCCESS);
  EXPECT_EQ (Bytes, 1610612736u);
  std::u16string Dot (u"1.5");
  EXPECT_EQ (ConvertCapacityStrToBytes (kFakeHiiHandle, CAPACITY_UNITS_GIB, Dot.data (), &Bytes), EFI_INVALID_PARAMETER);

  // Without the string there is nothing to parse with.
  Box.Texts.clear ();
  std::u16string Plain (u"2");
  EXPECT_EQ (ConvertCapacityStrToBytes (kFakeHiiHandle, CAPACITY_UNITS_GIB, Plain.data (), &Bytes), EFI_NOT_FOUND);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (ConvertFwVersion, ZeroAndNumberedVersions_NAOrPaddedText)
{
  FakePlatform Fake;
  CHAR16 Text[FW_VERSION_CHARS];
  ConvertFwVersion (Text, 0, 0, 0, 0);
  EXPECT_EQ (Utf8 (Text), "N/A");
  ConvertFwVersion (Text, 1, 2, 0, 5355);
  EXPECT_EQ (Utf8 (Text), "01.02.00.5355");
  ConvertFwVersion (Text, 0, 0, 0, 1);
  EXPECT_EQ (Utf8 (Text), "00.00.00.0001");
  ConvertFwVersion (Text, 255, 255, 255, 65535);
  EXPECT_EQ (Utf8 (Text), "255.255.255.65535");
}

TEST (ConvertPersistentMemoryTypeToStr, TypeMasks_NamesJoinedOrRefused)
{
  FakePlatform Fake;
  const struct {
    UINT8       Mask;
    EFI_STATUS  Status;
    const char  *Text;
  } Cases[] = {
    { 1, EFI_SUCCESS, "App Direct" },
    { 2, EFI_SUCCESS, "App Direct Not Interleaved" },
    { 3, EFI_SUCCESS, "App Direct, App Direct Not Interleaved" },
    { 0, EFI_INVALID_PARAMETER, nullptr },
    { 4, EFI_INVALID_PARAMETER, nullptr },
  };
  for (const auto &Case : Cases) {
    CHAR16 *Text = nullptr;
    EXPECT_EQ (ConvertPersistentMemoryTypeToStr (Case.Mask, u"App Direct", u"App Direct Not Interleaved", &Text), Case.Status);
    if (Case.Text != nullptr) {
      EXPECT_EQ (Utf8 (Text), Case.Text);
      FreePool (Text);
    } else {
      EXPECT_EQ (Text, nullptr);
    }
  }

  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (Pow, Exponents_RepeatedProductWrapping)
{
  FakePlatform Fake;
  EXPECT_EQ (Pow (10, 0), 1u);
  EXPECT_EQ (Pow (10, 1), 10u);
  EXPECT_EQ (Pow (2, 40), 1ULL << 40);
  EXPECT_EQ (Pow (2, 64), 0u);
}

}  // namespace

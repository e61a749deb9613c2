// Run-time strings made in every language of the package list.
#include <gtest/gtest.h>

#include "../FakePlatform.h"
#include "../Setup/FakeHiiBox.h"
#include <Library/MultiLanguageLib/MultiLanguageLib.h>

namespace {

// Lines of the debug log that contain Text.
size_t
CountContaining (const FakePlatform &Fake, const std::string &Text)
{
  size_t Count = 0;
  for (const LoggedLine &Line : Fake.Log) {
    Count += Line.Text.find (Text) != std::string::npos;
  }

  return Count;
}

constexpr UINT16 kFormat = 0x0015;
constexpr UINT16 kSource = 0x0016;

// The order the library walks, and the packages' own order.
const std::vector<std::string>  kWalkOrder = { "en-US", "de-DE", "es-ES", "fr-FR", "it-IT", "ja-JP",
                                               "ko-KR", "pt-BR", "zh-Hans", "zh-Hant", "ru-RU" };
const std::vector<std::string>  kPackageOrder = { "en-US", "zh-Hans", "zh-Hant", "fr-FR", "de-DE", "it-IT",
                                                  "ja-JP", "ko-KR", "pt-BR", "es-ES", "ru-RU" };

struct LanguageWorld {
  FakePlatform  Fake;
  FakeHiiBox    Box;
  CHAR16        Buffer[100];

  LanguageWorld () { Box.Languages = kPackageOrder; }
};

std::u16string
Wide (const std::string &Text)
{
  return std::u16string (Text.begin (), Text.end ());
}

TEST (SetMultiLanguage, NewStringWithoutLanguage_OneIdentifierInAllElevenLanguages)
{
  LanguageWorld World;
  for (const auto &Lang : kPackageOrder) {
    World.Box.Texts[{ Lang, kFormat }] = Wide (Lang + " %d %a");
  }

  const CHAR8 Tag[] = "cpu";
  const UINT16 Id   = SetMultiLanguage (kFakeHiiHandle, 0, World.Buffer, sizeof (World.Buffer), nullptr, kFormat, 4, Tag);
  EXPECT_EQ (Id, 0x0300);
  ASSERT_EQ (World.Box.Writes.size (), 11u);
  for (size_t Index = 0; Index < kWalkOrder.size (); Index++) {
    SCOPED_TRACE (kWalkOrder[Index]);
    EXPECT_EQ (World.Box.Writes[Index].New, Index == 0) << "only the first language makes a string";
    EXPECT_EQ (World.Box.Writes[Index].Id, 0x0300);
    EXPECT_EQ (World.Box.Writes[Index].Language, kWalkOrder[Index]);
    EXPECT_EQ (World.Box.Writes[Index].Text, Wide (kWalkOrder[Index] + " 4 cpu")) << "the same values in every language";
  }

  EXPECT_TRUE (World.Fake.Live.empty ());
}

TEST (SetMultiLanguage, FormatOnlyInEnglish_EnglishStringAndTenLoggedGaps)
{
  LanguageWorld World;
  World.Box.Texts[{ "en-US", kFormat }] = u"Processor %d";
  const UINT16 Id = SetMultiLanguage (kFakeHiiHandle, 0, World.Buffer, sizeof (World.Buffer), nullptr, kFormat, 2);
  EXPECT_EQ (Id, 0x0300);
  ASSERT_EQ (World.Box.Writes.size (), 1u);
  EXPECT_EQ (World.Box.Writes[0].Text, u"Processor 2");
  EXPECT_EQ (CountContaining (World.Fake, "Fail to get FormatString 0f "), 10u);
}

TEST (SetMultiLanguage, GivenLanguageAndIdentifier_UpdatesThatOneString)
{
  LanguageWorld World;
  World.Box.Texts[{ "fr-FR", kFormat }] = u"Processeur %d";
  World.Box.Texts[{ "en-US", kFormat }] = u"Processor %d";
  EXPECT_EQ (SetMultiLanguage (kFakeHiiHandle, 0x40, World.Buffer, sizeof (World.Buffer), "fr-FR", kFormat, 8), 0x40);
  ASSERT_EQ (World.Box.Writes.size (), 1u);
  EXPECT_FALSE (World.Box.Writes[0].New);
  EXPECT_EQ (World.Box.Writes[0].Id, 0x40);
  EXPECT_EQ (World.Box.Writes[0].Language, "fr-FR");
  EXPECT_EQ (World.Box.Writes[0].Text, u"Processeur 8");
}

TEST (UpdateStringforMultiLanguange, SourceMissingInSomeLanguages_FirstFoundMakesTheString)
{
  LanguageWorld World;
  World.Box.Texts[{ "de-DE", kSource }] = u"Sicherheit";
  World.Box.Texts[{ "ja-JP", kSource }] = u"セキュリティ";
  const UINT16 Id = UpdateStringforMultiLanguange (kFakeHiiHandle, kSource, 0, nullptr);
  EXPECT_EQ (Id, 0x0300);
  ASSERT_EQ (World.Box.Writes.size (), 2u);
  EXPECT_TRUE (World.Box.Writes[0].New);
  EXPECT_EQ (World.Box.Writes[0].Language, "de-DE");
  EXPECT_FALSE (World.Box.Writes[1].New);
  EXPECT_EQ (World.Box.Writes[1].Id, 0x0300);
  EXPECT_EQ (World.Box.Writes[1].Text, u"セキュリティ");
  EXPECT_EQ (CountContaining (World.Fake, "Fail to get String 0f "), 9u);
  EXPECT_TRUE (World.Fake.Live.empty ());
}

TEST (UpdateStringforMultiLanguange, WritesFail_LoggedAndNoIdentifier)
{
  LanguageWorld World;
  for (const auto &Lang : kPackageOrder) {
    World.Box.Texts[{ Lang, kSource }] = u"x";
  }

  World.Box.WriteStatus = EFI_OUT_OF_RESOURCES;
  EXPECT_EQ (UpdateStringforMultiLanguange (kFakeHiiHandle, kSource, 0, nullptr), 0);
  EXPECT_EQ (CountContaining (World.Fake, "set the string of "), 11u);

  // With a language, only that language is copied.
  World.Box.WriteStatus = EFI_SUCCESS;
  EXPECT_EQ (UpdateStringforMultiLanguange (kFakeHiiHandle, kSource, 0x55, "ko-KR"), 0x55);
  ASSERT_EQ (World.Box.Writes.size (), 1u);
  EXPECT_EQ (World.Box.Writes[0].Language, "ko-KR");
}

}  // namespace

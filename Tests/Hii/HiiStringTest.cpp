// The string protocol over package lists in several languages: lookups with
// gaps, new strings reserving their id everywhere, new languages, and the
// re-encoded packages reading back the same.
#include <cstring>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

class HiiStringTest : public HiiTest {
 protected:
  void SetUp() override {
    HiiTest::SetUp();
    ASSERT_EQ(AddList(PackageList(kListGuid,
                                  {StringPackage("en-US", {u"English", u"Hello", u"Only English", std::nullopt}),
                                   StringPackage("fr-FR", {u"Francais", u"Bonjour", std::nullopt, u"Seulement"})}),
                      nullptr, &list_),
              EFI_SUCCESS);
  }

  // The string, or the status as text when there is none.
  std::u16string Get(const char* language, EFI_STRING_ID id, EFI_HII_HANDLE list = nullptr) {
    CHAR16 buffer[64];
    UINTN size = sizeof buffer;
    EFI_STATUS status = Str()->GetString(Str(), language, list ? list : list_, id, buffer, &size, nullptr);
    if (status != EFI_SUCCESS) {
      return u"status " + std::u16string(1, static_cast<char16_t>(u'0' + (status & 0x3F)));
    }
    EXPECT_EQ(size, (std::u16string(buffer).size() + 1) * sizeof(CHAR16));
    return buffer;
  }

  std::string Languages(EFI_HII_HANDLE list) {
    char buffer[64];
    UINTN size = sizeof buffer;
    EXPECT_EQ(Str()->GetLanguages(Str(), list, buffer, &size), EFI_SUCCESS);
    return buffer;
  }

  EFI_HII_HANDLE list_ = nullptr;
};

std::u16string StatusText(EFI_STATUS status) {
  return u"status " + std::u16string(1, static_cast<char16_t>(u'0' + (status & 0x3F)));
}

TEST_F(HiiStringTest, GetString_EachLanguageAndEachKindOfMissing) {
  struct Case {
    const char* language;
    EFI_STRING_ID id;
    std::u16string expected;
  } cases[] = {
      {"en-US", 2, u"Hello"},
      {"fr-FR", 2, u"Bonjour"},
      {"EN-us", 2, u"Hello"},                              // language tags compare without case
      {"fr-FR", 3, StatusText(EFI_INVALID_LANGUAGE)},      // skipped here, present in en-US
      {"en-US", 4, StatusText(EFI_INVALID_LANGUAGE)},      // trailing skip
      {"de-DE", 2, StatusText(EFI_INVALID_LANGUAGE)},      // no such language, string exists
      {"en-US", 5, StatusText(EFI_NOT_FOUND)},             // past every language's end
      {"en-US", 0, StatusText(EFI_INVALID_PARAMETER)},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Get(c.language, c.id), c.expected) << c.language << " id " << c.id;
  }
}

TEST_F(HiiStringTest, GetString_SmallBuffer_ReportsBytesIncludingNul) {
  UINTN size = 0;
  CHAR16 probe = 0;
  EXPECT_EQ(Str()->GetString(Str(), "en-US", list_, 2, &probe, &size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(Str()->GetString(Str(), "en-US", list_, 2, nullptr, &size, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HiiStringTest, NewString_ReservesTheNextIdInEveryLanguage) {
  EFI_STRING_ID id = 0;
  ASSERT_EQ(Str()->NewString(Str(), list_, &id, "fr-FR", nullptr, u"Nouveau", nullptr), EFI_SUCCESS);
  EXPECT_EQ(id, 5);
  EXPECT_EQ(Get("fr-FR", 5), u"Nouveau");
  EXPECT_EQ(Get("en-US", 5), u"") << "reserved as an empty string, not a gap";
  ASSERT_EQ(Str()->SetString(Str(), list_, 5, "en-US", u"New", nullptr), EFI_SUCCESS);
  EXPECT_EQ(Get("en-US", 5), u"New");

  ASSERT_EQ(Str()->NewString(Str(), list_, &id, "en-US", nullptr, u"Next", nullptr), EFI_SUCCESS);
  EXPECT_EQ(id, 6);
}

TEST_F(HiiStringTest, NewString_NewLanguage_NeedsItsNameAndKeepsTheNumbering) {
  EFI_STRING_ID id = 0;
  EXPECT_EQ(Str()->NewString(Str(), list_, &id, "de-DE", nullptr, u"Neu", nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Languages(list_), "en-US;fr-FR");
  EXPECT_EQ(Get("en-US", 5), StatusText(EFI_NOT_FOUND)) << "a refused call reserves nothing";

  ASSERT_EQ(Str()->NewString(Str(), list_, &id, "de-DE", u"Deutsch", u"Neu", nullptr), EFI_SUCCESS);
  EXPECT_EQ(id, 5);
  EXPECT_EQ(Languages(list_), "en-US;fr-FR;de-DE");
  EXPECT_EQ(Get("de-DE", 1), u"Deutsch");
  EXPECT_EQ(Get("de-DE", 3), u"");
  EXPECT_EQ(Get("de-DE", 5), u"Neu");
  EXPECT_EQ(Get("en-US", 5), u"");
}

TEST_F(HiiStringTest, SetString_FillsASkippedIdButNotPastTheEnd) {
  EXPECT_EQ(Str()->SetString(Str(), list_, 3, "fr-FR", u"Seul anglais", nullptr), EFI_SUCCESS);
  EXPECT_EQ(Get("fr-FR", 3), u"Seul anglais");
  EXPECT_EQ(Str()->SetString(Str(), list_, 5, "fr-FR", u"x", nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Str()->SetString(Str(), list_, 2, "de-DE", u"x", nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Str()->SetString(Str(), list_, 2, "fr-FR", nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HiiStringTest, NewString_LanguagesEndingAtDifferentIds_Refused) {
  EFI_HII_HANDLE uneven = nullptr;
  ASSERT_EQ(AddList(PackageList(kStoreGuid, {StringPackage("en-US", {u"English", u"A", u"B"}),
                                             StringPackage("fr-FR", {u"Francais", u"A"})}),
                    nullptr, &uneven),
            EFI_SUCCESS);
  EFI_STRING_ID id = 0;
  EXPECT_EQ(Str()->NewString(Str(), uneven, &id, "en-US", nullptr, u"C", nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HiiStringTest, ChangedPackages_ExportAndRegisterAgainWithTheSameStrings) {
  EFI_STRING_ID id = 0;
  ASSERT_EQ(Str()->NewString(Str(), list_, &id, "en-US", nullptr, u"Added", nullptr), EFI_SUCCESS);
  ASSERT_EQ(Str()->SetString(Str(), list_, 2, "fr-FR", u"Salut", nullptr), EFI_SUCCESS);

  Bytes exported = Export(list_);
  std::memcpy(exported.data(), &kStoreGuid, sizeof(EFI_GUID));  // a second list
  EFI_HII_HANDLE copy = nullptr;
  ASSERT_EQ(AddList(exported, nullptr, &copy), EFI_SUCCESS);
  for (const char* language : {"en-US", "fr-FR"}) {
    for (EFI_STRING_ID i = 1; i <= 6; i++) {
      EXPECT_EQ(Get(language, i, copy), Get(language, i, list_)) << language << " id " << i;
    }
  }
}

TEST_F(HiiStringTest, StringBlocks_EveryKindDecodes) {
  Bytes blocks;
  blocks.push_back(EFI_HII_SIBT_STRING_SCSU);  // id 1
  blocks.insert(blocks.end(), {'N', 'a', 'm', 'e', 0});
  blocks.insert(blocks.end(), {EFI_HII_SIBT_EXT2, EFI_HII_SIBT_FONT, 13, 0, 1, 16, 0, 0, 0, 0, 0, 0, 0});  // font: no id
  blocks.insert(blocks.end(), {EFI_HII_SIBT_STRING_UCS2_FONT, 1, 'F', 0, 0, 0});                        // id 2
  blocks.insert(blocks.end(), {EFI_HII_SIBT_STRINGS_UCS2, 2, 0, 'a', 0, 0, 0, 'b', 0, 0, 0});           // ids 3, 4
  blocks.insert(blocks.end(), {EFI_HII_SIBT_SKIP1, 2});                                                  // ids 5, 6
  blocks.insert(blocks.end(), {EFI_HII_SIBT_DUPLICATE, 3, 0});                                           // id 7 = id 3
  blocks.insert(blocks.end(), {EFI_HII_SIBT_STRINGS_SCSU_FONT, 0, 1, 0, 'z', 0});                       // id 8
  blocks.push_back(EFI_HII_SIBT_END);
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(AddList(PackageList(kStoreGuid, {StringPackageWithBlocks("en-US", blocks)}), nullptr, &handle),
            EFI_SUCCESS);

  const std::u16string expected[] = {u"Name", u"F", u"a", u"b", StatusText(EFI_NOT_FOUND),
                                     StatusText(EFI_NOT_FOUND), u"a", u"z", StatusText(EFI_NOT_FOUND)};
  for (EFI_STRING_ID id = 1; id <= 9; id++) {
    EXPECT_EQ(Get("en-US", id, handle), expected[id - 1]) << "id " << id;
  }
}

TEST_F(HiiStringTest, GetSecondaryLanguages_AfterTheSemicolon) {
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(AddList(PackageList(kStoreGuid, {StringPackage("en-US;en-GB;en-AU", {u"English"})}), nullptr, &handle),
            EFI_SUCCESS);
  char buffer[32];
  UINTN size = sizeof buffer;
  ASSERT_EQ(Str()->GetSecondaryLanguages(Str(), handle, "en-US", buffer, &size), EFI_SUCCESS);
  EXPECT_STREQ(buffer, "en-GB;en-AU");
  size = sizeof buffer;
  EXPECT_EQ(Str()->GetSecondaryLanguages(Str(), handle, "fr-FR", buffer, &size), EFI_INVALID_LANGUAGE);
}

}  // namespace
}  // namespace hiitest

// What the form and string compilers produce, registered and used the way
// the driver does: strings by language, the router's view of the store and
// its questions, and a form update between the compiled labels.
#include <HiiSampleBin.h>
#include <HiiSampleConfig.h>
#include <HiiSampleIds.h>
#include <HiiSampleStrDefs.h>
#include <HiiSampleStrings.h>
#include <Library/HiiLib.h>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

constexpr EFI_GUID kCompiledStoreGuid = HII_SAMPLE_STORE_GUID;
constexpr EFI_GUID kCompiledFormSetGuid = HII_SAMPLE_FORMSET_GUID;

class CompiledPackagesTest : public HiiTest {
 protected:
  void SetUp() override {
    HiiTest::SetUp();
    driver_.storeGuid = kCompiledStoreGuid;
    driver_.storeName = u"HiiSampleVar";
    for (std::size_t i = 0; i < driver_.store.size(); i++) {
      driver_.store[i] = static_cast<std::uint8_t>(i + 1);
    }
    handle_ = HiiAddPackages(&kListGuid, driver_.handle, HiiSampleStrings, HiiSampleBin, nullptr);
    ASSERT_NE(handle_, nullptr);
  }

  SampleDriver driver_{uefi, Routing(), kPathGuid, sizeof(HII_SAMPLE_VAR)};
  EFI_HII_HANDLE handle_ = nullptr;
};

TEST_F(CompiledPackagesTest, Strings_EveryLanguageAndTheGapsBetweenThem) {
  EXPECT_EQ(Take(HiiGetString(handle_, STR_TITLE, "fr-FR")), u"Exemple");
  EXPECT_EQ(Take(HiiGetString(handle_, STR_OFF, "fr-FR")), u"Arr\u00eat");
  EXPECT_EQ(Take(HiiGetString(handle_, STR_HELP, "en-US")), u"Help");
  EXPECT_EQ(HiiGetString(handle_, STR_HELP, "fr-FR"), nullptr);
  CHAR16 text[16];
  UINTN size = sizeof text;
  EXPECT_EQ(Str()->GetString(Str(), "fr-FR", handle_, STR_HELP, text, &size, nullptr), EFI_INVALID_LANGUAGE);
  // Both languages end at the same id, so a new string gets one id everywhere.
  EXPECT_NE(HiiSetString(handle_, 0, u"Run time", nullptr), 0);
}

TEST_F(CompiledPackagesTest, Strings_EveryIdentifierInEveryLanguageThatHoldsIt) {
  struct Row {
    EFI_STRING_ID id;
    const char16_t* english;
    const char16_t* french;  // nullptr where the string file has no translation
  };
  const Row rows[] = {
      {1, u"English", u"Fran\u00e7ais"}, {STR_TITLE, u"Sample", u"Exemple"}, {STR_HELP, u"Help", nullptr},
      {STR_MODE, u"Mode", u"Mode"},        {STR_OFF, u"Off", u"Arr\u00eat"},    {STR_ON, u"On", u"Marche"},
      {STR_COUNT, u"Count", u"Nombre"},    {STR_ENABLE, u"Enable", u"Activer"}, {STR_NAME, u"Name", u"Nom"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Take(HiiGetString(handle_, row.id, "en-US")), row.english) << "id " << row.id;
    if (row.french != nullptr) {
      EXPECT_EQ(Take(HiiGetString(handle_, row.id, "fr-FR")), row.french) << "id " << row.id;
    } else {
      EXPECT_EQ(HiiGetString(handle_, row.id, "fr-FR"), nullptr) << "id " << row.id;
    }
  }
}

TEST_F(CompiledPackagesTest, Router_FindsTheCompiledStoreAndAsksForItsQuestions) {
  const std::u16string header = HeaderText(kCompiledStoreGuid, u"HiiSampleVar", driver_.path);
  const CHAR16* progress = nullptr;
  CHAR16* results = nullptr;
  ASSERT_EQ(Routing()->ExtractConfig(Routing(), header.c_str(), &progress, &results), EFI_SUCCESS);
  ASSERT_EQ(driver_.requests.size(), 1u);
  // A bare header becomes one item per compiled question.
  EXPECT_EQ(driver_.requests[0],
            header + u"&OFFSET=0000&WIDTH=0001&OFFSET=0001&WIDTH=0002&OFFSET=0003&WIDTH=0001&OFFSET=0004&WIDTH=0008");
  Take(results);
  static_assert(HIISAMPLE_VARSTORE_HiiSampleVar_SIZE == sizeof(HII_SAMPLE_VAR));
}

TEST_F(CompiledPackagesTest, Router_WholeStoreAndOneElementThereAndBack) {
  const std::u16string header = HeaderText(kCompiledStoreGuid, u"HiiSampleVar", driver_.path);
  const CHAR16* progress = nullptr;
  CHAR16* results = nullptr;

  const std::u16string whole = header + u"&OFFSET=0&WIDTH=000c";
  ASSERT_EQ(Routing()->ExtractConfig(Routing(), whole.c_str(), &progress, &results), EFI_SUCCESS);
  EXPECT_EQ(Take(results), whole + u"&VALUE=0c0b0a090807060504030201");

  const std::u16string element = header + u"&OFFSET=1&WIDTH=2";
  ASSERT_EQ(Routing()->ExtractConfig(Routing(), element.c_str(), &progress, &results), EFI_SUCCESS);
  EXPECT_EQ(Take(results), element + u"&VALUE=0302");  // most significant byte first

  const std::u16string change = header + u"&OFFSET=1&WIDTH=2&VALUE=beef";
  ASSERT_EQ(Routing()->RouteConfig(Routing(), change.c_str(), &progress), EFI_SUCCESS);
  EXPECT_EQ(driver_.store[1], 0xef);
  EXPECT_EQ(driver_.store[2], 0xbe);
  EXPECT_EQ(driver_.store[3], 4) << "the neighbours stay";
}

TEST_F(CompiledPackagesTest, HiiUpdateForm_BetweenTheCompiledLabels) {
  VOID* start = HiiAllocateOpCodeHandle();
  VOID* end = HiiAllocateOpCodeHandle();
  HiiCreateLabelOpCode(start, HIISAMPLE_LABEL_HII_SAMPLE_LABEL_START);
  HiiCreateTextOpCode(start, STR_NAME, STR_HELP, 0);
  HiiCreateLabelOpCode(end, HIISAMPLE_LABEL_HII_SAMPLE_LABEL_END);
  EXPECT_EQ(HiiUpdateForm(handle_, &kCompiledFormSetGuid, HIISAMPLE_FORM_HII_SAMPLE_FORM, start, end), EFI_SUCCESS);
  EXPECT_EQ(HiiUpdateForm(handle_, &kCompiledFormSetGuid, HIISAMPLE_FORM_HII_SAMPLE_FORM, start, end), EFI_SUCCESS)
      << "the labels are still there for the next visit";
  HiiFreeOpCodeHandle(start);
  HiiFreeOpCodeHandle(end);
}

}  // namespace
}  // namespace hiitest

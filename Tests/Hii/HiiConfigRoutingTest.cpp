// The router between configuration strings and the drivers (or variables)
// that own the storage: finding the owner by GUID, NAME and PATH, building
// a full request from the form, EFI variable stores, and Progress in the
// caller's string on every failure.
#include <cstring>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

class HiiConfigRoutingTest : public HiiTest {
 protected:
  void SetUp() override {
    HiiTest::SetUp();
    for (std::size_t i = 0; i < driver_.store.size(); i++) {
      driver_.store[i] = static_cast<std::uint8_t>(0xA0 + i);
    }
    AddSample(driver_);
    uefi.SetVariable(u"EfiVar", kEfiStoreGuid, {1, 2, 3, 4});
  }

  std::u16string Header() const { return HeaderText(kStoreGuid, u"SampleVar", driver_.path); }
  std::u16string EfiHeader() const { return HeaderText(kEfiStoreGuid, u"EfiVar", driver_.path); }

  EFI_STATUS Extract(const std::u16string& request, std::u16string& results, std::u16string& tail) {
    const CHAR16* progress = nullptr;
    CHAR16* out = nullptr;
    EFI_STATUS status = Routing()->ExtractConfig(Routing(), request.c_str(), &progress, &out);
    tail = TailOf(request, progress);
    results = (out == nullptr) ? u"<null>" : Take(out);
    return status;
  }

  EFI_STATUS Route(const std::u16string& configuration, std::u16string& tail) {
    const CHAR16* progress = nullptr;
    EFI_STATUS status = Routing()->RouteConfig(Routing(), configuration.c_str(), &progress);
    tail = TailOf(configuration, progress);
    return status;
  }

  static std::u16string TailOf(const std::u16string& text, const CHAR16* progress) {
    if (progress < text.data() || progress > text.data() + text.size()) {
      return u"<outside>";
    }
    return progress;
  }

  SampleDriver driver_{uefi, Routing(), kPathGuid, 16};
};

TEST_F(HiiConfigRoutingTest, ExtractConfig_HandsTheDriverItsSectionAndReturnsItsAnswer) {
  std::u16string results;
  std::u16string tail;
  const std::u16string request = Header() + u"&OFFSET=0&WIDTH=2";
  ASSERT_EQ(Extract(request, results, tail), EFI_SUCCESS);
  EXPECT_EQ(driver_.requests, std::vector<std::u16string>{request});
  EXPECT_EQ(results, Header() + u"&OFFSET=0&WIDTH=2&VALUE=a1a0");
  EXPECT_EQ(tail, u"");
}

TEST_F(HiiConfigRoutingTest, ExtractConfig_BareHeader_AsksForWhatTheQuestionsStore) {
  std::u16string results;
  std::u16string tail;
  ASSERT_EQ(Extract(Header(), results, tail), EFI_SUCCESS);
  ASSERT_EQ(driver_.requests.size(), 1u);
  EXPECT_EQ(driver_.requests[0],
            Header() + u"&OFFSET=0000&WIDTH=0001&OFFSET=0002&WIDTH=0002&OFFSET=0004&WIDTH=0001&OFFSET=0006&WIDTH=0008");
  EXPECT_EQ(tail, u"");
}

TEST_F(HiiConfigRoutingTest, ExtractConfig_MultiRequest_JoinsSectionsAndReadsEfiStoresItself) {
  std::u16string results;
  std::u16string tail;
  const std::u16string request = Header() + u"&OFFSET=4&WIDTH=1&" + EfiHeader() + u"&OFFSET=0&WIDTH=4";
  ASSERT_EQ(Extract(request, results, tail), EFI_SUCCESS);
  EXPECT_EQ(results, Header() + u"&OFFSET=4&WIDTH=1&VALUE=a4&" + EfiHeader() + u"&OFFSET=0&WIDTH=4&VALUE=04030201");
  EXPECT_EQ(driver_.requests.size(), 1u) << "the driver never sees its EFI variable store";
}

TEST_F(HiiConfigRoutingTest, RouteConfig_WritesTheDriverBufferAndTheVariable) {
  std::u16string tail;
  const std::u16string configuration =
      Header() + u"&OFFSET=2&WIDTH=2&VALUE=beef&" + EfiHeader() + u"&OFFSET=1&WIDTH=1&VALUE=7f";
  ASSERT_EQ(Route(configuration, tail), EFI_SUCCESS);
  EXPECT_EQ(driver_.store[2], 0xEF);
  EXPECT_EQ(driver_.store[3], 0xBE);
  EXPECT_EQ(*uefi.Variable(u"EfiVar", kEfiStoreGuid), (std::vector<std::uint8_t>{1, 0x7F, 3, 4}));
  EXPECT_EQ(uefi.variableAttributes.begin()->second, 7u) << "written with the store's attributes";
  EXPECT_EQ(tail, u"");
}

struct BadSection {
  const char* name;
  bool extract;  // ExtractConfig, else RouteConfig
  std::u16string text;
  EFI_STATUS status;
  std::u16string tail;
};

class RoutingBadSection : public HiiConfigRoutingTest, public ::testing::WithParamInterface<int> {};

std::vector<BadSection> BadSections() {
  const Bytes path = VendorDevicePath(kPathGuid);
  const std::u16string good = HeaderText(kStoreGuid, u"SampleVar", path);
  const std::u16string goodItem = good + u"&OFFSET=0&WIDTH=1";
  const std::u16string goodValue = goodItem + u"&VALUE=00";
  const std::u16string wrongGuid = HeaderText(kListGuid, u"SampleVar", path);
  const std::u16string wrongName = HeaderText(kStoreGuid, u"Other", path);
  const std::u16string shortGuid = u"GUID=" + good.substr(5, 31) + good.substr(37);
  const std::u16string oddPath = good.substr(0, good.size() - 1);
  const std::u16string noPath = good.substr(0, good.find(u"&PATH="));
  const std::u16string badPath = good.substr(0, good.find(u"&PATH=")) + u"&PATH=01041400";
  const std::u16string otherPath = HeaderText(kStoreGuid, u"SampleVar", VendorDevicePath(kListGuid));
  return {
      {"ExtractNotAHeader", true, u"NAME=00&PATH=00", EFI_INVALID_PARAMETER, u"NAME=00&PATH=00"},
      {"ExtractUnknownPath", true, otherPath + u"&OFFSET=0&WIDTH=1", EFI_NOT_FOUND, otherPath + u"&OFFSET=0&WIDTH=1"},
      {"ExtractWrongGuid", true, wrongGuid + u"&OFFSET=0&WIDTH=1", EFI_NOT_FOUND, wrongGuid + u"&OFFSET=0&WIDTH=1"},
      {"ExtractWrongName", true, wrongName, EFI_NOT_FOUND, wrongName},
      {"ExtractTruncatedGuid", true, shortGuid, EFI_NOT_FOUND, shortGuid},
      {"ExtractOddPathDigits", true, oddPath, EFI_NOT_FOUND, oddPath},
      {"ExtractPathWithoutEndNode", true, badPath, EFI_NOT_FOUND, badPath},
      {"ExtractNoPath", true, noPath, EFI_INVALID_PARAMETER, noPath},
      {"ExtractNotAnOffset", true, good + u"&VALUE=00", EFI_INVALID_PARAMETER, u"&VALUE=00"},
      {"ExtractWidthMissing", true, good + u"&OFFSET=0", EFI_INVALID_PARAMETER, u""},
      {"ExtractSecondSectionUnknown", true, goodItem + u"&" + otherPath, EFI_NOT_FOUND, otherPath},
      {"ExtractSecondSectionRefused", true, goodItem + u"&" + wrongGuid, EFI_NOT_FOUND, wrongGuid},
      {"ExtractSecondSectionPathBroken", true, goodItem + u"&" + oddPath, EFI_NOT_FOUND, u"&" + oddPath},
      {"ExtractWidthPastTheBuffer", true, good + u"&OFFSET=f&WIDTH=2", EFI_DEVICE_ERROR, u""},
      {"RouteWrongGuid", false, wrongGuid + u"&OFFSET=0&WIDTH=1&VALUE=00", EFI_NOT_FOUND,
       wrongGuid + u"&OFFSET=0&WIDTH=1&VALUE=00"},
      {"RouteNoPath", false, noPath, EFI_INVALID_PARAMETER, noPath},
      {"RouteValueNotHex", false, good + u"&OFFSET=0&WIDTH=1&VALUE=zz", EFI_INVALID_PARAMETER,
       u"&OFFSET=0&WIDTH=1&VALUE=zz"},
      {"RouteSecondSectionMalformed", false, goodValue + u"&" + good + u"&OFFSET=1&VALUE=00", EFI_INVALID_PARAMETER,
       u"&OFFSET=1&VALUE=00"},
  };
}

TEST_P(RoutingBadSection, FailsWithProgressInTheCallersString) {
  const BadSection c = BadSections()[static_cast<std::size_t>(GetParam())];
  std::u16string results;
  std::u16string tail;
  const EFI_STATUS status = c.extract ? Extract(c.text, results, tail) : Route(c.text, tail);
  EXPECT_EQ(status, c.status) << c.name;
  EXPECT_EQ(tail, c.tail) << c.name;
  if (c.extract) {
    EXPECT_EQ(results, u"<null>") << c.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Table, RoutingBadSection, ::testing::Range(0, static_cast<int>(BadSections().size())),
                         [](const auto& info) { return std::string(BadSections()[info.param].name); });

TEST_F(HiiConfigRoutingTest, DriverFailure_ProgressIsMappedIntoTheCallersString) {
  const std::u16string first = Header() + u"&OFFSET=0&WIDTH=1";
  const std::u16string second = Header() + u"&OFFSET=2&WIDTH=2&OFFSET=4&WIDTH=1";
  const std::u16string request = first + u"&" + second;
  driver_.failWith = EFI_INVALID_PARAMETER;
  driver_.failWhen = u"&OFFSET=4";
  driver_.failAt = second.find(u"&OFFSET=4");
  std::u16string results;
  std::u16string tail;

  EXPECT_EQ(Extract(request, results, tail), EFI_INVALID_PARAMETER);
  EXPECT_EQ(tail, u"&OFFSET=4&WIDTH=1") << "the second section failed at its own element";
  EXPECT_EQ(driver_.requests.back(), second) << "each section reaches the driver alone";

  driver_.failWhen.clear();
  driver_.failAt = first.size();  // the end of the first section's copy
  EXPECT_EQ(Extract(request, results, tail), EFI_INVALID_PARAMETER);
  EXPECT_EQ(tail, u"&" + second);

  driver_.progressOutside = true;
  EXPECT_EQ(Route(first + u"&VALUE=00", tail), EFI_INVALID_PARAMETER);
  EXPECT_EQ(tail, first + u"&VALUE=00") << "a Progress outside the copy falls back to the section start";
}

TEST_F(HiiConfigRoutingTest, EfiStoreMissingVariable_FailsWithoutCallingTheDriver) {
  uefi.variables.clear();
  std::u16string results;
  std::u16string tail;
  EXPECT_EQ(Extract(EfiHeader() + u"&OFFSET=0&WIDTH=1", results, tail), EFI_NOT_FOUND);
  EXPECT_TRUE(driver_.requests.empty());
  EXPECT_EQ(Route(EfiHeader() + u"&OFFSET=0&WIDTH=1&VALUE=00", tail), EFI_NOT_FOUND);
  EXPECT_TRUE(driver_.routed.empty());
}

TEST_F(HiiConfigRoutingTest, ExportConfig_CollectsEveryStoreOfEveryDriver) {
  CHAR16* results = nullptr;
  ASSERT_EQ(Routing()->ExportConfig(Routing(), &results), EFI_SUCCESS);
  EXPECT_EQ(Take(results),
            Header() + u"&OFFSET=0000&WIDTH=0001&VALUE=a0&OFFSET=0002&WIDTH=0002&VALUE=a3a2"
                       u"&OFFSET=0004&WIDTH=0001&VALUE=a4&OFFSET=0006&WIDTH=0008&VALUE=adacabaaa9a8a7a6&" +
                EfiHeader() + u"&OFFSET=0001&WIDTH=0001&VALUE=02");
}

TEST_F(HiiConfigRoutingTest, GetAltConfig_PicksTheSectionOfTheDefaultStore) {
  const std::u16string response = Header() + u"&OFFSET=0&WIDTH=1&VALUE=05&" + Header() +
                                  u"&ALTCFG=0001&OFFSET=0&WIDTH=1&VALUE=01&" + Header() +
                                  u"&ALTCFG=0000&OFFSET=0&WIDTH=1&VALUE=00";
  const UINT16 standard = 0;
  CHAR16* out = nullptr;
  ASSERT_EQ(Routing()->GetAltConfig(Routing(), response.c_str(), &kStoreGuid, u"SampleVar",
                                    reinterpret_cast<const EFI_DEVICE_PATH_PROTOCOL*>(driver_.path.data()), &standard,
                                    &out),
            EFI_SUCCESS);
  EXPECT_EQ(Take(out), Header() + u"&OFFSET=0&WIDTH=1&VALUE=00");
  const UINT16 safe = 2;
  EXPECT_EQ(Routing()->GetAltConfig(Routing(), response.c_str(), &kStoreGuid, u"SampleVar", nullptr, &safe, &out),
            EFI_NOT_FOUND);
}

}  // namespace
}  // namespace hiitest

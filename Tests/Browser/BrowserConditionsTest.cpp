// Suppress, gray-out and disable conditions as the browser shows them,
// including conditions on questions that live in another form.
#include "BrowserFixture.hpp"

namespace browsertest {
namespace {

using carvex::sim::browser::ItemView;

std::string States(const ItemView& item) {
  std::string words = item.Shown() ? "shown" : "hidden";
  if (item.grayed) words += " grayed";
  if (item.readOnly) words += " read-only";
  return words;
}

struct ConditionCase {
  const char* name;
  std::function<void(BROWSER_SAMPLE_VAR&)> prepare;
  std::u16string prompt;
  std::string states;
};

class ConditionTest : public BrowserTest, public ::testing::WithParamInterface<ConditionCase> {};

TEST_P(ConditionTest, StoreValues_DecideWhatTheFormShows) {
  GetParam().prepare(driver_.sample);
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  EXPECT_EQ(States(Item(GetParam().prompt)), GetParam().states);
}

INSTANTIATE_TEST_SUITE_P(
    Conditions, ConditionTest,
    ::testing::Values(
        ConditionCase{"NoModules_TotalSuppressed", [](BROWSER_SAMPLE_VAR& v) { v.Count = 0; }, u"Total Capacity",
                      "hidden read-only"},
        ConditionCase{"Modules_TotalShown", [](BROWSER_SAMPLE_VAR& v) { v.Count = 2; }, u"Total Capacity",
                      "shown read-only"},
        ConditionCase{"NoRegion_LinkGrayedByOtherFormsQuestion", [](BROWSER_SAMPLE_VAR& v) { v.RegionCount = 0; },
                      u"Regions", "shown grayed"},
        ConditionCase{"Regions_LinkSelectable", [](BROWSER_SAMPLE_VAR& v) { v.RegionCount = 3; }, u"Regions", "shown"},
        ConditionCase{"ModeOne_ExtraDisabled", [](BROWSER_SAMPLE_VAR& v) { v.Mode = 1; }, u"Extra Setting", "hidden"},
        ConditionCase{"ModeZero_ExtraShown", [](BROWSER_SAMPLE_VAR& v) { v.Mode = 0; }, u"Extra Setting", "shown"},
        ConditionCase{"BothModes_PercentEditable",
                      [](BROWSER_SAMPLE_VAR& v) { v.MemorySupported = v.AppDirectSupported = 1; }, u"Memory Mode [%]",
                      "shown"},
        ConditionCase{"MemoryOnly_PercentGrayed", [](BROWSER_SAMPLE_VAR& v) { v.MemorySupported = 1; },
                      u"Memory Mode [%]", "shown grayed"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(BrowserTest, OptionCondition_OffersOptionOnlyWhenItHolds) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  EXPECT_EQ(Item(u"Scope").options, (std::vector<std::u16string>{u"Platform", u"Processor"}));
  Browser().Home();
  driver_.sample.Unconfigured = 1;
  Run("goto \"Browser Sample\"");
  EXPECT_EQ(Item(u"Scope").options, (std::vector<std::u16string>{u"Platform", u"Processor", u"Unconfigured"}));
}

}  // namespace
}  // namespace browsertest

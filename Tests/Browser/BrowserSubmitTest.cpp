// Save, discard and load defaults: what reaches the driver and the variable
// store, and which platform event follows.
#include <cstring>

#include "BrowserFixture.hpp"
#include "Platform/Ucs2.hpp"
#include "BootThroughSetup.hpp"

namespace browsertest {
namespace {

std::u16string Hex(const char* text) { return std::u16string(text, text + std::strlen(text)); }

TEST_F(BrowserTest, Save_RoutesOnlyChangedStoresWithOnlyQuestionItems) {
  driver_.sample.Spare = 0x5A;  // no question covers it
  driver_.onCallback = [this](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action == EFI_BROWSER_ACTION_CHANGING && call.question == QID_DETAILS) driver_.SetPageData(7, 1);
    return EFI_UNSUPPORTED;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nselect \"Details\"\nback\nset \"Scope\" Processor\nsave");
  ASSERT_EQ(driver_.routes.size(), 1u) << "the driver filled the page store; the user did not change it";
  const std::u16string& routed = driver_.routes[0];
  EXPECT_NE(routed.find(Hex("&OFFSET=0018&WIDTH=0001&VALUE=01")), std::u16string::npos);
  EXPECT_EQ(routed.find(Hex("&OFFSET=0033")), std::u16string::npos) << "a byte no question covers";
  EXPECT_EQ(routed.find(Hex("&OFFSET=0034")), std::u16string::npos) << "a password with a callback";
  EXPECT_EQ(driver_.sample.Scope, 1);
  EXPECT_EQ(SetupSlots().back(), 3u);
  // SUBMITTED to the callback questions of the routed store, not to those
  // of the EFI variable.
  EXPECT_EQ(ActionsOf(QID_ENABLED).back(), EFI_BROWSER_ACTION_SUBMITTED);
  EXPECT_NE(ActionsOf(QID_THRESHOLD).back(), EFI_BROWSER_ACTION_SUBMITTED);
}

TEST_F(BrowserTest, SaveEfiVariableStore_WritesTheVariableItself) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nset \"Threshold [%]\" 33\nsave");
  EXPECT_TRUE(driver_.routes.empty());
  const auto data = machine_.Variables().Data(u"SampleNv", kNvGuid);
  ASSERT_TRUE(data.has_value());
  ASSERT_EQ(data->size(), 2u);
  EXPECT_EQ((*data)[0], 33);
}

TEST_F(BrowserTest, Discard_RestoresValuesTellsTheDriverAndRaisesDiscard) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"\ncheck \"Enable Feature\"");
  driver_.calls.clear();
  Run("discard\nexpect \"Enable Feature\" unchecked");
  ASSERT_EQ(driver_.calls.size(), 1u);
  EXPECT_EQ(driver_.calls[0].action, EFI_BROWSER_ACTION_CHANGED);
  EXPECT_EQ(unsigned{driver_.calls[0].value.b}, 0u) << "CHANGED carries the restored value";
  EXPECT_TRUE(driver_.routes.empty());
  EXPECT_EQ(SetupSlots(), std::vector<unsigned>{4});
}

struct DefaultCase {
  std::u16string prompt;
  std::string value;
};

TEST_F(BrowserTest, LoadDefaults_EachKindOfDefault) {
  driver_.sample.Scope = 1;
  driver_.sample.Percent = 7;
  driver_.sample.Count = 4;
  driver_.sample.Extra = 9;
  driver_.sample.MemorySupported = 1;  // the expression default gives 100
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nset \"Threshold [%]\" 50");
  driver_.calls.clear();
  Run("defaults");
  const DefaultCase cases[] = {
      {u"Scope", "Platform"},              // option flag
      {u"Enable Feature", "checked"},      // check box flag
      {u"Memory Mode [%]", "100"},         // expression
      {u"Extra Setting", "3"},             // constant
      {u"Threshold [%]", "10"},            // constant, EFI variable store
      {u"Module Count", "0"},              // none given: the minimum
  };
  for (const DefaultCase& c : cases) {
    EXPECT_EQ(carvex::sim::Utf16ToUtf8(Item(c.prompt).value), c.value) << carvex::sim::Utf16ToUtf8(c.prompt);
  }
  EXPECT_EQ(ActionsOf(QID_ENABLED).front(), EFI_BROWSER_ACTION_DEFAULT_STANDARD) << "callback questions are asked";
  EXPECT_EQ(SetupSlots(), std::vector<unsigned>{5});
}

TEST_F(BrowserTest, ManufacturingDefaults_ThenTheStandardOnesWhereNoneIsGiven) {
  driver_.sample.Scope = 1;
  BootIntoSetup();
  Run("goto \"Browser Sample\"\n"
      "defaults manufacturing\n"
      "expect \"Extra Setting\" = 5\n"
      "expect \"Scope\" = Platform\n"
      "expect \"Enable Feature\" checked\n"
      "expect \"Threshold [%]\" = 10");
  EXPECT_EQ(ActionsOf(QID_ENABLED).back(), EFI_BROWSER_ACTION_DEFAULT_MANUFACTURING);
}

TEST_F(BrowserTest, DefaultCallbackAnswer_WinsOverTheFormsDefault) {
  driver_.onCallback = [](const DriverCall& call, EFI_IFR_TYPE_VALUE* value, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_DEFAULT_STANDARD || call.question != QID_THRESHOLD) return EFI_UNSUPPORTED;
    value->u8 = 77;
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\ndefaults\nexpect \"Threshold [%]\" = 77");
}

TEST_F(BrowserTest, ExtractFails_FormDefaultsShown) {
  driver_.sample.Scope = 1;
  driver_.extractStatus = EFI_DEVICE_ERROR;
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nexpect \"Scope\" = Platform\nexpect \"Enable Feature\" checked");
}

TEST_F(BrowserTest, DiscardOnLeaving_DriverStillReachesItsStores) {
  std::optional<int> enabledSeen;
  driver_.onCallback = [&](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    BROWSER_SAMPLE_VAR seen{};
    if (call.action == EFI_BROWSER_ACTION_CHANGED && call.question == QID_ENABLED && driver_.ReadSample(seen)) {
      enabledSeen = seen.Enabled;
    }
    return EFI_UNSUPPORTED;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\ncheck \"Enable Feature\"", true);
  EXPECT_EQ(enabledSeen, 0) << "the discard's CHANGED could read the restored value";
  EXPECT_EQ(SetupSlots(), std::vector<unsigned>{4});
}

TEST_F(BrowserTest, LeavingSetup_RaisesOneEventForTheSession) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nset \"Scope\" Processor\nsave", true);
  EXPECT_EQ(SetupSlots(), std::vector<unsigned>{3}) << "a save with nothing after it";
  Run("goto \"Browser Sample\"\nset \"Scope\" Platform", true);
  EXPECT_EQ(SetupSlots(), (std::vector<unsigned>{3, 4})) << "unsaved work is discarded on the way out";
  EXPECT_EQ(driver_.sample.Scope, 1);
}

TEST_F(BrowserTest, BootThroughSetup_OneLeaveEventThenTheRestOfTheBoot) {
  carvex::sim::browser::ScriptResult script;
  const auto summary = carvex::sim::browser::RunBootThroughSetup(
      machine_, browserMachine_, [&](carvex::sim::browser::FormBrowser& browser) {
        script = carvex::sim::browser::RunSetupScript(browser, "goto \"Browser Sample\"\nset \"Scope\" Processor\nsave");
      });
  EXPECT_TRUE(script.ok) << script.Describe();
  ASSERT_EQ(summary.boots.size(), 1u);
  std::vector<unsigned> slots;
  for (const auto& call : summary.boots[0].slots) slots.push_back(call.slot);
  EXPECT_EQ(slots, (std::vector<unsigned>{0, 1, 2, 3})) << "the script's save, nothing more on the way out";
  EXPECT_TRUE(summary.boots[0].setupEntered);
  EXPECT_EQ(driver_.sample.Scope, 1);
}

}  // namespace
}  // namespace browsertest

// How the browser calls the driver: which actions, in which order, with
// which question, type and value, and what it makes of the answers.
#include "BrowserFixture.hpp"
#include "BrowserSampleStrDefs.h"

namespace browsertest {
namespace {

using Call = std::pair<EFI_BROWSER_ACTION, EFI_QUESTION_ID>;

std::vector<Call> Sequence(const std::vector<DriverCall>& calls) {
  std::vector<Call> sequence;
  for (const DriverCall& call : calls) sequence.emplace_back(call.action, call.question);
  return sequence;
}

// The callback questions of the main form, in form order.
const std::vector<EFI_QUESTION_ID> kMainCallbacks = {QID_ENABLED, QID_NAME, QID_THRESHOLD, QID_DETAILS, QID_APPLY};

std::vector<Call> Each(EFI_BROWSER_ACTION action) {
  std::vector<Call> calls;
  for (EFI_QUESTION_ID id : kMainCallbacks) calls.emplace_back(action, id);
  return calls;
}

std::vector<Call> Join(std::initializer_list<std::vector<Call>> parts) {
  std::vector<Call> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(BrowserTest, OpeningAndLeavingForms_SendOpenRetrieveAndCloseToCallbackQuestions) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  // Each buffer store is read whole, once, before the first callback.
  ASSERT_EQ(driver_.extracts.size(), 2u);
  EXPECT_NE(driver_.extracts[0].find(u"&OFFSET=0&WIDTH=004e"), std::u16string::npos);
  EXPECT_NE(driver_.extracts[1].find(u"&OFFSET=0&WIDTH=0002"), std::u16string::npos);
  EXPECT_EQ(Sequence(driver_.calls), Join({Each(EFI_BROWSER_ACTION_FORM_OPEN), Each(EFI_BROWSER_ACTION_RETRIEVE)}));

  driver_.calls.clear();
  Run("select \"Details\"\nexpect form \"Details\"\nback");
  EXPECT_EQ(Sequence(driver_.calls),
            Join({{{EFI_BROWSER_ACTION_CHANGING, QID_DETAILS}},
                  Each(EFI_BROWSER_ACTION_FORM_CLOSE),
                  Each(EFI_BROWSER_ACTION_FORM_OPEN),
                  Each(EFI_BROWSER_ACTION_RETRIEVE)}));
  const DriverCall link = driver_.calls.front();
  EXPECT_EQ(link.type, EFI_IFR_TYPE_REF);
  EXPECT_EQ(unsigned{link.value.ref.FormId}, FORM_DETAILS);
  EXPECT_EQ(driver_.extracts.size(), 2u) << "moving between forms reads no store again";
}

struct ChangingCase {
  const char* name;
  EFI_STATUS status;
  UINT8 replacement;         // written into the value when the answer is EFI_SUCCESS
  std::string shown;         // the threshold afterwards
  bool changedSent;
};

class ChangingAnswerTest : public BrowserTest, public ::testing::WithParamInterface<ChangingCase> {};

TEST_P(ChangingAnswerTest, AnswerToChanging_DecidesTheValueAndTheChangedCall) {
  const ChangingCase& c = GetParam();
  driver_.onCallback = [&c](const DriverCall& call, EFI_IFR_TYPE_VALUE* value, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_CHANGING) return EFI_UNSUPPORTED;
    if (c.status == EFI_SUCCESS) value->u8 = c.replacement;
    return c.status;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  driver_.calls.clear();
  Run("set \"Threshold [%]\" 50\nexpect \"Threshold [%]\" = " + c.shown);
  const auto calls = driver_.CallsOf(QID_THRESHOLD);
  ASSERT_EQ(calls.size(), c.changedSent ? 2u : 1u);
  EXPECT_EQ(calls[0].action, EFI_BROWSER_ACTION_CHANGING);
  EXPECT_EQ(calls[0].type, EFI_IFR_TYPE_NUM_SIZE_8);
  EXPECT_EQ(unsigned{calls[0].value.u8}, 50u) << "CHANGING carries the new value";
  if (c.changedSent) {
    EXPECT_EQ(calls[1].action, EFI_BROWSER_ACTION_CHANGED);
    EXPECT_EQ(std::to_string(calls[1].value.u8), c.shown);
  }
}

INSTANTIATE_TEST_SUITE_P(Answers, ChangingAnswerTest,
                         ::testing::Values(ChangingCase{"Success_DriversValueKept", EFI_SUCCESS, 60, "60", true},
                                           ChangingCase{"Unsupported_TypedValueKept", EFI_UNSUPPORTED, 0, "50", true},
                                           ChangingCase{"Error_ChangeRejected", EFI_ACCESS_DENIED, 0, "10", false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(BrowserTest, ValueUnchanged_NoChangedCall) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nset \"Threshold [%]\" 10");
  EXPECT_EQ(ActionsOf(QID_THRESHOLD).back(), EFI_BROWSER_ACTION_CHANGING);
}

TEST_F(BrowserTest, CheckBoxAndString_CarryBooleanAndStringValues) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  driver_.calls.clear();
  Run("check \"Enable Feature\"\nset \"Name\" abc");
  ASSERT_EQ(driver_.calls.size(), 4u);
  EXPECT_EQ(driver_.calls[0].type, EFI_IFR_TYPE_BOOLEAN);
  EXPECT_EQ(unsigned{driver_.calls[0].value.b}, 1u);
  EXPECT_EQ(driver_.calls[2].question, QID_NAME);
  EXPECT_EQ(driver_.calls[2].type, EFI_IFR_TYPE_STRING);
  EXPECT_EQ(driver_.calls[2].text, u"abc") << "the value is a string of the driver's own package list";
  EXPECT_EQ(driver_.calls[3].text, u"abc");
}

TEST_F(BrowserTest, Button_ChangingThenChangedAndRequestOnlyAfterChanged) {
  driver_.onCallback = [](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST* request) {
    if (call.question != QID_APPLY) return EFI_UNSUPPORTED;
    if (call.action == EFI_BROWSER_ACTION_CHANGING) {
      *request = EFI_BROWSER_ACTION_REQUEST_EXIT;  // ignored: only CHANGED's request counts
      return EFI_SUCCESS;
    }
    if (call.action == EFI_BROWSER_ACTION_CHANGED) *request = EFI_BROWSER_ACTION_REQUEST_EXIT;
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"");
  driver_.calls.clear();
  Run("press \"Press to Apply\"");
  const auto calls = driver_.CallsOf(QID_APPLY);
  ASSERT_GE(calls.size(), 2u);
  EXPECT_EQ(calls[0].action, EFI_BROWSER_ACTION_CHANGING);
  EXPECT_EQ(calls[0].type, EFI_IFR_TYPE_ACTION);
  EXPECT_EQ(unsigned{calls[0].value.string}, unsigned{STR_EMPTY}) << "an action's value is its configuration string";
  EXPECT_EQ(calls[1].action, EFI_BROWSER_ACTION_CHANGED);
  EXPECT_FALSE(Browser().InFormSet()) << "EXIT after CHANGED leaves the form set";
  EXPECT_TRUE(Browser().ResetRequired()) << "a reset-required button without storage";
}

TEST_F(BrowserTest, RetrieveAnswer_BecomesTheValueShown) {
  driver_.onCallback = [](const DriverCall& call, EFI_IFR_TYPE_VALUE* value, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_RETRIEVE || call.question != QID_THRESHOLD) return EFI_UNSUPPORTED;
    value->u8 = 42;
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nexpect \"Threshold [%]\" = 42");
}

TEST_F(BrowserTest, FormOpenError_AbortsTheFormSet) {
  driver_.onCallback = [](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    return call.action == EFI_BROWSER_ACTION_FORM_OPEN ? EFI_DEVICE_ERROR : EFI_UNSUPPORTED;
  };
  BootIntoSetup();
  const auto result = RunFailing("goto \"Browser Sample\"");
  EXPECT_NE(result.message.find("FORM_OPEN"), std::string::npos) << result.message;
  EXPECT_FALSE(Browser().InFormSet());
  EXPECT_EQ(ActionsOf(QID_ENABLED), std::vector<EFI_BROWSER_ACTION>{EFI_BROWSER_ACTION_FORM_OPEN})
      << "the first refusal stops the calls";
}

TEST_F(BrowserTest, LinkRefused_StaysOnTheForm) {
  driver_.onCallback = [](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    return call.action == EFI_BROWSER_ACTION_CHANGING ? EFI_NOT_READY : EFI_UNSUPPORTED;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nselect \"Details\"\nexpect form \"Browser Sample\"");
}

TEST_F(BrowserTest, SetBrowserDataAndUpdateFormInLinkCallback_ShowOnTheNextForm) {
  driver_.onCallback = [this](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_CHANGING || call.question != QID_DETAILS) return EFI_UNSUPPORTED;
    EXPECT_TRUE(driver_.SetPageData(7, 1));
    EXPECT_EQ(driver_.AddDetailsLines(), EFI_SUCCESS);
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\n"
      "select \"Details\"\n"
      "expect \"Page Count\" = 7\n"
      "expect \"Level\" = Processor\n"
      "expect \"Region 1\" shown\n"
      "expect \"Scope\" = Processor\n");
  // The one-of the update added is a callback question of the form now.
  EXPECT_EQ(ActionsOf(0x0301),
            (std::vector<EFI_BROWSER_ACTION>{EFI_BROWSER_ACTION_FORM_OPEN, EFI_BROWSER_ACTION_RETRIEVE}));
}

TEST_F(BrowserTest, GetBrowserDataInCallback_SeesUnsavedEdits) {
  int scopeSeen = -1;
  driver_.onCallback = [&](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_CHANGING || call.question != QID_APPLY) return EFI_UNSUPPORTED;
    BROWSER_SAMPLE_VAR seen{};
    if (driver_.ReadSample(seen)) scopeSeen = seen.Scope;
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nset \"Scope\" Processor\npress \"Press to Apply\"");
  EXPECT_EQ(scopeSeen, 1);
  EXPECT_EQ(driver_.sample.Scope, 0) << "nothing reached the driver's own store";
}

TEST_F(BrowserTest, SendFormFromCallback_RunsTheFormUntilTheUserLeavesIt) {
  EFI_STATUS sent = EFI_NOT_STARTED;
  EFI_BROWSER_ACTION_REQUEST request = 99;
  driver_.onCallback = [&](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.action != EFI_BROWSER_ACTION_CHANGING || call.question != QID_APPLY) return EFI_UNSUPPORTED;
    sent = driver_.SendForm(FORM_REGIONS, &request);
    return EFI_SUCCESS;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\n"
      "press \"Press to Apply\"\n"
      "expect form \"Regions\"\n"
      "expect \"Region 1\" shown\n"
      "back\n"
      "expect form \"Browser Sample\"");
  EXPECT_EQ(sent, EFI_SUCCESS);
  EXPECT_EQ(request, EFI_BROWSER_ACTION_REQUEST_NONE);
}

TEST_F(BrowserTest, BrowserDataOutsideAFormSet_NotAvailable) {
  BootIntoSetup();
  BROWSER_SAMPLE_VAR seen{};
  EXPECT_FALSE(driver_.ReadSample(seen)) << "on the front page";
  EXPECT_FALSE(driver_.SetPageData(1, 1));
}

TEST_F(BrowserTest, AskingBoxWithoutFrontEnd_AnswersStop) {
  BootIntoSetup();
  EXPECT_EQ(driver_.ShowBox(u"Warning", u"Go on?", 3), 1);
  EXPECT_EQ(driver_.ShowBox(u"Warning", u"Not a box type", 2), 0xFF) << "nothing shown, nothing chosen";
}

}  // namespace
}  // namespace browsertest

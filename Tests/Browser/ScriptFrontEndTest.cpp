// The script front end: how it reads lines, answers boxes, and reports the
// first failure with its line, what was expected and what was seen.
#include "BrowserFixture.hpp"
#include "ScriptLines.hpp"

namespace browsertest {
namespace {

using carvex::sim::browser::ScriptLine;
using carvex::sim::browser::ScriptSyntaxError;
using carvex::sim::browser::SplitScript;

TEST(ScriptLinesTest, QuotesEscapesOccurrencesAndComments) {
  std::optional<ScriptSyntaxError> error;
  const auto lines = SplitScript("# heading\n\n  set \"A \\\"b\\\"\"[2] x   # why\nback", error);
  ASSERT_FALSE(error);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].number, 3u);
  ASSERT_EQ(lines[0].tokens.size(), 3u);
  EXPECT_EQ(lines[0].tokens[1].text, "A \"b\"");
  EXPECT_TRUE(lines[0].tokens[1].quoted);
  EXPECT_EQ(lines[0].tokens[1].occurrence, 2u);
  EXPECT_FALSE(lines[0].tokens[2].quoted);
  EXPECT_EQ(lines[1].number, 4u);
}

struct FailureCase {
  const char* name;
  std::string script;
  unsigned line;
  std::string message;
};

class ScriptFailureTest : public BrowserTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(ScriptFailureTest, FirstFailure_StopsWithLineExpectedAndSeen) {
  BootIntoSetup();
  const auto result = RunFailing(GetParam().script + "\nsave");
  EXPECT_EQ(result.line, GetParam().line);
  EXPECT_EQ(result.message, GetParam().message);
  EXPECT_TRUE(SetupSlots().empty()) << "nothing after the failure ran";
}

const std::string kOpen = "goto \"Browser Sample\"\n";

INSTANTIATE_TEST_SUITE_P(
    Failures, ScriptFailureTest,
    ::testing::Values(
        FailureCase{"Value", kOpen + "\n# scope\nexpect \"Scope\" = Processor", 4,
                    "expected \"Scope\" = \"Processor\", saw \"Platform\""},
        FailureCase{"State", kOpen + "expect \"Regions\" selectable", 2,
                    "expected \"Regions\" selectable, saw shown grayed"},
        FailureCase{"MissingItem", kOpen + "select \"Nowhere\"", 2,
                    "no item \"Nowhere\" on form \"Browser Sample\""},
        FailureCase{"PresentNotAbsent", kOpen + "expect \"Nowhere\" absent\nexpect \"Scope\" absent", 3,
                    "expected \"Scope\" absent, saw it on the form"},
        FailureCase{"SecondOccurrence", kOpen + "expect \"Scope\"[2] shown", 2,
                    "no item \"Scope\"[2] on form \"Browser Sample\""},
        FailureCase{"GrayedLink", kOpen + "select \"Regions\"", 2, "select failed: the link is grayed out"},
        FailureCase{"OutOfRange", kOpen + "set \"Threshold [%]\" 200", 2, "set failed: value out of range 2..99"},
        FailureCase{"NoSuchOption", kOpen + "set \"Scope\" Unconfigured", 2,
                    "\"Scope\" offers no option \"Unconfigured\""},
        FailureCase{"NoBox", kOpen + "expect box \"Done\"", 2, "expected a box \"Done\", saw no box"},
        FailureCase{"AnswerWithoutBox", kOpen + "answer yes", 2, "no box is waiting for an answer"},
        FailureCase{"UnusedPasswords", kOpen + "select \"Security\"\npassword \"Set PIN\" \"1234\"", 3,
                    "the browser asked for 0 password(s), the script gave 1"},
        FailureCase{"UnknownCommand", "frobnicate", 1, "unknown command \"frobnicate\""},
        FailureCase{"Unterminated", kOpen + "goto \"Browser", 2, "unterminated string"}),
    [](const auto& info) { return std::string(info.param.name); });

class ScriptBoxTest : public BrowserTest {
 protected:
  void SetUp() override {
    driver_.onCallback = [this](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
      if (call.action != EFI_BROWSER_ACTION_CHANGING || call.question != QID_APPLY) return EFI_UNSUPPORTED;
      selection_ = driver_.ShowBox(u"Warning", u"Really apply?", 3);
      if (selection_ == 0) driver_.ShowBox(u"Info", u"Applied.", 1);
      driver_.ShowBox(u"Info", u"Done.", 1);
      return EFI_SUCCESS;
    };
    BootIntoSetup();
    Run(kOpen);
  }
  UINT8 selection_ = 0xFF;
};

TEST_F(ScriptBoxTest, AnswerNo_ReachesTheDriverAsStop) {
  Run("press \"Press to Apply\"\nexpect box \"Really apply?\" title \"Warning\"\nanswer no\nexpect box ~ \"Done\"");
  EXPECT_EQ(selection_, 1);
}

TEST_F(ScriptBoxTest, ReportBoxes_EachTakesOneExpectation) {
  Run("press \"Press to Apply\"\nanswer yes\nexpect box \"Applied.\"\nexpect box \"Done.\"\nexpect \"Scope\" shown");
  EXPECT_EQ(selection_, 0);
}

TEST_F(ScriptBoxTest, QuestionLeftUnanswered_FailsAtTheCommand) {
  const auto result = RunFailing("expect no box\npress \"Press to Apply\"\nexpect \"Scope\" shown");
  EXPECT_EQ(result.line, 2u);
  EXPECT_EQ(result.message, "a box asks \"Really apply?\" and the script does not answer it");
  EXPECT_EQ(selection_, 1) << "an unanswered question stops";
}

TEST_F(ScriptBoxTest, NoBoxExpected_FailsWhenOneWasShown) {
  const auto result = RunFailing("press \"Press to Apply\"\nanswer no\nexpect no box");
  EXPECT_EQ(result.line, 3u);
  EXPECT_EQ(result.message, "expected no box, saw \"Really apply?\"");
}

TEST_F(BrowserTest, QuestionIdReference_FindsTheQuestion) {
  BootIntoSetup();
  Run(kOpen + "set @0x0103 1\nexpect \"Scope\" = Processor\nexpect @0x0103 ~ Proc");
}

}  // namespace
}  // namespace browsertest

// The password conversation: every driver call is CHANGING with a string
// (a temporary one of the driver's package list, emptied after the call, or
// string 0 to reset the driver), in the order EDK II's browser uses.
#include "BrowserFixture.hpp"
#include "HiiServices.hpp"
#include "Platform/Ucs2.hpp"

namespace browsertest {
namespace {

// A driver's side of the conversation, as EDK II's sample drivers answer it.
struct PasswordDriver {
  std::optional<std::u16string> current;
  bool expectOld = false;

  EFI_STATUS Answer(const DriverCall& call) {
    if (call.stringZero) {
      expectOld = false;  // start over
      return EFI_SUCCESS;
    }
    if (call.text.empty()) {
      expectOld = current.has_value();
      return current ? EFI_ALREADY_STARTED : EFI_SUCCESS;
    }
    if (expectOld) {
      if (call.text != *current) return EFI_NOT_READY;
      expectOld = false;
      return EFI_SUCCESS;
    }
    current = call.text;
    return EFI_SUCCESS;
  }
};

struct PasswordCase {
  const char* name;
  std::optional<std::u16string> existing;
  std::string typed;                    // script arguments after the prompt
  std::vector<std::string> sent;        // texts the driver got; "<reset>" for string 0
  std::string box;                      // the notice shown, if any
  std::optional<std::u16string> after;  // the driver's password afterwards
};

class PasswordTest : public BrowserTest, public ::testing::WithParamInterface<PasswordCase> {};

TEST_P(PasswordTest, Conversation_FollowsEdk2Sequence) {
  const PasswordCase& c = GetParam();
  PasswordDriver logic;
  logic.current = c.existing;
  driver_.onCallback = [&logic](const DriverCall& call, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    if (call.question != QID_SECRET || call.action != EFI_BROWSER_ACTION_CHANGING) return EFI_UNSUPPORTED;
    return logic.Answer(call);
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nselect \"Security\"");
  driver_.calls.clear();
  Run("password \"Set Passphrase\" " + c.typed + "\n" +
      (c.box.empty() ? "expect no box" : "expect box \"" + c.box + "\""));

  std::vector<std::string> sent;
  for (const DriverCall& call : driver_.calls) {
    EXPECT_EQ(call.action, EFI_BROWSER_ACTION_CHANGING);
    EXPECT_EQ(call.type, EFI_IFR_TYPE_STRING);
    sent.push_back(call.stringZero ? "<reset>" : carvex::sim::Utf16ToUtf8(call.text));
    if (!call.stringZero) {
      // Emptied in every language once the driver has answered.
      for (const char* language : {"en-US", "fr-FR"}) {
        EXPECT_EQ(hii_.Services()->String(driver_.HiiHandle(), EFI_STRING_ID{call.value.string}, language), u"") << language;
      }
    }
  }
  EXPECT_EQ(sent, c.sent);
  EXPECT_EQ(logic.current, c.after);
}

INSTANTIATE_TEST_SUITE_P(
    Passwords, PasswordTest,
    ::testing::Values(
        PasswordCase{"Enable", std::nullopt, "\"abc\" \"abc\"", {"", "abc"}, "", u"abc"},
        PasswordCase{"Change", u"old", "\"old\" \"new\" \"new\"", {"", "old", "new"}, "", u"new"},
        PasswordCase{"WrongOld", u"old", "\"bad\"", {"", "bad"}, "Incorrect password.", u"old"},
        PasswordCase{"CancelAtOld", u"old", "", {""}, "", u"old"},
        PasswordCase{"Mismatch", std::nullopt, "\"abc\" \"abd\"", {"", "<reset>"}, "Passwords are not the same.",
                     std::nullopt},
        PasswordCase{"CancelAtConfirm", std::nullopt, "\"abc\"", {"", "<reset>"}, "", std::nullopt},
        PasswordCase{"TooShort", std::nullopt, "\"\"", {"", "<reset>"}, "Please type at least 1 characters.",
                     std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(BrowserTest, PasswordWithoutCallback_NotSupported) {
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nselect \"Security\"");
  driver_.calls.clear();
  Run("password \"Set PIN\"\nexpect box \"This password is not supported.\"");
  EXPECT_TRUE(driver_.calls.empty());
}

TEST_F(BrowserTest, ProbeUnsupported_ShowsNoticeAndStops) {
  driver_.onCallback = [](const DriverCall&, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
    return EFI_UNSUPPORTED;
  };
  BootIntoSetup();
  Run("goto \"Browser Sample\"\nselect \"Security\"");
  driver_.calls.clear();
  Run("password \"Set Passphrase\"\nexpect box \"This password is not supported.\"");
  EXPECT_EQ(driver_.calls.size(), 1u);
}

}  // namespace
}  // namespace browsertest

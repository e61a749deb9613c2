// carvex-sim bmc as an operator uses it: requests refused with a clear
// message before anything is queued, a passphrase that never shows again,
// and a queued goal that the next boot routes and reports.
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;

struct Result {
  int status = 0;
  std::string output;  // standard output and error
};

class BmcCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    state_ = fs::temp_directory_path() / ("carvex-bmc-" + std::to_string(::getpid()) + "-" +
                                          ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(state_);
  }
  void TearDown() override { fs::remove_all(state_); }

  Result Run(const std::string& arguments) {
    const std::string command =
        std::string(CARVEX_TEST_CARVEX_SIM) + " --state-dir " + state_.string() + " " + arguments + " 2>&1";
    FILE* pipe = ::popen(command.c_str(), "r");
    Result result;
    std::array<char, 4096> buffer{};
    std::size_t read = 0;
    while ((read = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) result.output.append(buffer.data(), read);
    result.status = WEXITSTATUS(::pclose(pipe));
    return result;
  }

  fs::path state_;
};

TEST_F(BmcCommandTest, BadRequests_RefusedWithReasonAndNothingQueued) {
  struct Case {
    const char* arguments;
    const char* message;
  };
  for (const Case& c : {Case{"bmc set colour blue", "unknown request 'colour'"},
                        Case{"bmc set goal 101", "'101' is not a number from 0 to 100"},
                        Case{"bmc set goal 50 striped", "unknown type 'striped'"},
                        Case{"bmc set threshold 1", "'1' is not a number from 2 to 99"},
                        Case{"bmc set security enable", "enable needs a passphrase"},
                        Case{"bmc set security erase-without-passphrase x", "takes no passphrase"},
                        Case{"bmc set security enable 123456789012345678901234567890123", "1 to 32 characters"},
                        Case{"bmc set profile fast", "unknown profile 'fast'"}}) {
    SCOPED_TRACE(c.arguments);
    const Result result = Run(c.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find(c.message), std::string::npos) << result.output;
  }
  EXPECT_NE(Run("bmc show").output.find("Nothing queued"), std::string::npos);
}

TEST_F(BmcCommandTest, QueuedRequests_PassphraseNeverShownAndGoalReportedAfterBoot) {
  ASSERT_EQ(Run("--fresh boot --log-level none").status, 0);
  ASSERT_EQ(Run("bmc set security erase Hidden-Pass-7").status, 0);
  ASSERT_EQ(Run("bmc set goal 100").status, 0);
  const Result shown = Run("bmc show");
  EXPECT_EQ(shown.output.find("Hidden-Pass-7"), std::string::npos);
  EXPECT_NE(shown.output.find("passphrase (hidden)"), std::string::npos);
  const Result boot = Run("boot --log-level all");
  EXPECT_EQ(boot.output.find("Hidden-Pass-7"), std::string::npos);
  const auto document = nlohmann::json::parse(Run("bmc show --json").output);
  EXPECT_TRUE(document["queued"].empty());
  bool applied = false;
  for (const auto& outcome : document["lastRequests"]["outcomes"]) {
    applied = applied || (outcome["key"] == "goal" && outcome["text"] == "applied: Success");
  }
  EXPECT_TRUE(applied) << document.dump(1);
  EXPECT_EQ(document["copies"]["Intel Optane DCPMM"]["stores"]["KivDCPMMInfoVar"]["instances"].size(), 12u);
}

}  // namespace

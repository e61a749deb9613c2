// Allocation-failure sweep over a walk through the module, region and goal
// pages: the n-th pool allocation the driver makes during the walk fails,
// for n = 1, 2, ... until the walk no longer reaches it. Every run must end
// without a crash, a platform report, an assertion or pool held beyond what
// the walk without faults holds (the region list is kept for the boot); a
// page that could not be built stays as it was, so the walk may stop at a
// link that is not there, and the only boxes are the goal messages.
#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "BrowserBoard.hpp"
#include "ScriptFrontEnd.hpp"

namespace carvex::test {
namespace {

constexpr const char* kDriver = "CarvexDxe";

// Before the faults are armed: one box of each kind, so that the titles the
// message box keeps for the boot are fetched in every run alike (processor
// 1 holds namespaces on this board).
const char* const kWarmUp = R"(
goto "Intel Optane DCPMMs"
select "Goals"
set "Scope" Processor
check "Processor 1"
press "Press to Create Goal"
set "Persistent Memory Type" "App Direct"
check "Processor 2"
press "Press to Create Goal"
set "Scope"[2] Platform
press "Press to Delete Goal"
back
)";

const char* const kWalk = R"(
select "Intel Optane DCPMMs Details"
select "Intel Optane DCPMMs Details for Processor 1"
back
back
select "Regions"
select "Region ID 0x0002"
back
back
select "Goals"
press "Press to Create Goal"
select "Goal Configurations for Processor 2"
back
press "Press to Delete Goal"
)";

// The boxes the goal pages may show.
const std::set<std::string> kGoalMessages = {
    "Goal configuration is successfully created. Please reboot system to make this configuration take effect.",
    "Goal configuration fails to be created.",
    "Goal configuration is successfully deleted.",
    "Goal configuration fails to be deleted.",
    "At least one namespace exists in the selected scope. Please change the scope or backup data and delete existing namespace before create any goal.",
    "None Intel Optane DCPMM is selected.",
};

struct WalkRun {
  std::uint64_t injected = 0;
  std::uint64_t allocations = 0;  // the driver's allocations during the walk
  browser::ScriptResult warmUp;
  browser::ScriptResult result;
  std::string transcript;
  sim::BootSummary summary;
  std::size_t assertions = 0;
};

WalkRun Walk(std::optional<std::uint64_t> nth) {
  BrowserBoard board("pending-goal.json", 0x30);
  WalkRun run;
  std::ostringstream transcript;
  run.summary = board.Boot([&](browser::FormBrowser& browser) {
    browser::ScriptOptions options;
    options.transcript = &transcript;
    options.leaveSetupAtEnd = false;
    run.warmUp = browser::RunSetupScript(browser, kWarmUp, "warm-up", options);
    sim::FaultInjector& faults = board.Machine().Faults();
    // Armed far beyond the walk when no failure is wanted: counting starts here.
    faults.FailNthAllocation(kDriver, nth.value_or(~std::uint64_t{0}));
    run.result = browser::RunSetupScript(browser, kWalk, "walk", options);
    run.allocations = faults.AllocationCount(kDriver);
    run.injected = faults.InjectedAllocationFailures();
    faults.Clear();
  });
  run.transcript = transcript.str();
  run.assertions = board.Machine().Debug().Assertions().size();
  return run;
}

// Pool the driver still held at the end of the boot from a call site where
// the walk without faults held none, or more often than there.
std::string UnexpectedLeaks(const sim::LeakReport& run, const sim::LeakReport& clean) {
  std::map<std::string, int> allowed;
  for (const sim::Leak& leak : clean.leaks) ++allowed[leak.site.Describe()];
  std::string unexpected;
  for (const sim::Leak& leak : run.leaks) {
    if (leak.image == kDriver && --allowed[leak.site.Describe()] < 0) {
      unexpected += std::to_string(leak.size) + " bytes at " + leak.site.Describe() + "\n";
    }
  }
  return unexpected;
}

// Boxes of the transcript ("[box] Title: text") that are not goal messages.
std::string OtherBoxes(const std::string& transcript) {
  std::istringstream lines(transcript);
  std::string other;
  for (std::string line; std::getline(lines, line);) {
    const auto at = line.find("[box] ");
    if (at == std::string::npos) continue;
    const auto colon = line.find(": ", at);
    const std::string text = colon == std::string::npos ? line : line.substr(colon + 2);
    if (kGoalMessages.count(text) == 0) other += line + "\n";
  }
  return other;
}

TEST(SetupPagesSweep, EveryDriverAllocationOfTheWalkFailing_NoCrashLeakOrStrayMessage) {
  const WalkRun clean = Walk(std::nullopt);
  ASSERT_TRUE(clean.warmUp.ok) << clean.warmUp.Describe() << "\n" << clean.transcript;
  ASSERT_TRUE(clean.result.ok) << clean.result.Describe() << "\n" << clean.transcript;
  ASSERT_TRUE(clean.summary.reports.empty());
  ASSERT_GT(clean.allocations, 20u);

  std::uint64_t nth = 1;
  std::uint64_t stopped = 0;
  for (;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " of the walk fails");
    const WalkRun run = Walk(nth);
    if (run.injected == 0) break;
    EXPECT_EQ(UnexpectedLeaks(run.summary.Last().leaks, clean.summary.Last().leaks), "");
    EXPECT_TRUE(run.summary.reports.empty()) << run.summary.reports.front().image << ": " << run.summary.reports.front().message;
    EXPECT_EQ(run.assertions, 0u);
    EXPECT_EQ(OtherBoxes(run.transcript), "");
    stopped += run.result.ok ? 0 : 1;
    ASSERT_LE(nth, clean.allocations + 5) << "the sweep does not end";
  }
  EXPECT_GT(nth, clean.allocations);
  RecordProperty("runs", static_cast<int>(nth - 1));
  RecordProperty("walksStoppedEarly", static_cast<int>(stopped));
}

}  // namespace
}  // namespace carvex::test

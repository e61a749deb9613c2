// Allocation-failure sweeps over boots that apply out-of-band requests: each
// pool allocation of the driver after its entry point fails in turn while
// the configuration manager routes the requests, the driver applies them and
// the controller's copy is taken. Every run must end without a crash, a
// platform report or an assertion, and keep no more pool than the clean run.
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include <KIV/CarvexKivVar.h>

#include "SimPlatform.hpp"

namespace carvex::sim {
namespace {

namespace fs = std::filesystem;

struct SweepRun {
  std::uint64_t injected = 0;
  LeakReport leaks;
  std::vector<PlatformReport> reports;
  std::size_t assertions = 0;
};

std::vector<kiv::RequestedValue> GoalEraseProfile() {
  return {{"goal", "KivVar", offsetof(KIV_VAR, CreateGoal), {1, 50, 1}, false},
          {"erase-all", "KivVar", offsetof(KIV_VAR, EraseAllDimms), {1}, false},
          {"profile", "KivVar", offsetof(KIV_VAR, DcpmmPerfConfig), {0}, false}};
}

std::vector<kiv::RequestedValue> Enable() {
  std::vector<std::uint8_t> field(66, 0);
  for (std::size_t i = 0; i < 8; ++i) field[2 * i] = static_cast<std::uint8_t>("Secret-1"[i]);
  return {{"security", "KivVar", offsetof(KIV_VAR, SecurityOperation), {1}, false},
          {"security", "KivVar", offsetof(KIV_VAR, SecurityPassphrase), field, true}};
}

// One first boot of the default board with `requests` queued; the driver's
// nth allocation after its entry point fails (0: none).
SweepRun Boot(const std::vector<kiv::RequestedValue>& requests, std::uint64_t nth) {
  const fs::path state = fs::temp_directory_path() / ("carvex-kivsweep-" + std::to_string(::getpid()));
  fs::remove_all(state);
  SweepRun run;
  {
    SimPlatformOptions options;
    options.stateDir = state;
    std::ostringstream notes;
    SimPlatform platform(options, notes);
    platform.devices().Bmc().RemotePresenceEnabled = 1;
    platform.devices().Bmc().RemotePresenceAsserted = 1;
    for (const auto& value : requests) platform.configManager().Controller().Enqueue(value);
    if (nth != 0) {
      platform.machine().OnStage(BootStage::ImagesLoaded, [nth](Machine& machine) {
        machine.Faults().FailNthAllocation(SimPlatform::kDriverImage, nth);
      });
    }
    const BootSummary summary = platform.Boot();
    run.leaks = summary.Last().leaks;
    run.injected = platform.machine().Faults().InjectedAllocationFailures();
    run.reports = platform.machine().Log().Reports();
    run.assertions = platform.machine().Debug().Assertions().size();
  }
  fs::remove_all(state);
  return run;
}

class KivSweepTest : public ::testing::TestWithParam<int> {};

TEST_P(KivSweepTest, EachDriverAllocationFailing_BootEndsSoundly) {
  const auto requests = GetParam() == 0 ? GoalEraseProfile() : Enable();
  const SweepRun clean = Boot(requests, 0);
  ASSERT_TRUE(clean.reports.empty());
  std::uint64_t nth = 1;
  for (;; ++nth) {
    SCOPED_TRACE("driver allocation " + std::to_string(nth) + " fails");
    const SweepRun run = Boot(requests, nth);
    if (run.injected == 0) break;
    EXPECT_TRUE(run.reports.empty()) << run.reports.front().message;
    EXPECT_EQ(run.assertions, 0u);
    // The region cache lives to the end of boot by design, refreshed from
    // whichever step ran last: compare how much is kept, not where.
    EXPECT_LE(run.leaks.CountFor(SimPlatform::kDriverImage), clean.leaks.CountFor(SimPlatform::kDriverImage))
        << run.leaks.Format();
    ASSERT_LT(nth, 4000u) << "the sweep does not end";
  }
  EXPECT_GT(nth, 5u) << "the boot allocates less than expected";
}

INSTANTIATE_TEST_SUITE_P(Requests, KivSweepTest, ::testing::Values(0, 1), [](const auto& info) {
  return std::string(info.param == 0 ? "GoalEraseAllProfile" : "EnableSecurity");
});

}  // namespace
}  // namespace carvex::sim

// Failure sweeps over the automatic unlock at ready-to-boot: each pool
// allocation of the driver from the end of POST on fails in turn, then each
// controller request fails in turn. Every run must end without a crash, a
// platform report or an assertion, keep no more pool than the clean run,
// and leave each Locked module with an outcome it can explain.
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include <Bmc/AuditLog.h>
#include <NvmDimmConfig/Security.h>

#include "DeviceMachine.hpp"
#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

std::string LockedBoard() {
  std::ifstream in(std::filesystem::path(CARVEX_TEST_PLATFORMS_DIR) / "locked.json");
  return std::string(std::istreambuf_iterator<char>(in), {});
}

struct SweepRun {
  std::uint64_t injected = 0;
  sim::BootRecord record;
  std::vector<sim::PlatformReport> reports;
  std::size_t assertions = 0;
  std::vector<int> outcomes;
  UINT32 stillLocked = 0;
};

// One boot of the locked board; `arm` runs at the end of POST.
SweepRun Boot(const std::function<void(DeviceMachine&)>& arm) {
  DeviceMachine machine(LockedBoard());
  machine.machine().OnStage(sim::BootStage::EndOfPost, [&](sim::Machine&) { arm(machine); });
  SweepRun run;
  run.record = machine.machine().RunBoot().Last();
  run.injected = machine.machine().Faults().InjectedAllocationFailures();
  run.reports = machine.machine().Log().Reports();
  run.assertions = machine.machine().Debug().Assertions().size();
  for (const sim::LogLine& line : machine.machine().Log().Lines()) {
    const auto at = line.text.find(" auto unlock state ");
    if (line.image == kDriverImage && line.text.rfind("UnlockLockedDcpmms:", 0) == 0 && at != std::string::npos) {
      run.outcomes.push_back(std::stoi(line.text.substr(at + 19)));
    }
  }
  for (UINT32 index = 0; index < machine.devices().Nvm().DimmCount; ++index) {
    run.stillLocked += machine.devices().Nvm().Dimms[index].Locked;
  }
  return run;
}

std::map<std::string, int> Sites(const sim::LeakReport& report) {
  std::map<std::string, int> sites;
  for (const sim::Leak& leak : report.leaks) ++sites[leak.site.Describe()];
  return sites;
}

void ExpectSound(const SweepRun& run, const SweepRun& clean) {
  EXPECT_TRUE(run.reports.empty()) << run.reports.front().message;
  EXPECT_EQ(run.assertions, 0u);
  auto allowed = Sites(clean.record.leaks);
  for (const auto& [site, count] : Sites(run.record.leaks)) {
    EXPECT_LE(count, allowed[site]) << "pool kept at " << site;
  }
  // A module left Locked has an outcome that says why, or none was built.
  for (int outcome : run.outcomes) {
    EXPECT_TRUE(outcome == AUTO_UNLOCK_STATE_SUCCESS || outcome == AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST ||
                outcome == AUTO_UNLOCK_STATE_NOT_APPLICABLE)
      << outcome;
  }
}

TEST (AutoUnlockSweepTest, EachDriverAllocationAfterEndOfPostFailing_BootEndsSoundly) {
  const SweepRun clean = Boot([](DeviceMachine&) {});
  ASSERT_EQ(clean.stillLocked, 0u);
  ASSERT_TRUE(clean.reports.empty());

  std::uint64_t nth = 1;
  for (;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " after the end of POST fails");
    const SweepRun run = Boot([nth](DeviceMachine& machine) { machine.machine().Faults().FailNthAllocation(kDriverImage, nth); });
    if (run.injected == 0) break;
    ExpectSound(run, clean);
    ASSERT_LT(nth, 200u) << "the sweep does not end";
  }
  EXPECT_GT(nth, 3u) << "the unlock allocates less than expected";
}

TEST (AutoUnlockSweepTest, EachControllerRequestFailing_BootEndsSoundly) {
  const SweepRun clean = Boot([](DeviceMachine&) {});
  for (UINTN slot : {BMC_SLOT_READ_FILE, BMC_SLOT_ADD_AUDIT_LOG}) {
    for (EFI_STATUS status : {EFI_DEVICE_ERROR, EFI_TIMEOUT}) {
      for (UINT32 skip = 0; skip < 3; ++skip) {
        SCOPED_TRACE("slot " + std::to_string(slot) + ", call " + std::to_string(skip + 1));
        const SweepRun run = Boot([&](DeviceMachine& machine) {
          BmcModelSetFault(&machine.devices().Bmc(), slot, BmcFaultAlways, skip, 0, status, 0xFF);
        });
        ExpectSound(run, clean);
      }
    }
  }
}

}  // namespace
}  // namespace carvex::test

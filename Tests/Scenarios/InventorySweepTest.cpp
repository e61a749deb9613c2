// Allocation-failure sweep over the pre-post-complete slot: the driver's
// n-th pool allocation in the inventory fails, for n = 1, 2, ... until the
// slot no longer reaches it. Every run ends without a crash, a platform
// report, an assertion or pool the clean run does not keep; the failure
// shows (a failed status or an error line), and what was stored decodes.
#include <gtest/gtest.h>

#include <map>

#include <Library/DebugLib.h>
#include <Protocol/PlatformEvent.h>

#include "DeviceMachine.hpp"
#include "Devices/InventoryRecords.hpp"
#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

struct SlotRun {
  EFI_STATUS status = EFI_SUCCESS;
  std::uint64_t injected = 0;
  std::uint64_t allocations = 0;
  bool errorLogged = false;
  std::size_t records = 0;
  bool recordsDecode = true;
  sim::BootRecord record;
  std::vector<sim::PlatformReport> reports;
  std::size_t assertions = 0;
};

// Two modules keep the sweep short; the second is outside the board's map.
const char* const kBoard = R"({"sockets": 1, "modules": [
  {"socket": 0, "slot": 1, "capacity": "16 GiB"}, {"socket": 0, "slot": 2, "capacity": "16 GiB"}],
  "board": {"dimmMap": [{"label": 1, "cpu": 0, "imc": 0, "channel": 0}]}})";

// Slot 0 alone, called the way the platform's dispatcher calls it.
SlotRun RunSlot0(std::optional<std::uint64_t> nth) {
  DeviceMachine machine(kBoard);
  sim::Machine& m = machine.machine();
  m.StartBoot();
  auto* events = static_cast<PLATFORM_EVENT_PROTOCOL*>(m.Protocols().FirstInterface(gTavrilEventProtocolGuid));
  if (events == nullptr) throw std::runtime_error("the driver installed no platform event protocol");
  const std::size_t firstLine = m.Log().Lines().size();
  const std::uint64_t before = m.Faults().AllocationCount(kDriverImage);
  if (nth) m.Faults().FailNthAllocation(kDriverImage, *nth);
  SlotRun run;
  run.status = events->PrePostComplete();
  run.injected = m.Faults().InjectedAllocationFailures();
  run.allocations = m.Faults().AllocationCount(kDriverImage) - (nth ? 0 : before);
  m.Faults().Clear();
  const auto& lines = m.Log().Lines();
  for (std::size_t index = firstLine; index < lines.size(); ++index) {
    run.errorLogged |= lines[index].image == kDriverImage && (lines[index].level & DEBUG_ERROR) != 0;
  }
  for (const auto& stored : sim::devices::InventoryOf(machine.devices().ComponentData())) {
    ++run.records;
    run.recordsDecode &= stored.error.empty();
  }
  run.record = m.EndBoot();
  run.reports = m.Log().Reports();
  run.assertions = m.Debug().Assertions().size();
  return run;
}

// Pool the run still holds at the end of the boot from a call site where
// the clean run held none, or more often than there.
std::string UnexpectedLeaks(const sim::LeakReport& run, const sim::LeakReport& clean) {
  std::map<std::string, int> allowed;
  for (const sim::Leak& leak : clean.leaks) ++allowed[leak.site.Describe()];
  std::string unexpected;
  for (const sim::Leak& leak : run.leaks) {
    if (--allowed[leak.site.Describe()] < 0) {
      unexpected += leak.image + ": " + std::to_string(leak.size) + " bytes at " + leak.site.Describe() + "\n";
    }
  }
  return unexpected;
}

TEST (InventorySweepTest, EachAllocationOfPrePostCompleteFailing_NoCrashLeakOrSilentFailure) {
  const SlotRun clean = RunSlot0(std::nullopt);
  ASSERT_EQ(clean.status, EFI_SUCCESS);
  ASSERT_EQ(clean.records, 2u);
  ASSERT_TRUE(clean.reports.empty());
  ASSERT_GT(clean.allocations, 40u) << "every record packs items one by one";

  std::uint64_t nth = 1;
  for (;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " fails");
    const SlotRun run = RunSlot0(nth);
    if (run.injected == 0) break;
    EXPECT_EQ(UnexpectedLeaks(run.record.leaks, clean.record.leaks), "");
    EXPECT_TRUE(run.reports.empty()) << run.reports.front().image << ": " << run.reports.front().message;
    EXPECT_EQ(run.assertions, 0u);
    EXPECT_TRUE(EFI_ERROR(run.status) || run.errorLogged) << "the failed allocation left no trace";
    EXPECT_TRUE(run.recordsDecode);
    EXPECT_LE(run.records, 2u);
    ASSERT_LE(nth, clean.allocations + 5) << "the sweep does not end";
  }
  EXPECT_GT(nth, clean.allocations);
}

}  // namespace
}  // namespace carvex::test

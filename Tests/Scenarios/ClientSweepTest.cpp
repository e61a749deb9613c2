// Allocation-failure sweep over a whole boot that calls every client
// function of the driver through the probe: the n-th pool allocation of
// the image fails, for n = 1, 2, ... until the boot no longer reaches it.
// Every run must end without a crash, a platform report, an assertion or
// pool left behind (beyond what a clean boot keeps until its end: the
// automatic unlock's outcome table), and the failure must show: as a
// failed status, or in the debug log at the error level.
#include <gtest/gtest.h>

#include <map>

#include <Bmc/AuditLog.h>
#include <Library/DebugLib.h>
#include <NvmDimmConfig/Security.h>

#include "DeviceMachine.hpp"

namespace carvex::test {
namespace {

using sim::devices::ClientProbe;

// Two processors, two modules each: two Locked modules whose passphrase the
// controller holds, a module that scrubs from every boot.
const char* const kBoard = R"({
  "sockets": 2,
  "modules": [
    {"socket": 0, "slot": 1, "capacity": "16 GiB", "security": {"state": "enabled", "passphrase": "pw-one"}},
    {"socket": 0, "slot": 2, "capacity": "16 GiB", "security": {"state": "enabled", "passphrase": "pw-one"}},
    {"socket": 1, "slot": 3, "capacity": "16 GiB", "scrub": {"atBoot": true}},
    {"socket": 1, "slot": 4, "capacity": "16 GiB"}
  ],
  "namespaces": [{"region": 2, "name": "data", "size": "4 GiB"}],
  "bmc": {"files": [{"id": 47, "text": "pw-one", "size": 33}]}
})";

// Every client function once, in an order where each has work to do; the
// status of each call is kept.
std::vector<EFI_STATUS> CallEveryClientFunction(ClientProbe& probe) {
  CARVEX_CLIENT_PROBE_PROTOCOL& c = probe.Protocol();
  std::vector<EFI_STATUS> statuses;
  auto keep = [&](EFI_STATUS status) { statuses.push_back(status); };

  keep(c.GetDimmCount() == 4 ? EFI_SUCCESS : EFI_DEVICE_ERROR);
  DIMM_RECORD* records = nullptr;
  UINT32 count = 0;
  keep(c.GetDimms(&records, &count));
  c.FreePool(records);
  DIMM_DETAILS* details = nullptr;
  count = 0;
  keep(c.GetDimmDetails(&details, &count));
  const UINT32 scrubHandle = details != nullptr && count == 4 ? details[2].DimmHandle : 0;
  c.FreePool(details);
  UINT16 sockets[MAX_SOCKETS];
  UINT32 socketCount = MAX_SOCKETS;
  keep(c.GetSockets(sockets, &socketCount));
  keep(c.GetMemoryResourcesInfo());
  for (auto total : {c.GetTotalRawCapacity, c.GetTotalVolatileCapacity, c.GetTotalAppDirectCapacity,
                     c.GetTotalUnconfiguredCapacity, c.GetTotalInaccessibleCapacity, c.GetTotalReservedCapacity}) {
    total(TRUE);
  }
  REGION_DETAILS* regions = nullptr;
  keep(c.GetRegionDetails(&regions, &count));
  c.FreePool(regions);
  NAMESPACE_DETAILS* namespaces = nullptr;
  keep(c.GetNamespaceDetails(&namespaces, &count));
  c.FreePool(namespaces);
  CHAR8 name[] = "scratch";
  UINT16 namespaceStatus = 0;
  keep(c.CreateNamespace(2, name, 2ull << 30, &namespaceStatus));
  CHAR8 rename[] = "renamed";
  keep(c.ModifyNamespace(2, rename, FALSE, nullptr));
  keep(c.DeleteNamespace(2, FALSE, nullptr));

  UINT16 socket = 1;
  UINT16 nvmStatus = 0;
  keep(c.CreateGoal(nullptr, 0, &socket, 1, GOAL_MEMORY_TYPE_APP_DIRECT, 50, &nvmStatus));
  auto goals = std::make_unique<PENDING_GOAL_DETAILS>();
  keep(c.GetPendingGoalDetails(goals.get()));
  keep(c.DeleteGoal(nullptr, 0, &socket, 1));

  UINT8 state = 0;
  BOOLEAN flag = FALSE;
  keep(c.GetSystemSecurityState(&state, &flag));
  flag = FALSE;
  keep(c.LockedDcpmmsExist(&flag));
  CHAR16 wrong[] = u"wrong";
  c.UnlockLockedDcpmms(wrong, &flag);  // refused: one audit event
  CHAR16 right[] = u"pw-one";
  c.UnlockLockedDcpmms(right, &flag);
  c.GetAutoUnlockState(u"DIMM 1");
  UINT16 dimm = 4;
  CHAR16 newPassphrase[] = u"pw-four";
  keep(c.SetSystemSecurityState(&dimm, 1, SECURITY_OPERATION_ENABLE, nullptr, newPassphrase, &nvmStatus));
  keep(c.SetSystemSecurityState(&dimm, 1, SECURITY_OPERATION_DISABLE, newPassphrase, nullptr, &nvmStatus));

  keep(c.ConfigPercentageRemainingThresholds(10));
  keep(c.DcpmmArsOp(TRUE));
  UINT8 enabled = 0;
  UINT64 current = 0, end = 0;
  keep(c.GetDcpmmArsConfig(scrubHandle, &enabled, &current, &end));
  keep(c.DcpmmArsOp(FALSE));
  c.IsArsInProgress();

  CHAR16 text[CAPACITY_TEXT_CHARS];
  keep(c.ConvertCapacityToStr(1610612736, text, sizeof text));
  CHAR16 firmware[FW_VERSION_CHARS];
  c.ConvertFwVersion(firmware, 1, 2, 0, 5355);
  CHAR16 appDirect[] = u"App Direct";
  CHAR16 notInterleaved[] = u"App Direct Not Interleaved";
  CHAR16* type = nullptr;
  keep(c.ConvertPersistentMemoryTypeToStr(3, appDirect, notInterleaved, &type));
  c.FreePool(type);
  keep(c.AuditLog(AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_NO_PASSPHRASE));
  return statuses;
}

// The probe's pool still held at the end of the boot from a call site where
// the clean boot held none, or more often than there. The driver image is
// left out: a module the failed run left Locked is unlocked at ready-to-boot,
// whose outcome table lives to the end of the boot.
std::string UnexpectedLeaks(const sim::LeakReport& run, const sim::LeakReport& clean) {
  std::map<std::string, int> allowed;
  for (const sim::Leak& leak : clean.leaks) ++allowed[leak.site.Describe()];
  std::string unexpected;
  for (const sim::Leak& leak : run.leaks) {
    if (leak.image != sim::devices::kClientProbeImage) continue;
    if (--allowed[leak.site.Describe()] < 0) {
      unexpected += leak.image + ": " + std::to_string(leak.size) + " bytes at " + leak.site.Describe() + "\n";
    }
  }
  return unexpected;
}

struct SweepRun {
  std::uint64_t injected = 0;
  bool failedStatus = false;
  bool errorLogged = false;
  sim::BootRecord record;
  std::vector<sim::PlatformReport> reports;
  std::size_t assertions = 0;
};

SweepRun RunWithFailure(std::optional<std::uint64_t> nth) {
  DeviceMachine machine(kBoard);
  if (nth) machine.machine().Faults().FailNthAllocation(sim::devices::kClientProbeImage, *nth);
  const std::size_t firstLine = machine.machine().Log().Lines().size();
  SweepRun run;
  run.record = machine.Boot([&](ClientProbe& probe) {
    for (EFI_STATUS status : CallEveryClientFunction(probe)) run.failedStatus |= EFI_ERROR(status);
  });
  run.injected = machine.machine().Faults().InjectedAllocationFailures();
  const auto& lines = machine.machine().Log().Lines();
  for (std::size_t index = firstLine; index < lines.size(); ++index) {
    run.errorLogged |= lines[index].image == sim::devices::kClientProbeImage && (lines[index].level & DEBUG_ERROR) != 0;
  }
  run.reports = machine.machine().Log().Reports();
  run.assertions = machine.machine().Debug().Assertions().size();
  return run;
}

TEST (ClientSweepTest, EveryClientProbeAllocationFailing_NoCrashLeakOrSilentFailure) {
  // The run without faults is the baseline: everything succeeds and every
  // allocation is returned.
  const SweepRun clean = RunWithFailure(std::nullopt);
  ASSERT_FALSE(clean.failedStatus);
  // Only the unlock outcome table lives to the end of the boot (the
  // driver image's kept copies of the board's tables are its own).
  ASSERT_LE(clean.record.leaks.CountFor(sim::devices::kClientProbeImage), 1u) << clean.record.leaks.Format();
  ASSERT_TRUE(clean.reports.empty());
  const std::uint64_t allocations = clean.record.pool.at(sim::devices::kClientProbeImage).allocations;
  ASSERT_GT(allocations, 20u);

  std::uint64_t nth = 1;
  for (;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " fails");
    const SweepRun run = RunWithFailure(nth);
    if (run.injected == 0) break;
    // What a failed probe call changes in the modules may make the driver
    // unlock at ready-to-boot and refresh its out-of-band region cache: the
    // outcome table and that cache are the driver's end-of-boot state, as
    // are the platform data library's copies of the DIMM map and network
    // table.
    sim::LeakReport probeLeaks;
    for (const sim::Leak& leak : run.record.leaks.leaks) {
      if (leak.image != "CarvexDxe") probeLeaks.leaks.push_back(leak);
    }
    EXPECT_EQ(UnexpectedLeaks(probeLeaks, clean.record.leaks), "");
    EXPECT_LE(run.record.leaks.CountFor("CarvexDxe"), 4u) << run.record.leaks.Format();
    EXPECT_TRUE(run.reports.empty()) << run.reports.front().image << ": " << run.reports.front().message;
    EXPECT_EQ(run.assertions, 0u);
    EXPECT_TRUE(run.failedStatus || run.errorLogged) << "the failed allocation left no trace";
    ASSERT_LE(nth, allocations + 5) << "the sweep does not end";
  }
  EXPECT_GT(nth, allocations);
}

}  // namespace
}  // namespace carvex::test

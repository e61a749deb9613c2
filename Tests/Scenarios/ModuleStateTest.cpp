// Module state across reboots, as the driver's client layer reports it: a
// goal created in one boot re-forms the regions at the next, security
// enabled comes up Locked, and a new machine on the same state directory
// continues where the last one stopped.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include <Bmc/AuditLog.h>

#include "DeviceMachine.hpp"

namespace carvex::test {
namespace {

using sim::devices::Inspection;
using sim::devices::ClientProbe;

constexpr std::uint64_t kGiB = 1ull << 30;

const DIMM_DETAILS& Module(const Inspection& inspection, std::uint16_t dimmId) {
  for (const auto& module : inspection.modules) {
    if (module.details.DimmID == dimmId) return module.details;
  }
  throw std::out_of_range("no module " + std::to_string(dimmId));
}

std::size_t RegionsOfType(const Inspection& inspection, std::uint16_t socket, std::uint8_t type) {
  std::size_t count = 0;
  for (const REGION_DETAILS& region : inspection.regions) {
    count += region.SocketId == socket && region.RegionType == type;
  }
  return count;
}

TEST (ModuleStateTest, GoalCreatedInOneBoot_PendingUntilNextBootThenRegionsReformed) {
  DeviceMachine machine;
  Inspection before;
  machine.Boot([&](ClientProbe& probe) {
    UINT16 socket = 1;
    UINT16 nvmStatus = 0xFFFF;
    ASSERT_EQ(probe.Protocol().CreateGoal(nullptr, 0, &socket, 1, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED, 50,
                                              &nvmStatus),
              EFI_SUCCESS);
    EXPECT_EQ(nvmStatus, NVM_SUCCESS);
    before = probe.Read();
  });
  // Pending: reported, but the modules and regions are as they were.
  ASSERT_EQ(before.goals.size(), 6u);
  for (const auto& goal : before.goals) {
    EXPECT_EQ(goal.socketId, 1u);
    EXPECT_EQ(goal.volatileSize, 64 * kGiB);
    EXPECT_EQ(goal.appDirect1Size, 64 * kGiB);
  }
  EXPECT_EQ(before.regions.size(), 2u);
  EXPECT_EQ(Module(before, 7).VolatileCapacity, 0u);

  const Inspection after = machine.Inspect();
  EXPECT_TRUE(after.goals.empty());
  EXPECT_EQ(RegionsOfType(after, 0, REGION_TYPE_APP_DIRECT), 1u);
  EXPECT_EQ(RegionsOfType(after, 1, REGION_TYPE_APP_DIRECT), 0u);
  EXPECT_EQ(RegionsOfType(after, 1, REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED), 6u);
  EXPECT_EQ(Module(after, 7).VolatileCapacity, 64 * kGiB);
  EXPECT_EQ(Module(after, 7).AppDirectCapacity, 64 * kGiB);
  EXPECT_EQ(Module(after, 1).VolatileCapacity, 0u);
  EXPECT_EQ(after.totals.volatileSize, 6 * 64 * kGiB);
  EXPECT_EQ(after.Capacity(after.totals.volatileSize), "384.0 GB");
}

TEST (ModuleStateTest, SecurityEnabled_UnlockedThisBootLockedAfterRebootAndInNewMachine) {
  DeviceMachine machine;
  Inspection enabled;
  machine.Boot([&](ClientProbe& probe) {
    UINT16 dimm = 3;
    CHAR16 passphrase[] = u"Carvex-Pass1";
    UINT16 nvmStatus = 0xFFFF;
    ASSERT_EQ(probe.Protocol().SetSystemSecurityState(&dimm, 1, SECURITY_OPERATION_ENABLE, nullptr, passphrase,
                                                          &nvmStatus),
              EFI_SUCCESS);
    enabled = probe.Read();
  });
  EXPECT_EQ(Module(enabled, 3).SecurityState, DIMM_SECURITY_STATE_UNLOCKED);
  EXPECT_EQ(enabled.securityState, DIMM_SECURITY_STATE_MIXED);
  EXPECT_FALSE(enabled.lockedModules);

  const Inspection rebooted = machine.Inspect();
  EXPECT_EQ(Module(rebooted, 3).SecurityState, DIMM_SECURITY_STATE_LOCKED);
  EXPECT_EQ(Module(rebooted, 4).SecurityState, DIMM_SECURITY_STATE_DISABLED);
  EXPECT_TRUE(rebooted.lockedModules);

  // The next run: the passphrase survived with the module's state.
  machine.Reopen();
  EXPECT_TRUE(machine.devices().Continued());
  EFI_STATUS unlock = EFI_NOT_STARTED;
  Inspection unlocked;
  machine.Boot([&](ClientProbe& probe) {
    UINT16 dimm = 3;
    CHAR16 passphrase[] = u"Carvex-Pass1";
    UINT16 nvmStatus = 0;
    unlock = probe.Protocol().SetSystemSecurityState(&dimm, 1, SECURITY_OPERATION_UNLOCK, passphrase, nullptr,
                                                         &nvmStatus);
    unlocked = probe.Read();
  });
  EXPECT_EQ(unlock, EFI_SUCCESS);
  EXPECT_EQ(Module(unlocked, 3).SecurityState, DIMM_SECURITY_STATE_UNLOCKED);
}

TEST (ModuleStateTest, NewMachineOnSameDirectory_ContinuesGoalsAuditAndBootCount) {
  DeviceMachine machine;
  machine.Boot([](ClientProbe& probe) {
    UINT16 dimm = 1;
    UINT16 nvmStatus = 0;
    ASSERT_EQ(probe.Protocol().CreateGoal(&dimm, 1, nullptr, 0, GOAL_MEMORY_TYPE_APP_DIRECT, 25, &nvmStatus),
              EFI_SUCCESS);
    ASSERT_EQ(probe.Protocol().AuditLog(AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_NO_PASSPHRASE), EFI_SUCCESS);
  });
  const UINT32 bootCount = machine.devices().Nvm().BootCount;

  machine.Reopen();
  ASSERT_TRUE(machine.devices().Continued());
  EXPECT_EQ(machine.devices().Nvm().BootCount, bootCount);
  ASSERT_EQ(machine.devices().Bmc().AuditCount, 1u);
  EXPECT_EQ(machine.devices().Bmc().Audit[0].EventCode, 0xFB03);

  const Inspection next = machine.Inspect();
  EXPECT_EQ(machine.devices().Nvm().BootCount, bootCount + 1);
  EXPECT_TRUE(next.goals.empty());
  EXPECT_EQ(Module(next, 1).VolatileCapacity, 32 * kGiB);
  // The socket's interleave set is formed anew over module 1's smaller
  // App Direct share and the five others.
  ASSERT_EQ(next.regions.size(), 2u);
  EXPECT_EQ(next.regions[0].SocketId, 0);
  EXPECT_EQ(next.regions[0].Capacity, (5 * 128 + 96) * kGiB);
}

TEST (ModuleStateTest, DescribedNamespacesAndGoal_ReportedByClientLayerAfterFirstBoot) {
  std::ifstream file(std::filesystem::path(CARVEX_TEST_PLATFORMS_DIR) / "pending-goal.json");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  DeviceMachine machine(text);
  const Inspection inspection = machine.Inspect();
  ASSERT_EQ(inspection.namespaces.size(), 2u);
  EXPECT_EQ(inspection.namespaces[0].name, "database");
  EXPECT_EQ(inspection.Capacity(inspection.namespaces[0].record.BlockSize * inspection.namespaces[0].record.BlockCount),
            "384.0 GB");
  EXPECT_EQ(inspection.namespaces[1].record.RegionId, 1u);
  // The described goal was pending at power-on: the first boot applied it.
  EXPECT_TRUE(inspection.goals.empty());
  EXPECT_EQ(RegionsOfType(inspection, 1, REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED), 6u);
  ASSERT_FALSE(inspection.regions.empty());
  EXPECT_EQ(inspection.Capacity(inspection.regions[0].FreeCapacity), "372.0 GB");
  EXPECT_TRUE(inspection.scrubInProgress);  // module 1 scrubs from every boot
}

TEST (ModuleStateTest, DescriptionFaultOnce_FailsFirstBootOnlyAndIsGoneFromState) {
  DeviceMachine machine(R"({"sockets": 1,
    "modules": [{"socket": 0, "slot": 1, "capacity": "64 GiB"}],
    "faults": [{"slot": "GetSmartAndHealth", "mode": "once", "skip": 1, "status": "EFI_DEVICE_ERROR"}]})");
  // The inventory at pre-post-complete makes the boot's first health query;
  // the fault skips it and fails the probe's.
  const Inspection first = machine.Inspect();
  ASSERT_EQ(first.Failures().size(), 1u);
  EXPECT_EQ(first.Failures()[0].function, "GetDimmDetails");
  EXPECT_EQ(first.Failures()[0].status, EFI_DEVICE_ERROR);

  machine.Reopen();
  const Inspection second = machine.Inspect();
  EXPECT_TRUE(second.Failures().empty());
  EXPECT_EQ(Module(second, 1).PercentageRemaining, 100);
}

TEST (ModuleStateTest, CorruptStateFile_NewMachineRefusesWithFileName) {
  DeviceMachine machine;
  machine.Boot();
  {
    std::ofstream out(machine.StateDirectory() / "devices.json", std::ios::trunc);
    out << R"({"sockets": 1, "modules": [{"socket": 3, "slot": 1, "capacity": "64 GiB"}]})";
  }
  try {
    machine.Reopen();
    FAIL() << "a corrupt devices.json was accepted";
  } catch (const sim::devices::PlatformFileError& error) {
    EXPECT_NE(std::string(error.what()).find("devices.json: modules[0].socket: socket 3 does not exist"),
              std::string::npos)
        << error.what();
  }
}

}  // namespace
}  // namespace carvex::test

// The driver's entry point and lifecycle callbacks, observed from the
// platform: what it installs, which variables it writes, how often it binds
// the vendor protocol, and that each boot starts from fresh driver state.
#include <gtest/gtest.h>

#include <cstdio>

#include <Guid/CarvexVariables.h>
#include <Protocol/NvmDimmConfig.h>
#include <Protocol/PlatformEvent.h>

#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

struct CapabilityCase {
  std::uint64_t mask;
  bool enabled;
};

class CapabilityMaskTest : public ::testing::TestWithParam<CapabilityCase> {};

TEST_P (CapabilityMaskTest, EitherBitEnablesDriver_NeitherLeavesNothingBehind) {
  const CapabilityCase& param = GetParam();
  ScenarioMachine machine({.capabilityMask = param.mask});
  machine->StartBoot();

  const sim::OwnedCounts owned = machine->OwnedBy(kDriverImage);
  EXPECT_EQ(machine->IsInstalled(gTavrilEventProtocolGuid), param.enabled);
  if (param.enabled) {
    EXPECT_EQ(owned.handles, 1u);              // the platform event protocol's handle
    EXPECT_EQ(owned.events, 3u);               // setup enter, ready to boot, legacy boot
    EXPECT_EQ(owned.notifyRegistrations, 1u);  // setup-enter protocol
  } else {
    EXPECT_EQ(owned.handles, 0u);
    EXPECT_EQ(owned.events, 0u);
    EXPECT_EQ(owned.notifyRegistrations, 0u);
    EXPECT_TRUE(machine->Log().Contains("CarvexEntryPoint:The systen don't support AEP. Exit", kDriverImage));
  }

  machine->EndOfPost();
  const sim::BootRecord record = machine->EndBoot();
  bool driverWroteVariable = false;
  for (const auto& entry : machine->Variables().Log()) {
    driverWroteVariable |= entry.image == kDriverImage && entry.op != sim::VariableOp::Get &&
                           entry.op != sim::VariableOp::GetNextName;
  }
  EXPECT_EQ(driverWroteVariable, param.enabled);
  EXPECT_EQ(record.platformEventProtocolFound, param.enabled);
}

INSTANTIATE_TEST_SUITE_P(Masks, CapabilityMaskTest,
                         ::testing::Values(CapabilityCase{0x00, false}, CapabilityCase{0xFFFFFFFFFFFFFFCFull, false},
                                           CapabilityCase{0x10, true}, CapabilityCase{0x20, true},
                                           CapabilityCase{0x30, true}),
                         [](const ::testing::TestParamInfo<CapabilityCase>& info) {
                           char name[32];
                           std::snprintf(name, sizeof(name), "Mask%llX",
                                         static_cast<unsigned long long>(info.param.mask));
                           return std::string(name);
                         });

TEST(BeforePostCompleteTest, VendorDriverMissing_WritesPresentAsZeroVolatile) {
  ScenarioMachine machine({.vendorDriver = false});
  machine->StartBoot();
  machine->EndOfPost();

  const auto variable = machine->Variables().Find(CARVEK_PRESENT_NAME, gCarvekPresentGuid);
  ASSERT_TRUE(variable.has_value());
  EXPECT_EQ(variable->attributes, static_cast<UINT32>(EFI_VARIABLE_BOOTSERVICE_ACCESS));
  EXPECT_EQ(variable->data, std::vector<std::uint8_t>{0});
  EXPECT_EQ(machine->CurrentBoot().SlotStatus(1), EFI_SUCCESS);
  EXPECT_TRUE(machine->Log().Contains("CarvexBeforePostComplete:There is not Carvek on board. Status:Not Found"));

  // Volatile: gone at the next boot.
  machine->EndBoot();
  machine->StartBoot();
  EXPECT_FALSE(machine->Variables().Find(CARVEK_PRESENT_NAME, gCarvekPresentGuid).has_value());
}

TEST(BeforePostCompleteTest, VendorDriverPresent_WritesPresentAsOne) {
  ScenarioMachine machine;
  machine->StartBoot();
  machine->EndOfPost();
  EXPECT_EQ(machine.Byte(CARVEK_PRESENT_NAME, gCarvekPresentGuid), 1);
}

TEST(BeforePostCompleteTest, PresenceWriteFails_SlotReturnsWriteStatusNotLocateStatus) {
  ScenarioMachine machine({.vendorDriver = false});
  machine->Faults().FailVariableWrite(CARVEK_PRESENT_NAME, EFI_WRITE_PROTECTED);
  machine->StartBoot();
  machine->EndOfPost();
  EXPECT_EQ(machine->CurrentBoot().SlotStatus(1), EFI_WRITE_PROTECTED);
  // This platform has no component data storage: slot 0 passes on the
  // inventory's locate status. No out-of-band request was routed.
  EXPECT_EQ(machine->CurrentBoot().SlotStatus(0), EFI_NOT_FOUND);
  EXPECT_EQ(machine->CurrentBoot().SlotStatus(2), EFI_NOT_FOUND);
}

TEST(ProtocolBindingTest, LocatedOnce_LaterUsesMakeNoLocateCall) {
  ScenarioMachine machine;
  machine->StartBoot();
  machine->EndOfPost();   // slot 1 binds the protocol
  machine->EnterSetup();  // the setup-enter notification needs it again
  EXPECT_TRUE(machine->Log().Contains("KivSetupEnter:Exit", kDriverImage));
  EXPECT_EQ(machine->LocateProtocolCalls(gNvmDimmConfigProtocolGuid, std::string(kDriverImage)), 1u);
  EXPECT_EQ(machine->Log().Count("LocateCarvexConfigProtocol:Protocol Version:", kDriverImage), 1u);
}

TEST(ProtocolBindingTest, ProtocolMissing_EveryUseTriesAgain) {
  ScenarioMachine machine({.vendorDriver = false});
  machine->StartBoot();
  machine->EndOfPost();
  machine->EnterSetup();
  EXPECT_EQ(machine->LocateProtocolCalls(gNvmDimmConfigProtocolGuid, std::string(kDriverImage)), 2u);
  EXPECT_EQ(machine->Log().Count("LocateCarvexConfigProtocol:Fail to locate the NVM DIMM config protocol:Not Found",
                                 kDriverImage),
            2u);
}

TEST(BootEventsTest, ReadyToBootThenLegacyBoot_SameHandlerTwice) {
  ScenarioMachine machine;
  sim::BootOptions options;
  options.legacyBoot = true;
  const sim::BootSummary summary = machine->RunBoot(options);
  ASSERT_EQ(summary.boots.size(), 1u);
  EXPECT_EQ(machine->Log().Count("CarvexReadyToBoot:Enter", kDriverImage), 2u);
  EXPECT_EQ(machine->Log().Count("CarvexReadyToBoot:Exit", kDriverImage), 2u);
}

TEST(BootEventsTest, SecondBoot_StartsWithFreshDriverState) {
  ScenarioMachine machine;
  machine->RunBoot();
  const sim::BootRecord& first = machine->CurrentBoot();
  EXPECT_TRUE(first.stillMapped.empty());
  machine->RunBoot();
  // The protocol pointer of the first boot is gone with its image: the
  // second boot binds again and logs the binding again.
  EXPECT_EQ(machine->Log().Count("LocateCarvexConfigProtocol:Protocol Version:", kDriverImage), 2u);
  EXPECT_TRUE(machine->CurrentBoot().stillMapped.empty());
}

TEST(SetupExitTest, EachExit_ReachesItsSlotAndLogsItsExitLevel) {
  struct Case {
    sim::SetupExit exit;
    unsigned slot;
    const char* exitLine;
    UINTN exitLevel;
  };
  for (const Case& c : {Case{sim::SetupExit::Save, 3, "CarvexSaveSetting:Exit:Success", 0x2},
                        Case{sim::SetupExit::Discard, 4, "CarvexDiscardSetting:Exit:Success", 0x2},
                        Case{sim::SetupExit::Defaults, 5, "CarvexLoadDefaultSetting:Exit", 0x80000000}}) {
    ScenarioMachine machine;
    machine->StartBoot();
    machine->EndOfPost();
    machine->EnterSetup();
    EXPECT_EQ(machine->LeaveSetup(c.exit), EFI_SUCCESS);
    EXPECT_EQ(machine->CurrentBoot().SlotStatus(c.slot), EFI_SUCCESS);
    bool found = false;
    for (const auto& line : machine->Log().Lines()) {
      if (line.image == kDriverImage && line.text == c.exitLine) {
        found = true;
        EXPECT_EQ(line.level, c.exitLevel) << c.exitLine;
      }
    }
    EXPECT_TRUE(found) << c.exitLine;
  }
}

// Only the out-of-band region cache outlives the boot's steps: one list.
TEST(DriverPoolTest, WholeBootWithSetup_DriverHoldsOnlyTheRegionCache) {
  ScenarioMachine machine;
  sim::BootOptions options;
  options.enterSetup = true;
  options.legacyBoot = true;
  const sim::BootSummary summary = machine->RunBoot(options);
  for (const auto& boot : summary.boots) {
    EXPECT_LE(boot.leaks.CountFor(kDriverImage), 1u) << boot.leaks.Format();
  }
  EXPECT_TRUE(summary.reports.empty());
  EXPECT_TRUE(machine->Debug().Assertions().empty());
}

}  // namespace
}  // namespace carvex::test

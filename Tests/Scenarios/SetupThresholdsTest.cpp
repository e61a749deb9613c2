// The alarm threshold variable when setup is left through the platform's
// save, discard and load-default events alone, without the browser's copy
// (as after the browser has let the form set go): the stored variable
// decides, and a save pushes its threshold to the modules.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include <Guid/CarvexVariables.h>
#include <Library/DebugLib.h>

#include "DeviceMachine.hpp"
#include "ScenarioMachine.hpp"
#include "NvmDimm/NvmDimmModel.h"

namespace carvex::test {
namespace {

constexpr char16_t kConfigName[] = u"CarvekConfigVar";
constexpr UINT32 kConfigAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

TEST(SetupThresholdsTest, SetupLeftWithoutTheBrowsersCopy_StoredVariableDecides) {
  using Bytes = std::vector<std::uint8_t>;
  struct Case {
    const char* name;
    std::optional<Bytes> before;  // nullopt: no variable
    sim::SetupExit exit;
    std::optional<Bytes> after;
    UINT16 moduleThreshold;  // every module's afterwards (they start at 50)
  };
  const Case cases[] = {
      {"SaveAppliesThePendingChoice", Bytes{10, 30, 1, 0}, sim::SetupExit::Save, Bytes{30, 30, 0, 0}, 30},
      {"SaveAfterDefaultsApplies10", Bytes{40, 30, 1, 1}, sim::SetupExit::Save, Bytes{10, 10, 0, 0}, 10},
      // The configuration manager writes the threshold in force directly;
      // the next save puts the chosen one back in force.
      {"SaveReplacesAThresholdWrittenOutOfBand", Bytes{40, 20, 0, 0}, sim::SetupExit::Save, Bytes{20, 20, 0, 0}, 20},
      {"DiscardDropsThePendingChoice", Bytes{10, 30, 1, 1}, sim::SetupExit::Discard, Bytes{10, 10, 0, 0}, 50},
      {"DefaultsOnlyRaiseTheFlag", Bytes{10, 30, 1, 0}, sim::SetupExit::Defaults, Bytes{10, 30, 1, 1}, 50},
      {"NoVariable_NeverCreated", std::nullopt, sim::SetupExit::Save, std::nullopt, 50},
      {"VariableOfAnotherSize_LeftAlone", Bytes{10, 30, 1}, sim::SetupExit::Save, Bytes{10, 30, 1}, 50},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DeviceMachine board;
    sim::Machine& machine = board.machine();
    NVM_MODEL& nvm = board.devices().Nvm();
    ASSERT_GT(nvm.DimmCount, 1u);
    for (UINT32 i = 0; i < nvm.DimmCount; ++i) {
      nvm.Dimms[i].AlarmThreshold = 50;
      nvm.Dimms[i].AlarmEnabled = i % 2;
    }
    machine.StartBoot();
    machine.EndOfPost();
    if (c.before) {
      machine.Variables().Put(kConfigName, gCarvexSetupFormSetGuid, kConfigAttributes, *c.before);
    } else {
      machine.Variables().Erase(kConfigName, gCarvexSetupFormSetGuid);
    }
    machine.EnterSetup();
    machine.LeaveSetup(c.exit);
    machine.EndBoot();

    const auto after = machine.Variables().Find(kConfigName, gCarvexSetupFormSetGuid);
    ASSERT_EQ(after.has_value(), c.after.has_value());
    if (after) {
      EXPECT_EQ(after->data, *c.after);
      EXPECT_EQ(after->attributes, kConfigAttributes);
    }
    for (UINT32 i = 0; i < nvm.DimmCount; ++i) {
      EXPECT_EQ(nvm.Dimms[i].AlarmThreshold, c.moduleThreshold) << "module " << i;
      EXPECT_EQ(nvm.Dimms[i].AlarmEnabled, i % 2) << "module " << i << " keeps its enabled state";
    }
  }
}

struct SaveRun {
  std::uint64_t injected = 0;
  std::optional<std::vector<std::uint8_t>> variable;
  std::size_t driverLeaks = 0;
  bool errorLogged = false;
  std::size_t reports = 0;
};

// A save of a pending 30 with the driver's n-th allocation from the start
// of the save failing (none when nth is empty).
SaveRun SaveWithFailure(std::optional<std::uint64_t> nth) {
  DeviceMachine board;
  sim::Machine& machine = board.machine();
  machine.StartBoot();
  machine.EndOfPost();
  machine.Variables().Put(kConfigName, gCarvexSetupFormSetGuid, kConfigAttributes, {10, 30, 1, 0});
  machine.EnterSetup();
  const std::size_t firstLine = machine.Log().Lines().size();
  if (nth) machine.Faults().FailNthAllocation(kDriverImage, *nth);
  machine.LeaveSetup(sim::SetupExit::Save);
  SaveRun run;
  run.injected = machine.Faults().InjectedAllocationFailures();
  machine.Faults().Clear();
  const auto& lines = machine.Log().Lines();
  for (std::size_t index = firstLine; index < lines.size(); ++index) {
    run.errorLogged |= lines[index].image == kDriverImage && (lines[index].level & DEBUG_ERROR) != 0;
  }
  run.variable = machine.Variables().Data(kConfigName, gCarvexSetupFormSetGuid);
  const sim::BootRecord record = machine.EndBoot();
  run.driverLeaks = record.leaks.CountFor(kDriverImage);
  run.reports = machine.Log().Reports().size();
  return run;
}

TEST(SetupThresholdsTest, EveryDriverAllocationOfASaveFailing_VariableStillSavedNothingLeaked) {
  const SaveRun clean = SaveWithFailure(std::nullopt);
  ASSERT_EQ(clean.variable, (std::vector<std::uint8_t>{30, 30, 0, 0}));
  ASSERT_EQ(clean.reports, 0u);
  std::uint64_t nth = 1;
  for (;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " fails");
    const SaveRun run = SaveWithFailure(nth);
    if (run.injected == 0) break;
    // The module push may fail; the variable says the new threshold is in
    // force all the same.
    EXPECT_EQ(run.variable, clean.variable);
    EXPECT_EQ(run.driverLeaks, clean.driverLeaks);
    EXPECT_EQ(run.reports, 0u);
    EXPECT_TRUE(run.errorLogged) << "the failed allocation left no trace";
    ASSERT_LE(nth, 100u) << "the sweep does not end";
  }
  EXPECT_GT(nth, 1u) << "a save allocates";
}

}  // namespace
}  // namespace carvex::test

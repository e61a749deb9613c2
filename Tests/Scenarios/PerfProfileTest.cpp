// The performance profile kept in two places: the driver's one-byte copy and
// byte 364 of the platform's memory setup. At entry the driver's copy wins
// and memory initialisation must run again; at setup save the platform's
// value wins.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>

#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>

#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

using sim::BootStage;
using sim::Machine;

std::vector<std::uint8_t> SocketMemoryConfig(ScenarioMachine& machine) {
  auto data = machine->Variables().Data(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid);
  return data ? *data : std::vector<std::uint8_t>{};
}

void PutDriverCopy(ScenarioMachine& machine, std::uint8_t value) {
  machine->Variables().Put(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid,
                           EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, {value});
}

void PutPlatformProfile(ScenarioMachine& machine, std::uint8_t value) {
  auto config = SocketMemoryConfig(machine);
  ASSERT_EQ(config.size(), static_cast<std::size_t>(SOCKET_MEMORY_CONFIG_SIZE));
  config[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = value;
  const auto variable = machine->Variables().Find(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid);
  machine->Variables().Put(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid, variable->attributes, config);
}

// Replaces the platform's memory setup with one of `size` bytes whose byte
// 364, when it has one, holds `profile`; the other bytes keep their values.
void PutPlatformConfigOfSize(Machine& machine, std::size_t size, std::uint8_t profile) {
  const auto variable = machine.Variables().Find(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid);
  ASSERT_TRUE(variable.has_value());
  std::vector<std::uint8_t> config = variable->data;
  config.resize(size, 0x5A);
  if (size > SOCKET_MEMORY_CONFIG_PERF_OFFSET) {
    config[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = profile;
  }
  machine.Variables().Put(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid, variable->attributes, config);
}

struct SizeCase {
  const char* name;
  std::size_t size;
};
// A memory setup of any size but 477 bytes belongs to some other platform
// layout: the driver neither trusts its byte 364 nor writes it back.
constexpr SizeCase kForeignSizes[] = {{"Empty", 0}, {"OneShort", 476}, {"OneLong", 478}};

// Boots once so that the platform has created its variables, then ends.
void FirstBoot(ScenarioMachine& machine) {
  machine->StartBoot();
  machine->EndOfPost();
  machine->EndBoot();
}

TEST(PerfProfileTest, FirstBoot_CreatesDriverCopyFromPlatformAndWritesNothingElse) {
  ScenarioMachine machine({.profile = sim::PerformanceProfile::LatencyOptimized});
  machine->StartBoot();

  const auto copy = machine->Variables().Find(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid);
  ASSERT_TRUE(copy.has_value());
  EXPECT_EQ(copy->data, std::vector<std::uint8_t>{PERF_PROFILE_LATENCY_OPTIMIZED});
  EXPECT_EQ(copy->attributes, static_cast<UINT32>(EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS));
  EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, 1).empty());
  EXPECT_TRUE(machine.DriverWrites(POST_RESET_REQ_NAME, 1).empty());
}

TEST(PerfProfileTest, DriverCopyAbsentAtSave_CreatedFromPlatformLikeAFirstBoot) {
  ScenarioMachine machine({.profile = sim::PerformanceProfile::LatencyOptimized});
  machine->StartBoot();
  machine->EndOfPost();
  machine->EnterSetup();
  machine->Variables().Erase(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid);
  machine->LeaveSetup(sim::SetupExit::Save);
  EXPECT_EQ(machine.Byte(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid), PERF_PROFILE_LATENCY_OPTIMIZED);
  EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, 1).empty());
}

TEST(PerfProfileTest, PlatformVariableUnreadableOnFirstBoot_DriverCopyIsBalanced) {
  const SizeCase missing = {"Missing", SIZE_MAX};
  std::vector<SizeCase> cases(std::begin(kForeignSizes), std::end(kForeignSizes));
  cases.push_back(missing);
  for (const SizeCase& c : cases) {
    SCOPED_TRACE(c.name);
    ScenarioMachine machine({.profile = sim::PerformanceProfile::LatencyOptimized});
    machine->OnStage(BootStage::PlatformProtocols, [&c](Machine& m) {
      if (c.size == SIZE_MAX) {
        m.Variables().Erase(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid);
      } else {
        PutPlatformConfigOfSize(m, c.size, PERF_PROFILE_BW_OPTIMIZED);
      }
    });
    machine->StartBoot();
    EXPECT_EQ(machine.Byte(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid), PERF_PROFILE_BALANCED);
    EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, 1).empty());
  }
}

TEST(PerfProfileTest, PlatformVariableOfAnotherSizeAtEntry_NeitherRewrittenNorReset) {
  for (const SizeCase& c : kForeignSizes) {
    SCOPED_TRACE(c.name);
    ScenarioMachine machine;
    FirstBoot(machine);
    PutDriverCopy(machine, PERF_PROFILE_LATENCY_OPTIMIZED);
    PutPlatformConfigOfSize(*machine, c.size, PERF_PROFILE_BALANCED);
    const auto before = SocketMemoryConfig(machine);

    machine->StartBoot();
    const unsigned boot = machine->BootNumber();
    EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, boot).empty());
    EXPECT_TRUE(machine.DriverWrites(POST_RESET_REQ_NAME, boot).empty());
    EXPECT_EQ(SocketMemoryConfig(machine), before);
  }
}

TEST(PerfProfileTest, PlatformVariableChangesSizeBeforeSave_DriverCopyKeepsItsValue) {
  for (const SizeCase& c : kForeignSizes) {
    SCOPED_TRACE(c.name);
    ScenarioMachine machine({.profile = sim::PerformanceProfile::LatencyOptimized});
    FirstBoot(machine);
    machine->StartBoot();  // entry reads the platform's 477 bytes, profile 1
    machine->EndOfPost();
    machine->EnterSetup();
    PutPlatformConfigOfSize(*machine, c.size, PERF_PROFILE_BW_OPTIMIZED);
    machine->LeaveSetup(sim::SetupExit::Save);
    EXPECT_TRUE(machine.DriverWrites(DCPMM_PERF_CONFIG_VAR_NAME, machine->BootNumber()).empty());
    EXPECT_EQ(machine.Byte(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid), PERF_PROFILE_LATENCY_OPTIMIZED);
  }
}

TEST(PerfProfileTest, DriverCopyDiffers_PlatformByteRewrittenAloneAndResetFollows) {
  ScenarioMachine machine({.profile = sim::PerformanceProfile::Balanced});
  FirstBoot(machine);
  const auto before = SocketMemoryConfig(machine);
  PutDriverCopy(machine, PERF_PROFILE_BW_OPTIMIZED);

  const sim::BootSummary summary = machine->RunBoot();

  // Boot 2 rewrote the platform's variable and asked for a reset; boot 3 is
  // the reset, in which the copies agree and nothing is written.
  ASSERT_EQ(summary.boots.size(), 2u);
  ASSERT_TRUE(summary.boots[0].reset.has_value());
  EXPECT_EQ(summary.boots[0].reset->source, "PostResetReq");
  EXPECT_FALSE(summary.boots[1].reset.has_value());

  const auto after = SocketMemoryConfig(machine);
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t offset = 0; offset < after.size(); ++offset) {
    if (offset == SOCKET_MEMORY_CONFIG_PERF_OFFSET) {
      EXPECT_EQ(after[offset], PERF_PROFILE_BW_OPTIMIZED);
    } else {
      EXPECT_EQ(after[offset], before[offset]) << "byte " << offset;
    }
  }
  const unsigned rewriteBoot = summary.boots[0].number;
  EXPECT_EQ(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, rewriteBoot).size(), 1u);
  const auto resetWrites = machine.DriverWrites(POST_RESET_REQ_NAME, rewriteBoot);
  ASSERT_EQ(resetWrites.size(), 1u);
  EXPECT_EQ(resetWrites[0].attributes, static_cast<UINT32>(EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS));
  EXPECT_TRUE(machine->Log().Contains("CarvexSyncDcpmmPerfConfig: set the flag of VAR_POST_RESET_REQ:1 Status = Success"));

  const unsigned resetBoot = summary.boots[1].number;
  EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, resetBoot).empty());
  EXPECT_TRUE(machine.DriverWrites(POST_RESET_REQ_NAME, resetBoot).empty());
  EXPECT_TRUE(machine.DriverWrites(DCPMM_PERF_CONFIG_VAR_NAME, resetBoot).empty());
}

TEST(PerfProfileTest, PlatformWriteFails_ResetStillRequested) {
  ScenarioMachine machine;
  FirstBoot(machine);
  PutDriverCopy(machine, PERF_PROFILE_LATENCY_OPTIMIZED);
  machine->Faults().FailVariableWrite(SOCKET_MEMORY_CONFIG_NAME, EFI_DEVICE_ERROR, 1);
  machine->StartBoot();
  EXPECT_EQ(machine.Byte(POST_RESET_REQ_NAME, gPlatformRequestVariableGuid), 1);
  EXPECT_TRUE(machine->Log().Contains("Set SocketMemoryConfig:Device Error", kDriverImage));
}

TEST(PerfProfileTest, CopiesAgree_EntryWritesNothing) {
  ScenarioMachine machine;
  FirstBoot(machine);
  machine->StartBoot();
  const unsigned boot = machine->BootNumber();
  EXPECT_TRUE(machine.DriverWrites(SOCKET_MEMORY_CONFIG_NAME, boot).empty());
  EXPECT_TRUE(machine.DriverWrites(DCPMM_PERF_CONFIG_VAR_NAME, boot).empty());
  EXPECT_TRUE(machine.DriverWrites(POST_RESET_REQ_NAME, boot).empty());
}

TEST(PerfProfileTest, SetupSaved_DriverCopyTakesPlatformValue) {
  ScenarioMachine machine;
  FirstBoot(machine);
  machine->StartBoot();
  machine->EndOfPost();
  machine->EnterSetup();
  // What a form set's route handler does when the user picks a profile.
  PutDriverCopy(machine, PERF_PROFILE_BW_OPTIMIZED);
  PutPlatformProfile(machine, PERF_PROFILE_BALANCED);
  machine->LeaveSetup(sim::SetupExit::Save);
  EXPECT_EQ(machine.Byte(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid), PERF_PROFILE_BALANCED);
  EXPECT_EQ(machine.DriverWrites(DCPMM_PERF_CONFIG_VAR_NAME, machine->BootNumber()).size(), 1u);
}

TEST(PerfProfileTest, SetupDiscarded_DriverCopyUntouched) {
  ScenarioMachine machine;
  FirstBoot(machine);
  machine->StartBoot();
  machine->EndOfPost();
  machine->EnterSetup();
  PutPlatformProfile(machine, PERF_PROFILE_BW_OPTIMIZED);
  machine->LeaveSetup(sim::SetupExit::Discard);
  EXPECT_EQ(machine.Byte(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid), PERF_PROFILE_BALANCED);
}

}  // namespace
}  // namespace carvex::test

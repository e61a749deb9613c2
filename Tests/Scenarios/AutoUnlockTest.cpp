// Automatic unlock at ready-to-boot over the controller's passphrase file:
// each outcome a module can get, the audit events the controller keeps, the
// retry on communication failures on the virtual clock, and one unlock per
// boot however many boot events arrive.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <Bmc/AuditLog.h>
#include <NvmDimmConfig/Security.h>

#include "DeviceMachine.hpp"
#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

constexpr const char* kPassphrase = "Carvex-Pass1";

// The locked board (four modules, security enabled) with its controller's
// files replaced: `file47` is the passphrase file's bytes, absent when null.
std::string LockedBoard(const std::optional<std::vector<std::uint8_t>>& file47) {
  std::ifstream in(std::filesystem::path(CARVEX_TEST_PLATFORMS_DIR) / "locked.json");
  nlohmann::json board = nlohmann::json::parse(in);
  board["bmc"]["files"] = nlohmann::json::array();
  if (file47) {
    std::string hex;
    static const char* digits = "0123456789abcdef";
    for (std::uint8_t byte : *file47) {
      hex += digits[byte >> 4];
      hex += digits[byte & 0xF];
    }
    board["bmc"]["files"].push_back({{"id", 47}, {"hex", hex}});
  }
  return board.dump();
}

std::vector<std::uint8_t> PassphraseFile(const std::string& text, std::size_t size = 33) {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.resize(size, 0);
  return bytes;
}

// The outcome the driver logged for each module in its unlock run, in
// module order.
std::vector<int> Outcomes(sim::Machine& machine) {
  std::vector<int> outcomes;
  const std::string marker = "UnlockLockedDcpmms:DIMM ";
  for (const sim::LogLine& line : machine.Log().Lines()) {
    if (line.image != kDriverImage || line.text.rfind(marker, 0) != 0) continue;
    const auto at = line.text.find(" auto unlock state ");
    if (at == std::string::npos) continue;
    outcomes.push_back(std::stoi(line.text.substr(at + 19)));
  }
  return outcomes;
}

std::vector<UINT16> AuditCodes(const BMC_MODEL& bmc) {
  std::vector<UINT16> codes;
  for (UINT32 index = 0; index < bmc.AuditCount; ++index) codes.push_back(bmc.Audit[index].EventCode);
  return codes;
}

struct OutcomeCase {
  const char* name;
  std::optional<std::vector<std::uint8_t>> file;
  UINT32 readFailures;  // EFI_DEVICE_ERROR answers before the controller reads
  int outcome;          // every module's
  std::vector<UINT16> audit;
  const char* exitLine;
  std::uint64_t stalledSeconds;
};

class AutoUnlockOutcomeTest : public ::testing::TestWithParam<OutcomeCase> {};

TEST_P (AutoUnlockOutcomeTest, LockedBoard_OutcomeAuditAndWait) {
  const OutcomeCase& c = GetParam();
  DeviceMachine machine(LockedBoard(c.file));
  if (c.readFailures != 0) {
    ASSERT_EQ(BmcModelSetFault(&machine.devices().Bmc(), BMC_SLOT_READ_FILE, BmcFaultTimes, 0, c.readFailures,
                               EFI_DEVICE_ERROR, 0xFF),
              EFI_SUCCESS);
  }
  const std::uint64_t before = machine.machine().Clock().NowMicroseconds();
  machine.Boot();

  EXPECT_EQ(Outcomes(machine.machine()), std::vector<int>(4, c.outcome));
  EXPECT_EQ(AuditCodes(machine.devices().Bmc()), c.audit);
  EXPECT_TRUE(machine.machine().Log().Contains(c.exitLine, kDriverImage)) << c.exitLine;
  // Only the retries wait; nothing else in the boot stalls this long.
  EXPECT_EQ((machine.machine().Clock().NowMicroseconds() - before) / 1000000, c.stalledSeconds);
  EXPECT_EQ(machine.devices().Bmc().CallCount[BMC_SLOT_READ_FILE], std::min<UINT32>(c.readFailures + 1, 3));
  const bool unlocked = c.outcome == AUTO_UNLOCK_STATE_SUCCESS;
  for (UINT32 index = 0; index < machine.devices().Nvm().DimmCount; ++index) {
    EXPECT_EQ(machine.devices().Nvm().Dimms[index].Locked, unlocked ? 0 : 1) << "module " << index;
  }
}

const std::vector<UINT16> kNone;
const std::vector<UINT16> kNoPassphrase = {0xFB03};
const std::vector<UINT16> kInvalid = {0xFB04};

INSTANTIATE_TEST_SUITE_P(
  Files, AutoUnlockOutcomeTest,
  ::testing::Values(
    OutcomeCase{"RightPassphrase", PassphraseFile(kPassphrase), 0, AUTO_UNLOCK_STATE_SUCCESS, kNone,
                "AutoUnlock:Exit:Success", 0},
    OutcomeCase{"NoFile", std::nullopt, 0, AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST, kNoPassphrase,
                "AutoUnlock:Exit:Load Error", 0},
    OutcomeCase{"ClearedFile", PassphraseFile(""), 0, AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST, kNoPassphrase,
                "GetDcpmmPassphraseFile:Not Found:passphrase is cleared", 0},
    OutcomeCase{"WrongPassphrase", PassphraseFile("Other-Pass2"), 0, AUTO_UNLOCK_STATE_INVALID_PASSPHRASE, kInvalid,
                "AutoUnlock:Exit:Success", 0},
    OutcomeCase{"LastByteNotZero",
                [] {
                  auto bytes = PassphraseFile(kPassphrase);
                  bytes[32] = 0x41;
                  return bytes;
                }(),
                0, AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST, kNone, "passphrase tail is 41", 0},
    OutcomeCase{"TwoDeviceErrorsThenRead", PassphraseFile(kPassphrase), 2, AUTO_UNLOCK_STATE_SUCCESS, kNone,
                "GetDcpmmPassphraseFile:Success:RetryCount 1", 2},
    OutcomeCase{"ControllerUnreachable", PassphraseFile(kPassphrase), 3, AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST,
                kNone, "GetDcpmmPassphraseFile:VESK comm error", 2},
    // Short and long files: the reader asks for 33 bytes and takes what comes.
    OutcomeCase{"OneByteFile", std::vector<std::uint8_t>{'C'}, 0, AUTO_UNLOCK_STATE_INVALID_PASSPHRASE, kInvalid,
                "Read out 1 bytes", 0},
    OutcomeCase{"FullLengthFileWithoutLastByte", PassphraseFile(std::string(32, 'x'), 32), 0,
                AUTO_UNLOCK_STATE_INVALID_PASSPHRASE, kInvalid, "Read out 32 bytes", 0},
    OutcomeCase{"LongFile", PassphraseFile(kPassphrase, 256), 0, AUTO_UNLOCK_STATE_SUCCESS, kNone,
                "Read out 33 bytes", 0}),
  [](const ::testing::TestParamInfo<OutcomeCase>& info) { return std::string(info.param.name); });

TEST (AutoUnlockTest, ReadyToBootThenLegacyBoot_UnlocksOnceAndReportsOnce) {
  DeviceMachine machine(LockedBoard(PassphraseFile(kPassphrase)));
  sim::BootOptions options;
  options.legacyBoot = true;
  machine.machine().RunBoot(options);

  const sim::PlatformLog& log = machine.machine().Log();
  EXPECT_EQ(log.Count("AutoUnlock:Enter", kDriverImage), 2u);
  EXPECT_EQ(log.Count("AutoUnlock:This function is already called.", kDriverImage), 1u);
  EXPECT_EQ(log.Count("Auto Unlock has been completed, Need update the config file.", kDriverImage), 1u);
  EXPECT_EQ(machine.devices().Bmc().CallCount[BMC_SLOT_READ_FILE], 1u);
  EXPECT_EQ(Outcomes(machine.machine()), std::vector<int>(4, AUTO_UNLOCK_STATE_SUCCESS));
}

TEST (AutoUnlockTest, NoLockedModule_FileNeverReadAndNothingReported) {
  DeviceMachine machine;
  sim::BootOptions options;
  options.legacyBoot = true;
  machine.machine().RunBoot(options);

  const sim::PlatformLog& log = machine.machine().Log();
  EXPECT_EQ(log.Count("AutoUnlock:Success:locked DCPMM does not exist", kDriverImage), 2u);
  EXPECT_FALSE(log.Contains("Auto Unlock has been completed", kDriverImage));
  EXPECT_EQ(machine.devices().Bmc().CallCount[BMC_SLOT_READ_FILE], 0u);
  EXPECT_TRUE(Outcomes(machine.machine()).empty());
}

TEST (AutoUnlockTest, OneModuleRefuses_SuccessAndInvalidWithOneAuditEvent) {
  std::ifstream in(std::filesystem::path(CARVEX_TEST_PLATFORMS_DIR) / "locked.json");
  nlohmann::json board = nlohmann::json::parse(in);
  board["modules"][1]["security"]["passphrase"] = "Other-Pass2";
  board["modules"][2]["security"]["passphrase"] = "Other-Pass2";
  DeviceMachine machine(board.dump());
  machine.Boot();

  EXPECT_EQ(Outcomes(machine.machine()),
            (std::vector<int>{AUTO_UNLOCK_STATE_SUCCESS, AUTO_UNLOCK_STATE_INVALID_PASSPHRASE,
                              AUTO_UNLOCK_STATE_INVALID_PASSPHRASE, AUTO_UNLOCK_STATE_SUCCESS}));
  EXPECT_EQ(AuditCodes(machine.devices().Bmc()), kInvalid);
  const BMC_AUDIT_EVENT& event = machine.devices().Bmc().Audit[0];
  EXPECT_STREQ(event.MessageId, "WJHSFMA0039K");
}

TEST (AutoUnlockTest, EveryBoot_LockedAgainAndUnlockedAgain) {
  DeviceMachine machine(LockedBoard(PassphraseFile(kPassphrase)));
  machine.Boot();
  const sim::devices::Inspection second = machine.Inspect();
  // At the end of POST of the next boot the modules are Locked again and
  // no unlock has run yet in this boot.
  for (const auto& module : second.modules) {
    EXPECT_EQ(module.details.SecurityState, DIMM_SECURITY_STATE_LOCKED);
  }
  EXPECT_EQ(Outcomes(machine.machine()), std::vector<int>(8, AUTO_UNLOCK_STATE_SUCCESS));
}

}  // namespace
}  // namespace carvex::test

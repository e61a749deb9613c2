// The security page with the controller and the automatic unlock behind it:
// what the controller keeps after each operation, what the next boot does
// with it, and that no passphrase survives in a log line or a freed block.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <NvmDimmConfig/Security.h>

#include "BootThroughSetup.hpp"
#include "BrowserMachine.hpp"
#include "Devices/ClientProbe.hpp"
#include "Devices/DevicePlatform.hpp"
#include "Devices/PlatformFile.hpp"
#include "HiiMachine.hpp"
#include "Platform/Machine.hpp"
#include "ScriptFrontEnd.hpp"

namespace carvex::test {
namespace {

namespace browser = sim::browser;

const std::filesystem::path kPlatforms = CARVEX_TEST_PLATFORMS_DIR;
constexpr const char* kDriver = "CarvexDxe";

// A board from a platform file with the vendor's, the controller's and the
// driver's images, the probe, the HII services and the host browser.
class SecurityBoard {
 public:
  explicit SecurityBoard(const std::string& platformFile) {
    static unsigned counter = 0;
    state_ = std::filesystem::temp_directory_path() /
             ("carvex-security-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::remove_all(state_);
    sim::PlatformSettings settings;
    settings.images = {CARVEX_TEST_NvmDimmVendorDxe, CARVEX_TEST_BmcVeskDxe, CARVEX_TEST_CarvexDxe,
                       sim::devices::ClientProbeImagePath()};
    machine_ = std::make_unique<sim::Machine>(state_, settings);
    devices_ = std::make_unique<sim::devices::DevicePlatform>(*machine_,
                                                               sim::devices::LoadPlatformFile(kPlatforms / platformFile));
    hii_ = std::make_unique<sim::HiiMachine>(*machine_);
    browsers_ = std::make_unique<browser::BrowserMachine>(*machine_, *hii_);
    machine_->OnStage(sim::BootStage::EndOfPost, [this](sim::Machine& machine) {
      if (atEndOfPost_) {
        sim::devices::ClientProbe probe(machine);
        atEndOfPost_(probe);
      }
    });
  }

  ~SecurityBoard() {
    browsers_.reset();
    hii_.reset();
    machine_.reset();
    devices_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(state_, ignored);
  }

  sim::Machine& machine() { return *machine_; }
  sim::devices::DevicePlatform& devices() { return *devices_; }
  void AtEndOfPost(std::function<void(sim::devices::ClientProbe&)> hook) { atEndOfPost_ = std::move(hook); }

  // One boot through setup running `script`; the script must pass.
  void BootWithScript(const std::string& script) {
    std::ostringstream transcript;
    browser::ScriptResult result;
    browser::RunBootThroughSetup(*machine_, *browsers_, [&](browser::FormBrowser& browser) {
      browser::ScriptOptions options;
      options.transcript = &transcript;
      result = browser::RunSetupScript(browser, "goto \"Intel Optane DCPMMs\"\nselect \"Security\"\n" + script,
                                       "security", options);
    });
    EXPECT_TRUE(result.ok) << result.Describe() << "\n" << transcript.str();
    // CARVEX_TEST_LOG=text prints the log lines holding it after a failure.
    if (!result.ok && std::getenv("CARVEX_TEST_LOG")) {
      for (const sim::LogLine& line : machine_->Log().Lines()) {
        if (line.text.find(std::getenv("CARVEX_TEST_LOG")) != std::string::npos) std::cerr << "[" << line.image << "] " << line.text << "\n";
      }
    }
  }

  // One boot through setup running each step as a script of its own,
  // whatever each step's outcome.
  void BootWithSteps(const std::vector<std::string>& steps) {
    browser::RunBootThroughSetup(*machine_, *browsers_, [&](browser::FormBrowser& browser) {
      browser::ScriptOptions options;
      options.leaveSetupAtEnd = false;
      for (const std::string& step : steps) browser::RunSetupScript(browser, step, "step", options);
    });
  }

  // The controller's passphrase file, or nothing.
  std::optional<std::vector<std::uint8_t>> File47() {
    const BMC_FILE* file = BmcModelFindFile(&devices_->Bmc(), 47);
    if (file == nullptr) return std::nullopt;
    return std::vector<std::uint8_t>(file->Data, file->Data + file->Size);
  }

  // The outcome the driver logged for each module in its last boot's run.
  std::vector<int> Outcomes() {
    std::vector<int> outcomes;
    for (const sim::LogLine& line : machine_->Log().Lines()) {
      if (line.boot != machine_->BootNumber() || line.image != kDriver) continue;
      const auto at = line.text.find(" auto unlock state ");
      if (line.text.rfind("UnlockLockedDcpmms:", 0) == 0 && at != std::string::npos) {
        outcomes.push_back(std::stoi(line.text.substr(at + 19)));
      }
    }
    return outcomes;
  }

 private:
  std::filesystem::path state_;
  std::unique_ptr<sim::Machine> machine_;
  std::unique_ptr<sim::devices::DevicePlatform> devices_;
  std::unique_ptr<sim::HiiMachine> hii_;
  std::unique_ptr<browser::BrowserMachine> browsers_;
  std::function<void(sim::devices::ClientProbe&)> atEndOfPost_;
};

std::vector<std::uint8_t> FileBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.resize(33, 0);
  return bytes;
}

TEST (SecurityPageTest, PlatformEnableThenReboot_ModulesUnlockedAtReadyToBoot) {
  SecurityBoard board("default.json");
  board.BootWithScript(R"(password "Press to Enable Security" "Carvex-Pass1" "Carvex-Pass1"
expect box ~ "Security is enabled successfully"
)");
  EXPECT_EQ(board.File47(), FileBytes("Carvex-Pass1"));

  // The next power-up finds every module Locked; nobody types anything.
  board.machine().RunBoot();
  EXPECT_EQ(board.Outcomes(), std::vector<int>(12, AUTO_UNLOCK_STATE_SUCCESS));
  const NVM_MODEL& nvm = board.devices().Nvm();
  for (UINT32 index = 0; index < nvm.DimmCount; ++index) {
    EXPECT_EQ(nvm.Dimms[index].Locked, 0) << "module " << index + 1;
    EXPECT_EQ(nvm.Dimms[index].SecurityEnabled, 1) << "module " << index + 1;
  }
  EXPECT_EQ(board.devices().Bmc().AuditCount, 0u);
}

TEST (SecurityPageTest, PlatformDisableAndErase_ControllerFileClearedToZeros) {
  for (const char* button : {"Press to Disable Security", "Press to Secure Erase"}) {
    SCOPED_TRACE(button);
    SecurityBoard board("locked.json");
    board.BootWithScript(std::string("password \"") + button + "\" \"Carvex-Pass1\"\nexpect box ~ \"successfully\"\n");
    EXPECT_EQ(board.File47(), std::vector<std::uint8_t>(33, 0));
  }
}

TEST (SecurityPageTest, SingleScopeOperations_ControllerFileUntouched) {
  SecurityBoard board("security-mixed.json");
  board.BootWithScript(R"(set "Scope" "Single DCPMM"
check "DIMM 4"
password "Press to Enable Security" "Other-Pass2" "Other-Pass2"
expect box ~ "Security is enabled successfully"
check "DIMM 1"
password "Press to Disable Security" "Carvex-Pass1"
expect box ~ "Security is disabled successfully"
)");
  EXPECT_EQ(board.File47(), FileBytes("Carvex-Pass1"));
  const NVM_MODEL& nvm = board.devices().Nvm();
  EXPECT_EQ(nvm.Dimms[0].SecurityEnabled, 0);
  EXPECT_EQ(nvm.Dimms[2].SecurityEnabled, 1);
  EXPECT_EQ(nvm.Dimms[3].SecurityEnabled, 1);
}

TEST (SecurityPageTest, EnableWhileGoalPending_RefusedWithTheReason) {
  SecurityBoard board("default.json");
  board.AtEndOfPost([](sim::devices::ClientProbe& probe) {
    UINT16 dimm = 7;
    UINT16 nvmStatus = 0;
    ASSERT_EQ(probe.Protocol().CreateGoal(&dimm, 1, nullptr, 0, GOAL_MEMORY_TYPE_APP_DIRECT, 50, &nvmStatus),
              EFI_SUCCESS);
  });
  board.BootWithScript(R"(password "Press to Enable Security" "Carvex-Pass1" "Carvex-Pass1"
expect box "Invalid request to enable security while goal creation is pending." title "Info"
expect "Press to Enable Security" shown
)");
  EXPECT_FALSE(board.File47().has_value());
}

TEST (SecurityPageTest, EraseWhileScrubRuns_ErasedAndScrubRestarted) {
  SecurityBoard board("security-scrub.json");
  UINT64 before = 0;
  board.AtEndOfPost([&](sim::devices::ClientProbe&) { before = board.devices().Nvm().Dimms[2].ArsCurrent; });
  board.BootWithScript(R"(set "Scope" "Single DCPMM"
check "DIMM 3"
check "DIMM 4"
password "Press to Secure Erase" "Carvex-Pass1"
expect box ~ "Secure erase is done successfully"
)");
  const NVM_MODEL& nvm = board.devices().Nvm();
  EXPECT_EQ(nvm.Dimms[2].SecurityEnabled, 0);
  EXPECT_EQ(nvm.Dimms[3].SecurityEnabled, 0);
  EXPECT_EQ(nvm.Dimms[0].SecurityEnabled, 1);
  EXPECT_EQ(nvm.Dimms[2].ArsInProgress, 1);
  EXPECT_EQ(nvm.Dimms[2].ArsCurrent, before);
}

// Every operation of the page, typed right and wrong, then a boot that
// unlocks with the stored passphrase: no log line at any level and no
// freed block of the driver holds a passphrase.
TEST (SecurityPageTest, EveryOperation_PassphraseInNoLogLineAndNoFreedBlock) {
  const std::vector<std::string> secrets = {"Carvex-Pass1", "Wr0ng-Guess", "N3w-Secret", "Th1rd-Secret"};
  SecurityBoard board("locked.json");
  board.machine().WatchFreedPoolFor(secrets);
  board.BootWithScript(R"(password "Press to Change Security Passphrase" "Wr0ng-Guess" "N3w-Secret" "N3w-Secret"
expect box ~ "Security passphrase is not changed"
password "Press to Change Security Passphrase" "Carvex-Pass1" "N3w-Secret" "N3w-Secret"
expect box ~ "changed successfully"
password "Press to Change Security Passphrase" "N3w-Secret" "Th1rd-Secret"
password "Press to Disable Security" "N3w-Secret"
expect box ~ "disabled successfully"
password "Press to Enable Security" "Th1rd-Secret" "Th1rd-Secret"
expect box ~ "enabled successfully"
password "Press to Secure Erase" "Th1rd-Secret"
expect box ~ "Secure erase is done successfully"
password "Press to Enable Security" "Th1rd-Secret" "Th1rd-Secret"
expect box ~ "enabled successfully"
)");
  board.machine().RunBoot();
  EXPECT_EQ(board.Outcomes(), std::vector<int>(4, AUTO_UNLOCK_STATE_SUCCESS));

  std::size_t driverLines = 0;
  for (const sim::LogLine& line : board.machine().Log().Lines()) {
    driverLines += line.image == kDriver;
    for (const std::string& secret : secrets) {
      EXPECT_EQ(line.text.find(secret), std::string::npos) << "[" << line.image << "] " << line.text;
    }
  }
  EXPECT_GT(driverLines, 500u) << "the driver's log is not being captured";
  for (const sim::PlatformReport& report : board.machine().Log().Reports()) {
    EXPECT_NE(report.kind == sim::ReportKind::SecretInFreedPool && report.image == kDriver, true)
      << "boot " << report.boot << ": " << report.message;
  }
}

// The walk for the failure sweep: each step on its own, so that a step
// the failure broke does not keep the later ones from running.
const std::vector<std::string> kWalk = {
  "goto \"Intel Optane DCPMMs\"\nselect \"Security\"\n",
  "password \"Press to Change Security Passphrase\" \"Carvex-Pass1\" \"N3w-Secret\" \"N3w-Secret\"\n",
  "password \"Press to Disable Security\" \"N3w-Secret\"\n",
  "password \"Press to Enable Security\" \"Carvex-Pass1\" \"Carvex-Pass1\"\n",
  "password \"Press to Secure Erase\" \"Carvex-Pass1\"\n",
  "press \"Press to Secure Erase\"\nanswer yes\n",
  "set \"Scope\" \"Single DCPMM\"\ncheck \"DIMM 1\"\ncheck \"DIMM 2\"\npress \"Press to clear all the selections\"\n",
};

// Each pool allocation of the driver while the user walks through the page
// fails in turn: the boot ends without a crash, a platform report or an
// assertion, whatever the page then shows.
TEST (SecurityPageTest, EachDriverAllocationInSetupFailing_WalkEndsSoundly) {
  std::uint64_t allocations = 0;
  {
    SecurityBoard clean("locked.json");
    clean.machine().OnStage(sim::BootStage::SetupEntered,
                            [](sim::Machine& machine) { machine.Faults().FailNthAllocation(kDriver, 1u << 30); });
    clean.machine().OnStage(sim::BootStage::BeforeEndBoot, [&](sim::Machine& machine) {
      allocations = machine.Faults().AllocationCount(kDriver);
    });
    clean.BootWithSteps(kWalk);
    ASSERT_TRUE(clean.machine().Log().Reports().empty());
  }
  ASSERT_GT(allocations, 20u);
  std::cout << "[ INFO     ] " << allocations << " allocations of the driver from setup on\n";

  // Every allocation of the walk up to kDense, then every kEvery-th one, to
  // keep the sweep's time bounded.
  constexpr std::uint64_t kDense = 40, kEvery = 4;
  for (std::uint64_t nth = 1; nth <= allocations; nth += nth < kDense ? 1 : kEvery) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " in setup fails");
    SecurityBoard board("locked.json");
    board.machine().OnStage(sim::BootStage::SetupEntered,
                            [nth](sim::Machine& machine) { machine.Faults().FailNthAllocation(kDriver, nth); });
    board.BootWithSteps(kWalk);
    for (const sim::PlatformReport& report : board.machine().Log().Reports()) {
      ADD_FAILURE() << report.image << ": " << report.message;
    }
    EXPECT_TRUE(board.machine().Debug().Assertions().empty());
    EXPECT_LE(board.machine().Faults().InjectedAllocationFailures(), 1u);
  }
}

}  // namespace
}  // namespace carvex::test

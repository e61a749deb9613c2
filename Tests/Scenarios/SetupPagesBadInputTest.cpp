// The setup pages under answers no sane platform gives: socket identifiers
// of 8 or more, more modules than the pages and lists hold, regions that
// change between the list and the details page. Nothing may be written
// past an array (the asan preset checks every write; here the bytes next
// to the eight-entry flag arrays must keep their values), nothing may
// crash, and the pages show what fits.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <NvmDimmRecords.h>
#include <Protocol/NvmDimmConfig.h>

#include "BrowserBoard.hpp"
#include "ScriptFrontEnd.hpp"

namespace carvex::test {
namespace {

// Bends the vendor's answers: the protocol table the driver holds is
// patched in place once the images are loaded, so every call of the boot
// goes through these wrappers, which ask the real protocol and then change
// what it answered.
struct BentAnswers {
  static inline NVM_DIMM_CONFIG_PROTOCOL original{};
  static inline UINT16 socketShift = 0;     // added to every socket identifier
  static inline UINT32 moduleCount = 0;     // non-zero: this many modules, all unconfigured on socket 0
  static inline std::optional<UINT32> regionLimit;  // at most this many regions

  static void Install(sim::Machine& machine) {
    sim::HostImage host = machine.AttachHostImage("BentAnswers");
    NVM_DIMM_CONFIG_PROTOCOL* table = nullptr;
    ASSERT_EQ(host.bootServices->LocateProtocol(const_cast<EFI_GUID*>(&gNvmDimmConfigProtocolGuid), nullptr,
                                                reinterpret_cast<VOID**>(&table)),
              EFI_SUCCESS);
    original = *table;
    table->GetDimmCount = GetDimmCount;
    table->GetDimms = GetDimms;
    table->GetSockets = GetSockets;
    table->GetRegionCount = GetRegionCount;
    table->GetRegions = GetRegions;
    table->GetGoalConfigs = GetGoalConfigs;
  }

  static void Reset() {
    socketShift = 0;
    moduleCount = 0;
    regionLimit.reset();
  }

  static EFI_STATUS EFIAPI GetDimmCount(NVM_DIMM_CONFIG_PROTOCOL* self, UINT32* count) {
    const EFI_STATUS status = original.GetDimmCount(self, count);
    if (status == EFI_SUCCESS && moduleCount != 0) *count = moduleCount;
    return status;
  }

  static EFI_STATUS EFIAPI GetDimms(NVM_DIMM_CONFIG_PROTOCOL* self, UINT32 count, UINT32 categories, DIMM_RECORD* dimms) {
    UINT32 real = 0;
    EFI_STATUS status = original.GetDimmCount(self, &real);
    if (status != EFI_SUCCESS || real == 0) return status;
    status = original.GetDimms(self, std::min(count, real), categories, dimms);
    if (status != EFI_SUCCESS) return status;
    if (moduleCount != 0) {
      // The same modules again under new locators, every one on socket 0.
      for (UINT32 index = 0; index < count; ++index) {
        if (index >= real) std::memcpy(&dimms[index], &dimms[index % real], sizeof(DIMM_RECORD));
        const std::string number = std::to_string(index + 1);
        const std::u16string locator = u"DIMM " + std::u16string(number.begin(), number.end());
        CHAR16 field[DIMM_DEVICE_LOCATOR_LENGTH] = {};
        std::memcpy(field, locator.c_str(), locator.size() * sizeof(CHAR16));
        std::memcpy(reinterpret_cast<UINT8*>(&dimms[index]) + offsetof(DIMM_RECORD, DeviceLocator), field, sizeof field);
        dimms[index].SocketId = 0;
        dimms[index].Configured = 0;
      }
    }
    const UINT32 filled = moduleCount != 0 ? count : std::min(count, real);
    for (UINT32 index = 0; index < filled; ++index) {
      dimms[index].SocketId = static_cast<UINT16>(dimms[index].SocketId + socketShift);
    }
    return status;
  }

  static EFI_STATUS EFIAPI GetSockets(NVM_DIMM_CONFIG_PROTOCOL* self, UINT32* count, SOCKET_RECORD** sockets) {
    const EFI_STATUS status = original.GetSockets(self, count, sockets);
    if (status == EFI_SUCCESS && *sockets != nullptr) {
      for (UINT32 index = 0; index < *count; ++index) {
        (*sockets)[index].SocketId = static_cast<UINT16>((*sockets)[index].SocketId + socketShift);
      }
    }
    return status;
  }

  static EFI_STATUS EFIAPI GetRegionCount(NVM_DIMM_CONFIG_PROTOCOL* self, UINT32* count) {
    const EFI_STATUS status = original.GetRegionCount(self, count);
    if (status == EFI_SUCCESS && regionLimit) *count = std::min(*count, *regionLimit);
    return status;
  }

  static EFI_STATUS EFIAPI GetRegions(NVM_DIMM_CONFIG_PROTOCOL* self, UINT32 count, REGION_RECORD* regions,
                                      COMMAND_STATUS* commandStatus) {
    UINT32 real = 0;
    EFI_STATUS status = original.GetRegionCount(self, &real);
    if (status != EFI_SUCCESS) return status;
    std::vector<REGION_RECORD> all(std::max<UINT32>(real, 1));
    status = original.GetRegions(self, real, all.data(), commandStatus);
    if (status != EFI_SUCCESS) return status;
    const UINT32 given = std::min({count, real, regionLimit.value_or(real)});
    for (UINT32 index = 0; index < given; ++index) {
      regions[index] = all[index];
      regions[index].SocketId = static_cast<UINT16>(regions[index].SocketId + socketShift);
    }
    return status;
  }

  static EFI_STATUS EFIAPI GetGoalConfigs(NVM_DIMM_CONFIG_PROTOCOL* self, UINT16* dimmIds, UINT32 dimmIdsCount,
                                          UINT16* socketIds, UINT32 socketIdsCount, UINT32 entries, GOAL_RECORD* goals,
                                          UINT32* goalCount, COMMAND_STATUS* commandStatus) {
    const EFI_STATUS status = original.GetGoalConfigs(self, dimmIds, dimmIdsCount, socketIds, socketIdsCount, entries,
                                                       goals, goalCount, commandStatus);
    if (status == EFI_SUCCESS && goalCount != nullptr) {
      for (UINT32 index = 0; index < std::min(*goalCount, entries); ++index) {
        goals[index].SocketId = static_cast<UINT16>(goals[index].SocketId + socketShift);
      }
    }
    return status;
  }
};

struct PagesRun {
  browser::ScriptResult result;
  std::ostringstream transcript;
  sim::BootSummary summary;

  bool Logged(const std::string& fragment) const {
    return std::any_of(summary.log.begin(), summary.log.end(),
                       [&](const sim::LogLine& line) { return line.text.find(fragment) != std::string::npos; });
  }
};

browser::ScriptResult RunPart(browser::FormBrowser& browser, const std::string& script, std::ostringstream& transcript) {
  browser::ScriptOptions options;
  options.transcript = &transcript;
  options.leaveSetupAtEnd = false;
  return browser::RunSetupScript(browser, script, "bad-input", options);
}

// SetupVar bytes that follow the eight-entry flag arrays.
constexpr std::size_t kRegionCount = 0x0F8;       // after GoalSocketHasNamespace
constexpr std::size_t kVolatilePercent = 0x10D;   // after CreateGoalSocketUnconfigured
constexpr std::size_t kPersistentMemType = 0x10E;
// SetupPendingGoalDetailsVar: PendingGoalExists, then PendingGoalModuleCount
// after PendingGoalSocket; ModuleCount of SetupDimmDetailsVar.
constexpr std::size_t kPendingGoalExists = 0x000;
constexpr std::size_t kPendingGoalModuleCount = 0x009;
constexpr std::size_t kModuleCount = 0xC4E;

std::uint8_t Byte(const std::optional<browser::Bytes>& store, std::size_t offset) {
  return store.has_value() && offset < store->size() ? store->at(offset) : 0xEE;
}

// Two processors: processor 1 with two modules and one not configured,
// processor 2 with two modules and a namespace in its region.
const char* const kTwoProcessors = R"({
  "sockets": 2,
  "modules": [
    {"socket": 0, "slot": 1, "capacity": "16 GiB"},
    {"socket": 0, "slot": 2, "capacity": "16 GiB"},
    {"socket": 0, "slot": 3, "capacity": "16 GiB", "configured": false},
    {"socket": 1, "slot": 4, "capacity": "16 GiB"},
    {"socket": 1, "slot": 5, "capacity": "16 GiB"}
  ],
  "namespaces": [{"region": 2, "name": "data", "size": "4 GiB"}]
})";

// Socket identifiers of 8 and beyond reach every page: in the module and
// region records, the socket list and the pending goals. First, without
// bent answers, a goal is created for processor 1 with 50 % memory mode;
// then the sockets are moved out of range and the Goals page is opened
// again.
TEST(SetupPagesBadInput, SocketIdentifiersOfEightOrMore_NoFlagNoLinkNeighboursKept) {
  for (const UINT16 shift : {8, 9, 0x00F8}) {
    SCOPED_TRACE("socket identifiers + " + std::to_string(shift));
    BentAnswers::Reset();
    BrowserBoard board(sim::devices::DeviceStateFromJson(nlohmann::json::parse(kTwoProcessors)), 0x30);
    board.Machine().OnStage(sim::BootStage::ImagesLoaded, [](sim::Machine& machine) { BentAnswers::Install(machine); });
    PagesRun run;
    browser::ScriptResult before;
    std::optional<browser::Bytes> setupVar, pending;
    run.summary = board.Boot([&](browser::FormBrowser& browser) {
      before = RunPart(browser, R"(
goto "Intel Optane DCPMMs"
select "Goals"
set "Scope" Processor
check "Processor 1"
set "Memory Mode [%]" 50
set "Persistent Memory Type" "App Direct"
press "Press to Create Goal"
expect box ~ "successfully created"
expect "Goal Configurations for Processor 1" shown
back
)",
                       run.transcript);
      BentAnswers::socketShift = shift;
      run.result = RunPart(browser, R"(
select "Goals"
expect "Goal Configurations for Processor 1" hidden
expect "Delete goal configuration:" shown
back
select "Intel Optane DCPMMs Details"
expect "Intel Optane DCPMMs Details for Processor 1" absent
expect "Intel Optane DCPMMs Details for Processor 9" absent
back
select "Regions"
expect "Region ID 0x0002" selectable
select "Region ID 0x0002"
expect "Socket" ~ "Processor "
)",
                           run.transcript);
      setupVar = browser.StoreData(kFormSetGuid, u"SetupVar");
      pending = browser.StoreData(kFormSetGuid, u"SetupPendingGoalDetailsVar");
    });
    ASSERT_TRUE(before.ok) << before.Describe() << "\n" << run.transcript.str();
    EXPECT_TRUE(run.result.ok) << run.result.Describe() << "\n" << run.transcript.str();
    // The bytes that follow the eight-entry flag arrays.
    EXPECT_EQ(Byte(setupVar, kRegionCount), 2);
    EXPECT_EQ(Byte(setupVar, kVolatilePercent), 50);
    EXPECT_EQ(Byte(setupVar, kPersistentMemType), 1);
    EXPECT_EQ(Byte(pending, kPendingGoalModuleCount), 0);
    EXPECT_EQ(Byte(pending, kPendingGoalExists), 1) << "a pending goal still exists";
  }
}

// Sixty modules, all unconfigured on processor 1: the processor page shows
// six, and a goal for the unconfigured modules (more than 48) is refused
// whole without asking the modules.
TEST(SetupPagesBadInput, MoreThanFortyEightModules_SixBlocksAndGoalRefused) {
  BentAnswers::Reset();
  BrowserBoard board("default.json", 0x30);
  board.Machine().OnStage(sim::BootStage::ImagesLoaded, [](sim::Machine& machine) {
    BentAnswers::moduleCount = 60;
    BentAnswers::Install(machine);
  });
  PagesRun run;
  UINT32 createCalls = 0;
  std::optional<browser::Bytes> details;
  run.summary = board.Boot([&](browser::FormBrowser& browser) {
    const UINT32 callsBefore = board.Devices().Nvm().CallCount[NVM_SLOT_CREATE_GOAL_CONFIG];
    run.result = RunPart(browser, R"(
goto "Intel Optane DCPMMs"
expect "Number of Intel Optane DCPMMs Detected" = 60
select "Intel Optane DCPMMs Details"
select "Intel Optane DCPMMs Details for Processor 1"
expect "DIMM 1" shown
expect "DIMM 6" shown
expect "DIMM 7" absent
expect "Configuration Status"[6] = "Not Configured"
back
back
select "Goals"
set "Scope" Unconfigured
check "Processor 1"
set "Persistent Memory Type" "App Direct"
press "Press to Create Goal"
expect box "Goal configuration fails to be created." title "Error"
expect "There is no goal configuration." shown
)",
                         run.transcript);
    createCalls = board.Devices().Nvm().CallCount[NVM_SLOT_CREATE_GOAL_CONFIG] - callsBefore;
    details = browser.StoreData(kFormSetGuid, u"SetupDimmDetailsVar");
  });
  EXPECT_TRUE(run.result.ok) << run.result.Describe() << "\n" << run.transcript.str();
  EXPECT_EQ(createCalls, 0u) << "the modules were asked for a goal";
  EXPECT_TRUE(run.Logged("More than 48 unconfigured modules"));
  EXPECT_TRUE(run.Logged("No block for module"));
  EXPECT_EQ(Byte(details, kModuleCount), 6);
}

// The regions change after the list was built: the details page shows the
// region as the list showed it; the next visit lists what is there now,
// and a question of the old list no longer reaches a record.
TEST(SetupPagesBadInput, RegionsChangeBetweenListAndDetails_DetailsAsListed) {
  BentAnswers::Reset();
  BrowserBoard board("default.json", 0x30);
  board.Machine().OnStage(sim::BootStage::ImagesLoaded, [](sim::Machine& machine) { BentAnswers::Install(machine); });
  PagesRun run;
  browser::ScriptResult gone, none;
  std::optional<browser::Bytes> shown;
  run.summary = board.Boot([&](browser::FormBrowser& browser) {
    run.result = RunPart(browser, R"(
goto "Intel Optane DCPMMs"
select "Regions"
expect "Region ID 0x0002" selectable
)",
                         run.transcript);
    BentAnswers::regionLimit = 1;
    gone = RunPart(browser, R"(
select "Region ID 0x0002"
expect "Region ID" = "0x0002"
expect "Socket" = "Processor 2"
back
back
select "Regions"
expect "Region ID 0x0001" selectable
expect "Region ID 0x0002" absent
back
)",
                   run.transcript);
    BentAnswers::regionLimit = 0;
    none = RunPart(browser, R"(
select "Regions"
expect "Region ID 0x0001" absent
back
)",
                   run.transcript);
    shown = browser.StoreData(kFormSetGuid, u"SetupRegionDetailsVar");
  });
  ASSERT_TRUE(run.result.ok) << run.result.Describe() << "\n" << run.transcript.str();
  EXPECT_TRUE(gone.ok) << gone.Describe() << "\n" << run.transcript.str();
  EXPECT_TRUE(none.ok) << none.Describe() << "\n" << run.transcript.str();
  // The details page keeps the last region shown.
  ASSERT_TRUE(shown.has_value());
  EXPECT_EQ(shown->at(0), '0');
  EXPECT_EQ(shown->at(10), '2') << "\"0x0002\" still in the details buffer";
}

}  // namespace
}  // namespace carvex::test

// Inventory records at pre-post-complete, as the component data storage
// keeps them: keyed by slot number, located through the board's DIMM map,
// with the stop rules for locators and what a broken board record does.
#include <gtest/gtest.h>

#include <cstring>

#include <Protocol/ComponentDataStorage.h>

#include "DeviceMachine.hpp"
#include "Devices/InventoryRecords.hpp"

namespace carvex::test {
namespace {

using sim::devices::InventoryOf;
using sim::devices::InventoryRecord;

constexpr std::uint64_t kGiB = 1ull << 30;

const std::vector<std::string> kStateItems = {
    "Security State",        "Capacity",          "Memory Capacity",  "App Direct Capacity", "Unconfigured Capacity",
    "Inaccessible Capacity", "Reserved Capacity", "Firmware Version", "Classification",      "SoftwareID"};
const std::vector<std::string> kLocationItems = {"CPUIndex", "iMCNum", "ChannelNum", "DimmNum"};

std::vector<std::string> Names(const InventoryRecord& record) {
  std::vector<std::string> names;
  for (const auto& item : record.items) names.push_back(item.name);
  return names;
}

std::vector<std::string> WithLocation() {
  std::vector<std::string> names = kLocationItems;
  names.insert(names.end(), kStateItems.begin(), kStateItems.end());
  return names;
}

std::uint64_t Number(const InventoryRecord& record, const std::string& name) {
  const auto* item = record.Find(name);
  if (item == nullptr || !item->Number()) throw std::out_of_range("no number item " + name);
  return *item->Number();
}

std::vector<std::uint64_t> Keys(const std::vector<InventoryRecord>& records) {
  std::vector<std::uint64_t> keys;
  for (const auto& record : records) keys.push_back(record.key);
  return keys;
}

// A board of modules with the given locators, one socket each three.
std::string BoardWithLocators(const std::vector<std::string>& locators, const std::string& extra = "") {
  std::string modules;
  for (std::size_t index = 0; index < locators.size(); ++index) {
    if (index != 0) modules += ",";
    modules += R"({"socket": )" + std::to_string(index / 3) + R"(, "slot": )" + std::to_string(index + 1) +
               R"(, "capacity": "16 GiB", "locator": )" + nlohmann::json(locators[index]).dump() + "}";
  }
  return R"({"sockets": 2, "modules": [)" + modules + "]" + extra + "}";
}

TEST (InventoryTest, EmbeddedBoard_TwelveRecordsKeyedBySlotWithLocation) {
  DeviceMachine machine;
  const sim::BootRecord boot = machine.Boot();
  EXPECT_EQ(boot.SlotStatus(0), EFI_SUCCESS);

  const CDS_MODEL& storage = machine.devices().ComponentData();
  const std::vector<InventoryRecord> records = InventoryOf(storage);
  ASSERT_EQ(records.size(), 12u);
  for (std::size_t index = 0; index < records.size(); ++index) {
    const InventoryRecord& record = records[index];
    const unsigned slot = static_cast<unsigned>(index + 1);
    SCOPED_TRACE("slot " + std::to_string(slot));
    EXPECT_EQ(record.componentType, CDS_COMPONENT_TYPE_DIMM);
    EXPECT_EQ(record.key, slot);
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(Names(record), WithLocation());
    EXPECT_EQ(Number(record, "CPUIndex"), (slot - 1) / 6);
    EXPECT_EQ(Number(record, "iMCNum"), ((slot - 1) % 6) / 3);
    EXPECT_EQ(Number(record, "ChannelNum"), (slot - 1) % 3);
    EXPECT_EQ(Number(record, "DimmNum"), 0u);
    EXPECT_EQ(Number(record, "Security State"), DIMM_SECURITY_STATE_DISABLED);
    EXPECT_EQ(Number(record, "Capacity"), 128 * kGiB);
    EXPECT_EQ(Number(record, "App Direct Capacity"), 128 * kGiB);
    EXPECT_EQ(Number(record, "Memory Capacity"), 0u);
    EXPECT_EQ(Number(record, "Classification"), 10u);
    EXPECT_EQ(record.Find("Firmware Version")->Text(), "01.02.00.5375");
    // Subsystem vendor 0x4A53 printed byte-swapped, device 0x0C01 as it is.
    EXPECT_EQ(record.Find("SoftwareID")->Text(), "534a0c01");
    EXPECT_EQ(record.Find("SoftwareID")->totalSize, 10u + 9u + 13u);
    EXPECT_EQ(record.location.Found, 1);
    EXPECT_EQ(record.location.CpuIndex, (slot - 1) / 6);
  }
  // The constant arguments and the key record as the storage got them.
  const CDS_RECORD* stored = CdsModelFindRecord(const_cast<CDS_MODEL*>(&storage), CDS_COMPONENT_TYPE_DIMM, 12);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->RecordClass, 6u);
  EXPECT_EQ(stored->Scope, 1);
  EXPECT_EQ(stored->Tag, 144);
  EXPECT_EQ(std::memcmp(&stored->Owner, &gCdsDimmRecordOwnerGuid, sizeof(EFI_GUID)), 0);
  const UINT8 zeros[16] = {};
  EXPECT_EQ(std::memcmp(stored->Key, zeros, 16), 0);
  UINT64 value = 0;
  std::memcpy(&value, stored->Key + 16, 8);
  EXPECT_EQ(value, 12u);
  EXPECT_EQ(stored->Key[24 + 13], 1) << "processor index of slot 12 in the key's location";

  // The controller kept the board's network table; records survive a reboot
  // of a new machine on the same state directory, stored again in place.
  EXPECT_EQ(machine.devices().Bmc().LanEntryCount, 2u);
  EXPECT_TRUE(machine.machine().Log().Contains("GetUbaPlatformData:Dxe NetworkSetting gPlatformLomAndPhySupported = 1"));
  machine.Reopen();
  EXPECT_EQ(InventoryOf(machine.devices().ComponentData()).size(), 12u);
  machine.Boot();
  EXPECT_EQ(Keys(InventoryOf(machine.devices().ComponentData())).size(), 12u);
}

TEST (InventoryTest, BoardMapLackingSlots_LocationItemsOnlyWhereMapped) {
  DeviceMachine machine(BoardWithLocators({"DIMM 1", "DIMM 2", "DIMM 3", "DIMM 4"}, R"(,
    "board": {"perSocketFactors": [1, 2], "networkTable": [{"kind": 2}],
              "dimmMap": [{"label": 1, "cpu": 0, "imc": 0, "channel": 0, "dimm": 1},
                          {"label": 4, "cpu": 1, "imc": 1, "channel": 2, "dimm": 0}]})"));
  machine.Boot();
  const std::vector<InventoryRecord> records = InventoryOf(machine.devices().ComponentData());
  ASSERT_EQ(Keys(records), (std::vector<std::uint64_t>{1, 2, 3, 4}));
  EXPECT_EQ(Names(records[0]), WithLocation());
  EXPECT_EQ(Number(records[0], "DimmNum"), 1u);
  EXPECT_EQ(Names(records[1]), kStateItems);
  EXPECT_EQ(Names(records[2]), kStateItems);
  EXPECT_EQ(Names(records[3]), WithLocation());
  EXPECT_EQ(Number(records[3], "CPUIndex"), 1u);
  EXPECT_EQ(Number(records[3], "iMCNum"), 1u);
  EXPECT_EQ(Number(records[3], "ChannelNum"), 2u);
  EXPECT_EQ(records[1].location.Found, 0);
  const auto& log = machine.machine().Log();
  EXPECT_TRUE(log.Contains("MapSilkScreenLabelToChipsetDimmAddress: Not Found for Planar DIMM 2"));
  EXPECT_EQ(log.Count("GatherIntelDimmInfo: Fail to get DimmDetails - Not Found"), 2u);
  EXPECT_TRUE(log.Contains("GetUbaPlatformData:Dxe MaxDimmPerCpuNode = 4"));
  EXPECT_TRUE(log.Contains("GetUbaPlatformData:Dxe NetworkSetting gPlatformLomAndPhySupported = 0"));
}

TEST (InventoryTest, LocatorsAndIdentifiers_KeysStopRulesAndSoftwareId) {
  struct Case {
    const char* name;
    std::vector<std::string> locators;
    std::vector<std::uint64_t> keys;
    bool formatError;
  } cases[] = {
      {"locators needing escaping still give their slot", {"CPU\"0\"_<A>&'1", "x&12"}, {1, 12}, false},
      {"a letter at the end stops at that module", {"DIMM 1", "DIMM 2", "DIMM X", "DIMM 4"}, {1, 2}, true},
      {"a slot above 96 stops at that module", {"DIMM 5", "DIMM 97", "DIMM 6"}, {5}, false},
      {"a one-character locator stops at once", {"7", "DIMM 8"}, {}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DeviceMachine machine(BoardWithLocators(c.locators));
    machine.Boot();
    EXPECT_EQ(Keys(InventoryOf(machine.devices().ComponentData())), c.keys);
    EXPECT_EQ(machine.machine().Log().Contains("GetDimmSlotInfo: Format mis-match"), c.formatError);
  }

  DeviceMachine machine(R"({"sockets": 1, "modules": [{"socket": 0, "slot": 3, "capacity": "16 GiB",
                              "ids": {"subsystemVendor": "0x8680", "subsystemDevice": "0x097A"}}]})");
  machine.Boot();
  const auto records = InventoryOf(machine.devices().ComponentData());
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].Find("SoftwareID")->Text(), "8086097a");
}

TEST (InventoryTest, BrokenBoardRecord_UsedAsItIsWithoutReadingPastTheMap) {
  struct Case {
    const char* name;
    void (*breakBoard)(BOARD_MODEL&);
    std::size_t located;  // records with location items
    std::size_t assertions;
  } cases[] = {
      {"foreign signature", [](BOARD_MODEL& board) { board.RecordSignature = SIGNATURE_32('T', 'A', 'D', 'P'); }, 12, 1},
      {"version 2", [](BOARD_MODEL& board) { board.RecordVersion = 2; }, 12, 1},
      // 300 entries without a terminator; labels 1..12 sit beyond entry 255
      // except label 1, which comes first.
      {"map without terminator",
       [](BOARD_MODEL& board) {
         for (UINT32 index = 0; index < BOARD_MAX_MAP_ENTRIES; ++index) {
           board.DimmMap[index] = DIMM_MAP_ENTRY{};
           board.DimmMap[index].SilkScreenLabel = index == 0 ? 1 : index >= 260 && index < 271 ? index - 258 : 200;
         }
         board.DimmMapCount = BOARD_MAX_MAP_ENTRIES;
       },
       1, 0},
      {"map getter failing", [](BOARD_MODEL& board) { board.DimmMapStatus = EFI_DEVICE_ERROR; }, 0, 0},
      {"database refusing the record", [](BOARD_MODEL& board) { board.GetDataStatus = EFI_NOT_FOUND; }, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DeviceMachine machine;
    c.breakBoard(machine.devices().Board());
    const sim::BootRecord boot = machine.Boot();
    EXPECT_EQ(boot.SlotStatus(0), EFI_SUCCESS);
    const auto records = InventoryOf(machine.devices().ComponentData());
    EXPECT_EQ(records.size(), 12u) << "every module is still reported";
    std::size_t located = 0;
    for (const auto& record : records) located += record.Find("CPUIndex") != nullptr;
    EXPECT_EQ(located, c.located);
#ifdef CARVEX_ASSERTS_ENABLED
    EXPECT_EQ(machine.machine().Debug().Assertions().size(), c.assertions);
#endif
  }
}

TEST (InventoryTest, OneStoreFailing_LoggedAndTheNextModuleStillReported) {
  DeviceMachine machine;
  ASSERT_EQ(CdsModelSetFault(&machine.devices().ComponentData(), CdsFaultTimes, 1, 1, EFI_DEVICE_ERROR), EFI_SUCCESS);
  const sim::BootRecord boot = machine.Boot();
  EXPECT_EQ(boot.SlotStatus(0), EFI_SUCCESS) << "the last store decides the status";
  EXPECT_EQ(Keys(InventoryOf(machine.devices().ComponentData())),
            (std::vector<std::uint64_t>{1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
  EXPECT_TRUE(machine.machine().Log().Contains("GatherIntelDimmInfo: CompType = 9, Key = 2 - Device Error"));

  DeviceMachine last;
  CdsModelSetFault(&last.devices().ComponentData(), CdsFaultTimes, 11, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(last.Boot().SlotStatus(0), EFI_OUT_OF_RESOURCES);
}

TEST (InventoryTest, ControllerReplacingTheLanTable_ReplacementUsed) {
  DeviceMachine machine(R"({"sockets": 1, "modules": [{"socket": 0, "slot": 1, "capacity": "16 GiB"}],
    "board": {"networkTable": [{"kind": 2}, {"kind": 4, "present": false}]},
    "bmc": {"lanReplacement": ["0x0001000000000002", "0x0001000000000004", "0x0000000000000009"]}})");
  machine.Boot();
  const auto& log = machine.machine().Log();
  EXPECT_TRUE(log.Contains("GetUbaPlatformData:Dxe NetworkSetting TableLength = 3"));
  EXPECT_TRUE(log.Contains("GetUbaPlatformData:Dxe NetworkSetting gPlatformLomAndPhySupported = 1"));
  const BMC_MODEL& bmc = machine.devices().Bmc();
  ASSERT_EQ(bmc.LanEntryCount, 2u) << "the controller keeps the board's table it was handed";
  EXPECT_EQ(bmc.LanTable[1] & 0xFFFFFFFFu, 4u);
}

}  // namespace
}  // namespace carvex::test

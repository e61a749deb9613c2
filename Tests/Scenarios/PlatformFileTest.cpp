// Platform descriptions: a bad field is refused with an error that names
// it, the shipped examples load, default.json is the embedded board, and a
// dump of any state loads back to the same state.
#include <gtest/gtest.h>

#include <cstring>

#include "Devices/PlatformFile.hpp"
#include "Devices/StateDump.hpp"

namespace carvex::test {
namespace {

using sim::devices::DeviceState;
using sim::devices::DeviceStateFromJson;
using sim::devices::DumpDeviceState;
using sim::devices::PlatformFileError;

const std::filesystem::path kPlatforms = CARVEX_TEST_PLATFORMS_DIR;

std::string Modules(const std::string& modules, const std::string& rest = "") {
  return R"({"sockets": 2, "modules": [)" + modules + "]" + rest + "}";
}

const std::string kModule0 = R"({"socket": 0, "slot": 1, "capacity": "128 GiB"})";
const std::string kModule1 = R"({"socket": 1, "slot": 2, "capacity": "128 GiB"})";

struct BadField {
  const char* name;
  std::string document;
  const char* error;
};

void PrintTo(const BadField& field, std::ostream* out) { *out << field.name; }

class BadFieldTest : public ::testing::TestWithParam<BadField> {};

TEST_P (BadFieldTest, Refused_ErrorNamesField) {
  try {
    DeviceStateFromJson(nlohmann::json::parse(GetParam().document));
    FAIL() << "accepted: " << GetParam().document;
  } catch (const PlatformFileError& error) {
    EXPECT_NE(std::string(error.what()).find(GetParam().error), std::string::npos) << error.what();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Fields, BadFieldTest,
    ::testing::Values(
        BadField{"NegativeSplit",
                 Modules(kModule0 + "," + kModule1 + "," + R"({"socket": 0, "slot": 3, "capacity": "128 GiB"},)" +
                         R"({"socket": 1, "slot": 4, "capacity": {"raw": "128 GiB", "appDirect": -5}})"),
                 "modules[3].capacity.appDirect: expected a non-negative integer"},
        BadField{"SlotTwice", Modules(kModule0 + R"(, {"socket": 1, "slot": 1, "capacity": "128 GiB"})"),
                 "modules[1].slot: slot 1 is already taken by modules[0]"},
        BadField{"AbsentSocket", Modules(R"({"socket": 2, "slot": 1, "capacity": "128 GiB"})"),
                 "modules[0].socket: socket 2 does not exist"},
        BadField{"MisspeltField", Modules(R"({"socket": 0, "slot": 1, "capacty": "128 GiB"})"),
                 "modules[0].capacty: unknown field"},
        BadField{"MissingCapacity", Modules(R"({"socket": 0, "slot": 1})"), "modules[0]: missing field \"capacity\""},
        BadField{"BelowOneGiB", Modules(R"({"socket": 0, "slot": 1, "capacity": "512 MiB"})"),
                 "modules[0].capacity: a module holds at least 1 GiB"},
        BadField{"BadSizeText", Modules(R"({"socket": 0, "slot": 1, "capacity": "128 GB"})"),
                 "modules[0].capacity: expected a size such as"},
        BadField{"SplitAboveRaw",
                 Modules(R"({"socket": 0, "slot": 1, "capacity": {"raw": "8 GiB", "volatile": "4 GiB", "appDirect": "5 GiB"}})"),
                 "modules[0].capacity: volatile, appDirect, reserved and unconfigured add up to"},
        BadField{"PercentAbove100", Modules(R"({"socket": 0, "slot": 1, "capacity": "8 GiB", "percentageRemaining": 101})"),
                 "modules[0].percentageRemaining: at most 100, found 101"},
        BadField{"ThirteenOnOneSocket",
                 Modules([] {
                   std::string list;
                   for (int slot = 1; slot <= 13; ++slot) {
                     list += std::string(slot > 1 ? "," : "") + R"({"socket": 0, "slot": )" + std::to_string(slot) +
                             R"(, "capacity": "8 GiB"})";
                   }
                   return list;
                 }()),
                 "modules[12].socket: more than 12 modules on socket 0"},
        BadField{"HandleTwice", Modules(R"({"socket": 0, "slot": 1, "capacity": "8 GiB", "handle": "0x0010"},)"
                                        R"({"socket": 0, "slot": 2, "capacity": "8 GiB"})"),
                 "modules[1]: handle 0x0010 is already used by modules[0]"},
        BadField{"SecurityWithoutPassphrase",
                 Modules(R"({"socket": 0, "slot": 1, "capacity": "8 GiB", "security": {"state": "enabled"}})"),
                 "modules[0].security: a module with security enabled needs its \"passphrase\""},
        BadField{"PassphraseTooLong",
                 Modules(R"({"socket": 0, "slot": 1, "capacity": "8 GiB", "security": {"state": "enabled",)"
                         R"( "passphrase": "123456789012345678901234567890123"}})"),
                 "modules[0].security.passphrase: at most 32 characters"},
        BadField{"GoalOnSecuredModule",
                 Modules(R"({"socket": 0, "slot": 1, "capacity": "8 GiB", "security": {"state": "enabled",)"
                         R"( "passphrase": "x"}, "goal": {"volatilePercent": 10}})"),
                 "modules[0].goal: the module refused the goal: EFI_ACCESS_DENIED, NVM_ERR_CREATE_GOAL_NOT_ALLOWED"},
        BadField{"RegionAcrossSockets",
                 Modules(kModule0 + "," + kModule1, R"(, "regions": [{"id": 1, "socket": 0, "type": "AppDirect", "modules": [1, 2]}])"),
                 "regions[0].modules[1]: module 2 sits on socket 1, not 0"},
        BadField{"NamespaceInAbsentRegion",
                 Modules(kModule0, R"(, "namespaces": [{"region": 9, "name": "a", "size": "1 GiB"}])"),
                 "namespaces[0].region: no region 9"},
        BadField{"NamespaceAboveRegion",
                 Modules(kModule0, R"(, "namespaces": [{"region": 1, "name": "a", "size": "129 GiB"}])"),
                 "namespaces[0].size: region 1 holds only 128 GiB"},
        BadField{"NamespaceUnaligned",
                 Modules(kModule0 + R"(, {"socket": 0, "slot": 2, "capacity": "128 GiB"})",
                         R"(, "namespaces": [{"region": 1, "name": "a", "size": "3 GiB"}])"),
                 "namespaces[0].size: region 1 takes namespaces in multiples of 2 GiB"},
        BadField{"FaultSlotUnknown", Modules(kModule0, R"(, "faults": [{"slot": "GetDimm", "mode": "always"}])"),
                 "faults[0].slot: expected \"GetDimmCount\""},
        BadField{"FaultTimesWithoutCount", Modules(kModule0, R"(, "faults": [{"slot": "GetDimms", "mode": "times"}])"),
                 "faults[0]: \"times\" needs a count of at least 1"},
        BadField{"FileTextAndHex", Modules(kModule0, R"(, "bmc": {"files": [{"id": 47, "text": "a", "hex": "61"}]})"),
                 "bmc.files[0]: give either \"text\" or \"hex\""},
        BadField{"BoardSlotOnTerminator",
                 Modules(kModule0, R"(, "board": {"dimmMap": [{"label": 1, "cpu": 255, "imc": 0, "channel": 0}]})"),
                 "board.dimmMap[0].cpu: at most 254"},
        BadField{"BoardOneFactor", Modules(kModule0, R"(, "board": {"perSocketFactors": [6]})"),
                 "board.perSocketFactors: expected the two factors"},
        BadField{"ComponentRecordOddHex",
                 Modules(kModule0, R"(, "componentData": {"records": [{"type": 9, "key": 1, "data": "0a0"}]})"),
                 "componentData.records[0].data: expected pairs of hex digits"},
        BadField{"NoSockets", R"({"sockets": 0, "modules": []})", "sockets: at least one socket"},
        BadField{"NoModulesField", R"({"sockets": 1})", "missing field \"modules\""}),
    [](const ::testing::TestParamInfo<BadField>& info) { return std::string(info.param.name); });

std::string DumpText(const DeviceState& state) { return DumpDeviceState(state).dump(2); }

DeviceState Reload(const DeviceState& state) {
  return DeviceStateFromJson(nlohmann::json::parse(DumpDeviceState(state).dump()));
}

class ExampleTest : public ::testing::TestWithParam<const char*> {};

TEST_P (ExampleTest, Loads_DumpLoadsBackToSameState) {
  const DeviceState state = sim::devices::LoadPlatformFile(kPlatforms / GetParam());
  EXPECT_EQ(DumpText(Reload(state)), DumpText(state));
}

INSTANTIATE_TEST_SUITE_P(Platforms, ExampleTest,
                         ::testing::Values("default.json", "no-modules.json", "locked.json", "variant-handles.json",
                                           "pending-goal.json", "no-regions.json", "crowded-processor.json",
                                           "partial-map.json"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                           std::string name = info.param;
                           name = name.substr(0, name.find('.'));
                           for (char& c : name) c = c == '-' ? '_' : c;
                           return name;
                         });

TEST (PlatformFileTest, DefaultJson_IsTheEmbeddedBoard) {
  const DeviceState file = sim::devices::LoadPlatformFile(kPlatforms / "default.json");
  const DeviceState embedded = sim::devices::DefaultDeviceState();
  EXPECT_EQ(std::memcmp(file.nvm.get(), embedded.nvm.get(), sizeof(NVM_MODEL)), 0);
  EXPECT_EQ(DumpText(file), DumpText(embedded));
}

TEST (PlatformFileTest, StateAfterBootsAndOperations_DumpLoadsBackToSameState) {
  DeviceState state = sim::devices::LoadPlatformFile(kPlatforms / "pending-goal.json");
  NVM_MODEL& model = *state.nvm;
  NvmModelPowerCycle(&model);  // the goal applied, regions re-formed
  ASSERT_EQ(NvmModelStartScrub(&model, 2), EFI_SUCCESS);
  model.Dimms[3].SecurityEnabled = 1;
  model.Dimms[3].Locked = 0;
  model.Dimms[3].WrongPassphrases = 2;
  std::memcpy(model.Dimms[3].Passphrase, u"pass", sizeof(u"pass"));
  model.Dimms[4].FreezeAtPowerUp = 1;
  model.Dimms[4].Frozen = 1;
  model.Sockets[1].MappedMemoryLimit = 1ull << 40;
  model.Namespaces[0] = NVM_MODEL_NAMESPACE{};  // a deleted namespace leaves a hole
  ASSERT_EQ(NvmModelSetFault(&model, NVM_SLOT_GET_REGIONS, NvmFaultTimes, 1, 3, EFI_NOT_READY, 5), EFI_SUCCESS);
  const UINT8 bytes[] = {0x00, 0x01, 0xFF};
  ASSERT_EQ(BmcModelPutFile(state.bmc.get(), 5, bytes, sizeof bytes), EFI_SUCCESS);
  ASSERT_EQ(BmcModelSetFault(state.bmc.get(), BMC_SLOT_READ_FILE, BmcFaultAlways, 0, 0, EFI_DEVICE_ERROR, 0xCB),
            EFI_SUCCESS);

  const DeviceState reloaded = Reload(state);
  EXPECT_EQ(DumpText(reloaded), DumpText(state));
  EXPECT_EQ(reloaded.scrubAtBoot, state.scrubAtBoot);
  EXPECT_EQ(NvmModelSecurityState(&reloaded.nvm->Dimms[3]), DIMM_SECURITY_STATE_UNLOCKED);
  EXPECT_EQ(reloaded.nvm->Faults[NVM_SLOT_GET_REGIONS].Count, 3u);
  EXPECT_EQ(std::memcmp(reloaded.bmc.get(), state.bmc.get(), sizeof(BMC_MODEL)), 0);
}

}  // namespace
}  // namespace carvex::test

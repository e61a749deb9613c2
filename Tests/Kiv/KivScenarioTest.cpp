// Out-of-band management over several boots of the whole platform: what the
// controller's copy holds, requests queued at the controller, routed by the
// configuration manager before post-complete and carried out (or dropped)
// by the driver, and the resynchronisations that follow.
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <Guid/PlatformVariables.h>
#include <KIV/CarvexKivVar.h>
#include <Protocol/DevicePath.h>
#include <Protocol/HiiConfigAccess.h>

#include "ConfigText.hpp"
#include "SimPlatform.hpp"

namespace carvex::sim {
namespace {

namespace fs = std::filesystem;

constexpr EFI_GUID kKivGuid = CARVEX_KIV_FORMSET_GUID;
constexpr EFI_GUID kSyncGuid = {0x3E40977A, 0x425E, 0x460F, {0xB9, 0xCD, 0x2D, 0xFA, 0x3E, 0x74, 0xFF, 0x8B}};
constexpr EFI_GUID kMemoryGuid = {0x98CF19ED, 0x4109, 0x4681, {0xB7, 0x9D, 0x91, 0x96, 0x75, 0x7C, 0x78, 0x24}};
constexpr const char* kKeyword = "Intel Optane DCPMM";

kiv::RequestedValue Goal(std::uint8_t percent, std::uint8_t type = 1) {
  return {"goal", "KivVar", offsetof(KIV_VAR, CreateGoal), {1, percent, type}, false};
}

std::vector<kiv::RequestedValue> Security(std::uint8_t operation, const std::string& passphrase) {
  std::vector<std::uint8_t> field(66, 0);
  for (std::size_t i = 0; i < passphrase.size(); ++i) field[2 * i] = static_cast<std::uint8_t>(passphrase[i]);
  return {{"security", "KivVar", offsetof(KIV_VAR, SecurityOperation), {operation}, false},
          {"security", "KivVar", offsetof(KIV_VAR, SecurityPassphrase), field, true}};
}

std::string Text(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t chars) {
  std::string text;
  for (std::size_t i = 0; i < chars && bytes[offset + 2 * i] != 0; ++i) text.push_back(static_cast<char>(bytes[offset + 2 * i]));
  return text;
}

class KivScenarioTest : public ::testing::Test {
 protected:
  void SetUp() override {
    state_ = fs::temp_directory_path() / ("carvex-kiv-" + std::to_string(::getpid()) + "-" +
                                          ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(state_);
  }
  void TearDown() override {
    platform_.reset();
    fs::remove_all(state_);
  }

  SimPlatform& Platform(std::uint64_t mask = 0x30, const std::string& board = "") {
    SimPlatformOptions options;
    options.stateDir = state_;
    options.capabilityMask = mask;
    if (!board.empty()) options.platformFile = fs::path(CARVEX_TEST_PLATFORMS_DIR) / board;
    platform_ = std::make_unique<SimPlatform>(options, notes_);
    return *platform_;
  }
  kiv::ControllerStore& Controller() { return platform_->configManager().Controller(); }
  void Queue(const std::vector<kiv::RequestedValue>& values) {
    for (const auto& value : values) Controller().Enqueue(value);
    Controller().Save();  // as bmc set does: the next run starts from the file
  }
  const kiv::FormSetCopy& Copy() { return Controller().Copies().at(kKeyword); }
  const std::vector<std::uint8_t>& KivVarCopy() { return Copy().Store("KivVar")->instances.at(0); }
  // Lines the driver logged in the machine's last boot.
  bool Logged(const std::string& fragment) {
    for (const LogLine& line : platform_->machine().Log().Lines()) {
      if (line.boot == platform_->machine().BootNumber() && line.text.find(fragment) != std::string::npos) return true;
    }
    return false;
  }
  // A line between post-complete's entry and exit lines of the last boot.
  bool LoggedInPostComplete(const std::string& fragment) {
    bool inside = false;
    for (const LogLine& line : platform_->machine().Log().Lines()) {
      if (line.boot != platform_->machine().BootNumber()) continue;
      if (line.text == "KivPostComplete:Enter") inside = true;
      if (inside && line.text.find(fragment) != std::string::npos) return true;
      if (line.text.rfind("KivPostComplete:Exit:", 0) == 0) inside = false;
    }
    return false;
  }
  std::vector<std::string> Outcomes(const std::string& key) {
    std::vector<std::string> texts;
    for (const auto& outcome : Controller().Outcomes()) {
      if (outcome.key == key) texts.push_back(outcome.text);
    }
    return texts;
  }
  bool OutcomeHas(const std::string& key, const std::string& fragment) {
    for (const std::string& text : Outcomes(key)) {
      if (text.find(fragment) != std::string::npos) return true;
    }
    return false;
  }
  // A byte of a variable as the platform holds it when POST ends.
  void WatchAtEndOfPost(std::u16string name, EFI_GUID guid, std::size_t offset, int* out) {
    platform_->machine().OnStage(BootStage::EndOfPost, [=](Machine& machine) {
      const auto data = machine.Variables().Data(name, guid);
      *out = data && data->size() > offset ? (*data)[offset] : -1;
    });
  }

  fs::path state_;
  std::ostringstream notes_;
  std::unique_ptr<SimPlatform> platform_;
};

TEST_F(KivScenarioTest, FirstBoot_ControllerCopiesEveryStoreWithoutRequestsOrPassphrase) {
  Platform().Boot();
  const kiv::FormSetCopy& copy = Copy();
  EXPECT_EQ(copy.boot, 1u);
  const kiv::StoreCopy* kivVar = copy.Store("KivVar");
  ASSERT_NE(kivVar, nullptr);
  ASSERT_EQ(kivVar->instances.size(), 1u);
  const auto& v = kivVar->instances[0];
  ASSERT_EQ(v.size(), 222u);
  for (std::size_t i = offsetof(KIV_VAR, SecurityPassphrase); i < offsetof(KIV_VAR, TotalRawCapacity); ++i) {
    ASSERT_EQ(v[i], 0) << "passphrase byte " << i;
  }
  EXPECT_EQ(v[offsetof(KIV_VAR, CreateGoal)], 0);
  EXPECT_EQ(v[offsetof(KIV_VAR, SecurityOperation)], 0);
  EXPECT_EQ(v[offsetof(KIV_VAR, EraseAllDimms)], 0);
  EXPECT_EQ(v[offsetof(KIV_VAR, CreateGoalPersistentMemoryType)], 1);
  EXPECT_EQ(v[offsetof(KIV_VAR, SecurityState)], 1);  // all Disabled on the default board
  EXPECT_EQ(v[offsetof(KIV_VAR, AppDirectCapable)], 1);
  EXPECT_EQ(v[offsetof(KIV_VAR, MemoryModeCapable)], 1);
  EXPECT_EQ(v[offsetof(KIV_VAR, DcpmmPerfConfig)], 2);
  EXPECT_FALSE(Text(v, offsetof(KIV_VAR, TotalRawCapacity), 19).empty());

  const kiv::StoreCopy* modules = copy.Store("KivDCPMMInfoVar");
  ASSERT_NE(modules, nullptr);
  EXPECT_TRUE(modules->error.empty()) << modules->error;
  EXPECT_EQ(modules->instances.size(), 12u);
  for (const auto& module : modules->instances) {
    EXPECT_EQ(module.size(), 302u);
    EXPECT_FALSE(Text(module, 0, 128).empty());
  }
  const kiv::StoreCopy* regions = copy.Store("KivRegionVar");
  ASSERT_NE(regions, nullptr);
  ASSERT_FALSE(regions->instances.empty()) << regions->error;
  const auto& region = regions->instances[0];
  char id[8];
  std::snprintf(id, sizeof id, "0x%04x", region[0] | (region[1] << 8));
  EXPECT_EQ(Text(region, offsetof(KIV_REGION_VAR, RegionIdStr), 7), id);
  EXPECT_EQ(Text(region, offsetof(KIV_REGION_VAR, RegionSocketStr), 20),
            "Processor " + std::to_string((region[4] | (region[5] << 8)) + 1));
}

TEST_F(KivScenarioTest, StateDirectory_KeepsCopyAndQueueAcrossRuns) {
  Platform().Boot();
  Queue({Goal(0)});
  Controller().Save();
  platform_.reset();
  kiv::ControllerStore reread(state_);
  reread.Load();
  EXPECT_EQ(reread.Copies().count(kKeyword), 1u);
  ASSERT_EQ(reread.Queue().size(), 1u);
  EXPECT_EQ(reread.Queue()[0].bytes, (std::vector<std::uint8_t>{1, 0, 1}));
}

TEST_F(KivScenarioTest, RoutedGoal_AppliedAtPostCompleteThenCapacitiesAfterReboot) {
  Platform().Boot();
  const std::string memoryBefore = Text(KivVarCopy(), offsetof(KIV_VAR, TotalMemoryCapacity), 19);
  Queue({Goal(50)});
  Platform().Boot();
  EXPECT_TRUE(OutcomeHas("goal", "kept for post-complete"));
  EXPECT_TRUE(Logged("KivCreateGoal:CreateGoal for all:Success"));
  EXPECT_TRUE(Controller().Queue().empty());
  // The next boot's memory initialisation applies it; a resynchronisation
  // shows the new capacities.
  Platform().machine().OnStage(BootStage::EndOfPost, [this](Machine&) {
    platform_->configManager().SaveByKeyword(u"Intel Optane DCPMM", "test");
  });
  platform_->Boot();
  EXPECT_NE(Text(KivVarCopy(), offsetof(KIV_VAR, TotalMemoryCapacity), 19), memoryBefore);
}

TEST_F(KivScenarioTest, GoalPercentage_KeptOnlyWhenThePlatformCanHoldIt) {
  struct Case {
    std::uint64_t mask;
    std::uint8_t percent;
    bool kept;
  };
  for (const Case& c : {Case{0x20, 50, false}, Case{0x20, 100, true}, Case{0x10, 1, false}, Case{0x10, 0, true},
                        Case{0x30, 50, true}}) {
    SCOPED_TRACE("mask " + std::to_string(c.mask) + ", " + std::to_string(c.percent) + "%");
    fs::remove_all(state_);
    Platform(c.mask);
    Queue({Goal(c.percent)});
    int createGoal = -2;
    WatchAtEndOfPost(u"KivVar", kKivGuid, offsetof(KIV_VAR, CreateGoal), &createGoal);
    platform_->Boot();
    EXPECT_EQ(createGoal, c.kept ? 1 : 0);
    EXPECT_EQ(Logged("KivCreateGoal:CreateGoal for all"), c.kept);
  }
}

TEST_F(KivScenarioTest, PersistentMemoryTypeOutOfRange_StoredAsAppDirect) {
  Platform();
  Queue({Goal(0, 3)});
  int type = -2;
  WatchAtEndOfPost(u"KivVar", kKivGuid, offsetof(KIV_VAR, CreateGoalPersistentMemoryType), &type);
  platform_->Boot();
  EXPECT_EQ(type, 1);
}

TEST_F(KivScenarioTest, GoalWhileNamespaceExists_NothingCreatedAndSuccess) {
  Platform(0x30, "pending-goal.json").Boot();
  Queue({Goal(0)});
  Platform().Boot();
  EXPECT_TRUE(Logged("KivCreateGoal:Unable to CreateGoal because of existing namespace."));
  EXPECT_FALSE(Logged("KivCreateGoal:CreateGoal for all"));
  EXPECT_TRUE(Logged("KivPostComplete:Exit:Success"));
}

TEST_F(KivScenarioTest, Security_EnableThenDisableWithWrongAndRightPassphrase) {
  Platform().Boot();
  Queue(Security(KIV_SECURITY_OPERATION_ENABLE, "Secret-1"));
  Platform().Boot();
  EXPECT_TRUE(Logged("KivSyncToOob: Exit, Status:Success"));
  EXPECT_EQ(Copy().boot, 2u);
  EXPECT_EQ(KivVarCopy()[offsetof(KIV_VAR, SecurityState)], 3);  // enabled, unlocked in this boot
  ASSERT_NE(BmcModelFindFile(&platform_->devices().Bmc(), 47), nullptr);

  // Locked at the next post-complete: a wrong passphrase unlocks nothing and
  // nothing else is tried.
  Queue(Security(KIV_SECURITY_OPERATION_DISABLE, "wrong"));
  Platform().Boot();
  EXPECT_TRUE(Logged("KivPostComplete:Exit:"));
  EXPECT_FALSE(Logged("KivPostComplete:Exit:Success"));
  const BMC_FILE* file = BmcModelFindFile(&platform_->devices().Bmc(), 47);
  ASSERT_NE(file, nullptr);
  EXPECT_NE(file->Data[0], 0) << "the passphrase file must survive a failed disable";

  Queue(Security(KIV_SECURITY_OPERATION_DISABLE, "Secret-1"));
  Platform().Boot();
  EXPECT_TRUE(Logged("KivPostComplete:Exit:Success"));
  EXPECT_EQ(KivVarCopy()[offsetof(KIV_VAR, SecurityState)], 1);
  file = BmcModelFindFile(&platform_->devices().Bmc(), 47);
  EXPECT_TRUE(file == nullptr || file->Data[0] == 0) << "the stored passphrase is cleared";
  for (const LogLine& line : platform_->machine().Log().Lines()) {
    EXPECT_EQ(line.text.find("Secret-1"), std::string::npos) << line.text;
  }
}

TEST_F(KivScenarioTest, EnableWhileNotDisabled_DoesNothing) {
  Platform(0x30, "security-mixed.json").Boot();
  Queue(Security(KIV_SECURITY_OPERATION_ENABLE, "Secret-1"));
  Platform().Boot();
  EXPECT_TRUE(LoggedInPostComplete("KivVar.SecurityOperation:1"));
  EXPECT_FALSE(LoggedInPostComplete("KivSyncToOob: Enter"));
  EXPECT_TRUE(Logged("KivPostComplete:Exit:Success"));
}

TEST_F(KivScenarioTest, EraseAll_OnlyUnderPhysicalPresence) {
  for (bool remote : {false, true}) {
    SCOPED_TRACE(remote ? "remote presence" : "no presence");
    fs::remove_all(state_);
    Platform();
    platform_->devices().Bmc().RemotePresenceEnabled = remote;
    platform_->devices().Bmc().RemotePresenceAsserted = remote;
    Queue({{"erase-all", "KivVar", offsetof(KIV_VAR, EraseAllDimms), {1}, false}});
    int erase = -2;
    int stored = -2;
    WatchAtEndOfPost(u"SocketMemoryConfig", kMemoryGuid, SOCKET_MEMORY_CONFIG_ERASE_ALL_OFFSET, &erase);
    WatchAtEndOfPost(u"KivVar", kKivGuid, offsetof(KIV_VAR, EraseAllDimms), &stored);
    platform_->Boot();
    EXPECT_EQ(erase, remote ? 1 : 0);
    EXPECT_EQ(stored, 0);
    EXPECT_TRUE(OutcomeHas("erase-all", remote ? "accepted" : "dropped"));
  }
}

TEST_F(KivScenarioTest, ProfileEqualToPlatforms_WritesNoVariable) {
  Platform().Boot();
  Queue({{"profile", "KivVar", offsetof(KIV_VAR, DcpmmPerfConfig), {2}, false}});
  Platform().Boot();
  for (const auto& entry : platform_->machine().Variables().LogFor(u"SocketMemoryConfig")) {
    if (entry.boot == platform_->machine().BootNumber() && entry.image == SimPlatform::kDriverImage) {
      EXPECT_NE(entry.op, VariableOp::Set);
    }
  }
  Queue({{"profile", "KivVar", offsetof(KIV_VAR, DcpmmPerfConfig), {1}, false}});
  int profile = -2;
  Platform();
  WatchAtEndOfPost(u"SocketMemoryConfig", kMemoryGuid, SOCKET_MEMORY_CONFIG_PERF_OFFSET, &profile);
  platform_->Boot();
  EXPECT_EQ(profile, 1);
}

TEST_F(KivScenarioTest, LeavingSetup_AsksForResyncOnlyWithUnlockedModules) {
  // All Disabled: leaving setup asks for nothing.
  Platform().BootThroughSetup([](browser::FormBrowser&) {});
  EXPECT_FALSE(platform_->machine().Variables().Data(u"KivSyncWithOob", kSyncGuid).has_value());
  // Enabled (Unlocked) in this boot's post-complete, then setup left.
  Queue(Security(KIV_SECURITY_OPERATION_ENABLE, "Secret-1"));
  Platform().BootThroughSetup([](browser::FormBrowser&) {});
  EXPECT_TRUE(Logged("KivDiscardSetting:There is Intel Optane DCPMM that the security status is Frozen or Unlocked."));
  ASSERT_TRUE(platform_->machine().Variables().Data(u"KivSyncWithOob", kSyncGuid).has_value());
  // The configuration manager honours it at the next end of POST and clears it.
  std::string reason;
  Platform().machine().OnStage(BootStage::EndOfPost, [&](Machine&) { reason = Copy().reason; });
  platform_->Boot();
  EXPECT_EQ(reason, kiv::ConfigManager::kSyncReason);
  EXPECT_FALSE(platform_->machine().Variables().Data(u"KivSyncWithOob", kSyncGuid).has_value());
}

// Configuration strings from the controller that the driver must refuse
// without storing anything.
TEST_F(KivScenarioTest, BadConfiguration_RefusedAndNothingStored) {
  const std::string path = "01041400" + [] {
    std::string hex;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&kKivGuid);
    char two[3];
    for (std::size_t i = 0; i < sizeof(EFI_GUID); ++i) {
      std::snprintf(two, sizeof two, "%02x", bytes[i]);
      hex += two;
    }
    return hex;
  }() + "7fff0400";
  auto header = [&](const EFI_GUID& guid, std::u16string name) {
    std::u16string text = u"GUID=" + hii::HexBytes(reinterpret_cast<const std::uint8_t*>(&guid), 16) + u"&NAME=" +
                          hii::HexName(name) + u"&PATH=";
    for (char c : path) text.push_back(static_cast<char16_t>(c));
    return text;
  };
  const std::u16string kiv = header(kKivGuid, u"KivVar");
  struct Case {
    const char* what;
    std::u16string configuration;
  };
  const std::vector<Case> cases = {
      {"truncated", kiv + u"&OFFSET=20&WIDTH=1"},
      {"header only", kiv},
      {"malformed offset", kiv + u"&OFFSET=zz&WIDTH=1&VALUE=01"},
      {"wrong GUID", header(kSyncGuid, u"KivVar") + u"&OFFSET=20&WIDTH=1&VALUE=01"},
      {"wrong name", header(kKivGuid, u"KivRegionVar") + u"&OFFSET=0&WIDTH=1&VALUE=01"},
      {"oversize width", kiv + u"&OFFSET=0&WIDTH=df&VALUE=" + std::u16string(2 * 223, u'0')},
      {"odd-length value", kiv + u"&OFFSET=20&WIDTH=1&VALUE=1"},
      {"instance", kiv + u"&INSTANCE=0001&OFFSET=20&WIDTH=1&VALUE=01"},
  };
  Platform();
  std::vector<EFI_STATUS> statuses;
  std::vector<bool> stored;
  platform_->machine().OnStage(BootStage::BeforePostComplete, [&](Machine& machine) {
    HiiServices* services = platform_->hii().Services();
    ASSERT_NE(services, nullptr);
    EFI_HII_CONFIG_ACCESS_PROTOCOL* access = nullptr;
    EFI_BOOT_SERVICES* bs = machine.AttachHostImage("KivTest").bootServices;
    for (const HiiPackageListInfo& list : services->PackageLists()) {
      void* found = nullptr;
      if (!list.devicePath.empty() && list.devicePath.size() == 24 &&
          std::memcmp(list.devicePath.data() + 4, &kKivGuid, 16) == 0 &&
          bs->HandleProtocol(list.driverHandle, &gEfiHiiConfigAccessProtocolGuid, &found) ==
              EFI_SUCCESS) {
        access = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL*>(found);
      }
    }
    ASSERT_NE(access, nullptr);
    for (const Case& c : cases) {
      const CHAR16* progress = nullptr;
      statuses.push_back(access->RouteConfig(access, c.configuration.c_str(), &progress));
      stored.push_back(machine.Variables().Data(u"KivVar", kKivGuid).has_value());
    }
  });
  platform_->Boot();
  ASSERT_EQ(statuses.size(), cases.size());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_TRUE(EFI_ERROR(statuses[i])) << cases[i].what;
    EXPECT_FALSE(stored[i]) << cases[i].what;
  }
}

}  // namespace
}  // namespace carvex::sim

// The setup form set's configuration access, called as the browser and the
// router call it: extract of each store, route of the performance profile,
// and the callback's answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <Protocol/FormBrowser2.h>
#include <Protocol/PostMessage.h>
#include <Setup/CarvexSetupVar.h>

#include "SetupBoot.hpp"

namespace carvex::test {
namespace {

constexpr char kDriver[] = "CarvexDxe";

struct Extracted {
  EFI_STATUS status = EFI_SUCCESS;
  std::u16string results;
  const CHAR16* progress = nullptr;
};

Extracted Extract(SetupBoot& boot, const CHAR16* request) {
  Extracted out;
  CHAR16* results = nullptr;
  out.status = boot.Access()->ExtractConfig(boot.Access(), request, &out.progress, &results);
  if (results != nullptr) {
    out.results = results;
    boot.Free(results);
  }
  return out;
}

TEST(SetupExtractConfig, BareSetupVarHeader_WholeBufferFromLiveData) {
  struct Case {
    const char* name;
    std::uint64_t mask;
    std::uint8_t memoryMode, appDirect, volatilePercent;
  };
  const Case cases[] = {
      {"BothModes", 0x30, 1, 1, 0},
      {"MemoryModeOnly", 0x20, 1, 0, 100},
      {"AppDirectOnly", 0x10, 0, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SetupBoot boot(c.mask, sim::PerformanceProfile::LatencyOptimized);
    const std::u16string header = boot.ConfigHeader(u"SetupVar");
    const Extracted out = Extract(boot, header.c_str());
    ASSERT_EQ(out.status, EFI_SUCCESS);
    EXPECT_EQ(out.progress, header.c_str() + header.size()) << "Progress at the end of the caller's request";
    const std::u16string element = u"&OFFSET=0&WIDTH=00000000000001ee&VALUE=";
    ASSERT_EQ(out.results.substr(0, header.size() + element.size()), header + element);
    EXPECT_EQ(out.results.size(), header.size() + element.size() + 2 * sizeof(SETUP_VAR)) << "one element only";

    const auto bytes = ValueBytes(out.results, 0);
    ASSERT_EQ(bytes.size(), sizeof(SETUP_VAR));
    SETUP_VAR var;
    std::memcpy(&var, bytes.data(), sizeof(var));
    EXPECT_EQ(var.DimmCount, 12u);
    EXPECT_EQ(var.RegionCount, 2u);
    EXPECT_EQ(var.CapacityUnit, 6);
    EXPECT_EQ(var.SupportMemoryMode, c.memoryMode);
    EXPECT_EQ(var.SupportAppDirectMode, c.appDirect);
    EXPECT_EQ(var.VolatilePercent, c.volatilePercent);
    EXPECT_EQ(var.DcpmmPerfConfig, 1) << "the platform's Latency Optimized";
    CHAR16 raw[19];
    std::memcpy(raw, bytes.data() + offsetof(SETUP_VAR, TotalRawCapacity), sizeof(raw));
    EXPECT_EQ(std::u16string(raw), u"1.5 TB");
    // What the pages fill later starts out zero.
    for (std::size_t offset = offsetof(SETUP_VAR, GoalSocketPresent); offset < offsetof(SETUP_VAR, RegionCount); ++offset) {
      EXPECT_EQ(bytes[offset], 0) << offset;
    }
    EXPECT_EQ(var.CreateGoalScope, 0);
    EXPECT_EQ(bytes[offsetof(SETUP_VAR, NamespaceName)], 0);
  }
}

TEST(SetupExtractConfig, PageStores_ZerosOfTheirOwnSize) {
  SetupBoot boot;
  const std::pair<std::u16string, std::size_t> stores[] = {
      {u"SetupPendingGoalDetailsVar", sizeof(SETUP_PENDING_GOAL_DETAILS_VAR)},
      {u"SetupDimmDetailsVar", sizeof(SETUP_DIMM_DETAILS_VAR)},
      {u"SetupRegionDetailsVar", sizeof(SETUP_REGION_DETAILS_VAR)},
      {u"SetupNamespaceDetailsVar", sizeof(SETUP_NAMESPACE_DETAILS_VAR)},
  };
  for (const auto& [name, size] : stores) {
    SCOPED_TRACE(std::string(name.begin(), name.end()));
    const std::u16string header = boot.ConfigHeader(name);
    const Extracted out = Extract(boot, header.c_str());
    ASSERT_EQ(out.status, EFI_SUCCESS);
    char width[64];
    std::snprintf(width, sizeof width, "&OFFSET=0&WIDTH=%016zx&VALUE=", size);
    EXPECT_NE(out.results.find(Widen(width)), std::u16string::npos);
    const auto bytes = ValueBytes(out.results, 0);
    ASSERT_EQ(bytes.size(), size);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), static_cast<std::ptrdiff_t>(size));
  }

  // The security buffer is served at its size too.
  const std::u16string security = boot.ConfigHeader(u"SetupSecurityDetailsVar");
  const Extracted out = Extract(boot, security.c_str());
  ASSERT_EQ(out.status, EFI_SUCCESS);
  EXPECT_EQ(ValueBytes(out.results, 0).size(), sizeof(SETUP_SECURITY_DETAILS_VAR));
}

TEST(SetupExtractConfig, RequestWithElements_AnsweredAsAsked) {
  SetupBoot boot(0x30, sim::PerformanceProfile::BwOptimized);
  const std::u16string request = boot.ConfigHeader(u"SetupVar") + u"&OFFSET=1ed&WIDTH=1&OFFSET=0&WIDTH=4";
  const Extracted out = Extract(boot, request.c_str());
  ASSERT_EQ(out.status, EFI_SUCCESS);
  EXPECT_NE(out.results.find(u"&OFFSET=1ed&WIDTH=1&VALUE=00&OFFSET=0&WIDTH=4&VALUE=0000000c"), std::u16string::npos)
      << std::string(out.results.begin(), out.results.end());
  EXPECT_EQ(out.progress, request.c_str() + request.size());
}

// The platform's memory setup replaced by one of `size` bytes (none when
// size is nullopt) whose byte 364, when it has one, holds `profile`.
void PutPlatformConfig(SetupBoot& boot, std::optional<std::size_t> size, std::uint8_t profile) {
  auto& variables = boot.Machine().Variables();
  const auto variable = variables.Find(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
  if (!size) {
    variables.Erase(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
    return;
  }
  std::vector<std::uint8_t> config = variable ? variable->data : std::vector<std::uint8_t>(477);
  config.resize(*size, 0x5A);
  if (*size > 364) {
    config[364] = profile;
  }
  const UINT32 attributes = variable ? variable->attributes : EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
  variables.Put(u"SocketMemoryConfig", gSocketMemoryConfigGuid, attributes, config);
}

// DcpmmPerfConfig as extract reports it.
int ExtractedProfile(SetupBoot& boot) {
  const std::u16string request = boot.ConfigHeader(u"SetupVar") + u"&OFFSET=1ed&WIDTH=1";
  const Extracted out = Extract(boot, request.c_str());
  EXPECT_EQ(out.status, EFI_SUCCESS);
  const auto bytes = ValueBytes(out.results, 0);
  return bytes.size() == 1 ? bytes[0] : -1;
}

struct PlatformConfigCase {
  const char* name;
  std::optional<std::size_t> size;  // nullopt: no variable
};
const PlatformConfigCase kPlatformConfigs[] = {
    {"Exact", 477}, {"Empty", 0}, {"OneShort", 476}, {"OneLong", 478}, {"Missing", std::nullopt},
};

TEST(SetupExtractConfig, PlatformConfigNot477Bytes_ProfileShownAsBalancedNeverFromAnEarlierRead) {
  SetupBoot boot(0x30, sim::PerformanceProfile::LatencyOptimized);
  for (const PlatformConfigCase& c : kPlatformConfigs) {
    SCOPED_TRACE(c.name);
    PutPlatformConfig(boot, 477, PERF_PROFILE_LATENCY_OPTIMIZED);
    ASSERT_EQ(ExtractedProfile(boot), PERF_PROFILE_LATENCY_OPTIMIZED);  // leaves 1 in whatever the driver kept
    PutPlatformConfig(boot, c.size, PERF_PROFILE_BW_OPTIMIZED);
    EXPECT_EQ(ExtractedProfile(boot), c.size == 477u ? PERF_PROFILE_BW_OPTIMIZED : PERF_PROFILE_BALANCED);
  }
}

TEST(SetupExtractConfig, RequestsNotServed_StatusAndProgress) {
  SetupBoot boot;
  const std::u16string config = boot.ConfigHeader(u"CarvekConfigVar");
  const std::u16string unknown = boot.ConfigHeader(u"SetupVarX");
  const EFI_GUID otherGuid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const std::u16string foreign = boot.ConfigHeader(u"SetupVar", otherGuid);
  std::u16string noPath = boot.ConfigHeader(u"SetupVar");
  noPath = noPath.substr(0, noPath.find(u"&PATH="));
  struct Case {
    const char* name;
    const CHAR16* request;
    EFI_STATUS status;
  };
  const Case cases[] = {
      {"ConfigVariableIsTheBrowsers", config.c_str(), EFI_UNSUPPORTED},
      {"UnknownStore", unknown.c_str(), EFI_UNSUPPORTED},
      {"OtherFormSet", foreign.c_str(), EFI_UNSUPPORTED},
      {"HeaderWithoutPathMatchesNoStore", noPath.c_str(), EFI_UNSUPPORTED},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Extracted out = Extract(boot, c.request);
    EXPECT_EQ(out.status, c.status);
    EXPECT_EQ(out.progress, c.request);
    EXPECT_TRUE(out.results.empty());
  }

  const std::u16string header = boot.ConfigHeader(u"SetupVar");
  const CHAR16* progress = reinterpret_cast<const CHAR16*>(1);
  CHAR16* results = nullptr;
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access = boot.Access();
  EXPECT_EQ(access->ExtractConfig(access, nullptr, &progress, &results), EFI_UNSUPPORTED);
  EXPECT_EQ(progress, nullptr);
  EXPECT_EQ(access->ExtractConfig(access, header.c_str(), nullptr, &results), EFI_INVALID_PARAMETER);
  EXPECT_EQ(access->ExtractConfig(access, header.c_str(), &progress, nullptr), EFI_INVALID_PARAMETER);
}

TEST(SetupExtractConfig, ThroughTheRouter_DriverFoundByItsDevicePath) {
  SetupBoot boot;
  const std::u16string request = boot.ConfigHeader(u"SetupVar") + u"&OFFSET=0&WIDTH=4";
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = boot.Routing();
  const CHAR16* progress = nullptr;
  CHAR16* results = nullptr;
  ASSERT_EQ(routing->ExtractConfig(routing, request.c_str(), &progress, &results), EFI_SUCCESS);
  ASSERT_NE(results, nullptr);
  const std::u16string text = results;
  boot.Free(results);
  EXPECT_NE(text.find(u"&OFFSET=0&WIDTH=4&VALUE=0000000c"), std::u16string::npos);
}

// Variable writes the driver image made since the log was cleared.
std::vector<std::u16string> DriverSets(SetupBoot& boot) {
  std::vector<std::u16string> names;
  for (const auto& entry : boot.Machine().Variables().Log()) {
    if (entry.image == kDriver && entry.op == sim::VariableOp::Set) {
      names.push_back(entry.name);
    }
  }
  return names;
}

EFI_STATUS RouteProfile(SetupBoot& boot, std::uint8_t profile) {
  const std::u16string config =
      boot.ConfigHeader(u"SetupVar") + u"&OFFSET=1ed&WIDTH=1&VALUE=0" + static_cast<char16_t>(u'0' + profile);
  const CHAR16* progress = nullptr;
  boot.Machine().Variables().ClearLog();
  return boot.Access()->RouteConfig(boot.Access(), config.c_str(), &progress);
}

TEST(SetupRouteConfig, UnchangedProfile_WritesNothing) {
  SetupBoot boot;
  EXPECT_EQ(RouteProfile(boot, 2), EFI_SUCCESS);
  EXPECT_TRUE(DriverSets(boot).empty());
}

TEST(SetupRouteConfig, ChangedProfile_ByteOfThePlatformThenTheDriversCopy) {
  struct Case {
    const char* name;
    std::optional<std::uint8_t> driverCopy;  // DcpmmPerfConfigVar before saving
    EFI_STATUS status;
    std::vector<std::u16string> writes;
    std::optional<std::uint8_t> driverCopyAfter;
  };
  const Case cases[] = {
      {"CopyDiffers", 2, EFI_SUCCESS, {u"SocketMemoryConfig", u"DcpmmPerfConfigVar"}, 1},
      {"CopyAlreadyEqual", 1, EFI_SUCCESS, {u"SocketMemoryConfig"}, 1},
      {"CopyMissing", std::nullopt, EFI_NOT_FOUND, {u"SocketMemoryConfig"}, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SetupBoot boot;
    auto& variables = boot.Machine().Variables();
    const EFI_GUID copyGuid = kSetupFormSetGuid;
    if (c.driverCopy) {
      variables.Put(u"DcpmmPerfConfigVar", copyGuid, EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, {*c.driverCopy});
    } else {
      variables.Erase(u"DcpmmPerfConfigVar", copyGuid);
    }
    const auto before = variables.Find(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
    ASSERT_TRUE(before.has_value());

    EXPECT_EQ(RouteProfile(boot, 1), c.status);
    EXPECT_EQ(DriverSets(boot), c.writes);
    const auto after = variables.Find(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
    ASSERT_TRUE(after.has_value());
    EXPECT_EQ(after->attributes, before->attributes);
    ASSERT_EQ(after->data.size(), 477u);
    for (std::size_t i = 0; i < after->data.size(); ++i) {
      EXPECT_EQ(after->data[i], i == 364 ? 1 : before->data[i]) << "byte " << i;
    }
    const auto copy = variables.Data(u"DcpmmPerfConfigVar", copyGuid);
    if (c.driverCopyAfter) {
      ASSERT_TRUE(copy.has_value());
      EXPECT_EQ(*copy, std::vector<std::uint8_t>{*c.driverCopyAfter});
    } else {
      EXPECT_FALSE(copy.has_value()) << "route never creates the driver's copy";
    }
  }
}

TEST(SetupRouteConfig, PlatformConfigNot477BytesOrUnwritable_SaveFailsAndNothingIsRewritten) {
  struct Case {
    PlatformConfigCase config;
    bool writeFails;
    bool succeeds;
    std::vector<std::u16string> writes;
  };
  const Case cases[] = {
      {kPlatformConfigs[0], false, true, {u"SocketMemoryConfig", u"DcpmmPerfConfigVar"}},
      {kPlatformConfigs[1], false, false, {}},
      {kPlatformConfigs[2], false, false, {}},
      {kPlatformConfigs[3], false, false, {}},
      {kPlatformConfigs[4], false, false, {}},
      {{"Unwritable", 477}, true, false, {u"SocketMemoryConfig"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.config.name);
    SetupBoot boot;  // Balanced, and the driver's copy says so too
    PutPlatformConfig(boot, c.config.size, PERF_PROFILE_BALANCED);
    auto& variables = boot.Machine().Variables();
    const auto before = variables.Find(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
    if (c.writeFails) {
      boot.Machine().Faults().FailVariableWrite(u"SocketMemoryConfig", EFI_WRITE_PROTECTED);
    }

    const EFI_STATUS status = RouteProfile(boot, PERF_PROFILE_LATENCY_OPTIMIZED);
    EXPECT_EQ(status == EFI_SUCCESS, c.succeeds) << status;
    EXPECT_EQ(DriverSets(boot), c.writes);
    const auto after = variables.Find(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
    ASSERT_EQ(after.has_value(), before.has_value());
    if (after && !c.succeeds) {
      EXPECT_EQ(after->data, before->data);
    }
    if (!c.succeeds) {
      EXPECT_EQ(variables.Data(u"DcpmmPerfConfigVar", kSetupFormSetGuid), std::vector<std::uint8_t>{PERF_PROFILE_BALANCED});
    }
  }
}

TEST(SetupRouteConfig, ConfigurationWithoutTheProfile_PlatformKeepsItsProfile) {
  SetupBoot boot(0x30, sim::PerformanceProfile::LatencyOptimized);
  // Any router client may send only the fields it cares about: here the
  // goal scope alone.
  const std::u16string config = boot.ConfigHeader(u"SetupVar") + u"&OFFSET=fc&WIDTH=1&VALUE=01";
  const CHAR16* progress = nullptr;
  boot.Machine().Variables().ClearLog();
  EXPECT_EQ(boot.Access()->RouteConfig(boot.Access(), config.c_str(), &progress), EFI_SUCCESS);
  EXPECT_TRUE(DriverSets(boot).empty());
  const auto platform = boot.Machine().Variables().Data(u"SocketMemoryConfig", gSocketMemoryConfigGuid);
  ASSERT_TRUE(platform.has_value());
  ASSERT_EQ(platform->size(), 477u);
  EXPECT_EQ((*platform)[364], PERF_PROFILE_LATENCY_OPTIMIZED);
}

TEST(SetupRouteConfig, OtherStoresAndMissingArguments_Refused) {
  SetupBoot boot;
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access = boot.Access();
  const std::u16string other = boot.ConfigHeader(u"SetupSecurityDetailsVar") + u"&OFFSET=0&WIDTH=1&VALUE=01";
  const CHAR16* progress = nullptr;
  EXPECT_EQ(access->RouteConfig(access, other.c_str(), &progress), EFI_UNSUPPORTED);
  EXPECT_EQ(progress, other.c_str());
  EXPECT_EQ(access->RouteConfig(access, nullptr, &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(access->RouteConfig(nullptr, other.c_str(), &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(access->RouteConfig(access, other.c_str(), nullptr), EFI_INVALID_PARAMETER);
}

EFI_STATUS Call(SetupBoot& boot, EFI_BROWSER_ACTION action, EFI_QUESTION_ID question) {
  EFI_IFR_TYPE_VALUE value{};
  EFI_BROWSER_ACTION_REQUEST request = EFI_BROWSER_ACTION_REQUEST_NONE;
  const EFI_STATUS status = boot.Access()->Callback(boot.Access(), action, question, EFI_IFR_TYPE_NUM_SIZE_8, &value, &request);
  EXPECT_EQ(request, EFI_BROWSER_ACTION_REQUEST_NONE) << "the callback never asks the browser for anything";
  return status;
}

TEST(SetupCallback, ActionsAndQuestionsWithoutHandler_UnsupportedUnlessChanged) {
  SetupBoot boot;
  struct Case {
    EFI_BROWSER_ACTION action;
    EFI_QUESTION_ID question;
    EFI_STATUS status;
  };
  const Case cases[] = {
      {EFI_BROWSER_ACTION_CHANGING, 0x2000, EFI_UNSUPPORTED},  // check boxes are handled after the change
      {EFI_BROWSER_ACTION_CHANGING, 0x2010, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_CHANGING, 0x4321, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_CHANGED, 0x4321, EFI_SUCCESS},
      {EFI_BROWSER_ACTION_CHANGED, 0x2000, EFI_SUCCESS},
      {EFI_BROWSER_ACTION_RETRIEVE, 0x0016, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_FORM_OPEN, 0x0008, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_FORM_CLOSE, 0x0008, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_SUBMITTED, 0x8001, EFI_UNSUPPORTED},
      {EFI_BROWSER_ACTION_DEFAULT_STANDARD, 0x0016, EFI_UNSUPPORTED},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "action " << c.action << " question 0x" << std::hex << c.question);
    EXPECT_EQ(Call(boot, c.action, c.question), c.status);
  }
}

// A browser that holds one SetupVar image, and a message box that records
// what it shows: what the capacity check needs from the platform.
struct BrowserAndBox {
  static inline BrowserAndBox* current = nullptr;
  SETUP_VAR var{};
  std::vector<std::pair<std::u16string, std::u16string>> boxes;  // title, message
  EFI_FORM_BROWSER2_PROTOCOL browser{};
  PLATFORM_POST_MESSAGE_PROTOCOL post{};
  EFI_HANDLE handle = nullptr;

  explicit BrowserAndBox(SetupBoot& boot, bool withBrowser) {
    current = this;
    browser.BrowserCallback = Callback;
    post.DisplayMessageBox = Show;
    EFI_BOOT_SERVICES* bs = boot.Host().bootServices;
    if (withBrowser) {
      EXPECT_EQ(bs->InstallMultipleProtocolInterfaces(&handle, &gEfiFormBrowser2ProtocolGuid, &browser,
                                                      &gPlatformPostMessageProtocolGuid, &post, nullptr),
                EFI_SUCCESS);
    } else {
      EXPECT_EQ(bs->InstallMultipleProtocolInterfaces(&handle, &gPlatformPostMessageProtocolGuid, &post, nullptr), EFI_SUCCESS);
    }
  }

  void SetCapacity(std::uint8_t unit, const std::u16string& text) {
    var.CapacityUnit = unit;
    CHAR16 field[39] = {};
    std::memcpy(field, text.c_str(), text.size() * sizeof(CHAR16));
    std::memcpy(reinterpret_cast<std::uint8_t*>(&var) + offsetof(SETUP_VAR, NamespaceCapacity), field, sizeof(field));
  }

  static EFI_STATUS EFIAPI Callback(const EFI_FORM_BROWSER2_PROTOCOL*, UINTN* size, EFI_STRING data, BOOLEAN retrieve,
                                    const EFI_GUID*, const CHAR16* name) {
    if (!retrieve || name == nullptr || std::u16string(name) != u"SetupVar") {
      return EFI_NOT_FOUND;
    }
    std::u16string text = u"OFFSET=0&WIDTH=01ee&VALUE=";
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&current->var);
    static const char digits[] = "0123456789abcdef";
    for (std::size_t i = sizeof(SETUP_VAR); i-- > 0;) {
      text += static_cast<char16_t>(digits[bytes[i] >> 4]);
      text += static_cast<char16_t>(digits[bytes[i] & 0xF]);
    }
    const UINTN need = (text.size() + 1) * sizeof(CHAR16);
    if (*size < need) {
      *size = need;
      return EFI_BUFFER_TOO_SMALL;
    }
    std::memcpy(data, text.c_str(), need);
    *size = need;
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI Show(const CHAR16* title, const CHAR16* message, UINT8 boxType, UINT8* selection) {
    EXPECT_EQ(boxType, POST_MESSAGE_BOX_REPORT);
    EXPECT_EQ(selection, nullptr);
    current->boxes.emplace_back(title ? title : u"", message ? message : u"");
    return EFI_SUCCESS;
  }
};

TEST(SetupCallback, TypedCapacityChanged_ZeroInformsInvalidWarns) {
  SetupBoot boot;
  BrowserAndBox platform(boot, true);
  struct Case {
    const char* name;
    std::uint8_t unit;
    std::u16string text;
    std::vector<std::pair<std::u16string, std::u16string>> boxes;
  };
  const Case cases[] = {
      {"ZeroTakesAllFreeCapacity", 6, u"0",
       {{u"Info", u"All free capacity on the selected region will be allocated to this namespace."}}},
      {"ZeroInBytes", 2, u"  0.0", {{u"Info", u"All free capacity on the selected region will be allocated to this namespace."}}},
      {"InvalidCharacters", 6, u"12a", {{u"Error", u"Invalid characters in Capacity."}}},
      {"TwoSeparators", 4, u"1.2.3", {{u"Error", u"Invalid characters in Capacity."}}},
      {"PlainNumber", 6, u"12.5", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    platform.boxes.clear();
    platform.SetCapacity(c.unit, c.text);
    EXPECT_EQ(Call(boot, EFI_BROWSER_ACTION_CHANGED, 0x0016), EFI_SUCCESS) << "the check never blocks the browser";
    EXPECT_EQ(platform.boxes, c.boxes);
  }
}

TEST(SetupCallback, TypedCapacityWithoutBrowserData_NoMessage) {
  SetupBoot boot;
  BrowserAndBox platform(boot, false);
  EXPECT_EQ(Call(boot, EFI_BROWSER_ACTION_CHANGED, 0x0016), EFI_SUCCESS);
  EXPECT_TRUE(platform.boxes.empty());
}

bool LoggedSince(SetupBoot& boot, std::size_t first, const std::string& fragment) {
  const auto& lines = boot.Machine().Log().Lines();
  for (std::size_t index = first; index < lines.size(); ++index) {
    if (lines[index].text.find(fragment) != std::string::npos) return true;
  }
  return false;
}

// A region link's question reaches the details page only with an index the
// last list holds; before any list it is not ready. The browser hears
// success either way.
TEST(SetupCallback, RegionDetailsQuestion_NotReadyBeforeListRefusedBeyondIt) {
  SetupBoot boot;
  struct Step {
    EFI_QUESTION_ID question;
    const char* logged;
  };
  const Step steps[] = {
      {0x3000, "UpdateRegionDetailsForm:Region details is not ready"},
      {0x0010, "UpdateRegionListForm:Exit:Success"},
      {0x3002, "UpdateRegionDetailsForm:Region Index is not correct:2:2"},
      {0x3FFF, "UpdateRegionDetailsForm:Region Index is not correct:2:4095"},
      {0x3001, "UpdateRegionDetailsForm:Exit:Success"},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(testing::Message() << "question 0x" << std::hex << step.question);
    const std::size_t first = boot.Machine().Log().Lines().size();
    EXPECT_EQ(Call(boot, EFI_BROWSER_ACTION_CHANGING, step.question), EFI_SUCCESS);
    EXPECT_TRUE(LoggedSince(boot, first, step.logged));
  }
}

}  // namespace
}  // namespace carvex::test

// The whole platform as carvex-sim boots it, and the facts it reports: the
// form sets every boot has, the driver's failures, and the JSON document a
// script reads from the command itself.
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <Guid/CarvexVariables.h>

#include "BootFacts.hpp"
#include "SimPlatform.hpp"

namespace carvex::sim {
namespace {

namespace fs = std::filesystem;

class SimPlatformTest : public ::testing::Test {
 protected:
  void SetUp() override {
    state_ = fs::temp_directory_path() /
             ("carvex-simplatform-" + std::to_string(::getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(state_);
  }
  void TearDown() override { fs::remove_all(state_); }

  SimPlatformOptions Options() const {
    SimPlatformOptions options;
    options.stateDir = state_;
    return options;
  }

  // The default board with `faults` (a JSON array) injected into the
  // vendor's protocol.
  fs::path BoardWithFaults(const std::string& faults) {
    auto board = nlohmann::json::parse(std::ifstream(fs::path(CARVEX_TEST_PLATFORMS_DIR) / "default.json"), nullptr,
                                       true, true);
    board["faults"] = nlohmann::json::parse(faults);
    const fs::path path = fs::temp_directory_path() / (state_.filename().string() + ".json");
    std::ofstream(path) << board.dump();
    files_.push_back(path);
    return path;
  }

  ~SimPlatformTest() override {
    for (const auto& file : files_) fs::remove(file);
  }

  fs::path state_;
  std::vector<fs::path> files_;
};

TEST_F(SimPlatformTest, PlainBoot_HasHiiFormSetAndNoDriverErrors) {
  std::ostringstream notes;
  SimPlatform platform(Options(), notes);
  const BootSummary summary = platform.Boot();

  ASSERT_TRUE(summary.reports.empty());
  const auto formSets = InstalledFormSets(platform.hii().Services());
  // The setup form set, then the flat out-of-band one.
  ASSERT_EQ(formSets.size(), 2u);
  EXPECT_EQ(formSets[0].title, "Intel Optane DCPMMs");
  EXPECT_EQ(formSets[0].languages.size(), 11u);
  EXPECT_GT(formSets[0].forms, 1u);
  EXPECT_EQ(formSets[1].title, "Intel Optane DCPMM");
  EXPECT_EQ(formSets[1].forms, 1u);
  const DriverErrors errors = CountDriverErrors(summary, SimPlatform::kDriverImage);
  EXPECT_EQ(errors.count, 0u) << errors.first;
  EXPECT_EQ(errors.Describe(), "0 driver errors");
  // The browser and the controller are there whether or not setup is entered.
  EXPECT_EQ(summary.Last().events, std::vector<std::string>{"ready to boot"});
}

TEST_F(SimPlatformTest, BootAndSetup_SeeTheSamePlatform) {
  std::ostringstream notes;
  SimPlatform platform(Options(), notes);
  platform.Boot();
  const auto plain = InstalledFormSets(platform.hii().Services());
  const auto variables = platform.machine().Variables().Data(u"CarvekPresent", gCarvekPresentGuid);
  bool browsed = false;
  const BootSummary summary = platform.BootThroughSetup([&](browser::FormBrowser&) { browsed = true; });
  EXPECT_TRUE(browsed);
  const auto inSetup = InstalledFormSets(platform.hii().Services());
  ASSERT_EQ(plain.size(), inSetup.size());
  EXPECT_EQ(plain[0].guid, inSetup[0].guid);
  EXPECT_EQ(plain[0].forms, inSetup[0].forms);
  EXPECT_EQ(variables, platform.machine().Variables().Data(u"CarvekPresent", gCarvekPresentGuid));
  EXPECT_EQ(CountDriverErrors(summary, SimPlatform::kDriverImage).count, 0u);
}

TEST_F(SimPlatformTest, VendorFaultDuringModuleQuery_CountsAndNamesTheFirstFailure) {
  SimPlatformOptions options = Options();
  options.platformFile = BoardWithFaults(R"([{"slot": "GetDimmCount", "mode": "always"}])");
  std::ostringstream notes;
  SimPlatform platform(options, notes);
  // Opening the form set makes the driver count the modules for the page.
  const BootSummary summary = platform.BootThroughSetup(
      [](browser::FormBrowser& browser) { browser.OpenByTitle(u"Intel Optane DCPMMs"); });

  const DriverErrors errors = CountDriverErrors(summary, SimPlatform::kDriverImage);
  EXPECT_GT(errors.count, 0u);
  // Whichever part of the boot counts the modules first (the inventory, the
  // out-of-band form set) reports the failed count.
  EXPECT_NE(errors.first.find(":Fail to GetDimmCount:Device Error"), std::string::npos) << errors.first;
  bool lineSeen = false;
  for (const LogLine& line : summary.log) {
    if (line.image == SimPlatform::kDriverImage && line.text == errors.first) lineSeen = true;
  }
  EXPECT_TRUE(lineSeen) << errors.first;

  const nlohmann::json document =
      BootJson(platform.machine(), platform.hii().Services(), summary, SimPlatform::kDriverImage);
  EXPECT_EQ(document["driverErrors"]["count"], errors.count);
  EXPECT_EQ(document["driverErrors"]["first"], errors.first);
  EXPECT_EQ(document["boots"][0]["driverErrors"]["count"], errors.count);

  // Without the fault the same visit is clean.
  SimPlatformOptions clean = Options();
  clean.fresh = true;
  SimPlatform cleanPlatform(clean, notes);
  const BootSummary cleanSummary = cleanPlatform.BootThroughSetup(
      [](browser::FormBrowser& browser) { browser.OpenByTitle(u"Intel Optane DCPMMs"); });
  const DriverErrors none = CountDriverErrors(cleanSummary, SimPlatform::kDriverImage);
  EXPECT_EQ(none.count, 0u) << none.first;
}

TEST(DriverErrorsTest, ExitLinesWithSuccessAndOtherImagesDoNotCount) {
  BootSummary summary;
  summary.log = {
      {1, "CarvexDxe", 0x80000000, "CarvexSetupExtractConfig:Exit:Success", LogSource::Image},
      {1, "CarvexDxe", 0x80000000, "CarvexReadyToBoot:Exit", LogSource::Image},
      {1, "CarvexDxe", 0x80000000, "SetupCallback:Exit:Unsupported", LogSource::Image},
      {1, "CarvexDxe", 0x80000000, "GetTotalRawCapacity:Exit:18000000000", LogSource::Image},
      {1, "CarvexDxe", 0x80000000, "GetRegionDetails:GetRegions:Success:0:2", LogSource::Image},
      {1, "NvmDimmVendorDxe", 0x80000000, "vendor: something failed", LogSource::Image},
      {1, "CarvexDxe", 0x2, "CarvexEntryPoint:Enter", LogSource::Image},
      {1, "platform", 0x40, "platform event slot 0 returned 0x0", LogSource::Platform},
      {1, "platform", 0x40, "platform event slot 1 returned 0x8000000000000007", LogSource::Platform},
      {1, "CarvexDxe", 0x80000000, "CarvexSetupRouteConfig:Exit:Invalid Parameter", LogSource::Image},
      {2, "platform", 0x80000000, "CarvexDxe returned Out of Resources from its entry point; unloaded",
       LogSource::Platform},
  };
  const DriverErrors all = CountDriverErrors(summary, "CarvexDxe");
  EXPECT_EQ(all.count, 3u);  // the slot, the route's exit line, the entry point
  EXPECT_EQ(all.first, "slot 1 (before-post-complete) returned Device Error");
  EXPECT_EQ(all.Describe(), "3 driver errors: first slot 1 (before-post-complete) returned Device Error");
  const DriverErrors second = CountDriverErrors(summary, "CarvexDxe", 2u);
  EXPECT_EQ(second.count, 1u);
  EXPECT_EQ(second.first, "entry point returned Out of Resources from its entry point; unloaded");
}

// The command itself: --json on either side of the subcommand parses, and
// holds what a script reads.
TEST_F(SimPlatformTest, CommandJson_ParsesWithFormSetsSlotsPoolAndErrorCount) {
  const std::string command = std::string(CARVEX_TEST_CARVEX_SIM) + " --state-dir " + state_.string() +
                              " --fresh boot --json --log-level all 2>/dev/null";
  FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string output;
  std::array<char, 4096> buffer{};
  std::size_t read = 0;
  while ((read = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) output.append(buffer.data(), read);
  const int status = ::pclose(pipe);
  EXPECT_EQ(status, 0);
  const auto document = nlohmann::json::parse(output);
  EXPECT_EQ(document["formSets"][0]["title"], "Intel Optane DCPMMs");
  EXPECT_EQ(document["driverErrors"]["count"], 0);
  const auto& boot = document["boots"][0];
  EXPECT_EQ(boot["slots"].size(), 3u);
  EXPECT_TRUE(boot["pool"].contains("CarvexDxe"));
  EXPECT_EQ(document["variables"]["CarvekPresent"], 1);
}

}  // namespace
}  // namespace carvex::sim

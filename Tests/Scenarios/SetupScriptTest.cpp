// The setup scripts of Tests/Scripts/Setup, each run on every board its
// "# run:" lines name, the way `carvex-sim setup --script` runs it: a new
// machine from the platform file with the capability mask, booted through
// setup with the host browser. A failure names the script's line; the
// transcript of the run follows it.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "BrowserMachine.hpp"
#include "Devices/DevicePlatform.hpp"
#include "Devices/PlatformFile.hpp"
#include "HiiMachine.hpp"
#include "NvmDimm/NvmDimmModel.h"
#include "Platform/Machine.hpp"
#include "ScriptFrontEnd.hpp"
#include "BootThroughSetup.hpp"
#include "BrowserBoard.hpp"

namespace carvex::test {
namespace {

const std::filesystem::path kScripts = CARVEX_TEST_SCRIPTS_DIR;

// One "# run:" line of a script: `--platform FILE [--capability-mask MASK]`,
// the file in Simulator/Platforms, the mask 0x30 unless given.
struct ScriptRun {
  std::filesystem::path script;
  std::string platform;
  std::uint64_t capabilityMask = 0x30;
  std::string error;  // a run line the runner cannot read

  std::string Name() const {
    std::ostringstream name;
    name << script.stem().string() << "_" << std::filesystem::path(platform).stem().string() << "_0x" << std::hex
         << capabilityMask;
    std::string text = name.str();
    std::replace_if(text.begin(), text.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return text;
  }
};

void PrintTo(const ScriptRun& run, std::ostream* out) {
  *out << run.script.filename().string() << " --platform " << run.platform << " --capability-mask 0x" << std::hex
       << run.capabilityMask << std::dec;
}

ScriptRun ParseRunLine(const std::filesystem::path& script, const std::string& arguments) {
  ScriptRun run;
  run.script = script;
  std::istringstream words(arguments);
  std::string word;
  while (words >> word) {
    std::string value;
    if (!(words >> value)) {
      run.error = word + " needs a value";
    } else if (word == "--platform") {
      run.platform = value;
    } else if (word == "--capability-mask") {
      std::size_t used = 0;
      try {
        run.capabilityMask = std::stoull(value, &used, 0);
      } catch (...) {
        used = 0;
      }
      if (used == 0 || used != value.size()) run.error = "--capability-mask: not a number: " + value;
    } else {
      run.error = "unknown option " + word;
    }
  }
  if (run.platform.empty() && run.error.empty()) run.error = "no --platform";
  return run;
}

std::vector<ScriptRun> DiscoverRuns() {
  std::vector<std::filesystem::path> scripts;
  for (const auto& entry : std::filesystem::directory_iterator(kScripts)) {
    if (entry.path().extension() == ".setup") scripts.push_back(entry.path());
  }
  std::sort(scripts.begin(), scripts.end());
  std::vector<ScriptRun> runs;
  for (const auto& script : scripts) {
    std::ifstream in(script);
    const std::size_t before = runs.size();
    for (std::string line; std::getline(in, line);) {
      const std::string tag = "# run:";
      if (line.rfind(tag, 0) == 0) runs.push_back(ParseRunLine(script, line.substr(tag.size())));
    }
    if (runs.size() == before) runs.push_back(ScriptRun{script, "", 0, "no \"# run:\" line"});
  }
  return runs;
}

std::string ReadText(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The parts of a script that "# reboot" lines separate, one per boot. Each
// part keeps the script's line numbers: the other parts' lines are blank.
std::vector<std::string> BootParts(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::vector<std::string> parts;
  std::size_t first = 0;
  for (std::size_t end = 0; end <= lines.size(); ++end) {
    if (end < lines.size() && lines[end].rfind("# reboot", 0) != 0) continue;
    std::string part;
    for (std::size_t index = 0; index < lines.size(); ++index) {
      part += (index >= first && index < end) ? lines[index] : "";
      part += "\n";
    }
    parts.push_back(part);
    first = end + 1;
  }
  return parts;
}

class SetupScriptTest : public ::testing::TestWithParam<ScriptRun> {};

TEST_P(SetupScriptTest, Script_Passes) {
  const ScriptRun& run = GetParam();
  const std::string name = "Tests/Scripts/Setup/" + run.script.filename().string();
  ASSERT_TRUE(run.error.empty()) << name << ": run line: " << run.error;
  BrowserBoard board(run.platform, run.capabilityMask);
  std::ostringstream transcript;
  for (const std::string& part : BootParts(ReadText(run.script))) {
    browser::ScriptResult result;
    board.Boot([&](browser::FormBrowser& browser) {
      browser::ScriptOptions options;
      options.transcript = &transcript;
      result = browser::RunSetupScript(browser, part, name, options);
    });
    ASSERT_TRUE(result.ok) << result.Describe() << "\n(--platform " << run.platform << " --capability-mask 0x"
                           << std::hex << run.capabilityMask << ")\n"
                           << transcript.str();
    transcript << "# reboot\n";
  }
}

INSTANTIATE_TEST_SUITE_P(Scripts, SetupScriptTest, ::testing::ValuesIn(DiscoverRuns()),
                         [](const ::testing::TestParamInfo<ScriptRun>& info) { return info.param.Name(); });

// Writes bytes into the browser's copy of a store, as HiiSetBrowserData
// does from a driver.
void SetBrowserBytes(browser::FormBrowser& browser, const std::u16string& store, unsigned offset,
                     const std::vector<std::uint8_t>& bytes) {
  char head[48];
  std::snprintf(head, sizeof head, "OFFSET=%04x&WIDTH=%04zx&VALUE=", offset, bytes.size());
  std::string text = head;
  for (auto it = bytes.rbegin(); it != bytes.rend(); ++it) {  // most significant byte first
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", *it);
    text += pair;
  }
  std::u16string data(text.begin(), text.end());
  UINTN size = (data.size() + 1) * sizeof(char16_t);
  ASSERT_EQ(browser.BrowserCallback(&size, data.data(), false, &kFormSetGuid, store.c_str()), EFI_SUCCESS);
}

std::size_t CountLines(const sim::BootSummary& summary, const std::string& fragment) {
  return static_cast<std::size_t>(std::count_if(summary.log.begin(), summary.log.end(), [&](const sim::LogLine& line) {
    return line.text.find(fragment) != std::string::npos;
  }));
}

// The delete-goal check boxes have no callback flag: ticking them changes
// the browser's copy only. The delete section shows only with a pending
// goal, which the Goals link's handler reports; the test tells the browser
// what that handler would (processor 1 present, a pending goal on it).
TEST(SetupGoalsPageTest, DeleteGoalCheckBoxes_NeverCallTheDriver) {
  BrowserBoard board("default.json", 0x30);
  std::ostringstream transcript;
  browser::ScriptResult opened, ticked;
  std::optional<browser::Bytes> setupVar;
  const sim::BootSummary summary = board.Boot([&](browser::FormBrowser& browser) {
    browser::ScriptOptions options;
    options.transcript = &transcript;
    options.leaveSetupAtEnd = false;
    opened = browser::RunSetupScript(browser, "goto \"Intel Optane DCPMMs\"\nselect \"Goals\"\n", "open", options);
    SetBrowserBytes(browser, u"SetupVar", 0x0E8, {1});                   // GoalSocketPresent[0]
    SetBrowserBytes(browser, u"SetupPendingGoalDetailsVar", 0x000, {1, 1});  // PendingGoalExists, PendingGoalSocket[0]
    ticked = browser::RunSetupScript(browser, R"(
expect "Delete goal configuration:" shown
expect "Goal Configurations for Processor 1" shown
set "Scope"[2] Processor
expect "Processor 1"[2] shown
check "Processor 1"[2]
uncheck "Processor 1"[2]
check "Processor 1"[2]
expect "Processor 1"[2] checked
# the create-goal box of the same processor does reach the driver
set "Scope"[1] Processor
check "Processor 1"[1]
)",
                                     "tick", options);
    setupVar = browser.StoreData(kFormSetGuid, u"SetupVar");
  });
  ASSERT_TRUE(opened.ok) << opened.Describe() << "\n" << transcript.str();
  ASSERT_TRUE(ticked.ok) << ticked.Describe() << "\n" << transcript.str();
  for (unsigned question = 0x2010; question <= 0x2017; ++question) {
    char fragment[16];
    std::snprintf(fragment, sizeof fragment, "QID 0x%x", question);
    EXPECT_EQ(CountLines(summary, fragment), 0u) << "the driver was called for " << fragment;
  }
  EXPECT_GE(CountLines(summary, "Action 1, QID 0x2000"), 1u) << "the log does not show callbacks at all";
  ASSERT_TRUE(setupVar.has_value());
  EXPECT_EQ(setupVar->at(0x110), 1) << "DeleteGoalSocket[0] in the browser's copy";
}

// Module alarm thresholds over boots through setup: a save pushes the
// threshold to each module whose own differs, keeping its enabled state; a
// save without change writes no module.
TEST(SetupThresholdsTest, SavesOverBoots_OnlyModulesThatDifferAreWritten) {
  BrowserBoard board("default.json", 0x30);
  NVM_MODEL& nvm = board.Nvm();
  ASSERT_GT(nvm.DimmCount, 2u);
  for (UINT32 i = 0; i < nvm.DimmCount; ++i) {
    nvm.Dimms[i].AlarmThreshold = 10;
    nvm.Dimms[i].AlarmEnabled = 1;
  }
  nvm.Dimms[0].AlarmThreshold = 20;
  nvm.Dimms[1].AlarmThreshold = 30;
  nvm.Dimms[1].AlarmEnabled = 0;

  const std::string page = "goto \"Intel Optane DCPMMs\"\nselect \"DCPMM Configuration\"\n";
  struct Step {
    const char* name;
    std::string script;
    std::vector<std::uint8_t> variable;
    UINT32 moduleWrites;
    UINT16 threshold;
  };
  const Step steps[] = {
      {"DefaultsThenSave", page + "defaults\nsave\n", {10, 10, 0, 0}, 2, 10},
      {"SaveWithoutChange", page + "save\n", {10, 10, 0, 0}, 0, 10},
      {"ChangedThenSaved", page + "set \"Percentage Remaining Thresholds [%]\" 25\nsave\n", {25, 25, 0, 0}, 12, 25},
      {"ChangedThenDiscarded", page + "set \"Percentage Remaining Thresholds [%]\" 40\ndiscard\n", {25, 25, 0, 0}, 0, 25},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    NvmModelClearCallCounts(&nvm);
    std::ostringstream transcript;
    browser::ScriptResult result;
    board.Boot([&](browser::FormBrowser& browser) {
      browser::ScriptOptions options;
      options.transcript = &transcript;
      result = browser::RunSetupScript(browser, step.script, step.name, options);
    });
    ASSERT_TRUE(result.ok) << result.Describe() << "\n" << transcript.str();
    EXPECT_EQ(board.Machine().Variables().Data(u"CarvekConfigVar", kFormSetGuid), step.variable);
    EXPECT_EQ(nvm.CallCount[NVM_SLOT_SET_ALARM_THRESHOLDS], step.moduleWrites);
    for (UINT32 i = 0; i < nvm.DimmCount; ++i) {
      EXPECT_EQ(nvm.Dimms[i].AlarmThreshold, step.threshold) << "module " << i;
      EXPECT_EQ(nvm.Dimms[i].AlarmEnabled, i == 1 ? 0 : 1) << "module " << i << " keeps its enabled state";
    }
  }
}

}  // namespace
}  // namespace carvex::test

#include "BrowserFixture.hpp"

#include <random>

namespace browsertest {

using namespace carvex::sim;

ScratchDirectory::ScratchDirectory() {
  path_ = std::filesystem::temp_directory_path() / ("carvex-browser-" + std::to_string(std::random_device{}()));
  std::filesystem::create_directories(path_);
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

BrowserTest::BrowserTest()
    : machine_(scratch_.Path()), hii_(machine_), browserMachine_(machine_, hii_), driver_(machine_) {}

BrowserTest::~BrowserTest() {
  if (machine_.BootActive()) machine_.EndBoot();
}

void BrowserTest::BootIntoSetup() {
  machine_.StartBoot();
  machine_.EndOfPost();
  machine_.EnterSetup();
}

browser::ScriptResult BrowserTest::Run(const std::string& script, bool leave) {
  browser::ScriptOptions options;
  options.leaveSetupAtEnd = leave;
  const browser::ScriptResult result = browser::RunSetupScript(Browser(), script, "test", options);
  EXPECT_TRUE(result.ok) << result.Describe();
  return result;
}

browser::ScriptResult BrowserTest::RunFailing(const std::string& script) {
  browser::ScriptOptions options;
  options.leaveSetupAtEnd = false;
  const browser::ScriptResult result = browser::RunSetupScript(Browser(), script, "test", options);
  EXPECT_FALSE(result.ok) << "the script passed";
  return result;
}

browser::ItemView BrowserTest::Item(const std::u16string& prompt) {
  for (const browser::ItemView& item : Browser().View().items) {
    if (item.prompt == prompt) return item;
  }
  ADD_FAILURE() << "no item with that prompt";
  return {};
}

std::vector<unsigned> BrowserTest::SetupSlots() const {
  std::vector<unsigned> slots;
  for (const SlotCall& call : machine_.CurrentBoot().slots) {
    if (call.slot >= 3) slots.push_back(call.slot);
  }
  return slots;
}

std::vector<EFI_BROWSER_ACTION> BrowserTest::ActionsOf(EFI_QUESTION_ID question) const {
  std::vector<EFI_BROWSER_ACTION> actions;
  for (const DriverCall& call : driver_.CallsOf(question)) actions.push_back(call.action);
  return actions;
}

}  // namespace browsertest

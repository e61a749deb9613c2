// A simulated machine with the HII services, the form browser and the test
// driver, booted into setup.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "BrowserMachine.hpp"
#include "HiiMachine.hpp"
#include "ScriptFrontEnd.hpp"
#include "TestDriver.hpp"

namespace browsertest {

class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class BrowserTest : public ::testing::Test {
 protected:
  BrowserTest();
  ~BrowserTest() override;

  // Starts a boot, runs end of POST and enters setup.
  void BootIntoSetup();
  carvex::sim::browser::FormBrowser& Browser() { return *browserMachine_.Browser(); }
  // Runs a script (staying in setup unless `leave`); a failed script fails the test.
  carvex::sim::browser::ScriptResult Run(const std::string& script, bool leave = false);
  // The same, expecting it to fail; returns the result for its message.
  carvex::sim::browser::ScriptResult RunFailing(const std::string& script);
  // The item of the current form with this prompt.
  carvex::sim::browser::ItemView Item(const std::u16string& prompt);
  // Setup-leave slots (3 save, 4 discard, 5 defaults) called so far in this boot.
  std::vector<unsigned> SetupSlots() const;
  std::vector<EFI_BROWSER_ACTION> ActionsOf(EFI_QUESTION_ID question) const;

  ScratchDirectory scratch_;
  carvex::sim::Machine machine_;
  carvex::sim::HiiMachine hii_;
  carvex::sim::browser::BrowserMachine browserMachine_;
  TestDriver driver_;
};

}  // namespace browsertest

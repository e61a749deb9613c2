// Puts the form browser and the POST message protocol into every boot of a
// simulated Machine: a fresh browser per boot, as a host image named
// "FormBrowser", installed when the platform protocols are (after the HII
// services, so HiiMachine must be created first). Save, discard and load
// defaults in the browser raise the machine's setup-leave events.
//
//   carvex::sim::Machine machine(stateDirectory, settings);
//   carvex::sim::HiiMachine hii(machine);
//   carvex::sim::browser::BrowserMachine browser(machine, hii);
//   ... machine.EnterSetup(); RunSetupScript(*browser.Browser(), text, "name");
#pragma once

#include <memory>

#include "FormBrowser.hpp"
#include "HiiMachine.hpp"
#include "PostMessageService.hpp"

namespace carvex::sim::browser {

class BrowserMachine {
 public:
  BrowserMachine(Machine& machine, HiiMachine& hii);
  ~BrowserMachine();
  BrowserMachine(const BrowserMachine&) = delete;
  BrowserMachine& operator=(const BrowserMachine&) = delete;

  // The browser of the boot in progress (or of the last boot); null before
  // the first boot.
  FormBrowser* Browser() { return browser_.get(); }

  static constexpr const char* kImageName = "FormBrowser";

 private:
  void StartBoot(Machine& machine);

  HiiMachine& hii_;
  std::unique_ptr<FormBrowser> browser_;
  std::unique_ptr<PostMessageService> post_;
};

}  // namespace carvex::sim::browser

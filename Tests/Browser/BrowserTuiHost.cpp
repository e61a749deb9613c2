// The interactive front end over the test driver, for the test that drives
// it through a terminal multiplexer: runs setup, then writes what the driver
// and the platform saw to the file named by its argument.
#include <fstream>
#include <iostream>

#include "BrowserFixture.hpp"
#include "TuiFrontEnd.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: BrowserTuiHost RESULT-FILE\n";
    return 2;
  }
  using namespace carvex::sim;
  browsertest::ScratchDirectory scratch;
  Machine machine(scratch.Path());
  HiiMachine hii(machine);
  browser::BrowserMachine browsers(machine, hii);
  browsertest::TestDriver driver(machine);
  driver.sample.Count = 2;
  machine.StartBoot();
  machine.EndOfPost();
  machine.EnterSetup();
  browser::TuiFrontEnd tui(*browsers.Browser());
  tui.Run();
  browsers.Browser()->LeaveSetup();
  std::ofstream out(argv[1]);
  out << "scope " << int(driver.sample.Scope) << "\n";
  out << "enabled " << int(driver.sample.Enabled) << "\n";
  out << "routes " << driver.routes.size() << "\n";
  for (const SlotCall& call : machine.CurrentBoot().slots) {
    if (call.slot >= 3) out << "slot " << call.slot << "\n";
  }
  machine.EndBoot();
  return 0;
}

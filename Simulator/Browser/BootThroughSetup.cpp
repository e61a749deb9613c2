#include "BootThroughSetup.hpp"

namespace carvex::sim::browser {

BootSummary RunBootThroughSetup(Machine& machine, BrowserMachine& browsers,
                                const std::function<void(FormBrowser&)>& inSetup) {
  const std::size_t firstLine = machine.Log().Lines().size();
  const std::size_t firstReport = machine.Log().Reports().size();
  BootSummary summary;
  machine.StartBoot();
  if (!machine.PendingReset()) machine.EndOfPost();
  if (!machine.PendingReset()) {
    machine.EnterSetup();
    FormBrowser& browser = *browsers.Browser();
    if (inSetup) inSetup(browser);
    browser.LeaveSetup();
  }
  if (!machine.PendingReset()) machine.SignalReadyToBoot();
  summary.boots.push_back(machine.EndBoot());
  const auto& reset = summary.boots.back().reset;
  if (reset && reset->type != EfiResetShutdown) {
    ++summary.resets;
    const BootSummary rest = machine.RunBoot();
    summary.boots.insert(summary.boots.end(), rest.boots.begin(), rest.boots.end());
    summary.resets += rest.resets;
    summary.resetLoop = rest.resetLoop;
  }
  summary.log.assign(machine.Log().Lines().begin() + static_cast<std::ptrdiff_t>(firstLine),
                     machine.Log().Lines().end());
  summary.reports.assign(machine.Log().Reports().begin() + static_cast<std::ptrdiff_t>(firstReport),
                         machine.Log().Reports().end());
  return summary;
}

}  // namespace carvex::sim::browser

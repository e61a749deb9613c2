// A whole boot as a person sees it, and the boots that resets lead to.
#include "Machine.hpp"

#include <stdexcept>

namespace carvex::sim {

BootSummary Machine::RunBoot(const BootOptions& options) {
  if (boot_) {
    throw std::logic_error("RunBoot while a boot is running");
  }
  BootSummary summary;
  const std::size_t firstLine = log_.Lines().size();
  const std::size_t firstReport = log_.Reports().size();
  bool setupDone = false;
  for (;;) {
    StartBoot();
    if (!PendingReset()) {
      EndOfPost();
    }
    // Setup is entered once per run: a reset after it does not replay it.
    if (!PendingReset() && options.enterSetup && !setupDone) {
      EnterSetup();
      setupDone = true;
      if (options.inSetup && !PendingReset()) {
        options.inSetup(*this);
      }
      if (!PendingReset()) {
        LeaveSetup(options.setupExit);
      }
    }
    if (!PendingReset()) {
      SignalReadyToBoot();
    }
    if (!PendingReset() && options.legacyBoot) {
      SignalLegacyBoot();
    }
    summary.boots.push_back(EndBoot());
    const auto& reset = summary.boots.back().reset;
    if (!reset || reset->type == EfiResetShutdown) {
      break;
    }
    if (summary.resets == options.maxResets) {
      log_.Report(ReportKind::ResetLoop, reset->source,
                  "a reset was requested after " + std::to_string(summary.resets) +
                      " resets in a row; the machine stays off");
      summary.resetLoop = true;
      break;
    }
    ++summary.resets;
  }
  summary.log.assign(log_.Lines().begin() + static_cast<std::ptrdiff_t>(firstLine),
                     log_.Lines().end());
  summary.reports.assign(log_.Reports().begin() + static_cast<std::ptrdiff_t>(firstReport),
                         log_.Reports().end());
  return summary;
}

}  // namespace carvex::sim

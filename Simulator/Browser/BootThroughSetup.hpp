// A boot that goes through firmware setup with the host browser: end of
// POST, setup entered, a front end at work, setup left (the browser raises
// save, discard or load-default itself), ready to boot; then the boots that
// a reset requested in it leads to. Use this rather than BootOptions::inSetup,
// whose own setup-leave event would come on top of the browser's.
//
//   ScriptResult script;
//   BootSummary summary = RunBootThroughSetup(machine, browsers, [&](FormBrowser& browser) {
//     script = RunSetupScript(browser, text, "goals.setup");
//   });
#pragma once

#include <functional>

#include "BrowserMachine.hpp"

namespace carvex::sim::browser {

// `inSetup` runs the front end; LeaveSetup follows it (a script that already
// left setup leaves nothing more to do).
BootSummary RunBootThroughSetup(Machine& machine, BrowserMachine& browsers,
                                const std::function<void(FormBrowser&)>& inSetup);

}  // namespace carvex::sim::browser

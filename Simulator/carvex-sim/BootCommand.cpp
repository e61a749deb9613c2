#include "BootCommand.hpp"

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "BootFacts.hpp"
#include "LogLevel.hpp"
#include "ModuleViews.hpp"
#include "Summary.hpp"

namespace carvex::sim::cli {

namespace {

SetupExit ParseSetupExit(const std::string& text) {
  if (text == "discard") return SetupExit::Discard;
  if (text == "defaults") return SetupExit::Defaults;
  return SetupExit::Save;
}

std::uint64_t ParseMask(const std::string& text) {
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || end == nullptr || *end != '\0') {
    throw std::invalid_argument("--capability-mask: not a number: " + text);
  }
  return value;
}

// The views, or why the client layer could not be read.
void PrintInspection(SimPlatform& platform, const std::set<View>& views, bool showPassphrase) {
  if (!platform.Inspection()) {
    std::cout << "module views unavailable: "
              << (platform.InspectionError().empty() ? "the boot ended before the end of POST"
                                                     : platform.InspectionError())
              << "\n";
    return;
  }
  PrintViews(std::cout, views, *platform.Inspection(), platform.devices().Bmc(),
             AutoUnlockOutcomes(platform.machine().Log(), platform.machine().BootNumber()), showPassphrase);
}

nlohmann::json InspectionJson(SimPlatform& platform, const std::set<View>& views) {
  if (!platform.Inspection()) {
    return {{"unavailable", platform.InspectionError().empty() ? "the boot ended before the end of POST"
                                                               : platform.InspectionError()}};
  }
  return ViewsJson(views, *platform.Inspection(), platform.devices().Bmc());
}

bool Clean(const BootSummary& summary) { return summary.reports.empty() && !summary.resetLoop; }

}  // namespace

SimPlatformOptions CommonOptions::Platform(bool clientProbe) const {
  SimPlatformOptions options;
  options.stateDir = stateDir;
  options.fresh = fresh;
  options.platformFile = platformFile;
  options.capabilityMask = ParseMask(capabilityMask);
  options.noVendorDriver = noVendorDriver;
  options.extraImages = extraImages;
  options.sampleForms = sampleForms;
  options.clientProbe = clientProbe;
  return options;
}

UINT32 CommonOptions::DisplayMask() const {
  const auto level = ParseLogLevel(logLevel);
  if (!level) {
    throw std::invalid_argument("--log-level: unknown level: " + logLevel);
  }
  return *level;
}

void AddCommonOptions(CLI::App& app, CommonOptions& options) {
  app.add_option("--state-dir", options.stateDir, "Where the machine's state lives between runs")
      ->capture_default_str();
  app.add_option("--log-level", options.logLevel,
                 "Driver log shown: none, error, warn, info, verbose, all, or a hex mask")
      ->capture_default_str();
  app.add_flag("--fresh", options.fresh, "Start from a new machine (forget the state directory)");
  app.add_option("--platform", options.platformFile,
                 "Platform file (JSON) describing a new machine's modules and controller; later runs "
                 "continue from the state directory")
      ->check(CLI::ExistingFile);
  app.add_option("--capability-mask", options.capabilityMask,
                 "PlatformCapabilityMask (bit 4 App Direct, bit 5 Memory Mode)")
      ->capture_default_str();
  app.add_flag("--show-passphrase", options.showPassphrase,
               "Print the text of the controller's passphrase file in the audit view (otherwise only whether "
               "it is there)");
  app.add_flag("--no-vendor-driver", options.noVendorDriver,
               "Boot without the module vendor's driver (no NVM DIMM config protocol)");
  app.add_option("--image", options.extraImages,
                 "A further firmware image (host shared object) to load after the driver; repeatable")
      ->check(CLI::ExistingFile);
  app.add_flag("--sample-forms", options.sampleForms,
               "Also load the sample driver with its small form set (a demo of setup and HII)");
  app.add_flag("--json", options.json,
               "boot and modules: print one JSON document on standard output instead of the text "
               "(the driver log is not echoed)");
}

int RunBootCommand(const CommonOptions& common, const BootCommandOptions& options) {
  const UINT32 mask = common.DisplayMask();
  std::set<View> views;
  if (!options.show.empty()) views = ParseViews(options.show);

  SimPlatform platform(common.Platform(!views.empty()), std::cerr);
  platform.machine().SetDisplay(common.json ? nullptr : &std::cout, mask);
  BootOptions boot;
  boot.enterSetup = !options.setup.empty();
  boot.setupExit = ParseSetupExit(options.setup);
  boot.legacyBoot = options.legacyBoot;
  const BootSummary summary = platform.Boot(boot);
  if (common.json) {
    nlohmann::json document =
        BootJson(platform.machine(), platform.hii().Services(), summary, SimPlatform::kDriverImage);
    document["devices"] = platform.Origin();
    if (!views.empty()) document["views"] = InspectionJson(platform, views);
    std::cout << document.dump(2) << "\n";
  } else {
    PrintBootSummary(std::cout, platform, summary);
    if (!views.empty()) {
      std::cout << "\n";
      PrintInspection(platform, views, common.showPassphrase);
    }
  }
  return Clean(summary) ? 0 : 1;
}

int RunModulesCommand(const CommonOptions& common, const std::string& views) {
  const UINT32 mask = common.DisplayMask();
  const std::set<View> chosen = ParseViews(views);
  SimPlatform platform(common.Platform(true), std::cerr);
  // The driver log only when the person asked for it.
  platform.machine().SetDisplay(common.logLevelGiven && !common.json ? &std::cout : nullptr, mask);
  const BootSummary summary = platform.Boot();
  if (common.json) {
    nlohmann::json document;
    document["boot"] = platform.devices().Nvm().BootCount;
    document["stateDir"] = platform.machine().StateDirectory().string();
    document["devices"] = platform.Origin();
    document["views"] = InspectionJson(platform, chosen);
    const DriverErrors errors = CountDriverErrors(summary, SimPlatform::kDriverImage);
    document["driverErrors"] = {{"count", errors.count}, {"first", errors.first}};
    nlohmann::json problems = nlohmann::json::array();
    for (const PlatformReport& report : summary.reports) {
      problems.push_back({{"boot", report.boot},
                          {"kind", ReportKindName(report.kind)},
                          {"image", report.image},
                          {"message", report.message}});
    }
    document["problems"] = std::move(problems);
    std::cout << document.dump(2) << "\n";
    return Clean(summary) && platform.Inspection() ? 0 : 1;
  }
  std::cout << "carvex-sim: boot " << platform.devices().Nvm().BootCount << " of the machine in "
            << platform.machine().StateDirectory().string() << " (devices " << platform.Origin() << ")\n\n";
  PrintInspection(platform, chosen, common.showPassphrase);
  for (const PlatformReport& report : summary.reports) {
    std::cout << "PROBLEM (boot " << report.boot << ", " << ReportKindName(report.kind) << ", " << report.image
              << "): " << report.message << "\n";
  }
  std::cout << "\n" << CountDriverErrors(summary, SimPlatform::kDriverImage).Describe() << "\n";
  return Clean(summary) && platform.Inspection() ? 0 : 1;
}

}  // namespace carvex::sim::cli

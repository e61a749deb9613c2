#include "ModuleViews.hpp"

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "Devices/JsonReader.hpp"
#include "Devices/Names.hpp"
#include "TextTable.hpp"

namespace carvex::sim::cli {

namespace {

using devices::Inspection;

std::string Hex(std::uint64_t value, int digits) { return devices::Hex(value, digits); }

std::string Plural(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string SecurityName(std::uint8_t state) {
  std::string name = devices::NameOf(devices::SecurityStateNames(), state);
  return name.empty() ? std::to_string(state) : name;
}

std::string HealthName(std::uint16_t health) {
  static const char* const kNames[] = {"Unknown", "Healthy", "Warning", "Critical", "Unsupported"};
  return health < 5 ? kNames[health] : std::to_string(health);
}

std::string AutoUnlockName(std::uint8_t outcome) {
  static const char* const kNames[] = {"Other", "Success", "Invalid Passphrase", "Passphrase Not Exist",
                                       "Not Applicable"};
  return outcome < 5 ? kNames[outcome] : std::to_string(outcome);
}

void PrintModules(std::ostream& out, const Inspection& inspection,
                  const std::map<std::string, std::uint8_t>& autoUnlock) {
  out << "Modules (GetDimmDetails: " << Plural(inspection.modules.size(), "module", "modules") << ")\n";
  if (inspection.modules.empty()) {
    out << "  (none)\n";
  } else {
    TextTable identity({"ID>", "Socket>", "Locator", "Handle", "UID", "Firmware", "Health>", "Security", "Configured",
                        "Auto unlock"});
    TextTable capacity({"ID>", "Locator", "Capacity>", "Volatile>", "App Direct>", "Unconfigured>", "Reserved>",
                        "Inaccessible>"});
    for (const auto& module : inspection.modules) {
      const DIMM_DETAILS& d = module.details;
      identity.AddRow({std::to_string(d.DimmID), std::to_string(d.SocketId), module.locator, Hex(d.DimmHandle, 4),
                       module.uid, module.firmware, std::to_string(d.PercentageRemaining) + "%",
                       SecurityName(d.SecurityState), d.Configured ? "yes" : "no",
                       autoUnlock.count(module.locator) ? AutoUnlockName(autoUnlock.at(module.locator)) : "-"});
      capacity.AddRow({std::to_string(d.DimmID), module.locator, inspection.Capacity(d.Capacity),
                       inspection.Capacity(d.VolatileCapacity), inspection.Capacity(d.AppDirectCapacity),
                       inspection.Capacity(d.UnconfiguredCapacity), inspection.Capacity(d.ReservedCapacity),
                       inspection.Capacity(d.InaccessibleCapacity)});
    }
    identity.Print(out);
    if (!autoUnlock.empty()) {
      out << "  (Security as at the end of POST; Auto unlock as the driver's unlock at ready-to-boot left it)\n";
    }
    out << "Module capacities\n";
    capacity.Print(out);
  }
  const devices::CapacityTotals& t = inspection.totals;
  out << "Capacity totals (GetTotal...Capacity)\n";
  TextTable totals({"Raw>", "Volatile>", "App Direct>", "Unconfigured>", "Reserved>", "Inaccessible>"});
  totals.AddRow({inspection.Capacity(t.raw), inspection.Capacity(t.volatileSize), inspection.Capacity(t.appDirect),
                 inspection.Capacity(t.unconfigured), inspection.Capacity(t.reserved),
                 inspection.Capacity(t.inaccessible)});
  totals.Print(out);
  out << "Sockets (GetSockets):";
  for (std::uint16_t socket : inspection.sockets) out << " " << socket;
  out << (inspection.sockets.empty() ? " none" : "") << "\n";
  out << "Security (GetSystemSecurityState): "
      << (inspection.modules.empty() ? std::string("no modules") : SecurityName(inspection.securityState))
      << (inspection.lockedModules ? ", locked modules present" : "")
      << (inspection.unlockedOrFrozen ? ", some module unlocked or frozen" : "") << "\n";
  out << "Address range scrub (IsArsInProgress): " << (inspection.scrubInProgress ? "in progress" : "not running")
      << "\n";
}

void PrintRegions(std::ostream& out, const Inspection& inspection) {
  out << "Regions (GetRegionDetails: " << Plural(inspection.regions.size(), "region", "regions") << ")\n";
  if (inspection.regions.empty()) {
    out << "  (none)\n";
    return;
  }
  TextTable table({"ID>", "Processor>", "Type", "Capacity>", "Free>", "Largest namespace>", "Smallest namespace>"});
  for (const REGION_DETAILS& region : inspection.regions) {
    auto type = inspection.regionTypes.find(region.RegionId);
    table.AddRow({std::to_string(region.RegionId), std::to_string(region.SocketId + 1),
                  type != inspection.regionTypes.end() ? type->second : "?", inspection.Capacity(region.Capacity),
                  inspection.Capacity(region.FreeCapacity), inspection.Capacity(region.AppDirNamespaceMaxSize),
                  inspection.Capacity(region.AppDirNamespaceMinSize)});
  }
  table.Print(out);
}

void PrintNamespaces(std::ostream& out, const Inspection& inspection) {
  out << "Namespaces (GetNamespaceDetails: " << Plural(inspection.namespaces.size(), "namespace", "namespaces") << ")\n";
  if (inspection.namespaces.empty()) {
    out << "  (none)\n";
    return;
  }
  TextTable table({"ID>", "Region>", "Name", "Capacity>", "Block size>", "Health", "GUID"});
  for (const auto& ns : inspection.namespaces) {
    table.AddRow({std::to_string(ns.record.NamespaceId), std::to_string(ns.record.RegionId), ns.name,
                  inspection.Capacity(ns.record.BlockSize * ns.record.BlockCount), std::to_string(ns.record.BlockSize),
                  HealthName(ns.record.HealthState), ns.guid});
  }
  table.Print(out);
}

void PrintGoals(std::ostream& out, const Inspection& inspection) {
  out << "Pending goals (GetPendingGoalDetails: " << Plural(inspection.goals.size(), "entry", "entries")
      << "; applied at the next boot)\n";
  if (inspection.goals.empty()) {
    out << "  (none)\n";
    return;
  }
  TextTable table({"Socket>", "Handle", "Module", "Volatile>", "App Direct 1>", "App Direct 2>"});
  for (const auto& goal : inspection.goals) {
    std::string locator = "?";
    for (const auto& module : inspection.modules) {
      if (module.details.DimmHandle == goal.dimmHandle) locator = module.locator;
    }
    table.AddRow({std::to_string(goal.socketId), Hex(goal.dimmHandle, 4), locator, inspection.Capacity(goal.volatileSize),
                  inspection.Capacity(goal.appDirect1Size), inspection.Capacity(goal.appDirect2Size)});
  }
  table.Print(out);
}

// The passphrase file's state; its text only when asked for.
void PrintPassphraseFile(std::ostream& out, const BMC_MODEL& bmc, bool showPassphrase) {
  out << "Controller passphrase file (47): ";
  BMC_FILE* file = BmcModelFindFile(const_cast<BMC_MODEL*>(&bmc), VESK_FILE_DCPMM_PASSPHRASE);
  if (file == nullptr) {
    out << "absent\n";
    return;
  }
  const std::uint32_t size = file->Size < BMC_MAX_FILE_SIZE ? file->Size : BMC_MAX_FILE_SIZE;
  bool cleared = true;
  for (std::uint32_t i = 0; i < size; ++i) cleared = cleared && file->Data[i] == 0;
  out << (cleared ? "cleared" : "present") << ", " << size << " bytes";
  if (showPassphrase && !cleared) {
    out << ", text \"" << std::string(reinterpret_cast<const char*>(file->Data), strnlen(reinterpret_cast<const char*>(file->Data), size)) << "\"";
  }
  out << "\n";
}

void PrintAudit(std::ostream& out, const BMC_MODEL& bmc) {
  out << "Controller audit log (" << Plural(bmc.AuditCount, "event", "events") << ")\n";
  if (bmc.AuditCount == 0) {
    out << "  (empty)\n";
    return;
  }
  TextTable table({"Seq>", "Code", "Message ID", "Text"});
  for (std::uint32_t index = 0; index < bmc.AuditCount && index < BMC_MAX_AUDIT_EVENTS; ++index) {
    const BMC_AUDIT_EVENT& event = bmc.Audit[index];
    table.AddRow({std::to_string(event.Sequence), Hex(event.EventCode, 4),
                  std::string(event.MessageId, strnlen(event.MessageId, BMC_AUDIT_ID_LENGTH)),
                  std::string(event.MessageText, strnlen(event.MessageText, BMC_AUDIT_TEXT_LENGTH))});
  }
  table.Print(out);
}

}  // namespace

std::set<View> ParseViews(const std::string& text) {
  static const std::pair<const char*, View> kViews[] = {{"modules", View::Modules},
                                                        {"regions", View::Regions},
                                                        {"namespaces", View::Namespaces},
                                                        {"goals", View::Goals},
                                                        {"audit", View::Audit}};
  std::set<View> views;
  std::stringstream list(text);
  std::string name;
  while (std::getline(list, name, ',')) {
    bool known = false;
    for (const auto& [viewName, view] : kViews) {
      if (name == viewName || name == "all") {
        views.insert(view);
        known = true;
      }
    }
    if (!known) {
      throw std::invalid_argument("--show: unknown view \"" + name +
                                  "\" (modules, regions, namespaces, goals, audit or all)");
    }
  }
  return views;
}

std::map<std::string, std::uint8_t> AutoUnlockOutcomes(const PlatformLog& log, unsigned boot) {
  // "UnlockLockedDcpmms:<locator> auto unlock state <n>", one per module.
  static const std::string kPrefix = "UnlockLockedDcpmms:";
  static const std::string kMarker = " auto unlock state ";
  std::map<std::string, std::uint8_t> outcomes;
  for (const LogLine& line : log.Lines()) {
    if (line.boot != boot || line.text.rfind(kPrefix, 0) != 0) continue;
    const auto at = line.text.rfind(kMarker);
    if (at == std::string::npos || at < kPrefix.size()) continue;
    outcomes[line.text.substr(kPrefix.size(), at - kPrefix.size())] =
      static_cast<std::uint8_t>(std::strtoul(line.text.c_str() + at + kMarker.size(), nullptr, 10));
  }
  return outcomes;
}

void PrintViews(std::ostream& out, const std::set<View>& views, const Inspection& inspection, const BMC_MODEL& bmc,
                const std::map<std::string, std::uint8_t>& autoUnlock, bool showPassphrase) {
  bool first = true;
  auto section = [&]() {
    if (!first) out << "\n";
    first = false;
  };
  if (views.count(View::Modules)) {
    section();
    PrintModules(out, inspection, autoUnlock);
  }
  if (views.count(View::Regions)) {
    section();
    PrintRegions(out, inspection);
  }
  if (views.count(View::Namespaces)) {
    section();
    PrintNamespaces(out, inspection);
  }
  if (views.count(View::Goals)) {
    section();
    PrintGoals(out, inspection);
  }
  if (views.count(View::Audit)) {
    section();
    PrintPassphraseFile(out, bmc, showPassphrase);
    PrintAudit(out, bmc);
  }
  const auto failures = inspection.Failures();
  if (!failures.empty()) {
    out << "\nClient calls that failed\n";
    TextTable table({"Function", "Status"});
    for (const auto& call : failures) table.AddRow({call.function, devices::EfiStatusName(call.status)});
    table.Print(out);
  }
}

}  // namespace carvex::sim::cli

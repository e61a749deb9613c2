// The module views as JSON, for scripts and CI.
#include <cstring>

#include "Devices/Names.hpp"
#include "ModuleViews.hpp"

namespace carvex::sim::cli {

namespace {

using nlohmann::json;

std::string Text(const char* field, std::size_t length) { return std::string(field, strnlen(field, length)); }

json Capacity(const devices::Inspection& inspection, std::uint64_t bytes) {
  return {{"bytes", bytes}, {"text", inspection.Capacity(bytes)}};
}

}  // namespace

json ViewsJson(const std::set<View>& views, const devices::Inspection& inspection, const BMC_MODEL& bmc) {
  json document;
  if (views.count(View::Modules)) {
    json modules = json::array();
    for (const auto& module : inspection.modules) {
      const DIMM_DETAILS& d = module.details;
      modules.push_back({{"id", d.DimmID},
                         {"socket", d.SocketId},
                         {"locator", module.locator},
                         {"handle", d.DimmHandle},
                         {"uid", module.uid},
                         {"firmware", module.firmware},
                         {"percentageRemaining", d.PercentageRemaining},
                         {"securityState", devices::NameOf(devices::SecurityStateNames(), d.SecurityState)},
                         {"configured", d.Configured != 0},
                         {"capacity", Capacity(inspection, d.Capacity)},
                         {"volatile", Capacity(inspection, d.VolatileCapacity)},
                         {"appDirect", Capacity(inspection, d.AppDirectCapacity)},
                         {"unconfigured", Capacity(inspection, d.UnconfiguredCapacity)},
                         {"reserved", Capacity(inspection, d.ReservedCapacity)},
                         {"inaccessible", Capacity(inspection, d.InaccessibleCapacity)}});
    }
    document["modules"] = std::move(modules);
    const devices::CapacityTotals& t = inspection.totals;
    document["totals"] = {{"raw", Capacity(inspection, t.raw)},
                          {"volatile", Capacity(inspection, t.volatileSize)},
                          {"appDirect", Capacity(inspection, t.appDirect)},
                          {"unconfigured", Capacity(inspection, t.unconfigured)},
                          {"reserved", Capacity(inspection, t.reserved)},
                          {"inaccessible", Capacity(inspection, t.inaccessible)}};
    document["sockets"] = inspection.sockets;
    document["security"] = {
        {"state", inspection.modules.empty() ? std::string("no modules")
                                             : devices::NameOf(devices::SecurityStateNames(), inspection.securityState)},
        {"lockedModules", inspection.lockedModules},
        {"unlockedOrFrozen", inspection.unlockedOrFrozen}};
    document["scrubInProgress"] = inspection.scrubInProgress;
  }
  if (views.count(View::Regions)) {
    json regions = json::array();
    for (const REGION_DETAILS& region : inspection.regions) {
      auto type = inspection.regionTypes.find(region.RegionId);
      regions.push_back({{"id", region.RegionId},
                         {"socket", region.SocketId},
                         {"type", type != inspection.regionTypes.end() ? type->second : ""},
                         {"capacity", Capacity(inspection, region.Capacity)},
                         {"free", Capacity(inspection, region.FreeCapacity)},
                         {"namespaceMax", Capacity(inspection, region.AppDirNamespaceMaxSize)},
                         {"namespaceMin", Capacity(inspection, region.AppDirNamespaceMinSize)}});
    }
    document["regions"] = std::move(regions);
  }
  if (views.count(View::Namespaces)) {
    json namespaces = json::array();
    for (const auto& ns : inspection.namespaces) {
      namespaces.push_back({{"id", ns.record.NamespaceId},
                            {"region", ns.record.RegionId},
                            {"name", ns.name},
                            {"guid", ns.guid},
                            {"blockSize", ns.record.BlockSize},
                            {"capacity", Capacity(inspection, ns.record.BlockSize * ns.record.BlockCount)},
                            {"health", ns.record.HealthState}});
    }
    document["namespaces"] = std::move(namespaces);
  }
  if (views.count(View::Goals)) {
    json goals = json::array();
    for (const auto& goal : inspection.goals) {
      goals.push_back({{"socket", goal.socketId},
                       {"handle", goal.dimmHandle},
                       {"volatile", Capacity(inspection, goal.volatileSize)},
                       {"appDirect1", Capacity(inspection, goal.appDirect1Size)},
                       {"appDirect2", Capacity(inspection, goal.appDirect2Size)}});
    }
    document["pendingGoals"] = std::move(goals);
  }
  if (views.count(View::Audit)) {
    json audit = json::array();
    for (std::uint32_t index = 0; index < bmc.AuditCount && index < BMC_MAX_AUDIT_EVENTS; ++index) {
      const BMC_AUDIT_EVENT& event = bmc.Audit[index];
      audit.push_back({{"sequence", event.Sequence},
                       {"code", event.EventCode},
                       {"messageId", Text(event.MessageId, BMC_AUDIT_ID_LENGTH)},
                       {"text", Text(event.MessageText, BMC_AUDIT_TEXT_LENGTH)}});
    }
    document["audit"] = std::move(audit);
  }
  json failures = json::array();
  for (const auto& call : inspection.Failures()) {
    failures.push_back({{"function", call.function}, {"status", devices::EfiStatusName(call.status)}});
  }
  document["failedClientCalls"] = std::move(failures);
  return document;
}

}  // namespace carvex::sim::cli

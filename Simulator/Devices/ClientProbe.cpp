#include "ClientProbe.hpp"

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "Platform/Ucs2.hpp"

namespace carvex::sim::devices {

namespace {

template <std::size_t N>
std::string Text(const CHAR16 (&text)[N]) {
  return Utf16ToUtf8(FromChar16(text, N));
}

std::string GuidText(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", static_cast<unsigned>(guid.Data1),
                guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
                guid.Data4[5], guid.Data4[6], guid.Data4[7]);
  return text;
}

}  // namespace

std::vector<ClientCall> Inspection::Failures() const {
  std::vector<ClientCall> failures;
  for (const ClientCall& call : calls) {
    if (EFI_ERROR(call.status)) failures.push_back(call);
  }
  return failures;
}

std::string Inspection::Capacity(std::uint64_t bytes) const {
  auto found = capacityTexts.find(bytes);
  return found != capacityTexts.end() ? found->second : std::to_string(bytes) + " B";
}

std::filesystem::path ClientProbeImagePath() { return CARVEX_SIM_CarvexClientProbe; }

ClientProbe::ClientProbe(Machine& machine)
    : protocol_(static_cast<CARVEX_CLIENT_PROBE_PROTOCOL*>(machine.Protocols().FirstInterface(gCarvexClientProbeProtocolGuid))) {
  if (protocol_ == nullptr || protocol_->Revision < CARVEX_CLIENT_PROBE_REVISION) {
    throw std::runtime_error(std::string("the ") + kClientProbeImage + " image is not loaded in this boot");
  }
}

void ClientProbe::Record(Inspection& inspection, const char* function, EFI_STATUS status) {
  inspection.calls.push_back(ClientCall{function, status});
}

std::string ClientProbe::CapacityText(Inspection& inspection, std::uint64_t bytes) {
  auto found = inspection.capacityTexts.find(bytes);
  if (found != inspection.capacityTexts.end()) return found->second;
  CHAR16 buffer[CAPACITY_TEXT_CHARS] = {};
  const EFI_STATUS status = protocol_->ConvertCapacityToStr(bytes, buffer, sizeof buffer);
  Record(inspection, "ConvertCapacityToStr", status);
  if (EFI_ERROR(status)) return std::to_string(bytes) + " B";
  std::string text = Text(buffer);
  inspection.capacityTexts.emplace(bytes, text);
  return text;
}

Inspection ClientProbe::Read() {
  Inspection inspection;
  CARVEX_CLIENT_PROBE_PROTOCOL& client = *protocol_;

  inspection.dimmCount = client.GetDimmCount();
  Record(inspection, "GetDimmCount", EFI_SUCCESS);

  DIMM_DETAILS* details = nullptr;
  UINT32 count = 0;
  EFI_STATUS status = client.GetDimmDetails(&details, &count);
  Record(inspection, "GetDimmDetails", status);
  // The array is the caller's once handed over, even when a health query failed.
  for (UINT32 index = 0; details != nullptr && index < count; ++index) {
    ModuleReport module;
    module.details = details[index];
    module.locator = Text(details[index].DeviceLocator);
    module.uid = Text(details[index].DimmUid);
    module.firmware = Text(details[index].FwVer);
    inspection.modules.push_back(module);
  }
  client.FreePool(details);

  UINT16 sockets[MAX_SOCKETS] = {};
  UINT32 socketCount = MAX_SOCKETS;
  status = client.GetSockets(sockets, &socketCount);
  Record(inspection, "GetSockets", status);
  if (!EFI_ERROR(status)) inspection.sockets.assign(sockets, sockets + socketCount);

  status = client.GetMemoryResourcesInfo();
  Record(inspection, "GetMemoryResourcesInfo", status);
  inspection.totals.raw = client.GetTotalRawCapacity(FALSE);
  inspection.totals.volatileSize = client.GetTotalVolatileCapacity(FALSE);
  inspection.totals.appDirect = client.GetTotalAppDirectCapacity(FALSE);
  inspection.totals.unconfigured = client.GetTotalUnconfiguredCapacity(FALSE);
  inspection.totals.inaccessible = client.GetTotalInaccessibleCapacity(FALSE);
  inspection.totals.reserved = client.GetTotalReservedCapacity(FALSE);

  REGION_DETAILS* regions = nullptr;
  UINT32 regionCount = 0;
  status = client.GetRegionDetails(&regions, &regionCount);
  Record(inspection, "GetRegionDetails", status);
  if (!EFI_ERROR(status) && regions != nullptr) inspection.regions.assign(regions, regions + regionCount);
  client.FreePool(regions);
  for (const REGION_DETAILS& region : inspection.regions) {
    CHAR16 appDirect[] = u"App Direct";
    CHAR16 notInterleaved[] = u"App Direct Not Interleaved";
    CHAR16* text = nullptr;
    status = client.ConvertPersistentMemoryTypeToStr(region.RegionType, appDirect, notInterleaved, &text);
    Record(inspection, "ConvertPersistentMemoryTypeToStr", status);
    inspection.regionTypes[region.RegionId] = EFI_ERROR(status) ? "?" : Utf16ToUtf8(FromChar16(text));
    client.FreePool(text);
  }

  NAMESPACE_DETAILS* namespaces = nullptr;
  UINT32 namespaceCount = 0;
  status = client.GetNamespaceDetails(&namespaces, &namespaceCount);
  Record(inspection, "GetNamespaceDetails", status);
  for (UINT32 index = 0; namespaces != nullptr && index < namespaceCount; ++index) {
    NamespaceReport report;
    report.record = namespaces[index];
    report.name = std::string(namespaces[index].Name, strnlen(namespaces[index].Name, NAMESPACE_NAME_LENGTH));
    report.guid = GuidText(namespaces[index].NamespaceGuid);
    inspection.namespaces.push_back(report);
  }
  client.FreePool(namespaces);

  // The record is large; it is cleared before each query, as the goal page does.
  auto pending = std::make_unique<PENDING_GOAL_DETAILS>();
  status = client.GetPendingGoalDetails(pending.get());
  Record(inspection, "GetPendingGoalDetails", status);
  for (UINT32 index = 0; index < pending->Count && index < GOAL_TABLE_ENTRIES; ++index) {
    inspection.goals.push_back(GoalReport{pending->SocketId[index], pending->DimmHandle[index],
                                          pending->VolatileSize[index], pending->AppDirect1Size[index],
                                          pending->AppDirect2Size[index]});
  }

  UINT8 security = 0;
  BOOLEAN unlockedOrFrozen = FALSE;
  status = client.GetSystemSecurityState(&security, &unlockedOrFrozen);
  Record(inspection, "GetSystemSecurityState", status);
  inspection.securityState = security;
  inspection.unlockedOrFrozen = unlockedOrFrozen;
  BOOLEAN locked = FALSE;
  status = client.LockedDcpmmsExist(&locked);
  Record(inspection, "LockedDcpmmsExist", status);
  inspection.lockedModules = locked;
  inspection.scrubInProgress = client.IsArsInProgress();

  // Capacity texts last, so that every value above has one.
  for (const ModuleReport& module : inspection.modules) {
    const DIMM_DETAILS& d = module.details;
    for (std::uint64_t bytes : {d.Capacity, d.VolatileCapacity, d.AppDirectCapacity, d.UnconfiguredCapacity,
                                d.ReservedCapacity, d.InaccessibleCapacity}) {
      CapacityText(inspection, bytes);
    }
  }
  const CapacityTotals& t = inspection.totals;
  for (std::uint64_t bytes : {t.raw, t.volatileSize, t.appDirect, t.unconfigured, t.inaccessible, t.reserved}) {
    CapacityText(inspection, bytes);
  }
  for (const REGION_DETAILS& region : inspection.regions) {
    CapacityText(inspection, region.Capacity);
    CapacityText(inspection, region.FreeCapacity);
    CapacityText(inspection, region.AppDirNamespaceMaxSize);
    CapacityText(inspection, region.AppDirNamespaceMinSize);
  }
  for (const NamespaceReport& ns : inspection.namespaces) {
    CapacityText(inspection, ns.record.BlockSize * ns.record.BlockCount);
  }
  for (const GoalReport& goal : inspection.goals) {
    CapacityText(inspection, goal.volatileSize);
    CapacityText(inspection, goal.appDirect1Size);
    CapacityText(inspection, goal.appDirect2Size);
  }
  return inspection;
}

}  // namespace carvex::sim::devices

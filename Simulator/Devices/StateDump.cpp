#include "StateDump.hpp"

#include <cinttypes>
#include <cstdio>

#include "JsonReader.hpp"
#include "Names.hpp"

namespace carvex::sim::devices {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kDefaultMappedMemoryLimit = 0x40000000000ull;

template <std::size_t N>
std::string Narrow(const CHAR16 (&text)[N]) {
  std::string out;
  for (std::size_t index = 0; index < N && text[index] != 0; ++index) {
    out += text[index] < 0x80 ? static_cast<char>(text[index]) : '?';
  }
  return out;
}

template <std::size_t N>
std::string Narrow(const CHAR8 (&text)[N]) {
  std::string out;
  for (std::size_t index = 0; index < N && text[index] != 0; ++index) out += text[index];
  return out;
}

std::string Firmware(const NVM_MODEL_DIMM& dimm) {
  char text[32];
  std::snprintf(text, sizeof text, "%02u.%02u.%02u.%04u", dimm.FwMajor, dimm.FwMinor, dimm.FwHotfix, dimm.FwBuild);
  return text;
}

std::string GuidText(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof text, "%08" PRIX32 "-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", guid.Data1, guid.Data2,
                guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return text;
}

Json Sockets(const NVM_MODEL& model) {
  unsigned count = 0;
  bool defaults = true;
  for (const NVM_MODEL_SOCKET& socket : model.Sockets) {
    if (!socket.Present) break;
    ++count;
    defaults = defaults && socket.MappedMemoryLimit == kDefaultMappedMemoryLimit;
  }
  if (defaults) return count;
  Json sockets = Json::array();
  for (unsigned index = 0; index < count; ++index) {
    sockets.push_back({{"mappedMemoryLimit", SizeValue(model.Sockets[index].MappedMemoryLimit)}});
  }
  return sockets;
}

Json Module(const NVM_MODEL_DIMM& dimm, bool scrubAtBoot) {
  Json module;
  module["id"] = dimm.DimmId;
  module["socket"] = dimm.SocketId;
  module["slot"] = dimm.SlotNumber;
  module["locator"] = Narrow(dimm.DeviceLocator);
  module["uid"] = Narrow(dimm.DimmUid);
  module["firmware"] = Firmware(dimm);
  module["ids"] = {{"vendor", Hex(dimm.VendorId, 4)},
                   {"device", Hex(dimm.DeviceId, 4)},
                   {"subsystemVendor", Hex(dimm.SubsystemVendorId, 4)},
                   {"subsystemDevice", Hex(dimm.SubsystemDeviceId, 4)}};
  module["handle"] = Hex(dimm.DimmHandle, 4);
  module["capacity"] = {{"raw", SizeValue(dimm.RawCapacity)},
                        {"volatile", SizeValue(dimm.VolatileCapacity)},
                        {"appDirect", SizeValue(dimm.AppDirectCapacity)},
                        {"reserved", SizeValue(dimm.ReservedCapacity)},
                        {"unconfigured", SizeValue(dimm.UnconfiguredCapacity)},
                        {"inaccessible", SizeValue(dimm.InaccessibleCapacity)}};
  module["configured"] = dimm.Configured != 0;
  module["memoryType"] = NameOf(MemoryTypeNames(), dimm.PersistentMemType);
  module["percentageRemaining"] = dimm.PercentageRemaining;
  module["alarm"] = {{"threshold", dimm.AlarmThreshold}, {"enabled", dimm.AlarmEnabled != 0}};
  module["healthStatus"] = dimm.HealthStatus;
  module["temperature"] = {{"media", dimm.MediaTemperature}, {"controller", dimm.ControllerTemperature}};

  Json security;
  security["state"] = !dimm.SecurityEnabled ? "disabled" : dimm.Locked ? "locked" : "unlocked";
  if (dimm.SecurityEnabled) security["passphrase"] = Narrow(dimm.Passphrase);
  security["frozen"] = dimm.Frozen != 0;
  security["freezeAtPowerUp"] = dimm.FreezeAtPowerUp != 0;
  security["wrongPassphrases"] = dimm.WrongPassphrases;
  security["eraseCount"] = dimm.EraseCount;
  module["security"] = security;

  module["scrub"] = {{"status", NameOf(ScrubStatusNames(), dimm.ArsStatus)},
                     {"start", Hex(dimm.ArsStart, 1)},
                     {"end", Hex(dimm.ArsEnd, 1)},
                     {"current", Hex(dimm.ArsCurrent, 1)},
                     {"atBoot", scrubAtBoot}};
  if (dimm.Goal.Pending) {
    module["goal"] = {{"memoryType", NameOf(MemoryTypeNames(), dimm.Goal.PersistentMemType)},
                      {"volatilePercent", dimm.Goal.VolatilePercent},
                      {"reservedPercent", dimm.Goal.ReservedPercent}};
  }
  return module;
}

Json Fault(const char* slotName, std::uint32_t mode, std::uint32_t skip, std::uint32_t count, EFI_STATUS status) {
  Json fault;
  fault["slot"] = slotName;
  fault["mode"] = NameOf(FaultModeNames(), mode);
  if (mode == NvmFaultTimes) fault["count"] = count;
  fault["skip"] = skip;
  fault["status"] = EfiStatusName(status);
  return fault;
}

std::string SlotName(const std::vector<NamedValue>& names, std::size_t slot) {
  std::string name = NameOf(names, slot);
  return name.empty() ? std::to_string(slot) : name;
}

Json Bmc(const BMC_MODEL& model) {
  Json bmc;
  Json files = Json::array();
  for (const BMC_FILE& file : model.Files) {
    if (!file.Present) continue;
    // Text up to its first NUL with only zeros after it reads back exactly.
    std::size_t length = 0;
    while (length < file.Size && file.Data[length] >= 0x20 && file.Data[length] < 0x7F) ++length;
    bool padded = true;
    for (std::size_t at = length; at < file.Size; ++at) padded = padded && file.Data[at] == 0;
    Json entry;
    entry["id"] = file.FileId;
    if (padded) {
      entry["text"] = std::string(reinterpret_cast<const char*>(file.Data), length);
      if (length != file.Size) entry["size"] = file.Size;
    } else {
      std::string hex;
      char pair[3];
      for (std::size_t at = 0; at < file.Size; ++at) {
        std::snprintf(pair, sizeof pair, "%02X", file.Data[at]);
        hex += pair;
      }
      entry["hex"] = hex;
    }
    files.push_back(entry);
  }
  bmc["files"] = files;
  Json audit = Json::array();
  for (std::uint32_t index = 0; index < model.AuditCount && index < BMC_MAX_AUDIT_EVENTS; ++index) {
    const BMC_AUDIT_EVENT& event = model.Audit[index];
    audit.push_back({{"sequence", event.Sequence},
                     {"code", Hex(event.EventCode, 4)},
                     {"id", Narrow(event.MessageId)},
                     {"text", Narrow(event.MessageText)}});
  }
  bmc["audit"] = audit;
  bmc["auditSequence"] = model.AuditSequence;
  bmc["remotePresence"] = {{"enabled", model.RemotePresenceEnabled != 0},
                           {"asserted", model.RemotePresenceAsserted != 0}};
  Json lan = Json::array();
  for (std::uint32_t index = 0; index < model.LanEntryCount && index < BMC_MAX_LAN_ENTRIES; ++index) {
    lan.push_back(Hex(model.LanTable[index], 16));
  }
  bmc["lanTable"] = lan;
  Json faults = Json::array();
  for (std::size_t slot = 0; slot < BMC_SLOT_COUNT; ++slot) {
    const BMC_FAULT& fault = model.Faults[slot];
    if (fault.Mode == BmcFaultOff) continue;
    Json entry = Fault(SlotName(BmcSlotNames(), slot).c_str(), fault.Mode, fault.Skip, fault.Count, fault.Status);
    entry["completionCode"] = Hex(fault.CompletionCode, 2);
    faults.push_back(entry);
  }
  bmc["faults"] = faults;
  return bmc;
}

}  // namespace

nlohmann::ordered_json DumpDeviceState(const DeviceState& state) {
  const NVM_MODEL& model = *state.nvm;
  Json dump;
  dump["description"] = "Module and controller state of a simulated machine (a platform file)";
  dump["sockets"] = Sockets(model);
  Json modules = Json::array();
  for (std::uint32_t index = 0; index < model.DimmCount && index < NVM_MAX_DIMMS; ++index) {
    modules.push_back(Module(model.Dimms[index], state.scrubAtBoot.count(model.Dimms[index].DimmId) != 0));
  }
  dump["modules"] = modules;

  Json regions = Json::array();
  for (const NVM_MODEL_REGION& region : model.Regions) {
    if (!region.Present) continue;
    Json members = Json::array();
    for (UINT16 index = 0; index < region.DimmCount && index < REGION_MAX_DIMMS; ++index) {
      members.push_back(region.DimmIds[index]);
    }
    regions.push_back({{"id", region.RegionId},
                       {"socket", region.SocketId},
                       {"type", NameOf(RegionTypeNames(), region.RegionType)},
                       {"modules", members}});
  }
  dump["regions"] = regions;

  Json namespaces = Json::array();
  for (const NVM_MODEL_NAMESPACE& ns : model.Namespaces) {
    if (!ns.Present) continue;
    namespaces.push_back({{"id", ns.NamespaceId},
                          {"region", ns.RegionId},
                          {"name", Narrow(ns.Name)},
                          {"blockSize", ns.BlockSize},
                          {"blockCount", ns.BlockCount},
                          {"guid", GuidText(ns.Guid)},
                          {"inUse", ns.InUse != 0},
                          {"health", NameOf(NamespaceHealthNames(), ns.HealthState)}});
  }
  dump["namespaces"] = namespaces;

  Json faults = Json::array();
  for (std::size_t slot = 0; slot < NVM_SLOT_COUNT; ++slot) {
    const NVM_FAULT& fault = model.Faults[slot];
    if (fault.Mode == NvmFaultOff) continue;
    Json entry = Fault(SlotName(NvmSlotNames(), slot).c_str(), fault.Mode, fault.Skip, fault.Count, fault.Status);
    entry["nvmStatus"] = fault.NvmStatus;
    entry["mailboxStatus"] = fault.MailboxStatus;
    faults.push_back(entry);
  }
  dump["faults"] = faults;
  dump["securityJumper"] = state.securityJumperFitted;
  dump["bootCount"] = model.BootCount;
  dump["namespaceSerial"] = model.NamespaceSerial;
  dump["bmc"] = Bmc(*state.bmc);
  return dump;
}

}  // namespace carvex::sim::devices

#include "PlatformFile.hpp"

#include <fstream>
#include <map>
#include <sstream>

#include "NvmDimm/NvmDimmDevice.h"

namespace carvex::sim::devices {

namespace {

constexpr std::uint64_t kDefaultMappedMemoryLimit = 0x40000000000ull;  // the model's default
constexpr std::size_t kPassphraseMax = NVM_PASSPHRASE_MAX;

void CopyText(CHAR16* destination, std::size_t capacity, const std::string& text) {
  std::size_t index = 0;
  for (; index < text.size() && index + 1 < capacity; ++index) {
    destination[index] = static_cast<CHAR16>(static_cast<unsigned char>(text[index]));
  }
  destination[index] = 0;
}

void CopyAscii(CHAR8* destination, std::size_t capacity, const std::string& text) {
  std::size_t index = 0;
  for (; index < text.size() && index + 1 < capacity; ++index) destination[index] = text[index];
  destination[index] = 0;
}

// "01.02.00.5375": the four numbers of a module's firmware version.
void ParseFirmware(const JsonField& field, NVM_MODEL_DIMM& dimm) {
  const std::string text = field.Text(32);
  unsigned values[4];
  char tail = 0;
  if (std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &values[0], &values[1], &values[2], &values[3], &tail) != 4 ||
      values[0] > 0xFF || values[1] > 0xFF || values[2] > 0xFF || values[3] > 0xFFFF) {
    field.Fail("expected a version such as \"01.02.00.5375\" (three numbers up to 255, then one up to 65535)");
  }
  dimm.FwMajor = static_cast<UINT8>(values[0]);
  dimm.FwMinor = static_cast<UINT8>(values[1]);
  dimm.FwHotfix = static_cast<UINT8>(values[2]);
  dimm.FwBuild = static_cast<UINT16>(values[3]);
}

EFI_GUID ParseGuid(const JsonField& field) {
  const std::string text = field.Text(36);
  unsigned int data1 = 0, data2 = 0, data3 = 0, bytes[8] = {};
  char tail = 0;
  if (text.size() != 36 ||
      std::sscanf(text.c_str(), "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x%c", &data1, &data2, &data3, &bytes[0],
                  &bytes[1], &bytes[2], &bytes[3], &bytes[4], &bytes[5], &bytes[6], &bytes[7], &tail) != 11) {
    field.Fail("expected a GUID such as \"4E530001-0001-4001-8000-000000000001\"");
  }
  EFI_GUID guid{};
  guid.Data1 = data1;
  guid.Data2 = static_cast<UINT16>(data2);
  guid.Data3 = static_cast<UINT16>(data3);
  for (int index = 0; index < 8; ++index) guid.Data4[index] = static_cast<UINT8>(bytes[index]);
  return guid;
}

struct ModuleExtras {
  std::optional<JsonField> capacity;  // the object form, with a split
  std::optional<JsonField> goal;
  std::optional<JsonField> security;
  std::optional<JsonField> scrub;
};

class Builder {
 public:
  explicit Builder(const nlohmann::json& document) : root_(document, "") {}

  DeviceState Build() {
    root_.AllowOnly({"description", "sockets", "handleUpperBits", "modules", "regions", "namespaces", "faults", "bmc",
                     "securityJumper", "bootCount", "namespaceSerial"});
    if (auto text = root_.Optional("description")) text->Text(4096);
    ReadSockets();
    ReadModules();
    Initialize();
    ApplyModuleFields();
    ApplyCapacitySplits();
    if (auto regions = root_.Optional("regions")) ApplyRegions(*regions);
    ApplyGoals();
    if (auto namespaces = root_.Optional("namespaces")) ApplyNamespaces(*namespaces);
    ApplySecurityAndScrub();
    if (auto faults = root_.Optional("faults")) ApplyNvmFaults(*faults);
    if (auto count = root_.Optional("bootCount")) state_.nvm->BootCount = static_cast<UINT32>(count->Unsigned(0xFFFFFFFF));
    if (auto serial = root_.Optional("namespaceSerial")) {
      state_.nvm->NamespaceSerial = static_cast<UINT32>(serial->Unsigned(0xFFFFFFFF));
    }
    ReadBmc();
    if (auto jumper = root_.Optional("securityJumper")) state_.securityJumperFitted = jumper->Bool();
    Check();
    return std::move(state_);
  }

 private:
  void ReadSockets() {
    const JsonField field = root_.Member("sockets");
    if (field.Value().is_array()) {
      const auto sockets = field.Elements(NVM_MAX_SOCKETS);
      if (sockets.empty()) field.Fail("at least one socket");
      for (const JsonField& socket : sockets) {
        socket.AllowOnly({"mappedMemoryLimit"});
        std::uint64_t limit = kDefaultMappedMemoryLimit;
        if (auto value = socket.Optional("mappedMemoryLimit")) limit = value->Size();
        mappedMemoryLimits_.push_back(limit);
      }
    } else {
      const std::uint64_t count = field.Unsigned(NVM_MAX_SOCKETS);
      if (count == 0) field.Fail("at least one socket");
      mappedMemoryLimits_.assign(count, kDefaultMappedMemoryLimit);
    }
    description_.SocketCount = static_cast<UINT32>(mappedMemoryLimits_.size());
    if (auto bits = root_.Optional("handleUpperBits")) {
      description_.HandleUpperBits = static_cast<UINT32>(bits->Unsigned(0xFFFFFFFF));
    }
  }

  void ReadModules() {
    const auto modules = root_.Member("modules").Elements(NVM_MAX_DIMMS);
    std::map<std::uint64_t, std::string> slots;
    std::vector<unsigned> perSocket(description_.SocketCount, 0);
    for (std::size_t index = 0; index < modules.size(); ++index) {
      const JsonField& module = modules[index];
      module.AllowOnly({"id", "socket", "slot", "locator", "uid", "firmware", "ids", "handle", "capacity",
                        "configured", "memoryType", "volatilePercent", "percentageRemaining", "alarm", "healthStatus",
                        "temperature", "security", "scrub", "goal"});
      NVM_DIMM_DESCRIPTION& dimm = description_.Dimms[index];
      if (auto id = module.Optional("id"); id && id->Unsigned(0xFFFF) != index + 1) {
        id->Fail("expected " + std::to_string(index + 1) + ": modules are numbered 1, 2, ... in the order listed");
      }
      const JsonField socket = module.Member("socket");
      const std::uint64_t socketId = socket.Unsigned(NVM_MAX_SOCKETS - 1);
      if (socketId >= description_.SocketCount) {
        socket.Fail("socket " + std::to_string(socketId) + " does not exist (the board has " +
                    std::to_string(description_.SocketCount) + ")");
      }
      if (++perSocket[socketId] > REGION_MAX_DIMMS) {
        socket.Fail("more than " + std::to_string(REGION_MAX_DIMMS) + " modules on socket " + std::to_string(socketId));
      }
      dimm.SocketId = static_cast<UINT16>(socketId);
      const JsonField slot = module.Member("slot");
      dimm.SlotNumber = static_cast<UINT16>(slot.Unsigned(0xFFFF));
      if (auto [other, inserted] = slots.emplace(dimm.SlotNumber, module.Path()); !inserted) {
        slot.Fail("slot " + std::to_string(dimm.SlotNumber) + " is already taken by " + other->second);
      }
      if (auto locator = module.Optional("locator")) {
        CopyText(dimm.DeviceLocator, DIMM_DEVICE_LOCATOR_LENGTH, locator->Text(DIMM_DEVICE_LOCATOR_LENGTH - 1));
      }
      if (auto uid = module.Optional("uid")) CopyText(dimm.DimmUid, DIMM_UID_LENGTH, uid->Text(DIMM_UID_LENGTH - 1));

      ModuleExtras extras;
      ReadCapacity(module, dimm, extras);
      dimm.Configured = 1;
      if (auto configured = module.Optional("configured")) dimm.Configured = configured->Bool() ? 1 : 0;
      dimm.PersistentMemType = GOAL_MEMORY_TYPE_APP_DIRECT;
      if (auto type = module.Optional("memoryType")) {
        dimm.PersistentMemType = static_cast<UINT8>(type->Named(MemoryTypeNames(), false));
      }
      if (auto percent = module.Optional("volatilePercent")) {
        if (extras.capacity) percent->Fail("give either volatilePercent or the capacity split, not both");
        dimm.VolatilePercent = static_cast<UINT8>(percent->Unsigned(100));
      }
      dimm.PercentageRemaining = 100;
      if (auto remaining = module.Optional("percentageRemaining")) {
        dimm.PercentageRemaining = static_cast<UINT8>(remaining->Unsigned(100));
      }
      ReadSecurityDescription(module, dimm, extras);
      extras.goal = module.Optional("goal");
      extras.scrub = module.Optional("scrub");
      modules_.push_back(module);
      extras_.push_back(extras);
    }
    description_.DimmCount = static_cast<UINT32>(modules.size());
  }

  void ReadCapacity(const JsonField& module, NVM_DIMM_DESCRIPTION& dimm, ModuleExtras& extras) {
    const JsonField capacity = module.Member("capacity");
    std::uint64_t raw;
    if (capacity.Value().is_object()) {
      capacity.AllowOnly({"raw", "volatile", "appDirect", "reserved", "unconfigured", "inaccessible"});
      const JsonField rawField = capacity.Member("raw");
      raw = rawField.Size();
      for (const char* part : {"volatile", "appDirect", "reserved", "unconfigured", "inaccessible"}) {
        if (capacity.Optional(part)) extras.capacity = capacity;
      }
      if (raw < NVM_CAPACITY_ALIGNMENT) rawField.Fail("a module holds at least 1 GiB");
    } else {
      raw = capacity.Size();
      if (raw < NVM_CAPACITY_ALIGNMENT) capacity.Fail("a module holds at least 1 GiB");
    }
    dimm.RawCapacity = raw;
  }

  void ReadSecurityDescription(const JsonField& module, NVM_DIMM_DESCRIPTION& dimm, ModuleExtras& extras) {
    extras.security = module.Optional("security");
    if (!extras.security) return;
    const JsonField& security = *extras.security;
    security.AllowOnly({"state", "passphrase", "frozen", "freezeAtPowerUp", "wrongPassphrases", "eraseCount"});
    static const std::vector<NamedValue> kStates = {{"disabled", 0}, {"enabled", 1}, {"locked", 2}, {"unlocked", 3}};
    std::uint64_t state = 0;
    if (auto field = security.Optional("state")) state = field->Named(kStates, false);
    dimm.SecurityEnabled = state != 0 ? 1 : 0;
    if (auto passphrase = security.Optional("passphrase")) {
      const std::string text = passphrase->Text(kPassphraseMax);
      if (!dimm.SecurityEnabled) passphrase->Fail("only a module with security enabled has a passphrase");
      if (text.empty()) passphrase->Fail("a passphrase has at least one character");
      CopyText(dimm.Passphrase, NVM_PASSPHRASE_MAX + 1, text);
    } else if (dimm.SecurityEnabled) {
      security.Fail("a module with security enabled needs its \"passphrase\"");
    }
    if (auto freeze = security.Optional("freezeAtPowerUp")) dimm.FreezeAtPowerUp = freeze->Bool() ? 1 : 0;
  }

  void Initialize() {
    const EFI_STATUS status = NvmModelInitialize(state_.nvm.get(), &description_);
    if (EFI_ERROR(status)) {
      root_.Fail("the module model refused the board (" + EfiStatusName(status) + ")");
    }
    for (std::size_t index = 0; index < mappedMemoryLimits_.size(); ++index) {
      state_.nvm->Sockets[index].MappedMemoryLimit = mappedMemoryLimits_[index];
    }
  }

  NVM_MODEL_DIMM& Dimm(std::size_t index) { return state_.nvm->Dimms[index]; }

  void ApplyModuleFields() {
    std::map<std::uint32_t, std::string> handles;
    for (std::size_t index = 0; index < modules_.size(); ++index) {
      const JsonField& module = modules_[index];
      NVM_MODEL_DIMM& dimm = Dimm(index);
      if (auto firmware = module.Optional("firmware")) ParseFirmware(*firmware, dimm);
      if (auto ids = module.Optional("ids")) {
        ids->AllowOnly({"vendor", "device", "subsystemVendor", "subsystemDevice"});
        if (auto id = ids->Optional("vendor")) dimm.VendorId = static_cast<UINT16>(id->Unsigned(0xFFFF));
        if (auto id = ids->Optional("device")) dimm.DeviceId = static_cast<UINT16>(id->Unsigned(0xFFFF));
        if (auto id = ids->Optional("subsystemVendor")) dimm.SubsystemVendorId = static_cast<UINT16>(id->Unsigned(0xFFFF));
        if (auto id = ids->Optional("subsystemDevice")) dimm.SubsystemDeviceId = static_cast<UINT16>(id->Unsigned(0xFFFF));
      }
      std::optional<JsonField> handleField = module.Optional("handle");
      if (handleField) dimm.DimmHandle = static_cast<UINT32>(handleField->Unsigned(0xFFFFFFFF));
      if (auto [other, inserted] = handles.emplace(dimm.DimmHandle, module.Path()); !inserted) {
        (handleField ? *handleField : module).Fail("handle " + Hex(dimm.DimmHandle, 4) + " is already used by " + other->second);
      }
      dimm.AlarmEnabled = 1;
      if (auto alarm = module.Optional("alarm")) {
        alarm->AllowOnly({"threshold", "enabled"});
        if (auto threshold = alarm->Optional("threshold")) dimm.AlarmThreshold = static_cast<UINT16>(threshold->Unsigned(100));
        if (auto enabled = alarm->Optional("enabled")) dimm.AlarmEnabled = enabled->Bool() ? 1 : 0;
      }
      if (auto health = module.Optional("healthStatus")) dimm.HealthStatus = static_cast<UINT8>(health->Unsigned(0xFF));
      if (auto temperature = module.Optional("temperature")) {
        temperature->AllowOnly({"media", "controller"});
        if (auto media = temperature->Optional("media")) dimm.MediaTemperature = static_cast<UINT16>(media->Unsigned(0xFFFF));
        if (auto controller = temperature->Optional("controller")) {
          dimm.ControllerTemperature = static_cast<UINT16>(controller->Unsigned(0xFFFF));
        }
      }
    }
  }

  // An explicit split is applied the way the platform applies a goal, so
  // that the regions follow from it.
  void ApplyCapacitySplits() {
    bool any = false;
    for (std::size_t index = 0; index < modules_.size(); ++index) {
      if (!extras_[index].capacity) continue;
      const JsonField& capacity = *extras_[index].capacity;
      NVM_MODEL_DIMM& dimm = Dimm(index);
      std::uint64_t parts[5] = {};
      const char* const names[5] = {"volatile", "appDirect", "reserved", "unconfigured", "inaccessible"};
      std::uint64_t sum = 0;
      for (int part = 0; part < 4; ++part) {
        if (auto field = capacity.Optional(names[part])) parts[part] = field->Size();
        sum += parts[part];
      }
      if (sum > dimm.RawCapacity) {
        capacity.Fail("volatile, appDirect, reserved and unconfigured add up to " + std::to_string(sum) +
                      " bytes, more than the raw " + std::to_string(dimm.RawCapacity));
      }
      parts[4] = dimm.RawCapacity - sum;
      if (auto field = capacity.Optional("inaccessible"); field && field->Size() != parts[4]) {
        field->Fail("the five parts add up to " + std::to_string(sum + field->Size()) + " bytes, but raw is " +
                    std::to_string(dimm.RawCapacity));
      }
      if (dimm.Configured) {
        if (parts[3] != 0) capacity.Member("unconfigured").Fail("a configured module has no unconfigured capacity");
        dimm.Goal.Pending = 1;
        dimm.Goal.PersistentMemType = dimm.PersistentMemType;
        dimm.Goal.VolatileSize = parts[0];
        dimm.Goal.AppDirectSize = parts[1];
        dimm.Goal.ReservedSize = parts[2];
        any = true;
      } else {
        if (parts[0] != 0 || parts[1] != 0 || parts[2] != 0) {
          capacity.Fail("an unconfigured module has only unconfigured and inaccessible capacity");
        }
        dimm.UnconfiguredCapacity = parts[3];
        dimm.InaccessibleCapacity = parts[4];
      }
    }
    if (any) NvmModelMemoryInit(state_.nvm.get());
  }

  void ApplyRegions(const JsonField& field) {
    NVM_MODEL& model = *state_.nvm;
    for (auto& region : model.Regions) region = NVM_MODEL_REGION{};
    std::map<std::uint64_t, std::string> regionIds;
    std::map<std::uint64_t, std::string> members;
    const auto regions = field.Elements(NVM_MAX_REGIONS);
    for (std::size_t index = 0; index < regions.size(); ++index) {
      const JsonField& entry = regions[index];
      entry.AllowOnly({"id", "socket", "type", "modules"});
      NVM_MODEL_REGION& region = model.Regions[index];
      region.Present = 1;
      const JsonField id = entry.Member("id");
      region.RegionId = static_cast<UINT16>(id.Unsigned(0xFFFF));
      if (region.RegionId == 0) id.Fail("region identifiers start at 1");
      if (auto [other, inserted] = regionIds.emplace(region.RegionId, entry.Path()); !inserted) {
        id.Fail("region " + std::to_string(region.RegionId) + " is already defined by " + other->second);
      }
      const JsonField socket = entry.Member("socket");
      region.SocketId = static_cast<UINT16>(socket.Unsigned(NVM_MAX_SOCKETS - 1));
      if (region.SocketId >= description_.SocketCount) socket.Fail("no such socket");
      region.RegionType = static_cast<UINT8>(entry.Member("type").Named(RegionTypeNames(), false));
      const auto dimmIds = entry.Member("modules").Elements(REGION_MAX_DIMMS);
      if (dimmIds.empty()) entry.Member("modules").Fail("a region has at least one module");
      for (const JsonField& dimmId : dimmIds) {
        const std::uint64_t value = dimmId.Unsigned(0xFFFF);
        if (value == 0 || value > model.DimmCount) dimmId.Fail("no module " + std::to_string(value));
        if (model.Dimms[value - 1].SocketId != region.SocketId) {
          dimmId.Fail("module " + std::to_string(value) + " sits on socket " +
                      std::to_string(model.Dimms[value - 1].SocketId) + ", not " + std::to_string(region.SocketId));
        }
        if (auto [other, inserted] = members.emplace(value, entry.Path()); !inserted) {
          dimmId.Fail("module " + std::to_string(value) + " already belongs to " + other->second);
        }
        region.DimmIds[region.DimmCount++] = static_cast<UINT16>(value);
      }
    }
  }

  // Goals go through the vendor protocol's own create, so that they are
  // split and refused exactly as a driver's request would be.
  void ApplyGoals() {
    NVM_DIMM_CONFIG_PROTOCOL* protocol = NvmDimmDeviceConfigProtocol();
    NvmDimmDeviceBind(state_.nvm.get());
    for (std::size_t index = 0; index < modules_.size(); ++index) {
      if (!extras_[index].goal) continue;
      const JsonField& goal = *extras_[index].goal;
      goal.AllowOnly({"memoryType", "volatilePercent", "reservedPercent"});
      UINT8 type = GOAL_MEMORY_TYPE_APP_DIRECT;
      if (auto field = goal.Optional("memoryType")) type = static_cast<UINT8>(field->Named(MemoryTypeNames(), false));
      UINT32 volatilePercent = 0;
      if (auto field = goal.Optional("volatilePercent")) volatilePercent = static_cast<UINT32>(field->Unsigned(100));
      UINT32 reservedPercent = 0;
      if (auto field = goal.Optional("reservedPercent")) reservedPercent = static_cast<UINT32>(field->Unsigned(100));
      UINT16 dimmId = Dimm(index).DimmId;
      COMMAND_STATUS status{};
      const EFI_STATUS result = protocol->CreateGoalConfig(protocol, FALSE, &dimmId, 1, nullptr, 0, type,
                                                           volatilePercent, reservedPercent, 0, 1, 2, &status);
      if (EFI_ERROR(result)) {
        NvmDimmDeviceBind(nullptr);
        const std::string nvm = NameOf(NvmStatusNames(), status.GeneralStatus);
        goal.Fail("the module refused the goal: " + EfiStatusName(result) + ", " +
                  (nvm.empty() ? "NVM status " + std::to_string(status.GeneralStatus) : nvm));
      }
    }
    NvmDimmDeviceBind(nullptr);
    NvmModelClearCallCounts(state_.nvm.get());
  }

  void ApplyNamespaces(const JsonField& field) {
    NVM_MODEL& model = *state_.nvm;
    std::map<UINT16, std::uint64_t> used;
    const auto namespaces = field.Elements(NVM_MAX_NAMESPACES);
    for (std::size_t index = 0; index < namespaces.size(); ++index) {
      const JsonField& entry = namespaces[index];
      entry.AllowOnly({"id", "region", "name", "size", "blockSize", "blockCount", "guid", "inUse", "health"});
      NVM_MODEL_NAMESPACE& ns = model.Namespaces[index];
      ns.Present = 1;
      const JsonField regionField = entry.Member("region");
      ns.RegionId = static_cast<UINT16>(regionField.Unsigned(0xFFFF));
      NVM_MODEL_REGION* region = NvmModelFindRegion(&model, ns.RegionId);
      if (region == nullptr) regionField.Fail("no region " + std::to_string(ns.RegionId));
      const JsonField name = entry.Member("name");
      const std::string text = name.Text(NAMESPACE_NAME_LENGTH - 1);
      if (text.empty()) name.Fail("a namespace has a name");
      CopyAscii(ns.Name, NAMESPACE_NAME_LENGTH, text);
      ns.BlockSize = 512;
      if (auto blockSize = entry.Optional("blockSize")) {
        ns.BlockSize = blockSize->Unsigned(4096);
        if (ns.BlockSize != 1 && ns.BlockSize != 512 && ns.BlockSize != 4096) blockSize->Fail("expected 1, 512 or 4096");
      }
      const auto size = entry.Optional("size");
      const auto blockCount = entry.Optional("blockCount");
      if (size.has_value() == blockCount.has_value()) entry.Fail("give either \"size\" or \"blockCount\"");
      if (size) {
        const std::uint64_t bytes = size->Size();
        if (bytes == 0 || bytes % ns.BlockSize != 0) size->Fail("expected a non-zero multiple of the block size");
        ns.BlockCount = bytes / ns.BlockSize;
      } else {
        ns.BlockCount = blockCount->Unsigned(UINT64_MAX / ns.BlockSize);
        if (ns.BlockCount == 0) blockCount->Fail("a namespace has at least one block");
      }
      const std::uint64_t bytes = ns.BlockSize * ns.BlockCount;
      const std::uint64_t alignment = NVM_CAPACITY_ALIGNMENT * region->DimmCount;
      if (bytes % alignment != 0) {
        (size ? *size : *blockCount).Fail("region " + std::to_string(ns.RegionId) + " takes namespaces in multiples of " +
                                          std::to_string(alignment >> 30) + " GiB");
      }
      std::uint64_t capacity = 0;
      for (UINT16 member = 0; member < region->DimmCount; ++member) {
        capacity += model.Dimms[region->DimmIds[member] - 1].AppDirectCapacity;
      }
      used[ns.RegionId] += bytes;
      if (used[ns.RegionId] > capacity) {
        (size ? *size : *blockCount).Fail("region " + std::to_string(ns.RegionId) + " holds only " +
                                          std::to_string(capacity >> 30) + " GiB of App Direct capacity");
      }
      ns.HealthState = NAMESPACE_HEALTH_HEALTHY;
      if (auto health = entry.Optional("health")) {
        ns.HealthState = static_cast<UINT16>(health->Named(NamespaceHealthNames(), false));
      }
      if (auto inUse = entry.Optional("inUse")) ns.InUse = inUse->Bool() ? 1 : 0;
    }
    // Identifiers and GUIDs: as given, else the lowest free identifier and
    // a GUID made the way the model makes one.
    for (std::size_t index = 0; index < namespaces.size(); ++index) {
      if (auto id = namespaces[index].Optional("id")) {
        const UINT16 value = static_cast<UINT16>(id->Unsigned(0xFFFF));
        if (value == 0) id->Fail("namespace identifiers start at 1");
        for (std::size_t other = 0; other < index; ++other) {
          if (model.Namespaces[other].NamespaceId == value) id->Fail("namespace " + std::to_string(value) + " is taken");
        }
        model.Namespaces[index].NamespaceId = value;
      }
    }
    for (std::size_t index = 0; index < namespaces.size(); ++index) {
      NVM_MODEL_NAMESPACE& ns = model.Namespaces[index];
      if (ns.NamespaceId == 0) {
        UINT16 value = 1;
        while (NvmModelFindNamespace(&model, value) != nullptr) ++value;
        ns.NamespaceId = value;
      }
      if (auto guid = namespaces[index].Optional("guid")) {
        ns.Guid = ParseGuid(*guid);
      } else {
        const NVM_MODEL_REGION* region = NvmModelFindRegion(&model, ns.RegionId);
        model.NamespaceSerial++;
        ns.Guid.Data1 = 0x4E530000 | (model.NamespaceSerial & 0xFFFF);
        ns.Guid.Data2 = ns.RegionId;
        ns.Guid.Data3 = static_cast<UINT16>(0x4000 | (ns.NamespaceId & 0x0FFF));
        ns.Guid.Data4[0] = 0x80;
        ns.Guid.Data4[1] = static_cast<UINT8>(region->SocketId);
      }
    }
  }

  void ApplySecurityAndScrub() {
    for (std::size_t index = 0; index < modules_.size(); ++index) {
      NVM_MODEL_DIMM& dimm = Dimm(index);
      if (const auto& security = extras_[index].security) {
        if (auto state = security->Optional("state")) dimm.Locked = state->Value() == "unlocked" ? 0 : dimm.SecurityEnabled;
        if (auto frozen = security->Optional("frozen")) dimm.Frozen = frozen->Bool() ? 1 : 0;
        if (auto wrong = security->Optional("wrongPassphrases")) {
          dimm.WrongPassphrases = static_cast<UINT8>(wrong->Unsigned(NVM_WRONG_PASSPHRASE_LIMIT));
        }
        if (auto erased = security->Optional("eraseCount")) dimm.EraseCount = static_cast<UINT32>(erased->Unsigned(0xFFFFFFFF));
      }
      if (const auto& scrub = extras_[index].scrub) {
        scrub->AllowOnly({"status", "start", "end", "current", "atBoot"});
        if (auto status = scrub->Optional("status")) {
          dimm.ArsStatus = static_cast<UINT8>(status->Named(ScrubStatusNames(), false));
          dimm.ArsInProgress = dimm.ArsStatus == ARS_STATUS_IN_PROGRESS ? 1 : 0;
        }
        if (auto start = scrub->Optional("start")) dimm.ArsStart = start->Unsigned(UINT64_MAX);
        if (auto end = scrub->Optional("end")) dimm.ArsEnd = end->Unsigned(UINT64_MAX);
        if (auto current = scrub->Optional("current")) dimm.ArsCurrent = current->Unsigned(UINT64_MAX);
        if (dimm.ArsStart > dimm.ArsEnd || dimm.ArsCurrent < dimm.ArsStart || dimm.ArsCurrent > dimm.ArsEnd) {
          scrub->Fail("expected start <= current <= end");
        }
        if (auto atBoot = scrub->Optional("atBoot"); atBoot && atBoot->Bool()) state_.scrubAtBoot.insert(dimm.DimmId);
      }
    }
  }

  struct Fault {
    UINTN slot;
    UINT32 mode;
    UINT32 skip;
    UINT32 count;
    EFI_STATUS status;
  };

  static Fault ReadFault(const JsonField& entry, const std::vector<NamedValue>& slots, std::uint64_t maxSlot) {
    Fault fault{};
    fault.slot = entry.Member("slot").Named(slots, true, maxSlot);
    const JsonField mode = entry.Member("mode");
    static const std::vector<NamedValue> kModes = {
        {"off", NvmFaultOff}, {"once", 100}, {"times", NvmFaultTimes}, {"always", NvmFaultAlways}};
    const std::uint64_t value = mode.Named(kModes, false);
    fault.mode = value == 100 ? static_cast<UINT32>(NvmFaultTimes) : static_cast<UINT32>(value);
    fault.count = value == 100 ? 1 : 0;
    if (auto count = entry.Optional("count")) {
      if (value != NvmFaultTimes) count->Fail("only \"times\" takes a count");
      fault.count = static_cast<UINT32>(count->Unsigned(0xFFFFFFFF));
    }
    if (value == NvmFaultTimes && fault.count == 0) entry.Fail("\"times\" needs a count of at least 1");
    if (auto skip = entry.Optional("skip")) fault.skip = static_cast<UINT32>(skip->Unsigned(0xFFFFFFFF));
    fault.status = EFI_DEVICE_ERROR;
    if (auto status = entry.Optional("status")) {
      fault.status = static_cast<EFI_STATUS>(status->Named(EfiStatusNames(), true, UINT64_MAX));
    }
    return fault;
  }

  void ApplyNvmFaults(const JsonField& field) {
    for (const JsonField& entry : field.Elements(NVM_SLOT_COUNT)) {
      entry.AllowOnly({"slot", "mode", "count", "skip", "status", "nvmStatus", "mailboxStatus"});
      const Fault fault = ReadFault(entry, NvmSlotNames(), NVM_SLOT_COUNT - 1);
      UINT16 nvmStatus = 0;
      if (auto code = entry.Optional("nvmStatus")) nvmStatus = static_cast<UINT16>(code->Named(NvmStatusNames(), true, 0xFFFF));
      if (EFI_ERROR(NvmModelSetFault(state_.nvm.get(), fault.slot, static_cast<NVM_FAULT_MODE>(fault.mode), fault.skip,
                                     fault.count, fault.status, nvmStatus))) {
        entry.Member("slot").Fail("the vendor model has no such slot");
      }
      if (auto mailbox = entry.Optional("mailboxStatus")) {
        state_.nvm->Faults[fault.slot].MailboxStatus = static_cast<UINT8>(mailbox->Unsigned(0xFF));
      }
    }
  }

  void ReadBmc() {
    BMC_MODEL& model = *state_.bmc;
    BmcModelInitialize(&model);
    const auto bmc = root_.Optional("bmc");
    if (!bmc) return;
    bmc->AllowOnly({"files", "audit", "auditSequence", "remotePresence", "lanTable", "faults"});
    if (auto files = bmc->Optional("files")) {
      for (const JsonField& file : files->Elements(BMC_MAX_FILES)) {
        file.AllowOnly({"id", "text", "hex", "size"});
        const JsonField id = file.Member("id");
        const UINT8 fileId = static_cast<UINT8>(id.Unsigned(0xFF));
        if (BmcModelFindFile(&model, fileId) != nullptr) id.Fail("file " + std::to_string(fileId) + " is listed twice");
        std::vector<UINT8> data;
        const auto text = file.Optional("text");
        const auto hex = file.Optional("hex");
        if (text.has_value() == hex.has_value()) file.Fail("give either \"text\" or \"hex\"");
        if (text) {
          for (char c : text->Text(BMC_MAX_FILE_SIZE)) data.push_back(static_cast<UINT8>(c));
        } else {
          const std::string digits = hex->Text(2 * BMC_MAX_FILE_SIZE);
          if (digits.size() % 2 != 0) hex->Fail("expected pairs of hex digits");
          for (std::size_t at = 0; at < digits.size(); at += 2) {
            unsigned byte = 0;
            if (std::sscanf(digits.substr(at, 2).c_str(), "%2x", &byte) != 1 || !std::isxdigit(static_cast<unsigned char>(digits[at + 1]))) {
              hex->Fail("expected pairs of hex digits");
            }
            data.push_back(static_cast<UINT8>(byte));
          }
        }
        if (auto size = file.Optional("size")) {
          const std::uint64_t bytes = size->Unsigned(BMC_MAX_FILE_SIZE);
          if (bytes < data.size()) size->Fail("smaller than the content");
          data.resize(bytes, 0);  // zero padding, as the passphrase file has
        }
        BmcModelPutFile(&model, fileId, data.data(), static_cast<UINT32>(data.size()));
      }
    }
    if (auto audit = bmc->Optional("audit")) {
      const auto events = audit->Elements(BMC_MAX_AUDIT_EVENTS);
      for (std::size_t index = 0; index < events.size(); ++index) {
        const JsonField& event = events[index];
        event.AllowOnly({"sequence", "code", "id", "text"});
        BMC_AUDIT_EVENT& record = model.Audit[index];
        record.EventCode = static_cast<UINT16>(event.Member("code").Unsigned(0xFFFF));
        std::string id = event.Member("id").Text(BMC_AUDIT_ID_LENGTH - 1);
        std::string text = event.Member("text").Text(BMC_AUDIT_TEXT_LENGTH - 1);
        CopyAscii(record.MessageId, BMC_AUDIT_ID_LENGTH, id);
        CopyAscii(record.MessageText, BMC_AUDIT_TEXT_LENGTH, text);
        record.Sequence = static_cast<UINT32>(index + 1);
        if (auto sequence = event.Optional("sequence")) {
          record.Sequence = static_cast<UINT32>(sequence->Unsigned(0xFFFFFFFF));
          if (index != 0 && record.Sequence <= model.Audit[index - 1].Sequence) sequence->Fail("events are listed oldest first");
        }
      }
      model.AuditCount = static_cast<UINT32>(events.size());
      model.AuditSequence = events.empty() ? 0 : model.Audit[events.size() - 1].Sequence;
    }
    if (auto sequence = bmc->Optional("auditSequence")) {
      const UINT32 value = static_cast<UINT32>(sequence->Unsigned(0xFFFFFFFF));
      if (value < model.AuditSequence) sequence->Fail("lower than the newest event's sequence number");
      model.AuditSequence = value;
    }
    if (auto presence = bmc->Optional("remotePresence")) {
      presence->AllowOnly({"enabled", "asserted"});
      if (auto enabled = presence->Optional("enabled")) model.RemotePresenceEnabled = enabled->Bool() ? 1 : 0;
      if (auto asserted = presence->Optional("asserted")) model.RemotePresenceAsserted = asserted->Bool() ? 1 : 0;
    }
    if (auto lan = bmc->Optional("lanTable")) {
      const auto entries = lan->Elements(BMC_MAX_LAN_ENTRIES);
      for (std::size_t index = 0; index < entries.size(); ++index) {
        model.LanTable[index] = entries[index].Unsigned(UINT64_MAX);
      }
      model.LanEntryCount = static_cast<UINT32>(entries.size());
    }
    if (auto faults = bmc->Optional("faults")) {
      for (const JsonField& entry : faults->Elements(BMC_SLOT_COUNT)) {
        entry.AllowOnly({"slot", "mode", "count", "skip", "status", "completionCode"});
        const Fault fault = ReadFault(entry, BmcSlotNames(), BMC_SLOT_COUNT - 1);
        UINT8 code = 0;
        if (auto completion = entry.Optional("completionCode")) code = static_cast<UINT8>(completion->Unsigned(0xFF));
        if (EFI_ERROR(BmcModelSetFault(&model, fault.slot, static_cast<BMC_FAULT_MODE>(fault.mode), fault.skip,
                                       fault.count, fault.status, code))) {
          entry.Member("slot").Fail("the controller model has no such slot");
        }
      }
    }
  }

  void Check() {
    if (EFI_STATUS status = NvmModelValidate(state_.nvm.get()); EFI_ERROR(status)) {
      root_.Fail("the modules, regions and namespaces do not fit together (" + EfiStatusName(status) + ")");
    }
    if (EFI_STATUS status = BmcModelValidate(state_.bmc.get()); EFI_ERROR(status)) {
      root_.Fail("the controller's contents do not fit together (" + EfiStatusName(status) + ")");
    }
  }

  JsonField root_;
  NVM_PLATFORM_DESCRIPTION description_{};
  std::vector<std::uint64_t> mappedMemoryLimits_;
  std::vector<JsonField> modules_;
  std::vector<ModuleExtras> extras_;
  DeviceState state_;
};

}  // namespace

DeviceState DeviceStateFromJson(const nlohmann::json& document) { return Builder(document).Build(); }

DeviceState LoadPlatformFile(const std::filesystem::path& file) {
  std::ifstream in(file);
  if (!in) throw PlatformFileError(file.string() + ": cannot be read");
  nlohmann::json document;
  try {
    document = nlohmann::json::parse(in, nullptr, true, /*ignore_comments=*/true);
  } catch (const nlohmann::json::parse_error& error) {
    throw PlatformFileError(file.string() + ": not valid JSON: " + error.what());
  }
  try {
    return DeviceStateFromJson(document);
  } catch (const PlatformFileError& error) {
    throw PlatformFileError(file.string() + ": " + error.what());
  }
}

DeviceState DefaultDeviceState() {
  DeviceState state;
  NvmModelInitialize(state.nvm.get(), NvmModelDefaultPlatform());
  BmcModelInitialize(state.bmc.get());
  return state;
}

}  // namespace carvex::sim::devices

#include "ConfigManager.hpp"

#include <algorithm>
#include <cstring>

#include <Guid/PlatformVariables.h>

#include "BlockConfig.hpp"
#include "ConfigText.hpp"
#include "IfrScan.hpp"
#include "PackageList.hpp"
#include "Platform/Guid.hpp"

namespace carvex::sim::kiv {

namespace {

constexpr EFI_GUID kKivClassGuid = {0x5C8E9747, 0xA5F7, 0x4593, {0xAF, 0x1F, 0x66, 0xA8, 0x2A, 0xA1, 0x9C, 0xB1}};
constexpr std::size_t kFormSetTitleOffset = 18;  // header, GUID
constexpr std::size_t kFormSetFlagsOffset = 22;  // then title and help
constexpr std::size_t kFormSetClassOffset = 23;

std::string Narrow(std::u16string_view text) {
  std::string out;
  for (char16_t c : text) out.push_back(c < 0x80 ? static_cast<char>(c) : '?');
  return out;
}

std::u16string Widen(std::string_view text) { return std::u16string(text.begin(), text.end()); }

std::u16string HexNumber(std::size_t value) {
  char buffer[24];
  std::snprintf(buffer, sizeof buffer, "%zx", value);
  return Widen(buffer);
}

std::string StatusName(EFI_STATUS status) {
  switch (status) {
    case EFI_SUCCESS: return "Success";
    case EFI_INVALID_PARAMETER: return "Invalid Parameter";
    case EFI_UNSUPPORTED: return "Unsupported";
    case EFI_NOT_FOUND: return "Not Found";
    case EFI_OUT_OF_RESOURCES: return "Out of Resources";
    case EFI_BUFFER_TOO_SMALL: return "Buffer Too Small";
    case EFI_DEVICE_ERROR: return "Device Error";
    default: {
      char buffer[24];
      std::snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(status));
      return buffer;
    }
  }
}

}  // namespace

struct ConfigManager::FormSet {
  EFI_HII_HANDLE handle = nullptr;
  std::u16string title;
  std::vector<std::uint8_t> devicePath;
  std::vector<hii::VarStore> stores;

  std::u16string Header(const hii::VarStore& store) const {
    std::u16string header = u"GUID=";
    header += hii::HexBytes(reinterpret_cast<const std::uint8_t*>(&store.guid), sizeof(EFI_GUID));
    header += u"&NAME=" + hii::HexName(store.name) + u"&PATH=";
    header += hii::HexBytes(devicePath.data(), devicePath.size());
    return header;
  }
};

ConfigManager::ConfigManager(Machine& machine, HiiMachine& hii)
    : machine_(machine), hii_(hii), controller_(machine.StateDirectory()) {
  controller_.Load(&loadWarning_);
  protocol_.kiv.SaveByFormSetTitleKeyword = SaveByFormSetTitleKeyword;
  protocol_.self = this;
  machine.OnStage(BootStage::PlatformProtocols, [this](Machine& m) { StartBoot(m); });
  machine.OnStage(BootStage::BeforePostComplete, [this](Machine& m) { RouteQueued(m); });
  machine.OnStage(BootStage::EndOfPost, [this](Machine& m) { EndOfPost(m); });
  machine.OnStage(BootStage::BeforeEndBoot, [this](Machine&) { controller_.Save(); });
}

ConfigManager::~ConfigManager() = default;

void ConfigManager::StartBoot(Machine& machine) {
  routedKeys_.clear();
  const HostImage image = machine.AttachHostImage(kImageName);
  bootServices_ = image.bootServices;
  EFI_HANDLE handle = nullptr;
  const EFI_STATUS status =
      image.bootServices->InstallProtocolInterface(&handle, &gKivProtocolGuid, EFI_NATIVE_INTERFACE, &protocol_);
  if (EFI_ERROR(status)) {
    machine.Log().Note("configuration manager: the KIV protocol could not be installed", PlatformLog::kPlatformLevel);
  }
}

EFI_STATUS EFIAPI ConfigManager::SaveByFormSetTitleKeyword(KIV_PROTOCOL* This, CHAR16* Keyword) {
  if (This == nullptr || Keyword == nullptr) return EFI_INVALID_PARAMETER;
  auto* protocol = reinterpret_cast<Protocol*>(This);
  return protocol->self->SaveByKeyword(std::u16string(hii::ViewOf(Keyword)), "the driver asked");
}

std::vector<ConfigManager::FormSet> ConfigManager::FormSets() const {
  std::vector<FormSet> found;
  HiiServices* services = hii_.Services();
  if (services == nullptr) return found;
  for (const HiiPackageListInfo& list : services->PackageLists()) {
    for (const auto& package : list.formPackages) {
      const std::uint8_t* ops = hii::FormOps(package);
      const std::size_t length = hii::FormOpsLength(package);
      if (length < kFormSetClassOffset || ops[0] != EFI_IFR_FORM_SET_OP) continue;
      const std::size_t opLength = ops[1] & 0x7F;
      const std::size_t classes = ops[kFormSetFlagsOffset] & 0x3;
      if (opLength > length || kFormSetClassOffset + classes * sizeof(EFI_GUID) > opLength) continue;
      bool marked = false;
      for (std::size_t i = 0; i < classes; ++i) {
        marked |= std::memcmp(ops + kFormSetClassOffset + i * sizeof(EFI_GUID), &kKivClassGuid, sizeof(EFI_GUID)) == 0;
      }
      if (!marked) continue;
      EFI_STRING_ID titleId = 0;
      std::memcpy(&titleId, ops + kFormSetTitleOffset, sizeof(titleId));
      FormSet formSet;
      formSet.handle = list.handle;
      formSet.title = services->String(list.handle, titleId, "en-US").value_or(u"");
      formSet.devicePath = list.devicePath;
      formSet.stores = hii::VarStoresBeforeFirstForm(ops, length);
      found.push_back(std::move(formSet));
    }
  }
  return found;
}

EFI_STATUS ConfigManager::SaveByKeyword(const std::u16string& keyword, const std::string& reason) {
  for (const FormSet& formSet : FormSets()) {
    if (formSet.title == keyword) {
      controller_.Copies()[Narrow(keyword)] = Copy(formSet, reason);
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

FormSetCopy ConfigManager::Copy(const FormSet& formSet, const std::string& reason) {
  FormSetCopy copy;
  copy.boot = BootNumber();
  copy.reason = reason;
  HiiServices* services = hii_.Services();
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = services != nullptr ? services->ConfigRouting() : nullptr;
  for (const hii::VarStore& store : formSet.stores) {
    StoreCopy storeCopy;
    storeCopy.name = Narrow(store.name);
    storeCopy.guid = GuidToString(store.guid);
    storeCopy.size = store.size;
    if (store.kind == hii::VarStore::Kind::NameValue) continue;
    if (routing == nullptr) {
      storeCopy.error = "no configuration routing";
      copy.stores.push_back(std::move(storeCopy));
      continue;
    }
    std::u16string request = formSet.Header(store);
    if (store.kind == hii::VarStore::Kind::Buffer) request += u"&INSTANCE=0000";
    const CHAR16* progress = nullptr;
    CHAR16* results = nullptr;
    const EFI_STATUS status = routing->ExtractConfig(routing, request.c_str(), &progress, &results);
    std::u16string text = results != nullptr ? std::u16string(hii::ViewOf(results)) : std::u16string();
    if (results != nullptr && bootServices_ != nullptr) bootServices_->FreePool(results);
    if (EFI_ERROR(status)) {
      storeCopy.error = "extract: " + StatusName(status);
      copy.stores.push_back(std::move(storeCopy));
      continue;
    }
    // Only the current values: default sections start at "&GUID=".
    const std::size_t defaults = text.find(u"&GUID=");
    if (defaults != std::u16string::npos) text.resize(defaults);
    const std::size_t size = std::max<std::size_t>(store.size, 1);
    std::size_t first = text.find(u"&INSTANCE=");
    const std::u16string header = text.substr(0, std::min(text.find(u"&OFFSET="), first));
    std::vector<std::u16string> parts;
    if (first == std::u16string::npos) {
      parts.push_back(text);
    } else {
      while (first != std::u16string::npos) {
        const std::size_t next = text.find(u"&INSTANCE=", first + 1);
        const std::u16string_view chunk = std::u16string_view(text).substr(first, next - first);
        const std::size_t blocks = chunk.find(u"&OFFSET=");
        parts.push_back(header + std::u16string(blocks == std::u16string::npos ? u"" : chunk.substr(blocks)));
        first = next;
      }
    }
    for (const std::u16string& part : parts) {
      std::vector<std::uint8_t> bytes(size, 0);
      std::size_t blockSize = bytes.size();
      const hii::TextResult result = hii::ConfigToBlockText(part, bytes.data(), blockSize);
      if (EFI_ERROR(result.status)) {
        storeCopy.error = "answer not understood: " + StatusName(result.status);
        break;
      }
      storeCopy.instances.push_back(std::move(bytes));
    }
    copy.stores.push_back(std::move(storeCopy));
  }
  return copy;
}

std::optional<std::vector<std::uint8_t>> ConfigManager::ExtractSingle(const FormSet& formSet, std::size_t store,
                                                                     std::string& error) {
  FormSetCopy copy = Copy(FormSet{formSet.handle, formSet.title, formSet.devicePath, {formSet.stores[store]}}, "");
  if (copy.stores.empty() || !copy.stores[0].error.empty() || copy.stores[0].instances.size() != 1) {
    error = copy.stores.empty() ? "not readable" : copy.stores[0].error;
    if (error.empty()) error = "not a single-instance store";
    return std::nullopt;
  }
  return std::move(copy.stores[0].instances[0]);
}

void ConfigManager::RouteQueued(Machine& machine) {
  std::vector<RequestedValue>& queue = controller_.Queue();
  if (queue.empty()) return;
  controller_.Outcomes().clear();
  controller_.OutcomeBoot() = BootNumber();
  HiiServices* services = hii_.Services();
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = services != nullptr ? services->ConfigRouting() : nullptr;
  const std::vector<FormSet> formSets = FormSets();

  // Stores in the order their first value was queued.
  std::vector<std::string> storeNames;
  for (const RequestedValue& value : queue) {
    if (std::find(storeNames.begin(), storeNames.end(), value.store) == storeNames.end()) {
      storeNames.push_back(value.store);
    }
  }
  for (const std::string& storeName : storeNames) {
    std::vector<std::string> keys;
    for (const RequestedValue& value : queue) {
      if (value.store == storeName && std::find(keys.begin(), keys.end(), value.key) == keys.end()) {
        keys.push_back(value.key);
      }
    }
    auto report = [&](const std::string& text) {
      for (const std::string& key : keys) controller_.Outcomes().push_back({key, text});
    };
    const FormSet* target = nullptr;
    std::size_t storeIndex = 0;
    for (const FormSet& formSet : formSets) {
      for (std::size_t i = 0; i < formSet.stores.size() && target == nullptr; ++i) {
        if (Narrow(formSet.stores[i].name) == storeName) {
          target = &formSet;
          storeIndex = i;
        }
      }
    }
    if (target == nullptr || routing == nullptr) {
      report("not routed: no form set of the configuration manager holds " + storeName + " in this boot");
      continue;
    }
    const hii::VarStore& store = target->stores[storeIndex];
    std::u16string configuration = target->Header(store);
    if (store.kind == hii::VarStore::Kind::Buffer) {
      std::string error;
      auto current = ExtractSingle(*target, storeIndex, error);
      if (!current) {
        report("not routed: " + storeName + " could not be read (" + error + ")");
        continue;
      }
      current->resize(store.size, 0);
      for (const RequestedValue& value : queue) {
        if (value.store != storeName) continue;
        for (std::size_t i = 0; i < value.bytes.size() && value.offset + i < current->size(); ++i) {
          (*current)[value.offset + i] = value.bytes[i];
        }
      }
      configuration += u"&OFFSET=0&WIDTH=" + HexNumber(current->size()) + u"&VALUE=" +
                       hii::HexValueBigEndian(current->data(), current->size());
      std::fill(current->begin(), current->end(), 0);
    } else {
      for (const RequestedValue& value : queue) {
        if (value.store != storeName) continue;
        configuration += u"&OFFSET=" + HexNumber(value.offset) + u"&WIDTH=" + HexNumber(value.bytes.size()) +
                         u"&VALUE=" + hii::HexValueBigEndian(value.bytes.data(), value.bytes.size());
      }
    }
    const CHAR16* progress = nullptr;
    const EFI_STATUS status = routing->RouteConfig(routing, configuration.c_str(), &progress);
    std::fill(configuration.begin(), configuration.end(), u'0');
    if (EFI_ERROR(status)) {
      report("routed to " + storeName + ", refused: " + StatusName(status));
    } else {
      report("routed to " + storeName);
      routedKeys_.insert(routedKeys_.end(), keys.begin(), keys.end());
    }
  }
  controller_.ClearQueue();
  CheckRouted(machine);
  controller_.Save();
}

// What the driver kept of the routed requests, read back from the
// variables it writes.
void ConfigManager::CheckRouted(Machine& machine) {
  static constexpr EFI_GUID kKivFormSetGuid = {0x60314931, 0xFBB6, 0x41A4, {0x84, 0xEB, 0x11, 0xE7, 0xA9, 0x61, 0x7E, 0x1C}};
  static constexpr EFI_GUID kSocketMemoryConfigGuid = {0x98CF19ED, 0x4109, 0x4681, {0xB7, 0x9D, 0x91, 0x96, 0x75, 0x7C, 0x78, 0x24}};
  const auto kivVar = machine.Variables().Data(u"KivVar", kKivFormSetGuid);
  const auto memory = machine.Variables().Data(u"SocketMemoryConfig", kSocketMemoryConfigGuid);
  auto routed = [&](const std::string& key) {
    return std::find(routedKeys_.begin(), routedKeys_.end(), key) != routedKeys_.end();
  };
  if (routed("goal") && kivVar && kivVar->size() > 0x22) {
    if ((*kivVar)[0x20] == 1) {
      controller_.Outcomes().push_back({"goal", "kept for post-complete"});
    } else {
      char text[160];
      std::snprintf(text, sizeof text,
                    "dropped: %u%% memory mode is not possible with PlatformCapabilityMask 0x%llx",
                    (*kivVar)[0x21], static_cast<unsigned long long>(machine.Settings().capabilityMask));
      controller_.Outcomes().push_back({"goal", text});
    }
  }
  if (routed("erase-all")) {
    const bool set = memory && memory->size() > SOCKET_MEMORY_CONFIG_ERASE_ALL_OFFSET &&
                     (*memory)[SOCKET_MEMORY_CONFIG_ERASE_ALL_OFFSET] == 1;
    controller_.Outcomes().push_back(
        {"erase-all", set ? "accepted under physical presence: the next memory initialisation erases every module"
                          : "dropped: physical presence is not asserted"});
  }
  if (routed("profile") && memory && memory->size() > SOCKET_MEMORY_CONFIG_PERF_OFFSET) {
    controller_.Outcomes().push_back(
        {"profile", "the platform holds profile " + std::to_string((*memory)[SOCKET_MEMORY_CONFIG_PERF_OFFSET]) +
                        " for the next memory initialisation"});
  }
}

void ConfigManager::EndOfPost(Machine& machine) {
  // What the driver did with the routed goal and security requests.
  for (const LogLine& line : machine.Log().Lines()) {
    if (line.boot != machine.BootNumber()) continue;
    if (line.text.find("KivCreateGoal:CreateGoal for all:") == 0) {
      controller_.Outcomes().push_back({"goal", "applied: " + line.text.substr(33)});
    } else if (line.text.find("KivCreateGoal:Unable to CreateGoal because of existing namespace.") == 0) {
      controller_.Outcomes().push_back({"goal", "not created: a namespace exists"});
    } else if (line.text.find("KivPostComplete:Exit:") == 0 && !routedKeys_.empty()) {
      controller_.Outcomes().push_back({"post-complete", "requests carried out, status " + line.text.substr(21)});
    }
  }

  static constexpr EFI_GUID kSyncGuid = {0x3E40977A, 0x425E, 0x460F, {0xB9, 0xCD, 0x2D, 0xFA, 0x3E, 0x74, 0xFF, 0x8B}};
  const auto sync = machine.Variables().Data(u"KivSyncWithOob", kSyncGuid);
  const bool resync = sync && !sync->empty() && (*sync)[0] == 1;
  for (const FormSet& formSet : FormSets()) {
    const std::string keyword = Narrow(formSet.title);
    if (resync || controller_.Copies().count(keyword) == 0) {
      controller_.Copies()[keyword] = Copy(formSet, resync ? kSyncReason : "first copy");
    }
  }
  if (sync) machine.Variables().Erase(u"KivSyncWithOob", kSyncGuid);
  controller_.Save();
}

}  // namespace carvex::sim::kiv

#include "ProtocolDatabase.hpp"

#include <algorithm>
#include <cstring>

#include <Protocol/DevicePath.h>

#include "DevicePathUtil.hpp"

namespace carvex::sim {

namespace {

constexpr UINT32 kOpenByChildController = 0x00000008;
constexpr UINT32 kOpenByDriver = 0x00000010;
constexpr UINT32 kOpenExclusive = 0x00000020;

}  // namespace

ProtocolDatabase::ProtocolDatabase(EventManager& events, PlatformLog& log,
                                   EventManager::NameOf nameOf)
    : events_(events), log_(log), nameOf_(std::move(nameOf)) {
  events_.SetCloseListener([this](EFI_EVENT event) { OnEventClosed(event); });
}

ProtocolDatabase::~ProtocolDatabase() { events_.SetCloseListener(nullptr); }

ProtocolDatabase::Handle* ProtocolDatabase::Find(EFI_HANDLE handle) const {
  if (handle == nullptr) {
    return nullptr;
  }
  auto found = handles_.find(handle);
  return found == handles_.end() ? nullptr : found->second.get();
}

ProtocolDatabase::Interface* ProtocolDatabase::FindOn(Handle* handle,
                                                      const GuidKey& protocol) const {
  for (auto& interface : handle->interfaces) {
    if (interface->protocol == protocol) {
      return interface.get();
    }
  }
  return nullptr;
}

ProtocolDatabase::Registration* ProtocolDatabase::FindRegistration(VOID* key) const {
  auto found = registrations_.find(key);
  return found == registrations_.end() ? nullptr : found->second.get();
}

ProtocolDatabase::Interface* ProtocolDatabase::NextFor(const Registration& registration) const {
  auto list = byProtocol_.find(registration.protocol);
  if (list == byProtocol_.end()) {
    return nullptr;
  }
  for (Interface* interface : list->second) {
    if (interface->sequence > registration.position) {
      return interface;
    }
  }
  return nullptr;
}

EFI_GUID* ProtocolDatabase::StableGuid(const GuidKey& protocol) {
  auto& slot = guids_[protocol];
  if (!slot) {
    slot = std::make_unique<EFI_GUID>(protocol.ToEfi());
  }
  return slot.get();
}

void ProtocolDatabase::Notify(const GuidKey& protocol) {
  std::vector<EFI_EVENT> toSignal;
  for (const auto& [key, registration] : registrations_) {
    if (registration->protocol == protocol) {
      toSignal.push_back(registration->event);
    }
  }
  for (EFI_EVENT event : toSignal) {
    events_.SignalEvent(event);
  }
}

void ProtocolDatabase::RemoveHandleIfEmpty(Handle* handle) {
  if (!handle->interfaces.empty()) {
    return;
  }
  handleOrder_.erase(handle->serial);
  auto node = handles_.extract(handle);
  deadHandles_.push_back(std::move(node.mapped()));
}

EFI_STATUS ProtocolDatabase::InstallLocked(ImageId caller, EFI_HANDLE* handle,
                                           const EFI_GUID* protocol, VOID* interface) {
  const GuidKey key(*protocol);
  Handle* target = nullptr;
  if (*handle != nullptr) {
    target = Find(*handle);
    if (target == nullptr || FindOn(target, key) != nullptr) {
      return EFI_INVALID_PARAMETER;
    }
  } else {
    auto created = std::make_unique<Handle>();
    created->serial = nextSerial_++;
    created->creator = caller;
    target = created.get();
    handleOrder_.emplace(target->serial, target);
    handles_.emplace(target, std::move(created));
  }
  auto entry = std::make_unique<Interface>();
  entry->handle = target;
  entry->protocol = key;
  entry->pointer = interface;
  entry->sequence = nextSequence_++;
  entry->installer = caller;
  byProtocol_[key].push_back(entry.get());
  target->interfaces.push_back(std::move(entry));
  *handle = static_cast<EFI_HANDLE>(target);
  Notify(key);
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::Install(ImageId caller, EFI_HANDLE* handle, const EFI_GUID* protocol,
                                     EFI_INTERFACE_TYPE type, VOID* interface) {
  if (handle == nullptr || protocol == nullptr || type != EFI_NATIVE_INTERFACE) {
    return EFI_INVALID_PARAMETER;
  }
  EventManager::TplScope lock(events_, TPL_NOTIFY);
  return InstallLocked(caller, handle, protocol, interface);
}

EFI_STATUS ProtocolDatabase::UninstallLocked(EFI_HANDLE handle, const EFI_GUID* protocol,
                                             VOID* interface) {
  Handle* target = Find(handle);
  if (target == nullptr || protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Interface* entry = FindOn(target, GuidKey(*protocol));
  if (entry == nullptr || entry->pointer != interface) {
    return EFI_NOT_FOUND;
  }
  auto& list = byProtocol_[entry->protocol];
  list.remove(entry);
  if (list.empty()) {
    byProtocol_.erase(entry->protocol);
  }
  auto& owned = target->interfaces;
  owned.erase(std::find_if(owned.begin(), owned.end(),
                           [&](const auto& candidate) { return candidate.get() == entry; }));
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::Uninstall(ImageId, EFI_HANDLE handle, const EFI_GUID* protocol,
                                       VOID* interface) {
  EventManager::TplScope lock(events_, TPL_NOTIFY);
  const EFI_STATUS status = UninstallLocked(handle, protocol, interface);
  if (status == EFI_SUCCESS) {
    RemoveHandleIfEmpty(Find(handle));
  }
  return status;
}

EFI_STATUS ProtocolDatabase::Reinstall(ImageId, EFI_HANDLE handle, const EFI_GUID* protocol,
                                       VOID* oldInterface, VOID* newInterface) {
  if (protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Handle* target = Find(handle);
  if (target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EventManager::TplScope lock(events_, TPL_NOTIFY);
  const GuidKey key(*protocol);
  Interface* entry = FindOn(target, key);
  if (entry == nullptr || entry->pointer != oldInterface) {
    return EFI_NOT_FOUND;
  }
  entry->pointer = newInterface;
  entry->sequence = nextSequence_++;
  auto& list = byProtocol_[key];
  list.remove(entry);
  list.push_back(entry);
  Notify(key);
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::InstallMultiple(ImageId caller, EFI_HANDLE* handle,
                                             const Pairs& pairs) {
  if (handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EventManager::TplScope lock(events_, TPL_NOTIFY);
  // A second handle with the same complete device path is refused.
  for (const auto& [protocol, interface] : pairs) {
    if (protocol != nullptr && SameGuid(*protocol, gEfiDevicePathProtocolGuid) &&
        interface != nullptr) {
      auto* path = static_cast<EFI_DEVICE_PATH_PROTOCOL*>(interface);
      EFI_HANDLE existing = nullptr;
      if (LocateDevicePath(&gEfiDevicePathProtocolGuid, &path, &existing) == EFI_SUCCESS &&
          path->Type == END_DEVICE_PATH_TYPE) {
        return EFI_ALREADY_STARTED;
      }
    }
  }
  const EFI_HANDLE original = *handle;
  EFI_STATUS status = EFI_SUCCESS;
  std::size_t installed = 0;
  for (; installed < pairs.size(); ++installed) {
    if (pairs[installed].first == nullptr) {
      status = EFI_INVALID_PARAMETER;
      break;
    }
    status = InstallLocked(caller, handle, pairs[installed].first, pairs[installed].second);
    if (status != EFI_SUCCESS) {
      break;
    }
  }
  if (status != EFI_SUCCESS) {
    Handle* target = Find(*handle);
    for (std::size_t i = installed; i-- > 0;) {
      UninstallLocked(*handle, pairs[i].first, pairs[i].second);
    }
    if (target != nullptr) {
      RemoveHandleIfEmpty(target);
    }
    *handle = original;
  }
  return status;
}

EFI_STATUS ProtocolDatabase::UninstallMultiple(ImageId caller, EFI_HANDLE handle,
                                               const Pairs& pairs) {
  Handle* target = Find(handle);
  if (target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EventManager::TplScope lock(events_, TPL_NOTIFY);
  EFI_STATUS status = EFI_SUCCESS;
  std::size_t removed = 0;
  for (; removed < pairs.size(); ++removed) {
    status = UninstallLocked(handle, pairs[removed].first, pairs[removed].second);
    if (status != EFI_SUCCESS) {
      break;
    }
  }
  if (status != EFI_SUCCESS) {
    // The handle is kept alive until here, so the removed ones go back on it.
    for (std::size_t i = 0; i < removed; ++i) {
      EFI_HANDLE same = handle;
      InstallLocked(caller, &same, pairs[i].first, pairs[i].second);
    }
    return EFI_INVALID_PARAMETER;
  }
  RemoveHandleIfEmpty(target);
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::HandleProtocol(EFI_HANDLE handle, const EFI_GUID* protocol,
                                            VOID** interface) {
  return OpenProtocol(handle, protocol, interface, coreAgent_, nullptr,
                      EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL);
}

EFI_STATUS ProtocolDatabase::OpenProtocol(EFI_HANDLE handle, const EFI_GUID* protocol,
                                          VOID** interface, EFI_HANDLE agent,
                                          EFI_HANDLE controller, UINT32 attributes) {
  if (protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    if (interface == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    *interface = nullptr;
  }
  Handle* target = Find(handle);
  if (target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  switch (attributes) {
    case EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL:
    case EFI_OPEN_PROTOCOL_GET_PROTOCOL:
    case EFI_OPEN_PROTOCOL_TEST_PROTOCOL:
      break;
    case kOpenByChildController:
    case kOpenByDriver:
    case kOpenByDriver | kOpenExclusive:
    case kOpenExclusive:
      return EFI_UNSUPPORTED;  // no driver model on this platform
    default:
      return EFI_INVALID_PARAMETER;
  }
  Interface* entry = FindOn(target, GuidKey(*protocol));
  if (entry == nullptr) {
    return EFI_UNSUPPORTED;
  }
  if (attributes == EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    return EFI_SUCCESS;
  }
  *interface = entry->pointer;
  for (OpenRecord& open : entry->opens) {
    if (open.agent == agent && open.controller == controller && open.attributes == attributes) {
      ++open.count;
      return EFI_SUCCESS;
    }
  }
  entry->opens.push_back(OpenRecord{agent, controller, attributes, 1});
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::CloseProtocol(EFI_HANDLE handle, const EFI_GUID* protocol,
                                           EFI_HANDLE agent, EFI_HANDLE controller) {
  Handle* target = Find(handle);
  if (protocol == nullptr || target == nullptr || Find(agent) == nullptr ||
      (controller != nullptr && Find(controller) == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  Interface* entry = FindOn(target, GuidKey(*protocol));
  if (entry == nullptr) {
    return EFI_NOT_FOUND;
  }
  const auto before = entry->opens.size();
  std::erase_if(entry->opens, [&](const OpenRecord& open) {
    return open.agent == agent && open.controller == controller;
  });
  return entry->opens.size() == before ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::OpenProtocolInformation(
    EFI_HANDLE handle, const EFI_GUID* protocol,
    std::vector<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY>& entries) {
  Handle* target = Find(handle);
  if (protocol == nullptr || target == nullptr) {
    return EFI_NOT_FOUND;
  }
  Interface* entry = FindOn(target, GuidKey(*protocol));
  if (entry == nullptr) {
    return EFI_NOT_FOUND;
  }
  entries.clear();
  for (const OpenRecord& open : entry->opens) {
    entries.push_back({open.agent, open.controller, open.attributes, open.count});
  }
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::RegisterProtocolNotify(ImageId caller, const EFI_GUID* protocol,
                                                    EFI_EVENT event, VOID** registration) {
  if (protocol == nullptr || event == nullptr || registration == nullptr ||
      !events_.IsValid(event)) {
    return EFI_INVALID_PARAMETER;
  }
  // A new registration starts before the first interface, as EDK II's core
  // does: interfaces installed before it are handed out too.
  auto created = std::make_unique<Registration>();
  created->protocol = GuidKey(*protocol);
  created->event = event;
  created->owner = caller;
  *registration = created.get();
  registrations_.emplace(created.get(), std::move(created));
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::LocateProtocol(ImageId caller, const EFI_GUID* protocol,
                                            VOID* registration, VOID** interface) {
  if (interface == nullptr || protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *interface = nullptr;
  const GuidKey key(*protocol);
  ++locateCalls_[{key, caller}];
  if (registration != nullptr) {
    Registration* notify = FindRegistration(registration);
    if (notify == nullptr) {
      log_.Report(ReportKind::ServiceMisuse, nameOf_ ? nameOf_(caller) : std::to_string(caller),
                  "LocateProtocol with an unknown registration key");
      return EFI_NOT_FOUND;
    }
    Interface* next = NextFor(*notify);
    if (next == nullptr) {
      return EFI_NOT_FOUND;
    }
    notify->position = next->sequence;
    *interface = next->pointer;
    return EFI_SUCCESS;
  }
  auto list = byProtocol_.find(key);
  if (list == byProtocol_.end() || list->second.empty()) {
    return EFI_NOT_FOUND;
  }
  *interface = list->second.front()->pointer;
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::LocateHandle(EFI_LOCATE_SEARCH_TYPE searchType,
                                          const EFI_GUID* protocol, VOID* searchKey,
                                          UINTN* bufferSize, EFI_HANDLE* buffer) {
  if (bufferSize == nullptr || (*bufferSize > 0 && buffer == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_HANDLE> result;
  Registration* notify = nullptr;
  Interface* next = nullptr;
  switch (searchType) {
    case AllHandles:
      for (const auto& [serial, handle] : handleOrder_) {
        result.push_back(handle);
      }
      break;
    case ByRegisterNotify:
      notify = searchKey == nullptr ? nullptr : FindRegistration(searchKey);
      if (notify == nullptr) {
        return EFI_INVALID_PARAMETER;
      }
      next = NextFor(*notify);
      if (next != nullptr) {
        result.push_back(next->handle);  // one new handle per call
      }
      break;
    case ByProtocol: {
      if (protocol == nullptr) {
        return EFI_INVALID_PARAMETER;
      }
      auto list = byProtocol_.find(GuidKey(*protocol));
      if (list != byProtocol_.end()) {
        for (Interface* interface : list->second) {
          result.push_back(interface->handle);
        }
      }
      break;
    }
    default:
      return EFI_INVALID_PARAMETER;
  }
  if (result.empty()) {
    *bufferSize = 0;
    return EFI_NOT_FOUND;
  }
  const UINTN needed = result.size() * sizeof(EFI_HANDLE);
  if (*bufferSize < needed) {
    *bufferSize = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  *bufferSize = needed;
  std::copy(result.begin(), result.end(), buffer);
  if (notify != nullptr) {
    notify->position = next->sequence;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::LocateDevicePath(const EFI_GUID* protocol,
                                              EFI_DEVICE_PATH_PROTOCOL** devicePath,
                                              EFI_HANDLE* device) {
  if (protocol == nullptr || devicePath == nullptr || *devicePath == nullptr ||
      device == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const auto source = DevicePathNodeSizes(*devicePath);
  if (!source) {
    return EFI_INVALID_PARAMETER;
  }
  std::size_t sourceSize = 0;
  for (std::size_t size : *source) {
    sourceSize += size;
  }
  std::optional<std::size_t> best;
  EFI_HANDLE bestHandle = nullptr;
  auto list = byProtocol_.find(GuidKey(*protocol));
  if (list == byProtocol_.end()) {
    return EFI_NOT_FOUND;
  }
  const GuidKey pathKey(gEfiDevicePathProtocolGuid);
  for (Interface* interface : list->second) {
    Interface* pathEntry = FindOn(interface->handle, pathKey);
    if (pathEntry == nullptr || pathEntry->pointer == nullptr) {
      continue;
    }
    const auto nodes = DevicePathNodeSizes(static_cast<EFI_DEVICE_PATH_PROTOCOL*>(pathEntry->pointer));
    if (!nodes || nodes->size() > source->size()) {
      continue;
    }
    std::size_t size = 0;
    bool boundaries = true;
    for (std::size_t i = 0; i < nodes->size(); ++i) {
      boundaries = boundaries && (*nodes)[i] == (*source)[i];
      size += (*nodes)[i];
    }
    if (!boundaries || size > sourceSize ||
        std::memcmp(pathEntry->pointer, *devicePath, size) != 0) {
      continue;
    }
    if (!best || size > *best) {
      best = size;
      bestHandle = interface->handle;
    }
  }
  if (!best) {
    return EFI_NOT_FOUND;
  }
  *device = bestHandle;
  *devicePath = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(reinterpret_cast<UINT8*>(*devicePath) + *best);
  return EFI_SUCCESS;
}

EFI_STATUS ProtocolDatabase::ProtocolsPerHandle(EFI_HANDLE handle,
                                                std::vector<EFI_GUID*>& protocols) {
  Handle* target = Find(handle);
  if (target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  protocols.clear();
  for (const auto& interface : target->interfaces) {
    protocols.push_back(StableGuid(interface->protocol));
  }
  return EFI_SUCCESS;
}

bool ProtocolDatabase::IsInstalled(const EFI_GUID& protocol) const {
  auto list = byProtocol_.find(GuidKey(protocol));
  return list != byProtocol_.end() && !list->second.empty();
}

VOID* ProtocolDatabase::FirstInterface(const EFI_GUID& protocol) const {
  auto list = byProtocol_.find(GuidKey(protocol));
  return list == byProtocol_.end() || list->second.empty() ? nullptr
                                                           : list->second.front()->pointer;
}

std::vector<EFI_HANDLE> ProtocolDatabase::HandlesWith(const EFI_GUID& protocol) const {
  std::vector<EFI_HANDLE> handles;
  auto list = byProtocol_.find(GuidKey(protocol));
  if (list != byProtocol_.end()) {
    for (Interface* interface : list->second) {
      handles.push_back(interface->handle);
    }
  }
  return handles;
}

std::size_t ProtocolDatabase::HandlesOwnedBy(ImageId owner) const {
  std::size_t count = 0;
  for (const auto& [serial, handle] : handleOrder_) {
    count += handle->creator == owner ? 1 : 0;
  }
  return count;
}

std::size_t ProtocolDatabase::RegistrationsOwnedBy(ImageId owner) const {
  std::size_t count = 0;
  for (const auto& [key, registration] : registrations_) {
    count += registration->owner == owner ? 1 : 0;
  }
  return count;
}

std::uint64_t ProtocolDatabase::LocateProtocolCalls(const EFI_GUID& protocol,
                                                    std::optional<ImageId> caller) const {
  const GuidKey key(protocol);
  std::uint64_t count = 0;
  for (const auto& [entry, calls] : locateCalls_) {
    if (entry.first == key && (!caller || entry.second == *caller)) {
      count += calls;
    }
  }
  return count;
}

std::vector<ProtocolDatabase::InstalledInterface> ProtocolDatabase::InstalledBy(
    ImageId installer) const {
  std::vector<InstalledInterface> result;
  for (const auto& [serial, handle] : handleOrder_) {
    for (const auto& interface : handle->interfaces) {
      if (interface->installer == installer) {
        result.push_back({static_cast<EFI_HANDLE>(handle), interface->protocol.ToEfi(),
                          interface->pointer});
      }
    }
  }
  return result;
}

void ProtocolDatabase::OnEventClosed(EFI_EVENT event) {
  for (auto it = registrations_.begin(); it != registrations_.end();) {
    if (it->second->event == event) {
      deadRegistrations_.push_back(std::move(it->second));
      it = registrations_.erase(it);
    } else {
      ++it;
    }
  }
}

}  // namespace carvex::sim

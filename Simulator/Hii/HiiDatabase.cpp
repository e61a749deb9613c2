// EFI_HII_DATABASE_PROTOCOL members of HiiServices.
#include <algorithm>
#include <cstring>

#include "DevicePathBytes.hpp"
#include "HiiServicesImpl.hpp"

namespace carvex::sim {

using hii::PackageSet;

namespace {

bool SameGuid(const EFI_GUID& a, const EFI_GUID& b) {
  return std::memcmp(&a, &b, sizeof(EFI_GUID)) == 0;
}

EFI_STATUS StatusOf(hii::ParseError error) {
  switch (error) {
    case hii::ParseError::None:
      return EFI_SUCCESS;
    case hii::ParseError::DuplicateLanguage:
      return EFI_UNSUPPORTED;
    default:
      return EFI_INVALID_PARAMETER;
  }
}

// Byte image of a whole list: header, packages in export order, END.
std::vector<std::uint8_t> ExportList(const HiiServices::Impl::Record& record) {
  std::vector<std::uint8_t> out(sizeof(EFI_HII_PACKAGE_LIST_HEADER));
  std::memcpy(out.data(), &record.guid, sizeof(EFI_GUID));
  for (const auto& package : record.packages.InExportOrder()) {
    out.insert(out.end(), package.begin(), package.end());
  }
  const std::uint8_t end[] = {sizeof(EFI_HII_PACKAGE_HEADER), 0, 0, EFI_HII_PACKAGE_END};
  out.insert(out.end(), std::begin(end), std::end(end));
  const auto length = static_cast<std::uint32_t>(out.size());
  std::memcpy(out.data() + OFFSET_OF(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), &length, sizeof length);
  return out;
}

}  // namespace

void HiiServices::Impl::Notify(EFI_HII_DATABASE_NOTIFY_TYPE type, const std::vector<std::uint8_t>& package,
                               EFI_HII_HANDLE handle) {
  const std::uint8_t packageType = package[3];
  const EFI_GUID* packageGuid = nullptr;
  EFI_GUID guid;
  if (packageType == EFI_HII_PACKAGE_TYPE_GUID) {
    std::memcpy(&guid, package.data() + sizeof(EFI_HII_PACKAGE_HEADER), sizeof guid);
    packageGuid = &guid;
  }
  // A callback may register or unregister: walk a snapshot.
  const std::vector<Notification> snapshot = notifications;
  for (const Notification& n : snapshot) {
    if ((n.types & type) == 0 || n.packageType != packageType) {
      continue;
    }
    if (packageGuid != nullptr && (!n.packageGuid || !SameGuid(*n.packageGuid, *packageGuid))) {
      continue;
    }
    // The callee sees a private copy: it may change the database meanwhile.
    std::vector<std::uint8_t> copy = package;
    n.function(packageType, packageGuid, reinterpret_cast<const EFI_HII_PACKAGE_HEADER*>(copy.data()), handle, type);
  }
}

void HiiServices::Impl::NotifyAll(EFI_HII_DATABASE_NOTIFY_TYPE type, const PackageSet& packages,
                                  EFI_HII_HANDLE handle) {
  if (notifications.empty()) {
    return;
  }
  for (const auto& package : packages.InExportOrder()) {
    Notify(type, package, handle);
  }
}

EFI_STATUS HiiServices::Impl::NewPackageList(const EFI_HII_PACKAGE_LIST_HEADER* list, EFI_HANDLE driverHandle,
                                             EFI_HII_HANDLE* handle) {
  if (list == nullptr || handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_GUID guid;
  std::memcpy(&guid, list, sizeof guid);
  for (const auto& record : records) {
    if (SameGuid(record->guid, guid) && record->driverHandle == driverHandle) {
      return EFI_INVALID_PARAMETER;
    }
  }

  auto record = std::make_unique<Record>();
  EFI_STATUS status = StatusOf(hii::ParsePackageList(list, record->packages));
  if (status != EFI_SUCCESS) {
    return status;
  }
  // The device path comes from the driver's handle, as it is at this moment.
  if (driverHandle != nullptr) {
    void* path = nullptr;
    if (bs->HandleProtocol(driverHandle, &gEfiDevicePathProtocolGuid, &path) == EFI_SUCCESS) {
      if (auto bytes = hii::CopyDevicePath(static_cast<const EFI_DEVICE_PATH_PROTOCOL*>(path))) {
        record->packages.devicePath = hii::MakeDevicePathPackage(*bytes);
      }
    }
  }
  record->guid = guid;
  record->driverHandle = driverHandle;
  record->handle = NextToken();
  *handle = record->handle;
  const EFI_HII_HANDLE added = record->handle;
  const PackageSet packages = record->packages;
  records.push_back(std::move(record));
  NotifyAll(EFI_HII_DATABASE_NOTIFY_NEW_PACK, packages, added);
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::RemovePackageList(EFI_HII_HANDLE handle) {
  Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  const PackageSet packages = record->packages;
  NotifyAll(EFI_HII_DATABASE_NOTIFY_REMOVE_PACK, packages, handle);
  records.erase(std::remove_if(records.begin(), records.end(), [handle](const auto& r) { return r->handle == handle; }),
                records.end());
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::UpdatePackageList(EFI_HII_HANDLE handle, const EFI_HII_PACKAGE_LIST_HEADER* list) {
  if (list == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Find(handle) == nullptr) {
    return EFI_NOT_FOUND;
  }
  PackageSet incoming;
  EFI_STATUS status = StatusOf(hii::ParsePackageList(list, incoming));
  if (status != EFI_SUCCESS) {
    return status;
  }

  // Every type the new list carries replaces the old packages of that type.
  const std::vector<std::uint8_t> newTypes = incoming.Types();
  PackageSet removed = Find(handle)->packages;
  for (std::uint8_t type : removed.Types()) {
    if (std::find(newTypes.begin(), newTypes.end(), type) == newTypes.end()) {
      removed.RemoveType(type);
    }
  }
  NotifyAll(EFI_HII_DATABASE_NOTIFY_REMOVE_PACK, removed, handle);

  Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;  // a callback removed the list
  }
  for (std::uint8_t type : newTypes) {
    record->packages.RemoveType(type);
  }
  const PackageSet added = incoming;
  record->packages.Absorb(std::move(incoming));
  NotifyAll(EFI_HII_DATABASE_NOTIFY_ADD_PACK, added, handle);
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::ListPackageLists(std::uint8_t type, const EFI_GUID* guid, UINTN* length,
                                               EFI_HII_HANDLE* handles) {
  if (length == nullptr || (*length > 0 && handles == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  if ((type == EFI_HII_PACKAGE_TYPE_GUID) != (guid != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_HII_HANDLE> matches;
  for (const auto& record : records) {
    if (record->packages.HasType(type, guid)) {
      matches.push_back(record->handle);
    }
  }
  if (matches.empty()) {
    return EFI_NOT_FOUND;
  }
  const UINTN needed = matches.size() * sizeof(EFI_HII_HANDLE);
  if (*length < needed) {
    *length = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(handles, matches.data(), needed);
  *length = needed;
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::ExportPackageLists(EFI_HII_HANDLE handle, UINTN* size,
                                                 EFI_HII_PACKAGE_LIST_HEADER* buffer) {
  if (size == nullptr || (*size > 0 && buffer == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<std::uint8_t> image;
  if (handle != nullptr) {
    const Record* record = Find(handle);
    if (record == nullptr) {
      return EFI_NOT_FOUND;
    }
    image = ExportList(*record);
  } else {
    for (const auto& record : records) {
      std::vector<std::uint8_t> one = ExportList(*record);
      image.insert(image.end(), one.begin(), one.end());
    }
  }
  if (*size < image.size()) {
    *size = image.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, image.data(), image.size());
  *size = image.size();
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::RegisterPackageNotify(std::uint8_t type, const EFI_GUID* guid,
                                                    EFI_HII_DATABASE_NOTIFY function,
                                                    EFI_HII_DATABASE_NOTIFY_TYPE types, EFI_HANDLE* handle) {
  if (handle == nullptr || function == nullptr || types == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if ((type == EFI_HII_PACKAGE_TYPE_GUID) != (guid != nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  Notification n{NextToken(), type, std::nullopt, function, types};
  if (guid != nullptr) {
    n.packageGuid = *guid;
  }
  notifications.push_back(n);
  *handle = n.handle;
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::UnregisterPackageNotify(EFI_HANDLE handle) {
  auto it = std::find_if(notifications.begin(), notifications.end(),
                         [handle](const Notification& n) { return handle != nullptr && n.handle == handle; });
  if (it == notifications.end()) {
    return EFI_NOT_FOUND;
  }
  notifications.erase(it);
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::GetPackageListHandle(EFI_HII_HANDLE handle, EFI_HANDLE* driverHandle) {
  if (driverHandle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *driverHandle = record->driverHandle;
  return EFI_SUCCESS;
}

}  // namespace carvex::sim

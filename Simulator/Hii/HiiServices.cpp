#include "HiiServices.hpp"

#include <cstring>
#include <map>
#include <new>

#include "HiiServicesImpl.hpp"

namespace carvex::sim {

namespace {

// Handles this service invents (HII handles, notification handles) are
// non-canonical addresses: unique for the life of the instance, never
// reused after removal, and faulting if anyone dereferences one.
constexpr std::uintptr_t kTokenBase = 0x4849490000000000ULL;

// No C++ exception may unwind into firmware code.
template <class Body>
EFI_STATUS Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return EFI_OUT_OF_RESOURCES;
  } catch (...) {
    return EFI_DEVICE_ERROR;
  }
}

using Impl = HiiServices::Impl;

std::map<const void*, Impl*>& LiveTables() {
  static std::map<const void*, Impl*> tables;
  return tables;
}

Impl* ImplOf(const void* protocol) {
  return Impl::Of(protocol);
}

// EFI_HII_DATABASE_PROTOCOL entry points.
EFI_STATUS EFIAPI DbNewPackageList(const EFI_HII_DATABASE_PROTOCOL* This, const EFI_HII_PACKAGE_LIST_HEADER* list,
                                   EFI_HANDLE driverHandle, EFI_HII_HANDLE* handle) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->NewPackageList(list, driverHandle, handle); });
}

EFI_STATUS EFIAPI DbRemovePackageList(const EFI_HII_DATABASE_PROTOCOL* This, EFI_HII_HANDLE handle) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->RemovePackageList(handle); });
}

EFI_STATUS EFIAPI DbUpdatePackageList(const EFI_HII_DATABASE_PROTOCOL* This, EFI_HII_HANDLE handle,
                                      const EFI_HII_PACKAGE_LIST_HEADER* list) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->UpdatePackageList(handle, list); });
}

EFI_STATUS EFIAPI DbListPackageLists(const EFI_HII_DATABASE_PROTOCOL* This, UINT8 type, const EFI_GUID* guid,
                                     UINTN* length, EFI_HII_HANDLE* handles) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->ListPackageLists(type, guid, length, handles); });
}

EFI_STATUS EFIAPI DbExportPackageLists(const EFI_HII_DATABASE_PROTOCOL* This, EFI_HII_HANDLE handle, UINTN* size,
                                       EFI_HII_PACKAGE_LIST_HEADER* buffer) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->ExportPackageLists(handle, size, buffer); });
}

EFI_STATUS EFIAPI DbRegisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL* This, UINT8 type, const EFI_GUID* guid,
                                          EFI_HII_DATABASE_NOTIFY function, EFI_HII_DATABASE_NOTIFY_TYPE types,
                                          EFI_HANDLE* handle) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->RegisterPackageNotify(type, guid, function, types, handle); });
}

EFI_STATUS EFIAPI DbUnregisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL* This, EFI_HANDLE handle) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->UnregisterPackageNotify(handle); });
}

// No keyboard layouts are registered on this platform.
EFI_STATUS EFIAPI DbFindKeyboardLayouts(EFI_HII_DATABASE_PROTOCOL* This, UINT16* length, EFI_GUID* /*guids*/) {
  if (ImplOf(This) == nullptr || length == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *length = 0;
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI DbGetKeyboardLayout(EFI_HII_DATABASE_PROTOCOL* This, const EFI_GUID* /*guid*/, UINT16* length,
                                      EFI_HII_KEYBOARD_LAYOUT* /*layout*/) {
  if (ImplOf(This) == nullptr || length == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI DbSetKeyboardLayout(EFI_HII_DATABASE_PROTOCOL* This, const EFI_GUID* guid) {
  if (ImplOf(This) == nullptr || guid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI DbGetPackageListHandle(EFI_HII_DATABASE_PROTOCOL* This, EFI_HII_HANDLE handle,
                                         EFI_HANDLE* driverHandle) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->GetPackageListHandle(handle, driverHandle); });
}

// EFI_HII_STRING_PROTOCOL entry points.
EFI_STATUS EFIAPI StrNewString(const EFI_HII_STRING_PROTOCOL* This, EFI_HII_HANDLE handle, EFI_STRING_ID* id,
                               const CHAR8* language, const CHAR16* languageName, const CHAR16* text,
                               const EFI_FONT_INFO* font) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->NewString(handle, id, language, languageName, text, font); });
}

EFI_STATUS EFIAPI StrGetString(const EFI_HII_STRING_PROTOCOL* This, const CHAR8* language, EFI_HII_HANDLE handle,
                               EFI_STRING_ID id, EFI_STRING text, UINTN* size, EFI_FONT_INFO** font) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->GetString(language, handle, id, text, size, font); });
}

EFI_STATUS EFIAPI StrSetString(const EFI_HII_STRING_PROTOCOL* This, EFI_HII_HANDLE handle, EFI_STRING_ID id,
                               const CHAR8* language, const CHAR16* text, const EFI_FONT_INFO* font) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->SetString(handle, id, language, text, font); });
}

EFI_STATUS EFIAPI StrGetLanguages(const EFI_HII_STRING_PROTOCOL* This, EFI_HII_HANDLE handle, CHAR8* languages,
                                  UINTN* size) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->GetLanguages(handle, languages, size); });
}

EFI_STATUS EFIAPI StrGetSecondaryLanguages(const EFI_HII_STRING_PROTOCOL* This, EFI_HII_HANDLE handle,
                                           const CHAR8* primary, CHAR8* languages, UINTN* size) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->GetSecondaryLanguages(handle, primary, languages, size); });
}

// EFI_HII_CONFIG_ROUTING_PROTOCOL entry points.
EFI_STATUS EFIAPI RtExtractConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, const CHAR16* request,
                                  const CHAR16** progress, CHAR16** results) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->ExtractConfig(request, progress, results); });
}

EFI_STATUS EFIAPI RtExportConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, CHAR16** results) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->ExportConfig(results); });
}

EFI_STATUS EFIAPI RtRouteConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, const CHAR16* configuration,
                                const CHAR16** progress) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] { return impl->RouteConfig(configuration, progress); });
}

EFI_STATUS EFIAPI RtBlockToConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, const CHAR16* request,
                                  const UINT8* block, const UINTN blockSize, CHAR16** config,
                                  const CHAR16** progress) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->BlockToConfig(request, block, blockSize, config, progress); });
}

EFI_STATUS EFIAPI RtConfigToBlock(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, const CHAR16* response, UINT8* block,
                                  UINTN* blockSize, const CHAR16** progress) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER
                         : Guarded([&] { return impl->ConfigToBlock(response, block, blockSize, progress); });
}

EFI_STATUS EFIAPI RtGetAltConfig(const EFI_HII_CONFIG_ROUTING_PROTOCOL* This, const CHAR16* response,
                                 const EFI_GUID* guid, const CHAR16* name, const EFI_DEVICE_PATH_PROTOCOL* path,
                                 const UINT16* altCfgId, CHAR16** altCfgResp) {
  Impl* impl = ImplOf(This);
  return impl == nullptr ? EFI_INVALID_PARAMETER : Guarded([&] {
    return impl->GetAltConfig(response, guid, name, path, altCfgId, altCfgResp);
  });
}

}  // namespace

HiiServices::Impl::Impl(EFI_BOOT_SERVICES* bootServices, EFI_RUNTIME_SERVICES* runtimeServices)
    : bs(bootServices), rt(runtimeServices) {
  database = {DbNewPackageList,          DbRemovePackageList,   DbUpdatePackageList,
              DbListPackageLists,        DbExportPackageLists,  DbRegisterPackageNotify,
              DbUnregisterPackageNotify, DbFindKeyboardLayouts, DbGetKeyboardLayout,
              DbSetKeyboardLayout,       DbGetPackageListHandle};
  strings = {StrNewString, StrGetString, StrSetString, StrGetLanguages, StrGetSecondaryLanguages};
  routing = {RtExtractConfig, RtExportConfig, RtRouteConfig, RtBlockToConfig, RtConfigToBlock, RtGetAltConfig};
  LiveTables()[&database] = this;
  LiveTables()[&strings] = this;
  LiveTables()[&routing] = this;
}

HiiServices::Impl::~Impl() {
  LiveTables().erase(&database);
  LiveTables().erase(&strings);
  LiveTables().erase(&routing);
}

HiiServices::Impl* HiiServices::Impl::Of(const void* protocol) {
  auto it = LiveTables().find(protocol);
  return it == LiveTables().end() ? nullptr : it->second;
}

CHAR16* HiiServices::Impl::PoolString(std::u16string_view text) const {
  void* buffer = nullptr;
  const std::size_t size = (text.size() + 1) * sizeof(CHAR16);
  if (bs->AllocatePool(EfiBootServicesData, size, &buffer) != EFI_SUCCESS || buffer == nullptr) {
    return nullptr;
  }
  auto* out = static_cast<CHAR16*>(buffer);
  std::memcpy(out, text.data(), text.size() * sizeof(CHAR16));
  out[text.size()] = 0;
  return out;
}

void* HiiServices::Impl::PoolCopy(const void* bytes, std::size_t size) const {
  void* buffer = nullptr;
  if (bs->AllocatePool(EfiBootServicesData, size, &buffer) != EFI_SUCCESS || buffer == nullptr) {
    return nullptr;
  }
  std::memcpy(buffer, bytes, size);
  return buffer;
}

void HiiServices::Impl::FreePool(void* buffer) const {
  if (buffer != nullptr) {
    bs->FreePool(buffer);
  }
}

HiiServices::Impl::Record* HiiServices::Impl::Find(EFI_HII_HANDLE handle) {
  for (auto& record : records) {
    if (handle != nullptr && record->handle == handle) {
      return record.get();
    }
  }
  return nullptr;
}

const HiiServices::Impl::Record* HiiServices::Impl::Find(EFI_HII_HANDLE handle) const {
  for (const auto& record : records) {
    if (handle != nullptr && record->handle == handle) {
      return record.get();
    }
  }
  return nullptr;
}

EFI_HII_HANDLE HiiServices::Impl::NextToken() {
  return reinterpret_cast<EFI_HII_HANDLE>(kTokenBase + (++tokenSerial << 4));
}

HiiServices::HiiServices(EFI_BOOT_SERVICES* bootServices, EFI_RUNTIME_SERVICES* runtimeServices)
    : impl_(std::make_unique<Impl>(bootServices, runtimeServices)) {}

HiiServices::~HiiServices() = default;

EFI_STATUS HiiServices::Install() {
  if (impl_->installed) {
    return EFI_ALREADY_STARTED;
  }
  EFI_HANDLE handle = nullptr;
  EFI_STATUS status = impl_->bs->InstallMultipleProtocolInterfaces(
      &handle, &gEfiHiiDatabaseProtocolGuid, &impl_->database, &gEfiHiiStringProtocolGuid,
      &impl_->strings, &gEfiHiiConfigRoutingProtocolGuid, &impl_->routing, nullptr);
  if (status == EFI_SUCCESS) {
    impl_->protocolHandle = handle;
    impl_->installed = true;
  }
  return status;
}

EFI_STATUS HiiServices::Uninstall() {
  if (!impl_->installed) {
    return EFI_NOT_STARTED;
  }
  EFI_STATUS status = impl_->bs->UninstallMultipleProtocolInterfaces(
      impl_->protocolHandle, &gEfiHiiDatabaseProtocolGuid, &impl_->database, &gEfiHiiStringProtocolGuid,
      &impl_->strings, &gEfiHiiConfigRoutingProtocolGuid, &impl_->routing, nullptr);
  if (status == EFI_SUCCESS) {
    impl_->installed = false;
    impl_->protocolHandle = nullptr;
  }
  return status;
}

EFI_HANDLE HiiServices::ProtocolHandle() const {
  return impl_->protocolHandle;
}

EFI_HII_DATABASE_PROTOCOL* HiiServices::Database() {
  return &impl_->database;
}

EFI_HII_STRING_PROTOCOL* HiiServices::Strings() {
  return &impl_->strings;
}

EFI_HII_CONFIG_ROUTING_PROTOCOL* HiiServices::ConfigRouting() {
  return &impl_->routing;
}

namespace {

HiiPackageListInfo InfoOf(const HiiServices::Impl::Record& record) {
  HiiPackageListInfo info;
  info.handle = record.handle;
  info.packageListGuid = record.guid;
  info.driverHandle = record.driverHandle;
  info.formPackages = record.packages.forms;
  for (const auto& strings : record.packages.strings) {
    info.languages.push_back(strings.Language());
  }
  if (record.packages.devicePath) {
    info.devicePath.assign(record.packages.devicePath->begin() + sizeof(EFI_HII_PACKAGE_HEADER),
                           record.packages.devicePath->end());
  }
  return info;
}

}  // namespace

std::vector<HiiPackageListInfo> HiiServices::PackageLists() const {
  std::vector<HiiPackageListInfo> lists;
  for (const auto& record : impl_->records) {
    lists.push_back(InfoOf(*record));
  }
  return lists;
}

std::optional<HiiPackageListInfo> HiiServices::PackageList(EFI_HII_HANDLE handle) const {
  const Impl::Record* record = impl_->Find(handle);
  if (record == nullptr) {
    return std::nullopt;
  }
  return InfoOf(*record);
}

std::optional<std::u16string> HiiServices::String(EFI_HII_HANDLE handle, EFI_STRING_ID id,
                                                  std::string_view language) const {
  const Impl::Record* record = impl_->Find(handle);
  if (record == nullptr) {
    return std::nullopt;
  }
  for (const auto& strings : record->packages.strings) {
    if (strings.Matches(language)) {
      if (const std::u16string* text = strings.Find(id)) {
        return *text;
      }
    }
  }
  return std::nullopt;
}

}  // namespace carvex::sim

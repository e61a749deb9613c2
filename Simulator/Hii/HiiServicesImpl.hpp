// Internal state of HiiServices and the protocol members it implements. A
// call finds its instance by looking its This up among the live instances'
// protocol tables, so that a foreign This is refused instead of followed.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Protocol/HiiConfigAccess.h>
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/HiiDatabase.h>
#include <Protocol/HiiString.h>

#include "HiiServices.hpp"
#include "IfrScan.hpp"
#include "PackageList.hpp"

namespace carvex::sim {

struct HiiServices::Impl {

  struct Record {
    EFI_HII_HANDLE handle = nullptr;
    EFI_GUID guid{};
    EFI_HANDLE driverHandle = nullptr;
    hii::PackageSet packages;
  };

  struct Notification {
    EFI_HANDLE handle;
    std::uint8_t packageType;
    std::optional<EFI_GUID> packageGuid;
    EFI_HII_DATABASE_NOTIFY function;
    EFI_HII_DATABASE_NOTIFY_TYPE types;
  };

  // Where a configuration string's header leads.
  struct Route {
    EFI_HANDLE driverHandle = nullptr;
    EFI_HII_HANDLE hiiHandle = nullptr;      // null when found by device path only
    std::optional<hii::VarStore> store;      // the store the header names
    std::vector<std::vector<std::uint8_t>> forms;
  };

  Impl(EFI_BOOT_SERVICES* bootServices, EFI_RUNTIME_SERVICES* runtimeServices);
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  // The live instance whose protocol table this is, or null.
  static Impl* Of(const void* protocol);

  // Pool helpers (boot services pool; null on failure).
  CHAR16* PoolString(std::u16string_view text) const;
  void* PoolCopy(const void* bytes, std::size_t size) const;
  void FreePool(void* buffer) const;

  Record* Find(EFI_HII_HANDLE handle);
  const Record* Find(EFI_HII_HANDLE handle) const;
  EFI_HII_HANDLE NextToken();
  void Notify(EFI_HII_DATABASE_NOTIFY_TYPE type, const std::vector<std::uint8_t>& package, EFI_HII_HANDLE handle);
  void NotifyAll(EFI_HII_DATABASE_NOTIFY_TYPE type, const hii::PackageSet& packages, EFI_HII_HANDLE handle);

  // EFI_HII_DATABASE_PROTOCOL
  EFI_STATUS NewPackageList(const EFI_HII_PACKAGE_LIST_HEADER* list, EFI_HANDLE driverHandle, EFI_HII_HANDLE* handle);
  EFI_STATUS RemovePackageList(EFI_HII_HANDLE handle);
  EFI_STATUS UpdatePackageList(EFI_HII_HANDLE handle, const EFI_HII_PACKAGE_LIST_HEADER* list);
  EFI_STATUS ListPackageLists(std::uint8_t type, const EFI_GUID* guid, UINTN* length, EFI_HII_HANDLE* handles);
  EFI_STATUS ExportPackageLists(EFI_HII_HANDLE handle, UINTN* size, EFI_HII_PACKAGE_LIST_HEADER* buffer);
  EFI_STATUS RegisterPackageNotify(std::uint8_t type, const EFI_GUID* guid, EFI_HII_DATABASE_NOTIFY function,
                                   EFI_HII_DATABASE_NOTIFY_TYPE types, EFI_HANDLE* handle);
  EFI_STATUS UnregisterPackageNotify(EFI_HANDLE handle);
  EFI_STATUS GetPackageListHandle(EFI_HII_HANDLE handle, EFI_HANDLE* driverHandle);

  // EFI_HII_STRING_PROTOCOL
  EFI_STATUS NewString(EFI_HII_HANDLE handle, EFI_STRING_ID* id, const CHAR8* language, const CHAR16* languageName,
                       const CHAR16* text, const EFI_FONT_INFO* font);
  EFI_STATUS GetString(const CHAR8* language, EFI_HII_HANDLE handle, EFI_STRING_ID id, EFI_STRING text, UINTN* size,
                       EFI_FONT_INFO** font);
  EFI_STATUS SetString(EFI_HII_HANDLE handle, EFI_STRING_ID id, const CHAR8* language, const CHAR16* text,
                       const EFI_FONT_INFO* font);
  EFI_STATUS GetLanguages(EFI_HII_HANDLE handle, CHAR8* languages, UINTN* size);
  EFI_STATUS GetSecondaryLanguages(EFI_HII_HANDLE handle, const CHAR8* primary, CHAR8* languages, UINTN* size);

  // EFI_HII_CONFIG_ROUTING_PROTOCOL
  EFI_STATUS ExtractConfig(const CHAR16* request, const CHAR16** progress, CHAR16** results);
  EFI_STATUS ExportConfig(CHAR16** results);
  EFI_STATUS RouteConfig(const CHAR16* configuration, const CHAR16** progress);
  EFI_STATUS BlockToConfig(const CHAR16* request, const UINT8* block, UINTN blockSize, CHAR16** config,
                           const CHAR16** progress);
  EFI_STATUS ConfigToBlock(const CHAR16* response, UINT8* block, UINTN* blockSize, const CHAR16** progress);
  EFI_STATUS GetAltConfig(const CHAR16* response, const EFI_GUID* guid, const CHAR16* name,
                          const EFI_DEVICE_PATH_PROTOCOL* path, const UINT16* altCfgId, CHAR16** altCfgResp);

  // Routing helpers.
  std::optional<Route> FindRoute(const std::vector<std::uint8_t>& path, const std::optional<std::vector<std::uint8_t>>& guid,
                                 const std::optional<std::u16string>& name);
  EFI_HII_CONFIG_ACCESS_PROTOCOL* AccessOf(EFI_HANDLE driverHandle) const;
  // The request a bare header stands for: one item per question of the store.
  std::u16string FullRequest(std::u16string_view header, const Route& route) const;
  EFI_STATUS ReadEfiStore(const hii::VarStore& store, std::vector<std::uint8_t>& data) const;
  EFI_STATUS WriteEfiStore(const hii::VarStore& store, const std::vector<std::uint8_t>& data) const;

  EFI_BOOT_SERVICES* bs;
  EFI_RUNTIME_SERVICES* rt;
  EFI_HANDLE protocolHandle = nullptr;
  bool installed = false;
  std::uint64_t tokenSerial = 0;
  std::vector<std::unique_ptr<Record>> records;
  std::vector<Notification> notifications;
  EFI_HII_DATABASE_PROTOCOL database;
  EFI_HII_STRING_PROTOCOL strings;
  EFI_HII_CONFIG_ROUTING_PROTOCOL routing;
};

}  // namespace carvex::sim

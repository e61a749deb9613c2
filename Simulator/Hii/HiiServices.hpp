// The host platform's HII database, HII string and HII configuration routing
// protocols: one instance per simulated boot, installed into the boot's
// protocol database before any image loads, torn down at reboot.
//
//   auto hii = std::make_unique<carvex::sim::HiiServices>(bootServices, runtimeServices);
//   EFI_STATUS status = hii->Install();   // InstallMultipleProtocolInterfaces on a new handle
//
// Every pool buffer handed to a caller (strings, exported package lists,
// configuration strings) is allocated with bootServices->AllocatePool and
// belongs to the caller; results the router gets from drivers are freed with
// bootServices->FreePool. EFI variable stores named in configuration strings
// are read and written through runtimeServices (which may be null; such
// requests then fail).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Uefi.h>
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/HiiDatabase.h>
#include <Protocol/HiiString.h>

namespace carvex::sim {

// A read-only copy of one registered package list, for the platform's own
// form browser and tools.
struct HiiPackageListInfo {
  EFI_HII_HANDLE handle = nullptr;
  EFI_GUID packageListGuid{};
  EFI_HANDLE driverHandle = nullptr;
  std::vector<std::vector<std::uint8_t>> formPackages;  // whole packages, header included
  std::vector<std::string> languages;                   // in package order
  std::vector<std::uint8_t> devicePath;                 // empty when the list has none
};

class HiiServices {
 public:
  HiiServices(EFI_BOOT_SERVICES* bootServices, EFI_RUNTIME_SERVICES* runtimeServices);
  // Does not call boot services (the boot may already be torn down): call
  // Uninstall() first when the protocols must leave a living database.
  ~HiiServices();
  HiiServices(const HiiServices&) = delete;
  HiiServices& operator=(const HiiServices&) = delete;

  // Installs the database, string and routing protocols together on a new
  // handle through InstallMultipleProtocolInterfaces.
  EFI_STATUS Install();
  EFI_STATUS Uninstall();
  EFI_HANDLE ProtocolHandle() const;

  EFI_HII_DATABASE_PROTOCOL* Database();
  EFI_HII_STRING_PROTOCOL* Strings();
  EFI_HII_CONFIG_ROUTING_PROTOCOL* ConfigRouting();

  // Registered package lists in registration order.
  std::vector<HiiPackageListInfo> PackageLists() const;
  std::optional<HiiPackageListInfo> PackageList(EFI_HII_HANDLE handle) const;
  // The string in exactly that language (no fallback); nullopt when missing.
  std::optional<std::u16string> String(EFI_HII_HANDLE handle, EFI_STRING_ID id, std::string_view language) const;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace carvex::sim

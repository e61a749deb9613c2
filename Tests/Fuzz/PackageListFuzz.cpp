// HII package lists as a driver image hands them to NewPackageList: the
// database parses the packages (strings, forms, device path) and, once
// registered, the list is exported again, its strings read, its forms walked
// by the router's ExportConfig, then removed. The input is the list itself,
// header included; its PackageLength must fit the input.
#include <algorithm>
#include <cstring>
#include <vector>

#include "FuzzSupport.hpp"
#include "HiiFixture.hpp"

namespace {

using namespace hiitest;

struct Database {
  Database() {
    if (hii.Install() != EFI_SUCCESS) {
      carvex::fuzz::Fail("HII services did not install");
    }
    driverHandle = uefi.NewHandle();
    uefi.Install(driverHandle, gEfiDevicePathProtocolGuid, path.data());
  }

  FakeUefi uefi;
  carvex::sim::HiiServices hii{&uefi.bootServices, &uefi.runtimeServices};
  Bytes path = VendorDevicePath(kPathGuid);
  EFI_HANDLE driverHandle = nullptr;
};

Database& TheDatabase() {
  static Database* database = new Database();
  return *database;
}

void ReadBack(Database& database, EFI_HII_HANDLE handle) {
  EFI_HII_DATABASE_PROTOCOL* db = database.hii.Database();
  UINTN size = 0;
  if (db->ExportPackageLists(db, handle, &size, nullptr) == EFI_BUFFER_TOO_SMALL) {
    std::vector<std::uint8_t> out(size);
    db->ExportPackageLists(db, handle, &size, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER*>(out.data()));
  }

  EFI_HII_STRING_PROTOCOL* strings = database.hii.Strings();
  char languages[256] = {};
  UINTN languagesSize = sizeof languages - 1;
  strings->GetLanguages(strings, handle, languages, &languagesSize);
  for (EFI_STRING_ID id = 0; id < 8; ++id) {
    CHAR16 text[64];
    UINTN textSize = sizeof text;
    strings->GetString(strings, "en-US", handle, id, text, &textSize, nullptr);
  }

  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = database.hii.ConfigRouting();
  CHAR16* results = nullptr;
  routing->ExportConfig(routing, &results);
  if (results != nullptr) {
    database.uefi.bootServices.FreePool(results);
  }
  database.hii.PackageLists();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < sizeof(EFI_HII_PACKAGE_LIST_HEADER)) {
    return 0;
  }
  UINT32 declared = 0;
  std::memcpy(&declared, data + OFFSET_OF(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), sizeof declared);
  if (declared > size) {
    return 0;  // the caller's buffer always holds what its header declares
  }
  // Exactly the declared bytes (never less than the header), so ASan sees a
  // read past the list.
  const std::vector<std::uint8_t> list(data, data + std::max<std::size_t>(declared, sizeof(EFI_HII_PACKAGE_LIST_HEADER)));

  Database& database = TheDatabase();
  EFI_HII_DATABASE_PROTOCOL* db = database.hii.Database();
  const std::size_t liveBefore = database.uefi.live.size();
  EFI_HII_HANDLE handle = nullptr;
  const EFI_STATUS status = db->NewPackageList(
      db, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()), database.driverHandle, &handle);
  if (status == EFI_SUCCESS) {
    carvex::fuzz::Check(handle != nullptr, "a registered list without a handle");
    ReadBack(database, handle);
    carvex::fuzz::Check(db->RemovePackageList(db, handle) == EFI_SUCCESS, "a registered list could not be removed");
  }
  carvex::fuzz::Check(database.hii.PackageLists().empty(), "a list stayed registered");
  carvex::fuzz::Check(database.uefi.live.size() == liveBefore, "pool leaked by the database");
  carvex::fuzz::Check(database.uefi.badFrees == 0, "pool freed twice or never allocated");
  return 0;
}

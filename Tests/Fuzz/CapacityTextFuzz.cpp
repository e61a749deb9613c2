// Capacity texts a user types into the goal and namespace pages, with the
// unit code the page's unit question holds: ConvertCapacityStrToBytes, and
// the splitting it relies on (StrSplit, StrTok, GetU64FromString) on the
// same text. The first byte is the unit code, the second the delimiter the
// splitters use, the rest the text (one character per byte).
#include <vector>

#include <NvmDimmConfig/Convert.h>
#include <NvmDimmConfig/TextParse.h>

#include <HiiServices.hpp>
#include <Protocol/HiiDatabase.h>

#include "FakeUefi.hpp"
#include "FuzzSupport.hpp"
#include "HiiTestPackages.hpp"

namespace {

// Pool for the driver and a string package holding the decimal separator
// where the setup package keeps it, so that parsing gets past it.
struct Platform {
  Platform() {
    if (hii.Install() != EFI_SUCCESS) {
      carvex::fuzz::Fail("HII services did not install");
    }
    hiitest::Strings strings(STR_DECIMAL_SEPARATOR, std::nullopt);
    strings[STR_DECIMAL_SEPARATOR - 1].emplace(1, u'.');
    const hiitest::Bytes list = hiitest::PackageList(kListGuid, {hiitest::StringPackage("en-US", strings)});
    EFI_HII_DATABASE_PROTOCOL* database = nullptr;
    if (uefi.bootServices.LocateProtocol(&gEfiHiiDatabaseProtocolGuid, nullptr,
                                         reinterpret_cast<VOID**>(&database)) != EFI_SUCCESS ||
        database->NewPackageList(database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()),
                                 uefi.NewHandle(), &handle) != EFI_SUCCESS) {
      carvex::fuzz::Fail("the separator's string package was refused");
    }
    CHAR16 probe[] = u"1.5";
    UINT64 bytes = 0;
    if (ConvertCapacityStrToBytes(handle, CAPACITY_UNITS_GIB, probe, &bytes) != EFI_SUCCESS || bytes != 1610612736u) {
      carvex::fuzz::Fail("the parser does not read the separator from the string package");
    }
  }

  static constexpr EFI_GUID kListGuid = {0x6c2f14a1, 0x0b7e, 0x4d3a, {0x9a, 0x51, 0x2e, 0x83, 0x44, 0x10, 0xc7, 0x5d}};
  FakeUefi uefi;
  carvex::sim::HiiServices hii{&uefi.bootServices, &uefi.runtimeServices};
  EFI_HII_HANDLE handle = nullptr;
};

Platform& ThePlatform() {
  static Platform* platform = new Platform();  // the driver's module-wide state lives for the process
  return *platform;
}

FakeUefi& Uefi() { return ThePlatform().uefi; }

// A NUL-terminated copy the callee may rewrite, sized exactly so that ASan
// sees a read or write past the terminator.
std::vector<CHAR16> Buffer(const std::u16string& text) {
  std::vector<CHAR16> buffer(text.begin(), text.end());
  buffer.push_back(u'\0');
  return buffer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  FakeUefi& uefi = Uefi();
  const std::size_t liveBefore = uefi.live.size();
  const UINT8 units = data[0];
  const CHAR16 delimiter = data[1];
  const std::u16string text = carvex::fuzz::Widen(data + 2, size - 2);

  std::vector<CHAR16> typed = Buffer(text);
  UINT64 bytes = 0;
  ConvertCapacityStrToBytes(ThePlatform().handle, units, typed.data(), &bytes);

  std::vector<CHAR16> number = Buffer(text);
  UINT64 value = 0;
  GetU64FromString(number.data(), &value);

  UINT32 count = 0;
  CHAR16** parts = StrSplit(text.c_str(), delimiter, &count);
  if (parts != nullptr) {
    FreeStringArray(parts, count);
  }

  std::vector<CHAR16> rest = Buffer(text);
  CHAR16* cursor = rest.data();
  for (std::size_t tokens = 0; tokens <= text.size(); ++tokens) {
    CHAR16* token = StrTok(&cursor, delimiter);
    if (token == nullptr) {
      break;
    }
    uefi.bootServices.FreePool(token);
  }
  carvex::fuzz::Check(rest[0] == u'\0', "StrTok left text behind");

  carvex::fuzz::Check(uefi.live.size() == liveBefore, "pool leaked by the capacity parser");
  carvex::fuzz::Check(uefi.badFrees == 0, "pool freed twice or never allocated");
  return 0;
}

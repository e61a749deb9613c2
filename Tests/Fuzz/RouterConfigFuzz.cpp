// Configuration strings into the host router: ConfigToBlock and
// BlockToConfig on a 16-byte block, RouteConfig and ExtractConfig over a
// registered sample form set whose driver owns a buffer store and whose EFI
// store lives in a variable. The first byte picks the call, the rest is the
// string (one character per byte).
#include <vector>

#include "FuzzSupport.hpp"
#include "HiiFixture.hpp"

namespace {

using namespace hiitest;

struct Router {
  Router() {
    if (hii.Install() != EFI_SUCCESS) {
      carvex::fuzz::Fail("HII services did not install");
    }
    std::vector<Bytes> packages = SampleStrings();
    packages.push_back(SampleIfr().Package());
    const Bytes list = PackageList(kListGuid, packages);
    EFI_HII_HANDLE handle = nullptr;
    if (Db()->NewPackageList(Db(), reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()), driver.handle,
                             &handle) != EFI_SUCCESS) {
      carvex::fuzz::Fail("the sample package list was refused");
    }
    uefi.SetVariable(u"EfiVar", kEfiStoreGuid, {1, 2, 3, 4});
  }
  EFI_HII_DATABASE_PROTOCOL* Db() { return hii.Database(); }
  EFI_HII_CONFIG_ROUTING_PROTOCOL* Routing() { return hii.ConfigRouting(); }

  FakeUefi uefi;
  carvex::sim::HiiServices hii{&uefi.bootServices, &uefi.runtimeServices};
  SampleDriver driver{uefi, hii.ConfigRouting(), kPathGuid, 16};
};

Router& TheRouter() {
  static Router* router = new Router();  // lives for the process, as the services live for a boot
  return *router;
}

// Progress is NULL or points into the caller's string, terminator included.
void CheckProgress(const std::u16string& text, const CHAR16* progress) {
  carvex::fuzz::Check(progress == nullptr || (progress >= text.c_str() && progress <= text.c_str() + text.size()),
                      "Progress outside the caller's string");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  Router& router = TheRouter();
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = router.Routing();
  const std::u16string text = carvex::fuzz::Widen(data + 1, size - 1);
  const std::size_t liveBefore = router.uefi.live.size();
  const CHAR16* progress = nullptr;
  CHAR16* results = nullptr;

  switch (data[0]) {
    case 'C': {  // ConfigToBlock into an exactly sized block, so ASan sees any write past it
      std::vector<std::uint8_t> block(16);
      UINTN blockSize = block.size();
      routing->ConfigToBlock(routing, text.c_str(), block.data(), &blockSize, &progress);
      break;
    }
    case 'B': {
      std::vector<std::uint8_t> block(16);
      for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<std::uint8_t>(0xA0 + i);
      }
      routing->BlockToConfig(routing, text.c_str(), block.data(), block.size(), &results, &progress);
      break;
    }
    case 'R':
      routing->RouteConfig(routing, text.c_str(), &progress);
      break;
    case 'E':
      routing->ExtractConfig(routing, text.c_str(), &progress, &results);
      break;
    default:
      return 0;
  }
  CheckProgress(text, progress);
  if (results != nullptr) {
    router.uefi.bootServices.FreePool(results);
  }
  carvex::fuzz::Check(router.uefi.live.size() == liveBefore, "pool leaked by the router");
  carvex::fuzz::Check(router.uefi.badFrees == 0, "pool freed twice or never allocated");
  router.driver.requests.clear();
  router.driver.routed.clear();
  return 0;
}

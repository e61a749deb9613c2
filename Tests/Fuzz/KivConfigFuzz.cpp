// Configuration strings from the baseboard management controller, as the
// configuration manager routes them, into the out-of-band form set's
// configuration access: KivExtractConfig and KivRouteConfig over a fake
// platform with the host router installed and the platform's memory
// configuration variable. The first byte picks the call ('E' or 'R'), the
// rest is the string (one character per byte). No routed input may leak,
// overrun, leave Progress outside the string or leave a passphrase behind in
// KivVar beyond its field.
#include <vector>

#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <HiiServices.hpp>
#include <KIV/KivInternal.h>
#include <Protocol/DevicePath.h>

#include "FakeUefi.hpp"
#include "FuzzSupport.hpp"

namespace {

#pragma pack(1)
struct VendorPath {
  VENDOR_DEVICE_PATH vendor;
  EFI_DEVICE_PATH_PROTOCOL end;
};
#pragma pack()

struct Platform {
  Platform() {
    if (hii.Install() != EFI_SUCCESS) {
      carvex::fuzz::Fail("HII services did not install");
    }
    path.vendor.Header = {HARDWARE_DEVICE_PATH, HW_VENDOR_DP, {sizeof(VENDOR_DEVICE_PATH), 0}};
    path.vendor.Guid = CARVEX_KIV_FORMSET_GUID;
    path.end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {END_DEVICE_PATH_LENGTH, 0}};
    mKivDriverHandle = uefi.NewHandle();
    uefi.Install(mKivDriverHandle, gEfiDevicePathProtocolGuid, &path);
    access.ExtractConfig = KivExtractConfig;
    access.RouteConfig = KivRouteConfig;
    access.Callback = KivCallback;
  }
  void ResetVariables() {
    std::vector<std::uint8_t> memoryConfig(SOCKET_MEMORY_CONFIG_SIZE);
    memoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = 2;
    uefi.SetVariable(SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid, memoryConfig);
    uefi.SetVariable(DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid, {2});
  }

  FakeUefi uefi;
  carvex::sim::HiiServices hii{&uefi.bootServices, &uefi.runtimeServices};
  EFI_HII_CONFIG_ACCESS_PROTOCOL access{};
  VendorPath path{};
};

Platform& ThePlatform() {
  static Platform* platform = new Platform();  // the driver's module-wide state lives for the process
  return *platform;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  Platform& platform = ThePlatform();
  platform.ResetVariables();
  const std::u16string text = carvex::fuzz::Widen(data + 1, size - 1);
  const std::size_t liveBefore = platform.uefi.live.size();
  const CHAR16* progress = nullptr;
  CHAR16* results = nullptr;

  switch (data[0]) {
    case 'E':
      platform.access.ExtractConfig(&platform.access, text.c_str(), &progress, &results);
      break;
    case 'R':
      platform.access.RouteConfig(&platform.access, text.c_str(), &progress);
      break;
    default:
      return 0;
  }
  carvex::fuzz::Check(progress == nullptr || (progress >= text.c_str() && progress <= text.c_str() + text.size()),
                      "Progress outside the caller's string");
  if (results != nullptr) {
    platform.uefi.bootServices.FreePool(results);
  }
  carvex::fuzz::Check(platform.uefi.live.size() == liveBefore, "pool leaked by the driver or the router");
  carvex::fuzz::Check(platform.uefi.badFrees == 0, "pool freed twice or never allocated");
  return 0;
}

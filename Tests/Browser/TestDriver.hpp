// A small driver for the browser tests, acting as a host image in every boot
// of a simulated machine: it owns the sample form set's buffer stores,
// answers the router through EFI_HII_CONFIG_ACCESS_PROTOCOL, records every
// callback and lets the test decide the answers, and publishes the platform
// event protocol so that setup-leave events reach the machine's record.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/HiiConfigAccess.h>
#include <Protocol/PlatformEvent.h>

#include "BrowserSampleConfig.h"
#include "Platform/Machine.hpp"

namespace browsertest {

inline constexpr EFI_GUID kFormSetGuid = BROWSER_SAMPLE_FORMSET_GUID;
inline constexpr EFI_GUID kNvGuid = BROWSER_SAMPLE_NV_GUID;

struct DriverCall {
  EFI_BROWSER_ACTION action = 0;
  EFI_QUESTION_ID question = 0;
  UINT8 type = 0;
  EFI_IFR_TYPE_VALUE value{};
  std::u16string text;  // what a string value held during the call (string 0: empty, stringZero set)
  bool stringZero = false;
};

class TestDriver {
 public:
  explicit TestDriver(carvex::sim::Machine& machine);
  ~TestDriver();
  TestDriver(const TestDriver&) = delete;
  TestDriver& operator=(const TestDriver&) = delete;

  // Decides each callback's status; may change *value and *request. The
  // default answers EFI_UNSUPPORTED.
  using Answer = std::function<EFI_STATUS(const DriverCall&, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*)>;
  Answer onCallback;
  EFI_STATUS extractStatus = EFI_SUCCESS;

  // What the driver holds for its buffer stores.
  BROWSER_SAMPLE_VAR sample{};
  BROWSER_PAGE_VAR page{};

  std::vector<DriverCall> calls;
  std::vector<std::u16string> extracts;  // ExtractConfig requests
  std::vector<std::u16string> routes;    // RouteConfig configurations

  EFI_HII_HANDLE HiiHandle() const { return hiiHandle_; }
  std::vector<DriverCall> CallsOf(EFI_QUESTION_ID question) const;

  // Library calls a callback answer may make (the library runs as this image).
  bool SetPageData(UINT8 pageCount, UINT8 level);
  bool ReadSample(BROWSER_SAMPLE_VAR& out);
  EFI_STATUS AddDetailsLines();
  UINT8 ShowBox(const char16_t* title, const char16_t* text, UINT8 boxType);
  // SendForm on this driver's form set at `form`; the browser's answer in *request.
  EFI_STATUS SendForm(EFI_FORM_ID form, EFI_BROWSER_ACTION_REQUEST* request);

 private:
  struct Instance {
    EFI_HII_CONFIG_ACCESS_PROTOCOL access;
    TestDriver* self;
  };
  static EFI_STATUS EFIAPI Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* request,
                                   const CHAR16** progress, CHAR16** results);
  static EFI_STATUS EFIAPI Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* configuration,
                                 const CHAR16** progress);
  static EFI_STATUS EFIAPI Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, EFI_BROWSER_ACTION action,
                                    EFI_QUESTION_ID question, UINT8 type, EFI_IFR_TYPE_VALUE* value,
                                    EFI_BROWSER_ACTION_REQUEST* request);
  void Install(carvex::sim::Machine& machine);
  UINT8* Block(const CHAR16* header, UINTN& size);

  Instance instance_{};
  PLATFORM_EVENT_PROTOCOL events_{};
  std::vector<std::uint8_t> path_;
  EFI_HANDLE handle_ = nullptr;
  EFI_HII_HANDLE hiiHandle_ = nullptr;
};

}  // namespace browsertest

#include "TestDriver.hpp"

#include <cstring>

#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiDriverEntryPoint.h>
#include <Protocol/DevicePath.h>
#include <Protocol/FormBrowser2.h>
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/PostMessage.h>

#include "BrowserSampleBin.h"
#include "BrowserSampleStrDefs.h"
#include "BrowserSampleStrings.h"

namespace browsertest {

namespace {

constexpr EFI_GUID kPathGuid = {0x3C0FFEE1, 0x8A2B, 0x4C3D, {0x9E, 0x4F, 0x50, 0x61, 0x72, 0x83, 0x94, 0xA5}};

EFI_STATUS EFIAPI EventSlot() { return EFI_SUCCESS; }

EFI_HII_CONFIG_ROUTING_PROTOCOL* Routing() {
  void* routing = nullptr;
  gBS->LocateProtocol(&gEfiHiiConfigRoutingProtocolGuid, nullptr, &routing);
  return static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL*>(routing);
}

}  // namespace

TestDriver::TestDriver(carvex::sim::Machine& machine) {
  instance_.access.ExtractConfig = &Extract;
  instance_.access.RouteConfig = &Route;
  instance_.access.Callback = &Callback;
  instance_.self = this;
  events_ = {&EventSlot, &EventSlot, &EventSlot, &EventSlot, &EventSlot, &EventSlot};
  // Hardware vendor node, then the end node.
  path_ = {0x01, 0x04, 0x14, 0x00};
  const auto* guid = reinterpret_cast<const std::uint8_t*>(&kPathGuid);
  path_.insert(path_.end(), guid, guid + sizeof kPathGuid);
  path_.insert(path_.end(), {0x7F, 0xFF, 0x04, 0x00});
  machine.OnStage(carvex::sim::BootStage::ImagesLoaded, [this](carvex::sim::Machine& m) { Install(m); });
}

TestDriver::~TestDriver() = default;

void TestDriver::Install(carvex::sim::Machine& machine) {
  const carvex::sim::HostImage image = machine.AttachHostImage("TestDriver");
  ProcessCommonLibraryConstructors(image.handle, image.systemTable);
  handle_ = nullptr;
  gBS->InstallMultipleProtocolInterfaces(&handle_, &gEfiDevicePathProtocolGuid, path_.data(),
                                         &gEfiHiiConfigAccessProtocolGuid, &instance_.access,
                                         &gTavrilEventProtocolGuid, &events_, nullptr);
  hiiHandle_ = HiiAddPackages(&kFormSetGuid, handle_, BrowserSampleBin, BrowserSampleStrings, nullptr);
}

std::vector<DriverCall> TestDriver::CallsOf(EFI_QUESTION_ID question) const {
  std::vector<DriverCall> found;
  for (const DriverCall& call : calls) {
    if (call.question == question) found.push_back(call);
  }
  return found;
}

UINT8* TestDriver::Block(const CHAR16* header, UINTN& size) {
  if (HiiIsConfigHdrMatch(header, &kFormSetGuid, u"BrowserVar")) {
    size = sizeof sample;
    return reinterpret_cast<UINT8*>(&sample);
  }
  if (HiiIsConfigHdrMatch(header, &kFormSetGuid, u"PageVar")) {
    size = sizeof page;
    return reinterpret_cast<UINT8*>(&page);
  }
  return nullptr;
}

EFI_STATUS EFIAPI TestDriver::Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* request,
                                      const CHAR16** progress, CHAR16** results) {
  TestDriver* self = reinterpret_cast<const Instance*>(This)->self;
  if (request == nullptr || progress == nullptr || results == nullptr) return EFI_INVALID_PARAMETER;
  *progress = request;
  self->extracts.emplace_back(request);
  if (EFI_ERROR(self->extractStatus)) return self->extractStatus;
  UINTN size = 0;
  UINT8* block = self->Block(request, size);
  if (block == nullptr) return EFI_NOT_FOUND;
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = Routing();
  return routing->BlockToConfig(routing, request, block, size, results, progress);
}

EFI_STATUS EFIAPI TestDriver::Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* configuration,
                                    const CHAR16** progress) {
  TestDriver* self = reinterpret_cast<const Instance*>(This)->self;
  if (configuration == nullptr || progress == nullptr) return EFI_INVALID_PARAMETER;
  *progress = configuration;
  self->routes.emplace_back(configuration);
  UINTN size = 0;
  UINT8* block = self->Block(configuration, size);
  if (block == nullptr) return EFI_NOT_FOUND;
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = Routing();
  return routing->ConfigToBlock(routing, configuration, block, &size, progress);
}

EFI_STATUS EFIAPI TestDriver::Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, EFI_BROWSER_ACTION action,
                                       EFI_QUESTION_ID question, UINT8 type, EFI_IFR_TYPE_VALUE* value,
                                       EFI_BROWSER_ACTION_REQUEST* request) {
  TestDriver* self = reinterpret_cast<const Instance*>(This)->self;
  DriverCall call;
  call.action = action;
  call.question = question;
  call.type = type;
  if (value != nullptr) {
    std::memcpy(&call.value, value, sizeof call.value);
    if (type == EFI_IFR_TYPE_STRING) {
      call.stringZero = value->string == 0;
      if (!call.stringZero) {
        CHAR16* text = HiiGetString(self->hiiHandle_, value->string, "en-US");
        if (text != nullptr) {
          call.text = text;
          FreePool(text);
        }
      }
    }
  }
  self->calls.push_back(call);
  return self->onCallback ? self->onCallback(call, value, request) : EFI_UNSUPPORTED;
}

bool TestDriver::SetPageData(UINT8 pageCount, UINT8 level) {
  BROWSER_PAGE_VAR data{pageCount, level};
  return HiiSetBrowserData(&kFormSetGuid, u"PageVar", sizeof data, reinterpret_cast<UINT8*>(&data), nullptr);
}

bool TestDriver::ReadSample(BROWSER_SAMPLE_VAR& out) {
  return HiiGetBrowserData(&kFormSetGuid, u"BrowserVar", sizeof out, reinterpret_cast<UINT8*>(&out));
}

// A text line and a one-of built with the opcode creators, between the
// details form's labels.
EFI_STATUS TestDriver::AddDetailsLines() {
  VOID* start = HiiAllocateOpCodeHandle();
  VOID* end = HiiAllocateOpCodeHandle();
  VOID* options = HiiAllocateOpCodeHandle();
  HiiCreateLabelOpCode(start, LABEL_DETAILS);
  HiiCreateLabelOpCode(end, LABEL_END);
  HiiCreateTextOpCode(start, STR_REGION_LINE, STR_HELP, 0);
  HiiCreateOneOfOptionOpCode(options, STR_PLATFORM, EFI_IFR_OPTION_DEFAULT, EFI_IFR_TYPE_NUM_SIZE_8, 0);
  HiiCreateOneOfOptionOpCode(options, STR_PROCESSOR, 0, EFI_IFR_TYPE_NUM_SIZE_8, 1);
  HiiCreateOneOfOpCode(start, 0x0301, 2, 1, STR_SCOPE, STR_HELP, EFI_IFR_FLAG_CALLBACK, EFI_IFR_NUMERIC_SIZE_1,
                       options, nullptr);
  const EFI_STATUS status = HiiUpdateForm(hiiHandle_, &kFormSetGuid, FORM_DETAILS, start, end);
  HiiFreeOpCodeHandle(options);
  HiiFreeOpCodeHandle(start);
  HiiFreeOpCodeHandle(end);
  return status;
}

UINT8 TestDriver::ShowBox(const char16_t* title, const char16_t* text, UINT8 boxType) {
  void* found = nullptr;
  if (EFI_ERROR(gBS->LocateProtocol(&gPlatformPostMessageProtocolGuid, nullptr, &found))) return 0xEE;
  auto* post = static_cast<PLATFORM_POST_MESSAGE_PROTOCOL*>(found);
  UINT8 selection = 0xFF;
  post->DisplayMessageBox(title, text, boxType, &selection);
  return selection;
}

EFI_STATUS TestDriver::SendForm(EFI_FORM_ID form, EFI_BROWSER_ACTION_REQUEST* request) {
  void* found = nullptr;
  if (EFI_ERROR(gBS->LocateProtocol(&gEfiFormBrowser2ProtocolGuid, nullptr, &found))) return EFI_NOT_FOUND;
  auto* browser = static_cast<EFI_FORM_BROWSER2_PROTOCOL*>(found);
  EFI_GUID guid = kFormSetGuid;
  return browser->SendForm(browser, &hiiHandle_, 1, &guid, form, nullptr, request);
}

}  // namespace browsertest

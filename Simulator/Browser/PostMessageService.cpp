#include "PostMessageService.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include "FormBrowser.hpp"
#include "Platform/PlatformLog.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

namespace {

constexpr UINTN kPostLevel = 0x00000040;

std::vector<PostMessageService*>& Services() {
  static std::vector<PostMessageService*> services;
  return services;
}

std::string Text(const CHAR16* text) { return Utf16ToUtf8(FromChar16(text, 4096)); }

EFI_STATUS EFIAPI DisplayPostMessage(const CHAR16* message) {
  PostMessageService* service = PostMessageService::Current();
  if (service == nullptr) return EFI_NOT_READY;
  if (message == nullptr) return EFI_INVALID_PARAMETER;
  service->Log().Note("POST: " + Text(message), kPostLevel);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ClearPostMessages() {
  PostMessageService* service = PostMessageService::Current();
  if (service == nullptr) return EFI_NOT_READY;
  service->Log().Note("POST: screen cleared", kPostLevel);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI DisplayProgress(const CHAR16* title, UINT8 percent) {
  PostMessageService* service = PostMessageService::Current();
  if (service == nullptr) return EFI_NOT_READY;
  if (percent > 100) return EFI_INVALID_PARAMETER;
  service->Log().Note("POST: " + (title ? Text(title) + " " : std::string()) + std::to_string(percent) + "%",
                      kPostLevel);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AddPostWarning(const CHAR16* message) {
  PostMessageService* service = PostMessageService::Current();
  if (service == nullptr) return EFI_NOT_READY;
  if (message == nullptr) return EFI_INVALID_PARAMETER;
  service->Log().Note("POST warning: " + Text(message), 0x00000002);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI DisplayMessageBox(const CHAR16* title, const CHAR16* message, UINT8 boxType, UINT8* selection) {
  PostMessageService* service = PostMessageService::Current();
  if (service == nullptr) return EFI_NOT_READY;
  if (FormBrowser* browser = service->Browser()) {
    return browser->ShowDriverBox(title, message, boxType, selection);
  }
  if (message == nullptr || (boxType != POST_MESSAGE_BOX_REPORT && boxType != POST_MESSAGE_BOX_ASK)) {
    return EFI_INVALID_PARAMETER;
  }
  // Nobody to ask: the box is logged and a question is answered "stop".
  service->Log().Note("message box: " + (title ? Text(title) + ": " : std::string()) + Text(message), kPostLevel);
  if (boxType == POST_MESSAGE_BOX_ASK && selection != nullptr) {
    *selection = POST_MESSAGE_SELECTION_STOP;
  }
  return EFI_SUCCESS;
}

}  // namespace

PostMessageService::PostMessageService(PlatformLog& log, std::function<FormBrowser*()> browser)
    : log_(log), browser_(std::move(browser)) {
  protocol_.DisplayPostMessage = &DisplayPostMessage;
  protocol_.ClearPostMessages = &ClearPostMessages;
  protocol_.DisplayProgress = &DisplayProgress;
  protocol_.AddPostWarning = &AddPostWarning;
  protocol_.DisplayMessageBox = &DisplayMessageBox;
  Services().push_back(this);
}

PostMessageService::~PostMessageService() {
  auto& services = Services();
  services.erase(std::remove(services.begin(), services.end(), this), services.end());
}

PostMessageService* PostMessageService::Current() {
  return Services().empty() ? nullptr : Services().back();
}

}  // namespace carvex::sim::browser

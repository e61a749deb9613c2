// The platform POST message protocol of the host platform. Its members take
// no This pointer, so calls go to the service installed last (one simulated
// boot runs at a time); boxes go to the browser's front end.
#pragma once

#include <functional>

#include <Protocol/PostMessage.h>

namespace carvex::sim {
class PlatformLog;
}

namespace carvex::sim::browser {

class FormBrowser;

class PostMessageService {
 public:
  // `browser` gives the browser of the boot in progress (may be null).
  PostMessageService(PlatformLog& log, std::function<FormBrowser*()> browser);
  ~PostMessageService();
  PostMessageService(const PostMessageService&) = delete;
  PostMessageService& operator=(const PostMessageService&) = delete;

  PLATFORM_POST_MESSAGE_PROTOCOL* Protocol() { return &protocol_; }

  // The service the protocol's members reach (the last one created).
  static PostMessageService* Current();

  PlatformLog& Log() { return log_; }
  FormBrowser* Browser() const { return browser_ ? browser_() : nullptr; }

 private:
  PlatformLog& log_;
  std::function<FormBrowser*()> browser_;
  PLATFORM_POST_MESSAGE_PROTOCOL protocol_{};
};

}  // namespace carvex::sim::browser

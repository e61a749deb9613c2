// What the browser asks of the front end in use (interactive or script):
// message boxes, masked password entry, and running a form set that a
// driver opened with SendForm until the user leaves it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace carvex::sim::browser {

class FormBrowser;

struct Box {
  std::u16string title;        // may be empty
  std::u16string text;
  bool asks = false;           // two choices: go ahead (0) or stop (1)
  bool fromBrowser = false;    // the browser's own notice, not a driver's box
};

class BrowserUi {
 public:
  virtual ~BrowserUi() = default;

  // Shows the box until the user answers; returns 0 (go ahead / OK) or 1
  // (stop). The answer of a box that only reports is ignored.
  virtual std::uint8_t ShowBox(const Box& box) = 0;

  // Masked entry of at most maxSize characters; nullopt when the user
  // cancelled.
  virtual std::optional<std::u16string> ReadPassword(const std::u16string& prompt, std::size_t maxSize) = 0;

  // Lets the user work in the form set just opened by SendForm; returns
  // when the browser's form history is back to `depth` entries or fewer.
  virtual void RunNested(FormBrowser& browser, std::size_t depth) = 0;
};

}  // namespace carvex::sim::browser

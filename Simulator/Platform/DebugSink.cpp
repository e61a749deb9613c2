#include "DebugSink.hpp"

#include <cstddef>

#include "Guard.hpp"

namespace carvex::sim {

namespace {

constexpr UINT32 kAllLevels = 0xFFFFFFFF;
constexpr UINTN kErrorLevel = 0x80000000;

}  // namespace

DebugSink::DebugSink(PlatformLog& log) : log_(log) {
  static_assert(offsetof(Instance, protocol) == 0, "This is the instance");
  instance_.protocol.Revision = 1;
  instance_.protocol.GetLevelMask = GetLevelMask;
  instance_.protocol.Write = Write;
  instance_.protocol.Assert = Assert;
  instance_.owner = this;
}

DebugSink& DebugSink::From(CARVEX_DEBUG_SINK_PROTOCOL* self) {
  return *reinterpret_cast<Instance*>(self)->owner;
}

std::string DebugSink::NameOf(EFI_HANDLE image) const {
  return names_ ? names_(image) : std::string("?");
}

UINT32 EFIAPI DebugSink::GetLevelMask(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE) {
  if (self == nullptr) {
    return kAllLevels;
  }
  ++From(self).maskQueries_;
  return kAllLevels;
}

VOID EFIAPI DebugSink::Write(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE image, UINTN level,
                             CONST CHAR8* text) {
  if (self == nullptr || text == nullptr) {
    return;
  }
  DebugSink& sink = From(self);
  GuardVoid(&sink.log_, "DebugSink.Write", [&] { sink.Append(image, level, text); });
}

void DebugSink::Append(EFI_HANDLE image, UINTN level, const char* text) {
  Partial& partial = partial_[image];
  if (partial.text.empty()) {
    partial.level = level;  // a line keeps the level of its first fragment
  }
  for (const char* c = text; *c != 0; ++c) {
    if (*c == '\n') {
      log_.AddLine(NameOf(image), partial.level, std::move(partial.text), LogSource::Image);
      partial.text.clear();
      partial.level = level;
    } else if (*c != '\r') {
      partial.text.push_back(*c);
    }
  }
  if (partial.text.empty()) {
    partial_.erase(image);
  }
}

VOID EFIAPI DebugSink::Assert(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE image,
                              CONST CHAR8* file, UINTN line, CONST CHAR8* description) {
  if (self == nullptr) {
    return;
  }
  DebugSink& sink = From(self);
  GuardVoid(&sink.log_, "DebugSink.Assert", [&] {
    AssertionRecord record;
    record.boot = sink.log_.Boot();
    record.image = sink.NameOf(image);
    record.file = file != nullptr ? file : "";
    record.line = line;
    record.description = description != nullptr ? description : "";
    sink.log_.AddLine(record.image, kErrorLevel,
                      "ASSERT " + record.file + "(" + std::to_string(line) +
                          "): " + record.description,
                      LogSource::Assert);
    sink.assertions_.push_back(std::move(record));
  });
}

void DebugSink::Flush() {
  for (auto& [image, partial] : partial_) {
    log_.AddLine(NameOf(image), partial.level, std::move(partial.text), LogSource::Image);
  }
  partial_.clear();
}

}  // namespace carvex::sim

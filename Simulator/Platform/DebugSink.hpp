// Where the images' DebugPrint and ASSERT output lands. Every level is
// asked for from every image so that tests see everything; the platform log
// decides what a person sees. Text may arrive in fragments: a line is
// recorded when its newline arrives.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/DebugSink.h>

#include "PlatformLog.hpp"

namespace carvex::sim {

struct AssertionRecord {
  unsigned boot = 0;
  std::string image;
  std::string file;
  UINTN line = 0;
  std::string description;
};

class DebugSink {
 public:
  using ImageNameOf = std::function<std::string(EFI_HANDLE)>;

  explicit DebugSink(PlatformLog& log);
  DebugSink(const DebugSink&) = delete;
  DebugSink& operator=(const DebugSink&) = delete;

  CARVEX_DEBUG_SINK_PROTOCOL* Protocol() { return &instance_.protocol; }
  void SetImageNames(ImageNameOf names) { names_ = std::move(names); }
  // Records unfinished lines as they are (end of boot, image unload).
  void Flush();

  const std::vector<AssertionRecord>& Assertions() const { return assertions_; }
  std::uint64_t LevelMaskQueries() const { return maskQueries_; }

 private:
  struct Instance {
    CARVEX_DEBUG_SINK_PROTOCOL protocol;  // first: This points at the instance
    DebugSink* owner;
  };
  struct Partial {
    UINTN level = 0;
    std::string text;
  };

  static DebugSink& From(CARVEX_DEBUG_SINK_PROTOCOL* self);
  static UINT32 EFIAPI GetLevelMask(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE image);
  static VOID EFIAPI Write(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE image, UINTN level,
                           CONST CHAR8* text);
  static VOID EFIAPI Assert(CARVEX_DEBUG_SINK_PROTOCOL* self, EFI_HANDLE image,
                            CONST CHAR8* file, UINTN line, CONST CHAR8* description);

  void Append(EFI_HANDLE image, UINTN level, const char* text);
  std::string NameOf(EFI_HANDLE image) const;

  PlatformLog& log_;
  Instance instance_;
  ImageNameOf names_;
  std::map<EFI_HANDLE, Partial> partial_;
  std::vector<AssertionRecord> assertions_;
  std::uint64_t maskQueries_ = 0;
};

}  // namespace carvex::sim

// What the platform saw during its boots: the images' debug lines and
// assertions, and the platform's own reports of misuse and failures.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim {

enum class LogSource { Image, Assert, Platform };

struct LogLine {
  unsigned boot = 0;
  std::string image;
  UINTN level = 0;
  std::string text;  // without the trailing newline
  LogSource source = LogSource::Image;
};

// Problems the platform detected; a clean run has none.
enum class ReportKind {
  InvalidFree,
  DoubleFree,
  TplMisuse,
  ServiceMisuse,
  ImageLoad,
  ImageUnload,
  DanglingReference,
  ResetLoop,
  Exception,
  SecretInFreedPool,  // a freed block still held a watched text
};

const char* ReportKindName(ReportKind kind);

struct PlatformReport {
  unsigned boot = 0;
  ReportKind kind = ReportKind::ServiceMisuse;
  std::string image;
  std::string message;
};

class PlatformLog {
 public:
  static constexpr UINT32 kPlatformLevel = 0x80000000;  // platform reports show at the error level

  void SetBoot(unsigned boot) { boot_ = boot; }
  unsigned Boot() const { return boot_; }

  void AddLine(std::string image, UINTN level, std::string text, LogSource source);
  void Report(ReportKind kind, std::string image, std::string message);
  // Informational platform line (not a problem).
  void Note(std::string text, UINTN level = 0x40);

  // Lines whose level has a bit in displayMask are echoed to the stream
  // ("[image] text"); assertions and reports always are.
  void SetEcho(std::ostream* stream, UINT32 displayMask) {
    echo_ = stream;
    displayMask_ = displayMask;
  }

  const std::vector<LogLine>& Lines() const { return lines_; }
  const std::vector<PlatformReport>& Reports() const { return reports_; }
  bool Contains(std::string_view fragment, std::optional<std::string_view> image = {}) const;
  std::size_t Count(std::string_view fragment, std::optional<std::string_view> image = {}) const;
  void Clear();

 private:
  void Echo(const LogLine& line, bool always) const;

  unsigned boot_ = 0;
  std::vector<LogLine> lines_;
  std::vector<PlatformReport> reports_;
  std::ostream* echo_ = nullptr;
  UINT32 displayMask_ = 0;
};

}  // namespace carvex::sim

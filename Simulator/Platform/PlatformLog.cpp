#include "PlatformLog.hpp"

namespace carvex::sim {

const char* ReportKindName(ReportKind kind) {
  switch (kind) {
    case ReportKind::InvalidFree: return "invalid free";
    case ReportKind::DoubleFree: return "double free";
    case ReportKind::TplMisuse: return "TPL misuse";
    case ReportKind::ServiceMisuse: return "service misuse";
    case ReportKind::ImageLoad: return "image load";
    case ReportKind::ImageUnload: return "image unload";
    case ReportKind::DanglingReference: return "dangling reference";
    case ReportKind::ResetLoop: return "reset loop";
    case ReportKind::Exception: return "exception";
    case ReportKind::SecretInFreedPool: return "secret in freed pool";
  }
  return "report";
}

void PlatformLog::AddLine(std::string image, UINTN level, std::string text, LogSource source) {
  lines_.push_back(LogLine{boot_, std::move(image), level, std::move(text), source});
  Echo(lines_.back(), source == LogSource::Assert);
}

void PlatformLog::Report(ReportKind kind, std::string image, std::string message) {
  reports_.push_back(PlatformReport{boot_, kind, image, message});
  lines_.push_back(LogLine{boot_, "platform", kPlatformLevel,
                           std::string(ReportKindName(kind)) + " (" + image + "): " + message,
                           LogSource::Platform});
  Echo(lines_.back(), true);
}

void PlatformLog::Note(std::string text, UINTN level) {
  AddLine("platform", level, std::move(text), LogSource::Platform);
}

bool PlatformLog::Contains(std::string_view fragment, std::optional<std::string_view> image) const {
  return Count(fragment, image) > 0;
}

std::size_t PlatformLog::Count(std::string_view fragment,
                               std::optional<std::string_view> image) const {
  std::size_t count = 0;
  for (const LogLine& line : lines_) {
    if ((!image || line.image == *image) && line.text.find(fragment) != std::string::npos) {
      ++count;
    }
  }
  return count;
}

void PlatformLog::Clear() {
  lines_.clear();
  reports_.clear();
}

void PlatformLog::Echo(const LogLine& line, bool always) const {
  if (echo_ == nullptr) {
    return;
  }
  if (always || (line.level & displayMask_) != 0) {
    *echo_ << '[' << line.image << "] " << line.text << '\n';
  }
}

}  // namespace carvex::sim

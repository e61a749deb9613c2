#include "LogLevel.hpp"

#include <cstdlib>

#include <Library/DebugLib.h>

namespace carvex::sim::cli {

std::optional<UINT32> ParseLogLevel(const std::string& text) {
  constexpr UINT32 kError = DEBUG_ERROR;
  constexpr UINT32 kWarn = kError | DEBUG_WARN;
  constexpr UINT32 kInfo = kWarn | DEBUG_INFO;
  if (text == "none") return 0u;
  if (text == "error") return kError;
  if (text == "warn") return kWarn;
  if (text == "info") return kInfo;
  if (text == "verbose") return kInfo | DEBUG_VERBOSE;
  if (text == "all") return 0xFFFFFFFFu;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str() + 2, &end, 16);
    if (end != nullptr && *end == '\0' && value <= 0xFFFFFFFFull) {
      return static_cast<UINT32>(value);
    }
  }
  return std::nullopt;
}

}  // namespace carvex::sim::cli

// Debug levels by name, as a person types them on the command line.
#pragma once

#include <optional>
#include <string>

#include <Uefi.h>

namespace carvex::sim::cli {

// "error", "warn", "info", "verbose", "all", "none" (each level includes
// the ones above it), or a mask in hex ("0x80000042").
std::optional<UINT32> ParseLogLevel(const std::string& text);

}  // namespace carvex::sim::cli

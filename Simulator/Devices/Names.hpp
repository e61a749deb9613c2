// Names a person writes in a platform file and reads in a dump: EFI and
// NVM statuses, fault slots, memory types, security and scrub states.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Uefi.h>

namespace carvex::sim::devices {

struct NamedValue {
  const char* name;
  std::uint64_t value;
};

// Lookups by name (exact) and by value; nullopt / empty when unknown.
std::optional<std::uint64_t> ValueOf(const std::vector<NamedValue>& table, std::string_view name);
std::string NameOf(const std::vector<NamedValue>& table, std::uint64_t value);
// "a, b or c" for error messages.
std::string ChoiceList(const std::vector<NamedValue>& table);

const std::vector<NamedValue>& EfiStatusNames();   // "EFI_DEVICE_ERROR", ...
const std::vector<NamedValue>& NvmStatusNames();   // "NVM_ERR_DIMM_NOT_FOUND", ...
const std::vector<NamedValue>& NvmSlotNames();     // "GetDimms", ..., "PassThru"
const std::vector<NamedValue>& BmcSlotNames();     // "ReadFile", ...
const std::vector<NamedValue>& FaultModeNames();   // "off", "times", "always" (+ "once" when reading)
const std::vector<NamedValue>& MemoryTypeNames();  // "AppDirect", "AppDirectNotInterleaved"
const std::vector<NamedValue>& RegionTypeNames();
const std::vector<NamedValue>& ScrubStatusNames();
const std::vector<NamedValue>& NamespaceHealthNames();
const std::vector<NamedValue>& SecurityStateNames();  // the state bytes a module reports

// "EFI_DEVICE_ERROR" style, or the value in hex when it has no name.
std::string EfiStatusName(EFI_STATUS status);

}  // namespace carvex::sim::devices

#include "Summary.hpp"

#include <iomanip>
#include <sstream>

#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <Library/PrintLib.h>

namespace carvex::sim::cli {

namespace {

std::string StatusText(EFI_STATUS status) {
  const CHAR8* text = StatusToString(status);
  if (text != nullptr) {
    return text;
  }
  std::ostringstream hex;
  hex << "0x" << std::hex << std::uppercase << status;
  return hex.str();
}

const char* SlotName(unsigned slot) {
  static const char* const kNames[] = {"pre-post-complete", "before-post-complete", "post-complete",
                                       "save setting",      "discard setting",      "load defaults"};
  return slot < 6 ? kNames[slot] : "?";
}

const char* ProfileName(std::uint8_t value) {
  switch (value) {
    case PERF_PROFILE_BW_OPTIMIZED: return "BW Optimized";
    case PERF_PROFILE_LATENCY_OPTIMIZED: return "Latency Optimized";
    case PERF_PROFILE_BALANCED: return "Balanced Profile";
    default: return "unknown";
  }
}

std::string ByteVariable(Machine& machine, std::u16string_view name, const EFI_GUID& guid,
                         std::size_t offset = 0) {
  const auto data = machine.Variables().Data(name, guid);
  if (!data) return "absent";
  if (data->size() <= offset) return "too short (" + std::to_string(data->size()) + " bytes)";
  return std::to_string((*data)[offset]);
}

}  // namespace

void PrintBootSummary(std::ostream& out, Machine& machine, const BootSummary& summary) {
  out << "\n== carvex-sim: " << summary.boots.size() << (summary.boots.size() == 1 ? " boot" : " boots")
      << " (state in " << machine.StateDirectory().string() << ")\n";
  for (const BootRecord& boot : summary.boots) {
    out << "boot " << boot.number << "\n";
    for (const ImageLoadResult& image : boot.images) {
      out << "  image   " << std::left << std::setw(18) << image.name << std::right
          << (image.resident ? "entry point: " : "not resident: ") << StatusText(image.status);
      if (!image.error.empty()) out << " (" << image.error << ")";
      out << "\n";
    }
    if (!boot.platformEventProtocolFound) {
      out << "  events  no platform event protocol installed: the driver stayed inert\n";
    }
    for (const SlotCall& call : boot.slots) {
      out << "  slot " << call.slot << "  " << std::left << std::setw(22) << SlotName(call.slot) << std::right
          << StatusText(call.status) << "\n";
    }
    if (boot.reset) {
      out << "  reset   requested by " << boot.reset->source << "\n";
    }
    for (const auto& [image, stats] : boot.pool) {
      out << "  pool    " << std::left << std::setw(18) << image << std::right << stats.allocations
          << " allocations, peak " << stats.peakBytes << " bytes, " << stats.bytesOutstanding
          << " bytes held to the end of boot\n";
    }
    if (!boot.stillMapped.empty()) {
      out << "  WARNING images still mapped after unload:";
      for (const auto& name : boot.stillMapped) out << " " << name;
      out << "\n";
    }
  }

  out << "variables\n";
  out << "  CarvekPresent       " << ByteVariable(machine, CARVEK_PRESENT_NAME, gCarvekPresentGuid)
      << " (volatile, written at end of POST)\n";
  const std::string driverProfile = ByteVariable(machine, DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid);
  const std::string platformProfile = ByteVariable(machine, SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid,
                                                   SOCKET_MEMORY_CONFIG_PERF_OFFSET);
  const auto profileText = [](const std::string& value) {
    return value.empty() || !std::isdigit(static_cast<unsigned char>(value[0]))
               ? value
               : value + " " + ProfileName(static_cast<std::uint8_t>(std::stoi(value)));
  };
  out << "  DcpmmPerfConfigVar  " << profileText(driverProfile) << "\n";
  out << "  SocketMemoryConfig  byte 364 = " << profileText(platformProfile) << "\n";
  out << "  PostResetReq        " << ByteVariable(machine, POST_RESET_REQ_NAME, gPlatformRequestVariableGuid) << "\n";

  for (const PlatformReport& report : summary.reports) {
    out << "PROBLEM (boot " << report.boot << ", " << ReportKindName(report.kind) << ", " << report.image
        << "): " << report.message << "\n";
  }
}

}  // namespace carvex::sim::cli

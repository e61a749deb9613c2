#include "Summary.hpp"

#include <iomanip>

#include <Guid/PlatformVariables.h>

#include "BootFacts.hpp"

namespace carvex::sim::cli {

namespace {

const char* ProfileName(std::uint8_t value) {
  switch (value) {
    case PERF_PROFILE_BW_OPTIMIZED: return "BW Optimized";
    case PERF_PROFILE_LATENCY_OPTIMIZED: return "Latency Optimized";
    case PERF_PROFILE_BALANCED: return "Balanced Profile";
    default: return "unknown";
  }
}

std::string VariableText(const VariableFact& fact, bool profile) {
  if (fact.size == 0) return "absent";
  if (!fact.value) return "too short (" + std::to_string(fact.size) + " bytes)";
  std::string text = std::to_string(*fact.value);
  if (profile) text += std::string(" ") + ProfileName(*fact.value);
  return text;
}

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : " ") + item;
  return text;
}

}  // namespace

void PrintBootSummary(std::ostream& out, SimPlatform& platform, const BootSummary& summary) {
  Machine& machine = platform.machine();
  out << "\n== carvex-sim: " << summary.boots.size() << (summary.boots.size() == 1 ? " boot" : " boots")
      << " (state in " << machine.StateDirectory().string() << ")\n";
  for (const BootRecord& boot : summary.boots) {
    out << "boot " << boot.number << "\n";
    for (const ImageLoadResult& image : boot.images) {
      out << "  image   " << std::left << std::setw(18) << image.name << std::right
          << (image.resident ? "entry point: " : "not resident: ") << StatusName(image.status);
      if (!image.error.empty()) out << " (" << image.error << ")";
      out << "\n";
    }
    if (!boot.platformEventProtocolFound) {
      out << "  events  no platform event protocol installed: the driver stayed inert\n";
    }
    for (const SlotCall& call : boot.slots) {
      out << "  slot " << call.slot << "  " << std::left << std::setw(22) << SlotName(call.slot) << std::right
          << StatusName(call.status) << "\n";
    }
    for (const std::string& event : boot.events) {
      out << "  event   " << event << "\n";
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

  const std::vector<FormSetFact> formSets = InstalledFormSets(platform.hii().Services());
  out << "form sets (HII database after the last boot)\n";
  if (formSets.empty()) out << "  (none installed)\n";
  for (const FormSetFact& formSet : formSets) {
    out << "  \"" << formSet.title << "\"  {" << formSet.guid << "}  " << formSet.forms
        << (formSet.forms == 1 ? " form, " : " forms, ") << formSet.languages.size()
        << (formSet.languages.size() == 1 ? " language: " : " languages: ") << Join(formSet.languages) << "\n";
  }

  out << "variables\n";
  for (const VariableFact& fact : DriverVariables(machine)) {
    const bool profile = fact.name != "CarvekPresent" && fact.name != "PostResetReq";
    out << "  " << std::left << std::setw(24) << fact.name << std::right << VariableText(fact, profile);
    if (fact.name == "CarvekPresent") out << " (volatile, written at end of POST)";
    out << "\n";
  }
  out << "devices   " << platform.Origin() << "\n";

  for (const PlatformReport& report : summary.reports) {
    out << "PROBLEM (boot " << report.boot << ", " << ReportKindName(report.kind) << ", " << report.image
        << "): " << report.message << "\n";
  }
  out << CountDriverErrors(summary, SimPlatform::kDriverImage).Describe() << "\n";
}

}  // namespace carvex::sim::cli

#include "BootFacts.hpp"

#include <cctype>
#include <cstdio>
#include <sstream>

#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <Library/PrintLib.h>

#include "IfrModel.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim {

namespace {

constexpr UINTN kErrorLevel = 0x80000000;

std::string GuidText(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof(text), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", guid.Data1, guid.Data2,
                guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return text;
}

// The text %r gives an EFI error status ("Device Error", "Not Found").
bool IsErrorStatusText(const std::string& text) {
  for (UINTN code = 1; code < 64; ++code) {
    const CHAR8* name = StatusToString(static_cast<EFI_STATUS>(code | (1ULL << 63)));
    if (name != nullptr && text == name) return true;
  }
  return false;
}

std::vector<std::string> Fields(const std::string& text) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (std::size_t colon; (colon = text.find(':', start)) != std::string::npos; start = colon + 1) {
    fields.push_back(text.substr(start, colon - start));
  }
  fields.push_back(text.substr(start));
  return fields;
}

// Whether an error-level line of the driver reports a failure. The driver
// writes more than failures at that level: exit lines ("Name:Exit",
// "Name:Exit:<status or number>") and progress lines carrying "Success".
// An exit line is a failure only with an error status other than
// "Unsupported", a configuration access function's ordinary answer for
// requests that are not its own; another line is one when it says it
// failed or carries an error status. Post-complete answers "Not Found" when
// the controller routed no request in this boot: that is no failure either.
bool ReportsFailure(const std::string& text) {
  if (text == "KivPostComplete:Exit:Not Found" || text == "KivPostComplete:GetVariable KivVar:Not Found") return false;
  const std::vector<std::string> fields = Fields(text);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i] != "Exit") continue;
    if (i + 1 == fields.size()) return false;
    const std::string& status = fields[i + 1];
    return i + 2 == fields.size() && status != "Unsupported" && IsErrorStatusText(status);
  }
  if (text.rfind("NVDIMM-ERR:", 0) == 0) return true;
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower.find("fail") != std::string::npos) return true;
  for (const std::string& field : fields) {
    if (IsErrorStatusText(field)) return true;
  }
  return false;
}

// "platform event slot N returned 0xHEX", as the machine notes each call.
std::optional<std::string> FailedSlot(const std::string& text) {
  unsigned slot = 0;
  unsigned long long status = 0;
  if (std::sscanf(text.c_str(), "platform event slot %u returned 0x%llx", &slot, &status) != 2) {
    return std::nullopt;
  }
  if (!EFI_ERROR(static_cast<EFI_STATUS>(status))) return std::nullopt;
  if (slot == 2 && static_cast<EFI_STATUS>(status) == EFI_NOT_FOUND) return std::nullopt;  // no request routed
  return "slot " + std::to_string(slot) + " (" + SlotName(slot) + ") returned " +
         StatusName(static_cast<EFI_STATUS>(status));
}

}  // namespace

std::string DriverErrors::Describe() const {
  if (count == 0) return "0 driver errors";
  if (count == 1) return "1 driver error: " + first;
  return std::to_string(count) + " driver errors: first " + first;
}

std::string StatusName(EFI_STATUS status) {
  const CHAR8* text = StatusToString(status);
  if (text != nullptr) return text;
  std::ostringstream hex;
  hex << "0x" << std::hex << std::uppercase << status;
  return hex.str();
}

const char* SlotName(unsigned slot) {
  static const char* const kNames[] = {"pre-post-complete", "before-post-complete", "post-complete",
                                       "save setting",      "discard setting",      "load defaults"};
  return slot < 6 ? kNames[slot] : "?";
}

std::vector<FormSetFact> InstalledFormSets(HiiServices* services) {
  std::vector<FormSetFact> facts;
  if (services == nullptr) return facts;
  for (const HiiPackageListInfo& list : services->PackageLists()) {
    for (const auto& package : list.formPackages) {
      for (const browser::FormSetModel& formSet : browser::ParseFormPackage(package)) {
        FormSetFact fact;
        fact.guid = GuidText(formSet.guid);
        fact.forms = formSet.forms.size();
        fact.languages = list.languages;
        std::optional<std::u16string> title = services->String(list.handle, formSet.title, "en-US");
        if (!title && !list.languages.empty()) {
          title = services->String(list.handle, formSet.title, list.languages.front());
        }
        fact.title = title ? Utf16ToUtf8(*title) : "(no title string)";
        facts.push_back(std::move(fact));
      }
    }
  }
  return facts;
}

DriverErrors CountDriverErrors(const BootSummary& summary, const std::string& image, std::optional<unsigned> boot) {
  DriverErrors errors;
  const auto add = [&errors](std::string what) {
    if (errors.count++ == 0) errors.first = std::move(what);
  };
  const std::string entryFailure = image + " returned ";
  for (const LogLine& line : summary.log) {
    if (boot && line.boot != *boot) continue;
    if (line.source == LogSource::Platform) {
      if (auto slot = FailedSlot(line.text)) {
        add(*slot);
      } else if (line.text.rfind(entryFailure, 0) == 0 && line.text.find("from its entry point") != std::string::npos) {
        add("entry point " + line.text.substr(image.size() + 1));
      }
      continue;
    }
    if (line.image != image) continue;
    if (line.source == LogSource::Assert) {
      add(line.text);
    } else if ((line.level & kErrorLevel) != 0 && ReportsFailure(line.text)) {
      add(line.text);
    }
  }
  return errors;
}

std::vector<VariableFact> DriverVariables(Machine& machine) {
  const auto byte = [&machine](std::string label, std::u16string_view name, const EFI_GUID& guid, std::size_t offset) {
    VariableFact fact;
    fact.name = std::move(label);
    const auto data = machine.Variables().Data(name, guid);
    if (data) {
      fact.size = data->size();
      if (data->size() > offset) fact.value = (*data)[offset];
    }
    return fact;
  };
  return {
      byte("CarvekPresent", CARVEK_PRESENT_NAME, gCarvekPresentGuid, 0),
      byte("DcpmmPerfConfigVar", DCPMM_PERF_CONFIG_VAR_NAME, gCarvexSetupFormSetGuid, 0),
      byte("SocketMemoryConfig[364]", SOCKET_MEMORY_CONFIG_NAME, gSocketMemoryConfigGuid,
           SOCKET_MEMORY_CONFIG_PERF_OFFSET),
      byte("PostResetReq", POST_RESET_REQ_NAME, gPlatformRequestVariableGuid, 0),
  };
}

nlohmann::json BootJson(Machine& machine, HiiServices* services, const BootSummary& summary,
                        const std::string& driverImage) {
  using nlohmann::json;
  json document;
  document["stateDir"] = machine.StateDirectory().string();
  json boots = json::array();
  for (const BootRecord& record : summary.boots) {
    json boot;
    boot["number"] = record.number;
    json images = json::array();
    for (const ImageLoadResult& image : record.images) {
      json item{{"name", image.name}, {"resident", image.resident}, {"status", StatusName(image.status)}};
      if (!image.error.empty()) item["error"] = image.error;
      images.push_back(std::move(item));
    }
    boot["images"] = std::move(images);
    boot["platformEventProtocol"] = record.platformEventProtocolFound;
    json slots = json::array();
    for (const SlotCall& call : record.slots) {
      slots.push_back({{"slot", call.slot},
                       {"name", SlotName(call.slot)},
                       {"status", StatusName(call.status)},
                       {"error", EFI_ERROR(call.status) ? true : false}});
    }
    boot["slots"] = std::move(slots);
    boot["events"] = record.events;
    boot["reset"] = record.reset ? json(record.reset->source) : json(nullptr);
    json pool = json::object();
    for (const auto& [image, stats] : record.pool) {
      pool[image] = {{"allocations", stats.allocations},
                     {"peakBytes", stats.peakBytes},
                     {"bytesHeldAtEnd", stats.bytesOutstanding}};
    }
    boot["pool"] = std::move(pool);
    const DriverErrors errors = CountDriverErrors(summary, driverImage, record.number);
    boot["driverErrors"] = {{"count", errors.count}, {"first", errors.first}};
    boots.push_back(std::move(boot));
  }
  document["boots"] = std::move(boots);

  json formSets = json::array();
  for (const FormSetFact& fact : InstalledFormSets(services)) {
    formSets.push_back(
        {{"title", fact.title}, {"guid", fact.guid}, {"forms", fact.forms}, {"languages", fact.languages}});
  }
  document["formSets"] = std::move(formSets);

  json variables = json::object();
  for (const VariableFact& fact : DriverVariables(machine)) {
    variables[fact.name] = fact.value ? json(*fact.value) : json(nullptr);
  }
  document["variables"] = std::move(variables);

  json reports = json::array();
  for (const PlatformReport& report : summary.reports) {
    reports.push_back({{"boot", report.boot},
                       {"kind", ReportKindName(report.kind)},
                       {"image", report.image},
                       {"message", report.message}});
  }
  document["problems"] = std::move(reports);
  document["resetLoop"] = summary.resetLoop;
  const DriverErrors errors = CountDriverErrors(summary, driverImage);
  document["driverErrors"] = {{"count", errors.count}, {"first", errors.first}};
  return document;
}

}  // namespace carvex::sim

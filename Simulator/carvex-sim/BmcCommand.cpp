#include "BmcCommand.hpp"

#include <cstring>
#include <iostream>
#include <map>

#include <nlohmann/json.hpp>

#include "KIV/CarvexKivVar.h"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::cli {

namespace {

using json = nlohmann::json;

constexpr const char* kKeyword = "Intel Optane DCPMM";

const std::map<unsigned, const char*> kSecurityStates = {{0, "Unknown"}, {1, "Disabled"}, {2, "Locked"},
                                                         {3, "Unlocked"}, {4, "Frozen"},  {6, "Exceeded"},
                                                         {9, "Mixed"}};
const std::map<unsigned, const char*> kUnlockStates = {
    {0, "Other"}, {1, "Success"}, {2, "Invalid Passphrase"}, {3, "Passphrase Not Exist"}, {4, "Not Applicable"}};
const std::map<unsigned, const char*> kProfiles = {{0, "BW Optimized"}, {1, "Latency Optimized"}, {2, "Balanced Profile"}};
const std::map<unsigned, const char*> kRegionTypes = {{1, "App Direct"}, {2, "App Direct Not Interleaved"}};

std::string Named(const std::map<unsigned, const char*>& names, unsigned value) {
  auto it = names.find(value);
  return it != names.end() ? it->second : "value " + std::to_string(value);
}

unsigned ParseUnsigned(const std::string& key, const std::string& text, unsigned low, unsigned high) {
  unsigned value = 0;
  bool ok = !text.empty() && text.size() <= 3;
  for (char c : text) {
    ok = ok && c >= '0' && c <= '9';
    if (ok) value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (!ok || value < low || value > high) {
    throw BmcRequestError(key + ": " + (text.empty() ? std::string("a value is needed") : "'" + text + "'") +
                          " is not a number from " + std::to_string(low) + " to " + std::to_string(high));
  }
  return value;
}

kiv::RequestedValue Value(const std::string& key, const char* store, std::uint16_t offset,
                          std::vector<std::uint8_t> bytes, bool secret = false) {
  return kiv::RequestedValue{key, store, offset, std::move(bytes), secret};
}

// Text of a CHAR16 field, up to its NUL or its end.
std::string Text(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t chars) {
  std::u16string text;
  for (std::size_t i = 0; i < chars && offset + 2 * i + 1 < bytes.size(); ++i) {
    const char16_t c = static_cast<char16_t>(bytes[offset + 2 * i] | (bytes[offset + 2 * i + 1] << 8));
    if (c == 0) break;
    text.push_back(c);
  }
  return Utf16ToUtf8(text);
}

unsigned Byte(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  return offset < bytes.size() ? bytes[offset] : 0;
}

std::uint32_t Le(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width && offset + i < bytes.size(); ++i) value |= std::uint32_t(bytes[offset + i]) << (8 * i);
  return value;
}

json KivVarJson(const std::vector<std::uint8_t>& v) {
  bool passphrase = false;
  for (std::size_t i = offsetof(KIV_VAR, SecurityPassphrase); i < offsetof(KIV_VAR, TotalRawCapacity); ++i) {
    passphrase = passphrase || Byte(v, i) != 0;
  }
  return {{"securityState", Named(kSecurityStates, Byte(v, offsetof(KIV_VAR, SecurityState)))},
          {"totalRawCapacity", Text(v, offsetof(KIV_VAR, TotalRawCapacity), 19)},
          {"totalMemoryCapacity", Text(v, offsetof(KIV_VAR, TotalMemoryCapacity), 19)},
          {"totalAppDirectCapacity", Text(v, offsetof(KIV_VAR, TotalAppDirectCapacity), 19)},
          {"appDirectCapable", Byte(v, offsetof(KIV_VAR, AppDirectCapable))},
          {"memoryModeCapable", Byte(v, offsetof(KIV_VAR, MemoryModeCapable))},
          {"memoryModePercentage", Byte(v, offsetof(KIV_VAR, MemoryModePercentage))},
          {"performanceProfile", Named(kProfiles, Byte(v, offsetof(KIV_VAR, DcpmmPerfConfig)))},
          {"pending", {{"createGoal", Byte(v, offsetof(KIV_VAR, CreateGoal))},
                       {"securityOperation", Byte(v, offsetof(KIV_VAR, SecurityOperation))},
                       {"passphraseReported", passphrase},
                       {"eraseAllDimms", Byte(v, offsetof(KIV_VAR, EraseAllDimms))}}}};
}

json RegionJson(const std::vector<std::uint8_t>& v) {
  return {{"regionId", Le(v, offsetof(KIV_REGION_VAR, RegionId), 4)},
          {"id", Text(v, offsetof(KIV_REGION_VAR, RegionIdStr), 7)},
          {"socket", Text(v, offsetof(KIV_REGION_VAR, RegionSocketStr), 20)},
          {"capacity", Text(v, offsetof(KIV_REGION_VAR, RegionCapacityStr), 19)},
          {"type", Named(kRegionTypes, Byte(v, offsetof(KIV_REGION_VAR, RegionType)))}};
}

json ModuleJson(const std::vector<std::uint8_t>& v) {
  return {{"location", Text(v, offsetof(KIV_DCPMM_INFO_VAR, DeviceLocator), 128)},
          {"uid", Text(v, offsetof(KIV_DCPMM_INFO_VAR, DimmUid), 22)},
          {"securityState", Named(kSecurityStates, Byte(v, offsetof(KIV_DCPMM_INFO_VAR, SecurityState)))},
          {"autoUnlock", Named(kUnlockStates, Byte(v, offsetof(KIV_DCPMM_INFO_VAR, AutoUnlockState)))}};
}

// What a queued value asks for, without its secret.
std::string Describe(const kiv::RequestedValue& value) {
  const unsigned b = value.bytes.empty() ? 0 : value.bytes[0];
  if (value.secret) return "passphrase (hidden)";
  if (value.store == "CarvekConfigVar") return "percentage remaining threshold " + std::to_string(b);
  switch (value.offset) {
    case offsetof(KIV_VAR, CreateGoal):
      return "create goal: " + std::to_string(Byte(value.bytes, 1)) + "% memory mode, " +
             Named(kRegionTypes, Byte(value.bytes, 2));
    case offsetof(KIV_VAR, SecurityOperation):
      return "security operation " + std::to_string(b);
    case offsetof(KIV_VAR, EraseAllDimms):
      return "erase all modules";
    case offsetof(KIV_VAR, DcpmmPerfConfig):
      return "performance profile " + Named(kProfiles, b);
    default:
      return "offset " + std::to_string(value.offset);
  }
}

}  // namespace

std::vector<kiv::RequestedValue> ParseBmcRequest(const std::vector<std::string>& arguments) {
  if (arguments.empty()) throw BmcRequestError("bmc set: which request? goal, security, erase-all, profile, threshold");
  const std::string& key = arguments[0];
  const std::vector<std::string> values(arguments.begin() + 1, arguments.end());
  auto expect = [&](std::size_t low, std::size_t high, const char* usage) {
    if (values.size() < low || values.size() > high) throw BmcRequestError(key + ": usage: bmc set " + usage);
  };
  if (key == "goal") {
    expect(1, 2, "goal PERCENT [app-direct|app-direct-not-interleaved]");
    const unsigned percent = ParseUnsigned(key, values[0], 0, 100);
    std::uint8_t type = KIV_PERSISTENT_MEMORY_APP_DIRECT;
    if (values.size() == 2) {
      if (values[1] == "app-direct") type = KIV_PERSISTENT_MEMORY_APP_DIRECT;
      else if (values[1] == "app-direct-not-interleaved") type = KIV_PERSISTENT_MEMORY_APP_DIRECT_NI;
      else throw BmcRequestError(key + ": unknown type '" + values[1] + "' (app-direct or app-direct-not-interleaved)");
    }
    return {Value(key, "KivVar", offsetof(KIV_VAR, CreateGoal), {1, static_cast<std::uint8_t>(percent), type})};
  }
  if (key == "security") {
    expect(1, 2, "security enable|disable|erase PASSPHRASE, or security erase-without-passphrase");
    static const std::map<std::string, std::uint8_t> kOperations = {
        {"enable", KIV_SECURITY_OPERATION_ENABLE},
        {"disable", KIV_SECURITY_OPERATION_DISABLE},
        {"erase", KIV_SECURITY_OPERATION_SECURE_ERASE},
        {"erase-without-passphrase", KIV_SECURITY_OPERATION_ERASE_WITHOUT_PASSPHRASE}};
    auto op = kOperations.find(values[0]);
    if (op == kOperations.end()) throw BmcRequestError(key + ": unknown operation '" + values[0] + "'");
    const bool needsPassphrase = op->second != KIV_SECURITY_OPERATION_ERASE_WITHOUT_PASSPHRASE;
    if (needsPassphrase != (values.size() == 2)) {
      throw BmcRequestError(key + ": " + values[0] + (needsPassphrase ? " needs a passphrase" : " takes no passphrase"));
    }
    std::vector<std::uint8_t> field(sizeof(((KIV_VAR*)nullptr)->SecurityPassphrase), 0);
    if (needsPassphrase) {
      const std::string& text = values[1];
      if (text.empty() || text.size() > KIV_PASSPHRASE_LEN - 1) {
        throw BmcRequestError(key + ": the passphrase has 1 to 32 characters");
      }
      for (std::size_t i = 0; i < text.size(); ++i) {
        if (static_cast<unsigned char>(text[i]) < 0x20 || static_cast<unsigned char>(text[i]) > 0x7E) {
          throw BmcRequestError(key + ": the passphrase takes printable ASCII characters only");
        }
        field[2 * i] = static_cast<std::uint8_t>(text[i]);
      }
    }
    return {Value(key, "KivVar", offsetof(KIV_VAR, SecurityOperation), {op->second}),
            Value(key, "KivVar", offsetof(KIV_VAR, SecurityPassphrase), std::move(field), true)};
  }
  if (key == "erase-all") {
    expect(0, 0, "erase-all");
    return {Value(key, "KivVar", offsetof(KIV_VAR, EraseAllDimms), {1})};
  }
  if (key == "profile") {
    expect(1, 1, "profile bw|latency|balanced");
    static const std::map<std::string, std::uint8_t> kNames = {{"bw", 0}, {"latency", 1}, {"balanced", 2}};
    auto it = kNames.find(values[0]);
    if (it == kNames.end()) throw BmcRequestError(key + ": unknown profile '" + values[0] + "' (bw, latency, balanced)");
    return {Value(key, "KivVar", offsetof(KIV_VAR, DcpmmPerfConfig), {it->second})};
  }
  if (key == "threshold") {
    expect(1, 1, "threshold PERCENT (2 to 99)");
    return {Value(key, "CarvekConfigVar", 0, {static_cast<std::uint8_t>(ParseUnsigned(key, values[0], 2, 99))})};
  }
  throw BmcRequestError("bmc set: unknown request '" + key + "' (goal, security, erase-all, profile, threshold)");
}

std::string ControllerJson(const kiv::ControllerStore& controller) {
  json document;
  document["copies"] = json::object();
  for (const auto& [keyword, copy] : controller.Copies()) {
    json entry = {{"boot", copy.boot}, {"reason", copy.reason}};
    for (const kiv::StoreCopy& store : copy.stores) {
      json stored;
      if (!store.error.empty()) stored["error"] = store.error;
      json instances = json::array();
      for (const auto& instance : store.instances) {
        if (store.name == "KivVar") instances.push_back(KivVarJson(instance));
        else if (store.name == "KivRegionVar") instances.push_back(RegionJson(instance));
        else if (store.name == "KivDCPMMInfoVar") instances.push_back(ModuleJson(instance));
        else if (store.name == "CarvekConfigVar") instances.push_back({{"threshold", Byte(instance, 0)}});
        else instances.push_back({{"size", instance.size()}});
      }
      stored["instances"] = std::move(instances);
      entry["stores"][store.name] = std::move(stored);
    }
    document["copies"][keyword] = std::move(entry);
  }
  document["queued"] = json::array();
  for (const kiv::RequestedValue& value : controller.Queue()) {
    document["queued"].push_back({{"key", value.key}, {"what", Describe(value)}});
  }
  document["lastRequests"] = {{"boot", controller.OutcomeBoot()}, {"outcomes", json::array()}};
  for (const kiv::RequestOutcome& outcome : controller.Outcomes()) {
    document["lastRequests"]["outcomes"].push_back({{"key", outcome.key}, {"text", outcome.text}});
  }
  return document.dump(2);
}

void PrintController(std::ostream& out, const kiv::ControllerStore& controller) {
  auto found = controller.Copies().find(kKeyword);
  if (found == controller.Copies().end()) {
    out << "The controller holds no copy of \"" << kKeyword << "\" yet (boot the machine first).\n";
  } else {
    const kiv::FormSetCopy& copy = found->second;
    out << "Copy of \"" << kKeyword << "\" taken in boot " << copy.boot << " (" << copy.reason << ")\n";
    for (const kiv::StoreCopy& store : copy.stores) {
      if (!store.error.empty()) {
        out << "  " << store.name << ": " << store.error << "\n";
        continue;
      }
      if (store.name == "KivVar" && !store.instances.empty()) {
        const json v = KivVarJson(store.instances[0]);
        out << "  security state          " << v["securityState"].get<std::string>() << "\n"
            << "  total raw capacity      " << v["totalRawCapacity"].get<std::string>() << "\n"
            << "  total memory capacity   " << v["totalMemoryCapacity"].get<std::string>() << "\n"
            << "  total App Direct        " << v["totalAppDirectCapacity"].get<std::string>() << "\n"
            << "  capable                 App Direct " << v["appDirectCapable"] << ", memory mode "
            << v["memoryModeCapable"] << " (goal percentage " << v["memoryModePercentage"] << ")\n"
            << "  performance profile     " << v["performanceProfile"].get<std::string>() << "\n"
            << "  pending requests        goal " << v["pending"]["createGoal"] << ", security operation "
            << v["pending"]["securityOperation"] << ", erase all " << v["pending"]["eraseAllDimms"] << "\n";
      } else if (store.name == "KivRegionVar") {
        out << "  regions (" << store.instances.size() << ")\n";
        for (const auto& instance : store.instances) {
          const json r = RegionJson(instance);
          out << "    " << r["id"].get<std::string>() << "  " << r["socket"].get<std::string>() << "  "
              << r["capacity"].get<std::string>() << "  " << r["type"].get<std::string>() << "\n";
        }
      } else if (store.name == "KivDCPMMInfoVar") {
        out << "  modules (" << store.instances.size() << ")\n";
        for (const auto& instance : store.instances) {
          const json m = ModuleJson(instance);
          out << "    " << m["location"].get<std::string>() << "  " << m["uid"].get<std::string>() << "  "
              << m["securityState"].get<std::string>() << "  auto unlock: " << m["autoUnlock"].get<std::string>()
              << "\n";
        }
      } else if (store.name == "CarvekConfigVar" && !store.instances.empty()) {
        out << "  percentage remaining threshold  " << Byte(store.instances[0], 0) << "\n";
      }
    }
  }
  if (controller.Queue().empty()) {
    out << "Nothing queued for the next boot.\n";
  } else {
    out << "Queued for the next boot:\n";
    for (const kiv::RequestedValue& value : controller.Queue()) out << "  " << value.key << ": " << Describe(value) << "\n";
  }
  if (!controller.Outcomes().empty()) {
    out << "Requests of boot " << controller.OutcomeBoot() << ":\n";
    for (const kiv::RequestOutcome& outcome : controller.Outcomes()) {
      out << "  " << outcome.key << ": " << outcome.text << "\n";
    }
  }
}

CLI::App* AddBmcCommand(CLI::App& app, BmcCommandOptions& options, CLI::App** showCommand, CLI::App** setCommand) {
  CLI::App* bmc = app.add_subcommand("bmc", "What the baseboard management controller holds, and requests for the next boot");
  bmc->require_subcommand(1, 1);
  bmc->fallthrough();
  *showCommand = bmc->add_subcommand("show", "Print the controller's copy of the out-of-band form set, the queue "
                                             "and what became of the last requests (no boot)");
  (*showCommand)->fallthrough();
  *setCommand = bmc->add_subcommand(
      "set", "Queue a request for the next boot: goal PERCENT [app-direct|app-direct-not-interleaved], "
             "security enable|disable|erase PASSPHRASE, security erase-without-passphrase, erase-all, "
             "profile bw|latency|balanced, threshold PERCENT");
  (*setCommand)->fallthrough();
  (*setCommand)->add_option("request", options.setArguments, "KEY VALUE...")->required();
  return bmc;
}

int RunBmcShow(const CommonOptions& common) {
  kiv::ControllerStore controller(common.stateDir);
  std::string warning;
  controller.Load(&warning);
  if (!warning.empty()) std::cerr << "carvex-sim: note: " << warning << "\n";
  if (common.json) {
    std::cout << ControllerJson(controller) << "\n";
  } else {
    PrintController(std::cout, controller);
  }
  return 0;
}

int RunBmcSet(const CommonOptions& common, const BmcCommandOptions& options) {
  std::vector<kiv::RequestedValue> values;
  try {
    values = ParseBmcRequest(options.setArguments);
  } catch (const BmcRequestError& error) {
    std::cerr << "carvex-sim: " << error.what() << "\n";
    return 2;
  }
  kiv::ControllerStore controller(common.stateDir);
  std::string warning;
  controller.Load(&warning);
  if (!warning.empty()) std::cerr << "carvex-sim: note: " << warning << "\n";
  for (kiv::RequestedValue& value : values) {
    std::cout << "queued " << value.key << ": " << Describe(value) << "\n";
    controller.Enqueue(std::move(value));
  }
  controller.Save();
  std::cout << "The configuration manager routes it at the next boot.\n";
  return 0;
}

}  // namespace carvex::sim::cli

// The host side of the probe image: within a boot, calls the driver's
// client functions that the image publishes and keeps what they report,
// with the capacity texts the driver itself would show.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ClientProbe/CarvexClientProbe.h"
#include "Platform/Machine.hpp"

namespace carvex::sim::devices {

inline constexpr const char* kClientProbeImage = "CarvexClientProbe";
// The image as this build produced it; list it after CarvexDxe.
std::filesystem::path ClientProbeImagePath();

struct ClientCall {
  std::string function;
  EFI_STATUS status = EFI_SUCCESS;
};

struct ModuleReport {
  DIMM_DETAILS details{};
  std::string locator;
  std::string uid;
  std::string firmware;
};

struct NamespaceReport {
  NAMESPACE_DETAILS record{};
  std::string name;
  std::string guid;
};

struct GoalReport {
  std::uint32_t socketId = 0;
  std::uint32_t dimmHandle = 0;
  std::uint64_t volatileSize = 0;
  std::uint64_t appDirect1Size = 0;
  std::uint64_t appDirect2Size = 0;
};

struct CapacityTotals {
  std::uint64_t raw = 0, volatileSize = 0, appDirect = 0, unconfigured = 0, inaccessible = 0, reserved = 0;
};

// What the client layer reported in one boot. Every call made is listed
// with its status; a failed call leaves its part empty.
struct Inspection {
  std::vector<ClientCall> calls;
  std::uint32_t dimmCount = 0;
  std::vector<ModuleReport> modules;
  std::vector<std::uint16_t> sockets;
  CapacityTotals totals;
  std::vector<REGION_DETAILS> regions;
  std::map<std::uint32_t, std::string> regionTypes;  // by region identifier
  std::vector<NamespaceReport> namespaces;
  std::vector<GoalReport> goals;
  std::uint8_t securityState = 0;  // DIMM_SECURITY_STATE_*, 0 when unknown
  bool unlockedOrFrozen = false;
  bool lockedModules = false;
  bool scrubInProgress = false;
  // ConvertCapacityToStr's text for every capacity above.
  std::map<std::uint64_t, std::string> capacityTexts;

  std::vector<ClientCall> Failures() const;
  // The driver's text for a capacity reported here ("128.0 GB").
  std::string Capacity(std::uint64_t bytes) const;
};

class ClientProbe {
 public:
  // The probe published in the machine's current boot; throws
  // std::runtime_error when the image is not loaded.
  explicit ClientProbe(Machine& machine);

  CARVEX_CLIENT_PROBE_PROTOCOL& Protocol() { return *protocol_; }
  // Calls every query of the client layer once, in the order a setup page
  // would, and frees what they hand out.
  Inspection Read();

 private:
  void Record(Inspection& inspection, const char* function, EFI_STATUS status);
  std::string CapacityText(Inspection& inspection, std::uint64_t bytes);

  CARVEX_CLIENT_PROBE_PROTOCOL* protocol_;
};

}  // namespace carvex::sim::devices

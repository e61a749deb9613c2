// What a firmware engineer looks for first after a boot, gathered once so
// that the readable summary and the JSON document tell the same facts: the
// form sets in the HII database, the platform events raised, pool use per
// image, the platform variables the driver keeps, and the driver's failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "HiiServices.hpp"
#include "Platform/Machine.hpp"

namespace carvex::sim {

struct FormSetFact {
  std::string title;  // in en-US, or the package's first language
  std::string guid;   // registry format, upper case
  std::size_t forms = 0;
  std::vector<std::string> languages;
};

// Failures of one image in one run: entry points, platform event slots and
// error-level lines that report a failure, in the order they happened. Exit
// lines written at the error level ("...:Exit", "...:Exit:Success", or
// "Unsupported", a configuration access function's answer for what is not
// its own) and progress lines carrying "Success" are the logging
// conventions, not failures. Notify functions return nothing,
// so their failures count through their lines.
struct DriverErrors {
  std::size_t count = 0;
  std::string first;  // empty when count is 0

  // "0 driver errors", "1 driver error: X", "2 driver errors: first X".
  std::string Describe() const;
};

// Every form set registered in the services (null: none).
std::vector<FormSetFact> InstalledFormSets(HiiServices* services);

// The image's failures in the boots of `summary` (all of them, or only
// boot `boot` when given).
DriverErrors CountDriverErrors(const BootSummary& summary, const std::string& image,
                               std::optional<unsigned> boot = std::nullopt);

std::string StatusName(EFI_STATUS status);
const char* SlotName(unsigned slot);

struct VariableFact {
  std::string name;
  std::optional<std::uint8_t> value;  // nullopt: absent or too short
  std::size_t size = 0;               // bytes the variable holds (0: absent)
};

// CarvekPresent, DcpmmPerfConfigVar, SocketMemoryConfig byte 364, PostResetReq.
std::vector<VariableFact> DriverVariables(Machine& machine);

// The whole account of a run as one JSON document (schema in
// Simulator/carvex-sim/README.md).
nlohmann::json BootJson(Machine& machine, HiiServices* services, const BootSummary& summary,
                        const std::string& driverImage);

}  // namespace carvex::sim

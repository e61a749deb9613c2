// Platform descriptions: a JSON document of sockets, modules and their
// state, regions, namespaces, faults and the controller's contents, built
// into the models the vendor and controller images serve. The format is
// described in Simulator/Platforms/README.md; a dump of a running machine
// (StateDump.hpp) is itself a platform description.
#pragma once

#include <filesystem>

#include <nlohmann/json.hpp>

#include "DeviceState.hpp"
#include "JsonReader.hpp"

namespace carvex::sim::devices {

// Throws PlatformFileError naming the field ("modules[3].capacity.appDirect:
// expected a non-negative integer") for anything the models cannot hold.
DeviceState DeviceStateFromJson(const nlohmann::json& document);
// The same from a file; errors start with the file's name.
DeviceState LoadPlatformFile(const std::filesystem::path& file);
// The embedded board: two processors with six 128 GiB modules each.
DeviceState DefaultDeviceState();

}  // namespace carvex::sim::devices

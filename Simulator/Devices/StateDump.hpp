// The devices' state as a readable platform description: what the state
// directory keeps between runs, and what `carvex-sim` exports. Loading the
// dump with DeviceStateFromJson gives the same state back.
#pragma once

#include <nlohmann/json.hpp>

#include "DeviceState.hpp"

namespace carvex::sim::devices {

nlohmann::ordered_json DumpDeviceState(const DeviceState& state);

}  // namespace carvex::sim::devices

// The board's description and the component data storage in a platform
// file: the "board" section (sockets, per-socket factors, the DIMM map by
// silk-screen label, the network setting table, and what tests break) and
// the "componentData" section (stored records, as a dump writes them).
#pragma once

#include <nlohmann/json.hpp>

#include "DeviceState.hpp"
#include "JsonReader.hpp"

namespace carvex::sim::devices {

// Builds state.board from the section, or, without one, a board whose map
// holds every module of state.nvm (processor = socket, controllers and
// channels in order, three channels a controller). Throws
// PlatformFileError naming the field.
void ReadBoard(const std::optional<JsonField>& section, DeviceState& state);
void ReadComponentData(const std::optional<JsonField>& section, DeviceState& state);

nlohmann::ordered_json DumpBoard(const BOARD_MODEL& board);
nlohmann::ordered_json DumpComponentData(const CDS_MODEL& cds);

}  // namespace carvex::sim::devices

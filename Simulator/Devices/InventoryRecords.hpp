// The component data storage's records read back: each serial record
// decoded item by item (name, type code, value), for carvex-sim and tests.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ComponentData/CdsModel.h"

namespace carvex::sim::devices {

struct InventoryItem {
  std::string name;
  std::uint32_t type = 0;
  std::uint32_t attribute = 0;
  std::uint32_t totalSize = 0;
  std::vector<std::uint8_t> value;

  // Numbers for the integer types, the text without its NUL for type 0,
  // hex bytes otherwise.
  std::string Text() const;
  nlohmann::ordered_json Json() const;
  std::optional<std::uint64_t> Number() const;
};

struct InventoryRecord {
  std::uint32_t componentType = 0;
  std::uint64_t key = 0;
  std::uint32_t sequence = 0;
  DIMM_SLOT_LOCATION location{};
  std::vector<InventoryItem> items;
  std::string error;  // why decoding stopped early; empty for a sound record

  const InventoryItem* Find(const std::string& name) const;
};

// Decodes one serial buffer. Never reads past `size`; a malformed buffer
// gives the items before the fault and the reason in `error`.
InventoryRecord DecodeSerialRecord(const std::uint8_t* data, std::size_t size);
// Every stored record, in store order.
std::vector<InventoryRecord> InventoryOf(const CDS_MODEL& storage);

std::string FormatInventory(const std::vector<InventoryRecord>& records);
nlohmann::ordered_json InventoryJson(const std::vector<InventoryRecord>& records);

}  // namespace carvex::sim::devices

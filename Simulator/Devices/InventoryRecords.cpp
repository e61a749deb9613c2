#include "InventoryRecords.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "Names.hpp"

namespace carvex::sim::devices {

namespace {

std::uint32_t ReadU32(const std::uint8_t* at) {
  std::uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

const char* TypeName(std::uint32_t type) {
  switch (type) {
    case CDS_ITEM_TYPE_TEXT: return "text";
    case CDS_ITEM_TYPE_BYTES16: return "bytes16";
    case CDS_ITEM_TYPE_UINT16: return "uint16";
    case CDS_ITEM_TYPE_UINT8: return "uint8";
    case CDS_ITEM_TYPE_UINT32: return "uint32";
    case CDS_ITEM_TYPE_UINT64: return "uint64";
    case CDS_ITEM_TYPE_BYTE: return "byte";
    case CDS_ITEM_TYPE_RAW: return "raw";
    default: return "unknown";
  }
}

std::string HexText(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  char pair[3];
  for (std::uint8_t byte : bytes) {
    std::snprintf(pair, sizeof pair, "%02x", byte);
    text += pair;
  }
  return text;
}

}  // namespace

std::optional<std::uint64_t> InventoryItem::Number() const {
  std::size_t width = 0;
  switch (type) {
    case CDS_ITEM_TYPE_UINT8:
    case CDS_ITEM_TYPE_BYTE: width = 1; break;
    case CDS_ITEM_TYPE_UINT16: width = 2; break;
    case CDS_ITEM_TYPE_UINT32: width = 4; break;
    case CDS_ITEM_TYPE_UINT64: width = 8; break;
    default: return std::nullopt;
  }
  if (value.size() != width) return std::nullopt;
  std::uint64_t number = 0;
  std::memcpy(&number, value.data(), width);  // little-endian host
  return number;
}

std::string InventoryItem::Text() const {
  if (auto number = Number()) return std::to_string(*number);
  if (type == CDS_ITEM_TYPE_TEXT) {
    const auto end = std::find(value.begin(), value.end(), 0);
    return std::string(value.begin(), end);
  }
  return HexText(value);
}

nlohmann::ordered_json InventoryItem::Json() const {
  nlohmann::ordered_json item = {{"name", name}, {"type", type}, {"size", totalSize}};
  if (auto number = Number()) {
    item["value"] = *number;
  } else {
    item["value"] = Text();
  }
  return item;
}

const InventoryItem* InventoryRecord::Find(const std::string& name) const {
  for (const InventoryItem& item : items) {
    if (item.name == name) return &item;
  }
  return nullptr;
}

InventoryRecord DecodeSerialRecord(const std::uint8_t* data, std::size_t size) {
  InventoryRecord record;
  if (size < CDS_SERIAL_HEADER_SIZE) {
    record.error = "shorter than the item count";
    return record;
  }
  std::uint64_t count;
  std::memcpy(&count, data, sizeof count);
  std::size_t at = CDS_SERIAL_HEADER_SIZE;
  for (std::uint64_t index = 0; index < count; ++index) {
    const std::string where = "item " + std::to_string(index + 1) + ": ";
    if (size - at < CDS_ITEM_HEADER_SIZE) {
      record.error = where + "runs past the end of the record";
      return record;
    }
    InventoryItem item;
    item.totalSize = ReadU32(data + at);
    item.type = ReadU32(data + at + 4);
    item.attribute = ReadU32(data + at + 8);
    if (item.totalSize < CDS_ITEM_OVERHEAD || item.totalSize > size - at) {
      record.error = where + "size " + std::to_string(item.totalSize) + " does not fit the record";
      return record;
    }
    const std::uint8_t* name = data + at + CDS_ITEM_HEADER_SIZE;
    const std::size_t room = item.totalSize - CDS_ITEM_HEADER_SIZE;
    const std::uint8_t* nul = static_cast<const std::uint8_t*>(std::memchr(name, 0, room));
    if (nul == nullptr) {
      record.error = where + "name without its NUL";
      return record;
    }
    item.name.assign(reinterpret_cast<const char*>(name), static_cast<std::size_t>(nul - name));
    item.value.assign(nul + 1, data + at + item.totalSize);
    record.items.push_back(std::move(item));
    at += record.items.back().totalSize;
  }
  if (at != size) record.error = std::to_string(size - at) + " bytes after the last item";
  return record;
}

std::vector<InventoryRecord> InventoryOf(const CDS_MODEL& storage) {
  std::vector<const CDS_RECORD*> stored;
  for (const CDS_RECORD& record : storage.Records) {
    if (record.Present) stored.push_back(&record);
  }
  std::sort(stored.begin(), stored.end(), [](const CDS_RECORD* a, const CDS_RECORD* b) { return a->Sequence < b->Sequence; });
  std::vector<InventoryRecord> records;
  for (const CDS_RECORD* stored_record : stored) {
    InventoryRecord record =
        DecodeSerialRecord(stored_record->Data, std::min<std::size_t>(stored_record->DataSize, CDS_MAX_RECORD_DATA));
    record.componentType = stored_record->ComponentType;
    record.key = stored_record->KeyValue;
    record.sequence = stored_record->Sequence;
    std::memcpy(&record.location, stored_record->Key + OFFSET_OF(CDS_KEY, Location), sizeof record.location);
    records.push_back(std::move(record));
  }
  return records;
}

namespace {

// What a person reads beside a value: a capacity in binary units, the name
// of a security state.
std::string Gloss(const InventoryItem& item) {
  const auto number = item.Number();
  if (!number) return "";
  if (item.name.find("Capacity") != std::string::npos && *number != 0) {
    char text[32];
    std::snprintf(text, sizeof text, " (%.1f GiB)", static_cast<double>(*number) / (1ull << 30));
    return text;
  }
  if (item.name == "Security State") {
    const std::string name = NameOf(SecurityStateNames(), *number);
    return name.empty() ? "" : " (" + name + ")";
  }
  return "";
}

}  // namespace

std::string FormatInventory(const std::vector<InventoryRecord>& records) {
  std::ostringstream out;
  if (records.empty()) {
    out << "No inventory records stored.\n";
    return out.str();
  }
  for (const InventoryRecord& record : records) {
    out << "Component type " << record.componentType << ", key " << record.key << " (" << record.items.size()
        << " items";
    if (record.location.Found) {
      out << "; slot at processor " << unsigned{record.location.CpuIndex} << ", memory controller "
          << unsigned{record.location.ImcNum} << ", channel " << unsigned{record.location.ChannelNum};
    }
    out << ")\n";
    std::size_t width = 0;
    for (const InventoryItem& item : record.items) width = std::max(width, item.name.size());
    for (const InventoryItem& item : record.items) {
      out << "  " << item.name << std::string(width - item.name.size() + 2, ' ') << item.Text() << Gloss(item)
          << "  [" << TypeName(item.type) << ", " << item.totalSize << " bytes]\n";
    }
    if (!record.error.empty()) out << "  malformed: " << record.error << "\n";
  }
  return out.str();
}

nlohmann::ordered_json InventoryJson(const std::vector<InventoryRecord>& records) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const InventoryRecord& record : records) {
    nlohmann::ordered_json items = nlohmann::ordered_json::array();
    for (const InventoryItem& item : record.items) items.push_back(item.Json());
    nlohmann::ordered_json entry = {{"componentType", record.componentType}, {"key", record.key}, {"items", items}};
    if (!record.error.empty()) entry["error"] = record.error;
    list.push_back(entry);
  }
  return list;
}

}  // namespace carvex::sim::devices

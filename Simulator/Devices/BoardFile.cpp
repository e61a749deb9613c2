#include "BoardFile.hpp"

#include <cinttypes>
#include <cstdio>
#include <map>

#include "Names.hpp"

namespace carvex::sim::devices {

namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kChannelsPerController = 3;

std::string HexBytes(const UINT8* bytes, std::size_t size) {
  std::string text;
  char pair[3];
  for (std::size_t index = 0; index < size; ++index) {
    std::snprintf(pair, sizeof pair, "%02x", bytes[index]);
    text += pair;
  }
  return text;
}

std::vector<UINT8> ReadHexBytes(const JsonField& field, std::size_t maxBytes) {
  const std::string digits = field.Text(2 * maxBytes);
  if (digits.size() % 2 != 0) field.Fail("expected pairs of hex digits");
  std::vector<UINT8> bytes;
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    unsigned byte = 0;
    if (!std::isxdigit(static_cast<unsigned char>(digits[at])) ||
        !std::isxdigit(static_cast<unsigned char>(digits[at + 1])) ||
        std::sscanf(digits.substr(at, 2).c_str(), "%2x", &byte) != 1) {
      field.Fail("expected pairs of hex digits");
    }
    bytes.push_back(static_cast<UINT8>(byte));
  }
  return bytes;
}

std::string GuidText(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof text, "%08" PRIX32 "-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", guid.Data1, guid.Data2,
                guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return text;
}

EFI_GUID ReadGuid(const JsonField& field) {
  const std::string text = field.Text(36);
  unsigned int data1 = 0, data2 = 0, data3 = 0, bytes[8] = {};
  char tail = 0;
  if (text.size() != 36 ||
      std::sscanf(text.c_str(), "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x%c", &data1, &data2, &data3, &bytes[0],
                  &bytes[1], &bytes[2], &bytes[3], &bytes[4], &bytes[5], &bytes[6], &bytes[7], &tail) != 11) {
    field.Fail("expected a GUID such as \"0AEBE9A6-918F-496A-9CAE-2C4EF05E4686\"");
  }
  EFI_GUID guid{};
  guid.Data1 = data1;
  guid.Data2 = static_cast<UINT16>(data2);
  guid.Data3 = static_cast<UINT16>(data3);
  for (int index = 0; index < 8; ++index) guid.Data4[index] = static_cast<UINT8>(bytes[index]);
  return guid;
}

// The map every module's slot is in, when the file describes no board.
void MapOfModules(const NVM_MODEL& nvm, BOARD_MODEL& board) {
  std::map<UINT16, unsigned> perSocket;
  for (UINT32 index = 0; index < nvm.DimmCount && index < NVM_MAX_DIMMS; ++index) {
    const NVM_MODEL_DIMM& dimm = nvm.Dimms[index];
    if (dimm.SlotNumber > 0xFE) continue;  // no label byte can name it
    const unsigned position = perSocket[dimm.SocketId]++;
    DIMM_MAP_ENTRY entry{};
    entry.CpuIndex = static_cast<UINT8>(dimm.SocketId);
    entry.ImcNum = static_cast<UINT8>(position / kChannelsPerController);
    entry.ChannelNum = static_cast<UINT8>(position % kChannelsPerController);
    entry.ChannelByte = static_cast<UINT8>(position);
    entry.SilkScreenLabel = static_cast<UINT8>(dimm.SlotNumber);
    BoardModelAddSlot(&board, &entry);
  }
}

UINT32 SocketCountOf(const NVM_MODEL& nvm) {
  UINT32 count = 0;
  while (count < NVM_MAX_SOCKETS && nvm.Sockets[count].Present) ++count;
  return count;
}

EFI_STATUS ReadStatus(const JsonField& field) {
  return static_cast<EFI_STATUS>(field.Named(EfiStatusNames(), true, UINT64_MAX));
}

}  // namespace

void ReadBoard(const std::optional<JsonField>& section, DeviceState& state) {
  BOARD_MODEL& board = *state.board;
  BoardModelInitialize(&board);
  board.SocketCount = SocketCountOf(*state.nvm);
  board.FactorA = 2;
  board.FactorB = kChannelsPerController;
  if (!section) {
    BOARD_MODEL defaults;
    BoardModelDefault(&defaults);
    board.NetworkCount = defaults.NetworkCount;
    std::copy(std::begin(defaults.Network), std::end(defaults.Network), std::begin(board.Network));
    MapOfModules(*state.nvm, board);
    return;
  }
  section->AllowOnly({"sockets", "perSocketFactors", "dimmMap", "dimmMapTerminated", "networkTable", "record", "faults"});
  if (auto sockets = section->Optional("sockets")) board.SocketCount = static_cast<UINT32>(sockets->Unsigned(0xFFFFFFFF));
  if (auto factors = section->Optional("perSocketFactors")) {
    const auto values = factors->Elements(2);
    if (values.size() != 2) factors->Fail("expected the two factors [A, B]");
    board.FactorA = static_cast<UINT32>(values[0].Unsigned(0xFFFFFFFF));
    board.FactorB = static_cast<UINT32>(values[1].Unsigned(0xFFFFFFFF));
  }
  if (auto map = section->Optional("dimmMap")) {
    for (const JsonField& slot : map->Elements(BOARD_MAX_MAP_ENTRIES - 1)) {
      slot.AllowOnly({"label", "cpu", "imc", "channel", "dimm", "channelByte", "slotData"});
      DIMM_MAP_ENTRY entry{};
      entry.SilkScreenLabel = static_cast<UINT8>(slot.Member("label").Unsigned(0xFF));
      const JsonField cpu = slot.Member("cpu");
      entry.CpuIndex = static_cast<UINT8>(cpu.Unsigned(0xFE));
      entry.ImcNum = static_cast<UINT8>(slot.Member("imc").Unsigned(0xFF));
      entry.ChannelNum = static_cast<UINT8>(slot.Member("channel").Unsigned(0xFF));
      if (auto dimm = slot.Optional("dimm")) entry.DimmNum = static_cast<UINT8>(dimm->Unsigned(0xFF));
      if (auto channelByte = slot.Optional("channelByte")) entry.ChannelByte = static_cast<UINT8>(channelByte->Unsigned(0xFF));
      if (auto data = slot.Optional("slotData")) {
        const auto bytes = data->Elements(3);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
          entry.SlotData[index] = static_cast<UINT8>(bytes[index].Unsigned(0xFF));
        }
      }
      BoardModelAddSlot(&board, &entry);
    }
  } else {
    MapOfModules(*state.nvm, board);
  }
  if (auto terminated = section->Optional("dimmMapTerminated"); terminated && !terminated->Bool()) {
    board.DimmMapCount--;  // the terminator stays in the model but is not handed over
  }
  if (auto network = section->Optional("networkTable")) {
    const auto entries = network->Elements(BOARD_MAX_NETWORK_ENTRIES);
    for (std::size_t index = 0; index < entries.size(); ++index) {
      entries[index].AllowOnly({"kind", "present"});
      board.Network[index].Kind = static_cast<UINT32>(entries[index].Member("kind").Unsigned(0xFFFFFFFF));
      board.Network[index].Present = 1;
      if (auto present = entries[index].Optional("present")) board.Network[index].Present = present->Bool() ? 1 : 0;
    }
    board.NetworkCount = static_cast<UINT32>(entries.size());
  } else {
    BOARD_MODEL defaults;
    BoardModelDefault(&defaults);
    board.NetworkCount = defaults.NetworkCount;
    std::copy(std::begin(defaults.Network), std::end(defaults.Network), std::begin(board.Network));
  }
  if (auto record = section->Optional("record")) {
    record->AllowOnly({"signature", "version"});
    if (auto signature = record->Optional("signature")) board.RecordSignature = static_cast<UINT32>(signature->Unsigned(0xFFFFFFFF));
    if (auto version = record->Optional("version")) board.RecordVersion = static_cast<UINT32>(version->Unsigned(0xFFFFFFFF));
  }
  if (auto faults = section->Optional("faults")) {
    faults->AllowOnly({"getData", "dimmMap", "networkSetting"});
    if (auto status = faults->Optional("getData")) board.GetDataStatus = ReadStatus(*status);
    if (auto status = faults->Optional("dimmMap")) board.DimmMapStatus = ReadStatus(*status);
    if (auto status = faults->Optional("networkSetting")) board.NetworkStatus = ReadStatus(*status);
  }
}

void ReadComponentData(const std::optional<JsonField>& section, DeviceState& state) {
  CDS_MODEL& cds = *state.cds;
  CdsModelInitialize(&cds);
  if (!section) return;
  section->AllowOnly({"records", "storeSequence"});
  if (auto records = section->Optional("records")) {
    for (const JsonField& entry : records->Elements(CDS_MAX_RECORDS)) {
      entry.AllowOnly({"type", "key", "keyRecord", "class", "scope", "owner", "tag", "data"});
      CDS_KEY key{};
      if (auto keyRecord = entry.Optional("keyRecord")) {
        const std::vector<UINT8> bytes = ReadHexBytes(*keyRecord, sizeof(CDS_KEY));
        if (bytes.size() != sizeof(CDS_KEY)) keyRecord->Fail("expected the 38-byte key record");
        std::memcpy(&key, bytes.data(), sizeof key);
      }
      key.Value = entry.Member("key").Unsigned(UINT64_MAX);
      const UINT32 type = static_cast<UINT32>(entry.Member("type").Unsigned(0xFFFFFFFF));
      if (CdsModelFindRecord(&cds, type, key.Value) != nullptr) entry.Fail("a record of this type and key is listed twice");
      UINT32 recordClass = 0;
      UINT8 scope = 0;
      UINT16 tag = 0;
      EFI_GUID owner{};
      if (auto field = entry.Optional("class")) recordClass = static_cast<UINT32>(field->Unsigned(0xFFFFFFFF));
      if (auto field = entry.Optional("scope")) scope = static_cast<UINT8>(field->Unsigned(0xFF));
      if (auto field = entry.Optional("tag")) tag = static_cast<UINT16>(field->Unsigned(0xFFFF));
      if (auto field = entry.Optional("owner")) owner = ReadGuid(*field);
      const std::vector<UINT8> data = ReadHexBytes(entry.Member("data"), CDS_MAX_RECORD_DATA);
      CdsModelPutRecord(&cds, &key, type, recordClass, scope, &owner, data.data(), static_cast<UINT32>(data.size()), tag);
    }
  }
  if (auto sequence = section->Optional("storeSequence")) {
    const UINT32 value = static_cast<UINT32>(sequence->Unsigned(0xFFFFFFFF));
    if (value < cds.StoreSequence) sequence->Fail("lower than the number of records listed");
    cds.StoreSequence = value;
  }
}

nlohmann::ordered_json DumpBoard(const BOARD_MODEL& board) {
  Json dump;
  dump["sockets"] = board.SocketCount;
  dump["perSocketFactors"] = {board.FactorA, board.FactorB};
  Json map = Json::array();
  bool terminated = false;
  for (UINT32 index = 0; index < board.DimmMapCount && index < BOARD_MAX_MAP_ENTRIES; ++index) {
    const DIMM_MAP_ENTRY& entry = board.DimmMap[index];
    if (entry.CpuIndex == DIMM_MAP_TERMINATOR) {
      terminated = true;
      break;
    }
    map.push_back({{"label", entry.SilkScreenLabel},
                   {"cpu", entry.CpuIndex},
                   {"imc", entry.ImcNum},
                   {"channel", entry.ChannelNum},
                   {"dimm", entry.DimmNum},
                   {"channelByte", entry.ChannelByte},
                   {"slotData", {entry.SlotData[0], entry.SlotData[1], entry.SlotData[2]}}});
  }
  dump["dimmMap"] = map;
  if (!terminated) dump["dimmMapTerminated"] = false;
  Json network = Json::array();
  for (UINT32 index = 0; index < board.NetworkCount && index < BOARD_MAX_NETWORK_ENTRIES; ++index) {
    network.push_back({{"kind", board.Network[index].Kind}, {"present", board.Network[index].Present == 1}});
  }
  dump["networkTable"] = network;
  if (board.RecordSignature != PLATFORM_DATA_SIGNATURE || board.RecordVersion != PLATFORM_DATA_VERSION) {
    dump["record"] = {{"signature", Hex(board.RecordSignature, 8)}, {"version", board.RecordVersion}};
  }
  Json faults = Json::object();
  if (board.GetDataStatus != EFI_SUCCESS) faults["getData"] = EfiStatusName(board.GetDataStatus);
  if (board.DimmMapStatus != EFI_SUCCESS) faults["dimmMap"] = EfiStatusName(board.DimmMapStatus);
  if (board.NetworkStatus != EFI_SUCCESS) faults["networkSetting"] = EfiStatusName(board.NetworkStatus);
  if (!faults.empty()) dump["faults"] = faults;
  return dump;
}

nlohmann::ordered_json DumpComponentData(const CDS_MODEL& cds) {
  std::vector<const CDS_RECORD*> records;
  for (const CDS_RECORD& record : cds.Records) {
    if (record.Present) records.push_back(&record);
  }
  // Listed in the order they were stored, so that reading the dump back
  // keeps that order.
  std::sort(records.begin(), records.end(),
            [](const CDS_RECORD* a, const CDS_RECORD* b) { return a->Sequence < b->Sequence; });
  Json list = Json::array();
  for (const CDS_RECORD* record : records) {
    list.push_back({{"type", record->ComponentType},
                    {"key", record->KeyValue},
                    {"keyRecord", HexBytes(record->Key, sizeof record->Key)},
                    {"class", record->RecordClass},
                    {"scope", record->Scope},
                    {"owner", GuidText(record->Owner)},
                    {"tag", record->Tag},
                    {"data", HexBytes(record->Data, std::min<std::size_t>(record->DataSize, CDS_MAX_RECORD_DATA))}});
  }
  return {{"records", list}, {"storeSequence", cds.StoreSequence}};
}

}  // namespace carvex::sim::devices

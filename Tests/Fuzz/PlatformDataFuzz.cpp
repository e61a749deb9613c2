// The board's platform data as a board configuration database hands it to
// the driver, and the inventory encoder's inputs. The first byte chooses:
//  'M': a platform data record and its tables: UINT32 signature, version,
//       socket count, factor A, factor B; UINT8 map entries, UINT8 network
//       entries, UINT8 label to look up; then the map's 10-byte entries and
//       the network table's 8-byte entries (missing bytes read as 0xFF).
//       Each table is handed over in a block of exactly its size, so a read
//       past it is caught. GetUbaPlatformData, then the lookup.
//  'E': items for one serial record, each: UINT8 type, UINT8 name length,
//       name, UINT8 value length, value. CdsAddItem for each, then
//       CdsGetSerialData; the buffer must decode back into the items the
//       encoder accepted, and text values into their escaped form.
#include <algorithm>
#include <cstring>
#include <vector>

#include <Inventory/CdsSerialData.h>
#include <Library/UbaPlatformDataLib/UbaPlatformDataLib.h>

#include "Devices/InventoryRecords.hpp"
#include "FakeUefi.hpp"
#include "FuzzSupport.hpp"

namespace {

using carvex::fuzz::Check;

// What the fuzzed board hands over.
struct FuzzBoard {
  PLATFORM_DATA record{};
  UINT32 sockets = 0, factorA = 0, factorB = 0;
  std::vector<DIMM_MAP_ENTRY> map;
  std::vector<NETWORK_SETTING_ENTRY> network;
};

FuzzBoard* gBoard = nullptr;

VOID EFIAPI GetSockets(UINT32* value) { *value = gBoard->sockets; }
VOID EFIAPI GetFactorA(UINT32* value) { *value = gBoard->factorA; }
VOID EFIAPI GetFactorB(UINT32* value) { *value = gBoard->factorB; }

EFI_STATUS EFIAPI GetMap(VOID** table, UINTN* count) {
  if (gBoard->map.empty()) return EFI_NOT_FOUND;
  *table = gBoard->map.data();
  *count = gBoard->map.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNetwork(VOID** table, UINT32* count) {
  if (gBoard->network.empty()) return EFI_NOT_FOUND;
  *table = gBoard->network.data();
  *count = static_cast<UINT32>(gBoard->network.size());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetData(UBA_CONFIG_DATABASE_PROTOCOL*, CONST EFI_GUID*, VOID* buffer, UINTN* size) {
  if (*size < sizeof(PLATFORM_DATA)) return EFI_BUFFER_TOO_SMALL;
  std::memcpy(buffer, &gBoard->record, sizeof(PLATFORM_DATA));
  return EFI_SUCCESS;
}

struct Platform {
  Platform() {
    database.GetData = GetData;
    uefi.Install(uefi.NewHandle(), gUbaConfigDatabaseProtocolGuid, &database);
    baseline = uefi.live.size();
  }
  FakeUefi uefi;
  UBA_CONFIG_DATABASE_PROTOCOL database{};
  std::size_t baseline = 0;
};

Platform& ThePlatform() {
  static Platform* platform = new Platform();  // the driver's module-wide state lives for the process
  return *platform;
}

class Reader {
 public:
  Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool Empty() const { return at_ >= size_; }
  std::uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0xFF; }
  std::uint32_t U32() {
    std::uint32_t value = 0;
    for (int shift = 0; shift < 32; shift += 8) value |= static_cast<std::uint32_t>(Byte()) << shift;
    return value;
  }
  std::vector<std::uint8_t> Bytes(std::size_t count) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < count; ++index) bytes.push_back(Byte());
    return bytes;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

void FuzzBoardRecord(Reader& in) {
  Platform& platform = ThePlatform();
  FuzzBoard board;
  board.record.Signature = in.U32();
  board.record.Version = in.U32();
  board.sockets = in.U32();
  board.factorA = in.U32();
  board.factorB = in.U32();
  board.record.GetSocketCount = GetSockets;
  board.record.GetFactorA = GetFactorA;
  board.record.GetFactorB = GetFactorB;
  board.record.GetDimmMap = GetMap;
  board.record.GetNetworkSetting = GetNetwork;
  const std::size_t mapEntries = in.Byte() + (in.Byte() & 1) * 256;  // up to 511, past any terminator rule
  const std::size_t networkEntries = in.Byte() & 0x3F;
  const UINT8 label = in.Byte();
  for (std::size_t index = 0; index < mapEntries; ++index) {
    DIMM_MAP_ENTRY entry;
    const auto bytes = in.Bytes(sizeof entry);
    std::memcpy(&entry, bytes.data(), sizeof entry);
    board.map.push_back(entry);
  }
  for (std::size_t index = 0; index < networkEntries; ++index) {
    NETWORK_SETTING_ENTRY entry;
    const auto bytes = in.Bytes(sizeof entry);
    std::memcpy(&entry, bytes.data(), sizeof entry);
    board.network.push_back(entry);
  }
  board.map.shrink_to_fit();
  board.network.shrink_to_fit();
  gBoard = &board;

  Check(GetUbaPlatformData() == EFI_SUCCESS, "a readable record is a success whatever its tables hold");
  DIMM_SLOT_LOCATION location;
  std::memset(&location, 0xA5, sizeof location);
  location.DimmNum = label;
  const EFI_STATUS status = MapSilkScreenLabelToChipsetDimmAddress(&location);
  if (status == EFI_SUCCESS) {
    Check(location.Found == 1 && location.SilkScreenLabel == label, "a match is marked and carries its label");
    Check(location.Reserved6 == 0xA5 && location.Reserved9[0] == 0xA5 && location.Reserved9[2] == 0xA5,
          "bytes the map does not fill are left as they were");
  } else {
    Check(location.DimmNum == label && location.Found == 0xA5, "no match leaves the record as it was");
  }
  Check(platform.uefi.live.size() <= platform.baseline + 2, "only the two kept copies stay in pool");
  gBoard = nullptr;
}

void FuzzEncoder(Reader& in) {
  Platform& platform = ThePlatform();
  const std::size_t before = platform.uefi.live.size();
  Check(CdsInitSerialData(CDS_MAX_ITEMS) == EFI_SUCCESS, "a record starts");
  struct Accepted {
    std::string name;
    UINT32 type;
    std::vector<std::uint8_t> value;
  };
  std::vector<Accepted> accepted;
  while (!in.Empty()) {
    const UINT32 type = in.Byte();
    const auto name = in.Bytes(in.Byte());
    const std::string nameText(name.begin(), std::find(name.begin(), name.end(), 0));
    std::vector<std::uint8_t> value = in.Bytes(in.Byte());
    value.push_back(0);  // text values end within their block
    // A fixed-width value holds its width (the caller's side of the bargain).
    if (type >= CDS_ITEM_TYPE_BYTES16 && type <= CDS_ITEM_TYPE_BYTE && value.size() < 16) value.resize(16, 0);
    std::vector<std::uint8_t> exact(value);  // a block of exactly this size
    exact.shrink_to_fit();
    const UINT32 size = static_cast<UINT32>(exact.size() - 1);
    if (CdsAddItem(type, CDS_ITEM_ATTRIBUTE, nameText.c_str(), exact.data(), size) == EFI_SUCCESS) {
      Check(type <= CDS_ITEM_TYPE_RAW, "only the eight type codes make items");
      accepted.push_back({nameText, type, value});
    }
  }
  VOID* buffer = nullptr;
  UINT32 size = 0;
  Check(CdsGetSerialData(&buffer, &size) == EFI_SUCCESS && buffer != nullptr, "the record is written");
  const auto record = carvex::sim::devices::DecodeSerialRecord(static_cast<const std::uint8_t*>(buffer), size);
  Check(record.error.empty(), "the written record decodes");
  Check(record.items.size() == accepted.size(), "every accepted item is written, in order");
  for (std::size_t index = 0; index < accepted.size(); ++index) {
    const auto& item = record.items[index];
    Check(item.name == accepted[index].name && item.type == accepted[index].type, "names and types survive");
    if (item.type == CDS_ITEM_TYPE_TEXT) {
      UINT32 legalSize = 0;
      CHAR8* legal = GenXmlLegalText(reinterpret_cast<const CHAR8*>(accepted[index].value.data()), &legalSize);
      Check(legal != nullptr && legalSize == item.value.size() &&
                std::memcmp(legal, item.value.data(), legalSize) == 0,
            "a text value is its escaped form");
      for (UINT32 at = 0; at + 1 < legalSize; ++at) {
        const std::uint8_t c = static_cast<std::uint8_t>(legal[at]);
        Check(c != '<' && c != '>' && c != '"' && c != '\'' && c < 0x7F && (c >= 0x20 || c == '\t' || c == '\n' || c == '\r'),
              "escaped text is legal character data");
      }
      platform.uefi.bootServices.FreePool(legal);
    }
  }
  platform.uefi.bootServices.FreePool(buffer);
  Check(platform.uefi.live.size() == before, "the encoder leaves no pool behind");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  Reader in(data + 1, size - 1);
  if (data[0] == 'M') {
    FuzzBoardRecord(in);
  } else if (data[0] == 'E') {
    FuzzEncoder(in);
  }
  return 0;
}

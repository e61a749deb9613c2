#include <array>
#include <stdexcept>

#include "Crc32.hpp"
#include "ImageTables.hpp"
#include "ImageTablesInternal.hpp"

namespace carvex::sim {

namespace {

struct Slot {
  ImageBinding binding;
  bool used = false;
};

std::array<Slot, kImageSlotCount>& Slots() {
  static std::array<Slot, kImageSlotCount> slots;
  return slots;
}

}  // namespace

const ImageBinding& BindingOf(std::size_t slot) { return Slots()[slot].binding; }

std::size_t ClaimImageSlot(const ImageBinding& binding) {
  auto& slots = Slots();
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (!slots[i].used) {
      slots[i].used = true;
      slots[i].binding = binding;
      return i;
    }
  }
  throw std::runtime_error("all image slots are in use");
}

void ReleaseImageSlot(std::size_t slot) {
  Slots().at(slot) = Slot{};
}

std::size_t ImageSlotsInUse() {
  std::size_t count = 0;
  for (const Slot& slot : Slots()) {
    count += slot.used ? 1 : 0;
  }
  return count;
}

void SealTableHeader(EFI_TABLE_HEADER& header, UINT64 signature, UINT32 size) {
  header.Signature = signature;
  header.Revision = (2u << 16) | 70u;  // 2.70
  header.HeaderSize = size;
  header.CRC32 = 0;
  header.Reserved = 0;
  header.CRC32 = Crc32(&header, size);
}

}  // namespace carvex::sim

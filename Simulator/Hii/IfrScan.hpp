// What the router needs from a forms package: its variable stores and the
// storage blocks its questions cover. Every read is bounded by the opcode's
// own length, itself bounded by the package.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <Uefi/UefiInternalFormRepresentation.h>

namespace carvex::sim::hii {

// TRUE when the opcodes tile [ops, ops + length) exactly, each 2..127 bytes.
bool IfrWellFormed(const std::uint8_t* ops, std::size_t length);

struct VarStore {
  enum class Kind { Buffer, Efi, NameValue };
  Kind kind = Kind::Buffer;
  EFI_VARSTORE_ID id = 0;
  EFI_GUID guid{};
  std::u16string name;  // the ASCII name widened; empty for name/value stores
  std::uint16_t size = 0;
  std::uint32_t attributes = 0;  // EFI variable stores
};

// The stores declared before the first FORM (or FORM_MAP): the only ones a
// configuration header can name.
std::vector<VarStore> VarStoresBeforeFirstForm(const std::uint8_t* ops, std::size_t length);

struct StorageBlock {
  std::uint16_t offset = 0;
  std::uint16_t width = 0;
  bool operator<(const StorageBlock& other) const {
    return offset != other.offset ? offset < other.offset : width < other.width;
  }
  bool operator==(const StorageBlock& other) const = default;
};

// One block per question stored in the store, sorted, duplicates dropped.
std::vector<StorageBlock> QuestionBlocks(const std::uint8_t* ops, std::size_t length, EFI_VARSTORE_ID store);

}  // namespace carvex::sim::hii

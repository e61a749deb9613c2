// COFF object layout facts used here: a 20-byte file header (symbol table
// pointer at 8, symbol count at 12, optional header size at 16), 40-byte
// section headers (relocation pointer at 24, count at 32), 10-byte
// relocations (symbol index at 4), 18-byte symbols whose name is inline or,
// when its first four bytes are zero, an offset into the string table that
// follows the symbols.
#include "CoffObject.h"

#include "ByteReader.h"

#include <cstring>

namespace carvex::pecheck {

namespace {

constexpr uint64_t kSymbolSize = 18;
constexpr uint64_t kRelocationSize = 10;

std::string symbolName (const ByteReader &reader, uint64_t symbolTable, uint64_t stringTable, uint32_t index) {
  uint64_t at = symbolTable + kSymbolSize * index;
  if (!reader.has (at, kSymbolSize)) {
    return {};
  }
  if (reader.u32 (at) != 0) {
    const char *inlineName = reinterpret_cast<const char *> (reader.at (at));
    return std::string (inlineName, strnlen (inlineName, 8));
  }
  uint64_t    offset = stringTable + reader.u32 (at + 4);
  std::string name;
  while (reader.has (offset, 1) && *reader.at (offset) != 0) {
    name.push_back (static_cast<char> (*reader.at (offset)));
    offset++;
  }
  return name;
}

} // namespace

std::vector<std::string> findReferencesTo (const std::vector<uint8_t> &object, const std::set<std::string> &symbols) {
  ByteReader reader (object);
  if (!reader.has (0, 20) || reader.u16 (0) != 0x8664) {
    return {"not an x64 COFF object (big-object files are not read)"};
  }
  uint16_t sectionCount = reader.u16 (2);
  uint64_t symbolTable = reader.u32 (8);
  uint32_t symbolCount = reader.u32 (12);
  uint64_t stringTable = symbolTable + kSymbolSize * symbolCount;
  uint64_t sectionTable = 20 + reader.u16 (16);
  if (!reader.has (sectionTable, 40ull * sectionCount) || !reader.has (symbolTable, kSymbolSize * symbolCount)) {
    return {"truncated COFF object"};
  }

  std::vector<std::string> references;
  for (uint16_t i = 0; i < sectionCount; i++) {
    uint64_t    header = sectionTable + 40ull * i;
    const char *rawName = reinterpret_cast<const char *> (reader.at (header));
    std::string section (rawName, strnlen (rawName, 8));
    uint64_t    relocations = reader.u32 (header + 24);
    uint16_t    relocationCount = reader.u16 (header + 32);
    if (!reader.has (relocations, kRelocationSize * relocationCount)) {
      return {"truncated relocations in section " + section};
    }
    for (uint16_t r = 0; r < relocationCount; r++) {
      uint32_t    symbol = reader.u32 (relocations + kRelocationSize * r + 4);
      std::string name = symbolName (reader, symbolTable, stringTable, symbol);
      if (symbols.count (name) != 0) {
        references.push_back ("section " + section + " refers to " + name);
      }
    }
  }
  return references;
}

} // namespace carvex::pecheck

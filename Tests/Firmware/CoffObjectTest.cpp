// The self-call check of the compiler support objects, on a synthetic COFF
// object with one section and its relocations.
#include "CoffObject.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace carvex::pecheck;

namespace {

void put16 (std::vector<uint8_t> &bytes, size_t at, uint16_t value) {
  bytes[at] = value & 0xFF;
  bytes[at + 1] = value >> 8;
}

void put32 (std::vector<uint8_t> &bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; i++) {
    bytes[at + i] = (value >> (8 * i)) & 0xFF;
  }
}

// A .text section whose relocations refer to symbols 0 ("memset", inline
// name) and 1 (a long name kept in the string table).
std::vector<uint8_t> objectReferring (int relocationCount) {
  const size_t         relocations = 60, symbols = 80, strings = symbols + 2 * 18;
  const char           longName[] = "a_name_longer_than_eight";
  std::vector<uint8_t> bytes (strings + 4 + sizeof (longName), 0);
  put16 (bytes, 0, 0x8664);
  put16 (bytes, 2, 1);
  put32 (bytes, 8, symbols);
  put32 (bytes, 12, 2);
  std::memcpy (&bytes[20], ".text", 5);
  put32 (bytes, 20 + 24, relocations);
  put16 (bytes, 20 + 32, relocationCount);
  for (int r = 0; r < relocationCount; r++) {
    put32 (bytes, relocations + 10 * r + 4, r);
  }
  std::memcpy (&bytes[symbols], "memset", 6);
  put32 (bytes, symbols + 18 + 4, 4);
  put32 (bytes, strings, 4 + sizeof (longName));
  std::memcpy (&bytes[strings + 4], longName, sizeof (longName));
  return bytes;
}

TEST (CoffObjectTest, RelocationsToWatchedSymbols_AreReportedByName) {
  std::vector<uint8_t> object = objectReferring (2);
  EXPECT_EQ (
      findReferencesTo (object, {"memset", "a_name_longer_than_eight"}),
      (std::vector<std::string>{"section .text refers to memset", "section .text refers to a_name_longer_than_eight"}));
  EXPECT_TRUE (findReferencesTo (object, {"memcpy"}).empty ());
  EXPECT_TRUE (findReferencesTo (objectReferring (0), {"memset"}).empty ());
}

TEST (CoffObjectTest, NotAnX64Object_IsReported) {
  std::vector<uint8_t> object = objectReferring (1);
  put16 (object, 0, 0x014C);
  EXPECT_EQ (findReferencesTo (object, {"memset"}).size (), 1u);
  object.resize (60);
  put16 (object, 0, 0x8664);
  EXPECT_EQ (findReferencesTo (object, {"memset"}), (std::vector<std::string>{"truncated COFF object"}));
}

} // namespace

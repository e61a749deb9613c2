// An IFR reader written for the tests from the published layouts, sharing no
// code with the compiler: it checks the package framing and rebuilds the
// scope tree so tests can address opcodes structurally.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ifr {

enum : uint8_t {
  Form = 0x01,
  Subtitle = 0x02,
  Text = 0x03,
  OneOf = 0x05,
  CheckBox = 0x06,
  Numeric = 0x07,
  Password = 0x08,
  OneOfOption = 0x09,
  SuppressIf = 0x0A,
  Action = 0x0C,
  FormSet = 0x0E,
  Ref = 0x0F,
  EqIdVal = 0x12,
  EqIdId = 0x13,
  EqIdValList = 0x14,
  And = 0x15,
  Or = 0x16,
  Not = 0x17,
  GrayOutIf = 0x19,
  String = 0x1C,
  DisableIf = 0x1E,
  VarStore = 0x24,
  VarStoreEfi = 0x26,
  End = 0x29,
  Uint8 = 0x42,
  Uint16 = 0x43,
  Uint32 = 0x44,
  Uint64 = 0x45,
  True = 0x46,
  False = 0x47,
  Conditional = 0x50,
  Value = 0x5A,
  Default = 0x5B,
  DefaultStore = 0x5C,
  Guid = 0x5F,
};

struct Op {
  uint8_t              code = 0;
  bool                 scope = false;
  std::vector<uint8_t> bytes;    // the whole opcode, header included
  std::vector<Op>      children; // opcodes inside its scope (the closing END not included)

  size_t length () const {
    return bytes.size ();
  }
  uint64_t le (size_t offset, size_t width) const;
  uint16_t u16 (size_t offset) const {
    return static_cast<uint16_t> (le (offset, 2));
  }
  uint8_t u8 (size_t offset) const {
    return bytes.at (offset);
  }

  // Question header fields (opcode offsets 2..12).
  uint16_t prompt () const {
    return u16 (2);
  }
  uint16_t help () const {
    return u16 (4);
  }
  uint16_t questionId () const {
    return u16 (6);
  }
  uint16_t varStoreId () const {
    return u16 (8);
  }
  uint16_t varOffset () const {
    return u16 (10);
  }
  uint8_t questionFlags () const {
    return u8 (12);
  }
};

// Decodes a forms package (4-byte header first). Fails the current test and
// returns an empty list when the framing is wrong.
std::vector<Op> decodeFormsPackage (const uint8_t *data, size_t size);

// Depth-first search helpers.
const Op               *findQuestion (const std::vector<Op> &ops, uint16_t questionId);
std::vector<const Op *> findAll (const std::vector<Op> &ops, uint8_t code);

// The expression that opens a conditional or VALUE opcode, in postfix order:
// its first child, plus that child's scope when the expression has several
// opcodes.
std::vector<const Op *> flattenExpression (const Op &holder);

} // namespace ifr

#include "IfrDecoder.h"

#include <gtest/gtest.h>

namespace ifr {

uint64_t Op::le (size_t offset, size_t width) const {
  uint64_t v = 0;
  for (size_t i = width; i-- > 0;) {
    v = (v << 8) | bytes.at (offset + i);
  }
  return v;
}

namespace {

// Reads opcodes until the END that closes the current scope (or the end of
// the data at the outermost level).
bool readScope (const uint8_t *data, size_t size, size_t &pos, std::vector<Op> &out, bool nested) {
  while (pos < size) {
    if (pos + 2 > size) {
      ADD_FAILURE () << "truncated opcode header at " << pos;
      return false;
    }
    const uint8_t length = data[pos + 1] & 0x7F;
    if (length < 2 || pos + length > size) {
      ADD_FAILURE () << "bad opcode length " << int (length) << " at " << pos;
      return false;
    }
    Op op;
    op.code = data[pos];
    op.scope = (data[pos + 1] & 0x80) != 0;
    op.bytes.assign (data + pos, data + pos + length);
    pos += length;
    if (op.code == End) {
      if (!nested) {
        ADD_FAILURE () << "END without an open scope at " << pos - length;
        return false;
      }
      return true;
    }
    if (op.scope && !readScope (data, size, pos, op.children, true)) {
      return false;
    }
    out.push_back (std::move (op));
  }
  if (nested) {
    ADD_FAILURE () << "scope not closed before the end of the package";
    return false;
  }
  return true;
}

template <typename F> void walk (const std::vector<Op> &ops, F &&f) {
  for (const auto &op : ops) {
    f (op);
    walk (op.children, f);
  }
}

void collect (const Op &op, std::vector<const Op *> &out) {
  out.push_back (&op);
  for (const auto &child : op.children) {
    collect (child, out);
  }
}

} // namespace

std::vector<Op> decodeFormsPackage (const uint8_t *data, size_t size) {
  if (size < 4) {
    ADD_FAILURE () << "package shorter than its header";
    return {};
  }
  const uint32_t header = data[0] | data[1] << 8 | data[2] << 16 | uint32_t (data[3]) << 24;
  if ((header & 0xFFFFFF) != size || (header >> 24) != 0x02) {
    ADD_FAILURE () << "package header " << std::hex << header << " does not describe a forms package of " << size;
    return {};
  }
  std::vector<Op> ops;
  size_t          pos = 4;
  if (!readScope (data, size, pos, ops, false)) {
    return {};
  }
  return ops;
}

const Op *findQuestion (const std::vector<Op> &ops, uint16_t questionId) {
  const Op *found = nullptr;
  walk (ops, [&] (const Op &op) {
    const bool question = op.code == OneOf || op.code == CheckBox || op.code == Numeric || op.code == Password ||
                          op.code == Action || op.code == Ref || op.code == String;
    if (question && op.questionId () == questionId) {
      found = &op;
    }
  });
  return found;
}

std::vector<const Op *> findAll (const std::vector<Op> &ops, uint8_t code) {
  std::vector<const Op *> out;
  walk (ops, [&] (const Op &op) {
    if (op.code == code) {
      out.push_back (&op);
    }
  });
  return out;
}

std::vector<const Op *> flattenExpression (const Op &holder) {
  std::vector<const Op *> out;
  if (holder.children.empty ()) {
    ADD_FAILURE () << "no expression inside opcode " << int (holder.code);
    return out;
  }
  collect (holder.children[0], out);
  return out;
}

} // namespace ifr

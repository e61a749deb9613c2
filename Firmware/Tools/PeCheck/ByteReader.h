// Bounds-checked little-endian reads from a file image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace carvex::pecheck {

class ByteReader {
public:
  explicit ByteReader (const std::vector<uint8_t> &bytes) : bytes_ (bytes) {
  }

  bool has (uint64_t offset, uint64_t length) const {
    return offset <= bytes_.size () && length <= bytes_.size () - offset;
  }
  // Callers check has () first; an out-of-range read yields zero.
  uint16_t u16 (uint64_t offset) const {
    return static_cast<uint16_t> (read (offset, 2));
  }
  uint32_t u32 (uint64_t offset) const {
    return static_cast<uint32_t> (read (offset, 4));
  }
  uint64_t u64 (uint64_t offset) const {
    return read (offset, 8);
  }
  const uint8_t *at (uint64_t offset) const {
    return bytes_.data () + offset;
  }
  size_t size () const {
    return bytes_.size ();
  }

private:
  uint64_t read (uint64_t offset, unsigned width) const {
    if (!has (offset, width)) {
      return 0;
    }
    uint64_t value = 0;
    for (unsigned i = 0; i < width; i++) {
      value |= static_cast<uint64_t> (bytes_[offset + i]) << (8 * i);
    }
    return value;
  }

  const std::vector<uint8_t> &bytes_;
};

} // namespace carvex::pecheck

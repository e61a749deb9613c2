// BlockToConfig and ConfigToBlock on text: the conversions between a buffer
// and its <ConfigResp>, with EDK II's statuses and Progress positions, but
// strict about malformed numbers and never reading or writing past a buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim::hii {

struct TextResult {
  EFI_STATUS status = EFI_SUCCESS;
  std::size_t progress = 0;  // index into the input text
};

// request: <ConfigHdr>[&OFFSET=o&WIDTH=w]... On success config holds the
// header and one &OFFSET=o&WIDTH=w&VALUE=v per item (v: 2*w lower-case hex
// digits, most significant byte first), all hex values lower-cased.
TextResult BlockToConfigText(std::u16string_view request, const std::uint8_t* block, std::size_t blockSize,
                             std::u16string& config);

// response: <ConfigHdr>&OFFSET=o&WIDTH=w&VALUE=v... Writes the items that fit
// in blockSize bytes of block (which may be NULL to measure). blockSize is
// updated as EDK II does: the largest offset+width minus one on success, the
// needed size when that is larger than the buffer.
TextResult ConfigToBlockText(std::u16string_view response, std::uint8_t* block, std::size_t& blockSize);

}  // namespace carvex::sim::hii

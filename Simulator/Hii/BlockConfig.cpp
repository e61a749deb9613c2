#include "BlockConfig.hpp"

#include <algorithm>
#include <optional>

#include "ConfigText.hpp"

namespace carvex::sim::hii {

namespace {

// The end of the value that starts at `from`: the next '&' or the end.
std::size_t ValueEnd(std::u16string_view text, std::size_t from) {
  std::size_t end = text.find(u'&', from);
  return end == std::u16string_view::npos ? text.size() : end;
}

std::uint64_t SaturatingAdd(std::uint64_t a, std::uint64_t b) {
  return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

// The index of the '&' that ends the routing header, or nullopt when there
// is no PATH= or nothing follows it. pathAt receives the PATH= position.
std::optional<std::size_t> HeaderEnd(std::u16string_view text, std::size_t& pathAt) {
  pathAt = text.find(u"PATH=");
  if (pathAt == std::u16string_view::npos) {
    return std::nullopt;
  }
  std::size_t amp = text.find(u'&', pathAt);
  if (amp == std::u16string_view::npos) {
    return std::nullopt;
  }
  return amp;
}

// Writes the big-endian hex number `digits` as `width` little-endian bytes,
// zero-extended; the caller has checked that it fits.
void StoreValue(std::u16string_view digits, std::uint8_t* out, std::size_t width) {
  const std::size_t count = digits.size();
  for (std::size_t k = 0; k < width; k++) {
    unsigned lo = 0;
    unsigned hi = 0;
    if (2 * k < count) {
      lo = HexValue(digits[count - 1 - 2 * k]);
      if (2 * k + 1 < count) {
        hi = HexValue(digits[count - 2 - 2 * k]);
      }
    }
    out[k] = static_cast<std::uint8_t>((hi << 4) | lo);
  }
}

bool AllHex(std::u16string_view digits) {
  return std::all_of(digits.begin(), digits.end(), IsHexDigit);
}

}  // namespace

TextResult BlockToConfigText(std::u16string_view request, const std::uint8_t* block, std::size_t blockSize,
                             std::u16string& config) {
  config.clear();
  if (!StartsWith(request, u"GUID=")) {
    return {EFI_INVALID_PARAMETER, 0};
  }
  std::size_t pathAt = 0;
  auto headerEnd = HeaderEnd(request, pathAt);
  if (pathAt == std::u16string_view::npos) {
    return {EFI_INVALID_PARAMETER, request.size() - 1};
  }
  if (!headerEnd) {
    // A bare header asks for nothing: the answer is the header itself.
    config.assign(request);
    LowerHexValues(config);
    return {EFI_SUCCESS, request.size()};
  }

  std::size_t i = *headerEnd + 1;
  config.assign(request.substr(0, i));
  bool first = true;
  while (i < request.size() && StartsWith(request.substr(i), u"OFFSET=")) {
    const std::size_t item = i;  // the '&' before it is item - 1
    i += 7;
    std::size_t end = ValueEnd(request, i);
    auto offset = ParseNumber(request.substr(i, end - i));
    if (!offset) {
      config.clear();
      return {EFI_INVALID_PARAMETER, item - 1};
    }
    i = end;
    if (!StartsWith(request.substr(i), u"&WIDTH=")) {
      config.clear();
      return {EFI_INVALID_PARAMETER, item - 1};
    }
    i += 7;
    end = ValueEnd(request, i);
    auto width = ParseNumber(request.substr(i, end - i));
    if (!width) {
      config.clear();
      return {EFI_INVALID_PARAMETER, item - 1};
    }
    i = end;
    if (*width > blockSize || *offset > blockSize - *width) {
      config.clear();
      return {EFI_DEVICE_ERROR, i};
    }
    if (!first) {
      config.push_back(u'&');
    }
    first = false;
    config.append(request.substr(item, i - item));
    config.append(u"&VALUE=");
    config.append(HexValueBigEndian(block + *offset, static_cast<std::size_t>(*width)));
    if (i == request.size()) {
      break;
    }
    i++;  // the '&' before the next item
    if (i == request.size()) {
      // A trailing '&' names no item.
      config.clear();
      return {EFI_INVALID_PARAMETER, i - 1};
    }
  }
  if (i < request.size()) {
    config.clear();
    return {EFI_INVALID_PARAMETER, i - 1};
  }
  LowerHexValues(config);
  return {EFI_SUCCESS, request.size()};
}

TextResult ConfigToBlockText(std::u16string_view response, std::uint8_t* block, std::size_t& blockSize) {
  if (!StartsWith(response, u"GUID=")) {
    return {EFI_INVALID_PARAMETER, 0};
  }
  std::size_t pathAt = 0;
  auto headerEnd = HeaderEnd(response, pathAt);
  if (!headerEnd) {
    return {EFI_INVALID_PARAMETER, response.size()};
  }

  const std::size_t bufferSize = blockSize;
  std::uint64_t maxEnd = 0;
  std::size_t i = *headerEnd;
  while (i < response.size() && StartsWith(response.substr(i), u"&OFFSET=")) {
    const std::size_t item = i;
    i += 8;
    std::size_t end = ValueEnd(response, i);
    auto offset = ParseNumber(response.substr(i, end - i));
    if (!offset) {
      return {EFI_INVALID_PARAMETER, item};
    }
    i = end;
    if (!StartsWith(response.substr(i), u"&WIDTH=")) {
      return {EFI_INVALID_PARAMETER, item};
    }
    i += 7;
    end = ValueEnd(response, i);
    auto width = ParseNumber(response.substr(i, end - i));
    if (!width) {
      return {EFI_INVALID_PARAMETER, item};
    }
    i = end;
    if (!StartsWith(response.substr(i), u"&VALUE=")) {
      return {EFI_INVALID_PARAMETER, item};
    }
    i += 7;
    end = ValueEnd(response, i);
    std::u16string_view digits = response.substr(i, end - i);
    // The value must be hex, present unless the width is zero, and no wider
    // than the item: extra digits would be silently dropped bytes.
    if (!AllHex(digits) || (digits.empty() && *width != 0) || (digits.size() + 1) / 2 > *width) {
      return {EFI_INVALID_PARAMETER, item};
    }
    i = end;

    const std::uint64_t itemEnd = SaturatingAdd(*offset, *width);
    if (block != nullptr && itemEnd <= bufferSize) {
      StoreValue(digits, block + *offset, static_cast<std::size_t>(*width));
    }
    maxEnd = std::max(maxEnd, itemEnd);
  }
  if (i < response.size()) {
    return {EFI_INVALID_PARAMETER, i};
  }

  blockSize = maxEnd == 0 ? 0 : static_cast<std::size_t>(maxEnd - 1);
  if (maxEnd > bufferSize) {
    blockSize = static_cast<std::size_t>(maxEnd);
    if (block != nullptr) {
      return {EFI_BUFFER_TOO_SMALL, response.size()};
    }
  }
  if (block == nullptr) {
    return {EFI_INVALID_PARAMETER, 0};
  }
  return {EFI_SUCCESS, response.size()};
}

}  // namespace carvex::sim::hii

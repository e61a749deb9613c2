// BlockToConfig and ConfigToBlock through the routing protocol: byte order,
// case, sizes, and every malformed item failing with the Progress a caller
// uses to find the element at fault.
#include <cstring>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

const std::u16string kHeader = HeaderText(kStoreGuid, u"Cfg", VendorDevicePath(kPathGuid));

// The text from Progress to the end of the caller's string.
std::u16string Tail(const std::u16string& text, const CHAR16* progress) {
  if (progress < text.data() || progress > text.data() + text.size()) {
    return u"<outside>";
  }
  return std::u16string(progress);
}

using BlockConfigTest = HiiTest;

TEST_F(BlockConfigTest, BlockToConfig_WritesValuesMostSignificantByteFirstInLowerCase) {
  const std::uint8_t block[6] = {0x34, 0x12, 0xAB, 0xCD, 0xEF, 0x01};
  const std::u16string request = kHeader + u"&OFFSET=0&WIDTH=2&OFFSET=2&WIDTH=0004&OFFSET=A&WIDTH=0";
  CHAR16* config = nullptr;
  const CHAR16* progress = nullptr;
  std::vector<std::uint8_t> big(16);
  std::memcpy(big.data(), block, sizeof block);

  ASSERT_EQ(Routing()->BlockToConfig(Routing(), request.c_str(), big.data(), big.size(), &config, &progress),
            EFI_SUCCESS);
  EXPECT_EQ(Tail(request, progress), u"");
  EXPECT_EQ(Take(config), kHeader + u"&OFFSET=0&WIDTH=2&VALUE=1234&OFFSET=2&WIDTH=0004&VALUE=01efcdab"
                                    u"&OFFSET=a&WIDTH=0&VALUE=");
}

TEST_F(BlockConfigTest, BlockToConfig_BareHeader_AnswersWithTheHeader) {
  const std::u16string request = u"GUID=ABCDEF&NAME=0041&PATH=7FFF0400";
  CHAR16* config = nullptr;
  const CHAR16* progress = nullptr;
  const std::uint8_t block[1] = {0};

  ASSERT_EQ(Routing()->BlockToConfig(Routing(), request.c_str(), block, 1, &config, &progress), EFI_SUCCESS);
  EXPECT_EQ(Take(config), u"GUID=abcdef&NAME=0041&PATH=7fff0400");
  EXPECT_EQ(Tail(request, progress), u"");
}

TEST_F(BlockConfigTest, ConfigToBlock_ReadsValuesMostSignificantByteFirst) {
  const std::u16string response = kHeader + u"&OFFSET=0&WIDTH=2&VALUE=AA55&OFFSET=2&WIDTH=4&VALUE=1&OFFSET=6&WIDTH=1&VALUE=7";
  std::uint8_t block[8];
  std::memset(block, 0xEE, sizeof block);
  UINTN size = sizeof block;
  const CHAR16* progress = nullptr;

  ASSERT_EQ(Routing()->ConfigToBlock(Routing(), response.c_str(), block, &size, &progress), EFI_SUCCESS);
  const std::uint8_t expected[8] = {0x55, 0xAA, 0x01, 0x00, 0x00, 0x00, 0x07, 0xEE};  // short values zero-extend
  EXPECT_EQ(0, std::memcmp(block, expected, sizeof block));
  EXPECT_EQ(size, 6u) << "the largest index written, as firmware reports it";
  EXPECT_EQ(Tail(response, progress), u"");
}

TEST_F(BlockConfigTest, ConfigToBlock_ItemPastTheBuffer_ReportsTheSizeNeededAndWritesOnlyWhatFits) {
  const std::u16string response = kHeader + u"&OFFSET=0&WIDTH=1&VALUE=11&OFFSET=3&WIDTH=2&VALUE=2233";
  std::vector<std::uint8_t> block(4, 0);  // exact size: ASan catches any write past it
  UINTN size = block.size();
  const CHAR16* progress = nullptr;

  EXPECT_EQ(Routing()->ConfigToBlock(Routing(), response.c_str(), block.data(), &size, &progress),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(block, (std::vector<std::uint8_t>{0x11, 0, 0, 0}));

  // Measuring with no buffer: the size is still reported, the call refused.
  size = 0;
  EXPECT_EQ(Routing()->ConfigToBlock(Routing(), response.c_str(), nullptr, &size, &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(Tail(response, progress), response);
}

TEST_F(BlockConfigTest, RoundTrip_BlockToConfigThenConfigToBlock_RestoresTheBytes) {
  std::vector<std::uint8_t> original(40);
  for (std::size_t i = 0; i < original.size(); i++) {
    original[i] = static_cast<std::uint8_t>(i * 37 + 11);
  }
  const std::u16string request = kHeader + u"&OFFSET=0&WIDTH=8&OFFSET=8&WIDTH=1f&OFFSET=27&WIDTH=1";
  CHAR16* config = nullptr;
  const CHAR16* progress = nullptr;
  ASSERT_EQ(Routing()->BlockToConfig(Routing(), request.c_str(), original.data(), original.size(), &config, &progress),
            EFI_SUCCESS);
  const std::u16string response = Take(config);

  std::vector<std::uint8_t> copy(original.size());
  UINTN size = copy.size();
  ASSERT_EQ(Routing()->ConfigToBlock(Routing(), response.c_str(), copy.data(), &size, &progress), EFI_SUCCESS);
  EXPECT_EQ(copy, original);
}

struct Malformed {
  const char* name;
  std::u16string text;
  std::size_t blockSize;
  EFI_STATUS status;
  std::u16string tail;  // the caller's text from Progress on
};

class BlockToConfigMalformed : public HiiTest, public ::testing::WithParamInterface<Malformed> {};

TEST_P(BlockToConfigMalformed, FailsWithProgressAtTheElement) {
  const Malformed& c = GetParam();
  std::vector<std::uint8_t> block(c.blockSize, 0x5A);
  CHAR16* config = reinterpret_cast<CHAR16*>(0x1);  // must come back NULL
  const CHAR16* progress = nullptr;

  EXPECT_EQ(Routing()->BlockToConfig(Routing(), c.text.c_str(), block.data(), block.size(), &config, &progress),
            c.status);
  EXPECT_EQ(config, nullptr);
  EXPECT_EQ(Tail(c.text, progress), c.tail);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BlockToConfigMalformed,
    ::testing::Values(
        Malformed{"NotAHeader", u"NAME=00&PATH=00&OFFSET=0&WIDTH=1", 4, EFI_INVALID_PARAMETER,
                  u"NAME=00&PATH=00&OFFSET=0&WIDTH=1"},
        Malformed{"NoPath", u"GUID=00&NAME=00", 4, EFI_INVALID_PARAMETER, u"0"},
        Malformed{"OffsetNotHex", kHeader + u"&OFFSET=0&WIDTH=1&OFFSET=zz&WIDTH=1", 4, EFI_INVALID_PARAMETER,
                  u"&OFFSET=zz&WIDTH=1"},
        Malformed{"WidthMissing", kHeader + u"&OFFSET=0", 4, EFI_INVALID_PARAMETER, u"&OFFSET=0"},
        Malformed{"WidthEmpty", kHeader + u"&OFFSET=0&WIDTH=", 4, EFI_INVALID_PARAMETER, u"&OFFSET=0&WIDTH="},
        Malformed{"OffsetMissing", kHeader + u"&WIDTH=1", 4, EFI_INVALID_PARAMETER, u"&WIDTH=1"},
        Malformed{"WidthPastBlock", kHeader + u"&OFFSET=2&WIDTH=3&OFFSET=0&WIDTH=1", 4, EFI_DEVICE_ERROR,
                  u"&OFFSET=0&WIDTH=1"},
        Malformed{"OffsetPlusWidthWraps", kHeader + u"&OFFSET=ffffffffffffffff&WIDTH=2", 4, EFI_DEVICE_ERROR, u""},
        Malformed{"OffsetPast64Bits", kHeader + u"&OFFSET=10000000000000000&WIDTH=1", 4, EFI_DEVICE_ERROR, u""},
        Malformed{"UnknownElement", kHeader + u"&OFFSET=0&WIDTH=1&LABEL=3", 4, EFI_INVALID_PARAMETER, u"&LABEL=3"},
        Malformed{"TrailingAmpersand", kHeader + u"&OFFSET=0&WIDTH=1&", 4, EFI_INVALID_PARAMETER, u"&"}),
    [](const auto& info) { return info.param.name; });

class ConfigToBlockMalformed : public HiiTest, public ::testing::WithParamInterface<Malformed> {};

TEST_P(ConfigToBlockMalformed, FailsWithProgressAtTheElement) {
  const Malformed& c = GetParam();
  std::vector<std::uint8_t> block(c.blockSize, 0x5A);
  UINTN size = block.size();
  const CHAR16* progress = nullptr;

  EXPECT_EQ(Routing()->ConfigToBlock(Routing(), c.text.c_str(), block.data(), &size, &progress), c.status);
  EXPECT_EQ(Tail(c.text, progress), c.tail);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConfigToBlockMalformed,
    ::testing::Values(
        Malformed{"NotAHeader", u"OFFSET=0&WIDTH=1&VALUE=00", 4, EFI_INVALID_PARAMETER, u"OFFSET=0&WIDTH=1&VALUE=00"},
        Malformed{"NoPath", u"GUID=00&NAME=00", 4, EFI_INVALID_PARAMETER, u""},
        Malformed{"HeaderOnly", kHeader, 4, EFI_INVALID_PARAMETER, u""},
        Malformed{"OffsetMissing", kHeader + u"&WIDTH=1&VALUE=00", 4, EFI_INVALID_PARAMETER, u"&WIDTH=1&VALUE=00"},
        Malformed{"ValueMissing", kHeader + u"&OFFSET=0&WIDTH=1", 4, EFI_INVALID_PARAMETER, u"&OFFSET=0&WIDTH=1"},
        Malformed{"ValueNotHex", kHeader + u"&OFFSET=0&WIDTH=1&VALUE=0g", 4, EFI_INVALID_PARAMETER,
                  u"&OFFSET=0&WIDTH=1&VALUE=0g"},
        Malformed{"ValueEmpty", kHeader + u"&OFFSET=0&WIDTH=1&VALUE=", 4, EFI_INVALID_PARAMETER,
                  u"&OFFSET=0&WIDTH=1&VALUE="},
        Malformed{"ValueWiderThanWidth", kHeader + u"&OFFSET=0&WIDTH=1&VALUE=123", 4, EFI_INVALID_PARAMETER,
                  u"&OFFSET=0&WIDTH=1&VALUE=123"},
        Malformed{"WidthNotHex", kHeader + u"&OFFSET=0&WIDTH=1&VALUE=00&OFFSET=1&WIDTH=x&VALUE=00", 4,
                  EFI_INVALID_PARAMETER, u"&OFFSET=1&WIDTH=x&VALUE=00"},
        Malformed{"AltConfigSection", kHeader + u"&ALTCFG=0000&OFFSET=0&WIDTH=1&VALUE=00", 4, EFI_INVALID_PARAMETER,
                  u"&ALTCFG=0000&OFFSET=0&WIDTH=1&VALUE=00"},
        Malformed{"TrailingAmpersand", kHeader + u"&OFFSET=0&WIDTH=1&VALUE=00&", 4, EFI_INVALID_PARAMETER, u"&"}),
    [](const auto& info) { return info.param.name; });

TEST_F(BlockConfigTest, MissingArguments_RefusedWithoutTouchingOutputs) {
  const std::u16string request = kHeader + u"&OFFSET=0&WIDTH=1";
  std::uint8_t block[1] = {0};
  CHAR16* config = nullptr;
  const CHAR16* progress = u"untouched";
  UINTN size = 1;

  EXPECT_EQ(Routing()->BlockToConfig(Routing(), request.c_str(), block, 1, nullptr, &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(std::u16string(progress), u"untouched");
  EXPECT_EQ(Routing()->BlockToConfig(Routing(), request.c_str(), nullptr, 1, &config, &progress),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(progress, request.c_str());
  EXPECT_EQ(Routing()->ConfigToBlock(Routing(), nullptr, block, &size, &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(progress, nullptr);
  EXPECT_EQ(Routing()->ConfigToBlock(Routing(), request.c_str(), block, nullptr, &progress), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Routing()->BlockToConfig(nullptr, request.c_str(), block, 1, &config, &progress), EFI_INVALID_PARAMETER);
}

}  // namespace
}  // namespace hiitest

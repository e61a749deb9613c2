// The image checker against a minimal well-formed PE32+ driver image, with
// one fault planted per case.
#include "PeImage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

using namespace carvex::pecheck;

namespace {

constexpr size_t kPe = 0x40;           // e_lfanew
constexpr size_t kOptional = kPe + 24; // optional header
constexpr size_t kSections = kOptional + 240;
constexpr size_t kRelocBlock = 0x240;

void put16 (std::vector<uint8_t> &image, size_t at, uint16_t value) {
  image[at] = value & 0xFF;
  image[at + 1] = value >> 8;
}

void put32 (std::vector<uint8_t> &image, size_t at, uint32_t value) {
  for (int i = 0; i < 4; i++) {
    image[at + i] = (value >> (8 * i)) & 0xFF;
  }
}

void putSection (std::vector<uint8_t> &image, int index, const char *name, uint32_t va, uint32_t size, uint32_t raw,
                 uint32_t flags) {
  size_t at = kSections + 40 * index;
  std::memcpy (&image[at], name, std::strlen (name));
  put32 (image, at + 8, size);
  put32 (image, at + 12, va);
  put32 (image, at + 16, 0x20);
  put32 (image, at + 20, raw);
  put32 (image, at + 36, flags);
}

// .text at 0x1000 (entry), .data at 0x2000 holding one pointer, .reloc at
// 0x3000 with one DIR64 fixup for it: what lld-link makes of a tiny driver.
std::vector<uint8_t> wellFormedDriver () {
  std::vector<uint8_t> image (0x260, 0);
  put16 (image, 0, 0x5A4D);
  put32 (image, 0x3C, kPe);
  std::memcpy (&image[kPe], "PE\0\0", 4);
  put16 (image, kPe + 4, 0x8664);
  put16 (image, kPe + 6, 3);
  put16 (image, kPe + 20, 240);
  put16 (image, kPe + 22, 0x2022);
  put16 (image, kOptional, 0x20B);
  put32 (image, kOptional + 16, 0x1000);
  put32 (image, kOptional + 32, 0x1000);
  put32 (image, kOptional + 36, 0x20);
  put32 (image, kOptional + 56, 0x4000);
  put32 (image, kOptional + 60, 0x200);
  put16 (image, kOptional + 68, kSubsystemEfiBootServiceDriver);
  put32 (image, kOptional + 108, 16);
  put32 (image, kOptional + 112 + 8 * 5, 0x3000);
  put32 (image, kOptional + 116 + 8 * 5, 12);
  putSection (image, 0, ".text", 0x1000, 0x10, 0x200, 0x60000020);
  putSection (image, 1, ".data", 0x2000, 0x08, 0x220, 0xC0000040);
  putSection (image, 2, ".reloc", 0x3000, 0x0C, kRelocBlock, 0x42000040);
  put32 (image, kRelocBlock, 0x2000);
  put32 (image, kRelocBlock + 4, 12);
  put16 (image, kRelocBlock + 8, 0xA000);
  return image;
}

TEST (PeImageTest, WellFormedDriver_PassesAndReportsItsSize) {
  ImageFacts facts;
  EXPECT_TRUE (checkImage (wellFormedDriver (), ImageRequirements{}, &facts).empty ());
  EXPECT_EQ (facts.sizeOfImage, 0x4000u);
  EXPECT_EQ (facts.relocationCount, 1u);
  EXPECT_EQ (facts.sections, (std::vector<std::string>{".text", ".data", ".reloc"}));
}

struct Fault {
  const char                                  *name;
  std::function<void (std::vector<uint8_t> &)> plant;
  const char                                  *expected;
};

// Names the case in test output instead of dumping the lambda's bytes.
void PrintTo (const Fault &fault, std::ostream *out) {
  *out << fault.name;
}

class PlantedFault : public testing::TestWithParam<Fault> {};

TEST_P (PlantedFault, FaultyImage_IsRejectedForThatFault) {
  std::vector<uint8_t> image = wellFormedDriver ();
  GetParam ().plant (image);
  std::vector<std::string> violations = checkImage (image, ImageRequirements{}, nullptr);
  ASSERT_FALSE (violations.empty ());
  std::string all;
  for (const std::string &violation : violations) {
    all += violation + "\n";
  }
  EXPECT_NE (all.find (GetParam ().expected), std::string::npos) << all;
}

INSTANTIATE_TEST_SUITE_P (
    PeImageTest, PlantedFault,
    testing::Values (
        Fault{"NoMzHeader", [] (auto &i) { i[0] = 'X'; }, "no MZ header"},
        Fault{"Truncated", [] (auto &i) { i.resize (kPe + 30); }, "truncated optional header"},
        Fault{"Machine386", [] (auto &i) { put16 (i, kPe + 4, 0x14C); }, "machine 0x14c"},
        Fault{"Pe32Magic", [] (auto &i) { put16 (i, kOptional, 0x10B); }, "magic 0x10b"},
        Fault{"ApplicationSubsystem", [] (auto &i) { put16 (i, kOptional + 68, kSubsystemEfiApplication); },
              "subsystem 10, expected 11"},
        Fault{"RelocsStripped", [] (auto &i) { put16 (i, kPe + 22, 0x2023); }, "RELOCS_STRIPPED"},
        Fault{"ImportDirectory", [] (auto &i) { put32 (i, kOptional + 112 + 8, 0x2000); }, "import directory"},
        Fault{"TlsDirectory", [] (auto &i) { put32 (i, kOptional + 116 + 8 * 9, 0x28); }, "TLS directory"},
        Fault{"NoRelocations", [] (auto &i) { put32 (i, kOptional + 116 + 8 * 5, 0); }, "no base relocation"},
        Fault{"SmallSectionAlignment", [] (auto &i) { put32 (i, kOptional + 32, 0x20); }, "section alignment 0x20"},
        Fault{"UnalignedSection", [] (auto &i) { put32 (i, kSections + 40 + 12, 0x2020); }, "not aligned"},
        Fault{"StaticInitialiserSection", [] (auto &i) { std::memcpy (&i[kSections + 40], ".CRT\0", 5); },
              "static initialisers"},
        Fault{"WritableCode", [] (auto &i) { put32 (i, kSections + 36, 0xE0000020); }, "writable and executable"},
        Fault{"EntryInData", [] (auto &i) { put32 (i, kOptional + 16, 0x2000); }, "entry point 0x2000"},
        Fault{"HighLowRelocation", [] (auto &i) { put16 (i, kRelocBlock + 8, 0x3000); }, "DIR64 only"},
        Fault{"RelocationOutsideImage", [] (auto &i) { put32 (i, kRelocBlock, 0x4000); }, "outside the image"},
        Fault{"RelocationBlockOverrun", [] (auto &i) { put32 (i, kRelocBlock + 4, 0x40); }, "malformed"}),
    [] (const testing::TestParamInfo<Fault> &info) { return std::string (info.param.name); });

TEST (PeImageTest, LinkMapWithInitialiserOrTls_NamesTheObject) {
  const std::string        map = "Address  Size     Align Out     In      Symbol\n"
                                 "00001000 00000036  4096 .text\n"
                                 "00003000 00000008     8         Driver.obj:(.CRT$XCU)\n"
                                 "00004000 00000004     4         Tls.obj:(.tls$)\n";
  std::vector<std::string> violations = checkLinkMap (map);
  ASSERT_EQ (violations.size (), 2u);
  EXPECT_EQ (violations[0], "static initialiser linked in: Driver.obj:(.CRT$XCU)");
  EXPECT_EQ (violations[1], "thread-local data linked in: Tls.obj:(.tls$)");
  EXPECT_TRUE (checkLinkMap ("00002000 00000078     8         a.obj:(.data)\n").empty ());
}

} // namespace

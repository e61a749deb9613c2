// Mutated configuration strings and package lists, many at a time: the
// services must answer each with a status and a Progress inside the caller's
// string, never read or write outside a buffer (run this under ASan), and
// leave nothing allocated behind.
#include <algorithm>
#include <cstring>
#include <random>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

class HiiRobustnessTest : public HiiTest {
 protected:
  void SetUp() override {
    HiiTest::SetUp();
    AddSample(driver_);
    uefi.SetVariable(u"EfiVar", kEfiStoreGuid, {1, 2, 3, 4});
  }

  std::u16string Mutate(std::u16string text) {
    static const std::u16string kAlphabet = u"0123456789abcdefABCDEFxz&=GUIDNAMEPATHOFFSETWIDTHVALUE";
    const int edits = 1 + static_cast<int>(random_() % 4);
    for (int e = 0; e < edits && !text.empty(); e++) {
      const std::size_t at = random_() % text.size();
      const char16_t c = kAlphabet[random_() % kAlphabet.size()];
      switch (random_() % 4) {
        case 0:
          text[at] = c;
          break;
        case 1:
          text.insert(text.begin() + static_cast<std::ptrdiff_t>(at), c);
          break;
        case 2:
          text.erase(at, 1 + random_() % 8);
          break;
        default:
          text.resize(at);
          break;
      }
    }
    return text;
  }

  static void ExpectInside(const std::u16string& text, const CHAR16* progress) {
    EXPECT_TRUE(progress >= text.data() && progress <= text.data() + text.size());
  }

  SampleDriver driver_{uefi, Routing(), kPathGuid, 16};
  std::mt19937 random_{20240607};
};

TEST_F(HiiRobustnessTest, MutatedConfigStrings_AnsweredWithProgressInsideTheString) {
  const std::u16string header = HeaderText(kStoreGuid, u"SampleVar", driver_.path);
  const std::u16string efi = HeaderText(kEfiStoreGuid, u"EfiVar", driver_.path);
  const std::u16string seeds[] = {
      header + u"&OFFSET=0&WIDTH=2&OFFSET=4&WIDTH=1&" + efi + u"&OFFSET=0&WIDTH=4",
      header + u"&OFFSET=2&WIDTH=2&VALUE=beef&" + efi + u"&OFFSET=1&WIDTH=1&VALUE=7f",
  };
  std::vector<std::uint8_t> block(16);
  for (int round = 0; round < 3000; round++) {
    const std::u16string text = Mutate(seeds[round % 2]);
    const CHAR16* progress = nullptr;
    CHAR16* out = nullptr;

    if (Routing()->BlockToConfig(Routing(), text.c_str(), block.data(), block.size(), &out, &progress) ==
        EFI_SUCCESS) {
      Take(out);
    }
    ExpectInside(text, progress);

    UINTN size = block.size();
    Routing()->ConfigToBlock(Routing(), text.c_str(), block.data(), &size, &progress);
    ExpectInside(text, progress);

    out = nullptr;
    if (Routing()->ExtractConfig(Routing(), text.c_str(), &progress, &out) == EFI_SUCCESS) {
      Take(out);
    } else {
      EXPECT_EQ(out, nullptr);
    }
    ExpectInside(text, progress);

    Routing()->RouteConfig(Routing(), text.c_str(), &progress);
    ExpectInside(text, progress);
    if (HasFailure()) {
      ADD_FAILURE() << "input: " << std::string(text.begin(), text.end());
      break;
    }
  }
}

TEST_F(HiiRobustnessTest, MutatedPackageLists_RefusedOrUsable) {
  std::vector<Bytes> packages = SampleStrings();
  packages.push_back(SampleIfr().Package());
  const Bytes seed = PackageList(kListGuid, packages);
  int accepted = 0;
  for (int round = 0; round < 3000; round++) {
    Bytes list = seed;
    const int edits = 1 + static_cast<int>(random_() % 3);
    for (int e = 0; e < edits && list.size() > sizeof(EFI_HII_PACKAGE_LIST_HEADER); e++) {
      const std::size_t at = sizeof(EFI_HII_PACKAGE_LIST_HEADER) + random_() % (list.size() - sizeof(EFI_HII_PACKAGE_LIST_HEADER));
      if (random_() % 5 == 0) {
        list.resize(at);  // cut short; the header below still states the true size
      } else {
        list[at] = static_cast<std::uint8_t>(random_());
      }
    }
    list.resize(std::max<std::size_t>(list.size(), sizeof(EFI_HII_PACKAGE_LIST_HEADER)));
    const auto length = static_cast<std::uint32_t>(list.size());
    std::memcpy(list.data() + 16, &length, sizeof length);

    EFI_HII_HANDLE handle = nullptr;
    if (AddList(list, nullptr, &handle) != EFI_SUCCESS) {
      continue;
    }
    accepted++;
    // Whatever was accepted can be read back and worked with.
    Export(handle);
    CHAR16 text[128];
    for (EFI_STRING_ID id = 1; id < 8; id++) {
      UINTN size = sizeof text;
      Str()->GetString(Str(), "en-US", handle, id, text, &size, nullptr);
    }
    EFI_STRING_ID id = 0;
    Str()->NewString(Str(), handle, &id, "en-US", u"English", u"new", nullptr);
    ASSERT_EQ(Db()->RemovePackageList(Db(), handle), EFI_SUCCESS);
  }
  EXPECT_GT(accepted, 0) << "some mutations (of string text, say) stay valid";
}

}  // namespace
}  // namespace hiitest

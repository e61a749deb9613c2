// The HII library over the host HII services: package lists from the
// compilers' arrays, strings in one best language, form updates between
// labels, the opcode layouts firmware browsers expect, configuration
// headers, and the browser's copy of a storage.
#include <cstring>
#include <functional>

#include <Guid/GlobalVariable.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Protocol/FormBrowser2.h>

#include "HiiFixture.hpp"
#include "HiiLibInternal.h"

namespace hiitest {
namespace {

class UefiHiiLibTest : public HiiTest {
 protected:
  EFI_HII_HANDLE AddWithLib(SampleDriver& driver) {
    const std::vector<Bytes> strings = SampleStrings();
    const Bytes a = Generated(strings[0]);
    const Bytes b = Generated(strings[1]);
    const Bytes forms = Generated(SampleIfr().Package());
    return HiiAddPackages(&kListGuid, driver.handle, a.data(), b.data(), forms.data(), nullptr);
  }

  // The opcodes of the first forms package of a list.
  Bytes FormOps(EFI_HII_HANDLE handle) {
    const Bytes list = Export(handle);
    for (std::size_t pos = sizeof(EFI_HII_PACKAGE_LIST_HEADER); pos + 4 <= list.size();) {
      const std::size_t length = list[pos] | (list[pos + 1] << 8) | (list[pos + 2] << 16);
      if (list[pos + 3] == EFI_HII_PACKAGE_FORMS) {
        return Bytes(list.begin() + pos + 4, list.begin() + pos + length);
      }
      pos += length;
    }
    return {};
  }

  std::u16string String(EFI_HII_HANDLE handle, EFI_STRING_ID id, const char* language) {
    return Take(HiiGetString(handle, id, language));
  }

  SampleDriver driver_{uefi, Routing(), kPathGuid, 16};
};

TEST_F(UefiHiiLibTest, HiiAddPackages_GeneratedArrays_BecomeOneListWithTheDevicePath) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  ASSERT_NE(handle, nullptr);
  std::vector<Bytes> packages = SampleStrings();
  packages.insert(packages.begin(), SampleIfr().Package());
  packages.push_back(DevicePathPackage(driver_.path));
  Bytes expected = PackageList(kListGuid, packages);
  EXPECT_EQ(Export(handle), expected);

  EXPECT_EQ(AddWithLib(driver_), nullptr) << "same list for the same handle";
  EXPECT_EQ(HiiAddPackages(&kListGuid, nullptr, nullptr), nullptr) << "no packages";
  HiiRemovePackages(handle);
  EXPECT_EQ(hii.PackageLists().size(), 0u);
}

TEST_F(UefiHiiLibTest, HiiGetString_UsesOneLanguageWithoutPerStringFallback) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  struct Case {
    const char* requested;
    const char* platform;
    EFI_STRING_ID id;
    std::u16string expected;
  } cases[] = {
      {"fr-FR", nullptr, 2, u"Invite"},
      {nullptr, "fr-FR", 2, u"Invite"},
      {nullptr, nullptr, 2, u"Prompt"},    // the first supported language
      {"de-DE", "fr-FR", 2, u"Invite"},    // not supported: next choice
      {"fr", nullptr, 2, u"Invite"},       // a prefix names the full tag
      {"fr-FR", nullptr, 3, u"<null>"},    // missing in French: no English instead
      {"en-US", nullptr, 9, u"<null>"},
  };
  for (const Case& c : cases) {
    uefi.variables.clear();
    if (c.platform != nullptr) {
      uefi.SetVariable(EFI_PLATFORM_LANG_VARIABLE_NAME, gEfiGlobalVariableGuid,
                       Bytes(c.platform, c.platform + std::strlen(c.platform) + 1));
    }
    EXPECT_EQ(String(handle, c.id, c.requested), c.expected)
        << (c.requested ? c.requested : "-") << " / " << (c.platform ? c.platform : "-") << " id " << c.id;
  }
}

TEST_F(UefiHiiLibTest, HiiSetString_NewIdInEveryLanguageButKeywordsStayUntouched) {
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(AddList(PackageList(kListGuid, {StringPackage("x-UEFI-ns", {u"ns", u"KEY"}),
                                            StringPackage("en-US", {u"English", u"Hello"}),
                                            StringPackage("fr-FR", {u"Francais", u"Bonjour"})}),
                    nullptr, &handle),
            EFI_SUCCESS);
  const EFI_STRING_ID id = HiiSetString(handle, 0, u"New", nullptr);
  EXPECT_EQ(id, 3);
  EXPECT_EQ(String(handle, id, "en-US"), u"New");
  EXPECT_EQ(String(handle, id, "fr-FR"), u"New");
  EXPECT_EQ(String(handle, id, "x-UEFI-ns"), u"") << "reserved, not written";

  EXPECT_EQ(HiiSetString(handle, 2, u"Salut", "fr-FR"), 2);
  EXPECT_EQ(String(handle, 2, "fr-FR"), u"Salut");
  EXPECT_EQ(String(handle, 2, "en-US"), u"Hello");
  EXPECT_EQ(HiiSetString(handle, 9, u"x", nullptr), 0) << "past the end in every language";
}

// Updates the sample form with a start handle (label 0x1000 and the given
// texts) and, when withEnd, an end handle (label 0xFFFF).
EFI_STATUS Update(EFI_HII_HANDLE handle, const EFI_GUID* formSet, EFI_FORM_ID form, std::uint16_t start,
                  std::uint16_t end, std::initializer_list<EFI_STRING_ID> texts, bool withEnd = true) {
  VOID* startOps = HiiAllocateOpCodeHandle();
  VOID* endOps = HiiAllocateOpCodeHandle();
  HiiCreateLabelOpCode(startOps, start);
  for (EFI_STRING_ID text : texts) {
    HiiCreateTextOpCode(startOps, text, 0, 0);
  }
  HiiCreateLabelOpCode(endOps, end);
  EFI_STATUS status = HiiUpdateForm(handle, formSet, form, startOps, withEnd ? endOps : nullptr);
  HiiFreeOpCodeHandle(startOps);
  HiiFreeOpCodeHandle(endOps);
  return status;
}

Bytes SampleOpsWith(std::initializer_list<EFI_STRING_ID> texts) {
  Ifr expected;
  expected.FormSet(kFormSetGuid, 3)
      .VarStore(kStoreGuid, 1, 16, "SampleVar")
      .VarStoreEfi(kEfiStoreGuid, 2, 4, 7, "EfiVar")
      .Form(1, 3)
      .OneOf(1, 1, 0, EFI_IFR_NUMERIC_SIZE_1)
      .OneOf(2, 1, 2, EFI_IFR_NUMERIC_SIZE_2)
      .CheckBox(3, 1, 4)
      .String(4, 1, 6, 4)
      .CheckBox(5, 2, 1)
      .Label(kStartLabel);
  for (EFI_STRING_ID text : texts) {
    expected.Text(text);
  }
  expected.Label(kEndLabel).End().End();
  return expected.Ops();
}

TEST_F(UefiHiiLibTest, HiiUpdateForm_ReplacesWhatLiesBetweenTheLabels) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  ASSERT_EQ(Update(handle, &kFormSetGuid, 1, kStartLabel, kEndLabel, {7, 8}), EFI_SUCCESS);
  EXPECT_EQ(FormOps(handle), SampleOpsWith({7, 8}));
  ASSERT_EQ(Update(handle, nullptr, 1, kStartLabel, kEndLabel, {9}), EFI_SUCCESS);
  EXPECT_EQ(FormOps(handle), SampleOpsWith({9})) << "a second update replaces, it does not add";
  ASSERT_EQ(Update(handle, &kFormSetGuid, 1, kStartLabel, kEndLabel, {}), EFI_SUCCESS);
  EXPECT_EQ(FormOps(handle), SampleOpsWith({}));
}

TEST_F(UefiHiiLibTest, HiiUpdateForm_WithoutEndLabel_InsertsAfterTheStart) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  ASSERT_EQ(Update(handle, &kFormSetGuid, 1, kStartLabel, kEndLabel, {6}, false), EFI_SUCCESS);
  EXPECT_EQ(FormOps(handle), SampleOpsWith({6, 4}));
}

TEST_F(UefiHiiLibTest, HiiUpdateForm_NothingToMatch_LeavesTheFormAlone) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  const Bytes before = FormOps(handle);
  struct Case {
    const char* name;
    const EFI_GUID* formSet;
    EFI_FORM_ID form;
    std::uint16_t start;
    std::uint16_t end;
  } cases[] = {
      {"OtherForm", &kFormSetGuid, 2, kStartLabel, kEndLabel},
      {"OtherFormSet", &kStoreGuid, 1, kStartLabel, kEndLabel},
      {"NoStartLabel", &kFormSetGuid, 1, 0x2000, kEndLabel},
      {"NoEndLabel", &kFormSetGuid, 1, kStartLabel, 0x2001},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Update(handle, c.formSet, c.form, c.start, c.end, {7}), EFI_NOT_FOUND) << c.name;
    EXPECT_EQ(FormOps(handle), before) << c.name;
  }
  EXPECT_EQ(Update(reinterpret_cast<EFI_HII_HANDLE>(0x1234), nullptr, 1, kStartLabel, kEndLabel, {7}), EFI_NOT_FOUND);
}

TEST_F(UefiHiiLibTest, HiiUpdateForm_HandleThatLostAnAppend_IsRefused) {
  EFI_HII_HANDLE handle = AddWithLib(driver_);
  const Bytes before = FormOps(handle);
  VOID* startOps = HiiAllocateOpCodeHandle();
  HiiCreateLabelOpCode(startOps, kStartLabel);
  uefi.failAllocationsAfter = 0;  // the buffer cannot grow past its first 512 bytes
  std::size_t created = 0;
  for (int i = 0; i < 80; i++) {
    created += HiiCreateTextOpCode(startOps, 7, 0, 0) != nullptr;
  }
  uefi.failAllocationsAfter = -1;
  EXPECT_LT(created, 80u);
  EXPECT_EQ(HiiCreateEndOpCode(startOps), nullptr) << "no append after a lost one";

  VOID* endOps = HiiAllocateOpCodeHandle();
  HiiCreateLabelOpCode(endOps, kEndLabel);
  EXPECT_EQ(HiiUpdateForm(handle, &kFormSetGuid, 1, startOps, endOps), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(FormOps(handle), before);
  HiiFreeOpCodeHandle(startOps);
  HiiFreeOpCodeHandle(endOps);
}

// The bytes one creator appends to a fresh handle.
Bytes Created(const std::function<UINT8*(VOID*)>& create, bool* returnedNull = nullptr) {
  VOID* handle = HiiAllocateOpCodeHandle();
  VOID* extras = HiiAllocateOpCodeHandle();
  HiiCreateOneOfOptionOpCode(extras, 2, 0, EFI_IFR_TYPE_NUM_SIZE_8, 1);
  UINT8* op = create(handle);
  if (returnedNull != nullptr) {
    *returnedNull = op == nullptr;
  }
  const auto* opcodes = static_cast<const HII_LIB_OPCODE_BUFFER*>(handle);
  Bytes bytes(opcodes->Buffer, opcodes->Buffer + opcodes->Position);
  HiiFreeOpCodeHandle(handle);
  HiiFreeOpCodeHandle(extras);
  return bytes;
}

TEST_F(UefiHiiLibTest, OpCodeCreators_EmitTheLengthsAndScopesBrowsersExpect) {
  struct Case {
    const char* name;
    std::function<UINT8*(VOID*)> create;
    std::size_t total;        // bytes appended
    std::uint8_t lengthByte;  // the first opcode's length and scope
  };
  VOID* options = HiiAllocateOpCodeHandle();
  HiiCreateOneOfOptionOpCode(options, 2, EFI_IFR_OPTION_DEFAULT, EFI_IFR_TYPE_NUM_SIZE_32, 7);  // 10 bytes
  VOID* defaults = HiiAllocateOpCodeHandle();
  HiiCreateDefaultOpCode(defaults, EFI_HII_DEFAULT_CLASS_STANDARD, EFI_IFR_TYPE_BOOLEAN, 1);  // 6 bytes
  const std::vector<Case> cases = {
      {"OneOf8", [&](VOID* h) { return HiiCreateOneOfOpCode(h, 1, 1, 0, 2, 3, 0, EFI_IFR_NUMERIC_SIZE_1, options, nullptr); }, 17 + 10 + 2, 0x80 | 17},
      {"OneOf16", [&](VOID* h) { return HiiCreateOneOfOpCode(h, 1, 1, 0, 2, 3, 0, EFI_IFR_NUMERIC_SIZE_2, options, nullptr); }, 20 + 10 + 2, 0x80 | 20},
      {"OneOf32", [&](VOID* h) { return HiiCreateOneOfOpCode(h, 1, 1, 0, 2, 3, 0, EFI_IFR_NUMERIC_SIZE_4, options, defaults); }, 26 + 10 + 6 + 2, 0x80 | 26},
      {"OneOf64", [&](VOID* h) { return HiiCreateOneOfOpCode(h, 1, 1, 0, 2, 3, 0, EFI_IFR_NUMERIC_SIZE_8, options, nullptr); }, 38 + 10 + 2, 0x80 | 38},
      {"OptionU8", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_NUM_SIZE_8, 1); }, 7, 7},
      {"OptionU16", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_NUM_SIZE_16, 1); }, 8, 8},
      {"OptionU32", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_NUM_SIZE_32, 1); }, 10, 10},
      {"OptionU64", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_NUM_SIZE_64, 1); }, 14, 14},
      {"OptionBoolean", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_BOOLEAN, 1); }, 7, 7},
      {"OptionTime", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_TIME, 1); }, 9, 9},
      {"OptionDate", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_DATE, 1); }, 10, 10},
      {"OptionString", [](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_STRING, 1); }, 8, 8},
      {"Goto", [](VOID* h) { return HiiCreateGotoOpCode(h, 4, 2, 3, 0, 0x100); }, 15, 15},
      {"GotoExQuestion", [](VOID* h) { return HiiCreateGotoExOpCode(h, 4, 2, 3, 0, 1, 5, nullptr, 0); }, 17, 17},
      {"GotoExFormSet", [](VOID* h) { return HiiCreateGotoExOpCode(h, 4, 2, 3, 0, 1, 0, &kFormSetGuid, 0); }, 33, 33},
      {"GotoExDevicePath", [](VOID* h) { return HiiCreateGotoExOpCode(h, 4, 2, 3, 0, 1, 0, &kFormSetGuid, 9); }, 35, 35},
      {"CheckBox", [](VOID* h) { return HiiCreateCheckBoxOpCode(h, 1, 1, 4, 2, 3, 0, 0, nullptr); }, 14, 14},
      {"CheckBoxWithDefaults", [&](VOID* h) { return HiiCreateCheckBoxOpCode(h, 1, 1, 4, 2, 3, 0, 0, defaults); }, 14 + 6 + 2, 0x80 | 14},
      {"Numeric16", [](VOID* h) { return HiiCreateNumericOpCode(h, 1, 1, 2, 2, 3, 0, EFI_IFR_NUMERIC_SIZE_2, 1, 100, 1, nullptr); }, 20, 20},
      {"Text", [](VOID* h) { return HiiCreateTextOpCode(h, 2, 3, 4); }, 8, 8},
      {"SubtitleScope", [](VOID* h) { return HiiCreateSubTitleOpCode(h, 2, 3, 0, 1); }, 7, 0x80 | 7},
      {"Action", [](VOID* h) { return HiiCreateActionOpCode(h, 1, 2, 3, EFI_IFR_FLAG_CALLBACK, 0); }, 15, 15},
      {"End", [](VOID* h) { return HiiCreateEndOpCode(h); }, 2, 2},
  };
  for (const Case& c : cases) {
    const Bytes bytes = Created(c.create);
    ASSERT_EQ(bytes.size(), c.total) << c.name;
    EXPECT_EQ(bytes[1], c.lengthByte) << c.name;
    if ((c.lengthByte & 0x80) != 0 && c.total > (c.lengthByte & 0x7Fu)) {
      // Questions built with nested opcodes close their own scope; a
      // subtitle's scope is left for the caller to close.
      EXPECT_EQ(Bytes(bytes.end() - 2, bytes.end()), (Bytes{EFI_IFR_END_OP, 2})) << c.name << " closes its scope";
    }
  }
  HiiFreeOpCodeHandle(options);
  HiiFreeOpCodeHandle(defaults);

  bool refused = false;
  EXPECT_TRUE(Created([](VOID* h) { return HiiCreateOneOfOptionOpCode(h, 2, 0, EFI_IFR_TYPE_BUFFER, 1); }, &refused).empty());
  EXPECT_TRUE(refused);
  EXPECT_TRUE(Created([](VOID* h) { return HiiCreateGuidOpCode(h, &kStoreGuid, nullptr, 10); }, &refused).empty());
  EXPECT_TRUE(refused);
}

TEST_F(UefiHiiLibTest, OpCodeCreators_LabelAndNumericValuesByteForByte) {
  const Bytes label = Created([](VOID* h) { return HiiCreateLabelOpCode(h, 0x1234); });
  EXPECT_EQ(label, (Bytes{0x5F, 0x15, 0x35, 0x17, 0x0B, 0x0F, 0xA0, 0x87, 0x93, 0x41, 0xB2, 0x66, 0x53, 0x8C, 0x38,
                          0xAF, 0x48, 0xCE, 0x00, 0x34, 0x12}));
  const Bytes numeric = Created(
      [](VOID* h) { return HiiCreateNumericOpCode(h, 0x0102, 3, 0x0405, 6, 7, 0x10, EFI_IFR_NUMERIC_SIZE_2, 0x1122, 0x3344, 0x5566, nullptr); });
  EXPECT_EQ(numeric, (Bytes{EFI_IFR_NUMERIC_OP, 20, 6, 0, 7, 0, 0x02, 0x01, 3, 0, 0x05, 0x04, 0x10, EFI_IFR_NUMERIC_SIZE_2,
                            0x22, 0x11, 0x44, 0x33, 0x66, 0x55}));
}

TEST_F(UefiHiiLibTest, HiiConstructConfigHdr_LowerCaseHexOfGuidNameAndPath) {
  EFI_STRING header = HiiConstructConfigHdr(&kStoreGuid, u"Cfg", driver_.handle);
  EXPECT_EQ(Take(header),
            u"GUID=78563412bc9af0de1122334455667788&NAME=004300660067&PATH=01041400ddccbbaaffee110022334455667788997fff0400");
  EXPECT_EQ(Take(HiiConstructConfigHdr(nullptr, nullptr, nullptr)), u"GUID=&NAME=&PATH=");
  EXPECT_EQ(HiiConstructConfigHdr(&kStoreGuid, u"Cfg", uefi.NewHandle()), nullptr) << "a handle without a path";
}

TEST_F(UefiHiiLibTest, HiiIsConfigHdrMatch_ComparesGuidAndNameExactly) {
  const std::u16string header = HeaderText(kStoreGuid, u"SampleVar", driver_.path) + u"&OFFSET=0&WIDTH=1";
  std::u16string upper = header;
  for (std::size_t i = 5; i < 37; i++) {
    upper[i] = static_cast<char16_t>(std::toupper(upper[i]));
  }
  struct Case {
    const char* name;
    std::u16string header;
    const EFI_GUID* guid;
    const CHAR16* storeName;
    bool match;
  } cases[] = {
      {"Both", header, &kStoreGuid, u"SampleVar", true},
      {"GuidOnly", header, &kStoreGuid, nullptr, true},
      {"NameOnly", header, nullptr, u"SampleVar", true},
      {"Neither", header, nullptr, nullptr, true},
      {"OtherGuid", header, &kListGuid, u"SampleVar", false},
      {"NamePrefix", header, &kStoreGuid, u"SampleVa", false},
      {"LongerName", header, &kStoreGuid, u"SampleVar2", false},
      {"UpperCaseGuidText", upper, &kStoreGuid, nullptr, false},
      {"NoPathField", header.substr(0, header.find(u"&PATH=")), &kStoreGuid, u"SampleVar", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(HiiIsConfigHdrMatch(c.header.c_str(), c.guid, c.storeName) != FALSE, c.match) << c.name;
  }
}

// A browser showing one buffer storage: it answers for the bytes its
// questions cover and takes whatever the driver sets.
class FakeBrowser {
 public:
  FakeBrowser(FakeUefi& uefi, EFI_HII_CONFIG_ROUTING_PROTOCOL* routing) : routing_(routing) {
    instance_.protocol = {nullptr, Callback};
    instance_.self = this;
    uefi.Install(uefi.NewHandle(), gEfiFormBrowser2ProtocolGuid, &instance_.protocol);
    for (std::size_t i = 0; i < buffer.size(); i++) {
      buffer[i] = static_cast<std::uint8_t>(i + 1);
    }
  }

  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(8);
  std::u16string covered = u"&OFFSET=0000&WIDTH=0001&OFFSET=0002&WIDTH=0002";
  std::vector<std::u16string> sets;

 private:
  static EFI_STATUS EFIAPI Callback(const EFI_FORM_BROWSER2_PROTOCOL* This, UINTN* size, EFI_STRING data,
                                    BOOLEAN retrieve, const EFI_GUID* guid, const CHAR16* name) {
    FakeBrowser* self = reinterpret_cast<const Instance*>(This)->self;
    if (guid == nullptr || !SameGuid(*guid, kStoreGuid) || name == nullptr || std::u16string(name) != u"SampleVar") {
      return EFI_NOT_FOUND;
    }
    const std::u16string header = u"GUID=00&NAME=00&PATH=00";
    const CHAR16* progress = nullptr;
    if (!retrieve) {
      self->sets.emplace_back(data);
      UINTN bufferSize = self->buffer.size();
      const std::u16string response = header + u"&" + std::u16string(data);
      return self->routing_->ConfigToBlock(self->routing_, response.c_str(), self->buffer.data(), &bufferSize,
                                           &progress);
    }
    CHAR16* config = nullptr;
    const std::u16string request = header + self->covered;
    EFI_STATUS status = self->routing_->BlockToConfig(self->routing_, request.c_str(), self->buffer.data(),
                                                      self->buffer.size(), &config, &progress);
    if (status != EFI_SUCCESS) {
      return status;
    }
    const std::u16string body = std::u16string(config).substr(header.size() + 1);
    FreePool(config);
    const UINTN needed = (body.size() + 1) * sizeof(CHAR16);
    if (*size < needed) {
      *size = needed;
      return EFI_BUFFER_TOO_SMALL;
    }
    std::memcpy(data, body.c_str(), needed);
    *size = needed;
    return EFI_SUCCESS;
  }

  struct Instance {
    EFI_FORM_BROWSER2_PROTOCOL protocol;
    FakeBrowser* self;
  } instance_;
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing_;
};

TEST_F(UefiHiiLibTest, HiiGetBrowserData_WritesOnlyTheBytesQuestionsCover) {
  FakeBrowser browser(uefi, Routing());
  std::vector<std::uint8_t> out(8, 0xEE);
  ASSERT_TRUE(HiiGetBrowserData(&kStoreGuid, u"SampleVar", out.size(), out.data()));
  EXPECT_EQ(out, (std::vector<std::uint8_t>{1, 0xEE, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE}));
  EXPECT_FALSE(HiiGetBrowserData(&kStoreGuid, u"OtherVar", out.size(), out.data()));
  EXPECT_FALSE(HiiGetBrowserData(&kStoreGuid, u"SampleVar", 3, out.data())) << "a covered byte lies past the buffer";
}

TEST_F(UefiHiiLibTest, HiiSetBrowserData_SendsTheWholeBufferOrTheNamedElements) {
  FakeBrowser browser(uefi, Routing());
  const std::vector<std::uint8_t> mine = {0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80};
  ASSERT_TRUE(HiiSetBrowserData(&kStoreGuid, u"SampleVar", mine.size(), mine.data(), nullptr));
  ASSERT_EQ(browser.sets.size(), 1u);
  EXPECT_EQ(browser.sets[0], u"OFFSET=0&WIDTH=0000000000000008&VALUE=8070605040302010");
  EXPECT_EQ(browser.buffer, mine);

  const std::vector<std::uint8_t> other = {0, 0, 0xAB, 0xCD, 0, 0, 0, 0};
  ASSERT_TRUE(HiiSetBrowserData(&kStoreGuid, u"SampleVar", other.size(), other.data(), u"&OFFSET=2&WIDTH=2"));
  EXPECT_EQ(browser.sets[1], u"OFFSET=2&WIDTH=2&VALUE=cdab");
  EXPECT_EQ(browser.buffer, (std::vector<std::uint8_t>{0x10, 0x20, 0xAB, 0xCD, 0x50, 0x60, 0x70, 0x80}));

  EXPECT_FALSE(HiiSetBrowserData(&kStoreGuid, u"OtherVar", mine.size(), mine.data(), nullptr));
  EXPECT_FALSE(HiiSetBrowserData(&kStoreGuid, u"SampleVar", 2, mine.data(), u"&OFFSET=2&WIDTH=2"))
      << "the element lies past the caller's buffer";
}

TEST_F(UefiHiiLibTest, BrowserData_NoBrowser_Fails) {
  std::vector<std::uint8_t> out(8);
  EXPECT_FALSE(HiiGetBrowserData(&kStoreGuid, u"SampleVar", out.size(), out.data()));
  EXPECT_FALSE(HiiSetBrowserData(&kStoreGuid, u"SampleVar", out.size(), out.data(), nullptr));
}

}  // namespace
}  // namespace hiitest

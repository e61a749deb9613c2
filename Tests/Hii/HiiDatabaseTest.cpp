// The database protocol: registration with the driver's device path, export
// layout, malformed lists refused whole, listing, removal and updates with
// their notifications.
#include <cstring>

#include "HiiFixture.hpp"

namespace hiitest {
namespace {

class HiiDatabaseTest : public HiiTest {
 protected:
  static std::vector<Bytes> Packages(const Bytes& list) {
    std::vector<Bytes> packages;
    std::size_t pos = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
    while (pos + 4 <= list.size()) {
      const std::size_t length = list[pos] | (list[pos + 1] << 8) | (list[pos + 2] << 16);
      packages.emplace_back(list.begin() + pos, list.begin() + pos + length);
      pos += length;
    }
    return packages;
  }
};

Bytes GuidPackage() {
  Bytes package = {24, 0, 0, EFI_HII_PACKAGE_TYPE_GUID};
  PutGuid(package, kStoreGuid);
  package.insert(package.end(), {1, 2, 3, 4});
  return package;
}

TEST_F(HiiDatabaseTest, NewPackageList_TakesTheDriverHandlesPathAndExportsInTypeOrder) {
  SampleDriver driver(uefi, Routing(), kPathGuid, 16);
  const Bytes strings = StringPackage("en-US", {u"English"});
  const Bytes forms = SampleIfr().Package();
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(AddList(PackageList(kListGuid, {strings, forms, GuidPackage()}), driver.handle, &handle), EFI_SUCCESS);

  const Bytes exported = Export(handle);
  EXPECT_EQ(0, std::memcmp(exported.data(), &kListGuid, sizeof(EFI_GUID)));
  std::uint32_t length = 0;
  std::memcpy(&length, exported.data() + 16, 4);
  EXPECT_EQ(length, exported.size());
  const std::vector<Bytes> expected = {GuidPackage(), forms, strings, DevicePathPackage(driver.path),
                                       Bytes{4, 0, 0, EFI_HII_PACKAGE_END}};
  EXPECT_EQ(Packages(exported), expected);

  EFI_HANDLE owner = nullptr;
  EXPECT_EQ(Db()->GetPackageListHandle(Db(), handle, &owner), EFI_SUCCESS);
  EXPECT_EQ(owner, driver.handle);
}

TEST_F(HiiDatabaseTest, NewPackageList_SameGuidTwiceForOneHandle_Refused) {
  const Bytes list = PackageList(kListGuid, {StringPackage("en-US", {u"English"})});
  EFI_HANDLE owner = uefi.NewHandle();
  EFI_HII_HANDLE first = nullptr;
  EFI_HII_HANDLE second = nullptr;
  ASSERT_EQ(AddList(list, owner, &first), EFI_SUCCESS);
  EXPECT_EQ(AddList(list, owner, &second), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AddList(list, uefi.NewHandle(), &second), EFI_SUCCESS);
  EXPECT_NE(first, second);
}

struct BadList {
  const char* name;
  Bytes list;
  EFI_STATUS status;
};

Bytes Truncated(Bytes list, std::uint32_t length) {
  std::memcpy(list.data() + 16, &length, 4);
  return list;
}

Bytes FormsWithOps(const Bytes& ops) {
  Ifr ifr;
  ifr.Raw(ops);
  return ifr.Package();
}

std::vector<BadList> BadLists() {
  const Bytes good = PackageList(kListGuid, {StringPackage("en-US", {u"English"})});
  Bytes unterminated = StringPackageWithBlocks("en-US", {EFI_HII_SIBT_STRING_UCS2, 'A', 0});
  Bytes zeroExt = StringPackageWithBlocks("en-US", {EFI_HII_SIBT_EXT1, 0x40, 0, EFI_HII_SIBT_END});
  Bytes unknownBlock = StringPackageWithBlocks("en-US", {0x7E, EFI_HII_SIBT_END});
  Bytes headerPastEnd = StringPackage("en-US", {u"English"});
  headerPastEnd[4] = 0xFF;  // HdrSize
  Bytes badPath = DevicePathPackage({HARDWARE_DEVICE_PATH, HW_VENDOR_DP, 200, 0});
  Bytes zeroLength = {0, 0, 0, EFI_HII_PACKAGE_FORMS};
  return {
      {"EndOutsideTheList", Truncated(good, static_cast<std::uint32_t>(good.size() - 4)), EFI_INVALID_PARAMETER},
      {"ListShorterThanItsHeader", Truncated(good, 8), EFI_INVALID_PARAMETER},
      {"PackageOfLengthZero", PackageList(kListGuid, {zeroLength}), EFI_INVALID_PARAMETER},
      {"PackagePastTheList", Truncated(PackageList(kListGuid, {SampleIfr().Package()}), 40), EFI_INVALID_PARAMETER},
      {"OpcodeOfLengthZero", PackageList(kListGuid, {FormsWithOps({EFI_IFR_TEXT_OP, 0})}), EFI_INVALID_PARAMETER},
      {"OpcodeOfLengthOne", PackageList(kListGuid, {FormsWithOps({EFI_IFR_END_OP, 1})}), EFI_INVALID_PARAMETER},
      {"OpcodePastThePackage", PackageList(kListGuid, {FormsWithOps({EFI_IFR_TEXT_OP, 8, 1, 0})}),
       EFI_INVALID_PARAMETER},
      {"StringWithoutTerminator", PackageList(kListGuid, {unterminated}), EFI_INVALID_PARAMETER},
      {"ExtendedBlockOfLengthZero", PackageList(kListGuid, {zeroExt}), EFI_INVALID_PARAMETER},
      {"UnknownStringBlock", PackageList(kListGuid, {unknownBlock}), EFI_INVALID_PARAMETER},
      {"StringHeaderPastThePackage", PackageList(kListGuid, {headerPastEnd}), EFI_INVALID_PARAMETER},
      {"BrokenDevicePath", PackageList(kListGuid, {badPath}), EFI_INVALID_PARAMETER},
      {"TwoPackagesOfOneLanguage",
       PackageList(kListGuid, {StringPackage("en-US", {u"A"}), StringPackage("EN-US", {u"B"})}), EFI_UNSUPPORTED},
  };
}

TEST_F(HiiDatabaseTest, NewPackageList_MalformedLists_RefusedWhole) {
  for (const BadList& bad : BadLists()) {
    EFI_HII_HANDLE handle = nullptr;
    EXPECT_EQ(AddList(bad.list, nullptr, &handle), bad.status) << bad.name;
    EXPECT_EQ(handle, nullptr) << bad.name;
  }
  UINTN size = 0;
  EFI_HII_HANDLE probe = nullptr;
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_TYPE_ALL, nullptr, &size, &probe), EFI_NOT_FOUND);
}

TEST_F(HiiDatabaseTest, ListPackageLists_FiltersByTypeAndCountsBytes) {
  EFI_HII_HANDLE stringsOnly = nullptr;
  EFI_HII_HANDLE withForms = nullptr;
  ASSERT_EQ(AddList(PackageList(kListGuid, {StringPackage("en-US", {u"E"})}), nullptr, &stringsOnly), EFI_SUCCESS);
  ASSERT_EQ(AddList(PackageList(kStoreGuid, {SampleIfr().Package(), GuidPackage()}), nullptr, &withForms),
            EFI_SUCCESS);

  EFI_HII_HANDLE handles[4] = {};
  UINTN size = sizeof(EFI_HII_HANDLE);
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_TYPE_ALL, nullptr, &size, handles), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2 * sizeof(EFI_HII_HANDLE));
  size = sizeof handles;
  ASSERT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_FORMS, nullptr, &size, handles), EFI_SUCCESS);
  EXPECT_EQ(size, sizeof(EFI_HII_HANDLE));
  EXPECT_EQ(handles[0], withForms);
  size = sizeof handles;
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_TYPE_GUID, &kStoreGuid, &size, handles), EFI_SUCCESS);
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_TYPE_GUID, &kListGuid, &size, handles), EFI_NOT_FOUND);
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_TYPE_GUID, nullptr, &size, handles), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Db()->ListPackageLists(Db(), EFI_HII_PACKAGE_FONTS, nullptr, &size, handles), EFI_NOT_FOUND);
}

TEST_F(HiiDatabaseTest, ExportPackageLists_AllListsBackToBack) {
  EFI_HII_HANDLE a = nullptr;
  EFI_HII_HANDLE b = nullptr;
  ASSERT_EQ(AddList(PackageList(kListGuid, {StringPackage("en-US", {u"E"})}), nullptr, &a), EFI_SUCCESS);
  ASSERT_EQ(AddList(PackageList(kStoreGuid, {SampleIfr().Package()}), nullptr, &b), EFI_SUCCESS);
  Bytes all = Export(nullptr);
  Bytes both = Export(a);
  const Bytes second = Export(b);
  both.insert(both.end(), second.begin(), second.end());
  EXPECT_EQ(all, both);
}

TEST_F(HiiDatabaseTest, RemovePackageList_HandleIsNeverValidAgain) {
  const Bytes list = PackageList(kListGuid, {StringPackage("en-US", {u"English"})});
  EFI_HII_HANDLE first = nullptr;
  ASSERT_EQ(AddList(list, nullptr, &first), EFI_SUCCESS);
  ASSERT_EQ(Db()->RemovePackageList(Db(), first), EFI_SUCCESS);
  EFI_HII_HANDLE second = nullptr;
  ASSERT_EQ(AddList(list, nullptr, &second), EFI_SUCCESS);
  EXPECT_NE(first, second);
  EXPECT_EQ(Db()->RemovePackageList(Db(), first), EFI_NOT_FOUND);
  UINTN size = 0;
  EXPECT_EQ(Db()->ExportPackageLists(Db(), first, &size, nullptr), EFI_NOT_FOUND);
}

struct Notified {
  std::uint8_t type;
  EFI_HII_DATABASE_NOTIFY_TYPE kind;
};
std::vector<Notified> gNotified;

EFI_STATUS EFIAPI RecordNotify(UINT8 type, const EFI_GUID*, const EFI_HII_PACKAGE_HEADER*, EFI_HII_HANDLE,
                               EFI_HII_DATABASE_NOTIFY_TYPE kind) {
  gNotified.push_back({type, kind});
  return EFI_SUCCESS;
}

TEST_F(HiiDatabaseTest, UpdatePackageList_ReplacesOnlyTheTypesItCarriesAndNotifies) {
  gNotified.clear();
  EFI_HANDLE notify = nullptr;
  ASSERT_EQ(Db()->RegisterPackageNotify(Db(), EFI_HII_PACKAGE_FORMS, nullptr, RecordNotify,
                                        EFI_HII_DATABASE_NOTIFY_ADD_PACK | EFI_HII_DATABASE_NOTIFY_REMOVE_PACK,
                                        &notify),
            EFI_SUCCESS);
  const Bytes strings = StringPackage("en-US", {u"English"});
  EFI_HII_HANDLE handle = nullptr;
  ASSERT_EQ(AddList(PackageList(kListGuid, {strings, SampleIfr().Package()}), nullptr, &handle), EFI_SUCCESS);
  EXPECT_TRUE(gNotified.empty()) << "NEW_PACK was not asked for";

  Ifr replacement;
  replacement.FormSet(kFormSetGuid, 3).Form(1, 3).End().End();
  ASSERT_EQ(Db()->UpdatePackageList(Db(), handle,
                                    reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(
                                        PackageList(kListGuid, {replacement.Package()}).data())),
            EFI_SUCCESS);
  EXPECT_EQ(Packages(Export(handle)),
            (std::vector<Bytes>{replacement.Package(), strings, Bytes{4, 0, 0, EFI_HII_PACKAGE_END}}));
  ASSERT_EQ(gNotified.size(), 2u);
  EXPECT_EQ(gNotified[0].kind, static_cast<EFI_HII_DATABASE_NOTIFY_TYPE>(EFI_HII_DATABASE_NOTIFY_REMOVE_PACK));
  EXPECT_EQ(gNotified[1].kind, static_cast<EFI_HII_DATABASE_NOTIFY_TYPE>(EFI_HII_DATABASE_NOTIFY_ADD_PACK));

  ASSERT_EQ(Db()->UnregisterPackageNotify(Db(), notify), EFI_SUCCESS);
  EXPECT_EQ(Db()->UnregisterPackageNotify(Db(), notify), EFI_NOT_FOUND);
  EXPECT_EQ(Db()->RemovePackageList(Db(), handle), EFI_SUCCESS);
  EXPECT_EQ(gNotified.size(), 2u);
}

TEST_F(HiiDatabaseTest, ForeignThis_Refused) {
  EFI_HII_DATABASE_PROTOCOL copy = *Db();
  EFI_HII_HANDLE handle = nullptr;
  const Bytes list = PackageList(kListGuid, {StringPackage("en-US", {u"English"})});
  EXPECT_EQ(copy.NewPackageList(&copy, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()), nullptr,
                                &handle),
            EFI_INVALID_PARAMETER);
}

}  // namespace
}  // namespace hiitest

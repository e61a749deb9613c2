#include "HiiFixture.hpp"

#include <algorithm>

namespace hiitest {

Ifr SampleIfr() {
  Ifr ifr;
  ifr.FormSet(kFormSetGuid, 3)
      .VarStore(kStoreGuid, 1, 16, "SampleVar")
      .VarStoreEfi(kEfiStoreGuid, 2, 4, 7, "EfiVar")
      .Form(1, 3)
      .OneOf(1, 1, 0, EFI_IFR_NUMERIC_SIZE_1)
      .OneOf(2, 1, 2, EFI_IFR_NUMERIC_SIZE_2)
      .CheckBox(3, 1, 4)
      .String(4, 1, 6, 4)
      .CheckBox(5, 2, 1)
      .Label(kStartLabel)
      .Text(4)
      .Label(kEndLabel)
      .End()
      .End();
  return ifr;
}

std::vector<Bytes> SampleStrings() {
  return {StringPackage("en-US", {u"English", u"Prompt", u"Title", u"Text"}),
          StringPackage("fr-FR", {u"Francais", u"Invite", std::nullopt, u"Texte"})};
}

SampleDriver::SampleDriver(FakeUefi& uefi, EFI_HII_CONFIG_ROUTING_PROTOCOL* routing, const EFI_GUID& pathGuid,
                           std::size_t storeSize)
    : path(VendorDevicePath(pathGuid)), store(storeSize), routing_(routing) {
  instance_.access = {Extract, Route, Callback};
  instance_.self = this;
  handle = uefi.NewHandle();
  uefi.Install(handle, gEfiDevicePathProtocolGuid, path.data());
  uefi.Install(handle, gEfiHiiConfigAccessProtocolGuid, &instance_.access);
}

bool SampleDriver::ShouldFail(const CHAR16* request) const {
  return failWith != EFI_SUCCESS && std::u16string_view(request).find(failWhen) != std::u16string_view::npos;
}

// Like a real driver, answers only for its own store.
bool SampleDriver::Mine(const CHAR16* request) const {
  const std::u16string own = HeaderText(storeGuid, storeName, path);
  return std::u16string_view(request).substr(0, own.size()) == own;
}

EFI_STATUS SampleDriver::Fail(const CHAR16* request, const CHAR16** progress) {
  const std::size_t length = std::u16string_view(request).size();
  *progress = progressOutside ? nullptr : request + std::min(failAt, length);
  return failWith;
}

EFI_STATUS EFIAPI SampleDriver::Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* request,
                                        const CHAR16** progress, CHAR16** results) {
  SampleDriver* self = reinterpret_cast<const Instance*>(This)->self;
  if (request == nullptr) {
    return EFI_UNSUPPORTED;
  }
  self->requests.emplace_back(request);
  if (!self->Mine(request)) {
    *progress = request;
    return EFI_NOT_FOUND;
  }
  if (self->ShouldFail(request)) {
    return self->Fail(request, progress);
  }
  return self->routing_->BlockToConfig(self->routing_, request, self->store.data(), self->store.size(), results,
                                       progress);
}

EFI_STATUS EFIAPI SampleDriver::Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* configuration,
                                      const CHAR16** progress) {
  SampleDriver* self = reinterpret_cast<const Instance*>(This)->self;
  self->routed.emplace_back(configuration);
  if (!self->Mine(configuration)) {
    *progress = configuration;
    return EFI_NOT_FOUND;
  }
  if (self->ShouldFail(configuration)) {
    return self->Fail(configuration, progress);
  }
  UINTN size = self->store.size();
  return self->routing_->ConfigToBlock(self->routing_, configuration, self->store.data(), &size, progress);
}

EFI_STATUS EFIAPI SampleDriver::Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL*, EFI_BROWSER_ACTION, EFI_QUESTION_ID,
                                         UINT8, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*) {
  return EFI_UNSUPPORTED;
}

void HiiTest::SetUp() {
  ASSERT_EQ(hii.Install(), EFI_SUCCESS);
}

void HiiTest::TearDown() {
  // Everything the services handed out was freed by the test, and nothing
  // the services own lives in pool.
  EXPECT_TRUE(uefi.live.empty()) << uefi.live.size() << " pool blocks leaked";
  EXPECT_EQ(uefi.badFrees, 0u);
}

EFI_STATUS HiiTest::AddList(const Bytes& list, EFI_HANDLE driverHandle, EFI_HII_HANDLE* handle) {
  return Db()->NewPackageList(Db(), reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER*>(list.data()), driverHandle,
                              handle);
}

EFI_HII_HANDLE HiiTest::AddSample(SampleDriver& driver) {
  std::vector<Bytes> packages = SampleStrings();
  packages.push_back(SampleIfr().Package());
  EFI_HII_HANDLE handle = nullptr;
  EXPECT_EQ(AddList(PackageList(kListGuid, packages), driver.handle, &handle), EFI_SUCCESS);
  return handle;
}

Bytes HiiTest::Export(EFI_HII_HANDLE handle) {
  UINTN size = 0;
  EXPECT_EQ(Db()->ExportPackageLists(Db(), handle, &size, nullptr), EFI_BUFFER_TOO_SMALL);
  Bytes out(size);
  EXPECT_EQ(Db()->ExportPackageLists(Db(), handle, &size, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER*>(out.data())),
            EFI_SUCCESS);
  return out;
}

std::u16string HiiTest::Take(CHAR16* pool) {
  if (pool == nullptr) {
    return u"<null>";
  }
  std::u16string text(pool);
  uefi.bootServices.FreePool(pool);
  return text;
}

}  // namespace hiitest

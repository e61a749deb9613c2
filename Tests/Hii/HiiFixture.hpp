// A booted HII stack for the tests: the fake platform, the HII services
// installed into it, and a sample driver that owns a buffer store and
// answers the router through EFI_HII_CONFIG_ACCESS_PROTOCOL.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <HiiServices.hpp>
#include <Protocol/HiiConfigAccess.h>

#include "FakeUefi.hpp"
#include "HiiTestPackages.hpp"

namespace hiitest {

inline constexpr EFI_GUID kFormSetGuid = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
inline constexpr EFI_GUID kStoreGuid = {0x12345678, 0x9abc, 0xdef0, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}};
inline constexpr EFI_GUID kEfiStoreGuid = {0xa1a2a3a4, 0xb1b2, 0xc1c2, {0xd1, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8}};
inline constexpr EFI_GUID kPathGuid = {0xaabbccdd, 0xeeff, 0x0011, {0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99}};
inline constexpr EFI_GUID kListGuid = {0x470db1ce, 0xaba5, 0x4af6, {0x8e, 0x74, 0x0e, 0x1d, 0xa1, 0xd1, 0x92, 0x97}};

inline constexpr std::uint16_t kStartLabel = 0x1000;
inline constexpr std::uint16_t kEndLabel = 0xFFFF;

// Form set kFormSetGuid: buffer store 1 "SampleVar" (16 bytes) and EFI store
// 2 "EfiVar" (4 bytes, attributes 7); form 1 holds a one-of (offset 0, 1
// byte), a one-of (2, 2 bytes), a check box (4), a string of 4 characters
// (6, 8 bytes), a check box in EfiVar (1), and the labels 0x1000 and 0xFFFF
// around one text.
Ifr SampleIfr();
// en-US and fr-FR strings, ids 1..4 in both; fr-FR lacks id 3.
std::vector<Bytes> SampleStrings();

class SampleDriver {
 public:
  SampleDriver(FakeUefi& uefi, EFI_HII_CONFIG_ROUTING_PROTOCOL* routing, const EFI_GUID& pathGuid,
               std::size_t storeSize);

  EFI_HANDLE handle = nullptr;
  Bytes path;
  std::vector<std::uint8_t> store;
  std::vector<std::u16string> requests;  // what ExtractConfig received
  std::vector<std::u16string> routed;    // what RouteConfig received
  EFI_STATUS failWith = EFI_SUCCESS;     // when set, fail with Progress at request + failAt
  std::size_t failAt = 0;
  std::u16string failWhen;               // only requests containing this fail (empty: all)
  bool progressOutside = false;          // on failure, point Progress at no part of the request
  EFI_GUID storeGuid = kStoreGuid;       // the one store this driver answers for
  std::u16string storeName = u"SampleVar";

 private:
  static EFI_STATUS EFIAPI Extract(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* request,
                                   const CHAR16** progress, CHAR16** results);
  static EFI_STATUS EFIAPI Route(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, const CHAR16* configuration,
                                 const CHAR16** progress);
  static EFI_STATUS EFIAPI Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL* This, EFI_BROWSER_ACTION, EFI_QUESTION_ID,
                                    UINT8, EFI_IFR_TYPE_VALUE*, EFI_BROWSER_ACTION_REQUEST*);
  EFI_STATUS Fail(const CHAR16* request, const CHAR16** progress);
  bool ShouldFail(const CHAR16* request) const;
  bool Mine(const CHAR16* request) const;

  struct Instance {
    EFI_HII_CONFIG_ACCESS_PROTOCOL access;
    SampleDriver* self;
  } instance_;
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing_;
};

class HiiTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  EFI_HII_DATABASE_PROTOCOL* Db() { return hii.Database(); }
  EFI_HII_STRING_PROTOCOL* Str() { return hii.Strings(); }
  EFI_HII_CONFIG_ROUTING_PROTOCOL* Routing() { return hii.ConfigRouting(); }

  // Registers the sample package list for driver (its handle, its path).
  EFI_HII_HANDLE AddSample(SampleDriver& driver);
  EFI_STATUS AddList(const Bytes& list, EFI_HANDLE driverHandle, EFI_HII_HANDLE* handle);
  Bytes Export(EFI_HII_HANDLE handle);
  // Copies a pool string and frees it.
  std::u16string Take(CHAR16* pool);

  FakeUefi uefi;
  carvex::sim::HiiServices hii{&uefi.bootServices, &uefi.runtimeServices};
};

}  // namespace hiitest

#include <cstring>
#include <vector>

#include <Protocol/DevicePath.h>

#include "SimTestSupport.hpp"

namespace carvex::sim::test {
namespace {

EFI_GUID gAlpha = {0xa1a1a1a1, 0x0001, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 0x01}};
EFI_GUID gBeta = {0xb2b2b2b2, 0x0002, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 0x02}};

// A protocol notify that drains its registration, as drivers do.
struct Watcher {
  EFI_BOOT_SERVICES* bs = nullptr;
  EFI_GUID* protocol = nullptr;
  VOID* registration = nullptr;
  std::vector<VOID*> seen;
};

VOID EFIAPI DrainRegistration(EFI_EVENT, VOID* context) {
  auto* watcher = static_cast<Watcher*>(context);
  VOID* interface = nullptr;
  while (watcher->bs->LocateProtocol(watcher->protocol, watcher->registration, &interface) ==
         EFI_SUCCESS) {
    watcher->seen.push_back(interface);
  }
}

class ProtocolDatabaseTest : public BootedMachine {
 protected:
  void Watch(Watcher& watcher, EFI_GUID* protocol) {
    watcher.bs = bs_;
    watcher.protocol = protocol;
    EFI_EVENT event = nullptr;
    ASSERT_EQ(bs_->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, DrainRegistration, &watcher, &event),
              EFI_SUCCESS);
    ASSERT_EQ(bs_->RegisterProtocolNotify(protocol, event, &watcher.registration), EFI_SUCCESS);
  }

  EFI_HANDLE Install(EFI_GUID* protocol, VOID* interface, EFI_HANDLE handle = nullptr) {
    EXPECT_EQ(bs_->InstallProtocolInterface(&handle, protocol, EFI_NATIVE_INTERFACE, interface),
              EFI_SUCCESS);
    return handle;
  }

  int a_ = 1, b_ = 2, c_ = 3;
};

TEST_F(ProtocolDatabaseTest, LaterInstallAndReinstall_NotifyGetsEachNewInterfaceOnce) {
  Watcher watcher;
  Watch(watcher, &gAlpha);

  EFI_HANDLE first = Install(&gAlpha, &a_);
  Install(&gAlpha, &b_);
  EXPECT_EQ(watcher.seen, (std::vector<VOID*>{&a_, &b_}));

  ASSERT_EQ(bs_->ReinstallProtocolInterface(first, &gAlpha, &a_, &c_), EFI_SUCCESS);
  EXPECT_EQ(watcher.seen, (std::vector<VOID*>{&a_, &b_, &c_}));

  Install(&gBeta, &a_);  // another protocol: no notify
  EXPECT_EQ(watcher.seen.size(), 3u);
}

TEST_F(ProtocolDatabaseTest, InterfacesInstalledBeforeRegistration_AreHandedOutInInstallOrder) {
  Install(&gAlpha, &a_);
  Install(&gAlpha, &b_);
  Watcher watcher;
  Watch(watcher, &gAlpha);

  VOID* interface = nullptr;
  ASSERT_EQ(bs_->LocateProtocol(&gAlpha, watcher.registration, &interface), EFI_SUCCESS);
  EXPECT_EQ(interface, &a_);
  ASSERT_EQ(bs_->LocateProtocol(&gAlpha, watcher.registration, &interface), EFI_SUCCESS);
  EXPECT_EQ(interface, &b_);
  EXPECT_EQ(bs_->LocateProtocol(&gAlpha, watcher.registration, &interface), EFI_NOT_FOUND);
  EXPECT_EQ(interface, nullptr);
  // Without a registration the first interface is always the answer.
  ASSERT_EQ(bs_->LocateProtocol(&gAlpha, nullptr, &interface), EFI_SUCCESS);
  EXPECT_EQ(interface, &a_);
}

TEST_F(ProtocolDatabaseTest, LocateHandleByRegisterNotify_OneNewHandlePerCall) {
  Watcher watcher;
  watcher.bs = bs_;
  EFI_EVENT event = nullptr;
  ASSERT_EQ(bs_->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, [](EFI_EVENT, VOID*) {}, nullptr,
                             &event),
            EFI_SUCCESS);
  ASSERT_EQ(bs_->RegisterProtocolNotify(&gAlpha, event, &watcher.registration), EFI_SUCCESS);
  EFI_HANDLE first = Install(&gAlpha, &a_);
  EFI_HANDLE second = Install(&gAlpha, &b_);

  EFI_HANDLE found[4] = {};
  UINTN size = 0;
  EXPECT_EQ(bs_->LocateHandle(ByRegisterNotify, nullptr, watcher.registration, &size, found),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, sizeof(EFI_HANDLE));
  size = sizeof found;
  ASSERT_EQ(bs_->LocateHandle(ByRegisterNotify, nullptr, watcher.registration, &size, found),
            EFI_SUCCESS);
  EXPECT_EQ(found[0], first);
  size = sizeof found;
  ASSERT_EQ(bs_->LocateHandle(ByRegisterNotify, nullptr, watcher.registration, &size, found),
            EFI_SUCCESS);
  EXPECT_EQ(found[0], second);
  size = sizeof found;
  EXPECT_EQ(bs_->LocateHandle(ByRegisterNotify, nullptr, watcher.registration, &size, found),
            EFI_NOT_FOUND);
}

TEST_F(ProtocolDatabaseTest, InstallMultipleFailingLate_NewHandleLeavesNothingBehind) {
  const std::size_t handlesBefore = machine_->Protocols().HandleCount();
  EFI_HANDLE handle = nullptr;
  // The second pair repeats the first protocol: refused after the first went on.
  EXPECT_EQ(bs_->InstallMultipleProtocolInterfaces(&handle, &gAlpha, &a_, &gBeta, &b_, &gAlpha,
                                                   &c_, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(handle, nullptr);
  EXPECT_FALSE(machine_->IsInstalled(gAlpha));
  EXPECT_FALSE(machine_->IsInstalled(gBeta));
  EXPECT_EQ(machine_->Protocols().HandleCount(), handlesBefore);
}

TEST_F(ProtocolDatabaseTest, InstallMultipleFailingLate_ExistingHandleKeepsOnlyWhatItHad) {
  EFI_HANDLE handle = Install(&gBeta, &b_);
  EXPECT_EQ(bs_->InstallMultipleProtocolInterfaces(&handle, &gAlpha, &a_, &gBeta, &c_, nullptr),
            EFI_INVALID_PARAMETER);
  VOID* interface = nullptr;
  EXPECT_EQ(bs_->HandleProtocol(handle, &gAlpha, &interface), EFI_UNSUPPORTED);
  ASSERT_EQ(bs_->HandleProtocol(handle, &gBeta, &interface), EFI_SUCCESS);
  EXPECT_EQ(interface, &b_);

  ASSERT_EQ(bs_->InstallMultipleProtocolInterfaces(&handle, &gAlpha, &a_, nullptr), EFI_SUCCESS);
  EXPECT_TRUE(machine_->IsInstalled(gAlpha));
}

TEST_F(ProtocolDatabaseTest, UninstallMultipleFailingLate_RestoresWhatItRemoved) {
  EFI_HANDLE handle = nullptr;
  ASSERT_EQ(bs_->InstallMultipleProtocolInterfaces(&handle, &gAlpha, &a_, &gBeta, &b_, nullptr),
            EFI_SUCCESS);
  // Wrong interface for the second protocol.
  EXPECT_EQ(bs_->UninstallMultipleProtocolInterfaces(handle, &gAlpha, &a_, &gBeta, &c_, nullptr),
            EFI_INVALID_PARAMETER);
  VOID* interface = nullptr;
  ASSERT_EQ(bs_->HandleProtocol(handle, &gAlpha, &interface), EFI_SUCCESS);
  EXPECT_EQ(interface, &a_);

  ASSERT_EQ(bs_->UninstallMultipleProtocolInterfaces(handle, &gAlpha, &a_, &gBeta, &b_, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(bs_->HandleProtocol(handle, &gAlpha, &interface), EFI_INVALID_PARAMETER);
}

TEST_F(ProtocolDatabaseTest, InstallUninstallErrors_FollowUefiStatuses) {
  EFI_HANDLE handle = Install(&gAlpha, &a_);
  EFI_HANDLE same = handle;
  EXPECT_EQ(bs_->InstallProtocolInterface(&same, &gAlpha, EFI_NATIVE_INTERFACE, &b_),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(bs_->UninstallProtocolInterface(handle, &gAlpha, &b_), EFI_NOT_FOUND);
  EXPECT_EQ(bs_->UninstallProtocolInterface(handle, &gBeta, &a_), EFI_NOT_FOUND);
  EXPECT_EQ(bs_->ReinstallProtocolInterface(handle, &gAlpha, &b_, &c_), EFI_NOT_FOUND);
  EXPECT_EQ(bs_->InstallProtocolInterface(nullptr, &gAlpha, EFI_NATIVE_INTERFACE, &a_),
            EFI_INVALID_PARAMETER);

  EXPECT_EQ(bs_->UninstallProtocolInterface(handle, &gAlpha, &a_), EFI_SUCCESS);
  // The handle went with its last protocol.
  EXPECT_EQ(bs_->UninstallProtocolInterface(handle, &gAlpha, &a_), EFI_INVALID_PARAMETER);
  EFI_HANDLE stale = handle;
  EXPECT_EQ(bs_->InstallProtocolInterface(&stale, &gBeta, EFI_NATIVE_INTERFACE, &a_),
            EFI_INVALID_PARAMETER);
}

TEST_F(ProtocolDatabaseTest, LocateHandleBuffer_ReturnsCallersPoolInInstallOrder) {
  EFI_HANDLE first = Install(&gAlpha, &a_);
  EFI_HANDLE second = Install(&gAlpha, &b_);
  const PoolStats before = machine_->PoolStatistics("TestHost");

  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  ASSERT_EQ(bs_->LocateHandleBuffer(ByProtocol, &gAlpha, nullptr, &count, &handles), EFI_SUCCESS);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(handles[0], first);
  EXPECT_EQ(handles[1], second);
  EXPECT_EQ(machine_->PoolStatistics("TestHost").liveAllocations, before.liveAllocations + 1);
  EXPECT_EQ(bs_->FreePool(handles), EFI_SUCCESS);

  EXPECT_EQ(bs_->LocateHandleBuffer(ByProtocol, &gBeta, nullptr, &count, &handles), EFI_NOT_FOUND);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(handles, nullptr);
}

struct OpenCase {
  UINT32 attributes;
  bool installed;
  bool withInterface;
  EFI_STATUS expected;
};

void PrintTo(const OpenCase& c, std::ostream* out) {
  *out << "attributes" << c.attributes << (c.installed ? "_installed" : "_absent")
       << (c.withInterface ? "_interface" : "_noInterface");
}

class OpenProtocolCases : public ProtocolDatabaseTest,
                          public ::testing::WithParamInterface<OpenCase> {};

TEST_P(OpenProtocolCases, AttributesAndPresence_DecideStatus) {
  const OpenCase& c = GetParam();
  EFI_HANDLE handle = Install(&gBeta, &b_);
  if (c.installed) {
    Install(&gAlpha, &a_, handle);
  }
  VOID* interface = &c_;
  EXPECT_EQ(bs_->OpenProtocol(handle, &gAlpha, c.withInterface ? &interface : nullptr,
                              host_.handle, nullptr, c.attributes),
            c.expected);
  if (c.expected == EFI_SUCCESS && c.withInterface &&
      c.attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    EXPECT_EQ(interface, &a_);
    EXPECT_EQ(bs_->CloseProtocol(handle, &gAlpha, host_.handle, nullptr), EFI_SUCCESS);
  }
  // Nothing is left open afterwards.
  EXPECT_EQ(bs_->CloseProtocol(handle, &gAlpha, host_.handle, nullptr), EFI_NOT_FOUND);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OpenProtocolCases,
    ::testing::Values(OpenCase{EFI_OPEN_PROTOCOL_GET_PROTOCOL, true, true, EFI_SUCCESS},
                      OpenCase{EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL, true, true, EFI_SUCCESS},
                      OpenCase{EFI_OPEN_PROTOCOL_TEST_PROTOCOL, true, false, EFI_SUCCESS},
                      OpenCase{EFI_OPEN_PROTOCOL_TEST_PROTOCOL, false, false, EFI_UNSUPPORTED},
                      OpenCase{EFI_OPEN_PROTOCOL_GET_PROTOCOL, false, true, EFI_UNSUPPORTED},
                      OpenCase{EFI_OPEN_PROTOCOL_GET_PROTOCOL, true, false, EFI_INVALID_PARAMETER},
                      OpenCase{0x10 /* BY_DRIVER */, true, true, EFI_UNSUPPORTED},
                      OpenCase{0x40, true, true, EFI_INVALID_PARAMETER}));

TEST_F(ProtocolDatabaseTest, ProtocolsPerHandle_ListsInstallOrderInCallersPool) {
  EFI_HANDLE handle = Install(&gBeta, &b_);
  Install(&gAlpha, &a_, handle);
  EFI_GUID** protocols = nullptr;
  UINTN count = 0;
  ASSERT_EQ(bs_->ProtocolsPerHandle(handle, &protocols, &count), EFI_SUCCESS);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(std::memcmp(protocols[0], &gBeta, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(std::memcmp(protocols[1], &gAlpha, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(bs_->FreePool(protocols), EFI_SUCCESS);
}

#pragma pack(1)
struct OneNodePath {
  VENDOR_DEVICE_PATH node;
  EFI_DEVICE_PATH_PROTOCOL end;
};
struct TwoNodePath {
  VENDOR_DEVICE_PATH first;
  VENDOR_DEVICE_PATH second;
  EFI_DEVICE_PATH_PROTOCOL end;
};
struct ThreeNodePath {
  VENDOR_DEVICE_PATH first;
  VENDOR_DEVICE_PATH second;
  VENDOR_DEVICE_PATH third;
  EFI_DEVICE_PATH_PROTOCOL end;
};
#pragma pack()

VENDOR_DEVICE_PATH VendorNode(const EFI_GUID& guid) {
  VENDOR_DEVICE_PATH node{};
  node.Header.Type = HARDWARE_DEVICE_PATH;
  node.Header.SubType = HW_VENDOR_DP;
  node.Header.Length[0] = sizeof(VENDOR_DEVICE_PATH);
  node.Guid = guid;
  return node;
}

EFI_DEVICE_PATH_PROTOCOL EndNode() {
  return EFI_DEVICE_PATH_PROTOCOL{END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE,
                                  {END_DEVICE_PATH_LENGTH, 0}};
}

TEST_F(ProtocolDatabaseTest, LocateDevicePath_PicksLongestPrefixAndReturnsRemainder) {
  OneNodePath shortPath{VendorNode(gAlpha), EndNode()};
  TwoNodePath longPath{VendorNode(gAlpha), VendorNode(gBeta), EndNode()};
  ThreeNodePath query{VendorNode(gAlpha), VendorNode(gBeta), VendorNode(gAlpha), EndNode()};

  EFI_HANDLE shortHandle = nullptr;
  EFI_HANDLE longHandle = nullptr;
  ASSERT_EQ(bs_->InstallMultipleProtocolInterfaces(&shortHandle, &gEfiDevicePathProtocolGuid,
                                                   &shortPath, &gAlpha, &a_, nullptr),
            EFI_SUCCESS);
  ASSERT_EQ(bs_->InstallMultipleProtocolInterfaces(&longHandle, &gEfiDevicePathProtocolGuid,
                                                   &longPath, &gAlpha, &b_, nullptr),
            EFI_SUCCESS);

  auto* path = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(&query);
  EFI_HANDLE device = nullptr;
  ASSERT_EQ(bs_->LocateDevicePath(&gAlpha, &path, &device), EFI_SUCCESS);
  EXPECT_EQ(device, longHandle);
  EXPECT_EQ(reinterpret_cast<UINT8*>(path), reinterpret_cast<UINT8*>(&query.third));

  // A second handle with the same whole path is refused.
  EFI_HANDLE duplicate = nullptr;
  EXPECT_EQ(bs_->InstallMultipleProtocolInterfaces(&duplicate, &gEfiDevicePathProtocolGuid,
                                                   &longPath, nullptr),
            EFI_ALREADY_STARTED);
}

TEST_F(ProtocolDatabaseTest, OwnershipCounts_FollowTheCallingImage) {
  Watcher watcher;
  Watch(watcher, &gAlpha);
  Install(&gAlpha, &a_);
  const HostImage other = machine_->AttachHostImage("OtherHost");
  EFI_HANDLE otherHandle = nullptr;
  ASSERT_EQ(other.bootServices->InstallProtocolInterface(&otherHandle, &gBeta,
                                                         EFI_NATIVE_INTERFACE, &b_),
            EFI_SUCCESS);

  const OwnedCounts mine = machine_->OwnedBy("TestHost");
  EXPECT_EQ(mine.handles, 1u);
  EXPECT_EQ(mine.events, 1u);
  EXPECT_EQ(mine.notifyRegistrations, 1u);
  EXPECT_EQ(machine_->OwnedBy("OtherHost").handles, 1u);
  EXPECT_EQ(machine_->OwnedBy("OtherHost").events, 0u);
}

TEST_F(ProtocolDatabaseTest, LocateProtocolCalls_CountedPerProtocolAndImage) {
  Install(&gAlpha, &a_);
  VOID* interface = nullptr;
  bs_->LocateProtocol(&gAlpha, nullptr, &interface);
  bs_->LocateProtocol(&gAlpha, nullptr, &interface);
  bs_->LocateProtocol(&gBeta, nullptr, &interface);

  EXPECT_EQ(machine_->LocateProtocolCalls(gAlpha, "TestHost"), 2u);
  EXPECT_EQ(machine_->LocateProtocolCalls(gBeta, "TestHost"), 1u);
  EXPECT_EQ(machine_->LocateProtocolCalls(gAlpha, "Nobody"), 0u);
}

}  // namespace
}  // namespace carvex::sim::test

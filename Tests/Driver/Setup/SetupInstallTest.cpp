// Installing the setup form set when the platform refuses a step, and the
// label opcode every run-time page opens with.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>

#include "../FakePlatform.h"
#include "HiiLibInternal.h"
#include <Library/HiiLib.h>
#include <Protocol/DevicePath.h>
#include <Protocol/HiiConfigAccess.h>
#include <Protocol/HiiDatabase.h>
#include <Setup/CarvexSetup.h>

namespace {

// The two platform services installation needs, answering as a test says.
struct InstallWorld {
  static inline InstallWorld *Current = nullptr;

  FakePlatform               Fake;
  EFI_HII_DATABASE_PROTOCOL  Database{};
  EFI_LOCATE_PROTOCOL        PlatformLocate = nullptr;

  EFI_STATUS                 InstallStatus = EFI_SUCCESS;
  std::vector<EFI_GUID>      Installed;  // protocol GUIDs of the last install, in order
  VOID                       *ConfigAccess = nullptr;
  EFI_STATUS                 NewPackageListStatus = EFI_SUCCESS;
  std::vector<EFI_HANDLE>    PackageListOwners;  // driver handle of each list added

  InstallWorld ()
  {
    Current                                          = this;
    Database.NewPackageList                          = NewPackageList;
    PlatformLocate                                   = Fake.BootServices.LocateProtocol;
    Fake.BootServices.LocateProtocol                 = Locate;
    Fake.BootServices.InstallMultipleProtocolInterfaces = Install;
  }

  ~InstallWorld () { Current = nullptr; }

  static EFI_STATUS EFIAPI
  Locate (EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
  {
    if (std::memcmp (Protocol, &gEfiHiiDatabaseProtocolGuid, sizeof (EFI_GUID)) == 0) {
      *Interface = &Current->Database;
      return EFI_SUCCESS;
    }

    return Current->PlatformLocate (Protocol, Registration, Interface);
  }

  static EFI_STATUS EFIAPI
  Install (EFI_HANDLE *Handle, ...)
  {
    InstallWorld &W = *Current;
    W.Installed.clear ();
    va_list Args;
    va_start (Args, Handle);
    while (EFI_GUID *Guid = va_arg (Args, EFI_GUID *)) {
      VOID *Interface = va_arg (Args, VOID *);
      W.Installed.push_back (*Guid);
      if (std::memcmp (Guid, &gEfiHiiConfigAccessProtocolGuid, sizeof (EFI_GUID)) == 0) {
        W.ConfigAccess = Interface;
      }
    }

    va_end (Args);
    if (!EFI_ERROR (W.InstallStatus)) {
      *Handle = reinterpret_cast<EFI_HANDLE> (static_cast<UINTN> (0xD0D0));
    }

    return W.InstallStatus;
  }

  static EFI_STATUS EFIAPI
  NewPackageList (CONST EFI_HII_DATABASE_PROTOCOL *, CONST EFI_HII_PACKAGE_LIST_HEADER *, EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle)
  {
    Current->PackageListOwners.push_back (DriverHandle);
    if (!EFI_ERROR (Current->NewPackageListStatus)) {
      *Handle = reinterpret_cast<EFI_HII_HANDLE> (static_cast<UINTN> (0x4411));
    }

    return Current->NewPackageListStatus;
  }
};

bool
SameGuid (const EFI_GUID &A, const EFI_GUID &B)
{
  return std::memcmp (&A, &B, sizeof (EFI_GUID)) == 0;
}

TEST (CarvexSetupBeforePostComplete, EachStepRefused_StatusReturnedAndLaterStepsSkipped)
{
  struct Case {
    const char  *Name;
    EFI_STATUS  Install;
    EFI_STATUS  AddPackages;
    EFI_STATUS  Result;
    size_t      PackageListsAdded;
    bool        HasHiiHandle;
    const char  *Logged;
  };
  const Case Cases[] = {
    { "ProtocolsRefused", EFI_OUT_OF_RESOURCES, EFI_SUCCESS, EFI_OUT_OF_RESOURCES, 0, false,
      "CarvexSetupBeforePostComplete:Fail to install protocols:Out of Resources\n" },
    { "PackagesRefused", EFI_SUCCESS, EFI_INVALID_PARAMETER, EFI_OUT_OF_RESOURCES, 1, false,
      "CarvexSetupBeforePostComplete:HiiAddPackages failure\n" },
    { "Installed", EFI_SUCCESS, EFI_SUCCESS, EFI_SUCCESS, 1, true, nullptr },
  };
  InstallWorld World;
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.Name);
    World.Fake.Log.clear ();
    World.PackageListOwners.clear ();
    World.InstallStatus        = C.Install;
    World.NewPackageListStatus = C.AddPackages;

    EXPECT_EQ (CarvexSetupBeforePostComplete (), C.Result);
    ASSERT_EQ (World.Installed.size (), 2u) << "device path and configuration access in one call";
    EXPECT_TRUE (SameGuid (World.Installed[0], gEfiDevicePathProtocolGuid));
    EXPECT_TRUE (SameGuid (World.Installed[1], gEfiHiiConfigAccessProtocolGuid));
    EXPECT_EQ (World.PackageListOwners.size (), C.PackageListsAdded);
    if (C.PackageListsAdded != 0) {
      EXPECT_EQ (World.PackageListOwners[0], mDriverHandle) << "the packages belong to the new handle";
    }

    EXPECT_EQ (mHiiHandle != nullptr, C.HasHiiHandle);
    if (C.Logged != nullptr) {
      EXPECT_TRUE (World.Fake.Logged (DEBUG_ERROR, C.Logged));
    }
  }

  // What the browser calls through the installed protocol.
  const auto *Access = static_cast<const EFI_HII_CONFIG_ACCESS_PROTOCOL *> (World.ConfigAccess);
  ASSERT_NE (Access, nullptr);
  EXPECT_EQ (Access->ExtractConfig, &SetupExtractConfig);
  EXPECT_EQ (Access->RouteConfig, &SetupRouteConfig);
  EXPECT_EQ (Access->Callback, &SetupCallback);
  EXPECT_TRUE (World.Fake.Live.empty ()) << "the package list buffer is freed";
}

TEST (CreateLabelOpcodeHandle, OneLabelOpcode_OrNullWhenOutOfResources)
{
  FakePlatform Fake;
  VOID *pHandle = CreateLabelOpcodeHandle (0x1234);
  ASSERT_NE (pHandle, nullptr);
  const auto *pBuffer = static_cast<const HII_LIB_OPCODE_BUFFER *> (pHandle);
  ASSERT_EQ (pBuffer->Position, 21u) << "one label opcode and nothing else";
  const UINT8 Expected[21] = {
    0x5F, 0x15,                                                                                      // GUID opcode, 21 bytes, no scope
    0x35, 0x17, 0x0B, 0x0F, 0xA0, 0x87, 0x93, 0x41, 0xB2, 0x66, 0x53, 0x8C, 0x38, 0xAF, 0x48, 0xCE,  // the EDK II extension GUID
    0x00,                                                                                            // label
    0x34, 0x12
  };
  EXPECT_EQ (std::memcmp (pBuffer->Buffer, Expected, sizeof (Expected)), 0);
  HiiFreeOpCodeHandle (pHandle);

  // Either of the handle's two allocations failing yields no handle and
  // leaves nothing allocated.
  for (UINTN Failing = 1; Failing <= 2; Failing++) {
    SCOPED_TRACE (Failing);
    Fake.Log.clear ();
    Fake.FailAllocationAt = Fake.Allocations + Failing;
    EXPECT_EQ (CreateLabelOpcodeHandle (0xFFFF), nullptr);
    EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "CreateLabelOpcodeHandle:Fail to HiiAllocateOpCodeHandle\n"));
  }

  EXPECT_TRUE (Fake.Live.empty ());
  EXPECT_EQ (Fake.BadFrees, 0u);
}

}  // namespace

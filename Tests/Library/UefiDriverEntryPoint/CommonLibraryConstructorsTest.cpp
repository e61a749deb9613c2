// The shared constructors wire up the service tables, PCD reads and the
// ready-to-boot / legacy-boot event helpers that depend on them.
#include <gtest/gtest.h>

#include <cstring>

#include <Guid/EventGroup.h>
#include <Library/PcdLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

#include "../FakeBootServices.h"

namespace {

UINT64 EFIAPI
FakeGet64 (UINTN TokenNumber)
{
  return (TokenNumber == PCD_TOKEN_PLATFORM_CAPABILITY_MASK) ? PLATFORM_CAPABILITY_APP_DIRECT : 0xBAD;
}

VOID EFIAPI
Notify (EFI_EVENT Event, VOID *Context)
{
  (void)Event;
  (void)Context;
}

TEST (CommonLibraryConstructorsTest, Tables_SetFromSystemTable)
{
  FakeBootServices  Fake;
  EFI_HANDLE        Image = reinterpret_cast<EFI_HANDLE> (0x77);
  Fake.RunConstructors (Image);
  EXPECT_EQ (gImageHandle, Image);
  EXPECT_EQ (gST, &Fake.SystemTable);
  EXPECT_EQ (gBS, &Fake.BootServices);
  EXPECT_EQ (gRT, &Fake.RuntimeServices);
}

TEST (PcdLibTest, WithAndWithoutProtocol_ReadsTokenOrZero)
{
  FakeBootServices  Fake;
  EXPECT_EQ (PcdGet64 (PlatformCapabilityMask), 0u);

  PCD_PROTOCOL  Pcd{};
  Pcd.Get64 = FakeGet64;
  Fake.AddProtocol (gPcdProtocolGuid, &Pcd);
  Fake.RunConstructors ();
  EXPECT_EQ (PcdGet64 (PlatformCapabilityMask), PLATFORM_CAPABILITY_APP_DIRECT);
}

TEST (UefiLibTest, BootEvents_SignalGroupWithNotifyFunction)
{
  FakeBootServices  Fake;
  EFI_EVENT         Event = nullptr;
  int               Context = 0;

  ASSERT_EQ (EfiCreateEventReadyToBootEx (TPL_CALLBACK, Notify, &Context, &Event), EFI_SUCCESS);
  ASSERT_EQ (EfiCreateEventLegacyBootEx (TPL_NOTIFY, nullptr, nullptr, &Event), EFI_SUCCESS);
  EXPECT_NE (Event, nullptr);

  ASSERT_EQ (Fake.Events.size (), 2u);
  const FakeEventCall  &Ready = Fake.Events[0];
  EXPECT_EQ (Ready.Type, (UINT32)EVT_NOTIFY_SIGNAL);
  EXPECT_EQ (Ready.NotifyTpl, (EFI_TPL)TPL_CALLBACK);
  EXPECT_EQ (Ready.NotifyFunction, Notify);
  EXPECT_EQ (Ready.NotifyContext, &Context);
  EXPECT_EQ (std::memcmp (Ready.EventGroup, &gEfiEventReadyToBootGuid, sizeof (EFI_GUID)), 0);

  // Without a notify function the event still gets one: signal events need it.
  const FakeEventCall  &Legacy = Fake.Events[1];
  EXPECT_EQ (Legacy.NotifyTpl, (EFI_TPL)TPL_NOTIFY);
  ASSERT_NE (Legacy.NotifyFunction, nullptr);
  Legacy.NotifyFunction (nullptr, nullptr);
  EXPECT_EQ (std::memcmp (Legacy.EventGroup, &gEfiEventLegacyBootGuid, sizeof (EFI_GUID)), 0);
}

}  // namespace

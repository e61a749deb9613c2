// Physical presence: the method registry, the jumper over the GPIO pad and
// the remote method over the controller, and the erase-all check on top.
#include <gtest/gtest.h>

#include <cstring>

#include "../FakePlatform.h"
#include <Library/PhysicalPresenceHandlerSupportLib/PhysicalPresenceHandlerSupportLib.h>
#include <Library/SecurityGpioConfigLib/SecurityGpioConfigLib.h>

namespace {

// The board: the jumper's pad and the controller's remote presence.
struct Board {
  GPIO_CONFIG  Pad{ { 0xFFFFFFFFu, 0x11111111u, 0x22222222u } };
  UINT32       Input = 1;  // 0: the jumper is fitted
  bool         PadMissing = false;
  UINT8        RemoteEnabled = 0;
  UINT8        RemoteAsserted = 0;
  EFI_STATUS   SettingStatus = EFI_SUCCESS;
  EFI_STATUS   AssertStatus = EFI_SUCCESS;
  UINTN        ControllerCalls = 0;
};

Board  *gBoard;

EFI_STATUS EFIAPI
GetPadConfig (CARVEX_PCH_GPIO_PROTOCOL *, GPIO_PAD Pad, GPIO_CONFIG *Config)
{
  if (gBoard->PadMissing || (Pad != SECURITY_JUMPER_GPIO_PAD)) {
    return EFI_NOT_FOUND;
  }

  *Config = gBoard->Pad;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
SetPadConfig (CARVEX_PCH_GPIO_PROTOCOL *, GPIO_PAD Pad, CONST GPIO_CONFIG *Config)
{
  EXPECT_EQ (Pad, (GPIO_PAD)SECURITY_JUMPER_GPIO_PAD);
  gBoard->Pad = *Config;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
GetInputValue (CARVEX_PCH_GPIO_PROTOCOL *, GPIO_PAD Pad, UINT32 *Value)
{
  if (gBoard->PadMissing || (Pad != SECURITY_JUMPER_GPIO_PAD)) {
    return EFI_NOT_FOUND;
  }

  *Value = gBoard->Input;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
GetRemotePresenceSetting (VESK_COMMANDS_PROTOCOL *, UINT8 *Enabled, UINT8 *, UINT8 *, UINT8 Wait)
{
  EXPECT_EQ (Wait, 1);
  gBoard->ControllerCalls++;
  if (!EFI_ERROR (gBoard->SettingStatus)) {
    *Enabled = gBoard->RemoteEnabled;
  }

  return gBoard->SettingStatus;
}

EFI_STATUS EFIAPI
GetRemotePPAssert (VESK_COMMANDS_PROTOCOL *, UINT8 *Asserted, UINT8 *, UINT8 Wait)
{
  EXPECT_EQ (Wait, 1);
  gBoard->ControllerCalls++;
  if (!EFI_ERROR (gBoard->AssertStatus)) {
    *Asserted = gBoard->RemoteAsserted;
  }

  return gBoard->AssertStatus;
}

// The platform with the board's GPIO and controller, and the image's
// constructors run as at load.
struct PresenceFixture {
  explicit PresenceFixture (Board &B) {
    gBoard                               = &B;
    Gpio.Revision                        = CARVEX_PCH_GPIO_REVISION;
    Gpio.GetPadConfig                    = GetPadConfig;
    Gpio.SetPadConfig                    = SetPadConfig;
    Gpio.GetInputValue                   = GetInputValue;
    Fake.VeskCommands.GetRemotePresenceSetting = GetRemotePresenceSetting;
    Fake.VeskCommands.GetRemotePPAssert        = GetRemotePPAssert;
    Fake.ExtraProtocols.push_back ({ gCarvexPchGpioProtocolGuid, &Gpio });
    PPHConstructor (nullptr, &Fake.SystemTable);
    SecurityGpioConfigLibConstructor (nullptr, &Fake.SystemTable);
    RppHandlerConstructor (nullptr, &Fake.SystemTable);
  }

  FakePlatform              Fake;
  CARVEX_PCH_GPIO_PROTOCOL  Gpio{};
};

bool
IsZero (const EFI_GUID &Guid)
{
  static const EFI_GUID  Zero{};
  return std::memcmp (&Guid, &Zero, sizeof (Guid)) == 0;
}

struct PresenceCase {
  const char  *Name;
  UINT32      Input;
  UINT8       RemoteEnabled, RemoteAsserted;
  EFI_STATUS  SettingStatus, AssertStatus;
  bool        Hardware, Remote, Either;
  UINTN       ControllerCalls;  // made by IsPhysPresenceAsserted
};

class PresenceTest : public ::testing::TestWithParam<PresenceCase> {};

TEST_P (PresenceTest, Board_AnswersOfEachCheck) {
  const PresenceCase  &C = GetParam ();
  Board               B;
  B.Input          = C.Input;
  B.RemoteEnabled  = C.RemoteEnabled;
  B.RemoteAsserted = C.RemoteAsserted;
  B.SettingStatus  = C.SettingStatus;
  B.AssertStatus   = C.AssertStatus;
  PresenceFixture  F (B);

  EXPECT_EQ (IsHwPhysPresenceAsserted () != FALSE, C.Hardware);
  EXPECT_EQ (IsRPPAsserted () != FALSE, C.Remote);
  B.ControllerCalls = 0;
  EXPECT_EQ (IsPhysPresenceAsserted () != FALSE, C.Either);
  EXPECT_EQ (B.ControllerCalls, C.ControllerCalls);
}

INSTANTIATE_TEST_SUITE_P (
  Boards,
  PresenceTest,
  ::testing::Values (
    PresenceCase{ "JumperFitted", 0, 0, 0, EFI_SUCCESS, EFI_SUCCESS, true, false, true, 0 },
    PresenceCase{ "RemoteEnabledNotAsserted", 1, 1, 0, EFI_SUCCESS, EFI_SUCCESS, false, false, false, 2 },
    PresenceCase{ "RemoteEnabledAndAsserted", 1, 1, 1, EFI_SUCCESS, EFI_SUCCESS, false, true, true, 2 },
    // Asserted without the setting enabled is not enough for erase-all.
    PresenceCase{ "RemoteAssertedNotEnabled", 1, 0, 1, EFI_SUCCESS, EFI_SUCCESS, false, true, false, 2 },
    PresenceCase{ "SettingUnreadable", 1, 1, 1, EFI_DEVICE_ERROR, EFI_SUCCESS, false, true, false, 1 },
    PresenceCase{ "AssertUnreadable", 1, 1, 1, EFI_SUCCESS, EFI_DEVICE_ERROR, false, false, false, 2 }
    ),
  [](const ::testing::TestParamInfo<PresenceCase> &Info) { return std::string (Info.param.Name); }
  );

TEST (PhysicalPresenceTest, Constructor_PadBecomesInputKeepingResetBits)
{
  Board            B;
  PresenceFixture  F (B);
  EXPECT_EQ (B.Pad.Dw[0], 0x1800u | 0x2A022F1u);
  EXPECT_EQ (B.Pad.Dw[1], 0x11111111u);
  EXPECT_EQ (B.Pad.Dw[2], 0x22222222u);
}

TEST (PhysicalPresenceTest, NoGpioOrController_NothingAsserted)
{
  Board            B;
  PresenceFixture  F (B);
  F.Fake.ExtraProtocols.clear ();
  F.Fake.PublishVeskCommands = false;
  B.Input = 0;
  EXPECT_FALSE (IsHwPhysPresenceAsserted ());
  EXPECT_FALSE (IsRPPAsserted ());
  EXPECT_FALSE (IsPhysPresenceAsserted ());
}

BOOLEAN EFIAPI
AlwaysAsserted (UINT8)
{
  return TRUE;
}

TEST (PhysicalPresenceTest, Registry_SlotsLookupAndWalk)
{
  Board            B;
  PresenceFixture  F (B);
  EFI_GUID         Used;

  // An unknown method: not asserted, no method named.
  const EFI_GUID  Unknown = { 0x1, 0x2, 0x3, { 4, 5, 6, 7, 8, 9, 10, 11 } };
  std::memset (&Used, 0xAA, sizeof (Used));
  EXPECT_FALSE (PPHIsAsserted (&Unknown, 0, &Used));
  EXPECT_TRUE (IsZero (Used));

  // The walk names the first method that answers yes.
  B.RemoteEnabled  = 1;
  B.RemoteAsserted = 1;
  EXPECT_TRUE (PPHIsAsserted (nullptr, 0, &Used));
  EXPECT_EQ (std::memcmp (&Used, &gPhysicalPresenceRemoteGuid, sizeof (Used)), 0);

  // A replacement jumper method takes slot 0 without using a further slot.
  PhysicalPresenceHandler  Handler{};
  Handler.Name       = u"Board jumper";
  Handler.MethodGuid = gPhysicalPresenceJumperGuid;
  Handler.IsAsserted = AlwaysAsserted;
  EXPECT_EQ (PPRegister (&Handler), EFI_SUCCESS);
  EXPECT_EQ (mPhysicalPresenceHandleCount, 2u);
  EXPECT_TRUE (PPHIsAsserted (nullptr, 0, &Used));
  EXPECT_EQ (std::memcmp (&Used, &gPhysicalPresenceJumperGuid, sizeof (Used)), 0);

  // Three further methods fit; a sixth does not.
  for (UINT8 Index = 0; Index < 4; Index++) {
    Handler.MethodGuid       = Unknown;
    Handler.MethodGuid.Data4[7] = (UINT8)(0x40 + Index);
    EXPECT_EQ (PPRegister (&Handler), Index < 3 ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES) << "method " << Index + 3;
  }

  PhysicalPresenceHandler  *Found = nullptr;
  Handler.MethodGuid.Data4[7] = 0x42;
  ASSERT_EQ (PPGet (&Handler.MethodGuid, &Found), EFI_SUCCESS);
  EXPECT_EQ (std::memcmp (&Found->MethodGuid, &Handler.MethodGuid, sizeof (EFI_GUID)), 0);
  Handler.MethodGuid.Data4[7] = 0x43;
  EXPECT_EQ (PPGet (&Handler.MethodGuid, &Found), EFI_OUT_OF_RESOURCES);
}

}  // namespace

/** @file
  Automatic unlock in OVMF (two boots). The application plays the platform
  that owns the modules and the controller: it hands both models to their
  images and keeps them across the reset in non-volatile variables.

  Boot 1: the embedded board; security is enabled on every module and the
  controller is given the passphrase file. Boot 2: the modules power up
  Locked; after the end of POST the application signals ready-to-boot and
  every module must be unlocked by the driver, each with outcome Success.
**/
#include "Scenarios.h"
#include "DebugLogSpy.h"
#include "ExpectedVariables.h"
#include "Platform.h"
#include "TestReport.h"
#include <Guid/EventGroup.h>
#include <Library/DebugLib.h>
#include <NvmDimm/NvmDimmPlatform.h>
#include <Bmc/BmcPlatform.h>

namespace {

// Variables hold at most a few KiB in OVMF: each model is kept in pieces.
#define MODEL_PIECE_SIZE  0x1000

CONST EFI_GUID  mModelGuid = { 0x5E0C9A41, 0x7B2D, 0x4C8E, { 0x9F, 0x13, 0x6A, 0x20, 0xD4, 0x71, 0xB8, 0x35 } };
CHAR16          mSlots[]   = u"0 1 2";
CHAR8           mPassphraseText[] = "Carvex-Pass1";

constexpr CHAR8     mUnlockLog[]    = "UnlockLockedDcpmms:";
constexpr CHAR8     mAutoUnlockLog[] = "AutoUnlock:";
CONST CHAR8 *CONST  mWatchedLines[] = { mUnlockLog, mAutoUnlockLog, NULL };

VOID
Fill (
  OUT VOID   *Buffer,
  IN  UINTN  Size,
  IN  UINT8  Value
  )
{
  for (UINTN Index = 0; Index < Size; Index++) {
    static_cast<volatile UINT8 *> (Buffer)[Index] = Value;
  }
}

// Writes (Save) or reads a model as pieces "<Prefix><n>".
BOOLEAN
ModelPieces (
  IN     CONST CHAR8  *Check,
  IN     CHAR16       Prefix,
  IN OUT VOID         *Model,
  IN     UINTN        Size,
  IN     BOOLEAN      Save
  )
{
  CHAR16      Name[] = u"CarvexTestModelX0";
  UINTN       Offset;
  UINTN       Piece;
  UINTN       Length;
  UINT32      Attributes;
  EFI_STATUS  Status;

  Name[15] = Prefix;
  Status   = EFI_SUCCESS;
  for (Offset = 0, Piece = 0; Offset < Size && !EFI_ERROR (Status); Offset += MODEL_PIECE_SIZE, Piece++) {
    Name[16] = static_cast<CHAR16> (u'A' + Piece);
    Length   = (Size - Offset < MODEL_PIECE_SIZE) ? Size - Offset : MODEL_PIECE_SIZE;
    if (Save) {
      Status = PlatformWriteVariable (Name, const_cast<EFI_GUID *> (&mModelGuid), EXPECT_ATTRIBUTES_NV_BS, Length, static_cast<UINT8 *> (Model) + Offset);
    } else {
      Status = PlatformReadVariable (Name, const_cast<EFI_GUID *> (&mModelGuid), &Attributes, &Length, static_cast<UINT8 *> (Model) + Offset);
    }
  }

  return TestExpect (!EFI_ERROR (Status), Check, "%a piece %lu: %r", Save ? "write" : "read", static_cast<UINT64> (Piece), Status);
}

BOOLEAN
Install (
  IN EFI_GUID  *Guid,
  IN VOID      *Interface
  )
{
  EFI_HANDLE  Handle = NULL;

  return !EFI_ERROR (gFwBS->InstallProtocolInterface (&Handle, Guid, EFI_NATIVE_INTERFACE, Interface));
}

VOID
EFIAPI
Nothing (
  IN EFI_EVENT  Event,
  IN VOID       *Context
  )
{
  (VOID)Event;
  (VOID)Context;
}

// What BDS does before it boots an option: every member of the
// ready-to-boot group is notified.
VOID
SignalReadyToBoot (
  VOID
  )
{
  EFI_EVENT   Event;
  EFI_STATUS  Status;

  Status = gFwBS->CreateEventEx (EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Nothing, NULL, &gEfiEventReadyToBootGuid, &Event);
  if (TestExpect (!EFI_ERROR (Status), "ready-to-boot-event", "CreateEventEx: %r", Status)) {
    gFwBS->SignalEvent (Event);
    gFwBS->CloseEvent (Event);
  }
}

}  // namespace

SCENARIO_RESULT
SecurityAutoUnlock (
  IN UINT32  Boot
  )
{
  PLATFORM_SETUP              Setup = { EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };
  STATIC NVM_DIMM_PLATFORM_PROTOCOL  mNvmPlatform;
  STATIC BMC_PLATFORM_PROTOCOL       mBmcPlatform;
  NVM_MODEL                   *Nvm;
  BMC_MODEL                   *Bmc;
  EFI_HANDLE                  Driver;
  UINT32                      StillLocked;
  EFI_STATUS                  Status;

  if (!PlatformBringUp (&Setup)) {
    return ScenarioDone;
  }

  Nvm    = NULL;
  Bmc    = NULL;
  Status = gFwBS->AllocatePool (EfiBootServicesData, sizeof (NVM_MODEL), reinterpret_cast<VOID **> (&Nvm));
  if (!EFI_ERROR (Status)) {
    Status = gFwBS->AllocatePool (EfiBootServicesData, sizeof (BMC_MODEL), reinterpret_cast<VOID **> (&Bmc));
  }

  if (!TestExpect (!EFI_ERROR (Status), "models-allocated", "AllocatePool: %r", Status)) {
    return ScenarioDone;
  }

  // Boot 1 hands over empty models: the images build the embedded board
  // and a controller without files. Boot 2 hands over what boot 1 left.
  Fill (Nvm, sizeof (NVM_MODEL), 0);
  Fill (Bmc, sizeof (BMC_MODEL), 0);
  if ((Boot > 1) &&
      (!ModelPieces ("modules-restored", u'N', Nvm, sizeof (NVM_MODEL), FALSE) ||
       !ModelPieces ("controller-restored", u'B', Bmc, sizeof (BMC_MODEL), FALSE)))
  {
    return ScenarioDone;
  }

  mNvmPlatform.Revision = NVM_DIMM_PLATFORM_REVISION;
  mNvmPlatform.Flags    = NVM_DIMM_PLATFORM_POWER_UP_AT_ENTRY;
  mNvmPlatform.Model    = Nvm;
  mBmcPlatform.Revision = BMC_PLATFORM_REVISION;
  mBmcPlatform.Model    = Bmc;
  if (!TestExpect (
         Install (const_cast<EFI_GUID *> (&gNvmDimmPlatformProtocolGuid), &mNvmPlatform) &&
         Install (const_cast<EFI_GUID *> (&gBmcPlatformProtocolGuid), &mBmcPlatform),
         "models-handed-over",
         "platform protocols not installed"
         ) ||
      !PlatformStartDevices ())
  {
    return ScenarioDone;
  }

  if (Boot == 1) {
    // Security enabled on every module, and the passphrase kept at the
    // controller, as setup's Platform-scope enable leaves them.
    for (UINT32 Index = 0; Index < Nvm->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
      Nvm->Dimms[Index].SecurityEnabled = 1;
      Fill (Nvm->Dimms[Index].Passphrase, sizeof (Nvm->Dimms[Index].Passphrase), 0);
      for (UINTN Char = 0; mPassphraseText[Char] != 0; Char++) {
        Nvm->Dimms[Index].Passphrase[Char] = static_cast<CHAR16> (mPassphraseText[Char]);
      }
    }

    Bmc->Files[0].Present = 1;
    Bmc->Files[0].FileId  = VESK_FILE_DCPMM_PASSPHRASE;
    Bmc->Files[0].Size    = VESK_PASSPHRASE_FILE_SIZE;
    Fill (Bmc->Files[0].Data, sizeof (Bmc->Files[0].Data), 0);
    for (UINTN Char = 0; mPassphraseText[Char] != 0; Char++) {
      Bmc->Files[0].Data[Char] = static_cast<UINT8> (mPassphraseText[Char]);
    }

    TestExpect (Nvm->DimmCount == 12, "board-modules", "%u modules", Nvm->DimmCount);
    if (ModelPieces ("modules-kept", u'N', Nvm, sizeof (NVM_MODEL), TRUE) &&
        ModelPieces ("controller-kept", u'B', Bmc, sizeof (BMC_MODEL), TRUE))
    {
      return ScenarioNextBoot;
    }

    return ScenarioDone;
  }

  StillLocked = 0;
  for (UINT32 Index = 0; Index < Nvm->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    StillLocked += Nvm->Dimms[Index].Locked;
  }

  TestExpect (Nvm->DimmCount == 12 && StillLocked == 12, "modules-power-up-locked", "%u of %u modules Locked", StillLocked, Nvm->DimmCount);

  Status = PlatformLoadDriver (&Driver);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status) ||
      !TestExpect (LogSpyStart (Driver, mWatchedLines), "debug-sink-watched", "no debug sink"))
  {
    return ScenarioDone;
  }

  Status = gFwBS->StartImage (Driver, NULL, NULL);
  TestExpect (Status == EFI_SUCCESS, "entry-succeeds", "entry returned %r", Status);
  PlatformDispatch (mSlots);
  SignalReadyToBoot ();
  LogSpyStop ();

  StillLocked = 0;
  for (UINT32 Index = 0; Index < Nvm->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    StillLocked += Nvm->Dimms[Index].Locked;
  }

  TestExpect (StillLocked == 0, "modules-unlocked-at-ready-to-boot", "%u modules still Locked", StillLocked);
  TestExpect (
    LogSpyCount (mUnlockLog, " auto unlock state 1") == 12,
    "every-outcome-success",
    "%lu modules with outcome Success",
    static_cast<UINT64> (LogSpyCount (mUnlockLog, " auto unlock state 1"))
    );
  TestExpect (LogSpyCount (mAutoUnlockLog, "Exit:Success") == 1, "auto-unlock-succeeds", "AutoUnlock exit line not seen");
  TestExpect (Bmc->AuditCount == 0, "no-audit-event", "%u audit events", Bmc->AuditCount);
  return ScenarioDone;
}

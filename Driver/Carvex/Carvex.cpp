/** @file
  Driver entry and lifecycle callbacks. The entry point only hangs the driver
  on the platform's events; all work happens in the callbacks.
**/
#include "Carvex.h"
#include "../Bmc/PassphraseFile.h"
#include "../Inventory/CarvexInventory.h"
#include "../KIV/CarvexKiv.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include "../Setup/CarvexSetup.h"
#include "../Setup/SetupThresholds.h"
#include <Guid/CarvexVariables.h>
#include <Library/DebugLib.h>
#include <Library/PcdLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Protocol/PlatformEvent.h>
#include <Protocol/SetupEnter.h>

STATIC EFI_EVENT                mSetupEnterEvent         = NULL;
STATIC VOID                     *mSetupEnterRegistration = NULL;
STATIC EFI_HANDLE               mPlatformEventHandle     = NULL;
STATIC PLATFORM_EVENT_PROTOCOL  mPlatformEventProtocol;
STATIC CHAR16                   mCarvekPresentName[] = CARVEK_PRESENT_NAME;

EFI_STATUS
EFIAPI
CarvexEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_STATUS  Status;
  EFI_EVENT   ReadyToBootEvent;
  EFI_EVENT   LegacyBootEvent;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if ((PcdGet64 (PlatformCapabilityMask) & (PLATFORM_CAPABILITY_APP_DIRECT | PLATFORM_CAPABILITY_MEMORY_MODE)) == 0) {
    DEBUG ((DEBUG_WARN, "%a:The systen don't support AEP. Exit\n", __func__));
    return EFI_SUCCESS;
  }

  Status = gBS->CreateEvent (EVT_NOTIFY_SIGNAL, TPL_NOTIFY, KivSetupEnter, NULL, &mSetupEnterEvent);
  DEBUG ((DEBUG_INFO, "%a:%r:Create Setup Enter event\n", __func__, Status));
  if (!EFI_ERROR (Status)) {
    mSetupEnterRegistration = NULL;
    Status = gBS->RegisterProtocolNotify (&gSetupEnterProtocolGuid, mSetupEnterEvent, &mSetupEnterRegistration);
    DEBUG ((DEBUG_INFO, "%a:%r:Register Setup Enter notify\n", __func__, Status));
  }

  mPlatformEventProtocol.PrePostComplete    = CarvexPrePostComplete;
  mPlatformEventProtocol.BeforePostComplete = CarvexBeforePostComplete;
  mPlatformEventProtocol.PostComplete       = CarvexPostComplete;
  mPlatformEventProtocol.SaveSetting        = CarvexSaveSetting;
  mPlatformEventProtocol.DiscardSetting     = CarvexDiscardSetting;
  mPlatformEventProtocol.LoadDefaultSetting = CarvexLoadDefaultSetting;
  Status = gBS->InstallProtocolInterface (
                  &mPlatformEventHandle,
                  &gTavrilEventProtocolGuid,
                  EFI_NATIVE_INTERFACE,
                  &mPlatformEventProtocol
                  );
  DEBUG ((DEBUG_WARN, "%a:%r:Install gTavrilEventProtocolGuid\n", __func__, Status));

  // The boot events are never closed, so their handles need not be kept.
  Status = EfiCreateEventReadyToBootEx (TPL_NOTIFY, CarvexReadyToBoot, NULL, &ReadyToBootEvent);
  DEBUG ((DEBUG_WARN, "%a:%r:EfiCreateEventReadyToBootEx\n", __func__, Status));
  Status = EfiCreateEventLegacyBootEx (TPL_NOTIFY, CarvexReadyToBoot, NULL, &LegacyBootEvent);
  DEBUG ((DEBUG_WARN, "%a:%r:EfiCreateEventLegacyBootEx\n", __func__, Status));

  CarvexSyncDcpmmPerfConfig (TRUE);

  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
CarvexPrePostComplete (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = CarvexInventoryPrePostComplete ();
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexBeforePostComplete (
  VOID
  )
{
  EFI_STATUS  Status;
  BOOLEAN     CarvekPresent;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    CarvekPresent = FALSE;
    DEBUG ((DEBUG_ERROR, "%a:There is not Carvek on board. Status:%r\n", __func__, Status));
  } else {
    CarvekPresent = TRUE;
    // The form sets report their own failures; the presence flag is written
    // either way.
    CarvexSetupBeforePostComplete ();
    KivBeforePostComplete ();
  }

  Status = gRT->SetVariable (
                  mCarvekPresentName,
                  &gCarvekPresentGuid,
                  EFI_VARIABLE_BOOTSERVICE_ACCESS,
                  sizeof (CarvekPresent),
                  &CarvekPresent
                  );

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexPostComplete (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = KivPostComplete ();
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexSaveSetting (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  // The threshold is stored (and pushed to the modules) before the
  // out-of-band save, and the performance profile taken from the platform
  // after it.
  SetupActionsForThresholds (THRESHOLD_ACTION_SAVE);
  Status = KivSaveSetting ();
  CarvexSyncDcpmmPerfConfig (FALSE);
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexDiscardSetting (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  SetupActionsForThresholds (THRESHOLD_ACTION_DISCARD);
  Status = KivDiscardSetting ();
  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexLoadDefaultSetting (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  SetupActionsForThresholds (THRESHOLD_ACTION_LOAD_DEFAULTS);
  Status = KivLoadDefaultSetting ();
  DEBUG ((DEBUG_ERROR, "%a:Exit\n", __func__));
  return Status;
}

VOID
EFIAPI
CarvexReadyToBoot (
  IN EFI_EVENT  Event,
  IN VOID       *Context
  )
{
  BOOLEAN  Completed;

  (VOID)Event;
  (VOID)Context;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  // Serves ready-to-boot and legacy boot alike; AutoUnlock itself makes sure
  // the modules are unlocked only once per boot.
  Completed = FALSE;
  AutoUnlock (&Completed);
  if (Completed) {
    DEBUG ((DEBUG_ERROR, "%a:Auto Unlock has been completed, Need update the config file.\n", __func__));
    // The controller learns the modules' new states and unlock outcomes.
    KivSyncToOob ();
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit\n", __func__));
}

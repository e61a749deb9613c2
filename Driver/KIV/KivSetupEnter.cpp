/** @file
  Setup-enter notification: the controller's view is refreshed when a person
  enters setup, so that setup and the controller start from the same state.
**/
#include "CarvexKiv.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Library/DebugLib.h>

VOID
EFIAPI
KivSetupEnter (
  IN EFI_EVENT  Event,
  IN VOID       *Context
  )
{
  EFI_STATUS  Status;

  (VOID)Event;
  (VOID)Context;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_WARN, "%a:GetDimmDetails:%r.\n", __func__, Status));
    return;
  }

  KivSyncToOob ();
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
}

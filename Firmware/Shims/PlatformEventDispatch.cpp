/** @file
  The platform's event dispatcher: calls the slots of the platform event
  protocol named in the load options, in that order (e.g. "0 1 2" at end of
  POST, "3" when the user leaves setup saving). Each slot's result is logged;
  the image exits with the last slot's result, so the caller of StartImage
  sees it. Without the protocol the image exits with EFI_NOT_FOUND.
**/
#include "../Common/FwCommon.h"
#include <Protocol/PlatformEvent.h>

STATIC
PLATFORM_EVENT_CALLBACK
SlotCallback (
  IN PLATFORM_EVENT_PROTOCOL  *Events,
  IN UINT64                   Slot
  )
{
  switch (Slot) {
    case 0: return Events->PrePostComplete;
    case 1: return Events->BeforePostComplete;
    case 2: return Events->PostComplete;
    case 3: return Events->SaveSetting;
    case 4: return Events->DiscardSetting;
    case 5: return Events->LoadDefaultSetting;
    default: return NULL;
  }
}

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  PLATFORM_EVENT_PROTOCOL  *Events;
  PLATFORM_EVENT_CALLBACK  Callback;
  VOID                     *Interface;
  CONST CHAR16             *Options;
  UINT64                   Slot;
  EFI_STATUS               Status;

  FwInitialize (ImageHandle, SystemTable);
  Status = gFwBS->LocateProtocol (&gTavrilEventProtocolGuid, NULL, &Interface);
  if (EFI_ERROR (Status)) {
    FwLog ("PlatformEventDispatch: no platform event protocol: %r\n", Status);
    return EFI_NOT_FOUND;
  }

  Events  = static_cast<PLATFORM_EVENT_PROTOCOL *> (Interface);
  Options = FwLoadOptions (ImageHandle);
  while ((Options = FwParseUint64 (Options, &Slot)) != NULL) {
    Callback = SlotCallback (Events, Slot);
    if (Callback == NULL) {
      FwLog ("PlatformEventDispatch: slot %lu does not exist\n", Slot);
      return EFI_INVALID_PARAMETER;
    }

    Status = Callback ();
    FwLog ("PlatformEventDispatch: slot %lu returned %r\n", Slot, Status);
  }

  return Status;
}

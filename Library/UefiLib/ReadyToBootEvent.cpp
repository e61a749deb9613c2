/** @file
  Events in the boot manager's ready-to-boot and legacy-boot groups.
**/
#include <Library/UefiLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Guid/EventGroup.h>

namespace {

// Stands in for a missing notify function: an EVT_NOTIFY_SIGNAL event must
// have one.
VOID
EFIAPI
InternalEmptyNotify (
  IN EFI_EVENT Event,
  IN VOID      *Context
  )
{
  (VOID)Event;
  (VOID)Context;
}

EFI_STATUS
CreateGroupEvent (
  IN  EFI_TPL          NotifyTpl,
  IN  EFI_EVENT_NOTIFY NotifyFunction,
  IN  VOID             *NotifyContext,
  IN  CONST EFI_GUID   *EventGroup,
  OUT EFI_EVENT        *Event
  )
{
  return gBS->CreateEventEx (
                EVT_NOTIFY_SIGNAL,
                NotifyTpl,
                (NotifyFunction != NULL) ? NotifyFunction : InternalEmptyNotify,
                NotifyContext,
                EventGroup,
                Event
                );
}

}  // namespace

EFI_STATUS
EFIAPI
EfiCreateEventReadyToBootEx (
  IN  EFI_TPL          NotifyTpl,
  IN  EFI_EVENT_NOTIFY NotifyFunction OPTIONAL,
  IN  VOID             *NotifyContext OPTIONAL,
  OUT EFI_EVENT        *ReadyToBootEvent
  )
{
  return CreateGroupEvent (NotifyTpl, NotifyFunction, NotifyContext, &gEfiEventReadyToBootGuid, ReadyToBootEvent);
}

EFI_STATUS
EFIAPI
EfiCreateEventLegacyBootEx (
  IN  EFI_TPL          NotifyTpl,
  IN  EFI_EVENT_NOTIFY NotifyFunction OPTIONAL,
  IN  VOID             *NotifyContext OPTIONAL,
  OUT EFI_EVENT        *LegacyBootEvent
  )
{
  return CreateGroupEvent (NotifyTpl, NotifyFunction, NotifyContext, &gEfiEventLegacyBootGuid, LegacyBootEvent);
}

/** @file
  Protocol lookups for the HII library.
**/
#include <Library/UefiBootServicesTableLib.h>

#include "HiiLibInternal.h"

STATIC
VOID *
InternalLocate (
  IN EFI_GUID *Guid
  )
{
  VOID  *Interface;

  Interface = NULL;
  if ((gBS == NULL) || EFI_ERROR (gBS->LocateProtocol (Guid, NULL, &Interface))) {
    return NULL;
  }

  return Interface;
}

EFI_HII_DATABASE_PROTOCOL *
InternalHiiDatabase (
  VOID
  )
{
  return static_cast<EFI_HII_DATABASE_PROTOCOL *>(InternalLocate (&gEfiHiiDatabaseProtocolGuid));
}

EFI_HII_STRING_PROTOCOL *
InternalHiiStringProtocol (
  VOID
  )
{
  return static_cast<EFI_HII_STRING_PROTOCOL *>(InternalLocate (&gEfiHiiStringProtocolGuid));
}

EFI_HII_CONFIG_ROUTING_PROTOCOL *
InternalHiiConfigRouting (
  VOID
  )
{
  return static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *>(InternalLocate (&gEfiHiiConfigRoutingProtocolGuid));
}

EFI_FORM_BROWSER2_PROTOCOL *
InternalFormBrowser2 (
  VOID
  )
{
  return static_cast<EFI_FORM_BROWSER2_PROTOCOL *>(InternalLocate (&gEfiFormBrowser2ProtocolGuid));
}

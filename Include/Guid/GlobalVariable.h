/** @file
  The vendor GUID of the architectural UEFI variables, and the ones this
  project reads.
**/
#ifndef GUID_GLOBAL_VARIABLE_H_
#define GUID_GLOBAL_VARIABLE_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gEfiGlobalVariableGuid, 0x8be4df61, 0x93ca, 0x11d2, 0xaa, 0x0d, 0x00, 0xe0, 0x98, 0x03, 0x2b, 0x8c);

// The platform's current language, an RFC 4646 tag ("en-US").
#define EFI_PLATFORM_LANG_VARIABLE_NAME  u"PlatformLang"

#endif

/** @file
  The platform configuration manager's protocol. The configuration manager
  keeps a copy of the form sets that carry its class GUID for the baseboard
  management controller; a driver asks it to take a fresh copy of one of
  them, named by its title. Only the first member is defined; the rest of
  the table belongs to the configuration manager.
**/
#ifndef PROTOCOL_KIV_CONFIG_MANAGER_H_
#define PROTOCOL_KIV_CONFIG_MANAGER_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gKivProtocolGuid, 0x44D479CA, 0x1CD7, 0x492B, 0x8B, 0x5A, 0xD2, 0xC8, 0x8B, 0x2F, 0x77, 0x5C);

typedef struct _KIV_PROTOCOL KIV_PROTOCOL;

// Extracts every store of the form set whose title (in any language of its
// string package) is Keyword and hands the copy to the controller.
typedef EFI_STATUS (EFIAPI *KIV_SAVE_BY_FORMSET_TITLE_KEYWORD)(
  IN KIV_PROTOCOL  *This,
  IN CHAR16        *Keyword
  );

struct _KIV_PROTOCOL {
  KIV_SAVE_BY_FORMSET_TITLE_KEYWORD    SaveByFormSetTitleKeyword;
};

#endif

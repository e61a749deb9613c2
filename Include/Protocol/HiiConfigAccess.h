/** @file
  EFI_HII_CONFIG_ACCESS_PROTOCOL: what a driver that owns configuration
  storage installs on the handle of its package list.
**/
#ifndef PROTOCOL_HII_CONFIG_ACCESS_H_
#define PROTOCOL_HII_CONFIG_ACCESS_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiInternalFormRepresentation.h>

CARVEX_GUID_DEFINE (gEfiHiiConfigAccessProtocolGuid, 0x330d4706, 0xf2a0, 0x4e4f, 0xa3, 0x69, 0xb6, 0x6f, 0xa8, 0xd5, 0x43, 0x85);

typedef struct EFI_HII_CONFIG_ACCESS_PROTOCOL EFI_HII_CONFIG_ACCESS_PROTOCOL;

// Progress must point into Request (its NUL on success); Results is pool
// memory the caller frees.
typedef EFI_STATUS (EFIAPI *EFI_HII_ACCESS_EXTRACT_CONFIG)(
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Request,
  OUT CONST CHAR16                         **Progress,
  OUT CHAR16                               **Results
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_ACCESS_ROUTE_CONFIG)(
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                         **Progress
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_ACCESS_FORM_CALLBACK)(
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN EFI_BROWSER_ACTION                    Action,
  IN EFI_QUESTION_ID                       QuestionId,
  IN UINT8                                 Type,
  IN OUT EFI_IFR_TYPE_VALUE                *Value,
  OUT EFI_BROWSER_ACTION_REQUEST           *ActionRequest
  );

struct EFI_HII_CONFIG_ACCESS_PROTOCOL {
  EFI_HII_ACCESS_EXTRACT_CONFIG    ExtractConfig;
  EFI_HII_ACCESS_ROUTE_CONFIG      RouteConfig;
  EFI_HII_ACCESS_FORM_CALLBACK     Callback;
};

static_assert (sizeof (EFI_HII_CONFIG_ACCESS_PROTOCOL) == 24, "HII config access protocol: 3 members");

#endif

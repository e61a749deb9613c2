/** @file
  EFI_FORM_BROWSER2_PROTOCOL: show form sets, and reach the browser's copy
  of a storage while a form set is shown.
**/
#ifndef PROTOCOL_FORM_BROWSER2_H_
#define PROTOCOL_FORM_BROWSER2_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiInternalFormRepresentation.h>

CARVEX_GUID_DEFINE (gEfiFormBrowser2ProtocolGuid, 0xb9d4c360, 0xbcfb, 0x4f9b, 0x92, 0x98, 0x53, 0xc1, 0x36, 0x98, 0x22, 0x58);

typedef struct EFI_FORM_BROWSER2_PROTOCOL EFI_FORM_BROWSER2_PROTOCOL;

typedef struct {
  UINTN    LeftColumn;
  UINTN    RightColumn;
  UINTN    TopRow;
  UINTN    BottomRow;
} EFI_SCREEN_DESCRIPTOR;

static_assert (sizeof (EFI_SCREEN_DESCRIPTOR) == 32, "screen descriptor");

// A NULL FormSetGuid means the platform-setup class; FormId 0 the first form.
typedef EFI_STATUS (EFIAPI *EFI_SEND_FORM2)(
  IN CONST EFI_FORM_BROWSER2_PROTOCOL  *This,
  IN EFI_HII_HANDLE                    *Handle,
  IN UINTN                             HandleCount,
  IN EFI_GUID                          *FormSetGuid OPTIONAL,
  IN EFI_FORM_ID                       FormId OPTIONAL,
  IN CONST EFI_SCREEN_DESCRIPTOR       *ScreenDimensions OPTIONAL,
  OUT EFI_BROWSER_ACTION_REQUEST       *ActionRequest OPTIONAL
  );

// ResultsDataSize counts bytes. Retrieving yields the storage's
// <ConfigResp> body without the routing header; setting takes one.
typedef EFI_STATUS (EFIAPI *EFI_BROWSER_CALLBACK2)(
  IN CONST EFI_FORM_BROWSER2_PROTOCOL  *This,
  IN OUT UINTN                         *ResultsDataSize,
  IN OUT EFI_STRING                    ResultsData,
  IN BOOLEAN                           RetrieveData,
  IN CONST EFI_GUID                    *VariableGuid OPTIONAL,
  IN CONST CHAR16                      *VariableName OPTIONAL
  );

struct EFI_FORM_BROWSER2_PROTOCOL {
  EFI_SEND_FORM2           SendForm;
  EFI_BROWSER_CALLBACK2    BrowserCallback;
};

static_assert (sizeof (EFI_FORM_BROWSER2_PROTOCOL) == 16, "form browser 2 protocol: 2 members");

#endif

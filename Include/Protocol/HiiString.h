/** @file
  EFI_HII_STRING_PROTOCOL: strings of a package list by language.
**/
#ifndef PROTOCOL_HII_STRING_H_
#define PROTOCOL_HII_STRING_H_

#include <Uefi/UefiBaseType.h>
#include <Uefi/UefiInternalFormRepresentation.h>

CARVEX_GUID_DEFINE (gEfiHiiStringProtocolGuid, 0x0fd96974, 0x23aa, 0x4cdc, 0xb9, 0xcb, 0x98, 0xd1, 0x77, 0x50, 0x32, 0x2a);

typedef struct EFI_HII_STRING_PROTOCOL EFI_HII_STRING_PROTOCOL;

// Font description (natural layout, as the font protocol defines it).
typedef struct {
  EFI_HII_FONT_STYLE    FontStyle;
  UINT16                FontSize;
  CHAR16                FontName[1];
} EFI_FONT_INFO;

typedef EFI_STATUS (EFIAPI *EFI_HII_NEW_STRING)(
  IN CONST EFI_HII_STRING_PROTOCOL  *This,
  IN EFI_HII_HANDLE                 PackageList,
  OUT EFI_STRING_ID                 *StringId,
  IN CONST CHAR8                    *Language,
  IN CONST CHAR16                   *LanguageName OPTIONAL,
  IN CONST CHAR16                   *String,
  IN CONST EFI_FONT_INFO            *StringFontInfo OPTIONAL
  );

// Note the order: Language before PackageList. StringSize counts bytes, the
// NUL included.
typedef EFI_STATUS (EFIAPI *EFI_HII_GET_STRING)(
  IN CONST EFI_HII_STRING_PROTOCOL  *This,
  IN CONST CHAR8                    *Language,
  IN EFI_HII_HANDLE                 PackageList,
  IN EFI_STRING_ID                  StringId,
  OUT EFI_STRING                    String,
  IN OUT UINTN                      *StringSize,
  OUT EFI_FONT_INFO                 **StringFontInfo OPTIONAL
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_SET_STRING)(
  IN CONST EFI_HII_STRING_PROTOCOL  *This,
  IN EFI_HII_HANDLE                 PackageList,
  IN EFI_STRING_ID                  StringId,
  IN CONST CHAR8                    *Language,
  IN CONST CHAR16                   *String,
  IN CONST EFI_FONT_INFO            *StringFontInfo OPTIONAL
  );

// Languages are returned ';'-separated and NUL-terminated; sizes in bytes.
typedef EFI_STATUS (EFIAPI *EFI_HII_GET_LANGUAGES)(
  IN CONST EFI_HII_STRING_PROTOCOL  *This,
  IN EFI_HII_HANDLE                 PackageList,
  IN OUT CHAR8                      *Languages,
  IN OUT UINTN                      *LanguagesSize
  );

typedef EFI_STATUS (EFIAPI *EFI_HII_GET_2ND_LANGUAGES)(
  IN CONST EFI_HII_STRING_PROTOCOL  *This,
  IN EFI_HII_HANDLE                 PackageList,
  IN CONST CHAR8                    *PrimaryLanguage,
  IN OUT CHAR8                      *SecondaryLanguages,
  IN OUT UINTN                      *SecondaryLanguagesSize
  );

struct EFI_HII_STRING_PROTOCOL {
  EFI_HII_NEW_STRING           NewString;
  EFI_HII_GET_STRING           GetString;
  EFI_HII_SET_STRING           SetString;
  EFI_HII_GET_LANGUAGES        GetLanguages;
  EFI_HII_GET_2ND_LANGUAGES    GetSecondaryLanguages;
};

static_assert (sizeof (EFI_HII_STRING_PROTOCOL) == 40, "HII string protocol: 5 members");

#endif

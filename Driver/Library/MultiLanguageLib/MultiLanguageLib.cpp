/** @file
  Run-time strings in every language: copy one string, or format one from
  each language's own format string.
**/
#include "MultiLanguageLib.h"
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Protocol/HiiString.h>

// The languages a run-time string is made in, in the order they are made.
STATIC CONST CHAR8 *CONST  mLanguages[MULTI_LANGUAGE_COUNT] = {
  "en-US", "de-DE", "es-ES", "fr-FR", "it-IT", "ja-JP", "ko-KR", "pt-BR", "zh-Hans", "zh-Hant", "ru-RU"
};

// Stores Text as *pStringId in Language: a new string while *pStringId is 0
// (the first language to succeed fixes the identifier), else an update.
STATIC
EFI_STATUS
StoreString (
  IN     EFI_HII_HANDLE  HiiHandle,
  IN OUT UINT16          *pStringId,
  IN     CONST CHAR8     *Language,
  IN     CONST CHAR16    *Text
  )
{
  EFI_STATUS               Status;
  EFI_HII_STRING_PROTOCOL  *pHiiString;
  EFI_STRING_ID            NewId;

  pHiiString = NULL;
  Status     = gBS->LocateProtocol (&gEfiHiiStringProtocolGuid, NULL, (VOID **)&pHiiString);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  if (*pStringId != 0) {
    return pHiiString->SetString (pHiiString, HiiHandle, *pStringId, Language, Text, NULL);
  }

  NewId  = 0;
  Status = pHiiString->NewString (pHiiString, HiiHandle, &NewId, Language, NULL, Text, NULL);
  if (!EFI_ERROR (Status)) {
    *pStringId = NewId;
  }

  return Status;
}

UINT16
EFIAPI
UpdateStringforMultiLanguange (
  IN EFI_HII_HANDLE  HiiHandle,
  IN UINT16          SourceId,
  IN UINT16          DestinationId,
  IN CONST CHAR8     *Language OPTIONAL
  )
{
  EFI_STATUS  Status;
  CHAR16      *pText;
  UINTN       Index;

  ASSERT (HiiHandle != ((void *)0));
  DEBUG ((DEBUG_WARN, "UpdateStringforMultiLanguange:Enter.\n"));

  if (Language != NULL) {
    pText = HiiGetString (HiiHandle, SourceId, Language);
    if (pText == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:%d:Fail to get String 0f %a\n", __func__, (INT32)__LINE__, Language));
    } else {
      StoreString (HiiHandle, &DestinationId, Language, pText);
      FreePool (pText);
    }
  } else {
    for (Index = 0; Index < MULTI_LANGUAGE_COUNT; Index++) {
      pText = HiiGetString (HiiHandle, SourceId, mLanguages[Index]);
      if (pText == NULL) {
        DEBUG ((DEBUG_ERROR, "%a:%d:Fail to get String 0f %a\n", __func__, (INT32)__LINE__, mLanguages[Index]));
        continue;
      }

      Status = StoreString (HiiHandle, &DestinationId, mLanguages[Index], pText);
      FreePool (pText);
      if (EFI_ERROR (Status)) {
        DEBUG ((DEBUG_ERROR, "%a:%d:set the string of %a failed\n", __func__, (INT32)__LINE__, mLanguages[Index]));
      }
    }
  }

  DEBUG ((DEBUG_WARN, "UpdateStringforMultiLanguange:Exit.\n"));
  return DestinationId;
}

UINT16
EFIAPI
SetMultiLanguage (
  IN EFI_HII_HANDLE  HiiHandle,
  IN UINT16          DestinationId,
  IN CHAR16          *pBuffer,
  IN UINTN           BufferSize,
  IN CONST CHAR8     *Language OPTIONAL,
  IN UINTN           FormatId,
  ...
  )
{
  EFI_STATUS  Status;
  CHAR16      *pFormat;
  UINTN       Index;
  VA_LIST     Args;
  VA_LIST     ArgsCopy;

  ASSERT (HiiHandle != ((void *)0));
  DEBUG ((DEBUG_WARN, "SetMultiLanguage:Enter.\n"));

  Status = EFI_SUCCESS;
  VA_START (Args, FormatId);
  if (Language != NULL) {
    pFormat = HiiGetString (HiiHandle, (EFI_STRING_ID)FormatId, Language);
    if (pFormat == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:%d:Fail to get FormatString 0f %a\n", __func__, (INT32)__LINE__, Language));
    } else {
      UnicodeVSPrint (pBuffer, BufferSize, pFormat, Args);
      Status = StoreString (HiiHandle, &DestinationId, Language, pBuffer);
      FreePool (pFormat);
    }
  } else {
    // Every language formats the same values: each pass reads its own copy.
    for (Index = 0; Index < MULTI_LANGUAGE_COUNT; Index++) {
      pFormat = HiiGetString (HiiHandle, (EFI_STRING_ID)FormatId, mLanguages[Index]);
      if (pFormat == NULL) {
        DEBUG ((DEBUG_ERROR, "%a:%d:Fail to get FormatString 0f %a\n", __func__, (INT32)__LINE__, mLanguages[Index]));
        continue;
      }

      VA_COPY (ArgsCopy, Args);
      UnicodeVSPrint (pBuffer, BufferSize, pFormat, ArgsCopy);
      VA_END (ArgsCopy);
      Status = StoreString (HiiHandle, &DestinationId, mLanguages[Index], pBuffer);
      FreePool (pFormat);
      pBuffer[0] = 0;
      if (EFI_ERROR (Status)) {
        DEBUG ((DEBUG_ERROR, "%a:%d:set the string of %a failed\n", __func__, (INT32)__LINE__, mLanguages[Index]));
      }
    }
  }

  VA_END (Args);
  DEBUG ((DEBUG_WARN, "SetMultiLanguage:Exit Status = %r\n", Status));
  return DestinationId;
}

/** @file
  Strings created at run time in every language of the driver's string
  packages, so that a page built in one language still reads right after the
  browser's language changes.
**/
#ifndef LIBRARY_MULTI_LANGUAGE_LIB_H_
#define LIBRARY_MULTI_LANGUAGE_LIB_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>

// Number of languages the update walks when no language is given.
#define MULTI_LANGUAGE_COUNT  11

// Copies string SourceId into DestinationId in Language, or in every
// language when Language is NULL. DestinationId 0 makes a new string; the
// identifier used is returned (0 when none could be made).
UINT16 EFIAPI UpdateStringforMultiLanguange (
  IN EFI_HII_HANDLE  HiiHandle,
  IN UINT16          SourceId,
  IN UINT16          DestinationId,
  IN CONST CHAR8     *Language OPTIONAL
  );

// Formats string FormatId of each language with the same values into
// pBuffer (BufferSize bytes) and stores the result as DestinationId in that
// language. DestinationId 0 makes a new string; returns the identifier used.
// FormatId is a string identifier, passed at full width because the
// variadic values follow it.
UINT16 EFIAPI SetMultiLanguage (
  IN EFI_HII_HANDLE  HiiHandle,
  IN UINT16          DestinationId,
  IN CHAR16          *pBuffer,
  IN UINTN           BufferSize,
  IN CONST CHAR8     *Language OPTIONAL,
  IN UINTN           FormatId,
  ...
  );

#endif

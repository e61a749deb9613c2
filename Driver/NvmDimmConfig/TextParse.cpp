/** @file
  Text splitting and unsigned number parsing for typed capacities.
**/
#include "TextParse.h"
#include "Utility.h"
#include <Library/BaseLib.h>
#include <Library/MemoryAllocationLib.h>

STATIC
BOOLEAN
IsBlankOrTab (
  IN CHAR16  Char
  )
{
  return (Char == u' ') || (Char == u'\t');
}

STATIC
BOOLEAN
IsDecimalDigitChar (
  IN CHAR16  Char
  )
{
  return (Char >= u'0') && (Char <= u'9');
}

STATIC
BOOLEAN
IsHexDigitChar (
  IN CHAR16  Char
  )
{
  return IsDecimalDigitChar (Char) ||
         ((Char >= u'A') && (Char <= u'F')) ||
         ((Char >= u'a') && (Char <= u'f'));
}

STATIC
UINT8
HexDigitValue (
  IN CHAR16  Char
  )
{
  if (IsDecimalDigitChar (Char)) {
    return (UINT8)(Char - u'0');
  }

  if ((Char >= u'a') && (Char <= u'f')) {
    Char = (CHAR16)(Char - u'a' + u'A');
  }

  return (UINT8)(Char - u'A' + 10);
}

// Whether Text reads as a number: an optional '-', leading zeros, a "0x"
// prefix switching to hex, then digits up to the end (or the first blank).
STATIC
BOOLEAN
IsNumberText (
  IN CONST CHAR16  *Text,
  IN BOOLEAN       Hex,
  IN BOOLEAN       StopAtBlank
  )
{
  BOOLEAN  ZeroSkipped;

  if (*Text == u'-') {
    Text++;
  }

  ZeroSkipped = FALSE;
  while (*Text == u'0') {
    ZeroSkipped = TRUE;
    Text++;
  }

  if ((*Text == u'x') || (*Text == u'X')) {
    if (!ZeroSkipped) {
      return FALSE;
    }

    Hex = TRUE;
    Text++;
  }

  for ( ; *Text != u'\0'; Text++) {
    if (StopAtBlank && (*Text == u' ')) {
      break;
    }

    if (Hex ? !IsHexDigitChar (*Text) : !IsDecimalDigitChar (*Text)) {
      return FALSE;
    }
  }

  return TRUE;
}

// Accumulates decimal or hex digits with an overflow check before each step.
STATIC
EFI_STATUS
ParseDigits (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value,
  IN  BOOLEAN       Hex,
  IN  BOOLEAN       StopAtBlank
  )
{
  UINT64   Result;
  UINT64   Digit;
  BOOLEAN  ZeroSkipped;

  if ((Text == NULL) || (Value == NULL)) {
    return EFI_INVALID_PARAMETER;
  }

  while (IsBlankOrTab (*Text)) {
    Text++;
  }

  ZeroSkipped = FALSE;
  while (*Text == u'0') {
    ZeroSkipped = TRUE;
    Text++;
  }

  if (Hex && ((*Text == u'x') || (*Text == u'X'))) {
    if (!ZeroSkipped) {
      return EFI_SUCCESS;
    }

    Text++;
  }

  if (StopAtBlank) {
    while (IsBlankOrTab (*Text)) {
      Text++;
    }
  }

  Result = 0;
  while (Hex ? IsHexDigitChar (*Text) : IsDecimalDigitChar (*Text)) {
    Digit = Hex ? HexDigitValue (*Text) : (UINT64)(*Text - u'0');
    if (Hex ? (Result > ((MAX_UINT64 - Digit) >> 4)) : (Result > ((MAX_UINT64 - Digit) / 10))) {
      return EFI_DEVICE_ERROR;
    }

    Result = Hex ? ((Result << 4) + Digit) : ((Result * 10) + Digit);
    Text++;
    if (StopAtBlank && (*Text == u' ')) {
      break;
    }
  }

  *Value = Result;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
ParseDecimalU64 (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value,
  IN  BOOLEAN       StopAtBlank
  )
{
  return ParseDigits (Text, Value, FALSE, StopAtBlank);
}

STATIC
EFI_STATUS
ParseHexU64 (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value,
  IN  BOOLEAN       StopAtBlank
  )
{
  return ParseDigits (Text, Value, TRUE, StopAtBlank);
}

STATIC
EFI_STATUS
ParseNumber (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value OPTIONAL,
  IN  BOOLEAN       Hex,
  IN  BOOLEAN       StopAtBlank
  )
{
  EFI_STATUS  Status;
  UINT64      Parsed;

  if (!IsNumberText (Text, Hex, StopAtBlank)) {
    if (Hex || !IsNumberText (Text, TRUE, StopAtBlank)) {
      return EFI_INVALID_PARAMETER;
    }

    Hex = TRUE;
  }

  while (*Text == u' ') {
    Text++;
  }

  if ((*Text == u'\0') || !IsNumberText (Text, Hex, StopAtBlank)) {
    return EFI_INVALID_PARAMETER;
  }

  Parsed = 0;
  if (!Hex && (Text[0] == u'0') && ((Text[1] == u'x') || (Text[1] == u'X'))) {
    Status = ParseHexU64 (Text, &Parsed, StopAtBlank);
  } else if (Hex) {
    Status = ParseHexU64 (Text, &Parsed, StopAtBlank);
  } else {
    Status = ParseDecimalU64 (Text, &Parsed, StopAtBlank);
  }

  if (EFI_ERROR (Status)) {
    return Status;
  }

  if (Value == NULL) {
    return EFI_NOT_FOUND;
  }

  *Value = Parsed;
  return EFI_SUCCESS;
}

BOOLEAN
EFIAPI
GetU64FromString (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value
  )
{
  if ((Text == NULL) || (Value == NULL)) {
    NVDIMM_DBG ("pString or pOutValue is NULL.\n");
    return FALSE;
  }

  if (Text[0] == u'-') {
    return FALSE;
  }

  if (!IsNumberText (Text, FALSE, TRUE)) {
    return FALSE;
  }

  return !EFI_ERROR (ParseNumber (Text, Value, FALSE, TRUE));
}

CHAR16 *
EFIAPI
StrTok (
  IN OUT CHAR16  **Cursor,
  IN     CHAR16  Delimiter
  )
{
  CHAR16  *pText;
  CHAR16  *pToken;
  UINTN   Index;
  UINTN   Length;

  if ((Cursor == NULL) || (*Cursor == NULL) || (**Cursor == u'\0')) {
    return NULL;
  }

  pText  = *Cursor;
  Length = StrLen (pText);
  for (Index = 0; Index < Length; Index++) {
    if (pText[Index] == Delimiter) {
      break;
    }
  }

  if (Index == Length) {
    pToken   = (CHAR16 *)AllocateCopyPool ((Length + 1) * sizeof (CHAR16), pText);
    pText[0] = u'\0';
    if (pToken == NULL) {
      NVDIMM_DBG ("StrTok failed due to lack of resources\n");
    }

    return pToken;
  }

  pToken = (CHAR16 *)AllocateZeroPool ((Index + 1) * sizeof (CHAR16));
  if (pToken == NULL) {
    NVDIMM_DBG ("StrTok failed due to lack of resources\n");
    return NULL;
  }

  for (UINTN Copy = 0; Copy < Index; Copy++) {
    pToken[Copy] = pText[Copy];
  }

  // The rest, terminator included, moves to the front of the same buffer.
  for (UINTN Move = Index + 1; Move <= Length; Move++) {
    pText[Move - Index - 1] = pText[Move];
  }

  return pToken;
}

VOID
EFIAPI
FreeStringArray (
  IN CHAR16  **Array,
  IN UINT32  Count
  )
{
  if (Array == NULL) {
    return;
  }

  for (UINT32 Index = 0; Index < Count; Index++) {
    if (Array[Index] != NULL) {
      FreePool (Array[Index]);
    }
  }

  FreePool (Array);
}

CHAR16 **
EFIAPI
StrSplit (
  IN  CONST CHAR16  *Text,
  IN  CHAR16        Delimiter,
  OUT UINT32        *Count
  )
{
  CHAR16  **pArray;
  CHAR16  *pCopy;
  CHAR16  *pCursor;
  UINTN   Length;
  UINT32  Parts;

  if ((Text == NULL) || (Count == NULL)) {
    NVDIMM_DBG ("At least one of parameters is NULL.\n");
    return NULL;
  }

  Length = StrLen (Text);
  if (Length == 0) {
    return NULL;
  }

  Parts = 0;
  for (UINTN Index = 0; Index < Length; Index++) {
    if (Text[Index] == Delimiter) {
      Parts++;
    }
  }

  if (Text[Length - 1] != Delimiter) {
    Parts++;
  }

  pArray = (CHAR16 **)AllocateZeroPool (Parts * sizeof (CHAR16 *));
  pCopy  = (CHAR16 *)AllocateCopyPool ((Length + 1) * sizeof (CHAR16), Text);
  if ((pArray == NULL) || (pCopy == NULL)) {
    NVDIMM_ERR ("Memory allocation failed.\n");
    if (pArray != NULL) {
      FreePool (pArray);
    }

    if (pCopy != NULL) {
      FreePool (pCopy);
    }

    *Count = 0;
    return NULL;
  }

  *Count  = Parts;
  pCursor = pCopy;
  for (UINT32 Index = 0; Index < Parts; Index++) {
    pArray[Index] = StrTok (&pCursor, Delimiter);
    if (pArray[Index] == NULL) {
      FreeStringArray (pArray, Parts);
      FreePool (pCopy);
      *Count = 0;
      return NULL;
    }
  }

  FreePool (pCopy);
  return pArray;
}

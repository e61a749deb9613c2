/** @file
  CHAR16 string length, comparison, safe copies and search.
**/
#include <Library/BaseLib.h>

#include "StringTemplates.h"

using namespace BaseLibInternal;

UINTN
EFIAPI
StrLen (
  IN CONST CHAR16 *String
  )
{
  return StringLength (String);
}

UINTN
EFIAPI
StrnLenS (
  IN CONST CHAR16 *String,
  IN UINTN        MaxSize
  )
{
  return StringLengthLimited (String, MaxSize);
}

UINTN
EFIAPI
StrSize (
  IN CONST CHAR16 *String
  )
{
  return (StringLength (String) + 1) * sizeof (CHAR16);
}

INTN
EFIAPI
StrCmp (
  IN CONST CHAR16 *FirstString,
  IN CONST CHAR16 *SecondString
  )
{
  return StringCompare (FirstString, SecondString, MAX_UINTN);
}

INTN
EFIAPI
StrnCmp (
  IN CONST CHAR16 *FirstString,
  IN CONST CHAR16 *SecondString,
  IN UINTN        Length
  )
{
  return StringCompare (FirstString, SecondString, Length);
}

RETURN_STATUS
EFIAPI
StrCpyS (
  OUT CHAR16       *Destination,
  IN  UINTN        DestMax,
  IN  CONST CHAR16 *Source
  )
{
  return StringCopyAt (Destination, DestMax, Source, MAX_UINTN, FALSE);
}

RETURN_STATUS
EFIAPI
StrnCpyS (
  OUT CHAR16       *Destination,
  IN  UINTN        DestMax,
  IN  CONST CHAR16 *Source,
  IN  UINTN        Length
  )
{
  return StringCopyAt (Destination, DestMax, Source, Length, FALSE);
}

RETURN_STATUS
EFIAPI
StrCatS (
  IN OUT CHAR16       *Destination,
  IN     UINTN        DestMax,
  IN     CONST CHAR16 *Source
  )
{
  return StringCopyAt (Destination, DestMax, Source, MAX_UINTN, TRUE);
}

CHAR16 *
EFIAPI
StrStr (
  IN CONST CHAR16 *String,
  IN CONST CHAR16 *SearchString
  )
{
  return StringSearch (String, SearchString);
}

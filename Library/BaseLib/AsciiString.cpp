/** @file
  CHAR8 string length, comparison and safe copies.
**/
#include <Library/BaseLib.h>

#include "StringTemplates.h"

using namespace BaseLibInternal;

UINTN
EFIAPI
AsciiStrLen (
  IN CONST CHAR8 *String
  )
{
  return StringLength (String);
}

UINTN
EFIAPI
AsciiStrnLenS (
  IN CONST CHAR8 *String,
  IN UINTN       MaxSize
  )
{
  return StringLengthLimited (String, MaxSize);
}

UINTN
EFIAPI
AsciiStrSize (
  IN CONST CHAR8 *String
  )
{
  return (StringLength (String) + 1) * sizeof (CHAR8);
}

INTN
EFIAPI
AsciiStrCmp (
  IN CONST CHAR8 *FirstString,
  IN CONST CHAR8 *SecondString
  )
{
  return StringCompare (FirstString, SecondString, MAX_UINTN);
}

INTN
EFIAPI
AsciiStrnCmp (
  IN CONST CHAR8 *FirstString,
  IN CONST CHAR8 *SecondString,
  IN UINTN       Length
  )
{
  return StringCompare (FirstString, SecondString, Length);
}

RETURN_STATUS
EFIAPI
AsciiStrCpyS (
  OUT CHAR8       *Destination,
  IN  UINTN       DestMax,
  IN  CONST CHAR8 *Source
  )
{
  return StringCopyAt (Destination, DestMax, Source, MAX_UINTN, FALSE);
}

RETURN_STATUS
EFIAPI
AsciiStrnCpyS (
  OUT CHAR8       *Destination,
  IN  UINTN       DestMax,
  IN  CONST CHAR8 *Source,
  IN  UINTN       Length
  )
{
  return StringCopyAt (Destination, DestMax, Source, Length, FALSE);
}

RETURN_STATUS
EFIAPI
AsciiStrCatS (
  IN OUT CHAR8       *Destination,
  IN     UINTN       DestMax,
  IN     CONST CHAR8 *Source
  )
{
  return StringCopyAt (Destination, DestMax, Source, MAX_UINTN, TRUE);
}

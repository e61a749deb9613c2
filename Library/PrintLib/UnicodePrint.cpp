/** @file
  Formatted print into CHAR16 buffers. BufferSize counts bytes.
**/
#include <Library/PrintLib.h>

#include "PrintEngine.h"

using PrintLibInternal::FormatToBuffer;

UINTN
EFIAPI
UnicodeVSPrint (
  OUT CHAR16       *StartOfBuffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR16 *FormatString,
  IN  VA_LIST      Marker
  )
{
  return FormatToBuffer (StartOfBuffer, BufferSize / sizeof (CHAR16), FormatString, Marker);
}

UINTN
EFIAPI
UnicodeSPrint (
  OUT CHAR16       *StartOfBuffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR16 *FormatString,
  ...
  )
{
  VA_LIST  Marker;
  UINTN    Count;

  VA_START (Marker, FormatString);
  Count = UnicodeVSPrint (StartOfBuffer, BufferSize, FormatString, Marker);
  VA_END (Marker);
  return Count;
}

UINTN
EFIAPI
UnicodeVSPrintAsciiFormat (
  OUT CHAR16      *StartOfBuffer,
  IN  UINTN       BufferSize,
  IN  CONST CHAR8 *FormatString,
  IN  VA_LIST     Marker
  )
{
  return FormatToBuffer (StartOfBuffer, BufferSize / sizeof (CHAR16), FormatString, Marker);
}

UINTN
EFIAPI
UnicodeSPrintAsciiFormat (
  OUT CHAR16      *StartOfBuffer,
  IN  UINTN       BufferSize,
  IN  CONST CHAR8 *FormatString,
  ...
  )
{
  VA_LIST  Marker;
  UINTN    Count;

  VA_START (Marker, FormatString);
  Count = UnicodeVSPrintAsciiFormat (StartOfBuffer, BufferSize, FormatString, Marker);
  VA_END (Marker);
  return Count;
}

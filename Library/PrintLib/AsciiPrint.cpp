/** @file
  Formatted print into CHAR8 buffers. BufferSize counts bytes.
**/
#include <Library/PrintLib.h>

#include "PrintEngine.h"

using PrintLibInternal::FormatToBuffer;

UINTN
EFIAPI
AsciiVSPrint (
  OUT CHAR8       *StartOfBuffer,
  IN  UINTN       BufferSize,
  IN  CONST CHAR8 *FormatString,
  IN  VA_LIST     Marker
  )
{
  return FormatToBuffer (StartOfBuffer, BufferSize, FormatString, Marker);
}

UINTN
EFIAPI
AsciiSPrint (
  OUT CHAR8       *StartOfBuffer,
  IN  UINTN       BufferSize,
  IN  CONST CHAR8 *FormatString,
  ...
  )
{
  VA_LIST  Marker;
  UINTN    Count;

  VA_START (Marker, FormatString);
  Count = AsciiVSPrint (StartOfBuffer, BufferSize, FormatString, Marker);
  VA_END (Marker);
  return Count;
}

UINTN
EFIAPI
AsciiVSPrintUnicodeFormat (
  OUT CHAR8        *StartOfBuffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR16 *FormatString,
  IN  VA_LIST      Marker
  )
{
  return FormatToBuffer (StartOfBuffer, BufferSize, FormatString, Marker);
}

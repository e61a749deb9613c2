/** @file
  EDK II-style formatted print. Conversions: %d %u %x %X take 32-bit values,
  an l or L prefix makes them 64-bit; %s is CHAR16 text, %a CHAR8 text, %c a
  character, %r an EFI_STATUS, %g a GUID pointer, %p a pointer, %% a percent.
  Flags: '-' left justify, '0' zero pad, ',' thousands, ' ' and '+' sign,
  width and precision as numbers or '*'. Sizes count bytes, NUL included; the
  output is always NUL-terminated when the size allows one character.
**/
#ifndef LIBRARY_PRINT_LIB_H_
#define LIBRARY_PRINT_LIB_H_

#include <Uefi/UefiBaseType.h>

UINTN EFIAPI UnicodeVSPrint (OUT CHAR16 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR16 *FormatString, IN VA_LIST Marker);
UINTN EFIAPI UnicodeSPrint (OUT CHAR16 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR16 *FormatString, ...);
UINTN EFIAPI UnicodeVSPrintAsciiFormat (OUT CHAR16 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR8 *FormatString, IN VA_LIST Marker);
UINTN EFIAPI UnicodeSPrintAsciiFormat (OUT CHAR16 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR8 *FormatString, ...);
UINTN EFIAPI AsciiVSPrint (OUT CHAR8 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR8 *FormatString, IN VA_LIST Marker);
UINTN EFIAPI AsciiSPrint (OUT CHAR8 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR8 *FormatString, ...);
UINTN EFIAPI AsciiVSPrintUnicodeFormat (OUT CHAR8 *StartOfBuffer, IN UINTN BufferSize, IN CONST CHAR16 *FormatString, IN VA_LIST Marker);

// EDK II's text for a status ("Success", "Not Found", ...), or NULL when the
// value has none.
CONST CHAR8 *EFIAPI StatusToString (IN EFI_STATUS Status);

#endif

/** @file
  Decimal and hexadecimal text to numbers. Leading blanks are skipped,
  reading stops at the first character that is not a digit, and a value
  too large for the result reads as its maximum.
**/
#include <Library/BaseLib.h>

#include "StringTemplates.h"

using namespace BaseLibInternal;

UINTN
EFIAPI
StrDecimalToUintn (
  IN CONST CHAR16 *String
  )
{
  return StringToUint64 (String, 10);
}

UINT64
EFIAPI
StrDecimalToUint64 (
  IN CONST CHAR16 *String
  )
{
  return StringToUint64 (String, 10);
}

// An optional "0x" or "0X" prefix is accepted.
UINTN
EFIAPI
StrHexToUintn (
  IN CONST CHAR16 *String
  )
{
  return StringToUint64 (String, 16);
}

UINTN
EFIAPI
AsciiStrDecimalToUintn (
  IN CONST CHAR8 *String
  )
{
  return StringToUint64 (String, 10);
}

/** @file
  Splitting texts at a delimiter and reading unsigned numbers from text.
**/
#ifndef NVM_DIMM_CONFIG_TEXT_PARSE_H_
#define NVM_DIMM_CONFIG_TEXT_PARSE_H_

#include <Uefi.h>

// Decimal, or hex with a "0x" prefix; refuses a leading '-' and overflow.
BOOLEAN EFIAPI GetU64FromString (IN CONST CHAR16 *Text, OUT UINT64 *Value);

// A new array of new strings, one per delimited part (a trailing delimiter
// ends the last part); free it with FreeStringArray.
CHAR16 **EFIAPI StrSplit (IN CONST CHAR16 *Text, IN CHAR16 Delimiter, OUT UINT32 *Count);
// Takes the text before the first delimiter as a new string and moves the
// rest to the front of *Cursor's buffer (which it empties without one).
CHAR16 *EFIAPI StrTok (IN OUT CHAR16 **Cursor, IN CHAR16 Delimiter);
VOID EFIAPI FreeStringArray (IN CHAR16 **Array, IN UINT32 Count);

#endif

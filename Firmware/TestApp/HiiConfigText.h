/** @file
  Configuration-string text for the HII scenario: building requests and
  reading the block items of a router's response, on the test's side, so
  that what OVMF answers is read without our own HII library.
**/
#ifndef HII_CONFIG_TEXT_H_
#define HII_CONFIG_TEXT_H_

#include "../Common/FwCommon.h"

// Appends Source to Text, which holds Max characters with its NUL; FALSE
// (Text unchanged) when the result would not fit.
BOOLEAN
ConfigAppend (
  IN OUT CHAR16        *Text,
  IN     UINTN         Max,
  IN     CONST CHAR16  *Source
  );

BOOLEAN
ConfigStartsWith (
  IN CONST CHAR16  *Text,
  IN CONST CHAR16  *Prefix
  );

// The first occurrence of Pattern in Text, or NULL.
CONST CHAR16 *
ConfigFind (
  IN CONST CHAR16  *Text,
  IN CONST CHAR16  *Pattern
  );

// Decodes the "&OFFSET=o&WIDTH=w&VALUE=v" items of the response's first
// section (it ends where "&GUID=" starts the next one) into Block, setting
// Covered[i] for every byte written. VALUE is read most significant byte
// first, in lowercase hexadecimal, exactly two digits a byte. FALSE when an
// item is malformed, leaves the block or the section has no item.
BOOLEAN
ConfigDecodeBlocks (
  IN  CONST CHAR16  *Response,
  OUT UINT8         *Block,
  OUT BOOLEAN       *Covered,
  IN  UINTN         BlockSize
  );

// How many "&ALTCFG=" sections the response carries.
UINTN
ConfigCountAltCfg (
  IN CONST CHAR16  *Response
  );

// Logs Text as INFO lines of at most 160 characters, each starting with Label.
VOID
ConfigLogText (
  IN CONST CHAR8   *Label,
  IN CONST CHAR16  *Text
  );

#endif

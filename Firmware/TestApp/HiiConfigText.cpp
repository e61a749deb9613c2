/** @file
  Configuration-string text for the HII scenario.
**/
#include "HiiConfigText.h"
#include "TestReport.h"

#define LOG_CHUNK  160

namespace {

// A lowercase hexadecimal digit's value, or -1.
INTN
HexDigit (
  IN CHAR16  Character
  )
{
  if ((Character >= u'0') && (Character <= u'9')) {
    return Character - u'0';
  }

  if ((Character >= u'a') && (Character <= u'f')) {
    return Character - u'a' + 10;
  }

  return -1;
}

// Reads a hexadecimal number after Name ("&WIDTH="); returns the text after
// it, or NULL.
CONST CHAR16 *
ReadNumber (
  IN  CONST CHAR16  *Text,
  IN  CONST CHAR16  *Name,
  OUT UINTN         *Value
  )
{
  UINTN  Digits;

  if (!ConfigStartsWith (Text, Name)) {
    return NULL;
  }

  Text  += FwStrLen (Name);
  *Value = 0;
  for (Digits = 0; HexDigit (Text[Digits]) >= 0; Digits++) {
    if (Digits == 8) {
      return NULL;
    }

    *Value = (*Value << 4) | static_cast<UINTN> (HexDigit (Text[Digits]));
  }

  return (Digits == 0) ? NULL : Text + Digits;
}

}  // namespace

BOOLEAN
ConfigAppend (
  IN OUT CHAR16        *Text,
  IN     UINTN         Max,
  IN     CONST CHAR16  *Source
  )
{
  UINTN  Length = FwStrLen (Text);
  UINTN  Added  = FwStrLen (Source);

  if (Length + Added + 1 > Max) {
    return FALSE;
  }

  for (UINTN Index = 0; Index <= Added; Index++) {
    Text[Length + Index] = Source[Index];
  }

  return TRUE;
}

BOOLEAN
ConfigStartsWith (
  IN CONST CHAR16  *Text,
  IN CONST CHAR16  *Prefix
  )
{
  for ( ; *Prefix != 0; Text++, Prefix++) {
    if (*Text != *Prefix) {
      return FALSE;
    }
  }

  return TRUE;
}

CONST CHAR16 *
ConfigFind (
  IN CONST CHAR16  *Text,
  IN CONST CHAR16  *Pattern
  )
{
  for ( ; *Text != 0; Text++) {
    if (ConfigStartsWith (Text, Pattern)) {
      return Text;
    }
  }

  return NULL;
}

BOOLEAN
ConfigDecodeBlocks (
  IN  CONST CHAR16  *Response,
  OUT UINT8         *Block,
  OUT BOOLEAN       *Covered,
  IN  UINTN         BlockSize
  )
{
  CONST CHAR16  *At;
  CONST CHAR16  *End;
  UINTN         Offset;
  UINTN         Width;
  UINTN         Digits;

  for (UINTN Index = 0; Index < BlockSize; Index++) {
    Covered[Index] = FALSE;
  }

  At  = ConfigFind (Response, u"&OFFSET=");
  End = ConfigFind (Response + 1, u"&GUID=");
  if (End == NULL) {
    End = Response + FwStrLen (Response);
  }

  if ((At == NULL) || (At > End)) {
    return FALSE;
  }

  while (At < End) {
    At = ReadNumber (At, u"&OFFSET=", &Offset);
    At = (At != NULL) ? ReadNumber (At, u"&WIDTH=", &Width) : NULL;
    if ((At == NULL) || !ConfigStartsWith (At, u"&VALUE=") || (Width == 0) || (Offset + Width > BlockSize)) {
      return FALSE;
    }

    At += 7;
    for (Digits = 0; HexDigit (At[Digits]) >= 0; Digits++) {
    }

    if (Digits != 2 * Width) {
      return FALSE;
    }

    // The first pair of digits is the byte at the item's highest offset.
    for (UINTN Pair = 0; Pair < Width; Pair++) {
      UINTN  Byte = Offset + Width - 1 - Pair;

      Block[Byte]   = static_cast<UINT8> ((HexDigit (At[2 * Pair]) << 4) | HexDigit (At[2 * Pair + 1]));
      Covered[Byte] = TRUE;
    }

    At += Digits;
    if ((At != End) && !ConfigStartsWith (At, u"&OFFSET=")) {
      return FALSE;
    }
  }

  return TRUE;
}

UINTN
ConfigCountAltCfg (
  IN CONST CHAR16  *Response
  )
{
  UINTN  Count = 0;

  for (CONST CHAR16 *At = ConfigFind (Response, u"&ALTCFG="); At != NULL; At = ConfigFind (At + 1, u"&ALTCFG=")) {
    Count++;
  }

  return Count;
}

VOID
ConfigLogText (
  IN CONST CHAR8   *Label,
  IN CONST CHAR16  *Text
  )
{
  CHAR16  Chunk[LOG_CHUNK + 1];
  UINTN   Length = FwStrLen (Text);

  for (UINTN Start = 0; Start < Length; Start += LOG_CHUNK) {
    UINTN  Count = (Length - Start < LOG_CHUNK) ? Length - Start : LOG_CHUNK;

    for (UINTN Index = 0; Index < Count; Index++) {
      Chunk[Index] = Text[Start + Index];
    }

    Chunk[Count] = 0;
    TestInfo ("%a %s\n", Label, Chunk);
  }
}

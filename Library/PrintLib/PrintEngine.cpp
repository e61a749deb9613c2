/** @file
  The print engine. Conversions follow EDK II: %d %i %u %x %X read 32-bit
  values and 64-bit ones with an l or L prefix; %p reads a pointer; %c a
  CHAR16 (read as the UINT32 it is promoted to); %s and %S CHAR16 text, %a
  CHAR8 text; %g a GUID pointer; %r an EFI_STATUS. A '*' width or precision
  is read as a UINTN, so callers cast it: (UINTN)Width. Hex digits are
  upper case everywhere (%x, %X, %p, %g, unknown statuses), and %X and %p
  pad with zeros when given a width, as EDK II's do. An unknown
  conversion prints its own character. CHAR16 text printed to a CHAR8
  buffer shows characters above 0xFF as '?'.
**/
#include <Library/PrintLib.h>

#include "PrintEngine.h"

namespace PrintLibInternal {

namespace {

enum : UINT32 {
  FLAG_LEFT_JUSTIFY = 0x01,
  FLAG_ZERO_PAD     = 0x02,
  FLAG_PLUS_SIGN    = 0x04,
  FLAG_BLANK_SIGN   = 0x08,
  FLAG_COMMA        = 0x10,
  FLAG_LONG         = 0x20,
  FLAG_PRECISION    = 0x40,
};

struct PRINT_FIELD {
  UINT32    Flags;
  UINTN     Width;
  UINTN     Precision;
};

inline UINT32
CodeOf (
  IN CHAR8 Character
  )
{
  return static_cast<UINT8>(Character);
}

inline UINT32
CodeOf (
  IN CHAR16 Character
  )
{
  return Character;
}

// The output so far; characters past the last one that leaves room for the
// terminator are dropped.
template <typename OutChar>
struct PRINT_OUTPUT {
  OutChar    *Buffer;
  UINTN      Capacity;
  UINTN      Count;

  BOOLEAN
  IsFull (
    ) const
  {
    return (BOOLEAN)(Count + 1 >= Capacity);
  }

  VOID
  Put (
    IN UINT32 Code
    )
  {
    if (IsFull ()) {
      return;
    }

    if constexpr (sizeof (OutChar) == 1) {
      Buffer[Count++] = static_cast<OutChar>((Code <= 0xFF) ? Code : '?');
    } else {
      Buffer[Count++] = static_cast<OutChar>(Code);
    }
  }

  VOID
  Repeat (
    IN UINT32 Code,
    IN UINTN  Times
    )
  {
    for ( ; (Times > 0) && !IsFull (); Times--) {
      Put (Code);
    }
  }
};

template <typename OutChar, typename TextChar>
VOID
PutText (
  IN OUT PRINT_OUTPUT<OutChar> &Out,
  IN     CONST TextChar        *Text,
  IN     CONST PRINT_FIELD     &Field
  )
{
  UINTN  Limit;
  UINTN  Length;
  UINTN  Padding;

  Limit = ((Field.Flags & FLAG_PRECISION) != 0) ? Field.Precision : MAX_UINTN;
  for (Length = 0; (Length < Limit) && (Text[Length] != 0); Length++) {
  }

  Padding = (Field.Width > Length) ? Field.Width - Length : 0;
  if ((Field.Flags & FLAG_LEFT_JUSTIFY) == 0) {
    Out.Repeat (' ', Padding);
  }

  for (UINTN Index = 0; (Index < Length) && !Out.IsFull (); Index++) {
    Out.Put (CodeOf (Text[Index]));
  }

  if ((Field.Flags & FLAG_LEFT_JUSTIFY) != 0) {
    Out.Repeat (' ', Padding);
  }
}

// Digits of Value, least significant first, with a comma between groups of
// three when asked. Returns the characters stored.
UINTN
ReversedDigits (
  IN  UINT64  Value,
  IN  UINT32  Radix,
  IN  BOOLEAN UpperCase,
  IN  BOOLEAN Commas,
  OUT CHAR8   *Digits,
  OUT UINTN   *DigitCount
  )
{
  CONST CHAR8  *Set;
  UINTN        Stored;

  Set         = UpperCase ? "0123456789ABCDEF" : "0123456789abcdef";
  Stored      = 0;
  *DigitCount = 0;
  do {
    if (Commas && (*DigitCount > 0) && (*DigitCount % 3 == 0)) {
      Digits[Stored++] = ',';
    }

    Digits[Stored++] = Set[Value % Radix];
    (*DigitCount)++;
    Value /= Radix;
  } while (Value != 0);

  return Stored;
}

template <typename OutChar>
VOID
PutNumber (
  IN OUT PRINT_OUTPUT<OutChar> &Out,
  IN     UINT64                Magnitude,
  IN     BOOLEAN               Negative,
  IN     UINT32                Radix,
  IN     BOOLEAN               UpperCase,
  IN     CONST PRINT_FIELD     &Field
  )
{
  CHAR8   Digits[32];
  UINTN   DigitCount;
  UINTN   Stored;
  UINT32  Sign;
  UINTN   Zeros;
  UINTN   Total;
  UINTN   Padding;

  Stored = ReversedDigits (Magnitude, Radix, UpperCase, (BOOLEAN)((Field.Flags & FLAG_COMMA) != 0), Digits, &DigitCount);

  Sign = 0;
  if (Negative) {
    Sign = '-';
  } else if ((Field.Flags & FLAG_PLUS_SIGN) != 0) {
    Sign = '+';
  } else if ((Field.Flags & FLAG_BLANK_SIGN) != 0) {
    Sign = ' ';
  }

  // A precision is the least number of digits; without one, zero padding
  // fills the width.
  Total = Stored + ((Sign != 0) ? 1 : 0);
  Zeros = 0;
  if ((Field.Flags & FLAG_PRECISION) != 0) {
    Zeros = (Field.Precision > DigitCount) ? Field.Precision - DigitCount : 0;
  } else if ((Field.Flags & (FLAG_ZERO_PAD | FLAG_LEFT_JUSTIFY)) == FLAG_ZERO_PAD) {
    Zeros = (Field.Width > Total) ? Field.Width - Total : 0;
  }

  Total  += Zeros;
  Padding = (Field.Width > Total) ? Field.Width - Total : 0;
  if ((Field.Flags & FLAG_LEFT_JUSTIFY) == 0) {
    Out.Repeat (' ', Padding);
  }

  if (Sign != 0) {
    Out.Put (Sign);
  }

  Out.Repeat ('0', Zeros);
  while (Stored > 0) {
    Out.Put (CodeOf (Digits[--Stored]));
  }

  if ((Field.Flags & FLAG_LEFT_JUSTIFY) != 0) {
    Out.Repeat (' ', Padding);
  }
}

// xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx from the GUID's bytes: the first
// three fields are little-endian numbers, Data4 is printed in memory order.
// Read byte by byte because a GUID inside a packed structure may be
// unaligned.
VOID
GuidToText (
  IN  CONST EFI_GUID *Guid,
  OUT CHAR8          Text[37]
  )
{
  STATIC CONST UINT8  ByteOrder[16] = { 3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15 };
  CONST UINT8         *Bytes;
  UINTN               Stored;

  Bytes  = reinterpret_cast<CONST UINT8 *>(Guid);
  Stored = 0;
  for (UINTN Index = 0; Index < 16; Index++) {
    if ((Index == 4) || (Index == 6) || (Index == 8) || (Index == 10)) {
      Text[Stored++] = '-';
    }

    UINT8  Byte = Bytes[ByteOrder[Index]];
    Text[Stored++] = "0123456789ABCDEF"[Byte >> 4];
    Text[Stored++] = "0123456789ABCDEF"[Byte & 0xF];
  }

  Text[Stored] = 0;
}

// A status without a name: its value as 16 upper-case hex digits.
VOID
StatusToHexText (
  IN  EFI_STATUS Status,
  OUT CHAR8      Text[17]
  )
{
  for (UINTN Index = 0; Index < 16; Index++) {
    Text[15 - Index] = "0123456789ABCDEF"[(Status >> (Index * 4)) & 0xF];
  }

  Text[16] = 0;
}

}  // namespace

template <typename OutChar, typename FormatChar>
UINTN
FormatToBuffer (
  OUT OutChar          *Buffer,
  IN  UINTN            Capacity,
  IN  CONST FormatChar *Format,
  IN  VA_LIST          Marker
  )
{
  PRINT_OUTPUT<OutChar>  Out;
  VA_LIST                Args;
  UINTN                  Index;

  if ((Buffer == NULL) || (Capacity == 0)) {
    return 0;
  }

  Out.Buffer   = Buffer;
  Out.Capacity = Capacity;
  Out.Count    = 0;
  if (Format == NULL) {
    Buffer[0] = 0;
    return 0;
  }

  VA_COPY (Args, Marker);
  for (Index = 0; (Format[Index] != 0) && !Out.IsFull (); ) {
    UINT32  Character = CodeOf (Format[Index++]);
    if (Character != '%') {
      Out.Put (Character);
      continue;
    }

    // Flags, width and precision in any order up to the conversion.
    PRINT_FIELD  Field       = { 0, 0, 0 };
    BOOLEAN      InPrecision = FALSE;
    for ( ; ; ) {
      Character = CodeOf (Format[Index]);
      if (((Character >= '1') && (Character <= '9')) || ((Character == '0') && InPrecision)) {
        UINTN  Number = 0;
        while ((Character >= '0') && (Character <= '9')) {
          Number    = Number * 10 + (Character - '0');
          Character = CodeOf (Format[++Index]);
        }

        *(InPrecision ? &Field.Precision : &Field.Width) = Number;
        continue;
      }

      if (Character == '-') {
        Field.Flags |= FLAG_LEFT_JUSTIFY;
      } else if (Character == '+') {
        Field.Flags |= FLAG_PLUS_SIGN;
      } else if (Character == ' ') {
        Field.Flags |= FLAG_BLANK_SIGN;
      } else if (Character == ',') {
        Field.Flags |= FLAG_COMMA;
      } else if (Character == '0') {
        Field.Flags |= FLAG_ZERO_PAD;
      } else if ((Character == 'l') || (Character == 'L')) {
        Field.Flags |= FLAG_LONG;
      } else if (Character == '.') {
        InPrecision      = TRUE;
        Field.Flags     |= FLAG_PRECISION;
        Field.Precision  = 0;
      } else if (Character == '*') {
        *(InPrecision ? &Field.Precision : &Field.Width) = VA_ARG (Args, UINTN);
      } else {
        break;
      }

      Index++;
    }

    if (Character == 0) {
      break;
    }

    Index++;
    BOOLEAN  Long = (BOOLEAN)((Field.Flags & FLAG_LONG) != 0);
    switch (Character) {
      case 'd':
      case 'i':
      {
        INT64  Value = Long ? VA_ARG (Args, INT64) : VA_ARG (Args, INT32);
        if ((Field.Flags & FLAG_COMMA) != 0) {
          Field.Flags &= ~(FLAG_ZERO_PAD | FLAG_PRECISION);
        }

        UINT64  Magnitude = static_cast<UINT64>(Value);
        PutNumber (Out, (Value < 0) ? 0 - Magnitude : Magnitude, (BOOLEAN)(Value < 0), 10, FALSE, Field);
        break;
      }

      case 'u':
      {
        UINT64  Value = Long ? VA_ARG (Args, UINT64) : VA_ARG (Args, UINT32);
        Field.Flags &= ~(FLAG_PLUS_SIGN | FLAG_BLANK_SIGN);
        if ((Field.Flags & FLAG_COMMA) != 0) {
          Field.Flags &= ~(FLAG_ZERO_PAD | FLAG_PRECISION);
        }

        PutNumber (Out, Value, FALSE, 10, FALSE, Field);
        break;
      }

      case 'x':
      case 'X':
      case 'p':
      {
        UINT64  Value;
        if (Character == 'p') {
          Value = reinterpret_cast<UINTN>(VA_ARG (Args, VOID *));
        } else {
          Value = Long ? VA_ARG (Args, UINT64) : VA_ARG (Args, UINT32);
        }

        Field.Flags &= ~(FLAG_PLUS_SIGN | FLAG_BLANK_SIGN | FLAG_COMMA);
        if (Character != 'x') {
          Field.Flags |= FLAG_ZERO_PAD;
        }

        PutNumber (Out, Value, FALSE, 16, TRUE, Field);
        break;
      }

      case 'c':
      {
        CHAR16  Text[2] = { static_cast<CHAR16>(VA_ARG (Args, UINT32)), 0 };
        PutText (Out, Text, Field);
        break;
      }

      case 's':
      case 'S':
      {
        CONST CHAR16  *Text = VA_ARG (Args, CONST CHAR16 *);
        if (Text == NULL) {
          PutText (Out, "<null string>", Field);
        } else {
          PutText (Out, Text, Field);
        }

        break;
      }

      case 'a':
      {
        CONST CHAR8  *Text = VA_ARG (Args, CONST CHAR8 *);
        PutText (Out, (Text == NULL) ? "<null string>" : Text, Field);
        break;
      }

      case 'g':
      {
        CONST EFI_GUID  *Guid = VA_ARG (Args, CONST EFI_GUID *);
        CHAR8           Text[37];
        if (Guid == NULL) {
          PutText (Out, "<null guid>", Field);
        } else {
          GuidToText (Guid, Text);
          PutText (Out, Text, Field);
        }

        break;
      }

      case 'r':
      {
        EFI_STATUS   Status = VA_ARG (Args, EFI_STATUS);
        CONST CHAR8  *Name  = StatusToString (Status);
        CHAR8        Text[17];
        if (Name == NULL) {
          StatusToHexText (Status, Text);
          Name = Text;
        }

        PutText (Out, Name, Field);
        break;
      }

      default:
      {
        // "%%" and conversions this engine does not know print themselves.
        CHAR16  Text[2] = { static_cast<CHAR16>(Character), 0 };
        PutText (Out, Text, Field);
        break;
      }
    }
  }

  VA_END (Args);
  Buffer[Out.Count] = 0;
  return Out.Count;
}

template UINTN FormatToBuffer<CHAR16, CHAR16>(CHAR16 *, UINTN, CONST CHAR16 *, VA_LIST);
template UINTN FormatToBuffer<CHAR16, CHAR8>(CHAR16 *, UINTN, CONST CHAR8 *, VA_LIST);
template UINTN FormatToBuffer<CHAR8, CHAR8>(CHAR8 *, UINTN, CONST CHAR8 *, VA_LIST);
template UINTN FormatToBuffer<CHAR8, CHAR16>(CHAR8 *, UINTN, CONST CHAR16 *, VA_LIST);

}  // namespace PrintLibInternal

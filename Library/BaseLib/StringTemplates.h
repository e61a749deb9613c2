/** @file
  The string routines once, for CHAR8 and CHAR16 alike. Each public
  function is a thin wrapper over one of these.
**/
#ifndef BASE_LIB_STRING_TEMPLATES_H_
#define BASE_LIB_STRING_TEMPLATES_H_

#include <Uefi/UefiBaseType.h>

namespace BaseLibInternal {

// A character's code as an unsigned number (CHAR8 may be signed).
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

template <typename CharT>
UINTN
StringLength (
  IN CONST CharT *String
  )
{
  UINTN  Length;

  if (String == NULL) {
    return 0;
  }

  for (Length = 0; String[Length] != 0; Length++) {
  }

  return Length;
}

template <typename CharT>
UINTN
StringLengthLimited (
  IN CONST CharT *String,
  IN UINTN       MaxSize
  )
{
  UINTN  Length;

  if (String == NULL) {
    return 0;
  }

  for (Length = 0; (Length < MaxSize) && (String[Length] != 0); Length++) {
  }

  return Length;
}

// Unsigned difference of the first characters that differ, at most Length
// characters compared.
template <typename CharT>
INTN
StringCompare (
  IN CONST CharT *First,
  IN CONST CharT *Second,
  IN UINTN       Length
  )
{
  for (UINTN Index = 0; Index < Length; Index++) {
    UINT32  A = CodeOf (First[Index]);
    UINT32  B = CodeOf (Second[Index]);
    if ((A != B) || (A == 0)) {
      return static_cast<INTN>(A) - static_cast<INTN>(B);
    }
  }

  return 0;
}

// TRUE when [A, A + CountA) and [B, B + CountB) share a character.
template <typename CharA, typename CharB>
BOOLEAN
Overlaps (
  IN CONST CharA *A,
  IN UINTN       CountA,
  IN CONST CharB *B,
  IN UINTN       CountB
  )
{
  UINTN  StartA = reinterpret_cast<UINTN>(A);
  UINTN  StartB = reinterpret_cast<UINTN>(B);
  UINTN  EndA   = StartA + CountA * sizeof (CharA);
  UINTN  EndB   = StartB + CountB * sizeof (CharB);

  return (BOOLEAN)((StartA < EndB) && (StartB < EndA));
}

// The safe copy and concatenation share one shape: check, then copy
// CopyLength characters of Source at Destination[Offset], then terminate.
// Every failure leaves an empty destination when there is room for one.
template <typename CharT>
RETURN_STATUS
StringCopyAt (
  OUT CharT         *Destination,
  IN  UINTN         DestMax,
  IN  CONST CharT   *Source,
  IN  UINTN         Length,
  IN  BOOLEAN       Append
  )
{
  RETURN_STATUS  Status;
  UINTN          Offset;
  UINTN          SourceLength;

  if ((Destination == NULL) || (DestMax == 0)) {
    return EFI_INVALID_PARAMETER;
  }

  Status = EFI_SUCCESS;
  Offset = 0;
  if (Source == NULL) {
    Status = EFI_INVALID_PARAMETER;
  } else if (Append) {
    Offset = StringLengthLimited (Destination, DestMax);
    if (Offset == DestMax) {
      // No terminator inside DestMax: not a string this call may extend.
      Status = EFI_BAD_BUFFER_SIZE;
    }
  }

  if (Status == EFI_SUCCESS) {
    UINTN  Room = DestMax - Offset;
    SourceLength = StringLengthLimited (Source, (Length < Room) ? Length : Room);
    if (SourceLength >= Room) {
      Status = EFI_BUFFER_TOO_SMALL;
    } else if (Overlaps (Destination, DestMax, Source, SourceLength + 1)) {
      Status = EFI_ACCESS_DENIED;
    }
  }

  if (Status != EFI_SUCCESS) {
    Destination[0] = 0;
    return Status;
  }

  for (UINTN Index = 0; Index < SourceLength; Index++) {
    Destination[Offset + Index] = Source[Index];
  }

  Destination[Offset + SourceLength] = 0;
  return EFI_SUCCESS;
}

template <typename CharT>
CharT *
StringSearch (
  IN CONST CharT *String,
  IN CONST CharT *SearchString
  )
{
  if ((String == NULL) || (SearchString == NULL)) {
    return NULL;
  }

  for (CONST CharT *Start = String; ; Start++) {
    UINTN  Index;
    for (Index = 0; (SearchString[Index] != 0) && (Start[Index] == SearchString[Index]); Index++) {
    }

    if (SearchString[Index] == 0) {
      // The result points into the caller's own string, as C's strstr does.
      return const_cast<CharT *>(Start);
    }

    if (*Start == 0) {
      return NULL;
    }
  }
}

template <typename CharT>
BOOLEAN
IsBlank (
  IN CharT Character
  )
{
  return (BOOLEAN)((Character == ' ') || (Character == '\t'));
}

// Leading blanks skipped, digits read until the first other character;
// a value that does not fit saturates at MAX_UINT64.
template <typename CharT>
UINT64
StringToUint64 (
  IN CONST CharT *String,
  IN UINT32      Radix
  )
{
  UINT64  Value;

  if (String == NULL) {
    return 0;
  }

  while (IsBlank (*String)) {
    String++;
  }

  if ((Radix == 16) && (String[0] == '0') && ((String[1] == 'x') || (String[1] == 'X'))) {
    String += 2;
  }

  Value = 0;
  for ( ; ; String++) {
    UINT32  Digit;
    UINT32  Character = CodeOf (*String);
    if ((Character >= '0') && (Character <= '9')) {
      Digit = Character - '0';
    } else if ((Radix == 16) && (Character >= 'a') && (Character <= 'f')) {
      Digit = Character - 'a' + 10;
    } else if ((Radix == 16) && (Character >= 'A') && (Character <= 'F')) {
      Digit = Character - 'A' + 10;
    } else {
      break;
    }

    if (Value > (MAX_UINT64 - Digit) / Radix) {
      return MAX_UINT64;
    }

    Value = Value * Radix + Digit;
  }

  return Value;
}

}  // namespace BaseLibInternal

#endif

/** @file
  String and list routines for CHAR8 and CHAR16 text.
**/
#ifndef LIBRARY_BASE_LIB_H_
#define LIBRARY_BASE_LIB_H_

#include <Uefi/UefiBaseType.h>

UINTN EFIAPI StrLen (IN CONST CHAR16 *String);
UINTN EFIAPI StrnLenS (IN CONST CHAR16 *String, IN UINTN MaxSize);
UINTN EFIAPI StrSize (IN CONST CHAR16 *String);
INTN EFIAPI StrCmp (IN CONST CHAR16 *FirstString, IN CONST CHAR16 *SecondString);
INTN EFIAPI StrnCmp (IN CONST CHAR16 *FirstString, IN CONST CHAR16 *SecondString, IN UINTN Length);
// Safe copies: DestMax counts characters, NUL included. On error the
// destination holds an empty string (when DestMax > 0).
RETURN_STATUS EFIAPI StrCpyS (OUT CHAR16 *Destination, IN UINTN DestMax, IN CONST CHAR16 *Source);
RETURN_STATUS EFIAPI StrnCpyS (OUT CHAR16 *Destination, IN UINTN DestMax, IN CONST CHAR16 *Source, IN UINTN Length);
RETURN_STATUS EFIAPI StrCatS (IN OUT CHAR16 *Destination, IN UINTN DestMax, IN CONST CHAR16 *Source);
CHAR16 *EFIAPI StrStr (IN CONST CHAR16 *String, IN CONST CHAR16 *SearchString);
UINTN EFIAPI StrDecimalToUintn (IN CONST CHAR16 *String);
UINT64 EFIAPI StrDecimalToUint64 (IN CONST CHAR16 *String);
UINTN EFIAPI StrHexToUintn (IN CONST CHAR16 *String);

UINTN EFIAPI AsciiStrLen (IN CONST CHAR8 *String);
UINTN EFIAPI AsciiStrnLenS (IN CONST CHAR8 *String, IN UINTN MaxSize);
UINTN EFIAPI AsciiStrSize (IN CONST CHAR8 *String);
INTN EFIAPI AsciiStrCmp (IN CONST CHAR8 *FirstString, IN CONST CHAR8 *SecondString);
INTN EFIAPI AsciiStrnCmp (IN CONST CHAR8 *FirstString, IN CONST CHAR8 *SecondString, IN UINTN Length);
RETURN_STATUS EFIAPI AsciiStrCpyS (OUT CHAR8 *Destination, IN UINTN DestMax, IN CONST CHAR8 *Source);
RETURN_STATUS EFIAPI AsciiStrnCpyS (OUT CHAR8 *Destination, IN UINTN DestMax, IN CONST CHAR8 *Source, IN UINTN Length);
RETURN_STATUS EFIAPI AsciiStrCatS (IN OUT CHAR8 *Destination, IN UINTN DestMax, IN CONST CHAR8 *Source);
UINTN EFIAPI AsciiStrDecimalToUintn (IN CONST CHAR8 *String);

// Conversions between ASCII and UCS-2. DestMax counts characters, NUL
// included. Unicode to ASCII fails with RETURN_INVALID_PARAMETER on a
// character above 0xFF, as EDK II does.
RETURN_STATUS EFIAPI AsciiStrToUnicodeStrS (IN CONST CHAR8 *Source, OUT CHAR16 *Destination, IN UINTN DestMax);
RETURN_STATUS EFIAPI UnicodeStrToAsciiStrS (IN CONST CHAR16 *Source, OUT CHAR8 *Destination, IN UINTN DestMax);

// Lists.
LIST_ENTRY *EFIAPI InitializeListHead (IN OUT LIST_ENTRY *ListHead);
LIST_ENTRY *EFIAPI InsertHeadList (IN OUT LIST_ENTRY *ListHead, IN OUT LIST_ENTRY *Entry);
LIST_ENTRY *EFIAPI InsertTailList (IN OUT LIST_ENTRY *ListHead, IN OUT LIST_ENTRY *Entry);
LIST_ENTRY *EFIAPI GetFirstNode (IN CONST LIST_ENTRY *List);
LIST_ENTRY *EFIAPI GetNextNode (IN CONST LIST_ENTRY *List, IN CONST LIST_ENTRY *Node);
BOOLEAN EFIAPI IsListEmpty (IN CONST LIST_ENTRY *ListHead);
BOOLEAN EFIAPI IsNull (IN CONST LIST_ENTRY *List, IN CONST LIST_ENTRY *Node);
LIST_ENTRY *EFIAPI RemoveEntryList (IN CONST LIST_ENTRY *Entry);
UINTN EFIAPI GetListLength (IN CONST LIST_ENTRY *ListHead);

#define INITIALIZE_LIST_HEAD_VARIABLE(ListHead)  { &(ListHead), &(ListHead) }

#endif

/** @file
  Service tables, debug console output and text helpers.
**/
#include "FwCommon.h"

#define QEMU_DEBUG_CONSOLE_PORT  0x402

EFI_HANDLE            gFwImageHandle = NULL;
EFI_SYSTEM_TABLE      *gFwST         = NULL;
EFI_BOOT_SERVICES     *gFwBS         = NULL;
EFI_RUNTIME_SERVICES  *gFwRT         = NULL;

VOID
FwInitialize (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  gFwImageHandle = ImageHandle;
  gFwST          = SystemTable;
  gFwBS          = SystemTable->BootServices;
  gFwRT          = SystemTable->RuntimeServices;
}

VOID
FwDebugPortWrite (
  IN CONST CHAR8  *Text
  )
{
  for ( ; *Text != 0; Text++) {
    __asm__ __volatile__ ("outb %b0, %w1" : : "a" (*Text), "Nd" (static_cast<UINT16> (QEMU_DEBUG_CONSOLE_PORT)));
  }
}

VOID
FwLog (
  IN CONST CHAR8  *Format,
  ...
  )
{
  CHAR8    Line[512];
  VA_LIST  Args;

  VA_START (Args, Format);
  FwVSPrint (Line, sizeof (Line), Format, Args);
  VA_END (Args);
  FwDebugPortWrite (Line);
}

UINTN
FwStrLen (
  IN CONST CHAR16  *Text
  )
{
  UINTN  Length;

  for (Length = 0; Text[Length] != 0; Length++) {
  }

  return Length;
}

BOOLEAN
FwStrEqual (
  IN CONST CHAR16  *First,
  IN CONST CHAR16  *Second
  )
{
  for ( ; *First != 0 && *First == *Second; First++, Second++) {
  }

  return (BOOLEAN)(*First == *Second);
}

BOOLEAN
FwAsciiEqual (
  IN CONST CHAR8  *First,
  IN CONST CHAR8  *Second
  )
{
  for ( ; *First != 0 && *First == *Second; First++, Second++) {
  }

  return (BOOLEAN)(*First == *Second);
}

BOOLEAN
FwGuidEqual (
  IN CONST EFI_GUID  *First,
  IN CONST EFI_GUID  *Second
  )
{
  CONST UINT8  *Left  = reinterpret_cast<CONST UINT8 *> (First);
  CONST UINT8  *Right = reinterpret_cast<CONST UINT8 *> (Second);

  for (UINTN Index = 0; Index < sizeof (EFI_GUID); Index++) {
    if (Left[Index] != Right[Index]) {
      return FALSE;
    }
  }

  return TRUE;
}

CONST CHAR16 *
FwParseUint64 (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value
  )
{
  UINT64   Result;
  UINT32   Base;
  UINT32   Digit;
  BOOLEAN  Any;

  while (*Text == u' ' || *Text == u',') {
    Text++;
  }

  Base = 10;
  if (Text[0] == u'0' && (Text[1] == u'x' || Text[1] == u'X')) {
    Base  = 16;
    Text += 2;
  }

  Result = 0;
  Any    = FALSE;
  for ( ; ; Text++) {
    if (*Text >= u'0' && *Text <= u'9') {
      Digit = static_cast<UINT32> (*Text - u'0');
    } else if (Base == 16 && *Text >= u'a' && *Text <= u'f') {
      Digit = static_cast<UINT32> (*Text - u'a' + 10);
    } else if (Base == 16 && *Text >= u'A' && *Text <= u'F') {
      Digit = static_cast<UINT32> (*Text - u'A' + 10);
    } else {
      break;
    }

    Result = Result * Base + Digit;
    Any    = TRUE;
  }

  if (!Any) {
    return NULL;
  }

  *Value = Result;
  return Text;
}

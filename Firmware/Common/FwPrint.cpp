/** @file
  A small formatter for report lines; see FwVSPrint in FwCommon.h.
**/
#include "FwCommon.h"

namespace {

struct OUTPUT {
  CHAR8  *Buffer;
  UINTN  Size;
  UINTN  Length;
};

VOID
PutChar (
  IN OUT OUTPUT  *Out,
  IN     CHAR8   Character
  )
{
  if (Out->Length + 1 < Out->Size) {
    Out->Buffer[Out->Length++] = Character;
  }
}

VOID
PutNumber (
  IN OUT OUTPUT   *Out,
  IN     UINT64   Value,
  IN     UINT32   Base,
  IN     BOOLEAN  Negative,
  IN     UINTN    Width,
  IN     CHAR8    Pad
  )
{
  CHAR8  Digits[24];
  UINTN  Count;

  Count = 0;
  do {
    Digits[Count++] = "0123456789abcdef"[Value % Base];
    Value          /= Base;
  } while (Value != 0);

  if (Negative) {
    Digits[Count++] = '-';
  }

  for (UINTN Fill = Count; Fill < Width; Fill++) {
    PutChar (Out, Pad);
  }

  while (Count > 0) {
    PutChar (Out, Digits[--Count]);
  }
}

CONST CHAR8 *
StatusName (
  IN EFI_STATUS  Status
  )
{
  STATIC CONST struct {
    EFI_STATUS   Status;
    CONST CHAR8  *Name;
  } mNames[] = {
    { EFI_SUCCESS,           "Success"              },
    { EFI_LOAD_ERROR,        "Load Error"           },
    { EFI_INVALID_PARAMETER, "Invalid Parameter"    },
    { EFI_UNSUPPORTED,       "Unsupported"          },
    { EFI_BAD_BUFFER_SIZE,   "Bad Buffer Size"      },
    { EFI_BUFFER_TOO_SMALL,  "Buffer Too Small"     },
    { EFI_NOT_READY,         "Not Ready"            },
    { EFI_DEVICE_ERROR,      "Device Error"         },
    { EFI_WRITE_PROTECTED,   "Write Protected"      },
    { EFI_OUT_OF_RESOURCES,  "Out of Resources"     },
    { EFI_NOT_FOUND,         "Not Found"            },
    { EFI_ACCESS_DENIED,     "Access Denied"        },
    { EFI_SECURITY_VIOLATION, "Security Violation"  },
    { EFI_ABORTED,           "Aborted"              },
  };

  for (UINTN Index = 0; Index < ARRAY_SIZE (mNames); Index++) {
    if (mNames[Index].Status == Status) {
      return mNames[Index].Name;
    }
  }

  return NULL;
}

}  // namespace

UINTN
FwVSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  IN  VA_LIST      Args
  )
{
  OUTPUT  Out = { Buffer, BufferSize, 0 };

  for ( ; *Format != 0; Format++) {
    if (*Format != '%') {
      PutChar (&Out, *Format);
      continue;
    }

    Format++;
    CHAR8  Pad = ' ';
    if (*Format == '0') {
      Pad = '0';
      Format++;
    }

    UINTN  Width = 0;
    for ( ; *Format >= '0' && *Format <= '9'; Format++) {
      Width = Width * 10 + static_cast<UINTN> (*Format - '0');
    }

    BOOLEAN  Long = FALSE;
    if (*Format == 'l') {
      Long = TRUE;
      Format++;
    }

    switch (*Format) {
      case 'a': {
        CONST CHAR8  *Text = VA_ARG (Args, CONST CHAR8 *);
        for (Text = (Text == NULL) ? "(null)" : Text; *Text != 0; Text++) {
          PutChar (&Out, *Text);
        }

        break;
      }
      case 's': {
        CONST CHAR16  *Text = VA_ARG (Args, CONST CHAR16 *);
        for (Text = (Text == NULL) ? u"(null)" : Text; *Text != 0; Text++) {
          PutChar (&Out, (*Text < 0x80) ? static_cast<CHAR8> (*Text) : '?');
        }

        break;
      }
      case 'c':
        PutChar (&Out, static_cast<CHAR8> (VA_ARG (Args, int)));
        break;
      case 'u':
      case 'x': {
        UINT64  Value = Long ? VA_ARG (Args, UINT64) : VA_ARG (Args, UINT32);
        PutNumber (&Out, Value, (*Format == 'x') ? 16 : 10, FALSE, Width, Pad);
        break;
      }
      case 'd': {
        INT64  Value = Long ? VA_ARG (Args, INT64) : VA_ARG (Args, INT32);
        PutNumber (&Out, (Value < 0) ? 0 - static_cast<UINT64> (Value) : static_cast<UINT64> (Value), 10, Value < 0, Width, Pad);
        break;
      }
      case 'r': {
        // A known status by name, any other in hex.
        EFI_STATUS   Status = VA_ARG (Args, EFI_STATUS);
        CONST CHAR8  *Name  = StatusName (Status);
        if (Name != NULL) {
          for ( ; *Name != 0; Name++) {
            PutChar (&Out, *Name);
          }
        } else {
          PutChar (&Out, '0');
          PutChar (&Out, 'x');
          PutNumber (&Out, Status, 16, FALSE, 0, ' ');
        }

        break;
      }
      case 'g': {
        CONST EFI_GUID  *Guid = VA_ARG (Args, CONST EFI_GUID *);
        PutNumber (&Out, Guid->Data1, 16, FALSE, 8, '0');
        PutChar (&Out, '-');
        PutNumber (&Out, Guid->Data2, 16, FALSE, 4, '0');
        PutChar (&Out, '-');
        PutNumber (&Out, Guid->Data3, 16, FALSE, 4, '0');
        PutChar (&Out, '-');
        for (UINTN Index = 0; Index < 8; Index++) {
          if (Index == 2) {
            PutChar (&Out, '-');
          }

          PutNumber (&Out, Guid->Data4[Index], 16, FALSE, 2, '0');
        }

        break;
      }
      case '%':
        PutChar (&Out, '%');
        break;
      default:
        // An unknown conversion prints as written, so the mistake shows.
        PutChar (&Out, '%');
        if (*Format == 0) {
          Format--;
        } else {
          PutChar (&Out, *Format);
        }

        break;
    }
  }

  if (BufferSize > 0) {
    Buffer[Out.Length] = 0;
  }

  return Out.Length;
}

UINTN
FwSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  ...
  )
{
  VA_LIST  Args;
  UINTN    Length;

  VA_START (Args, Format);
  Length = FwVSPrint (Buffer, BufferSize, Format, Args);
  VA_END (Args);
  return Length;
}

/** @file
  Capacity texts for the forms and typed capacities back to bytes, firmware
  version and persistent memory type texts.
**/
#include "Convert.h"
#include "TextParse.h"
#include "Utility.h"
#include <Library/BaseLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>

// 2^64 as a double: the first value that no longer fits in a UINT64.
#define TWO_POW_64  18446744073709551616.0

STATIC
UINT16
GetBestDisplayUnits (
  IN UINT64  Bytes
  )
{
  if (Bytes >= BYTES_PER_TIB) {
    return CAPACITY_UNITS_TIB;
  }

  if (Bytes >= BYTES_PER_GIB) {
    return CAPACITY_UNITS_GIB;
  }

  if (Bytes >= BYTES_PER_MIB) {
    return CAPACITY_UNITS_MIB;
  }

  return CAPACITY_UNITS_B;
}

// Binary units are shown with the decimal unit names.
STATIC
CONST CHAR16 *
GetUnitsText (
  IN UINT16  Units
  )
{
  switch (Units) {
    case CAPACITY_UNITS_B:
      return u"B";
    case CAPACITY_UNITS_MB:
    case CAPACITY_UNITS_MIB:
      return u"MB";
    case CAPACITY_UNITS_GB:
    case CAPACITY_UNITS_GIB:
      return u"GB";
    case CAPACITY_UNITS_TB:
    case CAPACITY_UNITS_TIB:
      return u"TB";
    default:
      return u"NA";
  }
}

// First Digits decimal digits of Value's fraction, truncated, not rounded.
STATIC
UINT32
GetFractionDigits (
  IN double  Value,
  IN UINT32  Digits
  )
{
  double  Fraction;

  Fraction = Value - (double)(UINT64)Value;
  for (UINT32 Index = 0; Index < Digits; Index++) {
    Fraction *= 10;
  }

  return (UINT32)Fraction;
}

EFI_STATUS
EFIAPI
ConvertCapacityPerUnits (
  IN  UINT64  Bytes,
  IN  UINT16  Units,
  OUT double  *Value
  )
{
  EFI_STATUS  Status;
  double      Result;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = EFI_SUCCESS;
  Result = (double)Bytes;
  if (Value == NULL) {
    Status = EFI_INVALID_PARAMETER;
  } else {
    switch (Units) {
      case CAPACITY_UNITS_B:
        break;
      case CAPACITY_UNITS_MB:
        Result = Result / 1000000.0;
        break;
      case CAPACITY_UNITS_MIB:
        Result = Result * 0x1p-20;
        break;
      case CAPACITY_UNITS_GB:
        Result = Result / 1000000000.0;
        break;
      case CAPACITY_UNITS_GIB:
        Result = Result * 0x1p-30;
        break;
      case CAPACITY_UNITS_TB:
        Result = Result / 1000000.0 / 1000000.0;
        break;
      case CAPACITY_UNITS_TIB:
        Result = Result * 0x1p-20 * 0x1p-20;
        break;
      default:
        Status = EFI_INVALID_PARAMETER;
        break;
    }

    if (!EFI_ERROR (Status)) {
      *Value = Result;
    }
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
ConvertCapacityToStr (
  IN  UINT64  Bytes,
  OUT CHAR16  *Buffer,
  IN  UINTN   BufferSize
  )
{
  EFI_STATUS  Status;
  UINT16      Units;
  double      Value;
  UINT64      Integer;
  UINT32      Digit;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Units = GetBestDisplayUnits (Bytes);
  if (Units == CAPACITY_UNITS_B) {
    UnicodeSPrint (Buffer, BufferSize, u"%ld %s", Bytes, GetUnitsText (Units));
    Status = EFI_SUCCESS;
  } else {
    Value  = 0;
    Status = ConvertCapacityPerUnits (Bytes, Units, &Value);
    if (!EFI_ERROR (Status)) {
      Integer = (UINT64)Value;
      Digit   = GetFractionDigits (Value, 1);
      UnicodeSPrint (Buffer, BufferSize, u"%ld%s%d %s", Integer, u".", Digit, GetUnitsText (Units));
    }
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SafeCapacityConversionToBytes (
  IN  double  Value,
  IN  UINT64  Multiplier,
  OUT UINT64  *Bytes
  )
{
  EFI_STATUS  Status;

  NVDIMM_ENTRY ();

  // A negative or NaN value has no byte count, and a product that rounds up
  // to 2^64 does not fit either.
  if ((Multiplier == 0) || (Bytes == NULL) || !(Value >= 0)) {
    Status = EFI_INVALID_PARAMETER;
  } else if ((Value > (double)(MAX_UINT64 / Multiplier)) || ((Value * (double)Multiplier) >= TWO_POW_64)) {
    Status = EFI_BAD_BUFFER_SIZE;
  } else {
    *Bytes = (UINT64)(Value * (double)Multiplier);
    Status = EFI_SUCCESS;
  }

  NVDIMM_EXIT_I64 (Status);
  return Status;
}

EFI_STATUS
EFIAPI
ConvertToBytes (
  IN  double  Value,
  IN  UINT16  Units,
  OUT UINT64  *Bytes
  )
{
  EFI_STATUS  Status;

  NVDIMM_ENTRY ();

  if (Bytes == NULL) {
    Status = EFI_INVALID_PARAMETER;
  } else {
    switch (Units) {
      case CAPACITY_UNITS_B:
        // Whole bytes as typed; a value beyond 64 bits has no byte count.
        if (!(Value >= 0)) {
          Status = EFI_INVALID_PARAMETER;
        } else if (Value >= TWO_POW_64) {
          Status = EFI_BAD_BUFFER_SIZE;
        } else {
          *Bytes = (UINT64)Value;
          Status = EFI_SUCCESS;
        }

        break;
      case CAPACITY_UNITS_MB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_MB, Bytes);
        break;
      case CAPACITY_UNITS_MIB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_MIB, Bytes);
        break;
      case CAPACITY_UNITS_GB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_GB, Bytes);
        break;
      case CAPACITY_UNITS_GIB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_GIB, Bytes);
        break;
      case CAPACITY_UNITS_TB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_TB, Bytes);
        break;
      case CAPACITY_UNITS_TIB:
        Status = SafeCapacityConversionToBytes (Value, BYTES_PER_TIB, Bytes);
        break;
      default:
        Status = EFI_INVALID_PARAMETER;
        break;
    }
  }

  NVDIMM_EXIT_I64 (Status);
  return Status;
}

CHAR16 *
EFIAPI
GetDecimalSeparator (
  IN EFI_HII_HANDLE  HiiHandle
  )
{
  // The setup string package's separator, always in en-US: typed capacities
  // are parsed the same way whatever language the browser shows.
  return HiiGetString (HiiHandle, STR_DECIMAL_SEPARATOR, "en-US");
}

EFI_STATUS
EFIAPI
StringToDouble (
  IN     EFI_HII_HANDLE  HiiHandle,
  IN OUT CHAR16          *Text,
  OUT    double          *Value
  )
{
  EFI_STATUS  Status;
  CHAR16      *pSeparator;
  CHAR16      **ppParts;
  UINT32      PartCount;
  UINT64      Integer;
  UINT64      Fraction;
  double      FractionValue;
  UINTN       Last;

  NVDIMM_ENTRY ();

  pSeparator = NULL;
  ppParts    = NULL;
  PartCount  = 0;
  Status     = EFI_SUCCESS;

  if ((Text == NULL) || (Value == NULL)) {
    Status = EFI_INVALID_PARAMETER;
    goto Finish;
  }

  pSeparator = GetDecimalSeparator (HiiHandle);
  if ((pSeparator == NULL) || (pSeparator[0] == u'\0')) {
    Status = EFI_NOT_FOUND;
    goto Finish;
  }

  while ((*Text == u' ') || (*Text == u'\t')) {
    Text++;
  }

  // Trailing fraction zeros carry nothing; the separator stops the walk.
  if ((Text[0] != u'\0') && (StrStr (Text, pSeparator) != NULL)) {
    for (Last = StrLen (Text) - 1; Text[Last] == u'0'; Last--) {
      Text[Last] = u'\0';
    }
  }

  ppParts = StrSplit (Text, pSeparator[0], &PartCount);
  if ((ppParts == NULL) || (PartCount < 1) || (PartCount > 2)) {
    Status = EFI_INVALID_PARAMETER;
    goto Finish;
  }

  Integer  = 0;
  Fraction = 0;
  if (!GetU64FromString (ppParts[0], &Integer) ||
      ((PartCount == 2) && !GetU64FromString (ppParts[1], &Fraction)))
  {
    Status = EFI_INVALID_PARAMETER;
    goto Finish;
  }

  *Value = (double)Integer;
  if (PartCount == 2) {
    // Each character of the fraction is one decimal place, leading zeros too.
    FractionValue = (double)Fraction;
    for (UINTN Index = StrLen (ppParts[1]); Index > 0; Index--) {
      FractionValue *= 0.1;
    }

    *Value += FractionValue;
  }

Finish:
  FreeStringArray (ppParts, PartCount);
  if (pSeparator != NULL) {
    FreePool (pSeparator);
  }

  NVDIMM_EXIT_I64 (Status);
  return Status;
}

EFI_STATUS
EFIAPI
ConvertCapacityStrToBytes (
  IN     EFI_HII_HANDLE  HiiHandle,
  IN     UINT8           Units,
  IN OUT CHAR16          *Text,
  OUT    UINT64          *Bytes
  )
{
  EFI_STATUS  Status;
  double      Value;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Value  = 0;
  Status = StringToDouble (HiiHandle, Text, &Value);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:StringToDouble %r\n", __func__, Status));
  } else {
    Status = ConvertToBytes (Value, Units, Bytes);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a:ConvertToBytes %r\n", __func__, Status));
    }
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

UINT64
EFIAPI
Pow (
  IN UINT64  Base,
  IN UINT32  Exponent
  )
{
  UINT64  Result;

  NVDIMM_ENTRY ();

  Result = 1;
  if (Exponent > 0) {
    Result = Base;
    for (UINT32 Index = 1; Index < Exponent; Index++) {
      Result *= Base;
    }
  }

  NVDIMM_EXIT_I64 (Result);
  return Result;
}

VOID
EFIAPI
ConvertFwVersion (
  OUT CHAR16  *Out,
  IN  UINT8   Field1,
  IN  UINT8   Field2,
  IN  UINT8   Field3,
  IN  UINT16  Field4
  )
{
  // Room for the longest text, "255.255.255.65535"; formatted here rather
  // than in pool so that a module's version never goes missing for want of
  // memory.
  CHAR16  Text[24];

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (Out != NULL) {
    if ((Field1 == 0) && (Field2 == 0) && (Field3 == 0) && (Field4 == 0)) {
      UnicodeSPrint (Text, sizeof (Text), u"N/A");
    } else {
      UnicodeSPrint (Text, sizeof (Text), u"%02d.%02d.%02d.%04d", (INT32)Field1, (INT32)Field2, (INT32)Field3, (INT32)Field4);
    }

    StrnCpyS (Out, FW_VERSION_CHARS, Text, FW_VERSION_CHARS - 1);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit\n", __func__));
}

EFI_STATUS
EFIAPI
ConvertPersistentMemoryTypeToStr (
  IN  UINT8         TypeMask,
  IN  CONST CHAR16  *Text1,
  IN  CONST CHAR16  *Text2,
  OUT CHAR16        **Out
  )
{
  EFI_STATUS  Status;
  BOOLEAN     First;
  BOOLEAN     Second;
  UINTN       Chars;
  CHAR16      *pText;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  First  = (TypeMask & PERSISTENT_MEMORY_TYPE_APP_DIRECT) != 0;
  Second = (TypeMask & PERSISTENT_MEMORY_TYPE_APP_DIRECT_NI) != 0;
  if ((Text1 == NULL) || (Text2 == NULL) || (Out == NULL) || (!First && !Second)) {
    Status = EFI_INVALID_PARAMETER;
  } else {
    Chars = 1;
    if (First) {
      Chars += StrLen (Text1);
    }

    if (Second) {
      Chars += StrLen (Text2) + (First ? 2 : 0);
    }

    pText = (CHAR16 *)AllocateZeroPool (Chars * sizeof (CHAR16));
    if (pText == NULL) {
      Status = EFI_OUT_OF_RESOURCES;
    } else {
      if (First) {
        StrCatS (pText, Chars, Text1);
      }

      if (Second) {
        if (First) {
          StrCatS (pText, Chars, u", ");
        }

        StrCatS (pText, Chars, Text2);
      }

      *Out   = pText;
      Status = EFI_SUCCESS;
    }
  }

  DEBUG ((DEBUG_WARN, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

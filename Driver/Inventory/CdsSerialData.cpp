/** @file
  Packing named items into the component data storage's serial record.
**/
#include "CdsSerialData.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

#define CDS_MAX_UINT32  0xFFFFFFFFu

typedef struct {
  UINTN     MaxItems;
  UINTN     Count;
  UINT32    TotalSize;  // the count field and every item added so far
  CDS_ITEM  **Items;
} CDS_COLLECTOR;

STATIC CDS_COLLECTOR  *mCdsCollector;

// Extra bytes an entity adds over the one character it replaces, or 0.
STATIC
UINTN
XmlEntityGrowth (
  IN CHAR8  Character
  )
{
  switch (Character) {
    case '"':
    case '\'':
      return 5;  // &quot; &apos;
    case '&':
      return 4;  // &amp;
    case '<':
    case '>':
      return 3;  // &lt; &gt;
    default:
      return 0;
  }
}

CHAR8 *
EFIAPI
GenXmlLegalText (
  IN  CONST CHAR8  *Text,
  OUT UINT32       *Size
  )
{
  CHAR8        *Legal;
  CONST CHAR8  *Entity;
  UINTN        Length;
  UINTN        Index;
  UINTN        Out;
  UINT8        Byte;

  if (Text == NULL || Size == NULL) {
    DEBUG ((DEBUG_ERROR, "%a: Input is NULL\n", __func__));
    return NULL;
  }
  // The size is known before anything is written, so the copy is made once
  // at its exact length.
  Length = 1;
  for (Index = 0; Text[Index] != 0; Index++) {
    Length += 1 + XmlEntityGrowth (Text[Index]);
  }
  if (Length > CDS_MAX_UINT32) {
    DEBUG ((DEBUG_ERROR, "%a: Out of Memory.\n", __func__));
    return NULL;
  }
  Legal = (CHAR8 *)AllocateZeroPool (Length);
  if (Legal == NULL) {
    DEBUG ((DEBUG_ERROR, "%a: Out of Memory.\n", __func__));
    return NULL;
  }
  Out = 0;
  for (Index = 0; Text[Index] != 0; Index++) {
    switch (Text[Index]) {
      case '"':  Entity = "&quot;"; break;
      case '&':  Entity = "&amp;";  break;
      case '\'': Entity = "&apos;"; break;
      case '<':  Entity = "&lt;";   break;
      case '>':  Entity = "&gt;";   break;
      default:   Entity = NULL;     break;
    }
    if (Entity != NULL) {
      while (*Entity != 0) {
        Legal[Out++] = *Entity++;
      }
      continue;
    }
    Byte = (UINT8)Text[Index];
    if ((Byte < 0x20 && Byte != '\t' && Byte != '\n' && Byte != '\r') || Byte >= 0x7F) {
      Legal[Out++] = ' ';
    } else {
      Legal[Out++] = (CHAR8)Byte;
    }
  }
  *Size = (UINT32)Length;
  return Legal;
}

// Width of a value of a fixed-size type, or 0 for types without one.
STATIC
UINT32
CdsFixedWidth (
  IN UINT32  Type
  )
{
  switch (Type) {
    case CDS_ITEM_TYPE_BYTES16: return 16;
    case CDS_ITEM_TYPE_UINT16:  return 2;
    case CDS_ITEM_TYPE_UINT8:   return 1;
    case CDS_ITEM_TYPE_UINT32:  return 4;
    case CDS_ITEM_TYPE_UINT64:  return 8;
    case CDS_ITEM_TYPE_BYTE:    return 1;
    default:                    return 0;
  }
}

VOID
EFIAPI
CdsFreeItem (
  IN CDS_ITEM  *Item OPTIONAL
  )
{
  if (Item == NULL) {
    return;
  }
  if (Item->Name != NULL) {
    FreePool (Item->Name);
  }
  if (Item->Value != NULL) {
    FreePool (Item->Value);
  }
  FreePool (Item);
}

CDS_ITEM *
EFIAPI
CdsPackSingleItem (
  IN UINT32       Type,
  IN UINT32       Attribute,
  IN CONST CHAR8  *Name,
  IN CONST VOID   *Value,
  IN UINT32       Size
  )
{
  CDS_ITEM  *Item;
  UINTN     NameLength;
  UINT32    Width;
  UINT64    Total;

  if (Name == NULL || Type > CDS_ITEM_TYPE_RAW) {
    return NULL;
  }
  Width = Type == CDS_ITEM_TYPE_RAW ? Size : CdsFixedWidth (Type);
  if (Value == NULL && (Type == CDS_ITEM_TYPE_TEXT || Width != 0)) {
    return NULL;
  }
  NameLength = AsciiStrLen (Name);
  Item       = (CDS_ITEM *)AllocateZeroPool (sizeof (CDS_ITEM));
  if (Item != NULL) {
    Item->Name = (CHAR8 *)AllocateCopyPool (NameLength + 1, Name);
  }
  if (Item == NULL || Item->Name == NULL) {
    DEBUG ((DEBUG_ERROR, "%a: Out of Memory. ToPackData's Name = %a\n", __func__, Name));
    CdsFreeItem (Item);
    return NULL;
  }

  if (Type == CDS_ITEM_TYPE_TEXT) {
    Item->Value = GenXmlLegalText ((CONST CHAR8 *)Value, &Width);
    if (Item->Value == NULL) {
      DEBUG ((DEBUG_ERROR, "%a: Fail to GenXmlLegalText.\n", __func__));
      CdsFreeItem (Item);
      return NULL;
    }
  } else if (Width != 0) {
    Item->Value = AllocateCopyPool (Width, Value);
    if (Item->Value == NULL) {
      DEBUG ((DEBUG_ERROR, "%a: Out of Memory.\n", __func__));
      CdsFreeItem (Item);
      return NULL;
    }
  }

  // An item's size is a UINT32 on the wire.
  Total = (UINT64)Width + NameLength + CDS_ITEM_OVERHEAD;
  if (Total > CDS_MAX_UINT32) {
    CdsFreeItem (Item);
    return NULL;
  }
  Item->TotalSize = (UINT32)Total;
  Item->Type      = Type;
  Item->Attribute = Attribute;
  Item->ValueSize = Width;
  return Item;
}

STATIC
VOID
CdsFreeCollector (
  VOID
  )
{
  UINTN  Index;

  if (mCdsCollector == NULL) {
    return;
  }
  for (Index = 0; Index < mCdsCollector->Count; Index++) {
    CdsFreeItem (mCdsCollector->Items[Index]);
  }
  if (mCdsCollector->Items != NULL) {
    FreePool (mCdsCollector->Items);
  }
  FreePool (mCdsCollector);
  mCdsCollector = NULL;
}

EFI_STATUS
EFIAPI
CdsInitSerialData (
  IN UINTN  MaxItems
  )
{
  CdsFreeCollector ();
  if (MaxItems == 0 || MaxItems > CDS_MAX_ITEMS) {
    return EFI_INVALID_PARAMETER;
  }
  mCdsCollector = (CDS_COLLECTOR *)AllocateZeroPool (sizeof (CDS_COLLECTOR));
  if (mCdsCollector == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  mCdsCollector->Items = (CDS_ITEM **)AllocateZeroPool (MaxItems * sizeof (CDS_ITEM *));
  if (mCdsCollector->Items == NULL) {
    CdsFreeCollector ();
    return EFI_OUT_OF_RESOURCES;
  }
  mCdsCollector->MaxItems  = MaxItems;
  mCdsCollector->TotalSize = CDS_SERIAL_HEADER_SIZE;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
CdsAddItem (
  IN UINT32       Type,
  IN UINT32       Attribute,
  IN CONST CHAR8  *Name,
  IN CONST VOID   *Value,
  IN UINT32       Size
  )
{
  CDS_ITEM  *Item;

  if (mCdsCollector == NULL) {
    return EFI_NOT_READY;
  }
  if (Name == NULL || Type > CDS_ITEM_TYPE_RAW) {
    return EFI_INVALID_PARAMETER;
  }
  if (mCdsCollector->Count == mCdsCollector->MaxItems) {
    return EFI_OUT_OF_RESOURCES;
  }
  Item = CdsPackSingleItem (Type, Attribute, Name, Value, Size);
  if (Item == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (Item->TotalSize > CDS_MAX_UINT32 - mCdsCollector->TotalSize) {
    CdsFreeItem (Item);
    return EFI_OUT_OF_RESOURCES;
  }
  mCdsCollector->Items[mCdsCollector->Count++] = Item;
  mCdsCollector->TotalSize                   += Item->TotalSize;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
CdsGetSerialData (
  OUT VOID    **Buffer,
  OUT UINT32  *Size
  )
{
  UINT8     *Serial;
  UINT8     *Cursor;
  UINT64    Count;
  UINTN     Index;
  UINTN     NameSize;
  CDS_ITEM  *Item;

  if (Buffer == NULL || Size == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  *Buffer = NULL;
  *Size   = 0;
  if (mCdsCollector == NULL) {
    return EFI_NOT_READY;
  }
  Serial = (UINT8 *)AllocateZeroPool (mCdsCollector->TotalSize);
  if (Serial == NULL) {
    CdsFreeCollector ();
    return EFI_OUT_OF_RESOURCES;
  }
  Count = mCdsCollector->Count;
  CopyMem (Serial, &Count, sizeof (Count));
  Cursor = Serial + CDS_SERIAL_HEADER_SIZE;
  for (Index = 0; Index < mCdsCollector->Count; Index++) {
    Item = mCdsCollector->Items[Index];
    CopyMem (Cursor, &Item->TotalSize, sizeof (UINT32));
    CopyMem (Cursor + 4, &Item->Type, sizeof (UINT32));
    CopyMem (Cursor + 8, &Item->Attribute, sizeof (UINT32));
    NameSize = Item->TotalSize - Item->ValueSize - CDS_ITEM_HEADER_SIZE;
    CopyMem (Cursor + CDS_ITEM_HEADER_SIZE, Item->Name, NameSize);
    if (Item->ValueSize != 0) {
      CopyMem (Cursor + CDS_ITEM_HEADER_SIZE + NameSize, Item->Value, Item->ValueSize);
    }
    Cursor += Item->TotalSize;
  }
  *Size   = mCdsCollector->TotalSize;
  *Buffer = Serial;
  CdsFreeCollector ();
  return EFI_SUCCESS;
}

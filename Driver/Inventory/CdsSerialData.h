/** @file
  The serial record of named items handed to the component data storage:
  items are packed one by one into a collector that keeps the running total
  size, then written out into one buffer of exactly that size.
**/
#ifndef INVENTORY_CDS_SERIAL_DATA_H_
#define INVENTORY_CDS_SERIAL_DATA_H_

#include <Uefi.h>
#include <Protocol/ComponentDataStorage.h>

// Items one module's record makes room for.
#define CDS_MAX_ITEMS  100

// One packed item before it is written out.
typedef struct {
  UINT32    TotalSize;  // value width + name length + CDS_ITEM_OVERHEAD
  UINT32    Type;
  UINT32    Attribute;
  UINT32    ValueSize;
  CHAR8     *Name;      // pool copy, NUL-terminated
  VOID      *Value;     // pool copy of ValueSize bytes
} CDS_ITEM;

// Starts a new record with room for MaxItems items (a record not taken with
// CdsGetSerialData is dropped). EFI_OUT_OF_RESOURCES when it cannot.
EFI_STATUS EFIAPI CdsInitSerialData (IN UINTN MaxItems);

// Packs one item and appends it to the record. Size is read for type
// CDS_ITEM_TYPE_RAW only; text values are escaped. EFI_NOT_READY without a
// record, EFI_INVALID_PARAMETER for an unknown type or a missing name or
// value, EFI_OUT_OF_RESOURCES when the item cannot be packed or the record
// is full. A refused item leaves the record as it was.
EFI_STATUS EFIAPI CdsAddItem (IN UINT32 Type, IN UINT32 Attribute, IN CONST CHAR8 *Name, IN CONST VOID *Value, IN UINT32 Size);

// Writes the record into one pool buffer the caller frees and releases the
// items and the collector. No record or no memory: *Buffer NULL, *Size 0.
EFI_STATUS EFIAPI CdsGetSerialData (OUT VOID **Buffer, OUT UINT32 *Size);

// One packed item (free it with CdsFreeItem), or NULL.
CDS_ITEM *EFIAPI CdsPackSingleItem (IN UINT32 Type, IN UINT32 Attribute, IN CONST CHAR8 *Name, IN CONST VOID *Value, IN UINT32 Size);
VOID EFIAPI CdsFreeItem (IN CDS_ITEM *Item OPTIONAL);

// A pool copy of Text that is legal XML character data: the five markup
// characters as entities, other control characters (but TAB, LF, CR) and
// bytes of 0x7F and above as spaces. *Size receives the copy's size with
// its NUL. NULL when Text or Size is missing or memory runs out.
CHAR8 *EFIAPI GenXmlLegalText (IN CONST CHAR8 *Text, OUT UINT32 *Size);

#endif

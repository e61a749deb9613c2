/** @file
  Inventory records in OVMF: PlatformDataDxe (the board configuration
  database over the embedded board, and the component data storage) loads
  with the vendor driver and the controller, before the driver. The
  driver's library constructor reads the board's DIMM map, slot 0 stores
  one record per module, and the application reads the records back from
  the storage and decodes them item by item.
**/
#include "Scenarios.h"
#include "Platform.h"
#include "TestReport.h"
#include <Board/PlatformData.h>
#include <Library/DebugLib.h>

#define BOARD_MODULES       12
#define BOARD_MODULE_BYTES  (128ULL << 30)

namespace {

CHAR16  mSlots[] = u"0 1 2";

// The items a record of the embedded board holds, in order.
CONST CHAR8  *mItemNames[] = {
  "CPUIndex", "iMCNum", "ChannelNum", "DimmNum", "Security State", "Capacity", "Memory Capacity",
  "App Direct Capacity", "Unconfigured Capacity", "Inaccessible Capacity", "Reserved Capacity",
  "Firmware Version", "Classification", "SoftwareID"
};

UINT64
ReadLittle (
  IN CONST UINT8  *Bytes,
  IN UINTN        Width
  )
{
  UINT64  Value;
  UINTN   Index;

  Value = 0;
  for (Index = Width; Index > 0; Index--) {
    Value = (Value << 8) | Bytes[Index - 1];
  }
  return Value;
}

// One decoded item: where its name and value sit in the record.
typedef struct {
  UINT32       Type;
  CONST CHAR8  *Name;
  CONST UINT8  *Value;
  UINT32       ValueSize;
} DECODED_ITEM;

// Decodes Record into Items; FALSE when an item does not fit the record.
BOOLEAN
DecodeRecord (
  IN  CONST CDS_RECORD  *Record,
  OUT DECODED_ITEM      *Items,
  IN  UINTN             MaxItems,
  OUT UINTN             *Count
  )
{
  UINT64  Items64;
  UINT32  At;
  UINT32  Total;
  UINT32  NameLength;
  UINTN   Index;

  if (Record->DataSize < 8 || Record->DataSize > CDS_MAX_RECORD_DATA) {
    return FALSE;
  }
  Items64 = ReadLittle (Record->Data, 8);
  if (Items64 > MaxItems) {
    return FALSE;
  }
  At = 8;
  for (Index = 0; Index < Items64; Index++) {
    if (Record->DataSize - At < 13) {
      return FALSE;
    }
    Total = (UINT32)ReadLittle (&Record->Data[At], 4);
    if (Total < 13 || Total > Record->DataSize - At) {
      return FALSE;
    }
    Items[Index].Type = (UINT32)ReadLittle (&Record->Data[At + 4], 4);
    Items[Index].Name = reinterpret_cast<CONST CHAR8 *> (&Record->Data[At + 12]);
    for (NameLength = 0; NameLength < Total - 12 && Items[Index].Name[NameLength] != 0; NameLength++) {
    }
    if (NameLength == Total - 12) {
      return FALSE;
    }
    Items[Index].Value     = &Record->Data[At + 12 + NameLength + 1];
    Items[Index].ValueSize = Total - 13 - NameLength;
    At                    += Total;
  }
  *Count = (UINTN)Items64;
  return At == Record->DataSize;
}

BOOLEAN
TextIs (
  IN CONST DECODED_ITEM  *Item,
  IN CONST CHAR8         *Expected
  )
{
  return Item->Type == CDS_ITEM_TYPE_TEXT && Item->ValueSize != 0 && Item->Value[Item->ValueSize - 1] == 0 &&
         FwAsciiEqual (reinterpret_cast<CONST CHAR8 *> (Item->Value), Expected);
}

// The record of slot Slot holds the embedded board's items and values.
BOOLEAN
RecordMatchesBoard (
  IN CONST CDS_RECORD  *Record,
  IN UINT64            Slot
  )
{
  DECODED_ITEM  Items[ARRAY_SIZE (mItemNames)];
  UINTN         Count;
  UINTN         Index;

  if (!DecodeRecord (Record, Items, ARRAY_SIZE (Items), &Count) || Count != ARRAY_SIZE (mItemNames)) {
    TestInfo ("slot %lu: the record does not decode into %u items\n", Slot, (UINT32)ARRAY_SIZE (mItemNames));
    return FALSE;
  }
  for (Index = 0; Index < Count; Index++) {
    if (!FwAsciiEqual (Items[Index].Name, mItemNames[Index])) {
      TestInfo ("slot %lu: item %u is %a\n", Slot, (UINT32)Index, Items[Index].Name);
      return FALSE;
    }
  }
  struct {
    CONST CHAR8  *What;
    BOOLEAN      Holds;
  } Checks[] = {
    { "storage arguments", Record->ComponentType == CDS_COMPONENT_TYPE_DIMM && Record->RecordClass == CDS_DIMM_RECORD_CLASS &&
                           Record->Scope == CDS_DIMM_RECORD_SCOPE && Record->Tag == CDS_DIMM_RECORD_TAG },
    { "CPUIndex", ReadLittle (Items[0].Value, 1) == (Slot - 1) / 6 },
    { "iMCNum", ReadLittle (Items[1].Value, 1) == ((Slot - 1) % 6) / 3 },
    { "ChannelNum", ReadLittle (Items[2].Value, 1) == (Slot - 1) % 3 },
    { "Capacity", ReadLittle (Items[5].Value, 8) == BOARD_MODULE_BYTES },
    { "App Direct Capacity", ReadLittle (Items[7].Value, 8) == BOARD_MODULE_BYTES },
    { "Firmware Version", TextIs (&Items[11], "01.02.00.5375") },
    { "Classification", ReadLittle (Items[12].Value, 2) == 10 },
    { "SoftwareID", TextIs (&Items[13], "534a0c01") },
  };
  for (Index = 0; Index < ARRAY_SIZE (Checks); Index++) {
    if (!Checks[Index].Holds) {
      TestInfo ("slot %lu: %a differs\n", Slot, Checks[Index].What);
      return FALSE;
    }
  }
  return TRUE;
}

}  // namespace

SCENARIO_RESULT
InventoryRecords (
  IN UINT32  Boot
  )
{
  PLATFORM_SETUP                    Setup = { 0x30, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };
  PLATFORM_DATA_HAND_OVER_PROTOCOL  *HandOver;
  EFI_HANDLE                        Driver;
  CDS_MODEL                         *Storage;
  UINT64                            Slot;
  UINTN                             Stored;
  UINTN                             Matching;
  UINTN                             Index;
  EFI_STATUS                        Status;

  (VOID)Boot;
  if (!PlatformBringUp (&Setup) || !PlatformStartDevices ()) {
    return ScenarioDone;
  }
  HandOver = NULL;
  Status   = gFwBS->LocateProtocol (&gPlatformDataHandOverProtocolGuid, NULL, reinterpret_cast<VOID **> (&HandOver));
  if (!TestExpect (!EFI_ERROR (Status) && HandOver != NULL && HandOver->Storage != NULL, "storage-reachable", "platform data hand-over: %r", Status)) {
    return ScenarioDone;
  }
  Storage = HandOver->Storage;
  TestExpect (Storage->CallCount == 0, "storage-empty-before-driver", "%u stores before the driver", Storage->CallCount);

  Status = PlatformLoadDriver (&Driver);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status)) {
    return ScenarioDone;
  }
  Status = gFwBS->StartImage (Driver, NULL, NULL);
  TestExpect (Status == EFI_SUCCESS, "entry-succeeds", "entry returned %r", Status);
  TestExpect (
    HandOver->Board->CallCount[BOARD_CALL_GET_DATA] == 1 && HandOver->Board->CallCount[BOARD_CALL_DIMM_MAP] == 1,
    "constructor-reads-board",
    "platform data read %u times, map %u times",
    HandOver->Board->CallCount[BOARD_CALL_GET_DATA],
    HandOver->Board->CallCount[BOARD_CALL_DIMM_MAP]
    );
  Status = PlatformDispatch (mSlots);
  // Post-complete answers Not Found when no out-of-band request was routed.
  TestExpect ((Status == EFI_SUCCESS) || (Status == EFI_NOT_FOUND), "end-of-post-slots", "slot 2 returned %r", Status);

  Stored   = 0;
  Matching = 0;
  for (Index = 0; Index < CDS_MAX_RECORDS; Index++) {
    if (Storage->Records[Index].Present) {
      Stored++;
    }
  }
  for (Slot = 1; Slot <= BOARD_MODULES; Slot++) {
    for (Index = 0; Index < CDS_MAX_RECORDS; Index++) {
      if (Storage->Records[Index].Present && Storage->Records[Index].KeyValue == Slot &&
          Storage->Records[Index].ComponentType == CDS_COMPONENT_TYPE_DIMM)
      {
        Matching += RecordMatchesBoard (&Storage->Records[Index], Slot) ? 1 : 0;
      }
    }
  }
  TestExpect (Stored == BOARD_MODULES, "twelve-records-stored", "%lu records stored", static_cast<UINT64> (Stored));
  TestExpect (Matching == BOARD_MODULES, "records-decode-as-board", "%lu of 12 records hold the board's items", static_cast<UINT64> (Matching));
  return ScenarioDone;
}

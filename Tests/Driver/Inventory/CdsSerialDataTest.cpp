// The inventory's serial record: item widths by type code, refused codes,
// XML escaping, the buffer's layout, allocation failures and the slot
// number read from a device locator.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "../FakePlatform.h"
#include <Inventory/CarvexInventory.h>
#include <Inventory/CdsSerialData.h>
#include <Library/UefiBootServicesTableLib.h>

namespace {

struct Item {
  UINT32       Total, Type, Attribute;
  std::string  Name;
  std::vector<UINT8>  Value;
};

// Reads a serial buffer back, checking that every item fits inside it.
std::vector<Item> Decode (const UINT8 *Data, UINT32 Size)
{
  std::vector<Item>  Items;
  UINT64             Count;
  std::memcpy (&Count, Data, 8);
  UINT32  At = 8;
  for (UINT64 Index = 0; Index < Count; Index++) {
    Item  I;
    EXPECT_LE (At + 12, Size);
    std::memcpy (&I.Total, Data + At, 4);
    std::memcpy (&I.Type, Data + At + 4, 4);
    std::memcpy (&I.Attribute, Data + At + 8, 4);
    EXPECT_LE (At + I.Total, Size);
    I.Name = reinterpret_cast<const char *> (Data + At + 12);
    const UINT32  ValueAt = At + 12 + static_cast<UINT32> (I.Name.size ()) + 1;
    I.Value.assign (Data + ValueAt, Data + At + I.Total);
    Items.push_back (I);
    At += I.Total;
  }
  EXPECT_EQ (At, Size) << "the buffer is exactly as long as its items";
  return Items;
}

std::vector<Item> TakeRecord ()
{
  VOID    *Buffer = nullptr;
  UINT32  Size    = 0;
  EXPECT_EQ (CdsGetSerialData (&Buffer, &Size), EFI_SUCCESS);
  std::vector<Item>  Items;
  if (Buffer != nullptr) {
    Items = Decode (static_cast<UINT8 *> (Buffer), Size);
    gBS->FreePool (Buffer);
  }
  return Items;
}

TEST (CdsSerialData, EveryTypeCode_WidthSizeAndBytes)
{
  FakePlatform  Fake;
  const UINT8   Bytes[32] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20 };
  struct Case {
    UINT32  Type;
    UINT32  GivenSize;  // read for type 7 only
    UINT32  Width;
  } Cases[] = {
    { CDS_ITEM_TYPE_BYTES16, 3,  16 },
    { CDS_ITEM_TYPE_UINT16,  30, 2  },
    { CDS_ITEM_TYPE_UINT8,   30, 1  },
    { CDS_ITEM_TYPE_UINT32,  0,  4  },
    { CDS_ITEM_TYPE_UINT64,  0,  8  },
    { CDS_ITEM_TYPE_BYTE,    9,  1  },
    { CDS_ITEM_TYPE_RAW,     20, 20 },
    { CDS_ITEM_TYPE_RAW,     0,  0  },
  };
  ASSERT_EQ (CdsInitSerialData (CDS_MAX_ITEMS), EFI_SUCCESS);
  for (const Case &C : Cases) {
    EXPECT_EQ (CdsAddItem (C.Type, CDS_ITEM_ATTRIBUTE, "Name", Bytes, C.GivenSize), EFI_SUCCESS) << C.Type;
  }
  const std::vector<Item>  Items = TakeRecord ();
  ASSERT_EQ (Items.size (), std::size (Cases));
  for (size_t Index = 0; Index < Items.size (); Index++) {
    SCOPED_TRACE ("type " + std::to_string (Cases[Index].Type));
    EXPECT_EQ (Items[Index].Type, Cases[Index].Type);
    EXPECT_EQ (Items[Index].Attribute, 1u);
    EXPECT_EQ (Items[Index].Name, "Name");
    EXPECT_EQ (Items[Index].Total, Cases[Index].Width + 4 + 13);
    EXPECT_EQ (Items[Index].Value, std::vector<UINT8> (Bytes, Bytes + Cases[Index].Width));
  }
  EXPECT_TRUE (Fake.Live.empty ()) << "items and collector are released";
}

TEST (CdsSerialData, UnknownTypeOrMissingArguments_ItemRefusedRecordKept)
{
  FakePlatform  Fake;
  const UINT8   Value = 7;
  ASSERT_EQ (CdsInitSerialData (CDS_MAX_ITEMS), EFI_SUCCESS);
  ASSERT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, "Kept", &Value, 0), EFI_SUCCESS);
  for (UINT32 Type : { 8u, 9u, 0x100u, 0xFFFFFFFFu }) {
    EXPECT_EQ (CdsAddItem (Type, 1, "Refused", &Value, 1), EFI_INVALID_PARAMETER) << Type;
    EXPECT_EQ (CdsPackSingleItem (Type, 1, "Refused", &Value, 1), nullptr) << Type;
  }
  EXPECT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, nullptr, &Value, 0), EFI_INVALID_PARAMETER);
  EXPECT_NE (CdsAddItem (CDS_ITEM_TYPE_UINT64, 1, "NoValue", nullptr, 0), EFI_SUCCESS);
  EXPECT_NE (CdsAddItem (CDS_ITEM_TYPE_TEXT, 1, "NoText", nullptr, 0), EFI_SUCCESS);
  const std::vector<Item>  Items = TakeRecord ();
  ASSERT_EQ (Items.size (), 1u);
  EXPECT_EQ (Items[0].Name, "Kept");
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (CdsSerialData, FullCollectorOrNoCollector_Refused)
{
  FakePlatform  Fake;
  const UINT8   Value = 1;
  EXPECT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, "Early", &Value, 0), EFI_NOT_READY);
  ASSERT_EQ (CdsInitSerialData (2), EFI_SUCCESS);
  EXPECT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, "A", &Value, 0), EFI_SUCCESS);
  EXPECT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, "B", &Value, 0), EFI_SUCCESS);
  EXPECT_EQ (CdsAddItem (CDS_ITEM_TYPE_UINT8, 1, "C", &Value, 0), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (TakeRecord ().size (), 2u);
  // The record was taken: nothing collects until the next one starts.
  VOID    *Buffer = &Fake;
  UINT32  Size    = 5;
  EXPECT_EQ (CdsGetSerialData (&Buffer, &Size), EFI_NOT_READY);
  EXPECT_EQ (Buffer, nullptr);
  EXPECT_EQ (Size, 0u);
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (CdsSerialData, XmlEscaping_EachCharacterAndItsSize)
{
  FakePlatform  Fake;
  struct Case {
    std::string  In, Out;
  } Cases[] = {
    { "a\"b", "a&quot;b" },
    { "a&b", "a&amp;b" },
    { "a'b", "a&apos;b" },
    { "a<b", "a&lt;b" },
    { "a>b", "a&gt;b" },
    { "tab\tlf\ncr\r", "tab\tlf\ncr\r" },
    { "x\x01y\x1Fz", "x y z" },
    { "del\x7F hi\x80\xFF", "del  hi  " },
    { "", "" },
    { "01.02.00.5375", "01.02.00.5375" },
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE (C.In);
    UINT32  Size  = 0;
    CHAR8   *Text = GenXmlLegalText (C.In.c_str (), &Size);
    ASSERT_NE (Text, nullptr);
    EXPECT_EQ (std::string (Text), C.Out);
    EXPECT_EQ (Size, C.Out.size () + 1);
    gBS->FreePool (Text);
  }
  // A text item's width is its escaped length and NUL: "&amp;" and "&lt;"
  // grow the item by 4 and 3 bytes.
  ASSERT_EQ (CdsInitSerialData (CDS_MAX_ITEMS), EFI_SUCCESS);
  ASSERT_EQ (CdsAddItem (CDS_ITEM_TYPE_TEXT, 1, "Firmware Version", "1.0", 0), EFI_SUCCESS);
  ASSERT_EQ (CdsAddItem (CDS_ITEM_TYPE_TEXT, 1, "Firmware Version", "1&0<", 0), EFI_SUCCESS);
  const std::vector<Item>  Items = TakeRecord ();
  ASSERT_EQ (Items.size (), 2u);
  EXPECT_EQ (Items[0].Total, 16u + 13u + 4u);
  EXPECT_EQ (Items[1].Total, Items[0].Total + 1 + 4 + 3);
  EXPECT_EQ (std::string (reinterpret_cast<const char *> (Items[1].Value.data ())), "1&amp;0&lt;");
  EXPECT_TRUE (Fake.Live.empty ());
}

TEST (CdsSerialData, TextGrowingSixfold_ExactCopyNoOverrun)
{
  FakePlatform       Fake;
  const std::string  Quotes (200, '"');
  UINT32             Size  = 0;
  CHAR8              *Text = GenXmlLegalText (Quotes.c_str (), &Size);
  ASSERT_NE (Text, nullptr);
  EXPECT_EQ (Size, 1201u);
  ASSERT_EQ (Fake.Live.at (Text), 1201u) << "allocated at the escaped length, no more";
  std::string  Expected;
  for (int Index = 0; Index < 200; Index++) {
    Expected += "&quot;";
  }
  EXPECT_EQ (std::string (Text), Expected);
  gBS->FreePool (Text);
  EXPECT_EQ (GenXmlLegalText (nullptr, &Size), nullptr);
  EXPECT_EQ (GenXmlLegalText ("x", nullptr), nullptr);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GenXmlLegalText: Input is NULL\n"));
}

TEST (CdsSerialData, EachAllocationFailing_NoLeakAndRecordConsistent)
{
  // Allocations of one record: collector, item array, then per item node,
  // name and value, then the buffer.
  for (UINTN Nth = 1; Nth <= 12; Nth++) {
    SCOPED_TRACE ("allocation " + std::to_string (Nth));
    FakePlatform  Fake;
    Fake.FailAllocationAt = Nth;
    const UINT16  Value   = 10;
    if (CdsInitSerialData (CDS_MAX_ITEMS) != EFI_SUCCESS) {
      EXPECT_TRUE (Fake.Live.empty ());
      continue;
    }
    CdsAddItem (CDS_ITEM_TYPE_UINT16, 1, "Classification", &Value, 0);
    CdsAddItem (CDS_ITEM_TYPE_TEXT, 1, "SoftwareID", "8086097a", 0);
    CdsAddItem (CDS_ITEM_TYPE_UINT16, 1, "Last", &Value, 0);
    VOID    *Buffer = nullptr;
    UINT32  Size    = 0;
    CdsGetSerialData (&Buffer, &Size);
    if (Buffer == nullptr) {
      EXPECT_EQ (Size, 0u);
    } else {
      const std::vector<Item>  Items = Decode (static_cast<UINT8 *> (Buffer), Size);
      EXPECT_EQ (Items.size (), Fake.FailedAllocations == 0 ? 3u : 2u) << "only the item that failed is left out";
      gBS->FreePool (Buffer);
    }
    EXPECT_TRUE (Fake.Live.empty ());
    EXPECT_EQ (Fake.BadFrees, 0u);
  }
}

TEST (GetDimmSlotInfo, LastTwoCharacters_SlotOrFormatError)
{
  FakePlatform  Fake;
  struct Case {
    const char  *Locator;
    UINT64      Slot;
  } Cases[] = {
    { "DIMM 7", 7 },
    { "CPU1_DIMM_12", 12 },
    { "DIMM A1", 1 },
    { "96", 96 },
    { "DIMM 97", 97 },  // read; the inventory then stops at it
    { "DIMM_B", INVENTORY_SLOT_FORMAT_ERROR },
    { "7", INVENTORY_SLOT_FORMAT_ERROR },
    { "", INVENTORY_SLOT_FORMAT_ERROR },
  };
  for (const Case &C : Cases) {
    EXPECT_EQ (GetDimmSlotInfo (C.Locator), C.Slot) << C.Locator;
  }
  EXPECT_EQ (GetDimmSlotInfo (nullptr), INVENTORY_SLOT_FORMAT_ERROR);
  EXPECT_TRUE (Fake.Logged (DEBUG_ERROR, "GetDimmSlotInfo: Format mis-match\n"));
}

}  // namespace

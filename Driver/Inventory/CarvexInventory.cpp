/** @file
  The modules' inventory records for the component data storage.
**/
#include "CarvexInventory.h"
#include "CdsSerialData.h"
#include "../Library/UbaPlatformDataLib/UbaPlatformDataLib.h"
#include "../NvmDimmConfig/DimmInventory.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Protocol/ComponentDataStorage.h>

// The classification every module record carries.
#define INVENTORY_CLASSIFICATION  10
// "%04x%04x" and its NUL.
#define SOFTWARE_ID_BUFFER_SIZE   10

STATIC COMPONENT_DATA_STORAGE_PROTOCOL  *mComponentDataStorage = NULL;

// A pool copy of a CHAR16 text of at most MaxChars characters, narrowed to
// ASCII; a character above 0x7F becomes 0x7F, which the XML escaping later
// turns into a space.
STATIC
CHAR8 *
NarrowToAscii (
  IN CONST CHAR16  *Text,
  IN UINTN         MaxChars
  )
{
  CHAR8  *Ascii;
  UINTN  Length;
  UINTN  Index;

  Length = StrnLenS (Text, MaxChars);
  Ascii  = (CHAR8 *)AllocateZeroPool (Length + 1);
  if (Ascii == NULL) {
    return NULL;
  }
  for (Index = 0; Index < Length; Index++) {
    Ascii[Index] = Text[Index] > 0x7F ? (CHAR8)0x7F : (CHAR8)Text[Index];
  }
  return Ascii;
}

// The print library writes hex digits in upper case; the software
// identifier is reported in lower case ("8086097a").
STATIC
VOID
LowerHexDigits (
  IN OUT CHAR8  *Text
  )
{
  for ( ; *Text != 0; Text++) {
    if (*Text >= 'A' && *Text <= 'F') {
      *Text = (CHAR8)(*Text - 'A' + 'a');
    }
  }
}

UINT64
EFIAPI
GetDimmSlotInfo (
  IN CONST CHAR8  *DeviceLocator
  )
{
  UINTN  Length;
  CHAR8  Units;
  CHAR8  Tens;

  Length = DeviceLocator != NULL ? AsciiStrLen (DeviceLocator) : 0;
  if (Length < 2 || DeviceLocator[Length - 1] < '0' || DeviceLocator[Length - 1] > '9') {
    DEBUG ((DEBUG_ERROR, "%a: Format mis-match\n", "GetDimmSlotInfo"));
    return INVENTORY_SLOT_FORMAT_ERROR;
  }
  Units = DeviceLocator[Length - 1];
  Tens  = DeviceLocator[Length - 2];
  return (UINT64)((Tens >= '0' && Tens <= '9') ? (Tens - '0') * 10 : 0) + (UINT64)(Units - '0');
}

// Items 1 to 4: where the slot sits, when the board's map knows it.
STATIC
VOID
AddLocationItems (
  IN CONST DIMM_SLOT_LOCATION  *Location
  )
{
  UINT8  Value;

  Value = Location->CpuIndex;
  CdsAddItem (CDS_ITEM_TYPE_UINT8, CDS_ITEM_ATTRIBUTE, "CPUIndex", &Value, 0);
  Value = Location->ImcNum;
  CdsAddItem (CDS_ITEM_TYPE_UINT8, CDS_ITEM_ATTRIBUTE, "iMCNum", &Value, 0);
  Value = Location->ChannelNum;
  CdsAddItem (CDS_ITEM_TYPE_UINT8, CDS_ITEM_ATTRIBUTE, "ChannelNum", &Value, 0);
  Value = Location->DimmNum;
  CdsAddItem (CDS_ITEM_TYPE_UINT8, CDS_ITEM_ATTRIBUTE, "DimmNum", &Value, 0);
}

// Items 5 to 11: security state and the six capacities.
STATIC
VOID
AddStateItems (
  IN CONST DIMM_DETAILS  *pDimm
  )
{
  UINT8  SecurityState;

  SecurityState = pDimm->SecurityState;
  CdsAddItem (CDS_ITEM_TYPE_UINT8, CDS_ITEM_ATTRIBUTE, "Security State", &SecurityState, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "Capacity", &pDimm->Capacity, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "Memory Capacity", &pDimm->VolatileCapacity, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "App Direct Capacity", &pDimm->AppDirectCapacity, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "Unconfigured Capacity", &pDimm->UnconfiguredCapacity, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "Inaccessible Capacity", &pDimm->InaccessibleCapacity, 0);
  CdsAddItem (CDS_ITEM_TYPE_UINT64, CDS_ITEM_ATTRIBUTE, "Reserved Capacity", &pDimm->ReservedCapacity, 0);
}

EFI_STATUS
EFIAPI
GatherIntelDimmInfo (
  VOID
  )
{
  EFI_STATUS          Status;
  DIMM_DETAILS        *pDimmDetails;
  DIMM_DETAILS        *pDimm;
  UINT32              DimmCount;
  UINT32              Index;
  CHAR8               *Locator;
  CHAR8               *FirmwareVersion;
  CDS_KEY             CdsKey;
  DIMM_SLOT_LOCATION  Location;
  UINT64              Slot;
  UINT16              Classification;
  UINT16              SubsystemVendorId;
  CHAR8               SoftwareId[SOFTWARE_ID_BUFFER_SIZE];
  VOID                *Serial;
  UINT32              SerialSize;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  pDimmDetails = NULL;
  DimmCount    = 0;
  Status       = GetDimmDetails (&pDimmDetails, &DimmCount);
  if (EFI_ERROR (Status) || pDimmDetails == NULL || DimmCount == 0) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    if (pDimmDetails != NULL) {
      FreePool (pDimmDetails);
    }
    return Status;
  }
  DEBUG ((DEBUG_WARN, "%a:DimmCount %d, pDimmDetails %p\n", __func__, DimmCount, pDimmDetails));

  for (Index = 0; Index < DimmCount; Index++) {
    pDimm = &pDimmDetails[Index];
    DEBUG ((DEBUG_INFO, "%a:DeviceLocator:%s\n", __func__, pDimm->DeviceLocator));
    DEBUG ((DEBUG_INFO, "%a:FwVer:%s\n", __func__, pDimm->FwVer));
    DEBUG ((DEBUG_INFO, "%a:Capacity:%lx\n", __func__, pDimm->Capacity));
    DEBUG ((DEBUG_INFO, "%a:VolatileCapacity:%lx\n", __func__, pDimm->VolatileCapacity));
    DEBUG ((DEBUG_INFO, "%a:AppDirectCapacity:%lx\n", __func__, pDimm->AppDirectCapacity));
    DEBUG ((DEBUG_INFO, "%a:UnconfiguredCapacity:%lx\n", __func__, pDimm->UnconfiguredCapacity));
    DEBUG ((DEBUG_INFO, "%a:InaccessibleCapacity:%lx\n", __func__, pDimm->InaccessibleCapacity));
    DEBUG ((DEBUG_INFO, "%a:ReservedCapacity:%lx\n", __func__, pDimm->ReservedCapacity));

    Locator = NarrowToAscii (pDimm->DeviceLocator, ARRAY_SIZE (pDimm->DeviceLocator));
    if (Locator == NULL) {
      Status = EFI_OUT_OF_RESOURCES;
      break;
    }
    Slot = GetDimmSlotInfo (Locator);
    FreePool (Locator);
    DEBUG ((DEBUG_INFO, "%a:CdsKey.Key.Value %d\n", __func__, (UINT32)Slot));
    if (Slot > INVENTORY_MAX_SLOT) {
      break;
    }

    Status = CdsInitSerialData (CDS_MAX_ITEMS);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a: Fail to init serial data - %r\n", __func__, Status));
      break;
    }

    ZeroMem (&Location, sizeof (Location));
    Location.DimmNum = (UINT8)Slot;
    Status           = MapSilkScreenLabelToChipsetDimmAddress (&Location);
    if (!EFI_ERROR (Status) && Location.Found == 1) {
      AddLocationItems (&Location);
    } else {
      DEBUG ((DEBUG_ERROR, "%a: Fail to get DimmDetails - %r\n", __func__, Status));
    }
    AddStateItems (pDimm);

    FirmwareVersion = NarrowToAscii (pDimm->FwVer, ARRAY_SIZE (pDimm->FwVer));
    if (FirmwareVersion == NULL) {
      // The record under way is dropped with the collector.
      CdsGetSerialData (&Serial, &SerialSize);
      if (Serial != NULL) {
        FreePool (Serial);
      }
      Status = EFI_OUT_OF_RESOURCES;
      break;
    }
    DEBUG ((DEBUG_INFO, "%a:FirmwareVersion:%a\n", __func__, FirmwareVersion));
    CdsAddItem (CDS_ITEM_TYPE_TEXT, CDS_ITEM_ATTRIBUTE, "Firmware Version", FirmwareVersion, 0);
    FreePool (FirmwareVersion);
    Classification = INVENTORY_CLASSIFICATION;
    CdsAddItem (CDS_ITEM_TYPE_UINT16, CDS_ITEM_ATTRIBUTE, "Classification", &Classification, 0);
    // The vendor identifier is printed with its two bytes exchanged.
    SubsystemVendorId = (UINT16)((pDimm->SubsystemVendorId << 8) | (pDimm->SubsystemVendorId >> 8));
    AsciiSPrint (SoftwareId, sizeof (SoftwareId), "%04x%04x", SubsystemVendorId, pDimm->SubsystemDeviceId);
    LowerHexDigits (SoftwareId);
    CdsAddItem (CDS_ITEM_TYPE_TEXT, CDS_ITEM_ATTRIBUTE, "SoftwareID", SoftwareId, 0);

    Serial     = NULL;
    SerialSize = 0;
    Status     = CdsGetSerialData (&Serial, &SerialSize);
    if (Serial == NULL || SerialSize == 0) {
      DEBUG ((DEBUG_ERROR, "%a: Fail to get serial data - %r\n", __func__, Status));
      continue;
    }
    ZeroMem (&CdsKey, sizeof (CdsKey));
    CdsKey.Value = Slot;
    CopyMem (&CdsKey.Location, &Location, sizeof (Location));
    Status = mComponentDataStorage->SetComponentData (
                                      mComponentDataStorage,
                                      &CdsKey,
                                      CDS_COMPONENT_TYPE_DIMM,
                                      CDS_DIMM_RECORD_CLASS,
                                      CDS_DIMM_RECORD_SCOPE,
                                      &gCdsDimmRecordOwnerGuid,
                                      Serial,
                                      SerialSize,
                                      CDS_DIMM_RECORD_TAG
                                      );
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a: CompType = %d, Key = %x - %r\n", __func__, CDS_COMPONENT_TYPE_DIMM, (UINT32)Slot, Status));
    }
    FreePool (Serial);
  }

  FreePool (pDimmDetails);
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
  return Status;
}

EFI_STATUS
EFIAPI
CarvexInventoryPrePostComplete (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  if (mComponentDataStorage == NULL) {
    Status = gBS->LocateProtocol (&gEfiComponentDataStorageProtocolGuid, NULL, (VOID **)&mComponentDataStorage);
    if (EFI_ERROR (Status) || mComponentDataStorage == NULL) {
      mComponentDataStorage = NULL;
      DEBUG ((DEBUG_ERROR, "Fail to locate gEfiComponentDataStorageProtocolGuid\n"));
      return EFI_ERROR (Status) ? Status : EFI_NOT_FOUND;
    }
  }
  Status = GatherIntelDimmInfo ();
  DEBUG ((DEBUG_WARN, "%a:GatherIntelDimmInfo :%r\n", __func__, Status));
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
  return Status;
}

/** @file
  The board's platform data and the DIMM map lookup.
**/
#include "UbaPlatformDataLib.h"
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Protocol/VeskCommands.h>

// Network setting kinds the flag looks for.
#define NETWORK_KIND_LOM  2
#define NETWORK_KIND_PHY  4

UINT32   MaxSocketPerSystem;
UINT32   MaxDimmPerSocket;
UINT32   MaxDimmPerCpuNode;
BOOLEAN  gPlatformLomAndPhySupported;

// Private copies in runtime-services pool. The map copy holds
// mDimmMapCount entries and is only ever walked within them.
STATIC DIMM_MAP_ENTRY         *mDimmMap;
STATIC UINTN                  mDimmMapCount;
STATIC NETWORK_SETTING_ENTRY  *mNetworkSetting;
STATIC UINT32                 mNetworkSettingCount;

// Keeps a copy of the board's map. Never more than a full map and its
// terminator is read from the board's table, whatever count it gives.
STATIC
VOID
KeepDimmMap (
  IN CONST DIMM_MAP_ENTRY  *Table,
  IN UINTN                 Count
  )
{
  DIMM_MAP_ENTRY  *Copy;
  EFI_STATUS      Status;

  if (Count > DIMM_MAP_MAX_ENTRIES + 1) {
    Count = DIMM_MAP_MAX_ENTRIES + 1;
  }
  if (Table == NULL) {
    Count = 0;
  }
  Copy = NULL;
  if (Count != 0) {
    Copy   = (DIMM_MAP_ENTRY *)AllocateRuntimePool (Count * sizeof (DIMM_MAP_ENTRY));
    Status = Copy == NULL ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
    ASSERT (!EFI_ERROR (Status));
    (VOID)Status;
    if (Copy == NULL) {
      return;
    }
    CopyMem (Copy, Table, Count * sizeof (DIMM_MAP_ENTRY));
  }
  // A copy kept by an earlier fetch makes way for the new one.
  if (mDimmMap != NULL) {
    FreePool (mDimmMap);
  }
  mDimmMap      = Copy;
  mDimmMapCount = Count;
}

STATIC
VOID
KeepNetworkSetting (
  IN CONST NETWORK_SETTING_ENTRY  *Table,
  IN UINT32                       Count
  )
{
  NETWORK_SETTING_ENTRY  *Copy;
  BOOLEAN                Lom;
  BOOLEAN                Phy;
  UINT32                 Index;

  gPlatformLomAndPhySupported = FALSE;
  if (mNetworkSetting != NULL) {
    FreePool (mNetworkSetting);
    mNetworkSetting      = NULL;
    mNetworkSettingCount = 0;
  }
  if (Table == NULL || Count == 0) {
    return;
  }
  Copy = (NETWORK_SETTING_ENTRY *)AllocateRuntimePool ((UINTN)Count * sizeof (NETWORK_SETTING_ENTRY));
  if (Copy == NULL) {
    return;
  }
  CopyMem (Copy, Table, (UINTN)Count * sizeof (NETWORK_SETTING_ENTRY));
  mNetworkSetting      = Copy;
  mNetworkSettingCount = Count;
  Lom                  = FALSE;
  Phy                  = FALSE;
  for (Index = 0; Index < Count; Index++) {
    if (Copy[Index].Present != 1) {
      continue;
    }
    Lom = Lom || Copy[Index].Kind == NETWORK_KIND_LOM;
    Phy = Phy || Copy[Index].Kind == NETWORK_KIND_PHY;
  }
  gPlatformLomAndPhySupported = Lom && Phy;
}

// Hands the network table to the controller, which may answer with a table
// of its own.
STATIC
VOID
TavrilUpdateLanSettingTable (
  IN OUT VOID    **Table,
  IN OUT UINT32  *Count
  )
{
  EFI_STATUS              Status;
  VESK_COMMANDS_PROTOCOL  *Vesk;
  UINT8                   CompletionCode;

  Vesk   = NULL;
  Status = gBS->LocateProtocol (&gTavrilVeskCommandsProtocolGuid, NULL, (VOID **)&Vesk);
  if (EFI_ERROR (Status) || Vesk == NULL) {
    DEBUG ((DEBUG_ERROR, "%a: Could not locate VESK commands protocol.  %r\n", __func__, Status));
    return;
  }
  CompletionCode = 0;
  Vesk->UpdateLanSettingTable (Vesk, Table, Count, &CompletionCode, 0);
}

EFI_STATUS
EFIAPI
GetUbaPlatformData (
  VOID
  )
{
  EFI_STATUS                    Status;
  UBA_CONFIG_DATABASE_PROTOCOL  *Database;
  PLATFORM_DATA                 TavrilPlatformData;
  UINTN                         Size;
  UINT32                        FactorA;
  UINT32                        FactorB;
  VOID                          *Table;
  UINTN                         MapCount;
  UINT32                        NetworkCount;

  Database = NULL;
  Status   = gBS->LocateProtocol (&gUbaConfigDatabaseProtocolGuid, NULL, (VOID **)&Database);
  if (EFI_ERROR (Status) || Database == NULL) {
    DEBUG ((DEBUG_ERROR, "GetUbaPlatformData:Dxe Locate gUbaConfigDatabaseProtocolGuid failed\n"));
    return EFI_ERROR (Status) ? Status : EFI_NOT_FOUND;
  }

  ZeroMem (&TavrilPlatformData, sizeof (TavrilPlatformData));
  Size   = sizeof (TavrilPlatformData);
  Status = Database->GetData (Database, &gPlatformDataDxeGuid, &TavrilPlatformData, &Size);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "GetUbaPlatformData:Dxe Get gPlatformDataDxeGuid failed\n"));
    return Status;
  }
  // Only debug builds object to a foreign header; the record is used as it is.
  ASSERT (TavrilPlatformData.Signature == ((('P') | ('D' << 8)) | ((('A') | ('T' << 8)) << 16)));
  ASSERT (TavrilPlatformData.Version == 01);

  // A getter the board left out reads as 0.
  MaxSocketPerSystem = 0;
  FactorA            = 0;
  FactorB            = 0;
  if (TavrilPlatformData.GetSocketCount != NULL) {
    TavrilPlatformData.GetSocketCount (&MaxSocketPerSystem);
  }
  if (TavrilPlatformData.GetFactorB != NULL) {
    TavrilPlatformData.GetFactorB (&FactorB);
  }
  if (TavrilPlatformData.GetFactorA != NULL) {
    TavrilPlatformData.GetFactorA (&FactorA);
  }
  MaxDimmPerSocket  = FactorA * FactorB;
  MaxDimmPerCpuNode = MaxDimmPerSocket * MaxSocketPerSystem;
  DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe MaxSocketPerSystem = %d\n", MaxSocketPerSystem));
  DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe MaxDimmPerSocket = %d\n", MaxDimmPerSocket));
  DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe MaxDimmPerCpuNode = %d\n", MaxDimmPerCpuNode));

  Table    = NULL;
  MapCount = 0;
  Status   = TavrilPlatformData.GetDimmMap != NULL ? TavrilPlatformData.GetDimmMap (&Table, &MapCount) : EFI_UNSUPPORTED;
  if (!EFI_ERROR (Status)) {
    DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe DimmMap TableLength = %d\n", (UINT32)MapCount));
    KeepDimmMap ((CONST DIMM_MAP_ENTRY *)Table, MapCount);
  }

  Table        = NULL;
  NetworkCount = 0;
  Status       = TavrilPlatformData.GetNetworkSetting != NULL ? TavrilPlatformData.GetNetworkSetting (&Table, &NetworkCount) : EFI_UNSUPPORTED;
  if (EFI_ERROR (Status)) {
    gPlatformLomAndPhySupported = FALSE;
    DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe NetworkSetting gPlatformLomAndPhySupported = %d\n", gPlatformLomAndPhySupported));
    return EFI_SUCCESS;
  }
  TavrilUpdateLanSettingTable (&Table, &NetworkCount);
  DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe NetworkSetting TableLength = %d\n", NetworkCount));
  KeepNetworkSetting ((CONST NETWORK_SETTING_ENTRY *)Table, NetworkCount);
  DEBUG ((DEBUG_INFO, "GetUbaPlatformData:Dxe NetworkSetting gPlatformLomAndPhySupported = %d\n", gPlatformLomAndPhySupported));
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
UbaPlatformDataLibConstructor (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  (VOID)ImageHandle;
  (VOID)SystemTable;
  DEBUG ((DEBUG_INFO, "UbaPlatformDataDxeLib - UbaPlatformDataLibConstructor\n"));
  GetUbaPlatformData ();
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
GetDimmMapTable (
  OUT DIMM_MAP_ENTRY  **ppDimmMap
  )
{
  EFI_STATUS  Status;

  if (ppDimmMap == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (mDimmMap == NULL) {
    Status = GetUbaPlatformData ();
    if (EFI_ERROR (Status)) {
      return Status;
    }
  }
  // A fetch that found no map leaves nothing to walk.
  if (mDimmMap == NULL) {
    return EFI_NOT_FOUND;
  }
  *ppDimmMap = mDimmMap;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
MapSilkScreenLabelToChipsetDimmAddress (
  IN OUT DIMM_SLOT_LOCATION  *pLocation
  )
{
  EFI_STATUS      Status;
  DIMM_MAP_ENTRY  *DimmMap;
  DIMM_MAP_ENTRY  Entry;
  UINT8           Label;
  UINTN           Index;

  if (pLocation == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  DimmMap = NULL;
  Status  = GetDimmMapTable (&DimmMap);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "DimmMap Table Not Found!\n"));
    return Status;
  }
  Label = pLocation->DimmNum;
  // The walk ends at the terminator, at the end of the copy, or after the
  // longest map a board may have, whichever comes first.
  for (Index = 0; Index < mDimmMapCount && Index < DIMM_MAP_MAX_ENTRIES; Index++) {
    CopyMem (&Entry, &DimmMap[Index], sizeof (Entry));
    if (Entry.CpuIndex == DIMM_MAP_TERMINATOR) {
      break;
    }
    if (Entry.SilkScreenLabel != Label) {
      continue;
    }
    pLocation->Found           = 1;
    pLocation->DimmNum         = Entry.DimmNum;
    pLocation->SilkScreenLabel = Entry.SilkScreenLabel;
    CopyMem (pLocation->SlotData, Entry.SlotData, sizeof (pLocation->SlotData));
    pLocation->ChannelByte     = Entry.ChannelByte;
    pLocation->ChannelNum      = Entry.ChannelNum;
    pLocation->ImcNum          = Entry.ImcNum;
    pLocation->CpuIndex        = Entry.CpuIndex;
    return EFI_SUCCESS;
  }
  DEBUG ((DEBUG_ERROR, "MapSilkScreenLabelToChipsetDimmAddress: Not Found for Planar DIMM %d\n", Label));
  return EFI_NOT_FOUND;
}

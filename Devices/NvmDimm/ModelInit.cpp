/** @file
  Building a model from a platform description, and checking a model that
  was read back from storage.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>

#define DEFAULT_VENDOR_ID            0x4A53
#define DEFAULT_DEVICE_ID            0x0C01
#define DEFAULT_FW_MAJOR             1
#define DEFAULT_FW_MINOR             2
#define DEFAULT_FW_HOTFIX            0
#define DEFAULT_FW_BUILD             5375
#define DEFAULT_MAPPED_MEMORY_LIMIT  0x40000000000ULL  // 4 TiB per socket
#define DEFAULT_ALARM_THRESHOLD      50

// Handles follow the board's wiring: socket, memory controller, channel.
STATIC
UINT32
DefaultHandle (
  IN UINT16  SocketId,
  IN UINT32  Position
  )
{
  return ((UINT32)SocketId << 12) | ((Position / 3) << 8) | ((Position % 3) << 4);
}

STATIC
VOID
DefaultLocator (
  OUT CHAR16  *Locator,
  IN  UINT16  SlotNumber
  )
{
  STATIC CONST CHAR16  Prefix[] = u"DIMM ";
  UINTN                Length;

  CopyMem (Locator, Prefix, sizeof (Prefix) - sizeof (CHAR16));
  Length         = ARRAY_SIZE (Prefix) - 1;
  Length        += NvmFormatNumber (&Locator[Length], SlotNumber, 0);
  Locator[Length] = 0;
}

// "VVVV-LL-DDDD-SSSSSSSS": vendor, manufacturing location, date, serial.
STATIC
VOID
DefaultUid (
  OUT CHAR16  *Uid,
  IN  UINT16  SocketId,
  IN  UINT16  SlotNumber
  )
{
  STATIC CONST CHAR16  Prefix[] = u"4A53-01-2218-";
  UINTN                Length;

  CopyMem (Uid, Prefix, sizeof (Prefix) - sizeof (CHAR16));
  Length      = ARRAY_SIZE (Prefix) - 1;
  Length     += NvmFormatNumber (&Uid[Length], 0x1A000000ULL | ((UINT64)SocketId << 16) | SlotNumber, 8);
  Uid[Length] = 0;
}

STATIC
EFI_STATUS
InitializeDimm (
  OUT NVM_MODEL_DIMM              *Dimm,
  IN  CONST NVM_DIMM_DESCRIPTION  *Description,
  IN  UINT16                      DimmId,
  IN  UINT32                      Position,
  IN  UINT32                      HandleUpperBits
  )
{
  UINTN  PassphraseLength;

  if (Description->RawCapacity < NVM_CAPACITY_ALIGNMENT || Description->VolatilePercent > 100 ||
      Description->PercentageRemaining > 100 || Description->AlarmThreshold > 100 ||
      (Description->PersistentMemType != 0 && Description->PersistentMemType != GOAL_MEMORY_TYPE_APP_DIRECT &&
       Description->PersistentMemType != GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED))
  {
    return EFI_INVALID_PARAMETER;
  }
  PassphraseLength = StrnLenS (Description->Passphrase, ARRAY_SIZE (Description->Passphrase));
  if (PassphraseLength == ARRAY_SIZE (Description->Passphrase) ||
      (Description->SecurityEnabled && PassphraseLength == 0))
  {
    return EFI_INVALID_PARAMETER;
  }

  Dimm->DimmId     = DimmId;
  Dimm->SocketId   = Description->SocketId;
  Dimm->SlotNumber = Description->SlotNumber;
  Dimm->DimmHandle = DefaultHandle (Description->SocketId, Position) | HandleUpperBits;
  if (Description->DeviceLocator[0] != 0) {
    NvmStrCopy (Dimm->DeviceLocator, ARRAY_SIZE (Dimm->DeviceLocator), Description->DeviceLocator);
  } else {
    DefaultLocator (Dimm->DeviceLocator, Description->SlotNumber);
  }
  if (Description->DimmUid[0] != 0) {
    NvmStrCopy (Dimm->DimmUid, ARRAY_SIZE (Dimm->DimmUid), Description->DimmUid);
  } else {
    DefaultUid (Dimm->DimmUid, Description->SocketId, Description->SlotNumber);
  }
  if (Description->FwVersion[0] == 0 && Description->FwVersion[1] == 0 &&
      Description->FwVersion[2] == 0 && Description->FwBuild == 0)
  {
    Dimm->FwMajor  = DEFAULT_FW_MAJOR;
    Dimm->FwMinor  = DEFAULT_FW_MINOR;
    Dimm->FwHotfix = DEFAULT_FW_HOTFIX;
    Dimm->FwBuild  = DEFAULT_FW_BUILD;
  } else {
    Dimm->FwMajor  = Description->FwVersion[0];
    Dimm->FwMinor  = Description->FwVersion[1];
    Dimm->FwHotfix = Description->FwVersion[2];
    Dimm->FwBuild  = Description->FwBuild;
  }
  Dimm->VendorId          = DEFAULT_VENDOR_ID;
  Dimm->DeviceId          = DEFAULT_DEVICE_ID;
  Dimm->SubsystemVendorId = DEFAULT_VENDOR_ID;
  Dimm->SubsystemDeviceId = DEFAULT_DEVICE_ID;

  Dimm->RawCapacity       = Description->RawCapacity;
  Dimm->PersistentMemType = Description->PersistentMemType != 0 ? Description->PersistentMemType : (UINT8)GOAL_MEMORY_TYPE_APP_DIRECT;
  Dimm->Configured        = Description->Configured ? 1 : 0;
  if (Dimm->Configured) {
    NvmSplitCapacity (
      Dimm->RawCapacity,
      Description->VolatilePercent,
      0,
      &Dimm->VolatileCapacity,
      &Dimm->AppDirectCapacity,
      &Dimm->ReservedCapacity,
      &Dimm->InaccessibleCapacity
      );
  } else {
    Dimm->UnconfiguredCapacity = NvmAlignDown (Dimm->RawCapacity, NVM_CAPACITY_ALIGNMENT);
    Dimm->InaccessibleCapacity = Dimm->RawCapacity - Dimm->UnconfiguredCapacity;
  }

  Dimm->PercentageRemaining   = Description->PercentageRemaining;
  Dimm->AlarmThreshold        = Description->AlarmThreshold != 0 ? Description->AlarmThreshold : (UINT16)DEFAULT_ALARM_THRESHOLD;
  Dimm->AlarmEnabled          = Description->AlarmEnabled ? 1 : 0;
  Dimm->MediaTemperature      = 30;
  Dimm->ControllerTemperature = 35;

  Dimm->SecurityEnabled = Description->SecurityEnabled ? 1 : 0;
  Dimm->Locked          = Dimm->SecurityEnabled;
  Dimm->FreezeAtPowerUp = Description->FreezeAtPowerUp ? 1 : 0;
  if (Dimm->SecurityEnabled) {
    NvmStrCopy (Dimm->Passphrase, ARRAY_SIZE (Dimm->Passphrase), Description->Passphrase);
  }
  Dimm->ArsStatus = ARS_STATUS_NOT_STARTED;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmModelInitialize (
  OUT NVM_MODEL                       *Model,
  IN  CONST NVM_PLATFORM_DESCRIPTION  *Description
  )
{
  UINT32      Index;
  UINT32      Other;
  UINT32      Position;
  EFI_STATUS  Status;
  BOOLEAN     Touched[NVM_MAX_DIMMS];

  if (Model == NULL || Description == NULL || Description->SocketCount == 0 ||
      Description->SocketCount > NVM_MAX_SOCKETS || Description->DimmCount > NVM_MAX_DIMMS)
  {
    return EFI_INVALID_PARAMETER;
  }
  ZeroMem (Model, sizeof (*Model));
  for (Index = 0; Index < Description->SocketCount; Index++) {
    Model->Sockets[Index].Present           = 1;
    Model->Sockets[Index].MappedMemoryLimit = DEFAULT_MAPPED_MEMORY_LIMIT;
  }

  for (Index = 0; Index < Description->DimmCount; Index++) {
    if (Description->Dimms[Index].SocketId >= Description->SocketCount) {
      return EFI_INVALID_PARAMETER;
    }
    Position = 0;
    for (Other = 0; Other < Index; Other++) {
      if (Description->Dimms[Other].SlotNumber == Description->Dimms[Index].SlotNumber) {
        return EFI_INVALID_PARAMETER;
      }
      if (Description->Dimms[Other].SocketId == Description->Dimms[Index].SocketId) {
        Position++;
      }
    }
    // An interleaved region spans at most REGION_MAX_DIMMS modules.
    if (Position >= REGION_MAX_DIMMS) {
      return EFI_INVALID_PARAMETER;
    }
    Status = InitializeDimm (&Model->Dimms[Index], &Description->Dimms[Index], (UINT16)(Index + 1), Position, Description->HandleUpperBits);
    if (EFI_ERROR (Status)) {
      return Status;
    }
    Touched[Index] = TRUE;
  }
  Model->DimmCount = Description->DimmCount;
  NvmFormRegions (Model, Touched);

  Model->Signature = NVM_MODEL_SIGNATURE;
  Model->Version   = NVM_MODEL_VERSION;
  Model->Size      = sizeof (NVM_MODEL);
  return EFI_SUCCESS;
}

STATIC
CONST NVM_MODEL_DIMM *
FindDimmIn (
  IN CONST NVM_MODEL  *Model,
  IN UINT16           DimmId
  )
{
  UINT32  Index;

  for (Index = 0; Index < Model->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    if (Model->Dimms[Index].DimmId == DimmId) {
      return &Model->Dimms[Index];
    }
  }
  return NULL;
}

STATIC
BOOLEAN
RegionExists (
  IN CONST NVM_MODEL  *Model,
  IN UINT16           RegionId
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    if (Model->Regions[Index].Present && Model->Regions[Index].RegionId == RegionId) {
      return TRUE;
    }
  }
  return FALSE;
}

STATIC
BOOLEAN
DimmConsistent (
  IN CONST NVM_MODEL       *Model,
  IN CONST NVM_MODEL_DIMM  *Dimm,
  IN UINT32                Index
  )
{
  UINT32  Other;
  UINT64  Sum;

  if (Dimm->DimmId == 0 || Dimm->SocketId >= NVM_MAX_SOCKETS || !Model->Sockets[Dimm->SocketId].Present ||
      StrnLenS (Dimm->DeviceLocator, ARRAY_SIZE (Dimm->DeviceLocator)) == ARRAY_SIZE (Dimm->DeviceLocator) ||
      StrnLenS (Dimm->DimmUid, ARRAY_SIZE (Dimm->DimmUid)) == ARRAY_SIZE (Dimm->DimmUid) ||
      StrnLenS (Dimm->Passphrase, ARRAY_SIZE (Dimm->Passphrase)) == ARRAY_SIZE (Dimm->Passphrase) ||
      Dimm->PercentageRemaining > 100 || Dimm->AlarmThreshold > 100)
  {
    return FALSE;
  }
  Sum = Dimm->VolatileCapacity + Dimm->AppDirectCapacity + Dimm->UnconfiguredCapacity +
        Dimm->ReservedCapacity + Dimm->InaccessibleCapacity;
  if (Sum != Dimm->RawCapacity) {
    return FALSE;
  }
  for (Other = 0; Other < Index; Other++) {
    if (Model->Dimms[Other].DimmId == Dimm->DimmId || Model->Dimms[Other].DimmHandle == Dimm->DimmHandle) {
      return FALSE;
    }
  }
  return TRUE;
}

EFI_STATUS
EFIAPI
NvmModelValidate (
  IN CONST NVM_MODEL  *Model
  )
{
  UINT32     Index;
  UINT32     Other;
  UINTN      Member;

  if (Model == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (Model->Signature != NVM_MODEL_SIGNATURE || Model->Version != NVM_MODEL_VERSION ||
      Model->Size != sizeof (NVM_MODEL))
  {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (Model->DimmCount > NVM_MAX_DIMMS) {
    return EFI_VOLUME_CORRUPTED;
  }
  for (Index = 0; Index < Model->DimmCount; Index++) {
    if (!DimmConsistent (Model, &Model->Dimms[Index], Index)) {
      return EFI_VOLUME_CORRUPTED;
    }
  }
  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    CONST NVM_MODEL_REGION  *Region = &Model->Regions[Index];
    if (!Region->Present) {
      continue;
    }
    if (Region->RegionId == 0 || Region->DimmCount == 0 || Region->DimmCount > REGION_MAX_DIMMS) {
      return EFI_VOLUME_CORRUPTED;
    }
    for (Other = 0; Other < Index; Other++) {
      if (Model->Regions[Other].Present && Model->Regions[Other].RegionId == Region->RegionId) {
        return EFI_VOLUME_CORRUPTED;
      }
    }
    for (Member = 0; Member < Region->DimmCount; Member++) {
      CONST NVM_MODEL_DIMM  *Dimm = FindDimmIn (Model, Region->DimmIds[Member]);
      if (Dimm == NULL || Dimm->SocketId != Region->SocketId) {
        return EFI_VOLUME_CORRUPTED;
      }
    }
  }
  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    CONST NVM_MODEL_NAMESPACE  *Namespace = &Model->Namespaces[Index];
    if (!Namespace->Present) {
      continue;
    }
    if (Namespace->NamespaceId == 0 || !RegionExists (Model, Namespace->RegionId) ||
        AsciiStrnLenS (Namespace->Name, ARRAY_SIZE (Namespace->Name)) == ARRAY_SIZE (Namespace->Name) ||
        Namespace->BlockSize == 0)
    {
      return EFI_VOLUME_CORRUPTED;
    }
    for (Other = 0; Other < Index; Other++) {
      if (Model->Namespaces[Other].Present && Model->Namespaces[Other].NamespaceId == Namespace->NamespaceId) {
        return EFI_VOLUME_CORRUPTED;
      }
    }
  }
  for (Index = 0; Index < NVM_SLOT_COUNT; Index++) {
    if (Model->Faults[Index].Mode > NvmFaultAlways) {
      return EFI_VOLUME_CORRUPTED;
    }
  }
  return EFI_SUCCESS;
}

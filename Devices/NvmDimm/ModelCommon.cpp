/** @file
  Lookups, text helpers, module lists and command status nodes shared by the
  model's operations.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/MemoryAllocationLib.h>

BOOLEAN
NvmStrEqual (
  IN CONST CHAR16  *First,
  IN CONST CHAR16  *Second,
  IN UINTN         Max
  )
{
  UINTN  Index;

  for (Index = 0; Index < Max; Index++) {
    if (First[Index] != Second[Index]) {
      return FALSE;
    }
    if (First[Index] == 0) {
      return TRUE;
    }
  }
  return TRUE;
}

VOID
NvmStrCopy (
  OUT CHAR16        *Destination,
  IN  UINTN         DestinationMax,
  IN  CONST CHAR16  *Source
  )
{
  UINTN  Index;

  if (DestinationMax == 0) {
    return;
  }
  for (Index = 0; Index + 1 < DestinationMax && Source != NULL && Source[Index] != 0; Index++) {
    Destination[Index] = Source[Index];
  }
  // The rest is cleared so that no old secret survives behind the text.
  for ( ; Index < DestinationMax; Index++) {
    Destination[Index] = 0;
  }
}

UINTN
NvmFormatNumber (
  OUT CHAR16  *Destination,
  IN  UINT64  Value,
  IN  UINTN   Digits
  )
{
  CHAR16  Reversed[20];
  UINTN   Count;
  UINTN   Index;
  UINT64  Digit;

  Count = 0;
  if (Digits != 0) {
    for ( ; Count < Digits && Count < ARRAY_SIZE (Reversed); Count++) {
      Digit             = Value & 0xF;
      Reversed[Count]   = (CHAR16)(Digit < 10 ? u'0' + Digit : u'A' + Digit - 10);
      Value           >>= 4;
    }
  } else {
    do {
      Reversed[Count++] = (CHAR16)(u'0' + Value % 10);
      Value            /= 10;
    } while (Value != 0 && Count < ARRAY_SIZE (Reversed));
  }
  for (Index = 0; Index < Count; Index++) {
    Destination[Index] = Reversed[Count - 1 - Index];
  }
  return Count;
}

UINT64
NvmAlignDown (
  IN UINT64  Value,
  IN UINT64  Alignment
  )
{
  return Alignment == 0 ? Value : Value - Value % Alignment;
}

NVM_MODEL_DIMM *
EFIAPI
NvmModelFindDimm (
  IN NVM_MODEL  *Model,
  IN UINT16     DimmId
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

NVM_MODEL_DIMM *
EFIAPI
NvmModelFindDimmByHandle (
  IN NVM_MODEL  *Model,
  IN UINT32     DimmHandle
  )
{
  UINT32  Index;

  for (Index = 0; Index < Model->DimmCount && Index < NVM_MAX_DIMMS; Index++) {
    if (Model->Dimms[Index].DimmHandle == DimmHandle) {
      return &Model->Dimms[Index];
    }
  }
  return NULL;
}

NVM_MODEL_REGION *
EFIAPI
NvmModelFindRegion (
  IN NVM_MODEL  *Model,
  IN UINT16     RegionId
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    if (Model->Regions[Index].Present && Model->Regions[Index].RegionId == RegionId) {
      return &Model->Regions[Index];
    }
  }
  return NULL;
}

NVM_MODEL_NAMESPACE *
EFIAPI
NvmModelFindNamespace (
  IN NVM_MODEL  *Model,
  IN UINT16     NamespaceId
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    if (Model->Namespaces[Index].Present && Model->Namespaces[Index].NamespaceId == NamespaceId) {
      return &Model->Namespaces[Index];
    }
  }
  return NULL;
}

UINT8
EFIAPI
NvmModelSecurityState (
  IN CONST NVM_MODEL_DIMM  *Dimm
  )
{
  if (Dimm->SecurityEnabled && Dimm->WrongPassphrases >= NVM_WRONG_PASSPHRASE_LIMIT) {
    return DIMM_SECURITY_STATE_EXCEEDED;
  }
  if (Dimm->SecurityEnabled && Dimm->Locked) {
    return DIMM_SECURITY_STATE_LOCKED;
  }
  if (Dimm->Frozen) {
    return DIMM_SECURITY_STATE_FROZEN;
  }
  return Dimm->SecurityEnabled ? DIMM_SECURITY_STATE_UNLOCKED : DIMM_SECURITY_STATE_DISABLED;
}

VOID
NvmSplitCapacity (
  IN  UINT64  RawCapacity,
  IN  UINT32  VolatilePercent,
  IN  UINT32  ReservedPercent,
  OUT UINT64  *Volatile,
  OUT UINT64  *AppDirect,
  OUT UINT64  *Reserved,
  OUT UINT64  *Inaccessible
  )
{
  UINT64  Usable;
  UINT64  ReservedSize;

  // Only whole gibibytes can be mapped; the tail stays inaccessible.
  Usable        = NvmAlignDown (RawCapacity, NVM_CAPACITY_ALIGNMENT);
  *Inaccessible = RawCapacity - Usable;
  *Volatile     = NvmAlignDown (Usable / 100 * VolatilePercent + Usable % 100 * VolatilePercent / 100, NVM_CAPACITY_ALIGNMENT);
  ReservedSize  = Usable / 100 * ReservedPercent + Usable % 100 * ReservedPercent / 100;
  ReservedSize  = NvmAlignDown (ReservedSize + NVM_CAPACITY_ALIGNMENT - 1, NVM_CAPACITY_ALIGNMENT);
  if (ReservedSize > Usable - *Volatile) {
    ReservedSize = Usable - *Volatile;
  }
  *Reserved  = ReservedSize;
  *AppDirect = Usable - *Volatile - ReservedSize;
}

BOOLEAN
NvmRegionHasDimm (
  IN CONST NVM_MODEL_REGION  *Region,
  IN UINT16                  DimmId
  )
{
  UINTN  Index;

  for (Index = 0; Index < Region->DimmCount && Index < REGION_MAX_DIMMS; Index++) {
    if (Region->DimmIds[Index] == DimmId) {
      return TRUE;
    }
  }
  return FALSE;
}

BOOLEAN
NvmDimmHasNamespaces (
  IN NVM_MODEL  *Model,
  IN UINT16     DimmId
  )
{
  UINTN             Index;
  NVM_MODEL_REGION  *Region;

  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    if (!Model->Namespaces[Index].Present) {
      continue;
    }
    Region = NvmModelFindRegion (Model, Model->Namespaces[Index].RegionId);
    if (Region != NULL && NvmRegionHasDimm (Region, DimmId)) {
      return TRUE;
    }
  }
  return FALSE;
}

EFI_STATUS
NvmSelectDimms (
  IN  NVM_MODEL     *Model,
  IN  CONST UINT16  *DimmIds OPTIONAL,
  IN  UINT32        DimmIdCount,
  IN  CONST UINT16  *SocketIds OPTIONAL,
  IN  UINT32        SocketIdCount,
  OUT BOOLEAN       *Selected,
  OUT UINT16        *NvmStatus
  )
{
  UINT32          Index;
  UINT32          Dimm;
  NVM_MODEL_DIMM  *Found;
  BOOLEAN         Any;

  ZeroMem (Selected, sizeof (BOOLEAN) * NVM_MAX_DIMMS);
  *NvmStatus = NVM_ERR_INVALID_PARAMETER;
  if ((DimmIds == NULL && DimmIdCount != 0) || (SocketIds == NULL && SocketIdCount != 0) ||
      (DimmIdCount != 0 && SocketIdCount != 0))
  {
    return EFI_INVALID_PARAMETER;
  }

  if (DimmIdCount != 0) {
    for (Index = 0; Index < DimmIdCount; Index++) {
      Found = NvmModelFindDimm (Model, DimmIds[Index]);
      if (Found == NULL) {
        *NvmStatus = NVM_ERR_DIMM_NOT_FOUND;
        return EFI_INVALID_PARAMETER;
      }
      Selected[Found - Model->Dimms] = TRUE;
    }
  } else if (SocketIdCount != 0) {
    for (Index = 0; Index < SocketIdCount; Index++) {
      if (SocketIds[Index] >= NVM_MAX_SOCKETS || !Model->Sockets[SocketIds[Index]].Present) {
        *NvmStatus = NVM_ERR_SOCKET_NOT_FOUND;
        return EFI_INVALID_PARAMETER;
      }
      for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
        if (Model->Dimms[Dimm].SocketId == SocketIds[Index]) {
          Selected[Dimm] = TRUE;
        }
      }
    }
  } else {
    for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
      Selected[Dimm] = TRUE;
    }
  }

  Any = FALSE;
  for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
    Any = Any || Selected[Dimm];
  }
  if (!Any) {
    *NvmStatus = NVM_ERR_DIMM_NOT_FOUND;
    return EFI_NOT_FOUND;
  }
  *NvmStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

VOID
NvmSetGeneralStatus (
  IN COMMAND_STATUS  *CommandStatus OPTIONAL,
  IN UINT16          NvmStatus
  )
{
  if (CommandStatus != NULL) {
    CommandStatus->GeneralStatus = NvmStatus;
  }
}

VOID
NvmAddObjectStatus (
  IN COMMAND_STATUS  *CommandStatus OPTIONAL,
  IN UINT32          ObjectId,
  IN UINT16          NvmStatus
  )
{
  OBJECT_STATUS_NODE  *Node;

  // A caller that never initialised the list gets no nodes rather than a
  // write through garbage links.
  if (CommandStatus == NULL || CommandStatus->ObjectStatusList.ForwardLink == NULL ||
      CommandStatus->ObjectStatusList.BackLink == NULL)
  {
    return;
  }
  // Without pool the node is dropped: the call's own outcome stands.
  Node = (OBJECT_STATUS_NODE *)AllocateZeroPool (sizeof (OBJECT_STATUS_NODE));
  if (Node == NULL) {
    return;
  }
  Node->Header.Signature = OBJECT_STATUS_NODE_SIGNATURE;
  Node->ObjectId         = ObjectId;
  Node->NvmStatus        = NvmStatus;
  InsertTailList (&CommandStatus->ObjectStatusList, &Node->Header.Link);
  CommandStatus->ObjectCount++;
}

EFI_STATUS
NvmReturn (
  IN COMMAND_STATUS  *CommandStatus OPTIONAL,
  IN EFI_STATUS      Status,
  IN UINT16          NvmStatus
  )
{
  NvmSetGeneralStatus (CommandStatus, NvmStatus);
  return Status;
}

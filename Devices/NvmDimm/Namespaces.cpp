/** @file
  Namespaces in App Direct regions: create with size alignment, list,
  rename and delete (force needed for a namespace in use).
**/
#include "NvmDimmInternal.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/MemoryAllocationLib.h>

STATIC
BOOLEAN
BlockSizeSupported (
  IN UINT64  BlockSize
  )
{
  // 1: the count is in bytes.
  return BlockSize == 1 || BlockSize == 512 || BlockSize == 4096;
}

STATIC
BOOLEAN
NameValid (
  IN CONST CHAR8  *Name
  )
{
  return Name != NULL && AsciiStrnLenS (Name, NAMESPACE_NAME_LENGTH) < NAMESPACE_NAME_LENGTH;
}

STATIC
VOID
CopyName (
  OUT CHAR8        *Destination,
  IN  CONST CHAR8  *Name
  )
{
  UINTN  Index;

  for (Index = 0; Index + 1 < NAMESPACE_NAME_LENGTH && Name[Index] != 0; Index++) {
    Destination[Index] = Name[Index];
  }
  for ( ; Index < NAMESPACE_NAME_LENGTH; Index++) {
    Destination[Index] = 0;
  }
}

STATIC
NVM_MODEL_NAMESPACE *
FreeNamespaceEntry (
  IN NVM_MODEL  *Model
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    if (!Model->Namespaces[Index].Present) {
      return &Model->Namespaces[Index];
    }
  }
  return NULL;
}

// The size a request gets in a region, or the NVM status that refuses it.
STATIC
UINT16
PlaceNamespace (
  IN  NVM_MODEL               *Model,
  IN  CONST NVM_MODEL_REGION  *Region,
  IN  UINT64                  BlockSize,
  IN  UINT64                  BlockCount,
  IN  BOOLEAN                 ForceAlignment,
  OUT UINT64                  *Size
  )
{
  UINT64  Alignment;
  UINT64  Free;
  UINT64  Requested;

  Alignment = NvmRegionAlignment (Region);
  Free      = NvmRegionFreeCapacity (Model, Region);
  if (BlockCount > MAX_UINT64 / BlockSize) {
    return NVM_ERR_NOT_ENOUGH_FREE_SPACE;
  }
  Requested = BlockSize * BlockCount;
  if (Requested == 0) {
    // Everything the region still has.
    *Size = NvmAlignDown (Free, Alignment);
    return *Size == 0 ? (UINT16)NVM_ERR_NOT_ENOUGH_FREE_SPACE : (UINT16)NVM_SUCCESS;
  }
  if (Requested < Alignment) {
    return NVM_ERR_NAMESPACE_TOO_SMALL;
  }
  if (Requested % Alignment != 0) {
    if (!ForceAlignment) {
      return NVM_ERR_NAMESPACE_NOT_ALIGNED;
    }
    if (Requested > MAX_UINT64 - Alignment) {
      return NVM_ERR_NOT_ENOUGH_FREE_SPACE;
    }
    Requested = NvmAlignDown (Requested + Alignment - 1, Alignment);
  }
  if (Requested > Free) {
    return NVM_ERR_NOT_ENOUGH_FREE_SPACE;
  }
  *Size = Requested;
  return NVM_SUCCESS;
}

STATIC
EFI_STATUS
StatusOfPlacement (
  IN UINT16  NvmStatus
  )
{
  return NvmStatus == NVM_ERR_NOT_ENOUGH_FREE_SPACE ? EFI_OUT_OF_RESOURCES : EFI_INVALID_PARAMETER;
}

EFI_STATUS
EFIAPI
NvmCreateNamespace (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    RegionId,
  IN  UINT16                    DimmId,
  IN  UINT64                    BlockSize,
  IN  UINT64                    BlockCount,
  IN  CHAR8                     *Name,
  IN  BOOLEAN                   Optimize,
  IN  BOOLEAN                   ForceAll,
  IN  BOOLEAN                   ForceAlignment,
  OUT UINT64                    *ActualCapacity,
  OUT UINT16                    *NamespaceId,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL            *Model;
  EFI_STATUS           Status;
  UINT16               NvmStatus;
  UINT16               NewId;
  UINT64               Size;
  NVM_MODEL_REGION     *Region;
  NVM_MODEL_NAMESPACE  *Namespace;

  (VOID)This;
  (VOID)Optimize;
  (VOID)ForceAll;
  if (NvmSlotEnter (NVM_SLOT_CREATE_NAMESPACE, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  Region = NvmModelFindRegion (Model, RegionId);
  if (Region == NULL) {
    return NvmReturn (CommandStatus, EFI_NOT_FOUND, NVM_ERR_REGION_NOT_FOUND);
  }
  if (!BlockSizeSupported (BlockSize)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_BLOCK_SIZE);
  }
  if (DimmId != NAMESPACE_ANY_DIMM && !NvmRegionHasDimm (Region, DimmId)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_DIMM_NOT_FOUND);
  }
  if (!NameValid (Name)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_NAMESPACE_NAME);
  }
  if (!NvmRegionUsable (Model, Region)) {
    return NvmReturn (CommandStatus, EFI_ACCESS_DENIED, NVM_ERR_REGION_UNUSABLE);
  }
  Namespace = FreeNamespaceEntry (Model);
  if (Namespace == NULL) {
    return NvmReturn (CommandStatus, EFI_OUT_OF_RESOURCES, NVM_ERR_TOO_MANY_NAMESPACES);
  }
  NvmStatus = PlaceNamespace (Model, Region, BlockSize, BlockCount, ForceAlignment, &Size);
  if (NvmStatus != NVM_SUCCESS) {
    return NvmReturn (CommandStatus, StatusOfPlacement (NvmStatus), NvmStatus);
  }

  for (NewId = 1; NvmModelFindNamespace (Model, NewId) != NULL; NewId++) {
  }
  Model->NamespaceSerial++;
  ZeroMem (Namespace, sizeof (*Namespace));
  Namespace->Present          = 1;
  Namespace->NamespaceId      = NewId;
  Namespace->RegionId         = RegionId;
  Namespace->HealthState      = NAMESPACE_HEALTH_HEALTHY;
  Namespace->BlockSize        = BlockSize;
  Namespace->BlockCount       = Size / BlockSize;
  Namespace->Guid.Data1       = 0x4E530000 | (Model->NamespaceSerial & 0xFFFF);
  Namespace->Guid.Data2       = RegionId;
  Namespace->Guid.Data3       = (UINT16)(0x4000 | (NewId & 0x0FFF));
  Namespace->Guid.Data4[0]    = 0x80;
  Namespace->Guid.Data4[1]    = (UINT8)Region->SocketId;
  Namespace->Guid.Data4[4]    = (UINT8)(Model->NamespaceSerial >> 24);
  Namespace->Guid.Data4[5]    = (UINT8)(Model->NamespaceSerial >> 16);
  Namespace->Guid.Data4[6]    = (UINT8)(Model->BootCount >> 8);
  Namespace->Guid.Data4[7]    = (UINT8)Model->BootCount;
  CopyName (Namespace->Name, Name);

  if (ActualCapacity != NULL) {
    *ActualCapacity = Size;
  }
  if (NamespaceId != NULL) {
    *NamespaceId = NewId;
  }
  NvmAddObjectStatus (CommandStatus, NewId, NVM_SUCCESS);
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

EFI_STATUS
EFIAPI
NvmGetNamespaces (
  IN     NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN OUT LIST_ENTRY                *NamespaceListHead,
  OUT    UINT32                    *NamespaceCount,
  OUT    COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL            *Model;
  EFI_STATUS           Status;
  UINTN                Index;
  UINT32               Added;
  NVM_MODEL_NAMESPACE  *Namespace;
  NVM_MODEL_REGION     *Region;
  NAMESPACE_INFO       *Node;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_NAMESPACES, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (NamespaceListHead == NULL || NamespaceCount == NULL || CommandStatus == NULL) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  *NamespaceCount = 0;
  Added           = 0;
  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    Namespace = &Model->Namespaces[Index];
    if (!Namespace->Present) {
      continue;
    }
    // The caller frees the nodes.
    Node = (NAMESPACE_INFO *)AllocateZeroPool (sizeof (NAMESPACE_INFO));
    if (Node == NULL) {
      // No half list: take back what this call linked.
      while (Added-- != 0) {
        LIST_ENTRY  *Last = NamespaceListHead->BackLink;
        RemoveEntryList (Last);
        FreePool (BASE_CR (Last, NAMESPACE_INFO, Link));
      }
      return NvmReturn (CommandStatus, EFI_OUT_OF_RESOURCES, NVM_ERR_UNKNOWN);
    }
    Region            = NvmModelFindRegion (Model, Namespace->RegionId);
    Node->Signature   = NAMESPACE_INFO_SIGNATURE;
    Node->NamespaceGuid = Namespace->Guid;
    Node->NamespaceId = Namespace->NamespaceId;
    CopyMem (Node->Name, Namespace->Name, sizeof (Node->Name));
    // A namespace behind a locked module cannot be read.
    Node->HealthState = (Region == NULL || !NvmRegionUsable (Model, Region)) ? (UINT16)NAMESPACE_HEALTH_CRITICAL : Namespace->HealthState;
    Node->RegionId    = Namespace->RegionId;
    Node->BlockSize   = Namespace->BlockSize;
    Node->BlockCount  = Namespace->BlockCount;
    InsertTailList (NamespaceListHead, &Node->Link);
    Added++;
  }
  *NamespaceCount = Added;
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

// Checks shared by rename and delete; EFI_SUCCESS lets the change go ahead.
STATIC
EFI_STATUS
CheckChange (
  IN  NVM_MODEL            *Model,
  IN  NVM_MODEL_NAMESPACE  *Namespace,
  IN  BOOLEAN              Force,
  OUT UINT16               *NvmStatus
  )
{
  NVM_MODEL_REGION  *Region;

  if (Namespace == NULL) {
    *NvmStatus = NVM_ERR_NAMESPACE_NOT_FOUND;
    return EFI_NOT_FOUND;
  }
  Region = NvmModelFindRegion (Model, Namespace->RegionId);
  if (Region == NULL || !NvmRegionUsable (Model, Region)) {
    *NvmStatus = NVM_ERR_REGION_UNUSABLE;
    return EFI_ACCESS_DENIED;
  }
  if (Namespace->InUse && !Force) {
    *NvmStatus = NVM_ERR_FORCE_REQUIRED;
    return EFI_ABORTED;
  }
  *NvmStatus = NVM_SUCCESS;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmModifyNamespace (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    NamespaceId,
  IN  CHAR8                     *Name,
  IN  BOOLEAN                   Force,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL            *Model;
  EFI_STATUS           Status;
  UINT16               NvmStatus;
  NVM_MODEL_NAMESPACE  *Namespace;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_MODIFY_NAMESPACE, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (!NameValid (Name)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_NAMESPACE_NAME);
  }
  Namespace = NvmModelFindNamespace (Model, NamespaceId);
  Status    = CheckChange (Model, Namespace, Force, &NvmStatus);
  NvmAddObjectStatus (CommandStatus, NamespaceId, NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }
  CopyName (Namespace->Name, Name);
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

EFI_STATUS
EFIAPI
NvmDeleteNamespace (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  BOOLEAN                   Force,
  IN  UINT16                    NamespaceId,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL            *Model;
  EFI_STATUS           Status;
  UINT16               NvmStatus;
  NVM_MODEL_NAMESPACE  *Namespace;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_DELETE_NAMESPACE, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  Namespace = NvmModelFindNamespace (Model, NamespaceId);
  Status    = CheckChange (Model, Namespace, Force, &NvmStatus);
  NvmAddObjectStatus (CommandStatus, NamespaceId, NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }
  ZeroMem (Namespace, sizeof (*Namespace));
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

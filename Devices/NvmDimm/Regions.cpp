/** @file
  Regions: forming them from configured modules (one interleaved region per
  socket for App Direct, one per module for App Direct Not Interleaved) and
  reporting them.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>

UINT64
NvmRegionCapacity (
  IN NVM_MODEL               *Model,
  IN CONST NVM_MODEL_REGION  *Region
  )
{
  UINTN           Index;
  UINT64          Capacity;
  NVM_MODEL_DIMM  *Dimm;

  Capacity = 0;
  for (Index = 0; Index < Region->DimmCount && Index < REGION_MAX_DIMMS; Index++) {
    Dimm = NvmModelFindDimm (Model, Region->DimmIds[Index]);
    if (Dimm != NULL) {
      Capacity += Dimm->AppDirectCapacity;
    }
  }
  return Capacity;
}

UINT64
NvmRegionFreeCapacity (
  IN NVM_MODEL               *Model,
  IN CONST NVM_MODEL_REGION  *Region
  )
{
  UINTN   Index;
  UINT64  Used;
  UINT64  Capacity;

  Used = 0;
  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    if (Model->Namespaces[Index].Present && Model->Namespaces[Index].RegionId == Region->RegionId) {
      Used += Model->Namespaces[Index].BlockSize * Model->Namespaces[Index].BlockCount;
    }
  }
  Capacity = NvmRegionCapacity (Model, Region);
  return Used >= Capacity ? 0 : Capacity - Used;
}

// Namespaces take whole gibibytes from every module of the interleave set.
UINT64
NvmRegionAlignment (
  IN CONST NVM_MODEL_REGION  *Region
  )
{
  return NVM_CAPACITY_ALIGNMENT * (Region->DimmCount == 0 ? 1 : Region->DimmCount);
}

BOOLEAN
NvmRegionUsable (
  IN NVM_MODEL               *Model,
  IN CONST NVM_MODEL_REGION  *Region
  )
{
  UINTN           Index;
  NVM_MODEL_DIMM  *Dimm;

  for (Index = 0; Index < Region->DimmCount && Index < REGION_MAX_DIMMS; Index++) {
    Dimm = NvmModelFindDimm (Model, Region->DimmIds[Index]);
    // A locked module's persistent memory cannot be reached.
    if (Dimm == NULL || (Dimm->SecurityEnabled && Dimm->Locked)) {
      return FALSE;
    }
  }
  return TRUE;
}

VOID
NvmRemoveRegion (
  IN OUT NVM_MODEL         *Model,
  IN     NVM_MODEL_REGION  *Region
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_NAMESPACES; Index++) {
    if (Model->Namespaces[Index].Present && Model->Namespaces[Index].RegionId == Region->RegionId) {
      ZeroMem (&Model->Namespaces[Index], sizeof (Model->Namespaces[Index]));
    }
  }
  ZeroMem (Region, sizeof (*Region));
}

STATIC
BOOLEAN
DimmInAnyRegion (
  IN NVM_MODEL  *Model,
  IN UINT16     DimmId
  )
{
  UINTN  Index;

  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    if (Model->Regions[Index].Present && NvmRegionHasDimm (&Model->Regions[Index], DimmId)) {
      return TRUE;
    }
  }
  return FALSE;
}

STATIC
NVM_MODEL_REGION *
NewRegion (
  IN OUT NVM_MODEL  *Model,
  IN     UINT16     SocketId,
  IN     UINT8      RegionType
  )
{
  UINTN   Index;
  UINT16  RegionId;

  // The lowest identifier not in use.
  for (RegionId = 1; NvmModelFindRegion (Model, RegionId) != NULL; RegionId++) {
  }
  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    if (!Model->Regions[Index].Present) {
      Model->Regions[Index].Present    = 1;
      Model->Regions[Index].RegionId   = RegionId;
      Model->Regions[Index].SocketId   = SocketId;
      Model->Regions[Index].RegionType = RegionType;
      return &Model->Regions[Index];
    }
  }
  return NULL;
}

STATIC
BOOLEAN
WantsRegion (
  IN CONST NVM_MODEL_DIMM  *Dimm,
  IN UINT16                SocketId,
  IN UINT8                 MemType
  )
{
  return Dimm->SocketId == SocketId && Dimm->Configured && Dimm->AppDirectCapacity != 0 &&
         Dimm->PersistentMemType == MemType;
}

// Regions in the order the protocol reports them: by socket, then by id.
STATIC
VOID
SortRegions (
  IN OUT NVM_MODEL  *Model
  )
{
  UINTN             Index;
  UINTN             Back;
  NVM_MODEL_REGION  Moving;

  for (Index = 1; Index < NVM_MAX_REGIONS; Index++) {
    Moving = Model->Regions[Index];
    Back   = Index;
    while (Back > 0) {
      CONST NVM_MODEL_REGION  *Before = &Model->Regions[Back - 1];
      BOOLEAN                 After;
      if (!Moving.Present) {
        After = TRUE;
      } else if (!Before->Present) {
        After = FALSE;
      } else {
        After = Before->SocketId < Moving.SocketId ||
                (Before->SocketId == Moving.SocketId && Before->RegionId < Moving.RegionId);
      }
      if (After) {
        break;
      }
      Model->Regions[Back] = *Before;
      Back--;
    }
    Model->Regions[Back] = Moving;
  }
}

VOID
NvmFormRegions (
  IN OUT NVM_MODEL      *Model,
  IN     CONST BOOLEAN  *Touched
  )
{
  UINTN             Index;
  UINTN             Member;
  UINT32            Dimm;
  UINT16            SocketId;
  UINT16            Joining[REGION_MAX_DIMMS];
  UINTN             JoiningCount;
  NVM_MODEL_REGION  *Region;
  NVM_MODEL_DIMM    *Found;

  // A region that loses or changes a module is gone, with its namespaces.
  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    Region = &Model->Regions[Index];
    for (Member = 0; Region->Present && Member < Region->DimmCount; Member++) {
      Found = NvmModelFindDimm (Model, Region->DimmIds[Member]);
      if (Found == NULL || Touched[Found - Model->Dimms]) {
        NvmRemoveRegion (Model, Region);
      }
    }
  }

  for (SocketId = 0; SocketId < NVM_MAX_SOCKETS; SocketId++) {
    if (!Model->Sockets[SocketId].Present) {
      continue;
    }
    JoiningCount = 0;
    for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
      if (WantsRegion (&Model->Dimms[Dimm], SocketId, GOAL_MEMORY_TYPE_APP_DIRECT) &&
          !DimmInAnyRegion (Model, Model->Dimms[Dimm].DimmId) && JoiningCount < REGION_MAX_DIMMS)
      {
        Joining[JoiningCount++] = Model->Dimms[Dimm].DimmId;
      }
    }
    if (JoiningCount != 0) {
      // Newcomers change the socket's interleave set: it is formed anew
      // over the old members and the new ones.
      for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
        Region = &Model->Regions[Index];
        if (Region->Present && Region->SocketId == SocketId && Region->RegionType == REGION_TYPE_APP_DIRECT) {
          for (Member = 0; Member < Region->DimmCount && JoiningCount < REGION_MAX_DIMMS; Member++) {
            Joining[JoiningCount++] = Region->DimmIds[Member];
          }
          NvmRemoveRegion (Model, Region);
        }
      }
      Region = NewRegion (Model, SocketId, REGION_TYPE_APP_DIRECT);
      if (Region != NULL) {
        // Members in the modules' order.
        for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
          for (Member = 0; Member < JoiningCount; Member++) {
            if (Joining[Member] == Model->Dimms[Dimm].DimmId) {
              Region->DimmIds[Region->DimmCount++] = Joining[Member];
              break;
            }
          }
        }
      }
    }

    for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
      if (WantsRegion (&Model->Dimms[Dimm], SocketId, GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED) &&
          !DimmInAnyRegion (Model, Model->Dimms[Dimm].DimmId))
      {
        Region = NewRegion (Model, SocketId, REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED);
        if (Region != NULL) {
          Region->DimmIds[0] = Model->Dimms[Dimm].DimmId;
          Region->DimmCount  = 1;
        }
      }
    }
  }
  SortRegions (Model);
}

STATIC
UINT32
RegionCount (
  IN NVM_MODEL  *Model
  )
{
  UINTN   Index;
  UINT32  Count;

  Count = 0;
  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    Count += Model->Regions[Index].Present ? 1 : 0;
  }
  return Count;
}

EFI_STATUS
EFIAPI
NvmGetRegionCount (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  OUT UINT32                    *Count
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_REGION_COUNT, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (Count == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  *Count = RegionCount (Model);
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmGetRegions (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT32                    Count,
  OUT REGION_RECORD             *Regions,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL         *Model;
  EFI_STATUS        Status;
  UINTN             Index;
  UINTN             Member;
  UINT32            Filled;
  UINT64            Alignment;
  NVM_MODEL_REGION  *Region;
  REGION_RECORD     *Record;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_REGIONS, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL || (Regions == NULL && Count != 0)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  if (Count < RegionCount (Model)) {
    return NvmReturn (CommandStatus, EFI_BUFFER_TOO_SMALL, NVM_ERR_BUFFER_TOO_SMALL);
  }

  Filled = 0;
  for (Index = 0; Index < NVM_MAX_REGIONS; Index++) {
    Region = &Model->Regions[Index];
    if (!Region->Present) {
      continue;
    }
    Record = &Regions[Filled++];
    ZeroMem (Record, sizeof (*Record));
    Alignment                      = NvmRegionAlignment (Region);
    Record->RegionId               = Region->RegionId;
    Record->SocketId               = Region->SocketId;
    Record->RegionType             = Region->RegionType;
    Record->Capacity               = NvmRegionCapacity (Model, Region);
    Record->FreeCapacity           = NvmRegionFreeCapacity (Model, Region);
    Record->AppDirNamespaceMaxSize = NvmAlignDown (Record->FreeCapacity, Alignment);
    Record->AppDirNamespaceMinSize = Alignment;
    Record->Health                 = NvmRegionUsable (Model, Region) ? NVM_REGION_HEALTH_HEALTHY : NVM_REGION_HEALTH_UNUSABLE;
    Record->DimmCount              = Region->DimmCount;
    for (Member = 0; Member < Region->DimmCount && Member < REGION_MAX_DIMMS; Member++) {
      Record->DimmIds[Member] = Region->DimmIds[Member];
    }
  }
  NvmSetGeneralStatus (CommandStatus, NVM_SUCCESS);
  return EFI_SUCCESS;
}

/** @file
  Memory allocation goals: created and deleted for the platform, sockets or
  modules, pending until the next memory initialisation applies them.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>

EFI_STATUS
EFIAPI
NvmGetGoalConfigs (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    *DimmIds,
  IN  UINT32                    DimmIdsCount,
  IN  UINT16                    *SocketIds,
  IN  UINT32                    SocketIdsCount,
  IN  UINT32                    GoalTableEntries,
  OUT GOAL_RECORD               *Goals,
  OUT UINT32                    *GoalCount,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  UINT16          NvmStatus;
  UINT32          Index;
  UINT32          Needed;
  NVM_MODEL_DIMM  *Dimm;
  GOAL_RECORD     *Record;
  BOOLEAN         Selected[NVM_MAX_DIMMS];

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_GOAL_CONFIGS, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL || GoalCount == NULL || (Goals == NULL && GoalTableEntries != 0)) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  *GoalCount = 0;
  if (Model->DimmCount == 0) {
    return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
  }
  Status = NvmSelectDimms (Model, DimmIds, DimmIdsCount, SocketIds, SocketIdsCount, Selected, &NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }

  Needed = 0;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    Needed += (Selected[Index] && Model->Dimms[Index].Goal.Pending) ? 1 : 0;
  }
  if (Needed > GoalTableEntries) {
    *GoalCount = Needed;
    return NvmReturn (CommandStatus, EFI_BUFFER_TOO_SMALL, NVM_ERR_BUFFER_TOO_SMALL);
  }
  for (Index = 0; Index < Model->DimmCount; Index++) {
    Dimm = &Model->Dimms[Index];
    if (!Selected[Index] || !Dimm->Goal.Pending) {
      continue;
    }
    Record = &Goals[(*GoalCount)++];
    ZeroMem (Record, sizeof (*Record));
    Record->DimmHandle        = Dimm->DimmHandle;
    Record->DimmId            = Dimm->DimmId;
    Record->PersistentMemType = Dimm->Goal.PersistentMemType;
    Record->VolatilePercent   = Dimm->Goal.VolatilePercent;
    Record->SocketId          = Dimm->SocketId;
    Record->VolatileSize      = Dimm->Goal.VolatileSize;
    Record->AppDirect1Size    = Dimm->Goal.AppDirectSize;
    Record->AppDirect2Size    = 0;
  }
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

EFI_STATUS
EFIAPI
NvmCreateGoalConfig (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  BOOLEAN                   Reserved,
  IN  UINT16                    *DimmIds,
  IN  UINT32                    DimmIdsCount,
  IN  UINT16                    *SocketIds,
  IN  UINT32                    SocketIdsCount,
  IN  UINT8                     PersistentMemType,
  IN  UINT32                    VolatilePercent,
  IN  UINT32                    ReservedPercent,
  IN  UINT8                     ReserveDimm,
  IN  UINT16                    LabelVersionMajor,
  IN  UINT16                    LabelVersionMinor,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  UINT16          NvmStatus;
  UINT16          Refusal;
  UINT32          Index;
  UINT64          Inaccessible;
  NVM_MODEL_DIMM  *Dimm;
  BOOLEAN         Selected[NVM_MAX_DIMMS];

  (VOID)This;
  (VOID)Reserved;
  (VOID)ReserveDimm;
  (VOID)LabelVersionMajor;
  (VOID)LabelVersionMinor;
  if (NvmSlotEnter (NVM_SLOT_CREATE_GOAL_CONFIG, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if ((PersistentMemType != GOAL_MEMORY_TYPE_APP_DIRECT && PersistentMemType != GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED) ||
      VolatilePercent > 100 || ReservedPercent > 100 - VolatilePercent)
  {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_GOAL_PARAMETERS);
  }
  Status = NvmSelectDimms (Model, DimmIds, DimmIdsCount, SocketIds, SocketIdsCount, Selected, &NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }

  // All or nothing: one refused module refuses the whole request.
  Refusal = NVM_SUCCESS;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    Dimm = &Model->Dimms[Index];
    if (!Selected[Index]) {
      continue;
    }
    NvmStatus = NVM_SUCCESS;
    if (Dimm->SecurityEnabled) {
      NvmStatus = NVM_ERR_CREATE_GOAL_NOT_ALLOWED;
    } else if (Dimm->Goal.Pending) {
      NvmStatus = NVM_ERR_GOAL_ALREADY_EXISTS;
    }
    if (NvmStatus != NVM_SUCCESS) {
      NvmAddObjectStatus (CommandStatus, Dimm->DimmId, NvmStatus);
      if (Refusal == NVM_SUCCESS) {
        Refusal = NvmStatus;
      }
    }
  }
  if (Refusal != NVM_SUCCESS) {
    return NvmReturn (CommandStatus, EFI_ACCESS_DENIED, Refusal);
  }

  for (Index = 0; Index < Model->DimmCount; Index++) {
    Dimm = &Model->Dimms[Index];
    if (!Selected[Index]) {
      continue;
    }
    ZeroMem (&Dimm->Goal, sizeof (Dimm->Goal));
    Dimm->Goal.Pending           = 1;
    Dimm->Goal.PersistentMemType = PersistentMemType;
    Dimm->Goal.VolatilePercent   = VolatilePercent;
    Dimm->Goal.ReservedPercent   = ReservedPercent;
    NvmSplitCapacity (
      Dimm->RawCapacity,
      VolatilePercent,
      ReservedPercent,
      &Dimm->Goal.VolatileSize,
      &Dimm->Goal.AppDirectSize,
      &Dimm->Goal.ReservedSize,
      &Inaccessible
      );
    NvmAddObjectStatus (CommandStatus, Dimm->DimmId, NVM_SUCCESS);
  }
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

EFI_STATUS
EFIAPI
NvmDeleteGoalConfig (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    *DimmIds,
  IN  UINT32                    DimmIdsCount,
  IN  UINT16                    *SocketIds,
  IN  UINT32                    SocketIdsCount,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;
  UINT16      NvmStatus;
  UINT32      Index;
  BOOLEAN     Deleted;
  BOOLEAN     Selected[NVM_MAX_DIMMS];

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_DELETE_GOAL_CONFIG, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  Status = NvmSelectDimms (Model, DimmIds, DimmIdsCount, SocketIds, SocketIdsCount, Selected, &NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }
  Deleted = FALSE;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    if (Selected[Index] && Model->Dimms[Index].Goal.Pending) {
      ZeroMem (&Model->Dimms[Index].Goal, sizeof (Model->Dimms[Index].Goal));
      NvmAddObjectStatus (CommandStatus, Model->Dimms[Index].DimmId, NVM_SUCCESS);
      Deleted = TRUE;
    }
  }
  if (!Deleted) {
    return NvmReturn (CommandStatus, EFI_NOT_FOUND, NVM_ERR_NO_GOAL_TO_DELETE);
  }
  return NvmReturn (CommandStatus, EFI_SUCCESS, NVM_SUCCESS);
}

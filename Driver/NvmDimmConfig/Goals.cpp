/** @file
  Goal operations over the NVM DIMM config protocol. Goals take effect when
  the platform's memory initialisation processes them at the next boot.
**/
#include "Goals.h"
#include "CarvexConfig.h"
#include "NvmStatus.h"
#include <NvmDimmRecords.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>

PENDING_GOAL_DETAILS  mPendingGoal;

// The protocol's per-module goal records of the last query.
STATIC GOAL_RECORD  mGoalEntries[GOAL_TABLE_ENTRIES];
static_assert (sizeof (mGoalEntries) == 10752, "goal entry buffer is 10752 bytes");

// The constant arguments the protocol's goal creation always receives.
#define GOAL_CREATE_RESERVED          FALSE
#define GOAL_CREATE_RESERVED_PERCENT  0
#define GOAL_CREATE_RESERVE_DIMM      0
#define GOAL_LABEL_VERSION_MAJOR      1
#define GOAL_LABEL_VERSION_MINOR      2

STATIC
VOID
LogGoalScope (
  IN CONST CHAR8   *pName,
  IN CONST UINT16  *pDimmIds,
  IN UINT32        DimmIdsCount,
  IN CONST UINT16  *pSocketIds,
  IN UINT32        SocketIdsCount
  )
{
  DEBUG ((DEBUG_WARN, "%a:DimmIdsCount %d, pDimmIds %p\n", pName, DimmIdsCount, pDimmIds));
  if ((pDimmIds != NULL) && (DimmIdsCount != 0)) {
    for (UINT32 Index = 0; Index < DimmIdsCount; Index++) {
      DEBUG ((DEBUG_WARN, "%a:DimmIds[%d]:0x%04x\n", pName, Index, pDimmIds[Index]));
    }
  }

  DEBUG ((DEBUG_WARN, "%a:SocketIdsCount %d, pSocketIds %p\n", pName, SocketIdsCount, pSocketIds));
  if ((pSocketIds != NULL) && (SocketIdsCount != 0)) {
    for (UINT32 Index = 0; Index < SocketIdsCount; Index++) {
      DEBUG ((DEBUG_WARN, "%a:SocketIds[%d]:0x%04x\n", pName, Index, pSocketIds[Index]));
    }
  }
}

EFI_STATUS
EFIAPI
CreateGoal (
  IN  UINT16  *pDimmIds OPTIONAL,
  IN  UINT32  DimmIdsCount,
  IN  UINT16  *pSocketIds OPTIONAL,
  IN  UINT32  SocketIdsCount,
  IN  UINT8   PersistentMemType,
  IN  UINT32  VolatilePercent,
  OUT UINT16  *pStatusCode
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  LogGoalScope (__func__, pDimmIds, DimmIdsCount, pSocketIds, SocketIdsCount);
  DEBUG ((DEBUG_WARN, "%a:PersistentMemType %d, VolatilePercent %d\n", __func__, PersistentMemType, VolatilePercent));

  Status = mNvmDimmConfigProtocol->CreateGoalConfig (
                                     mNvmDimmConfigProtocol,
                                     GOAL_CREATE_RESERVED,
                                     pDimmIds,
                                     DimmIdsCount,
                                     pSocketIds,
                                     SocketIdsCount,
                                     PersistentMemType,
                                     VolatilePercent,
                                     GOAL_CREATE_RESERVED_PERCENT,
                                     GOAL_CREATE_RESERVE_DIMM,
                                     GOAL_LABEL_VERSION_MAJOR,
                                     GOAL_LABEL_VERSION_MINOR,
                                     pCommandStatus
                                     );
  if (pStatusCode != NULL) {
    *pStatusCode = pCommandStatus->GeneralStatus;
  }

  DEBUG ((DEBUG_ERROR, "%a:CreateGoalConfig:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
DeleteGoal (
  IN UINT16  *pDimmIds OPTIONAL,
  IN UINT32  DimmIdsCount,
  IN UINT16  *pSocketIds OPTIONAL,
  IN UINT32  SocketIdsCount
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  LogGoalScope (__func__, pDimmIds, DimmIdsCount, pSocketIds, SocketIdsCount);

  Status = mNvmDimmConfigProtocol->DeleteGoalConfig (mNvmDimmConfigProtocol, pDimmIds, DimmIdsCount, pSocketIds, SocketIdsCount, pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:DeleteGoalConfig:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
GetPendingGoalDetails (
  IN OUT PENDING_GOAL_DETAILS  *pGoal
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;
  UINT32          EntryCount;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (pGoal == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  ZeroMem (mGoalEntries, sizeof (mGoalEntries));

  pCommandStatus = NULL;
  Status         = InitializeCommandStatus (&pCommandStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to InitializeCommandStatus:%r\n", __func__, Status));
    return Status;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    FreeCommandStatus (&pCommandStatus);
    return Status;
  }

  EntryCount = 0;
  Status     = mNvmDimmConfigProtocol->GetGoalConfigs (
                                         mNvmDimmConfigProtocol,
                                         NULL,
                                         0,
                                         NULL,
                                         0,
                                         GOAL_TABLE_ENTRIES,
                                         mGoalEntries,
                                         &EntryCount,
                                         pCommandStatus
                                         );
  DEBUG ((DEBUG_WARN, "%a:GetGoalConfigs:%r:%d:%d\n", __func__, Status, pCommandStatus->GeneralStatus, EntryCount));

  if (!EFI_ERROR (Status)) {
    // The protocol was told the room; never read past it.
    if (EntryCount > GOAL_TABLE_ENTRIES) {
      EntryCount = GOAL_TABLE_ENTRIES;
    }

    for (UINT32 Index = 0; Index < EntryCount; Index++) {
      pGoal->SocketId[Index]       = mGoalEntries[Index].SocketId;
      pGoal->DimmHandle[Index]     = mGoalEntries[Index].DimmHandle;
      pGoal->VolatileSize[Index]   = mGoalEntries[Index].VolatileSize;
      pGoal->AppDirect1Size[Index] = mGoalEntries[Index].AppDirect1Size;
      pGoal->AppDirect2Size[Index] = mGoalEntries[Index].AppDirect2Size;

      DEBUG ((DEBUG_WARN, "%a:SocketId:%x:%x\n", __func__, pGoal->SocketId[Index], (UINT32)mGoalEntries[Index].SocketId));
      DEBUG ((DEBUG_WARN, "%a:DimmHandle:%x:%x\n", __func__, pGoal->DimmHandle[Index], (UINT32)mGoalEntries[Index].DimmHandle));
      DEBUG ((DEBUG_WARN, "%a:VolatileSize:%lx:%lx\n", __func__, pGoal->VolatileSize[Index], (UINT64)mGoalEntries[Index].VolatileSize));
      DEBUG ((DEBUG_WARN, "%a:AppDirect1Size:%lx:%lx\n", __func__, pGoal->AppDirect1Size[Index], (UINT64)mGoalEntries[Index].AppDirect1Size));
      DEBUG ((DEBUG_WARN, "%a:AppDirect2Size:%lx:%lx\n", __func__, pGoal->AppDirect2Size[Index], (UINT64)mGoalEntries[Index].AppDirect2Size));
    }

    pGoal->Count = EntryCount;
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
  return Status;
}

/** @file
  Goal pages. Opening "Goals" marks, in the browser's SetupVar, the present
  processors, those with an unconfigured module and those holding a
  namespace, and refreshes the pending goals. The two buttons create and
  delete goals for the chosen scope and tell the user the outcome in a
  message box; the pending-goal page lists one processor's pending
  capacities.

  The flag arrays have eight entries: a socket identifier of 8 or more is
  never marked. A processor page holds six pending-goal blocks (a seventh
  pending module of one processor is left off and logged), and a goal for
  unconfigured modules names at most 48 of them (more is refused).
**/
#include "GoalPages.h"
#include "CarvexSetup.h"
#include "CarvexSetupStrDefs.h"
#include "CarvexSetupVar.h"
#include "../Library/MultiLanguageLib/MultiLanguageLib.h"
#include "../KIV/CarvexKiv.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include "../NvmDimmConfig/Namespaces.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>

// Only the first four processors' check boxes take part in a create or
// delete for chosen processors.
#define SETUP_GOAL_SCOPE_SOCKETS  4

// Module identifiers a goal for unconfigured modules can name.
#define SETUP_GOAL_MAX_DIMMS  48

// NVM status of a goal refused because a module has security enabled.
#define NVM_STATUS_CREATE_GOAL_NOT_ALLOWED  36

// The driver's copies of SetupVar and of the pending-goal page's buffer.
// The browser hands back only bytes that some question covers, so bytes
// without a question (the processors holding a namespace, the module names
// of the pending blocks) keep what the driver last wrote: both copies live
// for the boot and are never cleared before a read.
STATIC SETUP_VAR                       mGoalSetupVar;
STATIC SETUP_PENDING_GOAL_DETAILS_VAR  mPendingGoalImage;

STATIC
VOID
ShowGoalMessage (
  IN UINT32         MessageType,
  IN EFI_STRING_ID  StringId
  )
{
  DisplayMessageBox (mHiiHandle, MessageType, StringId, SETUP_MESSAGE_BOX_REPORT, NULL);
}

STATIC
BOOLEAN
ReadSetupVar (
  VOID
  )
{
  return HiiGetBrowserData (&gCarvexSetupFormSetGuid, SETUP_VAR_NAME, sizeof (mGoalSetupVar), (UINT8 *)&mGoalSetupVar);
}

STATIC
BOOLEAN
WriteSetupVar (
  VOID
  )
{
  return HiiSetBrowserData (&gCarvexSetupFormSetGuid, SETUP_VAR_NAME, sizeof (mGoalSetupVar), (CONST UINT8 *)&mGoalSetupVar, NULL);
}

STATIC
BOOLEAN
ReadPendingGoalImage (
  VOID
  )
{
  return HiiGetBrowserData (&gCarvexSetupFormSetGuid, SETUP_PENDING_GOAL_DETAILS_VAR_NAME, sizeof (mPendingGoalImage), (UINT8 *)&mPendingGoalImage);
}

STATIC
BOOLEAN
WritePendingGoalImage (
  VOID
  )
{
  return HiiSetBrowserData (&gCarvexSetupFormSetGuid, SETUP_PENDING_GOAL_DETAILS_VAR_NAME, sizeof (mPendingGoalImage), (CONST UINT8 *)&mPendingGoalImage, NULL);
}

// Sets the eight-entry flag Flags[SocketId]; sockets beyond the array are
// ignored.
STATIC
VOID
MarkSocket (
  IN OUT UINT8  *pFlags,
  IN     UINTN  SocketId
  )
{
  if (SocketId < SETUP_MAX_SOCKETS) {
    pFlags[SocketId] = 1;
  }
}

EFI_STATUS
EFIAPI
UpdateSocketListForGoal (
  VOID
  )
{
  EFI_STATUS         Status;
  UINT16             SocketIds[SETUP_MAX_SOCKETS];
  UINT32             SocketCount;
  DIMM_DETAILS       *pDimmDetails;
  UINT32             DimmCount;
  REGION_DETAILS     *pRegions;
  UINT32             RegionCount;
  NAMESPACE_DETAILS  *pNamespaces;
  UINT32             NamespaceCount;
  UINT8              Flags[SETUP_MAX_SOCKETS];
  UINT32             Index;
  UINT32             Index2;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  pDimmDetails = NULL;
  pRegions     = NULL;
  pNamespaces  = NULL;

  if (!ReadSetupVar ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  ZeroMem (SocketIds, sizeof (SocketIds));
  SocketCount = SETUP_MAX_SOCKETS;
  Status      = GetSockets (SocketIds, &SocketCount);
  if ((Status != EFI_SUCCESS) || (SocketCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:GetSockets:%r:%d\n", __func__, Status, SocketCount));
    goto Done;
  }

  DimmCount = 0;
  Status    = GetDimmDetails (&pDimmDetails, &DimmCount);
  if (EFI_ERROR (Status) || (DimmCount == 0) || (pDimmDetails == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    goto Done;
  }

  RegionCount = 0;
  Status      = GetRegionDetails (&pRegions, &RegionCount);
  DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r:%d:%p\n", __func__, Status, RegionCount, pRegions));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r:%d\n", __func__, Status, RegionCount));
    goto Done;
  }

  NamespaceCount = 0;
  Status         = GetNamespaceDetails (&pNamespaces, &NamespaceCount);
  DEBUG ((DEBUG_ERROR, "%a:GetNamespaceDetails:%r:%d:%p\n", __func__, Status, NamespaceCount, pNamespaces));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetNamespaceDetails:%r:%d\n", __func__, Status, NamespaceCount));
    goto Done;
  }

  // Present processors stay marked; the other two sets are recomputed.
  CopyMem (Flags, mGoalSetupVar.GoalSocketPresent, sizeof (Flags));
  for (Index = 0; Index < SocketCount; Index++) {
    MarkSocket (Flags, SocketIds[Index]);
    DEBUG ((DEBUG_ERROR, "%a:GoalSocketPresent:%d\n", __func__, (UINT32)SocketIds[Index]));
  }

  CopyMem (mGoalSetupVar.GoalSocketPresent, Flags, sizeof (Flags));

  ZeroMem (Flags, sizeof (Flags));
  for (Index = 0; Index < DimmCount; Index++) {
    if (pDimmDetails[Index].Configured == 0) {
      MarkSocket (Flags, pDimmDetails[Index].SocketId);
      DEBUG ((DEBUG_ERROR, "%a:CreateGoalSocketUnconfigured:%d\n", __func__, (UINT32)pDimmDetails[Index].SocketId));
    }
  }

  CopyMem (mGoalSetupVar.CreateGoalSocketUnconfigured, Flags, sizeof (Flags));

  ZeroMem (Flags, sizeof (Flags));
  if ((pNamespaces != NULL) && (pRegions != NULL)) {
    for (Index = 0; Index < NamespaceCount; Index++) {
      for (Index2 = 0; Index2 < RegionCount; Index2++) {
        if (pNamespaces[Index].RegionId == pRegions[Index2].RegionId) {
          MarkSocket (Flags, pRegions[Index2].SocketId);
          DEBUG ((DEBUG_ERROR, "%a:GoalSocketHasNamespace:%d\n", __func__, (UINT32)pRegions[Index2].SocketId));
        }
      }
    }
  }

  CopyMem (mGoalSetupVar.GoalSocketHasNamespace, Flags, sizeof (Flags));

  if (!WriteSetupVar ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", __func__));
    Status = EFI_ABORTED;
  }

Done:
  if (pDimmDetails != NULL) {
    FreePool (pDimmDetails);
  }

  if (pRegions != NULL) {
    FreePool (pRegions);
  }

  if (pNamespaces != NULL) {
    FreePool (pNamespaces);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
UpdatePendingGoalForGoal (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT32      Count;
  UINT32      Index;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (!ReadPendingGoalImage ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  ZeroMem (&mPendingGoal, sizeof (mPendingGoal));
  Status = GetPendingGoalDetails (&mPendingGoal);
  DEBUG ((DEBUG_ERROR, "%a:GetPendingGoalDetails:%r\n", __func__, Status));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  Count = (mPendingGoal.Count < GOAL_TABLE_ENTRIES) ? mPendingGoal.Count : GOAL_TABLE_ENTRIES;
  mPendingGoalImage.PendingGoalExists = 0;
  ZeroMem (mPendingGoalImage.PendingGoalSocket, sizeof (mPendingGoalImage.PendingGoalSocket));
  for (Index = 0; Index < Count; Index++) {
    if (mPendingGoal.DimmHandle[Index] != 0) {
      MarkSocket (mPendingGoalImage.PendingGoalSocket, mPendingGoal.SocketId[Index]);
      mPendingGoalImage.PendingGoalExists = 1;
    }
  }

  if (!WritePendingGoalImage ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", __func__));
    Status = EFI_ABORTED;
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SetupCheckNamespace (
  IN UINT16  QuestionId
  )
{
  EFI_STATUS  Status;
  UINT16      Socket;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = EFI_SUCCESS;
  if ((QuestionId >= SETUP_QID_CREATE_GOAL_SOCKET) && (QuestionId < SETUP_QID_CREATE_GOAL_SOCKET + SETUP_MAX_SOCKETS)) {
    Socket = (UINT16)(QuestionId - SETUP_QID_CREATE_GOAL_SOCKET);
    if (!ReadSetupVar ()) {
      DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
      Status = EFI_LOAD_ERROR;
    } else if (mGoalSetupVar.GoalSocketHasNamespace[Socket] != 0) {
      ShowGoalMessage (SETUP_MESSAGE_TYPE_WARNING, STR_SETUP_MSG_GOAL_NAMESPACE_EXISTS);
      mGoalSetupVar.CreateGoalSocket[Socket] = 0;
      if (!WriteSetupVar ()) {
        DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", __func__));
        Status = EFI_ABORTED;
      }
    }
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// The first four processors whose box is set, ascending.
STATIC
UINT32
CollectScopeSockets (
  IN  CONST UINT8  *pBoxes,
  OUT UINT16       *pSocketIds
  )
{
  UINT32  Count;
  UINT16  Socket;

  Count = 0;
  for (Socket = 0; Socket < SETUP_GOAL_SCOPE_SOCKETS; Socket++) {
    if (pBoxes[Socket] != 0) {
      pSocketIds[Count++] = Socket;
    }
  }

  return Count;
}

EFI_STATUS
EFIAPI
SetupCreateGoal (
  VOID
  )
{
  EFI_STATUS    Status;
  DIMM_DETAILS  *pDimmDetails;
  UINT32        DimmCount;
  UINT16        SocketIds[SETUP_MAX_SOCKETS];
  UINT32        SocketCount;
  UINT16        DimmIds[SETUP_GOAL_MAX_DIMMS];
  UINT32        DimmIdCount;
  UINT16        StatusCode;
  UINT8         Boxes[SETUP_MAX_SOCKETS];
  UINT32        Index;
  UINT16        Socket;
  BOOLEAN       Called;
  CHAR16        Name[DIMM_DEVICE_LOCATOR_LENGTH + 1];

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (!ReadSetupVar ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  pDimmDetails = NULL;
  DimmCount    = 0;
  Status       = GetDimmDetails (&pDimmDetails, &DimmCount);
  if (EFI_ERROR (Status) || (DimmCount == 0) || (pDimmDetails == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    if (pDimmDetails != NULL) {
      FreePool (pDimmDetails);
    }

    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  ZeroMem (SocketIds, sizeof (SocketIds));
  ZeroMem (DimmIds, sizeof (DimmIds));
  CopyMem (Boxes, mGoalSetupVar.CreateGoalSocket, sizeof (Boxes));
  StatusCode = 0;
  Called     = FALSE;

  switch (mGoalSetupVar.CreateGoalScope) {
    case SETUP_GOAL_SCOPE_PLATFORM:
      DEBUG ((DEBUG_WARN, "%a:Create goal for Intel NVM DIMMs in the system.\n", __func__));
      for (Index = 0; Index < SETUP_MAX_SOCKETS; Index++) {
        if (mGoalSetupVar.GoalSocketHasNamespace[Index] != 0) {
          break;
        }
      }

      if (Index < SETUP_MAX_SOCKETS) {
        ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_NAMESPACE_EXISTS);
        break;
      }

      Status = CreateGoal (NULL, 0, NULL, 0, mGoalSetupVar.PersistentMemType, mGoalSetupVar.VolatilePercent, &StatusCode);
      Called = TRUE;
      DEBUG ((DEBUG_WARN, "%a:CreateGoal for all:%r\n", __func__, Status));
      break;

    case SETUP_GOAL_SCOPE_PROCESSOR:
      DEBUG ((DEBUG_WARN, "%a:Create goal for Intel NVM DIMMs under selected processors.\n", __func__));
      SocketCount = CollectScopeSockets (Boxes, SocketIds);
      if (SocketCount == 0) {
        ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_NO_DIMM_SELECTED);
        break;
      }

      Status = CreateGoal (NULL, 0, SocketIds, SocketCount, mGoalSetupVar.PersistentMemType, mGoalSetupVar.VolatilePercent, &StatusCode);
      Called = TRUE;
      DEBUG ((DEBUG_WARN, "%a:CreateGoal for socket:%r\n", __func__, Status));
      break;

    case SETUP_GOAL_SCOPE_UNCONFIGURED:
      DEBUG ((DEBUG_WARN, "%a:Create goal for unconfigured Intel NVM DIMMs.\n", __func__));
      DimmIdCount = 0;
      for (Socket = 0; Socket < SETUP_GOAL_SCOPE_SOCKETS; Socket++) {
        if (Boxes[Socket] == 0) {
          continue;
        }

        for (Index = 0; Index < DimmCount; Index++) {
          if ((pDimmDetails[Index].SocketId != Socket) || (pDimmDetails[Index].Configured != 0)) {
            continue;
          }

          ZeroMem (Name, sizeof (Name));
          CopyMem (Name, pDimmDetails[Index].DeviceLocator, sizeof (pDimmDetails[Index].DeviceLocator));
          DEBUG ((DEBUG_WARN, "%a:%s is not configured\n", __func__, Name));
          if (DimmIdCount == SETUP_GOAL_MAX_DIMMS) {
            // A goal for part of the modules asked for would be worse than none.
            DEBUG ((DEBUG_ERROR, "%a:More than %d unconfigured modules\n", __func__, SETUP_GOAL_MAX_DIMMS));
            Status = EFI_BUFFER_TOO_SMALL;
            break;
          }

          DimmIds[DimmIdCount++] = pDimmDetails[Index].DimmID;
        }

        if (Status == EFI_BUFFER_TOO_SMALL) {
          break;
        }
      }

      if (Status == EFI_BUFFER_TOO_SMALL) {
        ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_CREATE_FAILED);
        break;
      }

      if (DimmIdCount == 0) {
        ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_NO_DIMM_SELECTED);
        break;
      }

      Status = CreateGoal (DimmIds, DimmIdCount, NULL, 0, mGoalSetupVar.PersistentMemType, mGoalSetupVar.VolatilePercent, &StatusCode);
      Called = TRUE;
      DEBUG ((DEBUG_WARN, "%a:CreateGoal for unconfigured:%r\n", __func__, Status));
      break;

    default:
      DEBUG ((DEBUG_ERROR, "%a:Unsupported scope:%d\n", __func__, (UINT32)mGoalSetupVar.CreateGoalScope));
      Status = EFI_INVALID_PARAMETER;
      break;
  }

  if (Called) {
    if (!EFI_ERROR (Status)) {
      ShowGoalMessage (SETUP_MESSAGE_TYPE_INFO, STR_SETUP_MSG_GOAL_CREATED);
      UpdatePendingGoalForGoal ();
      DEBUG ((DEBUG_WARN, "%a:UpdatePendingGoalForGoal after create goal successfully.\n", __func__));
      // The controller must see the new pending goal.
      ForceKivSyncWithOOB ();
    } else if (StatusCode == NVM_STATUS_CREATE_GOAL_NOT_ALLOWED) {
      ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_SECURITY_ENABLED);
    } else {
      ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_CREATE_FAILED);
    }
  }

  FreePool (pDimmDetails);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SetupDeleteGoal (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT16      SocketIds[SETUP_MAX_SOCKETS];
  UINT32      SocketCount;
  UINT8       Boxes[SETUP_MAX_SOCKETS];

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (!ReadSetupVar ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  ZeroMem (SocketIds, sizeof (SocketIds));
  switch (mGoalSetupVar.DeleteGoalScope) {
    case SETUP_GOAL_SCOPE_PLATFORM:
      DEBUG ((DEBUG_WARN, "%a:Delete goal for Intel Optane DCPMMs in the system.\n", __func__));
      Status = DeleteGoal (NULL, 0, NULL, 0);
      DEBUG ((DEBUG_WARN, "%a:DeleteGoal for all:%r\n", __func__, Status));
      break;

    case SETUP_GOAL_SCOPE_PROCESSOR:
      CopyMem (Boxes, mGoalSetupVar.DeleteGoalSocket, sizeof (Boxes));
      SocketCount = CollectScopeSockets (Boxes, SocketIds);
      if (SocketCount == 0) {
        ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_NO_DIMM_SELECTED);
        Status = EFI_SUCCESS;
        DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
        return Status;
      }

      Status = DeleteGoal (NULL, 0, SocketIds, SocketCount);
      DEBUG ((DEBUG_WARN, "%a:DeleteGoal for socket:%r\n", __func__, Status));
      break;

    default:
      DEBUG ((DEBUG_ERROR, "%a:Unsupported scope:%d\n", __func__, (UINT32)mGoalSetupVar.DeleteGoalScope));
      Status = EFI_INVALID_PARAMETER;
      DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
      return Status;
  }

  if (!EFI_ERROR (Status)) {
    ShowGoalMessage (SETUP_MESSAGE_TYPE_INFO, STR_SETUP_MSG_GOAL_DELETED);
    UpdatePendingGoalForGoal ();
    DEBUG ((DEBUG_WARN, "%a:UpdatePendingGoalForGoal after delete goal successfully.\n", __func__));
  } else {
    ShowGoalMessage (SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_GOAL_DELETE_FAILED);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Writes a capacity text into a text field of a pending-goal block.
STATIC
VOID
PutCapacity (
  OUT UINT8   *pBlock,
  IN  UINTN   FieldOffset,
  IN  UINT64  Bytes
  )
{
  CHAR16  Text[SETUP_CAPACITY_STR_LEN];

  ZeroMem (Text, sizeof (Text));
  ConvertCapacityToStr (Bytes, Text, sizeof (Text));
  CopyMem (pBlock + FieldOffset, Text, sizeof (Text));
}

EFI_STATUS
EFIAPI
UpdatePendingGoalDetailsForPoocessor (
  IN UINT16  SocketIndex
  )
{
  EFI_STATUS    Status;
  DIMM_DETAILS  *pDimmDetails;
  UINT32        DimmCount;
  UINT32        GoalCount;
  UINT32        Index;
  UINT32        Index2;
  UINT32        Block;
  UINT8         *pBlock;
  CHAR16        Name[DIMM_DEVICE_LOCATOR_LENGTH + 1];

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  if (!ReadPendingGoalImage ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  // Older blocks keep their contents but are hidden by the count.
  mPendingGoalImage.PendingGoalModuleCount = 0;

  pDimmDetails = NULL;
  DimmCount    = 0;
  Status       = GetDimmDetails (&pDimmDetails, &DimmCount);
  if (EFI_ERROR (Status) || (DimmCount == 0) || (pDimmDetails == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    if (pDimmDetails != NULL) {
      FreePool (pDimmDetails);
    }

    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  Block     = 0;
  GoalCount = (mPendingGoal.Count < GOAL_TABLE_ENTRIES) ? mPendingGoal.Count : GOAL_TABLE_ENTRIES;
  for (Index = 0; Index < GoalCount; Index++) {
    if (mPendingGoal.SocketId[Index] != SocketIndex) {
      continue;
    }

    for (Index2 = 0; Index2 < DimmCount; Index2++) {
      DEBUG ((
        DEBUG_ERROR,
        "%a:Index:%d, Index2:%d, mPendingGoal.DimmHandle[Index]:%x, pDimmDetails[Index2].DimmHanle:%x, mPendingGoal.SocketId[Index]:%x, \n",
        __func__,
        Index,
        Index2,
        mPendingGoal.DimmHandle[Index],
        (UINT32)pDimmDetails[Index2].DimmHandle,
        mPendingGoal.SocketId[Index]
        ));
      if ((UINT32)pDimmDetails[Index2].DimmHandle == mPendingGoal.DimmHandle[Index]) {
        break;
      }
    }

    if (Index2 == DimmCount) {
      continue;
    }

    if (Block == SETUP_MAX_DIMMS_PER_SOCKET) {
      DEBUG ((DEBUG_ERROR, "%a:No block for the pending goal of module %d on socket %d\n", __func__, (UINT32)pDimmDetails[Index2].DimmID, (UINT32)SocketIndex));
      continue;
    }

    ZeroMem (Name, sizeof (Name));
    CopyMem (Name, pDimmDetails[Index2].DeviceLocator, sizeof (pDimmDetails[Index2].DeviceLocator));
    HiiSetString (mHiiHandle, (EFI_STRING_ID)(STR_SETUP_GOAL_PENDING_DIMM_NAME_0 + Block), Name, "en-US");

    pBlock = (UINT8 *)&mPendingGoalImage + OFFSET_OF (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalBlock) + Block * sizeof (SETUP_PENDING_GOAL_BLOCK);
    CopyMem (pBlock + OFFSET_OF (SETUP_PENDING_GOAL_BLOCK, ModuleName), pDimmDetails[Index2].DeviceLocator, sizeof (SETUP_PENDING_GOAL_BLOCK::ModuleName));
    PutCapacity (pBlock, OFFSET_OF (SETUP_PENDING_GOAL_BLOCK, MemoryCapacityStr), mPendingGoal.VolatileSize[Index]);
    PutCapacity (pBlock, OFFSET_OF (SETUP_PENDING_GOAL_BLOCK, AppDirect1CapacityStr), mPendingGoal.AppDirect1Size[Index]);
    PutCapacity (pBlock, OFFSET_OF (SETUP_PENDING_GOAL_BLOCK, AppDirect2CapacityStr), mPendingGoal.AppDirect2Size[Index]);
    Block++;
  }

  mPendingGoalImage.PendingGoalModuleCount = (UINT8)Block;
  if ((Block != 0) && (SocketIndex < SETUP_MAX_SOCKETS)) {
    UpdateStringforMultiLanguange (mHiiHandle, (UINT16)(STR_SETUP_GOAL_PENDING_PROCESSOR_1 + SocketIndex), STR_SETUP_GOAL_PENDING_TITLE, NULL);
  }

  if (!WritePendingGoalImage ()) {
    DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", __func__));
    Status = EFI_ABORTED;
  }

  FreePool (pDimmDetails);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

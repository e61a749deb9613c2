/** @file
  The inspector image: publishes the driver's client functions (linked in
  from the driver library) on its own handle, and lists namespaces over the
  config protocol the way the client layer reads its other records.
**/
#include "CarvexInspector.h"
#include <Bmc/AuditLog.h>
#include <NvmDimmConfig/CarvexConfig.h>
#include <NvmDimmConfig/NvmStatus.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiDriverEntryPoint.h>

STATIC
VOID
FreeNamespaceList (
  IN OUT LIST_ENTRY  *Head
  )
{
  LIST_ENTRY  *Node;
  LIST_ENTRY  *Next;

  for (Node = Head->ForwardLink; Node != Head && Node != NULL; Node = Next) {
    Next = Node->ForwardLink;
    FreePool (Node);
  }
  InitializeListHead (Head);
}

// A new array the caller frees with one FreePool; no namespaces: NULL, 0.
STATIC
EFI_STATUS
EFIAPI
InspectorGetNamespaces (
  OUT INSPECTOR_NAMESPACE  **ppNamespaces,
  OUT UINT32               *pCount
  )
{
  EFI_STATUS           Status;
  COMMAND_STATUS       *pCommandStatus;
  LIST_ENTRY           Head;
  LIST_ENTRY           *Node;
  UINT32               Count;
  UINT32               Index;
  INSPECTOR_NAMESPACE  *pNamespaces;
  NAMESPACE_INFO       *pInfo;

  if (ppNamespaces == NULL || pCount == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  *ppNamespaces = NULL;
  *pCount       = 0;
  InitializeListHead (&Head);
  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }
  pCommandStatus = NULL;
  Status         = InitializeCommandStatus (&pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  Count  = 0;
  Status = mNvmDimmConfigProtocol->GetNamespaces (mNvmDimmConfigProtocol, &Head, &Count, pCommandStatus);
  DEBUG ((DEBUG_INFO, "%a:GetNamespaces:%r:%d\n", __func__, Status, Count));
  if (!EFI_ERROR (Status) && Count != 0) {
    pNamespaces = (INSPECTOR_NAMESPACE *)AllocateZeroPool (Count * sizeof (INSPECTOR_NAMESPACE));
    if (pNamespaces == NULL) {
      Status = EFI_OUT_OF_RESOURCES;
    } else {
      Index = 0;
      for (Node = GetFirstNode (&Head); !IsNull (&Head, Node) && Index < Count; Node = GetNextNode (&Head, Node)) {
        pInfo = (NAMESPACE_INFO *)Node;
        if (pInfo->Signature != NAMESPACE_INFO_SIGNATURE) {
          continue;
        }
        pNamespaces[Index].NamespaceId = pInfo->NamespaceId;
        pNamespaces[Index].HealthState = pInfo->HealthState;
        pNamespaces[Index].RegionId    = pInfo->RegionId;
        CopyMem (&pNamespaces[Index].Guid, &pInfo->NamespaceGuid, sizeof (EFI_GUID));
        CopyMem (pNamespaces[Index].Name, pInfo->Name, sizeof (pNamespaces[Index].Name));
        pNamespaces[Index].Name[NAMESPACE_NAME_LENGTH - 1] = 0;
        pNamespaces[Index].BlockSize  = pInfo->BlockSize;
        pNamespaces[Index].BlockCount = pInfo->BlockCount;
        Index++;
      }
      *ppNamespaces = pNamespaces;
      *pCount       = Index;
    }
  }
  FreeCommandStatus (&pCommandStatus);
  FreeNamespaceList (&Head);
  return Status;
}

STATIC
VOID
EFIAPI
InspectorFreePool (
  IN VOID  *Buffer
  )
{
  if (Buffer != NULL) {
    FreePool (Buffer);
  }
}

STATIC CARVEX_INSPECTOR_PROTOCOL  mInspector = {
  CARVEX_INSPECTOR_REVISION,
  0,
  GetDimmCount,
  GetDimms,
  GetDimmDetails,
  GetSockets,
  GetMemoryResourcesInfo,
  GetTotalRawCapacity,
  GetTotalVolatileCapacity,
  GetTotalAppDirectCapacity,
  GetTotalUnconfiguredCapacity,
  GetTotalInaccessibleCapacity,
  GetTotalReservedCapacity,
  GetRegionDetails,
  InspectorGetNamespaces,
  GetPendingGoalDetails,
  CreateGoal,
  DeleteGoal,
  GetSystemSecurityState,
  LockedDcpmmsExist,
  SetSystemSecurityState,
  UnlockLockedDcpmms,
  GetAutoUnlockState,
  ConfigPercentageRemainingThresholds,
  DcpmmArsOp,
  GetDcpmmArsConfig,
  IsArsInProgress,
  ConvertCapacityToStr,
  ConvertFwVersion,
  ConvertPersistentMemoryTypeToStr,
  AuditLog,
  InspectorFreePool,
};

VOID
EFIAPI
ProcessLibraryConstructorList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  ProcessCommonLibraryConstructors (ImageHandle, SystemTable);
}

EFI_STATUS
EFIAPI
ProcessModuleEntryPointList (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE  Handle;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  Handle = NULL;
  return gBS->InstallProtocolInterface (&Handle, &gCarvexInspectorProtocolGuid, EFI_NATIVE_INTERFACE, &mInspector);
}

/** @file
  Namespace list and namespace operations over the NVM DIMM config protocol.
**/
#include "Namespaces.h"
#include "CarvexConfig.h"
#include "NvmStatus.h"
#include "../Setup/CarvexSetup.h"
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

// Create places the namespace by region, sizes it in bytes and lets the
// protocol align it.
#define NAMESPACE_CREATE_BLOCK_SIZE       1
#define NAMESPACE_CREATE_OPTIMIZE         FALSE
#define NAMESPACE_CREATE_FORCE_ALL        FALSE
#define NAMESPACE_CREATE_FORCE_ALIGNMENT  TRUE

// The node of a list link; a foreign signature is reported and the node is
// still used, as the list belongs to the protocol.
STATIC
NAMESPACE_INFO *
NamespaceFromLink (
  IN LIST_ENTRY  *pLink
  )
{
  NAMESPACE_INFO  *pInfo;

  pInfo = BASE_CR (pLink, NAMESPACE_INFO, Link);
 #ifdef CARVEX_ASSERTS_ENABLED
  if (pInfo->Signature != NAMESPACE_INFO_SIGNATURE) {
    DebugAssert ("CarvexConfig", __LINE__, "CR has Bad Signature");
  }
 #endif
  return pInfo;
}

STATIC
VOID
FreeNamespaceList (
  IN LIST_ENTRY  *pHead
  )
{
  LIST_ENTRY  *pLink;
  LIST_ENTRY  *pNext;

  for (pLink = GetFirstNode (pHead); !IsNull (pHead, pLink); pLink = pNext) {
    pNext = GetNextNode (pHead, pLink);
    FreePool (NamespaceFromLink (pLink));
  }
  InitializeListHead (pHead);
}

EFI_STATUS
EFIAPI
GetNamespaceDetails (
  OUT NAMESPACE_DETAILS  **ppNamespaces,
  OUT UINT32             *pNamespaceCount
  )
{
  EFI_STATUS         Status;
  LIST_ENTRY         ListHead;
  LIST_ENTRY         *pLink;
  COMMAND_STATUS     *pCommandStatus;
  NAMESPACE_DETAILS  *pDetails;
  NAMESPACE_INFO     *pInfo;
  UINT32             Count;
  UINT32             Index;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  InitializeListHead (&ListHead);
  if ((ppNamespaces == NULL) || (pNamespaceCount == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  *pNamespaceCount = 0;
  *ppNamespaces    = NULL;
  Status           = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Count  = 0;
  Status = mNvmDimmConfigProtocol->GetNamespaces (mNvmDimmConfigProtocol, &ListHead, &Count, pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:GetNamespaces:%r:%d:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus, Count));
  if (!EFI_ERROR (Status) && (Count != 0)) {
    pDetails = (NAMESPACE_DETAILS *)AllocateZeroPool ((UINTN)Count * sizeof (NAMESPACE_DETAILS));
    if (pDetails == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:Fail to allocate namespace details buffer\n", __func__));
      Status = EFI_OUT_OF_RESOURCES;
    } else {
      // The count decides how many records exist; a shorter list leaves the
      // trailing ones zero, a longer one is cut.
      Index = 0;
      for (pLink = GetFirstNode (&ListHead); !IsNull (&ListHead, pLink) && (Index < Count); pLink = GetNextNode (&ListHead, pLink)) {
        pInfo                        = NamespaceFromLink (pLink);
        pDetails[Index].NamespaceId  = pInfo->NamespaceId;
        CopyMem (&pDetails[Index].NamespaceGuid, &pInfo->NamespaceGuid, sizeof (EFI_GUID));
        CopyMem (pDetails[Index].Name, pInfo->Name, sizeof (pDetails[Index].Name));
        pDetails[Index].BlockSize   = pInfo->BlockSize;
        pDetails[Index].BlockCount  = pInfo->BlockCount;
        pDetails[Index].HealthState = pInfo->HealthState;
        pDetails[Index].RegionId    = pInfo->RegionId;
        DEBUG ((DEBUG_INFO, "%a:NamespaceId 0x%04x\n", __func__, pDetails[Index].NamespaceId));
        DEBUG ((DEBUG_INFO, "%a:NamespaceGuid %g\n", __func__, &pDetails[Index].NamespaceGuid));
        DEBUG ((DEBUG_INFO, "%a:Name %a\n", __func__, pDetails[Index].Name));
        DEBUG ((DEBUG_INFO, "%a:BlockSize %lx\n", __func__, pDetails[Index].BlockSize));
        DEBUG ((DEBUG_INFO, "%a:BlockCount %lx\n", __func__, pDetails[Index].BlockCount));
        DEBUG ((DEBUG_INFO, "%a:HealthState %x\n", __func__, pDetails[Index].HealthState));
        DEBUG ((DEBUG_INFO, "%a:RegionId 0x%04x\n", __func__, pDetails[Index].RegionId));
        Index++;
      }

      *pNamespaceCount = Count;
      *ppNamespaces    = pDetails;
    }
  }

  FreeCommandStatus (&pCommandStatus);
  FreeNamespaceList (&ListHead);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
CreateNamespace (
  IN  UINT32  RegionId,
  IN  CHAR8   *Name,
  IN  UINT64  Capacity,
  OUT UINT16  *pNvmStatus OPTIONAL
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;
  UINT64          ActualCapacity;
  UINT16          NamespaceId;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  if (Name == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:NULL parameters\n", __func__));
    return EFI_INVALID_PARAMETER;
  }

  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:Capacity %lx\n", __func__, Capacity));
  DEBUG ((DEBUG_WARN, "%a:RegionId 0x%04x\n", __func__, RegionId));
  DEBUG ((DEBUG_WARN, "%a:DimmId 0x%04x\n", __func__, (UINT32)NAMESPACE_ANY_DIMM));
  DEBUG ((DEBUG_WARN, "%a:BlockSize %lx\n", __func__, (UINT64)NAMESPACE_CREATE_BLOCK_SIZE));
  DEBUG ((DEBUG_WARN, "%a:BlockCount %lx\n", __func__, Capacity));
  DEBUG ((DEBUG_WARN, "%a:Name %a\n", __func__, Name));
  DEBUG ((DEBUG_WARN, "%a:Optimize %d\n", __func__, (INT32)NAMESPACE_CREATE_OPTIMIZE));
  DEBUG ((DEBUG_WARN, "%a:ForceAll %d\n", __func__, (INT32)NAMESPACE_CREATE_FORCE_ALL));
  DEBUG ((DEBUG_WARN, "%a:ForceAlignment %d\n", __func__, (INT32)NAMESPACE_CREATE_FORCE_ALIGNMENT));

  ActualCapacity = 0;
  NamespaceId    = 0;
  Status         = mNvmDimmConfigProtocol->CreateNamespace (
                                             mNvmDimmConfigProtocol,
                                             (UINT16)RegionId,
                                             NAMESPACE_ANY_DIMM,
                                             NAMESPACE_CREATE_BLOCK_SIZE,
                                             Capacity,
                                             Name,
                                             NAMESPACE_CREATE_OPTIMIZE,
                                             NAMESPACE_CREATE_FORCE_ALL,
                                             NAMESPACE_CREATE_FORCE_ALIGNMENT,
                                             &ActualCapacity,
                                             &NamespaceId,
                                             pCommandStatus
                                             );
  if (pNvmStatus != NULL) {
    *pNvmStatus = pCommandStatus->GeneralStatus;
  }

  DEBUG ((DEBUG_ERROR, "%a:CreateNamespace:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));
  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Asks the user whether to force a namespace operation: TRUE only for yes.
STATIC
BOOLEAN
UserWantsForce (
  IN EFI_HII_HANDLE  HiiHandle,
  IN UINT16          QuestionStringId
  )
{
  UINT8  Selection;

  Selection = 0xFF;
  DisplayMessageBox (HiiHandle, SETUP_MESSAGE_TYPE_WARNING, QuestionStringId, SETUP_MESSAGE_BOX_ASK, &Selection);
  return Selection == SETUP_MESSAGE_SELECTION_YES;
}

EFI_STATUS
EFIAPI
ModifyNamespace (
  IN UINT16          NamespaceId,
  IN CHAR8           *Name,
  IN BOOLEAN         AskToForce,
  IN EFI_HII_HANDLE  HiiHandle
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = mNvmDimmConfigProtocol->ModifyNamespace (mNvmDimmConfigProtocol, NamespaceId, Name, FALSE, pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:ModifyNamespace:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));
  if (EFI_ERROR (Status) && (pCommandStatus->GeneralStatus == NVM_ERR_FORCE_REQUIRED) && AskToForce &&
      UserWantsForce (HiiHandle, STR_NAMESPACE_MODIFY_FORCE_QUESTION))
  {
    Status = mNvmDimmConfigProtocol->ModifyNamespace (mNvmDimmConfigProtocol, NamespaceId, Name, TRUE, pCommandStatus);
    DEBUG ((DEBUG_ERROR, "%a:Force to ModifyNamespace:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
DeleteNamespace (
  IN UINT16          NamespaceId,
  IN BOOLEAN         AskToForce,
  IN EFI_HII_HANDLE  HiiHandle
  )
{
  EFI_STATUS      Status;
  COMMAND_STATUS  *pCommandStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = PrepareCommand (__func__, &pCommandStatus);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = mNvmDimmConfigProtocol->DeleteNamespace (mNvmDimmConfigProtocol, FALSE, NamespaceId, pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:DeleteNamespace:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));
  if (EFI_ERROR (Status) && (pCommandStatus->GeneralStatus == NVM_ERR_FORCE_REQUIRED) && AskToForce &&
      UserWantsForce (HiiHandle, STR_NAMESPACE_DELETE_FORCE_QUESTION))
  {
    Status = mNvmDimmConfigProtocol->DeleteNamespace (mNvmDimmConfigProtocol, TRUE, NamespaceId, pCommandStatus);
    DEBUG ((DEBUG_ERROR, "%a:Force to DeleteNamespace:%r:%d\n", __func__, Status, (INT32)(INT16)pCommandStatus->GeneralStatus));
  }

  FreeCommandStatus (&pCommandStatus);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

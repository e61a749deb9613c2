/** @file
  Command status allocation and release.
**/
#include "NvmStatus.h"
#include "Utility.h"
#include <Library/BaseLib.h>
#include <Library/MemoryAllocationLib.h>

EFI_STATUS
EFIAPI
InitializeCommandStatus (
  OUT COMMAND_STATUS  **ppCommandStatus
  )
{
  EFI_STATUS      ReturnCode;
  COMMAND_STATUS  *pCommandStatus;

  NVDIMM_ENTRY ();

  if (ppCommandStatus == NULL) {
    ReturnCode = EFI_INVALID_PARAMETER;
  } else {
    pCommandStatus = (COMMAND_STATUS *)AllocateZeroPool (sizeof (COMMAND_STATUS));
    if (pCommandStatus == NULL) {
      ReturnCode = EFI_OUT_OF_RESOURCES;
    } else {
      pCommandStatus->GeneralStatus = COMMAND_STATUS_INITIAL_GENERAL_STATUS;
      pCommandStatus->Kind          = COMMAND_STATUS_INITIAL_KIND;
      pCommandStatus->ObjectCount   = 0;
      InitializeListHead (&pCommandStatus->ObjectStatusList);
      *ppCommandStatus = pCommandStatus;
      ReturnCode       = EFI_SUCCESS;
    }
  }

  NVDIMM_EXIT_I64 (ReturnCode);
  return ReturnCode;
}

VOID
EFIAPI
FreeCommandStatus (
  IN OUT COMMAND_STATUS  **ppCommandStatus
  )
{
  LIST_ENTRY  *pHead;
  LIST_ENTRY  *pNode;
  LIST_ENTRY  *pNext;

  NVDIMM_ENTRY ();

  if ((ppCommandStatus != NULL) && (*ppCommandStatus != NULL)) {
    pHead = &(*ppCommandStatus)->ObjectStatusList;
    // Read the next link before the node is gone.
    for (pNode = pHead->ForwardLink; pNode != pHead; pNode = pNext) {
      pNext = pNode->ForwardLink;
      FreePool (CR (pNode, OBJECT_STATUS_NODE_HEADER, Link, OBJECT_STATUS_NODE_SIGNATURE));
    }

    FreePool (*ppCommandStatus);
    *ppCommandStatus = NULL;
  }

  NVDIMM_EXIT ();
}

/** @file
  Protocol binding shared by every client function.
**/
#include "CarvexConfig.h"
#include "NvmStatus.h"
#include <Library/DebugLib.h>
#include <Library/UefiBootServicesTableLib.h>

NVM_DIMM_CONFIG_PROTOCOL  *mNvmDimmConfigProtocol = NULL;

EFI_STATUS
EFIAPI
LocateCarvexConfigProtocol (
  VOID
  )
{
  EFI_STATUS  Status;

  if (mNvmDimmConfigProtocol != NULL) {
    return EFI_SUCCESS;
  }

  Status = gBS->LocateProtocol (&gNvmDimmConfigProtocolGuid, NULL, (VOID **)&mNvmDimmConfigProtocol);
  if (EFI_ERROR (Status)) {
    mNvmDimmConfigProtocol = NULL;
    DEBUG ((DEBUG_ERROR, "%a:Fail to locate the NVM DIMM config protocol:%r\n", __func__, Status));
    return Status;
  }

  if (mNvmDimmConfigProtocol == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:NVM DIMM config protocol is still NULL\n", __func__));
    return EFI_NOT_READY;
  }

  DEBUG ((DEBUG_WARN, "%a:Protocol Version:%x, Status:%r\n", __func__, mNvmDimmConfigProtocol->Version, Status));
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
PrepareCommand (
  IN  CONST CHAR8     *pCaller,
  OUT COMMAND_STATUS  **ppCommandStatus
  )
{
  EFI_STATUS  Status;

  *ppCommandStatus = NULL;
  Status           = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = InitializeCommandStatus (ppCommandStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to InitializeCommandStatus:%r\n", pCaller, Status));
  }

  return Status;
}

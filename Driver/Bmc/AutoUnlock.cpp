/** @file
  Automatic unlock at boot: every Locked module is tried once with the
  passphrase kept at the controller, at most once per boot.
**/
#include "PassphraseFile.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>

// Set once an unlock run has been made; ready-to-boot and legacy boot may
// both be signalled in one boot.
STATIC BOOLEAN  mAutoUnlockDone = FALSE;

EFI_STATUS
EFIAPI
AutoUnlock (
  OUT BOOLEAN  *NeedUpdate
  )
{
  EFI_STATUS  Status;
  BOOLEAN     LockedFound;
  CHAR16      *pPassphrase;

  DEBUG ((DEBUG_WARN, "AutoUnlock:Enter\n"));
  if (mAutoUnlockDone) {
    DEBUG ((DEBUG_WARN, "AutoUnlock:This function is already called.\n"));
    return EFI_SUCCESS;
  }

  Status = LocateCarvexConfigProtocol ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:%r:DCPMMs are not detected\n", "AutoUnlock", Status));
    return Status;
  }

  LockedFound = FALSE;
  Status      = LockedDcpmmsExist (&LockedFound);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "AutoUnlock:%r:Fail to find locked DCPMM\n", Status));
    return Status;
  }

  if (!LockedFound) {
    // Nothing was tried: a later signal in this boot looks again.
    DEBUG ((DEBUG_WARN, "AutoUnlock:%r:locked DCPMM does not exist\n", Status));
    return EFI_NOT_FOUND;
  }

  pPassphrase = NULL;
  Status      = GetDcpmmPassphraseFile (&pPassphrase);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "AutoUnlock:%r:Fails to get passphrase for auto unlock\n", Status));
  }

  if (pPassphrase == NULL) {
    Status = EFI_LOAD_ERROR;
    DEBUG ((DEBUG_ERROR, "AutoUnlock:%r:passphrase pointer is NULL\n", Status));
  }

  UnlockLockedDcpmms (pPassphrase, NeedUpdate);

  mAutoUnlockDone = TRUE;
  if (pPassphrase != NULL) {
    ZeroMemSecure (pPassphrase, (PASSPHRASE_FILE_MAX_LENGTH + 1) * sizeof (CHAR16));
    FreePool (pPassphrase);
  }

  DEBUG ((DEBUG_WARN, "AutoUnlock:Exit:%r\n", Status));
  return Status;
}

/** @file
  Module security: the rolled-up platform state, security operations on a
  set of modules, and the unlock of every locked module with the outcome
  kept per module.
**/
#ifndef NVM_DIMM_CONFIG_SECURITY_H_
#define NVM_DIMM_CONFIG_SECURITY_H_

#include <Uefi.h>
#include <NvmDimmRecords.h>

// Outcome of the automatic unlock for one module.
#define AUTO_UNLOCK_STATE_OTHER                 0
#define AUTO_UNLOCK_STATE_SUCCESS               1
#define AUTO_UNLOCK_STATE_INVALID_PASSPHRASE    2
#define AUTO_UNLOCK_STATE_PASSPHRASE_NOT_EXIST  3
#define AUTO_UNLOCK_STATE_NOT_APPLICABLE        4

// The BOOLEAN outputs below are only ever set to TRUE: clear them first.

// The modules' common state, or DIMM_SECURITY_STATE_MIXED; no modules leave
// *pSecurityState as it was. *pUnlockedOrFrozen: some module is Unlocked or
// Frozen.
EFI_STATUS EFIAPI GetSystemSecurityState (OUT UINT8 *pSecurityState, OUT BOOLEAN *pUnlockedOrFrozen OPTIONAL);
EFI_STATUS EFIAPI LockedDcpmmsExist (OUT BOOLEAN *pLockedDcpmmsExist);
// One operation on the listed modules (NULL and 0: every module). A secure
// erase refused because address range scrub runs stops the scrub, retries
// (ten attempts in all) and restarts the scrub afterwards.
EFI_STATUS EFIAPI SetSystemSecurityState (
  IN  UINT16  *pDimmIds OPTIONAL,
  IN  UINT32  DimmIdCount,
  IN  UINT16  SecurityOperation,
  IN  CHAR16  *pPassphrase OPTIONAL,
  IN  CHAR16  *pNewPassphrase OPTIONAL,
  OUT UINT16  *pNvmStatus
  );
// Tries every Locked module once with pPassphrase (NULL: none known) and
// records each module's outcome.
VOID EFIAPI UnlockLockedDcpmms (IN CHAR16 *pPassphrase OPTIONAL, OUT BOOLEAN *pLockedFound);
// The recorded outcome for the module at pDeviceLocator: Not Applicable
// before any unlock run, Other for a module the run did not see.
UINT8 EFIAPI GetAutoUnlockState (IN CONST CHAR16 *pDeviceLocator);

#endif

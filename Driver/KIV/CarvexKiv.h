/** @file
  Out-of-band configuration: the KIV form set the platform's configuration
  manager copies for the baseboard management controller, and the hooks the
  driver core and the setup pages call over a boot.
**/
#ifndef KIV_CARVEX_KIV_H_
#define KIV_CARVEX_KIV_H_

#include <Uefi.h>

// Installs the form set on its own handle and fills the cache extract reads.
EFI_STATUS EFIAPI KivBeforePostComplete (VOID);
// Carries out the requests the controller left in KivVar, then pushes the
// fresh state back.
EFI_STATUS EFIAPI KivPostComplete (VOID);
// Leaving setup: ask for a resynchronisation when some module is Unlocked
// or Frozen.
EFI_STATUS EFIAPI KivSaveSetting (VOID);
EFI_STATUS EFIAPI KivDiscardSetting (VOID);
EFI_STATUS EFIAPI KivLoadDefaultSetting (VOID);
VOID EFIAPI KivSetupEnter (IN EFI_EVENT Event, IN VOID *Context);

// Refreshes the cache and has the configuration manager copy the form set.
EFI_STATUS EFIAPI KivSyncToOob (VOID);
// Rereads the system security state and the region list.
EFI_STATUS EFIAPI UpdateCachedData (VOID);
// Asks the configuration manager for a full resynchronisation at its next
// chance (the variable KivSyncWithOob).
EFI_STATUS EFIAPI ForceKivSyncWithOOB (VOID);
// The configuration manager's copy of the form set titled Keyword.
EFI_STATUS EFIAPI KivSaveByFormSetTitleKeyword (IN CHAR16 *Keyword);

#endif

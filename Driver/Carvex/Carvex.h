/** @file
  Driver core: entry point, the platform's lifecycle callbacks and the
  performance profile synchronisation.
**/
#ifndef CARVEX_CARVEX_H_
#define CARVEX_CARVEX_H_

#include <Uefi.h>

EFI_STATUS EFIAPI CarvexEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

EFI_STATUS EFIAPI CarvexPrePostComplete (VOID);
EFI_STATUS EFIAPI CarvexBeforePostComplete (VOID);
EFI_STATUS EFIAPI CarvexPostComplete (VOID);
EFI_STATUS EFIAPI CarvexSaveSetting (VOID);
EFI_STATUS EFIAPI CarvexDiscardSetting (VOID);
EFI_STATUS EFIAPI CarvexLoadDefaultSetting (VOID);
VOID EFIAPI CarvexReadyToBoot (IN EFI_EVENT Event, IN VOID *Context);

// PushToPlatform TRUE: the driver's copy wins (entry); FALSE: the platform's
// value wins (setup saved).
VOID EFIAPI CarvexSyncDcpmmPerfConfig (IN BOOLEAN PushToPlatform);

#endif

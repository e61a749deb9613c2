/** @file
  The presence method registry, the remote method over the controller and
  the checks built on both. Presence is sampled anew on every call.
**/
#include "PhysicalPresenceHandlerSupportLib.h"
#include <Protocol/VeskCommands.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/UefiBootServicesTableLib.h>

#define PPH_JUMPER_SLOT  0
#define PPH_REMOTE_SLOT  1

// Filled by the constructors at load; slots 0 and 1 belong to the built-in
// methods, so the count of slots in use starts at 2.
STATIC PhysicalPresenceHandler  mPhysicalPresenceHandlers[PHYSICAL_PRESENCE_HANDLER_SLOTS];
UINT32                          mPhysicalPresenceHandleCount = 2;

STATIC CONST EFI_GUID  mZeroGuid = {};

EFI_STATUS
EFIAPI
PPHConstructor (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  (VOID)ImageHandle;
  (VOID)SystemTable;
  DEBUG ((DEBUG_INFO, "PPH: %d PPHConstructor entry\n", __LINE__));
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
PPRegister (
  IN CONST PhysicalPresenceHandler  *pHandler
  )
{
  UINT32  Slot;

  if ((pHandler == NULL) || CompareGuid (&pHandler->MethodGuid, &mZeroGuid)) {
    return EFI_INVALID_PARAMETER;
  }

  if (CompareGuid (&pHandler->MethodGuid, &gPhysicalPresenceJumperGuid)) {
    Slot = PPH_JUMPER_SLOT;
  } else if (CompareGuid (&pHandler->MethodGuid, &gPhysicalPresenceRemoteGuid)) {
    Slot = PPH_REMOTE_SLOT;
  } else {
    if (mPhysicalPresenceHandleCount >= PHYSICAL_PRESENCE_HANDLER_SLOTS) {
      DEBUG ((DEBUG_ERROR, "PPH: %d ERROR mPhysicalPresenceHandleCount < 5\n", __LINE__));
      return EFI_OUT_OF_RESOURCES;
    }

    Slot = mPhysicalPresenceHandleCount++;
  }

  CopyMem (&mPhysicalPresenceHandlers[Slot], pHandler, sizeof (*pHandler));
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
PPGet (
  IN  CONST EFI_GUID           *MethodGuid,
  OUT PhysicalPresenceHandler  **ppHandler
  )
{
  for (UINT32 Slot = 0; Slot < PHYSICAL_PRESENCE_HANDLER_SLOTS; Slot++) {
    if (CompareGuid (&mPhysicalPresenceHandlers[Slot].MethodGuid, &mZeroGuid)) {
      continue;
    }

    if (CompareGuid (&mPhysicalPresenceHandlers[Slot].MethodGuid, MethodGuid)) {
      *ppHandler = &mPhysicalPresenceHandlers[Slot];
      return EFI_SUCCESS;
    }
  }

  return EFI_OUT_OF_RESOURCES;
}

BOOLEAN
EFIAPI
PPHIsAsserted (
  IN  CONST EFI_GUID  *MethodGuid OPTIONAL,
  IN  UINT8           Param,
  OUT EFI_GUID        *MethodUsed
  )
{
  EFI_STATUS               Status;
  PhysicalPresenceHandler  *pHandler;
  BOOLEAN                  Asserted;

  ZeroMem (MethodUsed, sizeof (*MethodUsed));
  if (MethodGuid != NULL) {
    pHandler = NULL;
    Status   = PPGet (MethodGuid, &pHandler);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "PPH: %d ERROR PPGet Status=0x%x\n", __LINE__, (UINT32)Status));
      return FALSE;
    }

    Asserted = (pHandler->IsAsserted != NULL) && pHandler->IsAsserted (Param);
    if (Asserted) {
      CopyGuid (MethodUsed, MethodGuid);
    }

    return Asserted;
  }

  for (UINT32 Slot = 0; Slot < PHYSICAL_PRESENCE_HANDLER_SLOTS; Slot++) {
    pHandler = &mPhysicalPresenceHandlers[Slot];
    if (CompareGuid (&pHandler->MethodGuid, &mZeroGuid) || (pHandler->IsAsserted == NULL)) {
      continue;
    }

    DEBUG ((DEBUG_INFO, "PPH: %d localIsAsserted = 0x%p\n", __LINE__, (VOID *)pHandler->IsAsserted));
    if (pHandler->IsAsserted (Param)) {
      CopyGuid (MethodUsed, &pHandler->MethodGuid);
      DEBUG ((DEBUG_INFO, "PPHIsAsserted:%d PP asserted, MethodUsedGuid = 0x%g\n", __LINE__, MethodUsed));
      return TRUE;
    }
  }

  return FALSE;
}

STATIC
VESK_COMMANDS_PROTOCOL *
LocateVeskCommands (
  OUT EFI_STATUS  *pStatus
  )
{
  VESK_COMMANDS_PROTOCOL  *pVesk;

  pVesk    = NULL;
  *pStatus = gBS->LocateProtocol (&gTavrilVeskCommandsProtocolGuid, NULL, (VOID **)&pVesk);
  if (!EFI_ERROR (*pStatus) && (pVesk == NULL)) {
    *pStatus = EFI_NOT_FOUND;
  }

  return EFI_ERROR (*pStatus) ? NULL : pVesk;
}

BOOLEAN
EFIAPI
IsRPPAsserted (
  VOID
  )
{
  EFI_STATUS              Status;
  VESK_COMMANDS_PROTOCOL  *pVesk;
  UINT8                   Asserted;
  UINT8                   CompletionCode;

  pVesk = LocateVeskCommands (&Status);
  if (pVesk == NULL) {
    DEBUG ((DEBUG_ERROR, "IsRPPAsserted :Get ipmi =%r\n", Status));
    return FALSE;
  }

  Asserted       = 0;
  CompletionCode = 0;
  Status         = pVesk->GetRemotePPAssert (pVesk, &Asserted, &CompletionCode, 1);
  DEBUG ((DEBUG_INFO, "IsRPPAsserted GetRemotePPAssert Status = %r\n", Status));
  DEBUG ((DEBUG_INFO, "IsRPPAsserted RemotePhysPresenceAsserted = %x\n", Asserted));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "IsRPPAsserted :GetRemotePPAssert in VESK had some problem\n"));
    return FALSE;
  }

  if (Asserted != 0) {
    DEBUG ((DEBUG_INFO, "IsRPPAsserted RemotePhysPresenceAsserted = %x \n", Asserted));
    return TRUE;
  }

  DEBUG ((DEBUG_INFO, "RemotePhysPresenceAsserted is not asserted.\n"));
  return FALSE;
}

STATIC
BOOLEAN
EFIAPI
RppIsAsserted (
  IN UINT8  Param
  )
{
  (VOID)Param;
  return IsRPPAsserted ();
}

STATIC
EFI_STATUS
EFIAPI
RppUnsupported (
  VOID
  )
{
  return EFI_UNSUPPORTED;
}

STATIC
EFI_STATUS
EFIAPI
RppNothing (
  VOID
  )
{
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
RppHandlerConstructor (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  PhysicalPresenceHandler  Handler;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  ZeroMem (&Handler, sizeof (Handler));
  Handler.Name       = u"RPP Handle";
  CopyGuid (&Handler.MethodGuid, &gPhysicalPresenceRemoteGuid);
  Handler.IsAsserted = RppIsAsserted;
  Handler.Operation2 = RppUnsupported;
  Handler.Operation3 = RppNothing;
  PPRegister (&Handler);
  return EFI_SUCCESS;
}

BOOLEAN
EFIAPI
IsHwPhysPresenceAsserted (
  VOID
  )
{
  EFI_GUID  MethodUsed;
  BOOLEAN   Asserted;

  DEBUG ((DEBUG_INFO, "IsHwPhysPresenceAsserted: "));
  Asserted = PPHIsAsserted (&gPhysicalPresenceJumperGuid, 0, &MethodUsed);
  DEBUG ((DEBUG_INFO, Asserted ? "Asserted\n" : "Not Asserted\n"));
  return Asserted;
}

BOOLEAN
EFIAPI
IsPhysPresenceAsserted (
  VOID
  )
{
  EFI_STATUS              Status;
  VESK_COMMANDS_PROTOCOL  *pVesk;
  UINT8                   Enabled;
  UINT8                   Unused;
  UINT8                   Asserted;
  UINT8                   CompletionCode;

  if (IsHwPhysPresenceAsserted ()) {
    return TRUE;
  }

  pVesk = LocateVeskCommands (&Status);
  if (pVesk == NULL) {
    return FALSE;
  }

  Enabled        = 0;
  Unused         = 0;
  CompletionCode = 0;
  Status         = pVesk->GetRemotePresenceSetting (pVesk, &Enabled, &Unused, &CompletionCode, 1);
  if (EFI_ERROR (Status)) {
    return FALSE;
  }

  // Only the flag counts here; a failed read leaves it at 0.
  Asserted       = 0;
  CompletionCode = 0;
  pVesk->GetRemotePPAssert (pVesk, &Asserted, &CompletionCode, 1);
  return (Enabled != 0) && (Asserted != 0);
}

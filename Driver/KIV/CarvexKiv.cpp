/** @file
  Life of the out-of-band form set over a boot: installed before
  post-complete with its cache, requests applied at post-complete (a goal,
  then a security operation on all modules), and the configuration manager
  told when the state it copies has changed.
**/
#include "CarvexKiv.h"
#include "KivInternal.h"
#include "../Bmc/PassphraseFile.h"
#include "../NvmDimmConfig/Goals.h"
#include "../NvmDimmConfig/Namespaces.h"
#include "../NvmDimmConfig/Security.h"
#include "../Setup/CarvexSetup.h"
#include "CarvexSetupStrings.h"
#include "CarvexKivBin.h"
#include <Guid/PlatformVariables.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Protocol/DevicePath.h>

EFI_HANDLE      mKivDriverHandle   = NULL;
UINT8           mSecurityState     = DIMM_SECURITY_STATE_UNKNOWN;
REGION_DETAILS  *mCachedRegions    = NULL;
UINT32          mCachedRegionCount = 0;

STATIC EFI_HII_HANDLE                  mKivHiiHandle = NULL;
STATIC EFI_HII_CONFIG_ACCESS_PROTOCOL  mKivConfigAccess;

#pragma pack(1)
typedef struct {
  VENDOR_DEVICE_PATH          Vendor;
  EFI_DEVICE_PATH_PROTOCOL    End;
} KIV_VENDOR_DEVICE_PATH;
#pragma pack()
static_assert (sizeof (KIV_VENDOR_DEVICE_PATH) == 24, "vendor node and end node");

STATIC KIV_VENDOR_DEVICE_PATH  mKivDevicePath = {
  {
    { HARDWARE_DEVICE_PATH, HW_VENDOR_DP, { (UINT8)sizeof (VENDOR_DEVICE_PATH), (UINT8)(sizeof (VENDOR_DEVICE_PATH) >> 8) } },
    CARVEX_KIV_FORMSET_GUID
  },
  { END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, { END_DEVICE_PATH_LENGTH, 0 } }
};

STATIC EFI_GUID        mKivFormSetGuid = CARVEX_KIV_FORMSET_GUID;
STATIC CHAR16          mKivVarName[]   = KIV_VAR_NAME;
STATIC CHAR16          mKivSyncName[]  = KIV_SYNC_WITH_OOB_NAME;
STATIC CHAR16          mKivKeyword[]   = KIV_FORMSET_KEYWORD;
STATIC CHAR16          mNoPassphrase[] = u"";

// The requests as routed; holds a passphrase and is zeroed after use.
STATIC KIV_VAR  mKivRequest;

EFI_STATUS
EFIAPI
KivBeforePostComplete (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  mKivDriverHandle               = NULL;
  mKivConfigAccess.ExtractConfig = KivExtractConfig;
  mKivConfigAccess.RouteConfig   = KivRouteConfig;
  mKivConfigAccess.Callback      = KivCallback;

  Status = gBS->InstallMultipleProtocolInterfaces (
                  &mKivDriverHandle,
                  &gEfiDevicePathProtocolGuid,
                  &mKivDevicePath,
                  &gEfiHiiConfigAccessProtocolGuid,
                  &mKivConfigAccess,
                  NULL
                  );
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to install protocols:%r\n", __func__, Status));
    return Status;
  }

  mKivHiiHandle = HiiAddPackages (&gCarvexSetupPackageListGuid, mKivDriverHandle, CarvexSetupStrings, CarvexKivBin, NULL);
  if (mKivHiiHandle == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:HiiAddPackages failure\n", __func__));
    return EFI_OUT_OF_RESOURCES;
  }

  return UpdateCachedData ();
}

EFI_STATUS
EFIAPI
UpdateCachedData (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "UpdateCachedData: Enter\n"));
  // On failure the state read last stays.
  Status = GetSystemSecurityState (&mSecurityState, NULL);
  DEBUG ((DEBUG_WARN, "UpdateCachedData: GetSystemSecurityState status:%r, mSecurityState:%x\n", Status, (UINT32)mSecurityState));

  if (mCachedRegions != NULL) {
    FreePool (mCachedRegions);
    mCachedRegions = NULL;
  }

  mCachedRegionCount = 0;
  Status             = GetRegionDetails (&mCachedRegions, &mCachedRegionCount);
  if (EFI_ERROR (Status)) {
    mCachedRegionCount = 0;
  }

  DEBUG ((DEBUG_WARN, "%a:GetRegionDetails:%r:%d:%p\n", "UpdateCachedData", Status, mCachedRegionCount, mCachedRegions));
  DEBUG ((DEBUG_WARN, "UpdateCachedData: Exit\n"));
  return Status;
}

EFI_STATUS
EFIAPI
KivSyncToOob (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "KivSyncToOob: Enter\n"));
  Status = UpdateCachedData ();
  DEBUG ((DEBUG_WARN, "KivSyncToOob: UpdateCachedData status:%r\n", Status));
  Status = KivSaveByFormSetTitleKeyword (mKivKeyword);
  DEBUG ((DEBUG_WARN, "KivSyncToOob: Exit, Status:%r\n", Status));
  return Status;
}

EFI_STATUS
EFIAPI
ForceKivSyncWithOOB (
  VOID
  )
{
  EFI_STATUS  Status;
  UINT8       Sync;

  Sync   = 1;
  Status = gRT->SetVariable (
                  mKivSyncName,
                  &gPlatformRequestVariableGuid,
                  EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                  sizeof (Sync),
                  &Sync
                  );
  DEBUG ((DEBUG_WARN, "%a:Force sync with OOB %r\n", "ForceKivSyncWithOOB", Status));
  return Status;
}

// Save and discard in setup: the controller must see modules that setup
// left Unlocked or Frozen.
STATIC
EFI_STATUS
KivLeaveSetup (
  IN CONST CHAR8  *pCaller
  )
{
  EFI_STATUS  Status;
  BOOLEAN     NeedSyncToOob;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", pCaller));
  NeedSyncToOob = FALSE;
  Status        = GetSystemSecurityState (&mSecurityState, &NeedSyncToOob);
  DEBUG ((DEBUG_WARN, "%a:mSecurityState:%d\n", pCaller, mSecurityState));
  DEBUG ((DEBUG_WARN, "%a:NeedSyncToOob:%d\n", pCaller, NeedSyncToOob));
  if (NeedSyncToOob) {
    DEBUG ((DEBUG_WARN, "%a:There is Intel Optane DCPMM that the security status is Frozen or Unlocked.\n", pCaller));
    ForceKivSyncWithOOB ();
  }

  DEBUG ((DEBUG_WARN, "%a:Exit\n", pCaller));
  return Status;
}

EFI_STATUS
EFIAPI
KivSaveSetting (
  VOID
  )
{
  return KivLeaveSetup (__func__);
}

EFI_STATUS
EFIAPI
KivDiscardSetting (
  VOID
  )
{
  return KivLeaveSetup (__func__);
}

EFI_STATUS
EFIAPI
KivLoadDefaultSetting (
  VOID
  )
{
  DEBUG ((DEBUG_WARN, "%a:Exit\n", __func__));
  return EFI_SUCCESS;
}

// A goal for the whole system, unless some region holds a namespace.
STATIC
EFI_STATUS
KivCreateGoal (
  IN KIV_VAR  *pRequest
  )
{
  EFI_STATUS         Status;
  REGION_DETAILS     *pRegions;
  UINT32             RegionCount;
  NAMESPACE_DETAILS  *pNamespaces;
  UINT32             NamespaceCount;
  UINT32             Namespace;
  UINT32             Region;
  BOOLEAN            NamespaceFound;
  UINT16             NvmStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  pRegions    = NULL;
  RegionCount = 0;
  Status      = GetRegionDetails (&pRegions, &RegionCount);
  DEBUG ((DEBUG_WARN, "%a:GetRegionDetails:%r:%d:%p\n", __func__, Status, RegionCount, pRegions));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r:%d\n", __func__, Status, RegionCount));
    return Status;
  }

  pNamespaces    = NULL;
  NamespaceCount = 0;
  Status         = GetNamespaceDetails (&pNamespaces, &NamespaceCount);
  DEBUG ((DEBUG_WARN, "%a:GetNamespaceDetails:%r:%d:%p\n", __func__, Status, NamespaceCount, pNamespaces));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetNamespaceDetails:%r:%d\n", __func__, Status, NamespaceCount));
    if (pRegions != NULL) {
      FreePool (pRegions);
    }

    return Status;
  }

  NamespaceFound = FALSE;
  if ((pRegions != NULL) && (pNamespaces != NULL)) {
    for (Namespace = 0; Namespace < NamespaceCount; Namespace++) {
      for (Region = 0; Region < RegionCount; Region++) {
        if (pRegions[Region].RegionId == pNamespaces[Namespace].RegionId) {
          DEBUG ((DEBUG_WARN, "%a:GoalSocketHasNamespace:%d\n", __func__, (UINT32)pRegions[Region].SocketId));
          NamespaceFound = TRUE;
          break;
        }
      }
    }
  }

  DEBUG ((DEBUG_WARN, "%a:Create goal for Intel Optane DCPMMs in the system.\n", __func__));
  if (!NamespaceFound) {
    NvmStatus = 0;
    Status    = CreateGoal (NULL, 0, NULL, 0, pRequest->CreateGoalPersistentMemoryType, pRequest->MemoryModePercentage, &NvmStatus);
    DEBUG ((DEBUG_WARN, "%a:CreateGoal for all:%r\n", __func__, Status));
  } else {
    DEBUG ((DEBUG_WARN, "%a:Unable to CreateGoal because of existing namespace.\n", __func__));
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

// Disable or secure erase: a Locked system is unlocked with the routed
// passphrase first. Sets *pChanged when a module's state changed.
STATIC
EFI_STATUS
KivDisableOrErase (
  IN  UINT16   Operation,
  OUT BOOLEAN  *pChanged
  )
{
  EFI_STATUS  Status;
  UINT16      NvmStatus;

  Status = EFI_SUCCESS;
  if (mSecurityState == DIMM_SECURITY_STATE_LOCKED) {
    Status = SetSystemSecurityState (NULL, 0, SECURITY_OPERATION_UNLOCK, mKivRequest.SecurityPassphrase, NULL, &NvmStatus);
    if (EFI_ERROR (Status)) {
      return Status;
    }

    *pChanged = TRUE;
    Status    = GetSystemSecurityState (&mSecurityState, NULL);
  }

  if (mSecurityState == DIMM_SECURITY_STATE_UNLOCKED) {
    Status = SetSystemSecurityState (NULL, 0, Operation, mKivRequest.SecurityPassphrase, NULL, &NvmStatus);
    if (!EFI_ERROR (Status)) {
      *pChanged = TRUE;
      // The stored passphrase no longer opens anything.
      SetDcpmmPassphraseFile (mNoPassphrase);
    }
  }

  return Status;
}

STATIC
EFI_STATUS
KivApplySecurityRequest (
  IN EFI_STATUS  Status
  )
{
  BOOLEAN  Changed;
  UINT16   NvmStatus;

  switch (mKivRequest.SecurityOperation) {
    case KIV_SECURITY_OPERATION_ENABLE:
      if (mSecurityState != DIMM_SECURITY_STATE_DISABLED) {
        break;
      }

      Status = SetSystemSecurityState (NULL, 0, SECURITY_OPERATION_ENABLE, NULL, mKivRequest.SecurityPassphrase, &NvmStatus);
      if (!EFI_ERROR (Status)) {
        // Kept for the automatic unlock at the next boots; a failed write
        // does not undo the enable.
        SetDcpmmPassphraseFile (mKivRequest.SecurityPassphrase);
        Status = KivSyncToOob ();
      }

      break;

    case KIV_SECURITY_OPERATION_ERASE_WITHOUT_PASSPHRASE:
      if (mSecurityState != DIMM_SECURITY_STATE_DISABLED) {
        break;
      }

      DEBUG ((DEBUG_WARN, "%a:Secure erase the AEP DIMM without passphrase.\n", "KivPostComplete"));
      Status = SetSystemSecurityState (NULL, 0, SECURITY_OPERATION_SECURE_ERASE, mNoPassphrase, NULL, &NvmStatus);
      if (!EFI_ERROR (Status)) {
        Status = KivSyncToOob ();
      }

      break;

    case KIV_SECURITY_OPERATION_DISABLE:
    case KIV_SECURITY_OPERATION_SECURE_ERASE:
      Changed = FALSE;
      Status  = KivDisableOrErase (mKivRequest.SecurityOperation, &Changed);
      if (Changed) {
        Status = KivSyncToOob ();
      }

      break;

    default:
      break;
  }

  return Status;
}

EFI_STATUS
EFIAPI
KivPostComplete (
  VOID
  )
{
  EFI_STATUS  Status;
  UINTN       DataSize;
  UINT32      Attributes;
  KIV_VAR     *pGoalRequest;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  ZeroMem (&mKivRequest, sizeof (mKivRequest));
  DataSize   = sizeof (mKivRequest);
  Attributes = 0;
  Status     = gRT->GetVariable (mKivVarName, &mKivFormSetGuid, &Attributes, &DataSize, &mKivRequest);
  DEBUG ((DEBUG_WARN, "%a:GetVariable KivVar:%r\n", __func__, Status));
  DEBUG ((DEBUG_WARN, "%a:KivVar.CreateGoal:%d\n", __func__, mKivRequest.CreateGoal));
  DEBUG ((DEBUG_WARN, "%a:KivVar.MemoryModePercentage:%d\n", __func__, mKivRequest.MemoryModePercentage));
  DEBUG ((DEBUG_WARN, "%a:KivVar.CreateGoalPersistentMemoryType:%d\n", __func__, mKivRequest.CreateGoalPersistentMemoryType));
  DEBUG ((DEBUG_WARN, "%a:KivVar.SecurityOperation:%d\n", __func__, mKivRequest.SecurityOperation));
  if (EFI_ERROR (Status)) {
    // No request was routed in this boot.
    ZeroMem (&mKivRequest, sizeof (mKivRequest));
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  // A variable written by someone else may be short or unterminated.
  mKivRequest.SecurityPassphrase[KIV_PASSPHRASE_LEN - 1] = 0;

  if (mKivRequest.CreateGoal == 1) {
    pGoalRequest = (KIV_VAR *)AllocateCopyPool (sizeof (mKivRequest), &mKivRequest);
    if (pGoalRequest == NULL) {
      Status = EFI_OUT_OF_RESOURCES;
    } else {
      // The goal never needs the passphrase.
      ZeroMem (pGoalRequest->SecurityPassphrase, sizeof (pGoalRequest->SecurityPassphrase));
      Status = KivCreateGoal (pGoalRequest);
      FreePool (pGoalRequest);
    }
  }

  Status = KivApplySecurityRequest (Status);
  ZeroMem (&mKivRequest, sizeof (mKivRequest));
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

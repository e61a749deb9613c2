/** @file
  The probe image: publishes the driver's client functions (linked in
  from the driver library) on a handle of its own.
**/
#include "CarvexClientProbe.h"
#include <Bmc/AuditLog.h>
#include <NvmDimmConfig/CarvexConfig.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiDriverEntryPoint.h>

STATIC
VOID
EFIAPI
ClientProbeFreePool (
  IN VOID  *Buffer
  )
{
  if (Buffer != NULL) {
    FreePool (Buffer);
  }
}

STATIC CARVEX_CLIENT_PROBE_PROTOCOL  mClientProbe = {
  CARVEX_CLIENT_PROBE_REVISION,
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
  GetNamespaceDetails,
  CreateNamespace,
  ModifyNamespace,
  DeleteNamespace,
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
  ClientProbeFreePool,
};

STATIC
EFI_STATUS
EFIAPI
ClientProbeEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE  Handle;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  Handle = NULL;
  return gBS->InstallProtocolInterface (&Handle, &gCarvexClientProbeProtocolGuid, EFI_NATIVE_INTERFACE, &mClientProbe);
}

CARVEX_IMAGE_ENTRY (ClientProbeEntryPoint)

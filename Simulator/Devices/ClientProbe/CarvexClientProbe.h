/** @file
  The probe: a host-only image that links the driver's module management
  client and publishes its functions, so that the simulator can show and
  exercise what the client layer reports in a real boot. The driver itself
  exports none of these; each boot loads the probe anew, so the client
  layer's caches live for one boot, as in the driver.

  The members are the client functions themselves (same arguments and
  results), plus the image's own FreePool for what they hand out.
**/
#ifndef CARVEX_CLIENT_PROBE_H_
#define CARVEX_CLIENT_PROBE_H_

#include <Uefi.h>
#include <NvmDimmRecords.h>
#include <NvmDimmConfig/Capacity.h>
#include <NvmDimmConfig/Convert.h>
#include <NvmDimmConfig/DimmInventory.h>
#include <NvmDimmConfig/Goals.h>
#include <NvmDimmConfig/Namespaces.h>
#include <NvmDimmConfig/Regions.h>

CARVEX_GUID_DEFINE (gCarvexClientProbeProtocolGuid, 0x3A6F0C2E, 0x71B4, 0x4D59, 0x8E, 0x13, 0xC2, 0x5B, 0x90, 0x4F, 0x6D, 0xA7);

#define CARVEX_CLIENT_PROBE_REVISION  2

typedef struct {
  UINT32    Revision;  // CARVEX_CLIENT_PROBE_REVISION
  UINT32    Reserved;

  // Inventory and capacity totals.
  UINT32 (EFIAPI *GetDimmCount)(VOID);
  EFI_STATUS (EFIAPI *GetDimms)(OUT DIMM_RECORD **ppDimms, OUT UINT32 *pCount);
  EFI_STATUS (EFIAPI *GetDimmDetails)(OUT DIMM_DETAILS **ppDimms, OUT UINT32 *pCount);
  EFI_STATUS (EFIAPI *GetSockets)(OUT UINT16 *pSocketIds, IN OUT UINT32 *pCount);
  EFI_STATUS (EFIAPI *GetMemoryResourcesInfo)(VOID);
  UINT64 (EFIAPI *GetTotalRawCapacity)(IN BOOLEAN Refresh);
  UINT64 (EFIAPI *GetTotalVolatileCapacity)(IN BOOLEAN Refresh);
  UINT64 (EFIAPI *GetTotalAppDirectCapacity)(IN BOOLEAN Refresh);
  UINT64 (EFIAPI *GetTotalUnconfiguredCapacity)(IN BOOLEAN Refresh);
  UINT64 (EFIAPI *GetTotalInaccessibleCapacity)(IN BOOLEAN Refresh);
  UINT64 (EFIAPI *GetTotalReservedCapacity)(IN BOOLEAN Refresh);

  // Regions, namespaces, goals.
  EFI_STATUS (EFIAPI *GetRegionDetails)(OUT REGION_DETAILS **ppRegions, OUT UINT32 *pRegionCount);
  EFI_STATUS (EFIAPI *GetNamespaceDetails)(OUT NAMESPACE_DETAILS **ppNamespaces, OUT UINT32 *pNamespaceCount);
  EFI_STATUS (EFIAPI *CreateNamespace)(IN UINT32 RegionId, IN CHAR8 *Name, IN UINT64 Capacity, OUT UINT16 *pNvmStatus OPTIONAL);
  EFI_STATUS (EFIAPI *ModifyNamespace)(IN UINT16 NamespaceId, IN CHAR8 *Name, IN BOOLEAN AskToForce, IN EFI_HII_HANDLE HiiHandle);
  EFI_STATUS (EFIAPI *DeleteNamespace)(IN UINT16 NamespaceId, IN BOOLEAN AskToForce, IN EFI_HII_HANDLE HiiHandle);
  EFI_STATUS (EFIAPI *GetPendingGoalDetails)(IN OUT PENDING_GOAL_DETAILS *pGoal);
  EFI_STATUS (EFIAPI *CreateGoal)(IN UINT16 *pDimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *pSocketIds OPTIONAL, IN UINT32 SocketIdsCount, IN UINT8 PersistentMemType, IN UINT32 VolatilePercent, OUT UINT16 *pStatusCode);
  EFI_STATUS (EFIAPI *DeleteGoal)(IN UINT16 *pDimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *pSocketIds OPTIONAL, IN UINT32 SocketIdsCount);

  // Security.
  EFI_STATUS (EFIAPI *GetSystemSecurityState)(OUT UINT8 *pSecurityState, OUT BOOLEAN *pUnlockedOrFrozen OPTIONAL);
  EFI_STATUS (EFIAPI *LockedDcpmmsExist)(OUT BOOLEAN *pLockedDcpmmsExist);
  EFI_STATUS (EFIAPI *SetSystemSecurityState)(IN UINT16 *pDimmIds OPTIONAL, IN UINT32 DimmIdCount, IN UINT16 SecurityOperation, IN CHAR16 *pPassphrase OPTIONAL, IN CHAR16 *pNewPassphrase OPTIONAL, OUT UINT16 *pNvmStatus);
  VOID (EFIAPI *UnlockLockedDcpmms)(IN CHAR16 *pPassphrase OPTIONAL, OUT BOOLEAN *pLockedFound);
  UINT8 (EFIAPI *GetAutoUnlockState)(IN CONST CHAR16 *pDeviceLocator);

  // Thresholds and scrub.
  EFI_STATUS (EFIAPI *ConfigPercentageRemainingThresholds)(IN UINT8 Threshold);
  EFI_STATUS (EFIAPI *DcpmmArsOp)(IN BOOLEAN Stop);
  EFI_STATUS (EFIAPI *GetDcpmmArsConfig)(IN UINT32 DimmHandle, OUT UINT8 *Enabled, OUT UINT64 *CurrentAddress, OUT UINT64 *EndAddress);
  BOOLEAN (EFIAPI *IsArsInProgress)(VOID);

  // Texts.
  EFI_STATUS (EFIAPI *ConvertCapacityToStr)(IN UINT64 Bytes, OUT CHAR16 *Buffer, IN UINTN BufferSize);
  VOID (EFIAPI *ConvertFwVersion)(OUT CHAR16 *Out, IN UINT8 Field1, IN UINT8 Field2, IN UINT8 Field3, IN UINT16 Field4);
  EFI_STATUS (EFIAPI *ConvertPersistentMemoryTypeToStr)(IN UINT8 TypeMask, IN CONST CHAR16 *Text1, IN CONST CHAR16 *Text2, OUT CHAR16 **Out);

  // The controller's audit log.
  EFI_STATUS (EFIAPI *AuditLog)(IN UINT16 LogType, IN UINT8 LogId);

  // Frees what the members above allocated.
  VOID (EFIAPI *FreePool)(IN VOID *Buffer);
} CARVEX_CLIENT_PROBE_PROTOCOL;

#endif

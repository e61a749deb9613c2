/** @file
  Helpers shared by the model's source files; not for other rooms.
**/
#ifndef NVM_DIMM_INTERNAL_H_
#define NVM_DIMM_INTERNAL_H_

#include "NvmDimmModel.h"
#include <Protocol/NvmDimmPassThru.h>

#define NVM_REGION_HEALTH_HEALTHY   1
#define NVM_REGION_HEALTH_UNUSABLE  2

// The model the protocol slots serve, set by NvmDimmDeviceBind.
NVM_MODEL *NvmDeviceModel (VOID);

// Counts a call of Slot and tells whether an injected fault takes it over.
// Returns NULL when the call goes ahead; otherwise the fault, whose Status
// the slot returns (its NvmStatus already written to CommandStatus).
// Without a bound model every call fails with EFI_NOT_READY.
BOOLEAN NvmSlotEnter (IN UINTN Slot, IN COMMAND_STATUS *CommandStatus OPTIONAL, OUT NVM_MODEL **Model, OUT EFI_STATUS *Status, OUT UINT8 *MailboxStatus OPTIONAL);

// Command status: the call's outcome, and one node per object it touched.
VOID NvmSetGeneralStatus (IN COMMAND_STATUS *CommandStatus OPTIONAL, IN UINT16 NvmStatus);
VOID NvmAddObjectStatus (IN COMMAND_STATUS *CommandStatus OPTIONAL, IN UINT32 ObjectId, IN UINT16 NvmStatus);
// Writes the general status and returns Status, for one-line exits.
EFI_STATUS NvmReturn (IN COMMAND_STATUS *CommandStatus OPTIONAL, IN EFI_STATUS Status, IN UINT16 NvmStatus);

// Bounded text helpers (the model's fields are fixed arrays).
BOOLEAN NvmStrEqual (IN CONST CHAR16 *First, IN CONST CHAR16 *Second, IN UINTN Max);
VOID NvmStrCopy (OUT CHAR16 *Destination, IN UINTN DestinationMax, IN CONST CHAR16 *Source);
// Writes Value in decimal (Digits 0) or as Digits upper-case hex digits.
UINTN NvmFormatNumber (OUT CHAR16 *Destination, IN UINT64 Value, IN UINTN Digits);

UINT64 NvmAlignDown (IN UINT64 Value, IN UINT64 Alignment);

// Modules: the capacity split of a goal, whether namespaces live on one.
VOID NvmSplitCapacity (IN UINT64 RawCapacity, IN UINT32 VolatilePercent, IN UINT32 ReservedPercent, OUT UINT64 *Volatile, OUT UINT64 *AppDirect, OUT UINT64 *Reserved, OUT UINT64 *Inaccessible);
BOOLEAN NvmDimmHasNamespaces (IN NVM_MODEL *Model, IN UINT16 DimmId);
BOOLEAN NvmRegionHasDimm (IN CONST NVM_MODEL_REGION *Region, IN UINT16 DimmId);

// Regions.
UINT64 NvmRegionCapacity (IN NVM_MODEL *Model, IN CONST NVM_MODEL_REGION *Region);
UINT64 NvmRegionFreeCapacity (IN NVM_MODEL *Model, IN CONST NVM_MODEL_REGION *Region);
UINT64 NvmRegionAlignment (IN CONST NVM_MODEL_REGION *Region);
BOOLEAN NvmRegionUsable (IN NVM_MODEL *Model, IN CONST NVM_MODEL_REGION *Region);
// Forms the regions that the configured modules need and do not have yet;
// Touched[i] marks modules whose configuration changed (their regions are
// dropped with their namespaces first).
VOID NvmFormRegions (IN OUT NVM_MODEL *Model, IN CONST BOOLEAN *Touched);
VOID NvmRemoveRegion (IN OUT NVM_MODEL *Model, IN NVM_MODEL_REGION *Region);

// Module lists of the protocol: NULL with count 0 means every module.
// Fills Selected[i] for Dimms[i]; EFI_INVALID_PARAMETER with the unknown
// identifier's NVM status otherwise.
EFI_STATUS NvmSelectDimms (IN NVM_MODEL *Model, IN CONST UINT16 *DimmIds OPTIONAL, IN UINT32 DimmIdCount, IN CONST UINT16 *SocketIds OPTIONAL, IN UINT32 SocketIdCount, OUT BOOLEAN *Selected, OUT UINT16 *NvmStatus);

// The protocol slots, one per file topic.
EFI_STATUS EFIAPI NvmGetDimmCount (IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count);
EFI_STATUS EFIAPI NvmGetDimms (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT32 Count, IN UINT32 Categories, OUT DIMM_RECORD *Dimms);
EFI_STATUS EFIAPI NvmGetSockets (IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count, OUT SOCKET_RECORD **Sockets);
EFI_STATUS EFIAPI NvmGetMemoryResourcesInfo (IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT MEMORY_RESOURCES_RECORD *Resources);
EFI_STATUS EFIAPI NvmGetAlarmThresholds (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 DimmId, IN UINT8 SensorId, OUT UINT16 *Threshold, OUT UINT8 *EnabledState, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmSetAlarmThresholds (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdCount, IN UINT8 SensorId, IN UINT16 Threshold, IN UINT8 EnabledState, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmGetSmartAndHealth (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 DimmId, OUT SMART_RECORD *Smart, OUT VOID *Reserved1, OUT VOID *Reserved2, OUT VOID *Reserved3, OUT VOID *Reserved4);
EFI_STATUS EFIAPI NvmSetSecurityState (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdCount, IN UINT16 SecurityOperation, IN CHAR16 *Passphrase, IN CHAR16 *NewPassphrase, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmGetRegionCount (IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count);
EFI_STATUS EFIAPI NvmGetRegions (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT32 Count, OUT REGION_RECORD *Regions, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmGetGoalConfigs (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds, IN UINT32 SocketIdsCount, IN UINT32 GoalTableEntries, OUT GOAL_RECORD *Goals, OUT UINT32 *GoalCount, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmCreateGoalConfig (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN BOOLEAN Reserved, IN UINT16 *DimmIds, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds, IN UINT32 SocketIdsCount, IN UINT8 PersistentMemType, IN UINT32 VolatilePercent, IN UINT32 ReservedPercent, IN UINT8 ReserveDimm, IN UINT16 LabelVersionMajor, IN UINT16 LabelVersionMinor, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmDeleteGoalConfig (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds, IN UINT32 SocketIdsCount, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmCreateNamespace (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 RegionId, IN UINT16 DimmId, IN UINT64 BlockSize, IN UINT64 BlockCount, IN CHAR8 *Name, IN BOOLEAN Optimize, IN BOOLEAN ForceAll, IN BOOLEAN ForceAlignment, OUT UINT64 *ActualCapacity, OUT UINT16 *NamespaceId, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmGetNamespaces (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN OUT LIST_ENTRY *NamespaceListHead, OUT UINT32 *NamespaceCount, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmModifyNamespace (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 NamespaceId, IN CHAR8 *Name, IN BOOLEAN Force, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmDeleteNamespace (IN NVM_DIMM_CONFIG_PROTOCOL *This, IN BOOLEAN Force, IN UINT16 NamespaceId, OUT COMMAND_STATUS *CommandStatus);
EFI_STATUS EFIAPI NvmGetARSStatus (IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT8 *ArsStatus);
EFI_STATUS EFIAPI NvmPassThru (IN NVM_DIMM_PASS_THRU_PROTOCOL *This, IN UINT32 DimmHandle, IN NVM_PASS_THRU_INPUT *Input, OUT NVM_PASS_THRU_OUTPUT *Output, IN UINT32 Timeout, OUT UINT8 *MailboxStatus);

#endif

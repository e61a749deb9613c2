/** @file
  The module vendor's NVM DIMM config protocol as this driver binds it: a
  version in the first 8-byte slot, then one function pointer per 8-byte slot.
  Slots the driver never calls are reserved entries so that every called slot
  sits at its fixed position. The argument widths below are the one definition
  shared by the driver and the virtual vendor driver.
**/
#ifndef PROTOCOL_NVM_DIMM_CONFIG_H_
#define PROTOCOL_NVM_DIMM_CONFIG_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gNvmDimmConfigProtocolGuid, 0xCF2F5F1F, 0x94B6, 0x4C15, 0x9C, 0xAE, 0xAF, 0xB3, 0xBD, 0x9F, 0x2B, 0xA5);

// Record layouts live in NvmDimmRecords.h; the protocol only passes pointers.
struct DIMM_RECORD;
struct SOCKET_RECORD;
struct MEMORY_RESOURCES_RECORD;
struct SMART_RECORD;
struct REGION_RECORD;
struct GOAL_RECORD;

//
// Outcome of one change request, allocated by the caller and filled by the
// vendor's driver. Natural alignment gives the shared 32-byte layout.
//
typedef struct {
  UINT16        GeneralStatus;     // NVM status of the whole call
  UINT16        Reserved0;
  UINT32        Kind;              // the protocol's own
  LIST_ENTRY    ObjectStatusList;  // per-object nodes appended by the protocol
  UINT16        ObjectCount;       // the protocol's own
  UINT8         Reserved1[6];
} COMMAND_STATUS;

static_assert (sizeof (COMMAND_STATUS) == 32, "COMMAND_STATUS is 32 bytes");
static_assert (offsetof (COMMAND_STATUS, GeneralStatus) == 0, "COMMAND_STATUS layout");
static_assert (offsetof (COMMAND_STATUS, Kind) == 4, "COMMAND_STATUS layout");
static_assert (offsetof (COMMAND_STATUS, ObjectStatusList) == 8, "COMMAND_STATUS layout");
static_assert (offsetof (COMMAND_STATUS, ObjectCount) == 24, "COMMAND_STATUS layout");

#define COMMAND_STATUS_INITIAL_GENERAL_STATUS  2
#define COMMAND_STATUS_INITIAL_KIND            4

// Head of a per-object status node; the protocol owns the rest of the node.
#define OBJECT_STATUS_NODE_SIGNATURE  SIGNATURE_64 ('O','B','J','S','T','A','T','S')
typedef struct {
  LIST_ENTRY    Link;
  UINT64        Signature;
} OBJECT_STATUS_NODE_HEADER;
static_assert (offsetof (OBJECT_STATUS_NODE_HEADER, Signature) == 16, "node signature offset");

// NVM status codes the driver and the virtual vendor driver agree on.
#define NVM_SUCCESS                          0
#define NVM_ERR_OPERATION_NOT_STARTED        2
#define NVM_ERR_FORCE_REQUIRED               4
#define NVM_ERR_ENABLE_SECURITY_NOT_ALLOWED  35
#define NVM_ERR_CREATE_GOAL_NOT_ALLOWED      36
#define NVM_ERR_INVALID_PASSPHRASE           41
#define NVM_ERR_NAMESPACES_EXIST             44
#define NVM_ERR_REGION_UNUSABLE              111
#define NVM_ERR_NAMESPACE_TOO_SMALL          174
#define NVM_ERR_NOT_ENOUGH_FREE_SPACE        175
#define NVM_ERR_ARS_IN_PROGRESS              261
#define NVM_ERR_ARS_IN_PROGRESS_SECURITY     270

// Further NVM status codes the vendor's driver reports (the driver shows
// its own messages for them).
#define NVM_ERR_UNKNOWN                      1
#define NVM_ERR_DIMM_NOT_FOUND               3
#define NVM_ERR_INVALID_PARAMETER            5
#define NVM_ERR_BUFFER_TOO_SMALL             7
#define NVM_ERR_INVALID_SECURITY_STATE       30
#define NVM_ERR_SECURITY_COUNT_EXPIRED       31
#define NVM_ERR_SECURITY_FROZEN              32
#define NVM_ERR_GOAL_ALREADY_EXISTS          37
#define NVM_ERR_NO_GOAL_TO_DELETE            38
#define NVM_ERR_INVALID_GOAL_PARAMETERS      39
#define NVM_ERR_NEW_PASSPHRASE_INVALID       42
#define NVM_ERR_SOCKET_NOT_FOUND             50
#define NVM_ERR_REGION_NOT_FOUND             110
#define NVM_ERR_NAMESPACE_NOT_FOUND          170
#define NVM_ERR_INVALID_NAMESPACE_NAME       171
#define NVM_ERR_INVALID_BLOCK_SIZE           172
#define NVM_ERR_NAMESPACE_NOT_ALIGNED        173
#define NVM_ERR_TOO_MANY_NAMESPACES          176
#define NVM_ERR_SENSOR_NOT_SUPPORTED         200
#define NVM_ERR_THRESHOLD_OUT_OF_RANGE       201

// Security operations of SetSecurityState.
#define SECURITY_OPERATION_ENABLE             1
#define SECURITY_OPERATION_CHANGE_PASSPHRASE  2
#define SECURITY_OPERATION_DISABLE            3
#define SECURITY_OPERATION_UNLOCK             4
#define SECURITY_OPERATION_FREEZE             5
#define SECURITY_OPERATION_SECURE_ERASE       6

#define ARS_STATUS_UNKNOWN          0
#define ARS_STATUS_NOT_STARTED      1
#define ARS_STATUS_IN_PROGRESS      2
#define ARS_STATUS_COMPLETED        3
#define ARS_STATUS_ABORTED          4
#define SENSOR_PERCENTAGE_REMAINING 3
#define DIMM_CATEGORIES_ALL_DETAILS 2
#define NAMESPACE_ANY_DIMM          0xFFFD
#define GOAL_TABLE_ENTRIES          96

typedef struct NVM_DIMM_CONFIG_PROTOCOL NVM_DIMM_CONFIG_PROTOCOL;

typedef EFI_STATUS (EFIAPI *NVM_GET_DIMM_COUNT)(IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count);
typedef EFI_STATUS (EFIAPI *NVM_GET_DIMMS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT32 Count, IN UINT32 Categories, OUT struct DIMM_RECORD *Dimms);
typedef EFI_STATUS (EFIAPI *NVM_GET_SOCKETS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count, OUT struct SOCKET_RECORD **Sockets);
typedef EFI_STATUS (EFIAPI *NVM_SET_SECURITY_STATE)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdCount, IN UINT16 SecurityOperation, IN CHAR16 *Passphrase OPTIONAL, IN CHAR16 *NewPassphrase OPTIONAL, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_GET_REGION_COUNT)(IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT32 *Count);
typedef EFI_STATUS (EFIAPI *NVM_GET_REGIONS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT32 Count, OUT struct REGION_RECORD *Regions, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_GET_MEMORY_RESOURCES_INFO)(IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT struct MEMORY_RESOURCES_RECORD *Resources);
typedef EFI_STATUS (EFIAPI *NVM_GET_ALARM_THRESHOLDS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 DimmId, IN UINT8 SensorId, OUT UINT16 *Threshold, OUT UINT8 *EnabledState, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_SET_ALARM_THRESHOLDS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds, IN UINT32 DimmIdCount, IN UINT8 SensorId, IN UINT16 Threshold, IN UINT8 EnabledState, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_GET_SMART_AND_HEALTH)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 DimmId, OUT struct SMART_RECORD *Smart, OUT VOID *Reserved1 OPTIONAL, OUT VOID *Reserved2 OPTIONAL, OUT VOID *Reserved3 OPTIONAL, OUT VOID *Reserved4 OPTIONAL);
typedef EFI_STATUS (EFIAPI *NVM_GET_GOAL_CONFIGS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds OPTIONAL, IN UINT32 SocketIdsCount, IN UINT32 GoalTableEntries, OUT struct GOAL_RECORD *Goals, OUT UINT32 *GoalCount, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_CREATE_GOAL_CONFIG)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN BOOLEAN Reserved, IN UINT16 *DimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds OPTIONAL, IN UINT32 SocketIdsCount, IN UINT8 PersistentMemType, IN UINT32 VolatilePercent, IN UINT32 ReservedPercent, IN UINT8 ReserveDimm, IN UINT16 LabelVersionMajor, IN UINT16 LabelVersionMinor, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_DELETE_GOAL_CONFIG)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 *DimmIds OPTIONAL, IN UINT32 DimmIdsCount, IN UINT16 *SocketIds OPTIONAL, IN UINT32 SocketIdsCount, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_CREATE_NAMESPACE)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 RegionId, IN UINT16 DimmId, IN UINT64 BlockSize, IN UINT64 BlockCount, IN CHAR8 *Name, IN BOOLEAN Optimize, IN BOOLEAN ForceAll, IN BOOLEAN ForceAlignment, OUT UINT64 *ActualCapacity OPTIONAL, OUT UINT16 *NamespaceId OPTIONAL, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_GET_NAMESPACES)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN OUT LIST_ENTRY *NamespaceListHead, OUT UINT32 *NamespaceCount, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_MODIFY_NAMESPACE)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN UINT16 NamespaceId, IN CHAR8 *Name, IN BOOLEAN Force, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_DELETE_NAMESPACE)(IN NVM_DIMM_CONFIG_PROTOCOL *This, IN BOOLEAN Force, IN UINT16 NamespaceId, OUT COMMAND_STATUS *CommandStatus);
typedef EFI_STATUS (EFIAPI *NVM_GET_ARS_STATUS)(IN NVM_DIMM_CONFIG_PROTOCOL *This, OUT UINT8 *ArsStatus);

typedef VOID *NVM_RESERVED_SLOT;

struct NVM_DIMM_CONFIG_PROTOCOL {
  UINT32                           Version;                 // slot 0
  UINT32                           VersionPad;
  NVM_GET_DIMM_COUNT               GetDimmCount;            // slot 1
  NVM_GET_DIMMS                    GetDimms;                // slot 2
  NVM_RESERVED_SLOT                Reserved3[3];            // slots 3-5
  NVM_GET_SOCKETS                  GetSockets;              // slot 6
  NVM_RESERVED_SLOT                Reserved7[7];            // slots 7-13
  NVM_SET_SECURITY_STATE           SetSecurityState;        // slot 14
  NVM_RESERVED_SLOT                Reserved15;              // slot 15
  NVM_GET_REGION_COUNT             GetRegionCount;          // slot 16
  NVM_GET_REGIONS                  GetRegions;              // slot 17
  NVM_RESERVED_SLOT                Reserved18;              // slot 18
  NVM_GET_MEMORY_RESOURCES_INFO    GetMemoryResourcesInfo;  // slot 19
  NVM_RESERVED_SLOT                Reserved20[3];           // slots 20-22
  NVM_GET_ALARM_THRESHOLDS         GetAlarmThresholds;      // slot 23
  NVM_SET_ALARM_THRESHOLDS         SetAlarmThresholds;      // slot 24
  NVM_GET_SMART_AND_HEALTH         GetSmartAndHealth;       // slot 25
  NVM_GET_GOAL_CONFIGS             GetGoalConfigs;          // slot 26
  NVM_RESERVED_SLOT                Reserved27;              // slot 27
  NVM_CREATE_GOAL_CONFIG           CreateGoalConfig;        // slot 28
  NVM_DELETE_GOAL_CONFIG           DeleteGoalConfig;        // slot 29
  NVM_RESERVED_SLOT                Reserved30[3];           // slots 30-32
  NVM_CREATE_NAMESPACE             CreateNamespace;         // slot 33
  NVM_GET_NAMESPACES               GetNamespaces;           // slot 34
  NVM_MODIFY_NAMESPACE             ModifyNamespace;         // slot 35
  NVM_DELETE_NAMESPACE             DeleteNamespace;         // slot 36
  NVM_RESERVED_SLOT                Reserved37[6];           // slots 37-42
  NVM_GET_ARS_STATUS               GetARSStatus;            // slot 43
};

#define NVM_SLOT_OFFSET(Slot)  ((Slot) * 8)
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetDimmCount) == NVM_SLOT_OFFSET (1), "slot 1");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetDimms) == NVM_SLOT_OFFSET (2), "slot 2");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetSockets) == NVM_SLOT_OFFSET (6), "slot 6");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, SetSecurityState) == NVM_SLOT_OFFSET (14), "slot 14");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetRegionCount) == NVM_SLOT_OFFSET (16), "slot 16");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetRegions) == NVM_SLOT_OFFSET (17), "slot 17");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetMemoryResourcesInfo) == NVM_SLOT_OFFSET (19), "slot 19");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetAlarmThresholds) == NVM_SLOT_OFFSET (23), "slot 23");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, SetAlarmThresholds) == NVM_SLOT_OFFSET (24), "slot 24");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetSmartAndHealth) == NVM_SLOT_OFFSET (25), "slot 25");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetGoalConfigs) == NVM_SLOT_OFFSET (26), "slot 26");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, CreateGoalConfig) == NVM_SLOT_OFFSET (28), "slot 28");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, DeleteGoalConfig) == NVM_SLOT_OFFSET (29), "slot 29");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, CreateNamespace) == NVM_SLOT_OFFSET (33), "slot 33");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetNamespaces) == NVM_SLOT_OFFSET (34), "slot 34");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, ModifyNamespace) == NVM_SLOT_OFFSET (35), "slot 35");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, DeleteNamespace) == NVM_SLOT_OFFSET (36), "slot 36");
static_assert (offsetof (NVM_DIMM_CONFIG_PROTOCOL, GetARSStatus) == NVM_SLOT_OFFSET (43), "slot 43");
static_assert (sizeof (NVM_DIMM_CONFIG_PROTOCOL) == NVM_SLOT_OFFSET (44), "44 slots");

#endif

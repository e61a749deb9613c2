/** @file
  Byte layouts of the setup form set's variable stores, shared by the form
  source (CarvexSetup.vfr) and the driver. Every buffer is packed: the pages
  read and write them by offset, odd offsets included.
**/
#ifndef CARVEX_SETUP_VAR_H_
#define CARVEX_SETUP_VAR_H_

#ifndef VFRCOMPILE
#include <Uefi.h>
#endif

// {E8B18FEE-A44E-4F97-B5EE-2D2CA54A3098}: the form set, every buffer store,
// the configuration variable and the driver handle's vendor device path node.
#define CARVEX_SETUP_FORMSET_GUID \
  { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } }

// Variable store identifiers.
#define SETUP_VAR_ID                       1
#define SETUP_DIMM_DETAILS_VAR_ID          2
#define SETUP_REGION_DETAILS_VAR_ID        3
#define SETUP_PENDING_GOAL_DETAILS_VAR_ID  4
#define SETUP_NAMESPACE_DETAILS_VAR_ID     5
#define SETUP_SECURITY_DETAILS_VAR_ID      6
#define CARVEK_CONFIG_VAR_ID               7

#define SETUP_MAX_SOCKETS           8
#define SETUP_MAX_DIMMS_PER_SOCKET  6
#define SETUP_MAX_SECURITY_DIMMS    48
#define SETUP_CAPACITY_STR_LEN      19   // CHAR16 elements of a capacity text

// Forms.
#define SETUP_FORM_MAIN               0x0001
#define SETUP_FORM_DIMM_DETAILS       0x0002
#define SETUP_FORM_SOCKET_DIMMS       0x0003
#define SETUP_FORM_GOALS              0x0004
#define SETUP_FORM_PENDING_GOAL       0x0005
#define SETUP_FORM_REGIONS            0x0006
#define SETUP_FORM_REGION_DETAILS     0x0007
#define SETUP_FORM_NAMESPACES         0x0008
#define SETUP_FORM_NAMESPACE_CREATE   0x0009
#define SETUP_FORM_NAMESPACE_DETAILS  0x000A
#define SETUP_FORM_NAMESPACE_LIST     0x000B
#define SETUP_FORM_SECURITY           0x000C
#define SETUP_FORM_DCPMM_CONFIG       0x000D

// Labels under which pages are built at run time.
#define SETUP_LABEL_DIMM_DETAILS      0x0001
#define SETUP_LABEL_REGIONS           0x0003
#define SETUP_LABEL_NAMESPACE_LIST    0x0004
#define SETUP_LABEL_NAMESPACE_CREATE  0x0005
#define SETUP_LABEL_END               0xFFFF

#pragma pack(1)

// Store 1, "SetupVar": summary, goal choices, namespace entry, capabilities.
typedef struct {
  UINT32  DimmCount;
  CHAR16  TotalRawCapacity[19];
  CHAR16  TotalMemoryCapacity[19];
  CHAR16  TotalAppDirectCapacity[19];
  CHAR16  TotalUnconfiguredCapacity[19];
  CHAR16  TotalInaccessibleCapacity[19];
  CHAR16  TotalReservedCapacity[19];
  UINT8   GoalSocketPresent[8];
  UINT8   GoalSocketHasNamespace[8];
  UINT32  RegionCount;
  UINT8   CreateGoalScope;                 // 0 Platform, 1 Processor, 2 Unconfigured
  UINT8   CreateGoalSocket[8];
  UINT8   CreateGoalSocketUnconfigured[8];
  UINT8   VolatilePercent;
  UINT8   PersistentMemType;               // 1 App Direct, 2 App Direct Not Interleaved
  UINT8   DeleteGoalScope;                 // 0 Platform, 1 Processor
  UINT8   DeleteGoalSocket[8];
  CHAR16  NamespaceName[64];
  UINT32  NamespaceRegionId;
  UINT8   CapacityUnit;                    // 2 B, 4 MB (2^20), 6 GB (2^30)
  CHAR16  NamespaceCapacity[39];
  UINT8   SupportAppDirectMode;
  UINT8   SupportMemoryMode;
  UINT8   DcpmmPerfConfig;                 // 0 BW Optimized, 1 Latency Optimized, 2 Balanced
} SETUP_VAR;

// One module of a processor page.
typedef struct {
  CHAR16  ModuleName[128];
  CHAR16  FwVersionStr[19];
  CHAR16  RawCapacityStr[19];
  CHAR16  MemoryCapacityStr[19];
  CHAR16  AppDirectCapacityStr[19];
  CHAR16  UnconfiguredCapacityStr[19];
  CHAR16  InaccessibleCapacityStr[19];
  CHAR16  ReservedCapacityStr[19];
  UINT8   PercentageRemaining;
  UINT8   Configured;
  UINT8   SecurityState;
} SETUP_MODULE_BLOCK;

// Store 2, "SetupDimmDetailsVar".
typedef struct {
  SETUP_MODULE_BLOCK  ModuleBlock[6];
  UINT32              ModuleCount;
} SETUP_DIMM_DETAILS_VAR;

// Store 3, "SetupRegionDetailsVar".
typedef struct {
  CHAR16  RegionIdStr[7];
  CHAR16  SocketStr[20];
  CHAR16  CapacityStr[19];
  CHAR16  FreeCapacityStr[19];
  CHAR16  PersistentMemoryTypeStr[50];
  CHAR16  AppDirNamespaceMaxSizeStr[19];
  CHAR16  AppDirNamespaceMinSizeStr[19];
} SETUP_REGION_DETAILS_VAR;

// One module of the pending-goal page.
typedef struct {
  CHAR16  ModuleName[128];
  CHAR16  MemoryCapacityStr[19];
  CHAR16  AppDirect1CapacityStr[19];
  CHAR16  AppDirect2CapacityStr[19];
} SETUP_PENDING_GOAL_BLOCK;

// Store 4, "SetupPendingGoalDetailsVar".
typedef struct {
  UINT8                     PendingGoalExists;
  UINT8                     PendingGoalSocket[8];
  UINT8                     PendingGoalModuleCount;
  SETUP_PENDING_GOAL_BLOCK  PendingGoalBlock[6];
} SETUP_PENDING_GOAL_DETAILS_VAR;

// Store 5, "SetupNamespaceDetailsVar".
typedef struct {
  CHAR16  NamespaceIdStr[7];
  CHAR16  UuidStr[36];
  CHAR16  Name[64];
  CHAR16  CapacityStr[19];
  CHAR16  RegionIdStr[7];
  UINT16  HealthState;                     // 0 Unknown .. 4 Unsupported
  CHAR16  NewName[64];
} SETUP_NAMESPACE_DETAILS_VAR;

// One module of the security page.
typedef struct {
  UINT8   SecurityState;
  CHAR16  DeviceLocator[128];
  UINT16  SocketId;
  UINT16  DimmId;
  UINT8   CheckBoxIndex;                   // socket * 6 + position within the socket
} SETUP_SECURITY_DIMM;

// Store 6, "SetupSecurityDetailsVar".
typedef struct {
  UINT8                Scope;              // 0 Platform, 1 Single DCPMM
  CHAR16               Passphrase[33];
  UINT8                SecurityStateAll;
  UINT8                SecurityStateSelected;
  SETUP_SECURITY_DIMM  Dimm[48];
  UINT8                CheckBox[48];
  UINT8                SocketPresent[8];
  UINT8                SlotPresent[48];
  UINT8                SomeSelected;
  UINT8                SomeExceeded;
} SETUP_SECURITY_DETAILS_VAR;

// Store 7, the UEFI variable "CarvekConfigVar" (non-volatile, boot, runtime).
typedef struct {
  UINT8  ThirdPartyPercentageRemainingThresholds;
  UINT8  ThirdPartyPercentageRemainingThresholdsCache;
  UINT8  VarChanged;
  UINT8  LoadDefaultFlag;
} CARVEK_CONFIG_VAR;

#pragma pack()

#ifndef VFRCOMPILE
#include <stddef.h>

#define SETUP_VAR_NAME                       u"SetupVar"
#define SETUP_DIMM_DETAILS_VAR_NAME          u"SetupDimmDetailsVar"
#define SETUP_REGION_DETAILS_VAR_NAME        u"SetupRegionDetailsVar"
#define SETUP_PENDING_GOAL_DETAILS_VAR_NAME  u"SetupPendingGoalDetailsVar"
#define SETUP_NAMESPACE_DETAILS_VAR_NAME     u"SetupNamespaceDetailsVar"
#define SETUP_SECURITY_DETAILS_VAR_NAME      u"SetupSecurityDetailsVar"
#define CARVEK_CONFIG_VAR_NAME               u"CarvekConfigVar"
#define CARVEK_CONFIG_VAR_ATTRIBUTES \
  (EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS)

static_assert (sizeof (SETUP_VAR) == 494, "SetupVar is 494 bytes");
static_assert (offsetof (SETUP_VAR, DimmCount) == 0x000, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalRawCapacity) == 0x004, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalMemoryCapacity) == 0x02A, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalAppDirectCapacity) == 0x050, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalUnconfiguredCapacity) == 0x076, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalInaccessibleCapacity) == 0x09C, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, TotalReservedCapacity) == 0x0C2, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, GoalSocketPresent) == 0x0E8, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, GoalSocketHasNamespace) == 0x0F0, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, RegionCount) == 0x0F8, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, CreateGoalScope) == 0x0FC, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, CreateGoalSocket) == 0x0FD, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, CreateGoalSocketUnconfigured) == 0x105, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, VolatilePercent) == 0x10D, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, PersistentMemType) == 0x10E, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, DeleteGoalScope) == 0x10F, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, DeleteGoalSocket) == 0x110, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, NamespaceName) == 0x118, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, NamespaceRegionId) == 0x198, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, CapacityUnit) == 0x19C, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, NamespaceCapacity) == 0x19D, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, SupportAppDirectMode) == 0x1EB, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, SupportMemoryMode) == 0x1EC, "SetupVar layout");
static_assert (offsetof (SETUP_VAR, DcpmmPerfConfig) == 0x1ED, "SetupVar layout");

static_assert (sizeof (SETUP_MODULE_BLOCK) == 525, "module block is 525 bytes");
static_assert (offsetof (SETUP_MODULE_BLOCK, ModuleName) == 0, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, FwVersionStr) == 256, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, RawCapacityStr) == 294, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, MemoryCapacityStr) == 332, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, AppDirectCapacityStr) == 370, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, UnconfiguredCapacityStr) == 408, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, InaccessibleCapacityStr) == 446, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, ReservedCapacityStr) == 484, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, PercentageRemaining) == 522, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, Configured) == 523, "module block layout");
static_assert (offsetof (SETUP_MODULE_BLOCK, SecurityState) == 524, "module block layout");
static_assert (sizeof (SETUP_DIMM_DETAILS_VAR) == 3154, "SetupDimmDetailsVar is 3154 bytes");
static_assert (offsetof (SETUP_DIMM_DETAILS_VAR, ModuleBlock[5]) == 5 * 525, "SetupDimmDetailsVar layout");
static_assert (offsetof (SETUP_DIMM_DETAILS_VAR, ModuleCount) == 0xC4E, "SetupDimmDetailsVar layout");

static_assert (sizeof (SETUP_REGION_DETAILS_VAR) == 306, "SetupRegionDetailsVar is 306 bytes");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, RegionIdStr) == 0x000, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, SocketStr) == 0x00E, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, CapacityStr) == 0x036, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, FreeCapacityStr) == 0x05C, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, PersistentMemoryTypeStr) == 0x082, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, AppDirNamespaceMaxSizeStr) == 0x0E6, "SetupRegionDetailsVar layout");
static_assert (offsetof (SETUP_REGION_DETAILS_VAR, AppDirNamespaceMinSizeStr) == 0x10C, "SetupRegionDetailsVar layout");

static_assert (sizeof (SETUP_PENDING_GOAL_BLOCK) == 370, "pending goal block is 370 bytes");
static_assert (offsetof (SETUP_PENDING_GOAL_BLOCK, MemoryCapacityStr) == 256, "pending goal block layout");
static_assert (offsetof (SETUP_PENDING_GOAL_BLOCK, AppDirect1CapacityStr) == 294, "pending goal block layout");
static_assert (offsetof (SETUP_PENDING_GOAL_BLOCK, AppDirect2CapacityStr) == 332, "pending goal block layout");
static_assert (sizeof (SETUP_PENDING_GOAL_DETAILS_VAR) == 2230, "SetupPendingGoalDetailsVar is 2230 bytes");
static_assert (offsetof (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalExists) == 0x000, "pending goal layout");
static_assert (offsetof (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalSocket) == 0x001, "pending goal layout");
static_assert (offsetof (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalModuleCount) == 0x009, "pending goal layout");
static_assert (offsetof (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalBlock) == 0x00A, "pending goal layout");
static_assert (offsetof (SETUP_PENDING_GOAL_DETAILS_VAR, PendingGoalBlock[5]) == 0x00A + 5 * 370, "pending goal layout");

static_assert (sizeof (SETUP_NAMESPACE_DETAILS_VAR) == 396, "SetupNamespaceDetailsVar is 396 bytes");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, NamespaceIdStr) == 0x000, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, UuidStr) == 0x00E, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, Name) == 0x056, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, CapacityStr) == 0x0D6, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, RegionIdStr) == 0x0FC, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, HealthState) == 0x10A, "namespace details layout");
static_assert (offsetof (SETUP_NAMESPACE_DETAILS_VAR, NewName) == 0x10C, "namespace details layout");

static_assert (sizeof (SETUP_SECURITY_DIMM) == 262, "security module record is 262 bytes");
static_assert (offsetof (SETUP_SECURITY_DIMM, DeviceLocator) == 1, "security module record layout");
static_assert (offsetof (SETUP_SECURITY_DIMM, SocketId) == 257, "security module record layout");
static_assert (offsetof (SETUP_SECURITY_DIMM, DimmId) == 259, "security module record layout");
static_assert (offsetof (SETUP_SECURITY_DIMM, CheckBoxIndex) == 261, "security module record layout");
static_assert (sizeof (SETUP_SECURITY_DETAILS_VAR) == 12751, "SetupSecurityDetailsVar is 12751 bytes");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, Scope) == 0x0000, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, Passphrase) == 0x0001, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SecurityStateAll) == 0x0043, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SecurityStateSelected) == 0x0044, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, Dimm) == 0x0045, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, CheckBox) == 0x3165, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SocketPresent) == 0x3195, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SlotPresent) == 0x319D, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SomeSelected) == 0x31CD, "security layout");
static_assert (offsetof (SETUP_SECURITY_DETAILS_VAR, SomeExceeded) == 0x31CE, "security layout");

static_assert (sizeof (CARVEK_CONFIG_VAR) == 4, "CarvekConfigVar is 4 bytes");
static_assert (offsetof (CARVEK_CONFIG_VAR, ThirdPartyPercentageRemainingThresholdsCache) == 1, "config layout");
static_assert (offsetof (CARVEK_CONFIG_VAR, VarChanged) == 2, "config layout");
static_assert (offsetof (CARVEK_CONFIG_VAR, LoadDefaultFlag) == 3, "config layout");
#endif

#endif

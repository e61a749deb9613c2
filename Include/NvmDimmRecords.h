/** @file
  Records exchanged through the NVM DIMM config protocol. The caller
  allocates the fixed-size records (module, socket, totals, health, region,
  goal); the protocol allocates the list nodes (namespaces, per-object
  status) and the socket array, which the caller frees.

  Wire layouts are packed; the two node types are naturally aligned because
  they begin with a LIST_ENTRY that both sides link through. Bytes named
  Reserved* belong to the vendor's driver.
**/
#ifndef NVM_DIMM_RECORDS_H_
#define NVM_DIMM_RECORDS_H_

#include <Uefi/UefiBaseType.h>
#include <Protocol/NvmDimmConfig.h>

// Module security states as records carry them (one byte).
#define DIMM_SECURITY_STATE_UNKNOWN   0
#define DIMM_SECURITY_STATE_DISABLED  1
#define DIMM_SECURITY_STATE_LOCKED    2
#define DIMM_SECURITY_STATE_UNLOCKED  3
#define DIMM_SECURITY_STATE_FROZEN    4
#define DIMM_SECURITY_STATE_EXCEEDED  6
#define DIMM_SECURITY_STATE_MIXED     9  // rolled-up value only

// Region types (bit mask) and goal memory types.
#define REGION_TYPE_APP_DIRECT                  0x01
#define REGION_TYPE_APP_DIRECT_NOT_INTERLEAVED  0x02
#define GOAL_MEMORY_TYPE_APP_DIRECT                  1
#define GOAL_MEMORY_TYPE_APP_DIRECT_NOT_INTERLEAVED  2

// Namespace health.
#define NAMESPACE_HEALTH_UNKNOWN      0
#define NAMESPACE_HEALTH_HEALTHY      1
#define NAMESPACE_HEALTH_WARNING      2
#define NAMESPACE_HEALTH_CRITICAL     3
#define NAMESPACE_HEALTH_UNSUPPORTED  4

#define DIMM_DEVICE_LOCATOR_LENGTH  128  // CHAR16, NUL included
#define DIMM_UID_LENGTH             22   // CHAR16, NUL included
#define NAMESPACE_NAME_LENGTH       64   // CHAR8, NUL included

#pragma pack(1)

//
// One module, 688 bytes.
//
typedef struct DIMM_RECORD {
  UINT8     Reserved0[56];
  CHAR16    DeviceLocator[DIMM_DEVICE_LOCATOR_LENGTH];  // 56
  UINT8     Reserved1[64];
  UINT8     FwVersionMajor;                             // 376
  UINT8     FwVersionMinor;                             // 377
  UINT8     FwVersionHotfix;                            // 378
  UINT8     Reserved2[3];
  UINT16    FwVersionBuild;                             // 382
  UINT16    DimmId;                                     // 384
  UINT16    SocketId;                                   // 386
  UINT8     Reserved3[28];
  UINT64    RawCapacity;                                // 416
  UINT64    VolatileCapacity;                           // 424
  UINT8     Reserved4[8];
  UINT8     SecurityState;                              // 440
  UINT8     Reserved5[39];
  UINT64    AppDirectCapacity;                          // 480
  UINT64    UnconfiguredCapacity;                       // 488
  UINT64    ReservedCapacity;                           // 496
  UINT64    InaccessibleCapacity;                       // 504
  UINT8     Reserved6[48];
  UINT16    VendorId;                                   // 560
  UINT16    DeviceId;                                   // 562
  UINT16    SubsystemVendorId;                          // 564
  UINT16    SubsystemDeviceId;                          // 566
  UINT8     Reserved7[18];
  UINT8     Configured;                                 // 586
  UINT8     Reserved8[41];
  UINT32    DimmHandle;                                 // 628
  UINT8     Reserved9[4];
  CHAR16    DimmUid[DIMM_UID_LENGTH];                   // 636
  UINT8     Reserved10[8];
} DIMM_RECORD;

static_assert (sizeof (DIMM_RECORD) == 688, "DIMM_RECORD is 688 bytes");
static_assert (offsetof (DIMM_RECORD, DeviceLocator) == 56, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, FwVersionMajor) == 376, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, FwVersionMinor) == 377, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, FwVersionHotfix) == 378, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, FwVersionBuild) == 382, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, DimmId) == 384, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, SocketId) == 386, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, RawCapacity) == 416, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, VolatileCapacity) == 424, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, SecurityState) == 440, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, AppDirectCapacity) == 480, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, UnconfiguredCapacity) == 488, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, ReservedCapacity) == 496, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, InaccessibleCapacity) == 504, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, VendorId) == 560, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, DeviceId) == 562, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, SubsystemVendorId) == 564, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, SubsystemDeviceId) == 566, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, Configured) == 586, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, DimmHandle) == 628, "DIMM_RECORD layout");
static_assert (offsetof (DIMM_RECORD, DimmUid) == 636, "DIMM_RECORD layout");

//
// One processor socket, 24 bytes; the protocol allocates the array.
//
typedef struct SOCKET_RECORD {
  UINT16    SocketId;           // 0
  UINT8     Reserved[6];
  UINT64    MappedMemoryLimit;  // 8
  UINT64    TotalMappedMemory;  // 16
} SOCKET_RECORD;

static_assert (sizeof (SOCKET_RECORD) == 24, "SOCKET_RECORD is 24 bytes");
static_assert (offsetof (SOCKET_RECORD, SocketId) == 0, "SOCKET_RECORD layout");

//
// Platform capacity totals in bytes, 48 bytes.
//
typedef struct MEMORY_RESOURCES_RECORD {
  UINT64    RawCapacity;           // 0
  UINT64    VolatileCapacity;      // 8
  UINT64    AppDirectCapacity;     // 16
  UINT64    UnconfiguredCapacity;  // 24
  UINT64    InaccessibleCapacity;  // 32
  UINT64    ReservedCapacity;      // 40
} MEMORY_RESOURCES_RECORD;

static_assert (sizeof (MEMORY_RESOURCES_RECORD) == 48, "MEMORY_RESOURCES_RECORD is 48 bytes");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, RawCapacity) == 0, "MEMORY_RESOURCES_RECORD layout");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, VolatileCapacity) == 8, "MEMORY_RESOURCES_RECORD layout");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, AppDirectCapacity) == 16, "MEMORY_RESOURCES_RECORD layout");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, UnconfiguredCapacity) == 24, "MEMORY_RESOURCES_RECORD layout");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, InaccessibleCapacity) == 32, "MEMORY_RESOURCES_RECORD layout");
static_assert (offsetof (MEMORY_RESOURCES_RECORD, ReservedCapacity) == 40, "MEMORY_RESOURCES_RECORD layout");

//
// Module health, 72 bytes.
//
typedef struct SMART_RECORD {
  UINT32    ValidFields;            // 0
  UINT8     HealthStatus;           // 4
  UINT8     Reserved0;
  UINT16    MediaTemperature;       // 6, degrees Celsius
  UINT16    ControllerTemperature;  // 8, degrees Celsius
  UINT8     PercentageRemaining;    // 10, spare capacity 0..100
  UINT8     Reserved1[61];
} SMART_RECORD;

static_assert (sizeof (SMART_RECORD) == 72, "SMART_RECORD is 72 bytes");
static_assert (offsetof (SMART_RECORD, PercentageRemaining) == 10, "SMART_RECORD layout");

//
// One region, 96 bytes.
//
#define REGION_MAX_DIMMS  12

typedef struct REGION_RECORD {
  UINT16    RegionId;                 // 0
  UINT16    SocketId;                 // 2
  UINT8     RegionType;               // 4
  UINT8     Reserved0[3];
  UINT64    Capacity;                 // 8
  UINT64    FreeCapacity;             // 16
  UINT64    AppDirNamespaceMaxSize;   // 24
  UINT64    AppDirNamespaceMinSize;   // 32
  UINT16    Health;                   // 40
  UINT16    DimmCount;                // 42
  UINT16    DimmIds[REGION_MAX_DIMMS];  // 44
  UINT8     Reserved1[28];
} REGION_RECORD;

static_assert (sizeof (REGION_RECORD) == 96, "REGION_RECORD is 96 bytes");
static_assert (offsetof (REGION_RECORD, RegionId) == 0, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, SocketId) == 2, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, RegionType) == 4, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, Capacity) == 8, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, FreeCapacity) == 16, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, AppDirNamespaceMaxSize) == 24, "REGION_RECORD layout");
static_assert (offsetof (REGION_RECORD, AppDirNamespaceMinSize) == 32, "REGION_RECORD layout");

//
// One module's pending goal, 112 bytes.
//
typedef struct GOAL_RECORD {
  UINT32    DimmHandle;         // 0
  UINT16    DimmId;             // 4
  UINT8     PersistentMemType;  // 6
  UINT8     Reserved0;
  UINT32    VolatilePercent;    // 8
  UINT8     Reserved1[36];
  UINT16    SocketId;           // 48
  UINT8     Reserved2[6];
  UINT64    VolatileSize;       // 56
  UINT8     Reserved3[16];
  UINT64    AppDirect1Size;     // 80
  UINT64    AppDirect2Size;     // 88
  UINT8     Reserved4[16];
} GOAL_RECORD;

static_assert (sizeof (GOAL_RECORD) == 112, "GOAL_RECORD is 112 bytes");
static_assert (offsetof (GOAL_RECORD, DimmHandle) == 0, "GOAL_RECORD layout");
static_assert (offsetof (GOAL_RECORD, SocketId) == 48, "GOAL_RECORD layout");
static_assert (offsetof (GOAL_RECORD, VolatileSize) == 56, "GOAL_RECORD layout");
static_assert (offsetof (GOAL_RECORD, AppDirect1Size) == 80, "GOAL_RECORD layout");
static_assert (offsetof (GOAL_RECORD, AppDirect2Size) == 88, "GOAL_RECORD layout");

#pragma pack()

//
// One namespace, a node the protocol allocates and links to the caller's
// list head; the caller frees it.
//
#define NAMESPACE_INFO_SIGNATURE  SIGNATURE_64 ('N','S','P','A','C','I','N','F')

typedef struct {
  LIST_ENTRY    Link;                         // 0
  UINT64        Signature;                    // 16
  EFI_GUID      NamespaceGuid;                // 24
  UINT16        NamespaceId;                  // 40
  CHAR8         Name[NAMESPACE_NAME_LENGTH];  // 42
  UINT8         Reserved0[156];
  UINT16        HealthState;                  // 262
  UINT16        RegionId;                     // 264
  UINT8         Reserved1[6];
  UINT64        BlockSize;                    // 272
  UINT64        Reserved2;
  UINT64        BlockCount;                   // 288
} NAMESPACE_INFO;

static_assert (NAMESPACE_INFO_SIGNATURE == 0x464E49434150534EULL, "reads NSPACINF");
static_assert (sizeof (NAMESPACE_INFO) == 296, "NAMESPACE_INFO is 296 bytes");
static_assert (offsetof (NAMESPACE_INFO, Link) == 0, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, Signature) == 16, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, NamespaceGuid) == 24, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, NamespaceId) == 40, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, Name) == 42, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, HealthState) == 262, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, RegionId) == 264, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, BlockSize) == 272, "NAMESPACE_INFO layout");
static_assert (offsetof (NAMESPACE_INFO, BlockCount) == 288, "NAMESPACE_INFO layout");

//
// Outcome for one object (module, namespace) of a change request, appended
// by the protocol to COMMAND_STATUS.ObjectStatusList; the caller frees it.
//
typedef struct {
  OBJECT_STATUS_NODE_HEADER    Header;     // Link 0, Signature 16
  UINT32                       ObjectId;   // 24, module or namespace id
  UINT16                       NvmStatus;  // 28
  UINT16                       Reserved;
} OBJECT_STATUS_NODE;

static_assert (OBJECT_STATUS_NODE_SIGNATURE == 0x53544154534A424FULL, "reads OBJSTATS");
static_assert (sizeof (OBJECT_STATUS_NODE) == 32, "OBJECT_STATUS_NODE is 32 bytes");
static_assert (offsetof (OBJECT_STATUS_NODE, Header.Link) == 0, "OBJECT_STATUS_NODE layout");
static_assert (offsetof (OBJECT_STATUS_NODE, Header.Signature) == 16, "OBJECT_STATUS_NODE layout");

#endif

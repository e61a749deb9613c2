/** @file
  Model of the persistent memory modules behind the virtual vendor driver:
  sockets, modules, pending goals, regions, namespaces, security and scrub.

  NVM_MODEL is one flat, pointer-free block so that the host platform can
  own it across reboots (each boot's vendor image works on it in place),
  persist it, and read it back for its views. Fields are public; change them
  between boots or through the control functions below, whose checks keep
  the model consistent.
**/
#ifndef NVM_DIMM_MODEL_H_
#define NVM_DIMM_MODEL_H_

#include <Uefi.h>
#include <NvmDimmRecords.h>
#include <Protocol/NvmDimmConfig.h>

#define NVM_MODEL_SIGNATURE  SIGNATURE_64 ('N','V','M','M','O','D','E','L')
#define NVM_MODEL_VERSION    1

#define NVM_MAX_SOCKETS          8
#define NVM_MAX_DIMMS            48
#define NVM_MAX_REGIONS          NVM_MAX_DIMMS
#define NVM_MAX_NAMESPACES       64
#define NVM_PASSPHRASE_MAX       32   // characters
#define NVM_WRONG_PASSPHRASE_LIMIT  3

#define NVM_CAPACITY_ALIGNMENT   0x40000000ULL  // 1 GiB per module

// Fault-injection and call-count slots: the config protocol's slot numbers,
// then the mailbox pass-through's request.
#define NVM_SLOT_GET_DIMM_COUNT             1
#define NVM_SLOT_GET_DIMMS                  2
#define NVM_SLOT_GET_SOCKETS                6
#define NVM_SLOT_SET_SECURITY_STATE         14
#define NVM_SLOT_GET_REGION_COUNT           16
#define NVM_SLOT_GET_REGIONS                17
#define NVM_SLOT_GET_MEMORY_RESOURCES_INFO  19
#define NVM_SLOT_GET_ALARM_THRESHOLDS       23
#define NVM_SLOT_SET_ALARM_THRESHOLDS       24
#define NVM_SLOT_GET_SMART_AND_HEALTH       25
#define NVM_SLOT_GET_GOAL_CONFIGS           26
#define NVM_SLOT_CREATE_GOAL_CONFIG         28
#define NVM_SLOT_DELETE_GOAL_CONFIG         29
#define NVM_SLOT_CREATE_NAMESPACE           33
#define NVM_SLOT_GET_NAMESPACES             34
#define NVM_SLOT_MODIFY_NAMESPACE           35
#define NVM_SLOT_DELETE_NAMESPACE           36
#define NVM_SLOT_GET_ARS_STATUS             43
#define NVM_SLOT_PASS_THRU                  44
#define NVM_SLOT_COUNT                      45

typedef enum {
  NvmFaultOff = 0,
  NvmFaultTimes,    // fail the next Count calls (after Skip calls), then stop
  NvmFaultAlways    // fail every call after Skip calls
} NVM_FAULT_MODE;

typedef struct {
  UINT32        Mode;       // NVM_FAULT_MODE
  UINT32        Skip;       // calls that still succeed before failing starts
  UINT32        Count;      // NvmFaultTimes: failures left
  UINT16        NvmStatus;  // written to the command status, if the slot has one
  UINT8         MailboxStatus;  // pass-through only
  UINT8         Reserved;
  EFI_STATUS    Status;     // returned instead of doing the work
} NVM_FAULT;

typedef struct {
  UINT8     Present;
  UINT8     Reserved[7];
  UINT64    MappedMemoryLimit;
  UINT64    TotalMappedMemory;
} NVM_MODEL_SOCKET;

// A goal waiting for the next memory initialisation.
typedef struct {
  UINT8     Pending;
  UINT8     PersistentMemType;  // GOAL_MEMORY_TYPE_*
  UINT8     Reserved[2];
  UINT32    VolatilePercent;
  UINT32    ReservedPercent;
  UINT32    Reserved2;
  UINT64    VolatileSize;
  UINT64    AppDirectSize;
  UINT64    ReservedSize;
} NVM_MODEL_GOAL;

typedef struct {
  // Identity.
  UINT16    DimmId;       // the protocol's identifier, 1 based
  UINT16    SocketId;
  UINT16    SlotNumber;   // the board's slot label number
  UINT16    Reserved0;
  UINT32    DimmHandle;
  CHAR16    DeviceLocator[DIMM_DEVICE_LOCATOR_LENGTH];
  CHAR16    DimmUid[DIMM_UID_LENGTH];
  UINT8     FwMajor;
  UINT8     FwMinor;
  UINT8     FwHotfix;
  UINT8     Reserved1;
  UINT16    FwBuild;
  UINT16    VendorId;
  UINT16    DeviceId;
  UINT16    SubsystemVendorId;
  UINT16    SubsystemDeviceId;
  UINT16    Reserved2;

  // Capacities in bytes; they add up to RawCapacity.
  UINT64    RawCapacity;
  UINT64    VolatileCapacity;
  UINT64    AppDirectCapacity;
  UINT64    UnconfiguredCapacity;
  UINT64    ReservedCapacity;
  UINT64    InaccessibleCapacity;
  UINT8     Configured;
  UINT8     PersistentMemType;  // of the applied configuration

  // Health.
  UINT8     HealthStatus;
  UINT8     PercentageRemaining;
  UINT16    AlarmThreshold;
  UINT8     AlarmEnabled;
  UINT8     Reserved3;
  UINT16    MediaTemperature;
  UINT16    ControllerTemperature;

  // Security.
  UINT8     SecurityEnabled;   // a passphrase is set
  UINT8     Locked;
  UINT8     Frozen;
  UINT8     FreezeAtPowerUp;   // the platform freezes security at each boot
  UINT8     WrongPassphrases;  // since the last power cycle
  UINT8     Reserved4[3];
  CHAR16    Passphrase[NVM_PASSPHRASE_MAX + 1];
  UINT16    Reserved5;
  UINT32    EraseCount;

  // Address range scrub.
  UINT8     ArsInProgress;
  UINT8     ArsStatus;  // ARS_STATUS_* of the last scrub
  UINT8     Reserved6[6];
  UINT64    ArsStart;
  UINT64    ArsEnd;
  UINT64    ArsCurrent;

  NVM_MODEL_GOAL    Goal;
} NVM_MODEL_DIMM;

typedef struct {
  UINT8     Present;
  UINT8     RegionType;  // REGION_TYPE_*
  UINT16    RegionId;
  UINT16    SocketId;
  UINT16    DimmCount;
  UINT16    DimmIds[REGION_MAX_DIMMS];
} NVM_MODEL_REGION;

typedef struct {
  UINT8       Present;
  UINT8       InUse;        // rename and delete need force
  UINT16      HealthState;  // NAMESPACE_HEALTH_*
  UINT16      NamespaceId;
  UINT16      RegionId;
  EFI_GUID    Guid;
  CHAR8       Name[NAMESPACE_NAME_LENGTH];
  UINT64      BlockSize;
  UINT64      BlockCount;
} NVM_MODEL_NAMESPACE;

typedef struct {
  UINT64                 Signature;  // NVM_MODEL_SIGNATURE
  UINT32                 Version;    // NVM_MODEL_VERSION
  UINT32                 Size;       // sizeof (NVM_MODEL)

  UINT32                 DimmCount;  // Dimms[0..DimmCount-1], the protocol's order
  UINT32                 BootCount;
  UINT32                 NamespaceSerial;  // makes namespace GUIDs unique
  UINT32                 Reserved;
  NVM_MODEL_SOCKET       Sockets[NVM_MAX_SOCKETS];
  NVM_MODEL_DIMM         Dimms[NVM_MAX_DIMMS];
  NVM_MODEL_REGION       Regions[NVM_MAX_REGIONS];
  NVM_MODEL_NAMESPACE    Namespaces[NVM_MAX_NAMESPACES];

  // Test and simulator control; not part of the modules' state.
  NVM_FAULT              Faults[NVM_SLOT_COUNT];
  UINT32                 CallCount[NVM_SLOT_COUNT];
} NVM_MODEL;

//
// Platform description: what a board holds at first power-on. Empty texts
// and zero identifiers take defaults (locator "DIMM n", a UID derived from
// the slot, the default firmware version and identifiers).
//
typedef struct {
  UINT16    SocketId;
  UINT16    SlotNumber;
  UINT64    RawCapacity;
  UINT8     Configured;         // capacities split as below, regions formed
  UINT8     PersistentMemType;  // GOAL_MEMORY_TYPE_*
  UINT8     VolatilePercent;
  UINT8     SecurityEnabled;
  UINT8     FreezeAtPowerUp;
  UINT8     PercentageRemaining;
  UINT8     AlarmThreshold;
  UINT8     AlarmEnabled;
  CHAR16    Passphrase[NVM_PASSPHRASE_MAX + 1];
  CHAR16    DeviceLocator[DIMM_DEVICE_LOCATOR_LENGTH];
  CHAR16    DimmUid[DIMM_UID_LENGTH];
  UINT8     FwVersion[3];
  UINT16    FwBuild;
} NVM_DIMM_DESCRIPTION;

typedef struct {
  UINT32                  SocketCount;
  UINT32                  DimmCount;
  UINT32                  HandleUpperBits;  // ORed into every module handle
  NVM_DIMM_DESCRIPTION    Dimms[NVM_MAX_DIMMS];
} NVM_PLATFORM_DESCRIPTION;

//
// Control functions for the platform (the host simulator, the vendor image,
// tests). They never allocate.
//

// Builds a model at first power-on from a description; the model is then
// ready for NvmModelPowerCycle. EFI_INVALID_PARAMETER for a description the
// model cannot hold (too many sockets or modules, a module on an absent
// socket, a slot number used twice).
EFI_STATUS EFIAPI NvmModelInitialize (OUT NVM_MODEL *Model, IN CONST NVM_PLATFORM_DESCRIPTION *Description);

// The embedded board: two processors, six 128 GiB modules each, one App
// Direct region per processor, security disabled.
CONST NVM_PLATFORM_DESCRIPTION *EFIAPI NvmModelDefaultPlatform (VOID);

// Checks a model read back from storage: signature, version, size, counts,
// and that every region and namespace refers to what exists.
// EFI_INCOMPATIBLE_VERSION or EFI_VOLUME_CORRUPTED otherwise.
EFI_STATUS EFIAPI NvmModelValidate (IN CONST NVM_MODEL *Model);

// Power-up: resets the wrong-passphrase counters (ending Exceeded), locks
// every module with security enabled, applies FreezeAtPowerUp, then runs the
// memory initialisation.
VOID EFIAPI NvmModelPowerCycle (IN OUT NVM_MODEL *Model);

// Memory initialisation: applies pending goals (capacities re-split, modules
// marked configured) and re-forms the regions of the modules they touched;
// namespaces in a region that changes are lost.
VOID EFIAPI NvmModelMemoryInit (IN OUT NVM_MODEL *Model);

// Erases every module the way the platform's erase-all request does:
// security disabled, passphrase cleared, namespaces on the modules dropped.
VOID EFIAPI NvmModelEraseAll (IN OUT NVM_MODEL *Model);

// Fault injection per slot (NVM_SLOT_*: a config protocol slot number or
// NVM_SLOT_PASS_THRU). A failing call does nothing but return Status and,
// where the slot takes a command status, write NvmStatus into it.
EFI_STATUS EFIAPI NvmModelSetFault (IN OUT NVM_MODEL *Model, IN UINTN Slot, IN NVM_FAULT_MODE Mode, IN UINT32 Skip, IN UINT32 Count, IN EFI_STATUS Status, IN UINT16 NvmStatus);
VOID EFIAPI NvmModelClearFaults (IN OUT NVM_MODEL *Model);
VOID EFIAPI NvmModelClearCallCounts (IN OUT NVM_MODEL *Model);

// Starts a scrub of a whole module (the platform does at boot when asked),
// or ends one as complete. EFI_NOT_FOUND for an unknown module identifier.
EFI_STATUS EFIAPI NvmModelStartScrub (IN OUT NVM_MODEL *Model, IN UINT16 DimmId);
EFI_STATUS EFIAPI NvmModelCompleteScrub (IN OUT NVM_MODEL *Model, IN UINT16 DimmId);

// Lookups; NULL when absent.
NVM_MODEL_DIMM *EFIAPI NvmModelFindDimm (IN NVM_MODEL *Model, IN UINT16 DimmId);
NVM_MODEL_DIMM *EFIAPI NvmModelFindDimmByHandle (IN NVM_MODEL *Model, IN UINT32 DimmHandle);
NVM_MODEL_REGION *EFIAPI NvmModelFindRegion (IN NVM_MODEL *Model, IN UINT16 RegionId);
NVM_MODEL_NAMESPACE *EFIAPI NvmModelFindNamespace (IN NVM_MODEL *Model, IN UINT16 NamespaceId);

// The security state byte a module reports (DIMM_SECURITY_STATE_*).
UINT8 EFIAPI NvmModelSecurityState (IN CONST NVM_MODEL_DIMM *Dimm);

#endif

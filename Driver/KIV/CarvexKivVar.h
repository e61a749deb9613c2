/** @file
  Byte layouts of the out-of-band (KIV) form set's stores, shared by the form
  source (CarvexKiv.vfr) and the driver. The configuration manager reads and
  writes them by offset, so every layout is packed and pinned below.
**/
#ifndef CARVEX_KIV_VAR_H_
#define CARVEX_KIV_VAR_H_

#ifndef VFRCOMPILE
#include <Uefi.h>
#endif

// {60314931-FBB6-41A4-84EB-11E7A9617E1C}: the form set, its three buffer
// stores, the variable KivVar and the KIV driver handle's vendor node.
#define CARVEX_KIV_FORMSET_GUID \
  { 0x60314931, 0xFBB6, 0x41A4, { 0x84, 0xEB, 0x11, 0xE7, 0xA9, 0x61, 0x7E, 0x1C } }

// {5C8E9747-A5F7-4593-AF1F-66A82AA19CB1}: marks a form set for the
// configuration manager.
#define CARVEX_KIV_CLASS_GUID \
  { 0x5C8E9747, 0xA5F7, 0x4593, { 0xAF, 0x1F, 0x66, 0xA8, 0x2A, 0xA1, 0x9C, 0xB1 } }

#define KIV_VAR_ID               1
#define KIV_REGION_VAR_ID        2
#define KIV_DCPMM_INFO_VAR_ID    3
#define KIV_CARVEK_CONFIG_VAR_ID 4

#define KIV_FORM_MAIN  0x0001

#define KIV_CAPACITY_STR_LEN        19
#define KIV_PASSPHRASE_LEN          33   // 32 characters and the NUL
#define KIV_DEVICE_LOCATOR_LEN      128
#define KIV_DIMM_UID_LEN            22

// Security operations the controller may ask for.
#define KIV_SECURITY_OPERATION_NONE                       0
#define KIV_SECURITY_OPERATION_ENABLE                     1
#define KIV_SECURITY_OPERATION_DISABLE                    3
#define KIV_SECURITY_OPERATION_SECURE_ERASE               6
#define KIV_SECURITY_OPERATION_ERASE_WITHOUT_PASSPHRASE  16

#define KIV_PERSISTENT_MEMORY_APP_DIRECT     1
#define KIV_PERSISTENT_MEMORY_APP_DIRECT_NI  2

#pragma pack(1)

// "KivVar": the state the controller reads and the requests it leaves.
typedef struct {
  UINT8   Reserved0[32];
  UINT8   CreateGoal;                       // 1: create a goal at the next post-complete
  UINT8   MemoryModePercentage;             // 0..100
  UINT8   CreateGoalPersistentMemoryType;   // 1 App Direct, 2 App Direct Not Interleaved
  UINT8   Reserved1;
  UINT8   SecurityState;                    // system state, read-only
  UINT8   SecurityOperation;                // 0, 1, 3, 6 or 16
  CHAR16  SecurityPassphrase[33];
  CHAR16  TotalRawCapacity[19];
  CHAR16  TotalMemoryCapacity[19];
  CHAR16  TotalAppDirectCapacity[19];
  UINT8   AppDirectCapable;
  UINT8   MemoryModeCapable;
  UINT8   EraseAllDimms;                    // request under physical presence only
  UINT8   DcpmmPerfConfig;                  // 0 BW, 1 latency, 2 balanced
} KIV_VAR;

// "KivRegionVar": one instance per region.
typedef struct {
  UINT32  RegionId;
  UINT16  SocketId;
  CHAR16  RegionIdStr[7];
  CHAR16  RegionSocketStr[20];
  CHAR16  RegionCapacityStr[19];
  UINT8   RegionType;
} KIV_REGION_VAR;

// "KivDCPMMInfoVar": one instance per module.
typedef struct {
  CHAR16  DeviceLocator[128];
  CHAR16  DimmUid[22];
  UINT8   SecurityState;
  UINT8   AutoUnlockState;
} KIV_DCPMM_INFO_VAR;

#pragma pack()

#ifndef VFRCOMPILE
#include <stddef.h>

#define KIV_VAR_NAME             u"KivVar"
#define KIV_REGION_VAR_NAME      u"KivRegionVar"
#define KIV_DCPMM_INFO_VAR_NAME  u"KivDCPMMInfoVar"
// The form set's title, also the keyword it is saved to the configuration
// manager under.
#define KIV_FORMSET_KEYWORD      u"Intel Optane DCPMM"

static_assert (sizeof (KIV_VAR) == 222, "KivVar is 222 bytes");
static_assert (offsetof (KIV_VAR, CreateGoal) == 0x20, "KivVar layout");
static_assert (offsetof (KIV_VAR, MemoryModePercentage) == 0x21, "KivVar layout");
static_assert (offsetof (KIV_VAR, CreateGoalPersistentMemoryType) == 0x22, "KivVar layout");
static_assert (offsetof (KIV_VAR, SecurityState) == 0x24, "KivVar layout");
static_assert (offsetof (KIV_VAR, SecurityOperation) == 0x25, "KivVar layout");
static_assert (offsetof (KIV_VAR, SecurityPassphrase) == 0x26, "KivVar layout");
static_assert (offsetof (KIV_VAR, TotalRawCapacity) == 0x68, "KivVar layout");
static_assert (offsetof (KIV_VAR, TotalMemoryCapacity) == 0x8E, "KivVar layout");
static_assert (offsetof (KIV_VAR, TotalAppDirectCapacity) == 0xB4, "KivVar layout");
static_assert (offsetof (KIV_VAR, AppDirectCapable) == 0xDA, "KivVar layout");
static_assert (offsetof (KIV_VAR, MemoryModeCapable) == 0xDB, "KivVar layout");
static_assert (offsetof (KIV_VAR, EraseAllDimms) == 0xDC, "KivVar layout");
static_assert (offsetof (KIV_VAR, DcpmmPerfConfig) == 0xDD, "KivVar layout");

static_assert (sizeof (KIV_REGION_VAR) == 99, "KivRegionVar is 99 bytes");
static_assert (offsetof (KIV_REGION_VAR, SocketId) == 0x04, "KivRegionVar layout");
static_assert (offsetof (KIV_REGION_VAR, RegionIdStr) == 0x06, "KivRegionVar layout");
static_assert (offsetof (KIV_REGION_VAR, RegionSocketStr) == 0x14, "KivRegionVar layout");
static_assert (offsetof (KIV_REGION_VAR, RegionCapacityStr) == 0x3C, "KivRegionVar layout");
static_assert (offsetof (KIV_REGION_VAR, RegionType) == 0x62, "KivRegionVar layout");

static_assert (sizeof (KIV_DCPMM_INFO_VAR) == 302, "KivDCPMMInfoVar is 302 bytes");
static_assert (offsetof (KIV_DCPMM_INFO_VAR, DimmUid) == 0x100, "KivDCPMMInfoVar layout");
static_assert (offsetof (KIV_DCPMM_INFO_VAR, SecurityState) == 0x12C, "KivDCPMMInfoVar layout");
static_assert (offsetof (KIV_DCPMM_INFO_VAR, AutoUnlockState) == 0x12D, "KivDCPMMInfoVar layout");
#endif

#endif

/** @file
  Setup form set installation and its configuration access: extract hands
  the browser a buffer built from live data (or zeros for the buffers the
  pages fill later), route takes back only the performance profile.
**/
#include "CarvexSetup.h"
#include "CarvexSetupVar.h"
#include "CarvexSetupBin.h"
#include "CarvexSetupStrings.h"
#include "SecurityPage.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PcdLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Protocol/DevicePath.h>
#include <Protocol/HiiConfigRouting.h>

EFI_HANDLE      mDriverHandle;
EFI_HII_HANDLE  mHiiHandle;

#pragma pack(1)
typedef struct {
  VENDOR_DEVICE_PATH          Vendor;
  EFI_DEVICE_PATH_PROTOCOL    End;
} SETUP_VENDOR_DEVICE_PATH;
#pragma pack()
static_assert (sizeof (SETUP_VENDOR_DEVICE_PATH) == 24, "vendor node and end node");

// The form set GUID names the driver handle's only device path node.
STATIC SETUP_VENDOR_DEVICE_PATH  mSetupDevicePath = {
  {
    { HARDWARE_DEVICE_PATH, HW_VENDOR_DP, { (UINT8)sizeof (VENDOR_DEVICE_PATH), (UINT8)(sizeof (VENDOR_DEVICE_PATH) >> 8) } },
    CARVEX_SETUP_FORMSET_GUID
  },
  { END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, { END_DEVICE_PATH_LENGTH, 0 } }
};

STATIC EFI_HII_CONFIG_ACCESS_PROTOCOL  mSetupConfigAccess;

STATIC CHAR16  mSetupVarName[]                   = SETUP_VAR_NAME;
STATIC CHAR16  mSetupPendingGoalDetailsVarName[] = SETUP_PENDING_GOAL_DETAILS_VAR_NAME;
STATIC CHAR16  mSetupDimmDetailsVarName[]        = SETUP_DIMM_DETAILS_VAR_NAME;
STATIC CHAR16  mSetupRegionDetailsVarName[]      = SETUP_REGION_DETAILS_VAR_NAME;
STATIC CHAR16  mSetupNamespaceDetailsVarName[]   = SETUP_NAMESPACE_DETAILS_VAR_NAME;
STATIC CHAR16  mSetupSecurityDetailsVarName[]    = SETUP_SECURITY_DETAILS_VAR_NAME;
STATIC CHAR16  mSocketMemoryConfigName[]         = SOCKET_MEMORY_CONFIG_NAME;
STATIC CHAR16  mDcpmmPerfConfigName[]            = DCPMM_PERF_CONFIG_VAR_NAME;

// The stores extract serves, in the order requests are matched against them.
typedef enum {
  SetupStoreSetupVar,
  SetupStorePendingGoal,
  SetupStoreDimmDetails,
  SetupStoreRegionDetails,
  SetupStoreNamespaceDetails,
  SetupStoreSecurityDetails,
  SetupStoreCount
} SETUP_STORE;

typedef struct {
  CHAR16  *Name;
  UINTN   Size;
} SETUP_STORE_INFO;

STATIC CONST SETUP_STORE_INFO  mSetupStores[SetupStoreCount] = {
  { mSetupVarName,                   sizeof (SETUP_VAR)                      },
  { mSetupPendingGoalDetailsVarName, sizeof (SETUP_PENDING_GOAL_DETAILS_VAR) },
  { mSetupDimmDetailsVarName,        sizeof (SETUP_DIMM_DETAILS_VAR)         },
  { mSetupRegionDetailsVarName,      sizeof (SETUP_REGION_DETAILS_VAR)       },
  { mSetupNamespaceDetailsVarName,   sizeof (SETUP_NAMESPACE_DETAILS_VAR)    },
  { mSetupSecurityDetailsVarName,    sizeof (SETUP_SECURITY_DETAILS_VAR)     },
};

// Room for the largest store, module-wide to keep it off the stack.
STATIC UINT8  mExtractBuffer[sizeof (SETUP_SECURITY_DETAILS_VAR)];
STATIC UINT8  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_SIZE];

// "&OFFSET=0&WIDTH=" and sixteen digits, plus the terminating NUL.
#define SETUP_FULL_REQUEST_EXTRA_CHARS  33

EFI_STATUS
EFIAPI
CarvexSetupBeforePostComplete (
  VOID
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  mDriverHandle                    = NULL;
  mSetupConfigAccess.ExtractConfig = SetupExtractConfig;
  mSetupConfigAccess.RouteConfig   = SetupRouteConfig;
  mSetupConfigAccess.Callback      = SetupCallback;

  // The browser and the router find the driver through the device path on
  // the same handle that carries the configuration access protocol.
  Status = gBS->InstallMultipleProtocolInterfaces (
                  &mDriverHandle,
                  &gEfiDevicePathProtocolGuid,
                  &mSetupDevicePath,
                  &gEfiHiiConfigAccessProtocolGuid,
                  &mSetupConfigAccess,
                  NULL
                  );
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to install protocols:%r\n", __func__, Status));
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  mHiiHandle = NULL;
  mHiiHandle = HiiAddPackages (&gCarvexSetupPackageListGuid, mDriverHandle, CarvexSetupStrings, CarvexSetupBin, NULL);
  if (mHiiHandle == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:HiiAddPackages failure\n", __func__));
    Status = EFI_OUT_OF_RESOURCES;
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

VOID *
EFIAPI
CreateLabelOpcodeHandle (
  IN UINT16  LabelNumber
  )
{
  VOID                *pHandle;
  EFI_IFR_GUID_LABEL  Label;

  pHandle = HiiAllocateOpCodeHandle ();
  if (pHandle == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to HiiAllocateOpCodeHandle\n", __func__));
    return NULL;
  }

  ZeroMem (&Label, sizeof (Label));
  Label.ExtendOpCode = EFI_IFR_EXTEND_OP_LABEL;
  Label.Number       = LabelNumber;
  HiiCreateGuidOpCode (pHandle, &gEfiIfrTianoGuid, &Label, sizeof (Label));
  return pHandle;
}

STATIC
EFI_HII_CONFIG_ROUTING_PROTOCOL *
LocateConfigRouting (
  VOID
  )
{
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting;

  pRouting = NULL;
  if (EFI_ERROR (gBS->LocateProtocol (&gEfiHiiConfigRoutingProtocolGuid, NULL, (VOID **)&pRouting))) {
    return NULL;
  }

  return pRouting;
}

// Writes a capacity text into a text field of a store image.
STATIC
VOID
PutCapacityText (
  OUT UINT8   *pImage,
  IN  UINTN   FieldOffset,
  IN  UINT64  Bytes
  )
{
  CHAR16  Text[SETUP_CAPACITY_STR_LEN];

  ZeroMem (Text, sizeof (Text));
  ConvertCapacityToStr (Bytes, Text, sizeof (Text));
  CopyMem (pImage + FieldOffset, Text, sizeof (Text));
}

// Fills a zeroed SetupVar image: summary, region count, capabilities and the
// performance profile the platform holds.
STATIC
VOID
BuildSetupVar (
  OUT UINT8   *pImage,
  IN  UINT64  CapabilityMask,
  OUT REGION_DETAILS  **ppRegions
  )
{
  EFI_STATUS  Status;
  SETUP_VAR   Var;
  UINT32      RegionCount;
  UINT32      Attributes;
  UINTN       DataSize;

  ZeroMem (&Var, sizeof (Var));
  Var.DimmCount    = GetDimmCount ();
  Var.CapacityUnit = CAPACITY_UNITS_GIB;

  RegionCount = 0;
  Status      = GetRegionDetails (ppRegions, &RegionCount);
  DEBUG ((DEBUG_ERROR, "%a:GetRegionDetails:%r:%d:%p\n", __func__, Status, RegionCount, *ppRegions));
  Var.RegionCount = EFI_ERROR (Status) ? 0 : RegionCount;

  if ((CapabilityMask & PLATFORM_CAPABILITY_MEMORY_MODE) != 0) {
    Var.SupportMemoryMode = 1;
    Var.VolatilePercent   = 100;
  }

  // With both modes the goal page starts from all App Direct.
  if ((CapabilityMask & PLATFORM_CAPABILITY_APP_DIRECT) != 0) {
    Var.SupportAppDirectMode = 1;
    Var.VolatilePercent      = 0;
  }

  DEBUG ((DEBUG_WARN, "%a:SetupVar.SupportMemoryMode:%x\n", __func__, Var.SupportMemoryMode));
  DEBUG ((DEBUG_WARN, "%a:SetupVar.SupportAppDirectMode:%x\n", __func__, Var.SupportAppDirectMode));

  Attributes = 0;
  DataSize   = sizeof (mSocketMemoryConfig);
  Status     = gRT->GetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, &Attributes, &DataSize, mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mSocketMemoryConfigName, Status));
  if (!EFI_ERROR (Status)) {
    DEBUG ((DEBUG_WARN, "%a:SocketMemoryConfiguration.NvmdimmPerfConfig %d\n", __func__, mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET]));
    Var.DcpmmPerfConfig = mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET];
  } else {
    Var.DcpmmPerfConfig = PERF_PROFILE_BALANCED;
  }

  DEBUG ((DEBUG_WARN, "%a:SetupVar.DcpmmPerfConfig %d\n", __func__, Var.DcpmmPerfConfig));

  CopyMem (pImage, &Var, sizeof (Var));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalRawCapacity), GetTotalRawCapacity (FALSE));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalMemoryCapacity), GetTotalVolatileCapacity (FALSE));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalAppDirectCapacity), GetTotalAppDirectCapacity (FALSE));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalUnconfiguredCapacity), GetTotalUnconfiguredCapacity (FALSE));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalInaccessibleCapacity), GetTotalInaccessibleCapacity (FALSE));
  PutCapacityText (pImage, OFFSET_OF (SETUP_VAR, TotalReservedCapacity), GetTotalReservedCapacity (FALSE));
}

EFI_STATUS
EFIAPI
SetupExtractConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Request,
  OUT CONST CHAR16                          **Progress,
  OUT CHAR16                                **Results
  )
{
  EFI_STATUS                       Status;
  UINT64                           CapabilityMask;
  UINTN                            Store;
  BOOLEAN                          HasOffset;
  CONST CHAR16                     *pPath;
  CHAR16                           *pFullRequest;
  CONST CHAR16                     *pRequest;
  UINTN                            FullRequestSize;
  REGION_DETAILS                   *pRegions;
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting;

  (VOID)This;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  CapabilityMask = PcdGet64 (PlatformCapabilityMask);
  DEBUG ((DEBUG_WARN, "%a:PlatformCapabilityMask:%lx\n", __func__, CapabilityMask));

  if ((Progress == NULL) || (Results == NULL)) {
    Status = EFI_INVALID_PARAMETER;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  *Progress = Request;
  if (Request == NULL) {
    Status = EFI_UNSUPPORTED;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  for (Store = 0; Store < SetupStoreCount; Store++) {
    if (HiiIsConfigHdrMatch (Request, &gCarvexSetupFormSetGuid, mSetupStores[Store].Name)) {
      break;
    }
  }

  if (Store == SetupStoreCount) {
    Status = EFI_UNSUPPORTED;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  // A bare header asks for the whole buffer as one element.
  pFullRequest = NULL;
  pRequest     = Request;
  HasOffset    = StrStr (Request, u"OFFSET") != NULL;
  if (!HasOffset) {
    pPath = StrStr (Request, u"PATH");
    if (pPath == NULL) {
      Status = EFI_INVALID_PARAMETER;
      DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
      return Status;
    }

    if (StrStr (pPath, u"&") == NULL) {
      FullRequestSize = (StrLen (Request) + SETUP_FULL_REQUEST_EXTRA_CHARS) * sizeof (CHAR16);
      pFullRequest    = (CHAR16 *)AllocateZeroPool (FullRequestSize);
      if (pFullRequest == NULL) {
        Status = EFI_OUT_OF_RESOURCES;
        DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
        return Status;
      }

      UnicodeSPrint (pFullRequest, FullRequestSize, u"%s&OFFSET=0&WIDTH=%016lx", Request, (UINT64)mSetupStores[Store].Size);
      pRequest = pFullRequest;
    }
  }

  pRegions = NULL;
  ZeroMem (mExtractBuffer, sizeof (mExtractBuffer));
  if (Store == SetupStoreSetupVar) {
    BuildSetupVar (mExtractBuffer, CapabilityMask, &pRegions);
  }

  // The security buffer starts from the modules' security states; the other
  // buffers start as zeros and the pages fill them through the browser when
  // the user follows a link.
  if (Store == SetupStoreSecurityDetails) {
    GetSecurityStateDetails (mExtractBuffer);
  }

  pRouting = LocateConfigRouting ();
  if (pRouting == NULL) {
    Status = EFI_NOT_FOUND;
  } else {
    Status = pRouting->BlockToConfig (pRouting, pRequest, mExtractBuffer, mSetupStores[Store].Size, Results, Progress);
  }

  if (pFullRequest != NULL) {
    FreePool (pFullRequest);
  }

  // Progress must point into the caller's string, never into the copy.
  if (!HasOffset) {
    *Progress = Request + StrLen (Request);
  }

  if (pRegions != NULL) {
    FreePool (pRegions);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SetupRouteConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                          **Progress
  )
{
  EFI_STATUS                       Status;
  SETUP_VAR                        Var;
  UINTN                            BlockSize;
  UINT32                           Attributes;
  UINTN                            DataSize;
  UINT8                            DcpmmPerfConfig;
  UINT8                            StoredPerfConfig;
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  if ((Configuration == NULL) || (This == NULL) || (Progress == NULL)) {
    Status = EFI_INVALID_PARAMETER;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  *Progress = Configuration;
  // Only the performance profile leaves the browser this way; the pages act
  // on the other buffers at once.
  if (!HiiIsConfigHdrMatch (Configuration, &gCarvexSetupFormSetGuid, mSetupVarName)) {
    Status = EFI_UNSUPPORTED;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  ZeroMem (&Var, sizeof (Var));
  BlockSize = sizeof (Var);
  pRouting  = LocateConfigRouting ();
  Status    = (pRouting == NULL) ? EFI_NOT_FOUND
                                 : pRouting->ConfigToBlock (pRouting, Configuration, (UINT8 *)&Var, &BlockSize, Progress);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:ConfigToBlock:%r\n", __func__, Status));
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  DcpmmPerfConfig = Var.DcpmmPerfConfig;
  DEBUG ((DEBUG_WARN, "%a:SetupVar.DcpmmPerfConfig %d\n", __func__, DcpmmPerfConfig));

  Attributes = 0;
  DataSize   = sizeof (mSocketMemoryConfig);
  Status     = gRT->GetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, &Attributes, &DataSize, mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mSocketMemoryConfigName, Status));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:SocketMemoryConfiguration.NvmdimmPerfConfig %d\n", __func__, mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET]));
  if (mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] == DcpmmPerfConfig) {
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = DcpmmPerfConfig;
  Status                                                = gRT->SetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, Attributes, sizeof (mSocketMemoryConfig), mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Set %s:%r\n", __func__, mSocketMemoryConfigName, Status));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  // The driver's copy follows only where it already exists.
  Attributes       = 0;
  DataSize         = sizeof (StoredPerfConfig);
  StoredPerfConfig = 0;
  Status           = gRT->GetVariable (mDcpmmPerfConfigName, &gCarvexSetupFormSetGuid, &Attributes, &DataSize, &StoredPerfConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mDcpmmPerfConfigName, Status));
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:Local DcpmmPerfConfigVar.DcpmmPerfConfig %d\n", __func__, StoredPerfConfig));
  if (StoredPerfConfig != DcpmmPerfConfig) {
    Status = gRT->SetVariable (mDcpmmPerfConfigName, &gCarvexSetupFormSetGuid, Attributes, sizeof (DcpmmPerfConfig), &DcpmmPerfConfig);
    DEBUG ((DEBUG_WARN, "%a:Set %s:%r\n", __func__, mDcpmmPerfConfigName, Status));
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

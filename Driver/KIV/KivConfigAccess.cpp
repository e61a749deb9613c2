/** @file
  Configuration access of the out-of-band form set. Extract reports the
  driver's state in the three buffer stores (the region and module stores
  with one instance per region or module); route keeps the controller's
  requests in the volatile variable KivVar for the next post-complete, sets
  the platform's erase-all request under physical presence and writes the
  performance profile when it changes. Nothing is applied to the modules
  here.
**/
#include "CarvexKiv.h"
#include "KivInternal.h"
#include "../NvmDimmConfig/Capacity.h"
#include "../NvmDimmConfig/Convert.h"
#include "../NvmDimmConfig/DimmInventory.h"
#include "../Library/PhysicalPresenceHandlerSupportLib/PhysicalPresenceHandlerSupportLib.h"
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
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/KivConfigManager.h>

STATIC CHAR16  mKivVarName[]             = KIV_VAR_NAME;
STATIC CHAR16  mKivRegionVarName[]       = KIV_REGION_VAR_NAME;
STATIC CHAR16  mKivDcpmmInfoVarName[]    = KIV_DCPMM_INFO_VAR_NAME;
STATIC CHAR16  mSocketMemoryConfigName[] = SOCKET_MEMORY_CONFIG_NAME;
STATIC CHAR16  mDcpmmPerfConfigName[]    = DCPMM_PERF_CONFIG_VAR_NAME;

// Module-wide to keep them off the stack; the route image holds a
// passphrase and is zeroed after every use.
STATIC UINT8  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_SIZE];
STATIC UINT8  mKivImage[sizeof (KIV_VAR)];
STATIC UINT8  mInstanceImage[sizeof (KIV_DCPMM_INFO_VAR)];

STATIC KIV_PROTOCOL  *mKivProtocol = NULL;

// "&OFFSET=0&WIDTH=" and sixteen digits, plus the terminating NUL.
#define KIV_FULL_REQUEST_EXTRA_CHARS  33
// "&INSTANCE=" and four digits.
#define KIV_INSTANCE_ELEMENT_CHARS    14

STATIC EFI_GUID  mKivFormSetGuid = CARVEX_KIV_FORMSET_GUID;

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

// Reads the platform's memory setup variable whole into mSocketMemoryConfig.
STATIC
EFI_STATUS
ReadSocketMemoryConfig (
  IN  CONST CHAR8  *pCaller,
  OUT UINT32       *pAttributes
  )
{
  EFI_STATUS  Status;
  UINTN       DataSize;

  *pAttributes = 0;
  DataSize     = sizeof (mSocketMemoryConfig);
  Status       = gRT->GetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, pAttributes, &DataSize, mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", pCaller, mSocketMemoryConfigName, Status));
  return Status;
}

// The request for a whole store: its header then one block from offset 0.
// NULL when out of resources.
STATIC
CHAR16 *
BuildFullRequest (
  IN CONST CHAR16  *pHeader,
  IN UINTN         Width
  )
{
  CHAR16  *pRequest;
  UINTN   Size;

  Size     = (StrLen (pHeader) + KIV_FULL_REQUEST_EXTRA_CHARS) * sizeof (CHAR16);
  pRequest = (CHAR16 *)AllocateZeroPool (Size);
  if (pRequest != NULL) {
    UnicodeSPrint (pRequest, Size, u"%s&OFFSET=0&WIDTH=%016LX", pHeader, (UINT64)Width);
  }

  return pRequest;
}

// A request names one block when an OFFSET element is followed by WIDTH.
STATIC
BOOLEAN
HasBlockElement (
  IN CONST CHAR16  *Request
  )
{
  CONST CHAR16  *pOffset;
  CONST CHAR16  *pNext;

  pOffset = StrStr (Request, u"&OFFSET=");
  if (pOffset == NULL) {
    return FALSE;
  }

  pNext = StrStr (pOffset + 1, u"&");
  return (pNext != NULL) && (StrnCmp (pNext, u"&WIDTH=", 7) == 0);
}

STATIC
VOID
PutCapacityText (
  OUT UINT8   *pImage,
  IN  UINTN   FieldOffset,
  IN  UINT64  Bytes
  )
{
  CHAR16  Text[KIV_CAPACITY_STR_LEN];

  ZeroMem (Text, sizeof (Text));
  ConvertCapacityToStr (Bytes, Text, sizeof (Text));
  CopyMem (pImage + FieldOffset, Text, sizeof (Text));
}

STATIC
EFI_STATUS
ExtractKivVar (
  IN  CONST CHAR16                     *Request,
  IN  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting,
  OUT CHAR16                           **Results
  )
{
  EFI_STATUS    Status;
  KIV_VAR       Var;
  CHAR16        *pHeader;
  CHAR16        *pFullRequest;
  CONST CHAR16  *pRequest;
  CONST CHAR16  *pProgress;
  UINT64        CapabilityMask;
  UINT32        Attributes;

  // A request for one instance of this single-instance store gets it whole.
  pFullRequest = NULL;
  pRequest     = Request;
  if (!HasBlockElement (Request) || (StrStr (Request, u"&INSTANCE=") != NULL)) {
    pHeader = HiiConstructConfigHdr (&mKivFormSetGuid, mKivVarName, mKivDriverHandle);
    if (pHeader == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:No enough resource for ConfigRequestHdr\n", __func__));
      return EFI_OUT_OF_RESOURCES;
    }

    pFullRequest = BuildFullRequest (pHeader, sizeof (KIV_VAR));
    FreePool (pHeader);
    if (pFullRequest == NULL) {
      DEBUG ((DEBUG_ERROR, "%a:No enough resource for ConfigRequestHdr\n", __func__));
      return EFI_OUT_OF_RESOURCES;
    }

    DEBUG ((DEBUG_INFO, "%a:ConfigRequest %s\n", __func__, pFullRequest));
    pRequest = pFullRequest;
  }

  // Requests are never reported back: no goal, no operation, no passphrase,
  // no erase.
  ZeroMem (&Var, sizeof (Var));
  Var.SecurityState                  = mSecurityState;
  Var.CreateGoalPersistentMemoryType = KIV_PERSISTENT_MEMORY_APP_DIRECT;

  CapabilityMask = PcdGet64 (PlatformCapabilityMask);
  DEBUG ((DEBUG_WARN, "%a:PlatformCapabilityMask:%lx\n", __func__, CapabilityMask));
  if ((CapabilityMask & PLATFORM_CAPABILITY_MEMORY_MODE) != 0) {
    Var.MemoryModeCapable    = 1;
    Var.MemoryModePercentage = 100;
  }

  // With both modes a goal starts from all App Direct.
  if ((CapabilityMask & PLATFORM_CAPABILITY_APP_DIRECT) != 0) {
    Var.AppDirectCapable     = 1;
    Var.MemoryModePercentage = 0;
  }

  Status              = ReadSocketMemoryConfig (__func__, &Attributes);
  Var.DcpmmPerfConfig = EFI_ERROR (Status) ? PERF_PROFILE_BALANCED : mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET];
  DEBUG ((DEBUG_WARN, "%a:KivVar.DcpmmPerfConfig %d\n", __func__, Var.DcpmmPerfConfig));

  CopyMem (mInstanceImage, &Var, sizeof (Var));
  PutCapacityText (mInstanceImage, OFFSET_OF (KIV_VAR, TotalRawCapacity), GetTotalRawCapacity (FALSE));
  PutCapacityText (mInstanceImage, OFFSET_OF (KIV_VAR, TotalMemoryCapacity), GetTotalVolatileCapacity (FALSE));
  PutCapacityText (mInstanceImage, OFFSET_OF (KIV_VAR, TotalAppDirectCapacity), GetTotalAppDirectCapacity (FALSE));

  pProgress = NULL;
  Status    = pRouting->BlockToConfig (pRouting, pRequest, mInstanceImage, sizeof (KIV_VAR), Results, &pProgress);
  if (pFullRequest != NULL) {
    FreePool (pFullRequest);
  }

  return Status;
}

// Fills one store image per instance: KIV_REGION_VAR from a region,
// KIV_DCPMM_INFO_VAR from a module.
typedef VOID (*KIV_INSTANCE_FILL)(IN CONST VOID *pRecords, IN UINTN Index, OUT UINT8 *pImage);

STATIC
VOID
FillRegionInstance (
  IN  CONST VOID  *pRecords,
  IN  UINTN       Index,
  OUT UINT8       *pImage
  )
{
  CONST REGION_DETAILS  *pRegion;
  KIV_REGION_VAR        Var;

  pRegion = &((CONST REGION_DETAILS *)pRecords)[Index];
  ZeroMem (&Var, sizeof (Var));
  Var.RegionId   = pRegion->RegionId;
  Var.SocketId   = pRegion->SocketId;
  Var.RegionType = pRegion->RegionType;
  UnicodeSPrint (Var.RegionIdStr, sizeof (Var.RegionIdStr), u"0x%04x", Var.RegionId);
  UnicodeSPrint (Var.RegionSocketStr, sizeof (Var.RegionSocketStr), u"Processor %d", (UINT32)Var.SocketId + 1);
  DEBUG ((DEBUG_INFO, "%a: RegionIdStr %s\n", __func__, Var.RegionIdStr));
  DEBUG ((DEBUG_INFO, "%a: Socket %s\n", __func__, Var.RegionSocketStr));
  CopyMem (pImage, &Var, sizeof (Var));
  PutCapacityText (pImage, OFFSET_OF (KIV_REGION_VAR, RegionCapacityStr), pRegion->Capacity);
}

STATIC
VOID
FillDcpmmInstance (
  IN  CONST VOID  *pRecords,
  IN  UINTN       Index,
  OUT UINT8       *pImage
  )
{
  CONST DIMM_DETAILS  *pDimm;
  KIV_DCPMM_INFO_VAR  Var;

  static_assert (sizeof (Var.DeviceLocator) == sizeof (pDimm->DeviceLocator), "locator width");
  static_assert (sizeof (Var.DimmUid) == sizeof (pDimm->DimmUid), "uid width");

  pDimm = &((CONST DIMM_DETAILS *)pRecords)[Index];
  ZeroMem (&Var, sizeof (Var));
  CopyMem (Var.DeviceLocator, pDimm->DeviceLocator, sizeof (Var.DeviceLocator));
  CopyMem (Var.DimmUid, pDimm->DimmUid, sizeof (Var.DimmUid));
  // The texts come from the vendor's records: keep them terminated.
  Var.DeviceLocator[KIV_DEVICE_LOCATOR_LEN - 1] = 0;
  Var.DimmUid[KIV_DIMM_UID_LEN - 1]             = 0;
  Var.SecurityState                             = pDimm->SecurityState;
  Var.AutoUnlockState                           = pDimm->AutoUnlockState;
  DEBUG ((DEBUG_INFO, "%a: DeviceLocator:%s\n", __func__, Var.DeviceLocator));
  DEBUG ((DEBUG_INFO, "%a: DimmUid:%s\n", __func__, Var.DimmUid));
  DEBUG ((DEBUG_INFO, "%a: SecurityState:%x:", __func__, (UINT32)Var.SecurityState));
  DEBUG ((DEBUG_INFO, "%a: AutoUnlockState:%x:", __func__, (UINT32)Var.AutoUnlockState));
  CopyMem (pImage, &Var, sizeof (Var));
}

// Answers a request for every instance of a multi-instance store: the
// header, then per instance "&INSTANCE=hhhh" (from 0001) and its blocks.
STATIC
EFI_STATUS
ExtractAllInstances (
  IN  CONST CHAR16                     *Request,
  IN  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting,
  IN  CHAR16                           *pName,
  IN  UINTN                            Width,
  IN  CONST VOID                       *pRecords,
  IN  UINT32                           Count,
  IN  KIV_INSTANCE_FILL                Fill,
  OUT CHAR16                           **Results
  )
{
  EFI_STATUS    Status;
  CHAR16        *pHeader;
  CHAR16        *pRequest;
  CHAR16        *pAccumulator;
  CHAR16        *pResponse;
  CHAR16        *pTail;
  CHAR16        *pLarger;
  CONST CHAR16  *pProgress;
  UINTN         Length;
  UINTN         TailLength;
  UINTN         Index;

  if (StrStr (Request, u"&INSTANCE=0000") == NULL) {
    if (StrStr (Request, u"&INSTANCE=") != NULL) {
      DEBUG ((DEBUG_ERROR, "%a: Request for single instance\n", __func__));
    } else {
      DEBUG ((DEBUG_ERROR, "%a: Request for nothing\n", __func__));
    }

    return EFI_UNSUPPORTED;
  }

  DEBUG ((DEBUG_INFO, "%a: Request for all\n", __func__));
  if ((pRecords == NULL) || (Count == 0)) {
    if (pName == mKivRegionVarName) {
      DEBUG ((DEBUG_ERROR, "%a: no region info.\n", __func__));
    } else {
      DEBUG ((DEBUG_ERROR, "%a: no dcpmm info.\n", __func__));
    }

    return EFI_NOT_FOUND;
  }

  pHeader = HiiConstructConfigHdr (&mKivFormSetGuid, pName, mKivDriverHandle);
  if (pHeader == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:No enough resource for ConfigRequestHdr\n", __func__));
    return EFI_OUT_OF_RESOURCES;
  }

  pRequest     = BuildFullRequest (pHeader, Width);
  pAccumulator = (CHAR16 *)AllocateCopyPool (StrSize (pHeader), pHeader);
  FreePool (pHeader);
  if ((pRequest == NULL) || (pAccumulator == NULL)) {
    DEBUG ((DEBUG_ERROR, "%a:%d: fail to allocate region var.\n", __func__, __LINE__));
    if (pRequest != NULL) {
      FreePool (pRequest);
    }

    if (pAccumulator != NULL) {
      FreePool (pAccumulator);
    }

    return EFI_OUT_OF_RESOURCES;
  }

  Status = EFI_SUCCESS;
  for (Index = 0; Index < Count; Index++) {
    ZeroMem (mInstanceImage, sizeof (mInstanceImage));
    Fill (pRecords, Index, mInstanceImage);
    pResponse = NULL;
    pProgress = NULL;
    Status    = pRouting->BlockToConfig (pRouting, pRequest, mInstanceImage, Width, &pResponse, &pProgress);
    DEBUG ((DEBUG_INFO, "%a: BlockToConfig Status=%r\n", __func__, Status));
    if (EFI_ERROR (Status) || (pResponse == NULL)) {
      continue;
    }

    pTail = StrStr (pResponse, u"&OFFSET=");
    if (pTail != NULL) {
      Length     = StrLen (pAccumulator);
      TailLength = StrLen (pTail);
      pLarger    = (CHAR16 *)ReallocatePool (
                               (Length + 1) * sizeof (CHAR16),
                               (Length + TailLength + KIV_INSTANCE_ELEMENT_CHARS + 1) * sizeof (CHAR16),
                               pAccumulator
                               );
      if (pLarger == NULL) {
        DEBUG ((DEBUG_ERROR, "%a:%d: fail to allocate region var.\n", __func__, __LINE__));
        FreePool (pResponse);
        FreePool (pAccumulator);
        FreePool (pRequest);
        return EFI_OUT_OF_RESOURCES;
      }

      pAccumulator = pLarger;
      UnicodeSPrint (
        pAccumulator + Length,
        (TailLength + KIV_INSTANCE_ELEMENT_CHARS + 1) * sizeof (CHAR16),
        u"&INSTANCE=%04x%s",
        (UINT32)(Index + 1),
        pTail
        );
    }

    FreePool (pResponse);
  }

  FreePool (pRequest);
  DEBUG ((DEBUG_INFO, "%a: Final results %s\n", __func__, pAccumulator));
  // A failed last instance leaves nothing for the caller to free.
  if (EFI_ERROR (Status)) {
    FreePool (pAccumulator);
    return Status;
  }

  *Results = pAccumulator;
  return Status;
}

EFI_STATUS
EFIAPI
KivExtractConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Request,
  OUT CONST CHAR16                          **Progress,
  OUT CHAR16                                **Results
  )
{
  EFI_STATUS                       Status;
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting;
  DIMM_DETAILS                     *pDimms;
  UINT32                           DimmCount;

  (VOID)This;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
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

  DEBUG ((DEBUG_INFO, "%a:Request:%s\n", __func__, Request));
  *Results = NULL;
  pRouting = LocateConfigRouting ();
  if (pRouting == NULL) {
    Status = EFI_NOT_FOUND;
  } else if (HiiIsConfigHdrMatch (Request, &mKivFormSetGuid, mKivVarName)) {
    Status = ExtractKivVar (Request, pRouting, Results);
  } else if (HiiIsConfigHdrMatch (Request, &mKivFormSetGuid, mKivRegionVarName)) {
    Status = ExtractAllInstances (
               Request,
               pRouting,
               mKivRegionVarName,
               sizeof (KIV_REGION_VAR),
               mCachedRegions,
               mCachedRegionCount,
               FillRegionInstance,
               Results
               );
  } else if (HiiIsConfigHdrMatch (Request, &mKivFormSetGuid, mKivDcpmmInfoVarName)) {
    pDimms    = NULL;
    DimmCount = 0;
    if (EFI_ERROR (GetDimmDetails (&pDimms, &DimmCount))) {
      DimmCount = 0;
    }

    Status = ExtractAllInstances (
               Request,
               pRouting,
               mKivDcpmmInfoVarName,
               sizeof (KIV_DCPMM_INFO_VAR),
               pDimms,
               DimmCount,
               FillDcpmmInstance,
               Results
               );
    if (pDimms != NULL) {
      FreePool (pDimms);
    }
  } else {
    Status = EFI_UNSUPPORTED;
  }

  // Progress always points into the caller's string, never into a request
  // built here: at its end after an answer or when it named no block.
  if (!EFI_ERROR (Status) || (StrStr (Request, u"OFFSET") == NULL)) {
    *Progress = Request + StrLen (Request);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Drops a goal the platform's capabilities cannot hold: memory mode alone
// takes only 100 percent, App Direct alone only 0.
STATIC
VOID
DropUnsupportedGoal (
  IN OUT KIV_VAR  *pVar
  )
{
  UINT64  CapabilityMask;

  CapabilityMask = PcdGet64 (PlatformCapabilityMask);
  DEBUG ((DEBUG_WARN, "%a:PlatformCapabilityMask:%lx\n", __func__, CapabilityMask));
  CapabilityMask &= (PLATFORM_CAPABILITY_APP_DIRECT | PLATFORM_CAPABILITY_MEMORY_MODE);
  if ((CapabilityMask == PLATFORM_CAPABILITY_MEMORY_MODE) && (pVar->MemoryModePercentage != 100)) {
    pVar->CreateGoal = 0;
  } else if ((CapabilityMask == PLATFORM_CAPABILITY_APP_DIRECT) && (pVar->MemoryModePercentage != 0)) {
    pVar->CreateGoal = 0;
  }
}

// The erase-all request reaches the platform's memory initialisation only
// under physical presence.
STATIC
VOID
RequestEraseAll (
  IN UINT8  EraseAllDimms
  )
{
  EFI_STATUS  Status;
  UINT32      Attributes;

  if (!IsPhysPresenceAsserted () || (EraseAllDimms != 1)) {
    return;
  }

  Status = ReadSocketMemoryConfig (__func__, &Attributes);
  if (EFI_ERROR (Status)) {
    return;
  }

  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_ERASE_ALL_OFFSET] = 1;
  Status = gRT->SetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, Attributes, sizeof (mSocketMemoryConfig), mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Update SetSecureEraseAllDIMMs:%r\n", __func__, Status));
}

// Writes the routed performance profile to the platform and to the
// driver's copy, each only where it differs.
STATIC
EFI_STATUS
RoutePerfConfig (
  IN UINT8  DcpmmPerfConfig
  )
{
  EFI_STATUS  Status;
  UINT32      Attributes;
  UINTN       DataSize;
  UINT8       StoredPerfConfig;

  DEBUG ((DEBUG_WARN, "%a:KivVar.DcpmmPerfConfig %d\n", __func__, DcpmmPerfConfig));
  Status = ReadSocketMemoryConfig (__func__, &Attributes);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:SocketMemoryConfiguration.NvmdimmPerfConfig %d\n", __func__, mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET]));
  if (mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] == DcpmmPerfConfig) {
    return EFI_SUCCESS;
  }

  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = DcpmmPerfConfig;
  Status = gRT->SetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, Attributes, sizeof (mSocketMemoryConfig), mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Set %s:%r\n", __func__, mSocketMemoryConfigName, Status));
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Attributes       = 0;
  DataSize         = sizeof (StoredPerfConfig);
  StoredPerfConfig = 0;
  Status           = gRT->GetVariable (mDcpmmPerfConfigName, &gCarvexSetupFormSetGuid, &Attributes, &DataSize, &StoredPerfConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mDcpmmPerfConfigName, Status));
  if (EFI_ERROR (Status)) {
    return Status;
  }

  DEBUG ((DEBUG_WARN, "%a:Local DcpmmPerfConfigVar.DcpmmPerfConfig %d\n", __func__, StoredPerfConfig));
  if (StoredPerfConfig != DcpmmPerfConfig) {
    Status = gRT->SetVariable (mDcpmmPerfConfigName, &gCarvexSetupFormSetGuid, Attributes, sizeof (DcpmmPerfConfig), &DcpmmPerfConfig);
    DEBUG ((DEBUG_WARN, "%a:Set %s:%r\n", __func__, mDcpmmPerfConfigName, Status));
  }

  return Status;
}

STATIC
BOOLEAN
IsHexDigit (
  IN CHAR16  Char
  )
{
  return ((Char >= u'0') && (Char <= u'9')) || ((Char >= u'a') && (Char <= u'f')) || ((Char >= u'A') && (Char <= u'F'));
}

// The controller writes each VALUE with exactly two digits per byte of its
// WIDTH; a shorter or longer one (which the router would pad or cut) means
// the string is not what the controller meant. Returns the element in error,
// or NULL when every VALUE fits its WIDTH.
STATIC
CONST CHAR16 *
FindMisfitValue (
  IN CONST CHAR16  *Configuration
  )
{
  CONST CHAR16  *pWidth;
  CONST CHAR16  *pValue;
  UINT64        Width;
  UINT64        Digits;

  for (pWidth = StrStr (Configuration, u"&WIDTH="); pWidth != NULL; pWidth = StrStr (pWidth + 1, u"&WIDTH=")) {
    Width = 0;
    for (pValue = pWidth + 7; IsHexDigit (*pValue); pValue++) {
      if (Width > sizeof (KIV_VAR)) {
        return pWidth;
      }

      Width = Width * 16 + (UINT64)((*pValue <= u'9') ? (*pValue - u'0') : ((*pValue | 0x20) - u'a' + 10));
    }

    if (StrnCmp (pValue, u"&VALUE=", 7) != 0) {
      return pWidth;
    }

    Digits = 0;
    for (pValue += 7; IsHexDigit (*pValue); pValue++) {
      Digits++;
    }

    if ((Digits != Width * 2) || ((*pValue != u'&') && (*pValue != 0))) {
      return pWidth;
    }
  }

  return NULL;
}

EFI_STATUS
EFIAPI
KivRouteConfig (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                          **Progress
  )
{
  EFI_STATUS                       Status;
  EFI_STATUS                       SetStatus;
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *pRouting;
  KIV_VAR                          *pVar;
  UINTN                            BlockSize;
  UINT8                            DcpmmPerfConfig;
  CONST CHAR16                     *pMisfit;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  ZeroMem (mKivImage, sizeof (mKivImage));
  if ((Configuration == NULL) || (This == NULL) || (Progress == NULL)) {
    Status = EFI_INVALID_PARAMETER;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  *Progress = Configuration;
  // The region and module stores are read-only.
  if (!HiiIsConfigHdrMatch (Configuration, &mKivFormSetGuid, mKivVarName)) {
    Status = EFI_UNSUPPORTED;
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  pMisfit = FindMisfitValue (Configuration);
  if (pMisfit != NULL) {
    *Progress = pMisfit;
    Status    = EFI_INVALID_PARAMETER;
    DEBUG ((DEBUG_ERROR, "%a:ConfigToBlock:%r\n", __func__, Status));
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  BlockSize = sizeof (mKivImage);
  pRouting  = LocateConfigRouting ();
  Status    = (pRouting == NULL) ? EFI_NOT_FOUND
                                 : pRouting->ConfigToBlock (pRouting, Configuration, mKivImage, &BlockSize, Progress);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:ConfigToBlock:%r\n", __func__, Status));
    ZeroMem (mKivImage, sizeof (mKivImage));
    DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
    return Status;
  }

  pVar = (KIV_VAR *)mKivImage;
  // Whatever the controller wrote, the passphrase ends inside its field.
  pVar->SecurityPassphrase[KIV_PASSPHRASE_LEN - 1] = 0;
  if ((pVar->CreateGoalPersistentMemoryType != KIV_PERSISTENT_MEMORY_APP_DIRECT) &&
      (pVar->CreateGoalPersistentMemoryType != KIV_PERSISTENT_MEMORY_APP_DIRECT_NI))
  {
    pVar->CreateGoalPersistentMemoryType = KIV_PERSISTENT_MEMORY_APP_DIRECT;
  }

  DEBUG ((DEBUG_WARN, "%a:KivVar.CreateGoal:%d\n", __func__, pVar->CreateGoal));
  DEBUG ((DEBUG_WARN, "%a:KivVar.MemoryModePercentage:%d\n", __func__, pVar->MemoryModePercentage));
  DEBUG ((DEBUG_WARN, "%a:KivVar.CreateGoalPersistentMemoryType:%d\n", __func__, pVar->CreateGoalPersistentMemoryType));
  DEBUG ((DEBUG_WARN, "%a:KivVar.SecurityOperation:%d\n", __func__, pVar->SecurityOperation));

  DropUnsupportedGoal (pVar);
  RequestEraseAll (pVar->EraseAllDimms);
  pVar->EraseAllDimms = 0;

  // Volatile: a request not applied by the next post-complete dies with the
  // next reset.
  SetStatus = gRT->SetVariable (mKivVarName, &mKivFormSetGuid, EFI_VARIABLE_BOOTSERVICE_ACCESS, sizeof (KIV_VAR), mKivImage);
  DEBUG ((DEBUG_WARN, "%a:SetVariable KivVar:%r\n", __func__, SetStatus));

  DcpmmPerfConfig = pVar->DcpmmPerfConfig;
  ZeroMem (mKivImage, sizeof (mKivImage));
  Status = RoutePerfConfig (DcpmmPerfConfig);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
KivCallback (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  EFI_BROWSER_ACTION                    Action,
  IN  EFI_QUESTION_ID                       QuestionId,
  IN  UINT8                                 Type,
  IN OUT EFI_IFR_TYPE_VALUE                 *Value,
  OUT EFI_BROWSER_ACTION_REQUEST            *ActionRequest
  )
{
  (VOID)This;
  (VOID)Type;
  (VOID)Value;
  (VOID)ActionRequest;
  // No question of this form set is interactive.
  DEBUG ((DEBUG_INFO, "%a:Action %d, QID 0x%x\n", __func__, (UINT32)Action, (UINT32)QuestionId));
  return EFI_UNSUPPORTED;
}

EFI_STATUS
EFIAPI
KivSaveByFormSetTitleKeyword (
  IN CHAR16  *Keyword
  )
{
  EFI_STATUS  Status;

  if (mKivProtocol == NULL) {
    Status = gBS->LocateProtocol (&gKivProtocolGuid, NULL, (VOID **)&mKivProtocol);
    if (EFI_ERROR (Status)) {
      mKivProtocol = NULL;
      DEBUG ((DEBUG_ERROR, "KivSaveByFormSetTitleKeyword:locate KIV protocol:%r\n", Status));
      return Status;
    }

    if (mKivProtocol == NULL) {
      DEBUG ((DEBUG_ERROR, "KivSaveByFormSetTitleKeyword:no KIV protocol\n"));
      return EFI_ABORTED;
    }
  }

  Status = mKivProtocol->SaveByFormSetTitleKeyword (mKivProtocol, Keyword);
  DEBUG ((DEBUG_WARN, "KivSaveByFormSetTitleKeyword:SaveByFormSetTitleKeyword:%r\n", Status));
  return Status;
}

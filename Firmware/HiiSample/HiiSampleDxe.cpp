/** @file
  HiiSampleDxe: the sample form set and its buffer store, registered the
  way a configuration driver does it (device path and configuration access
  on a new handle first, then the package list), with handlers that leave
  the string work to the configuration router.
**/
#include "HiiSampleDxe.h"

#include <HiiSampleBin.h>
#include <HiiSampleStrings.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiDriverEntryPoint.h>
#include <Protocol/DevicePath.h>
#include <Protocol/HiiConfigAccess.h>
#include <Protocol/HiiConfigRouting.h>

#pragma pack(1)
typedef struct {
  VENDOR_DEVICE_PATH          Vendor;
  EFI_DEVICE_PATH_PROTOCOL    End;
} HII_SAMPLE_DEVICE_PATH;
#pragma pack()

STATIC HII_SAMPLE_DEVICE_PATH  mDevicePath = {
  {
    { HARDWARE_DEVICE_PATH, HW_VENDOR_DP, { sizeof (VENDOR_DEVICE_PATH), 0 } },
    HII_SAMPLE_DEVICE_PATH_GUID
  },
  { END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, { END_DEVICE_PATH_LENGTH, 0 } }
};

STATIC EFI_GUID                         mStoreGuid     = HII_SAMPLE_STORE_GUID;
STATIC EFI_HANDLE                       mDriverHandle  = NULL;
STATIC EFI_HII_CONFIG_ROUTING_PROTOCOL  *mRouting      = NULL;
STATIC HII_SAMPLE_TEST_PROTOCOL         mTest;

STATIC
VOID
RecordRequest (
  IN CONST CHAR16  *Request
  )
{
  if (Request == NULL) {
    mTest.LastRequest[0] = 0;
    return;
  }

  StrnCpyS (mTest.LastRequest, HII_SAMPLE_LAST_REQUEST_MAX, Request, HII_SAMPLE_LAST_REQUEST_MAX - 1);
}

// Request, or for a request without block items (or none at all) a new one
// asking for the whole store. NULL when out of memory.
STATIC
CHAR16 *
WholeStoreRequest (
  IN CONST CHAR16  *Request OPTIONAL
  )
{
  CHAR16  *Header;
  CHAR16  *Full;
  UINTN   Size;

  if (Request == NULL) {
    Header = HiiConstructConfigHdr (&mStoreGuid, HII_SAMPLE_STORE_NAME, mDriverHandle);
  } else {
    Header = static_cast<CHAR16 *>(AllocateCopyPool (StrSize (Request), Request));
  }

  if (Header == NULL) {
    return NULL;
  }

  Size = StrSize (Header) + 32 * sizeof (CHAR16);
  Full = static_cast<CHAR16 *>(AllocatePool (Size));
  if (Full != NULL) {
    UnicodeSPrint (Full, Size, u"%s&OFFSET=0&WIDTH=%04x", Header, static_cast<UINT32>(sizeof (HII_SAMPLE_VAR)));
  }

  FreePool (Header);
  return Full;
}

STATIC
EFI_STATUS
EFIAPI
HiiSampleExtractConfig (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Request,
  OUT CONST CHAR16                         **Progress,
  OUT CHAR16                               **Results
  )
{
  CHAR16      *Private;
  EFI_STATUS  Status;

  (VOID)This;
  if ((Progress == NULL) || (Results == NULL)) {
    return EFI_INVALID_PARAMETER;
  }

  *Progress = Request;
  if ((Request != NULL) && !HiiIsConfigHdrMatch (Request, &mStoreGuid, HII_SAMPLE_STORE_NAME)) {
    return EFI_NOT_FOUND;
  }

  mTest.ExtractCalls++;
  RecordRequest (Request);
  Private = NULL;
  if ((Request == NULL) || (StrStr (Request, u"&OFFSET=") == NULL)) {
    Private = WholeStoreRequest (Request);
    if (Private == NULL) {
      mTest.LastStatus = EFI_OUT_OF_RESOURCES;
      return EFI_OUT_OF_RESOURCES;
    }
  }

  Status = mRouting->BlockToConfig (
                       mRouting,
                       (Private != NULL) ? Private : Request,
                       reinterpret_cast<CONST UINT8 *>(&mTest.Store),
                       sizeof (mTest.Store),
                       Results,
                       Progress
                       );
  if (Private != NULL) {
    // The router expects Progress inside the string it passed in.
    FreePool (Private);
    *Progress = (Request != NULL) ? Request + StrLen (Request) : NULL;
  }

  mTest.LastStatus = Status;
  return Status;
}

STATIC
EFI_STATUS
EFIAPI
HiiSampleRouteConfig (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN CONST CHAR16                          *Configuration,
  OUT CONST CHAR16                         **Progress
  )
{
  HII_SAMPLE_VAR  Copy;
  UINTN           Size;
  EFI_STATUS      Status;

  (VOID)This;
  if ((Configuration == NULL) || (Progress == NULL)) {
    return EFI_INVALID_PARAMETER;
  }

  *Progress = Configuration;
  if (!HiiIsConfigHdrMatch (Configuration, &mStoreGuid, HII_SAMPLE_STORE_NAME)) {
    return EFI_NOT_FOUND;
  }

  mTest.RouteCalls++;
  RecordRequest (Configuration);
  // All or nothing: the store changes only when every item was taken.
  CopyMem (&Copy, &mTest.Store, sizeof (Copy));
  Size   = sizeof (Copy);
  Status = mRouting->ConfigToBlock (mRouting, Configuration, reinterpret_cast<UINT8 *>(&Copy), &Size, Progress);
  if (!EFI_ERROR (Status)) {
    CopyMem (&mTest.Store, &Copy, sizeof (Copy));
  }

  mTest.LastStatus = Status;
  return Status;
}

STATIC
EFI_STATUS
EFIAPI
HiiSampleCallback (
  IN CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN EFI_BROWSER_ACTION                    Action,
  IN EFI_QUESTION_ID                       QuestionId,
  IN UINT8                                 Type,
  IN OUT EFI_IFR_TYPE_VALUE                *Value,
  OUT EFI_BROWSER_ACTION_REQUEST           *ActionRequest
  )
{
  (VOID)This;
  (VOID)Action;
  (VOID)QuestionId;
  (VOID)Type;
  (VOID)Value;
  (VOID)ActionRequest;
  return EFI_UNSUPPORTED;
}

STATIC EFI_HII_CONFIG_ACCESS_PROTOCOL  mConfigAccess = {
  HiiSampleExtractConfig,
  HiiSampleRouteConfig,
  HiiSampleCallback
};

EFI_STATUS
EFIAPI
HiiSampleDxeEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  VOID        *Interface;
  EFI_STATUS  Status;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  Status = gBS->LocateProtocol (&gEfiHiiConfigRoutingProtocolGuid, NULL, &Interface);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "HiiSampleDxe: no configuration routing: %r\n", Status));
    return Status;
  }

  mRouting = static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *>(Interface);
  CopyMem (&mTest.Store, &gHiiSampleInitialStore, sizeof (mTest.Store));

  // The database makes the list's device path package from the handle's
  // device path, so that must be there before the list is added.
  Status = gBS->InstallMultipleProtocolInterfaces (
                  &mDriverHandle,
                  &gEfiDevicePathProtocolGuid,
                  &mDevicePath,
                  &gEfiHiiConfigAccessProtocolGuid,
                  &mConfigAccess,
                  &gHiiSampleTestProtocolGuid,
                  &mTest,
                  NULL
                  );
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "HiiSampleDxe: installing the handle's protocols: %r\n", Status));
    return Status;
  }

  // A failure is left for the test to see (HiiHandle stays NULL).
  mTest.HiiHandle = HiiAddPackages (&gHiiSamplePackageListGuid, mDriverHandle, HiiSampleBin, HiiSampleStrings, NULL);
  DEBUG ((DEBUG_INFO, "HiiSampleDxe: package list %a\n", (mTest.HiiHandle != NULL) ? "added" : "refused"));
  return EFI_SUCCESS;
}

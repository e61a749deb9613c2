/** @file
  HiiSampleDxe: a small driver that registers the sample form set through
  the HII library and answers the configuration router for its buffer
  store, so that the OVMF tests can put our library and our compiled
  packages in front of EDK II's own HII database and router.

  Besides the device path and the configuration access protocol, its handle
  carries a test-only protocol through which the test application sees the
  driver's state: the HII handle, the store and what reached the handlers.
**/
#ifndef HII_SAMPLE_DXE_H_
#define HII_SAMPLE_DXE_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>
#include <HiiSampleConfig.h>

#define HII_SAMPLE_STORE_NAME  u"HiiSampleVar"

// The package list and the vendor node of the driver's device path.
CARVEX_GUID_DEFINE (gHiiSamplePackageListGuid, 0x5c0b7a64, 0x1e0f, 0x4f3a, 0x8d, 0x52, 0x6b, 0x17, 0xa9, 0x3e, 0x40, 0xc1);
#define HII_SAMPLE_DEVICE_PATH_GUID \
  { 0x9e4d2f18, 0x3b6a, 0x4c75, { 0xa0, 0x1d, 0x72, 0xe8, 0x5f, 0x09, 0xc4, 0x3b } }
CARVEX_GUID_DEFINE (gHiiSampleTestProtocolGuid, 0x2f6a1c93, 0x7d40, 0x4e8b, 0xb5, 0x26, 0x0c, 0x91, 0xd4, 0x7e, 0x38, 0xa5);

// The store's content when the driver starts: every field differs from its
// neighbours' bytes, so a misplaced or reversed byte shows.
inline constexpr HII_SAMPLE_VAR  gHiiSampleInitialStore = { 1, 0x0063, 1, { u'O', u'v', u'm', 0 } };

#define HII_SAMPLE_LAST_REQUEST_MAX  320

typedef struct {
  EFI_HII_HANDLE    HiiHandle;        // what HiiAddPackages returned (NULL when it failed)
  HII_SAMPLE_VAR    Store;            // the buffer store the handlers read and write
  UINT32            ExtractCalls;     // calls that were for the store
  UINT32            RouteCalls;
  EFI_STATUS        LastStatus;       // of the last handler call
  // The last request or configuration the router handed in (cut to fit).
  CHAR16            LastRequest[HII_SAMPLE_LAST_REQUEST_MAX];
} HII_SAMPLE_TEST_PROTOCOL;

// Installs the handle's protocols and adds the package list.
EFI_STATUS
EFIAPI
HiiSampleDxeEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  );

#endif

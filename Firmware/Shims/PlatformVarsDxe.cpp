/** @file
  The platform's memory initialisation, as far as the driver sees it: on a
  first boot it creates SocketMemoryConfig (477 bytes, non-volatile and
  boot-service access) with the performance profile from the load options
  (default 2, Balanced Profile); on every boot it consumes PostResetReq,
  as memory initialisation does when it runs again after the requested
  reset. As the platform's setup infrastructure, it also creates the setup
  form set's EFI variable store CarvekConfigVar with its defaults (both
  thresholds 10) on a first boot.

  The other bytes of a new SocketMemoryConfig hold a recognisable filler, so
  that a test notices a write that loses the platform's bytes.
**/
#include "../Common/FwCommon.h"
#include <Guid/PlatformVariables.h>

STATIC CHAR16  mSocketMemoryConfigName[] = SOCKET_MEMORY_CONFIG_NAME;
STATIC CHAR16  mPostResetReqName[]       = POST_RESET_REQ_NAME;
STATIC UINT8   mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_SIZE];

// The filler byte at Offset of a SocketMemoryConfig this shim creates.
STATIC
UINT8
FillerByte (
  IN UINTN  Offset
  )
{
  return static_cast<UINT8> (Offset * 37 + 11);
}

STATIC
VOID
CreateSocketMemoryConfig (
  IN UINT8  Profile
  )
{
  UINTN       Size;
  UINT32      Attributes;
  EFI_STATUS  Status;

  Size   = sizeof (mSocketMemoryConfig);
  Status = gFwRT->GetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, &Attributes, &Size, mSocketMemoryConfig);
  if (Status != EFI_NOT_FOUND) {
    FwLog ("PlatformVarsDxe: SocketMemoryConfig kept (%r, %lu bytes, profile %u)\n", Status, static_cast<UINT64> (Size), (UINT32)mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET]);
    return;
  }

  for (UINTN Offset = 0; Offset < sizeof (mSocketMemoryConfig); Offset++) {
    mSocketMemoryConfig[Offset] = FillerByte (Offset);
  }

  mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = Profile;
  Status = gFwRT->SetVariable (
                    mSocketMemoryConfigName,
                    &gSocketMemoryConfigGuid,
                    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                    sizeof (mSocketMemoryConfig),
                    mSocketMemoryConfig
                    );
  FwLog ("PlatformVarsDxe: SocketMemoryConfig created with profile %u: %r\n", (UINT32)Profile, Status);
}

STATIC
VOID
CreateCarvekConfig (
  VOID
  )
{
  STATIC CHAR16    Name[] = u"CarvekConfigVar";
  STATIC EFI_GUID  Guid   = { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } };
  UINT8            Config[4];
  UINTN            Size;
  UINT32           Attributes;
  EFI_STATUS       Status;

  Size   = sizeof (Config);
  Status = gFwRT->GetVariable (Name, &Guid, &Attributes, &Size, Config);
  if (Status != EFI_NOT_FOUND) {
    return;
  }

  Config[0] = 10;
  Config[1] = 10;
  Config[2] = 0;
  Config[3] = 0;
  Status    = gFwRT->SetVariable (
                    Name,
                    &Guid,
                    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS,
                    sizeof (Config),
                    Config
                    );
  FwLog ("PlatformVarsDxe: CarvekConfigVar created: %r\n", Status);
}

STATIC
VOID
ConsumePostResetRequest (
  VOID
  )
{
  UINT8       Request;
  UINTN       Size;
  EFI_STATUS  Status;

  Size   = sizeof (Request);
  Status = gFwRT->GetVariable (mPostResetReqName, &gPlatformRequestVariableGuid, NULL, &Size, &Request);
  if (Status == EFI_NOT_FOUND) {
    return;
  }

  Status = gFwRT->SetVariable (mPostResetReqName, &gPlatformRequestVariableGuid, 0, 0, NULL);
  FwLog ("PlatformVarsDxe: PostResetReq consumed: %r\n", Status);
}

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  UINT64  Profile;

  FwInitialize (ImageHandle, SystemTable);
  if (FwParseUint64 (FwLoadOptions (ImageHandle), &Profile) == NULL) {
    Profile = PERF_PROFILE_BALANCED;
  }

  ConsumePostResetRequest ();
  CreateSocketMemoryConfig (static_cast<UINT8> (Profile));
  CreateCarvekConfig ();
  return EFI_SUCCESS;
}

/** @file
  Keeps the driver's copy of the performance profile and the platform's
  memory setup in step: at entry the driver's copy wins (and memory
  initialisation must run again), when setup is saved the platform's wins.
**/
#include "Carvex.h"
#include "SocketMemoryConfig.h"
#include <Guid/CarvexVariables.h>
#include <Guid/PlatformVariables.h>
#include <Library/DebugLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

STATIC CHAR16  mDcpmmPerfConfigName[]     = DCPMM_PERF_CONFIG_VAR_NAME;
STATIC CHAR16  mSocketMemoryConfigName[]  = SOCKET_MEMORY_CONFIG_NAME;
STATIC CHAR16  mPostResetReqName[]        = POST_RESET_REQ_NAME;
// Module-wide so that the 477-byte image stays off the stack.
STATIC UINT8   mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_SIZE];

VOID
EFIAPI
CarvexSyncDcpmmPerfConfig (
  IN BOOLEAN  PushToPlatform
  )
{
  EFI_STATUS  PerfStatus;
  EFI_STATUS  SocketStatus;
  EFI_STATUS  Status;
  UINT32      PerfAttributes;
  UINT32      SocketAttributes;
  UINTN       DataSize;
  UINT8       DcpmmPerfConfig;
  UINT8       ResetRequest;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));

  DcpmmPerfConfig = 0;
  PerfAttributes  = 0;
  DataSize        = sizeof (DcpmmPerfConfig);
  PerfStatus      = gRT->GetVariable (mDcpmmPerfConfigName, &gCarvexSetupFormSetGuid, &PerfAttributes, &DataSize, &DcpmmPerfConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mDcpmmPerfConfigName, PerfStatus));
  if (!EFI_ERROR (PerfStatus)) {
    DEBUG ((DEBUG_WARN, "%a:DcpmmPerfConfigVar.DcpmmPerfConfig %d\n", __func__, (INT32)DcpmmPerfConfig));
  }

  SocketStatus = GetSocketMemoryConfig (&SocketAttributes, mSocketMemoryConfig);
  DEBUG ((DEBUG_WARN, "%a:Get %s:%r\n", __func__, mSocketMemoryConfigName, SocketStatus));
  if (!EFI_ERROR (SocketStatus)) {
    DEBUG ((
      DEBUG_WARN,
      "%a:SocketMemoryConfiguration.NvmdimmPerfConfig %d\n",
      __func__,
      (INT32)mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET]
      ));
  }

  if (PerfStatus == EFI_NOT_FOUND) {
    // First boot with this driver: start from the platform's value.
    DcpmmPerfConfig = EFI_ERROR (SocketStatus) ? (UINT8)PERF_PROFILE_BALANCED
                                               : mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET];
    Status = gRT->SetVariable (
                    mDcpmmPerfConfigName,
                    &gCarvexSetupFormSetGuid,
                    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                    sizeof (DcpmmPerfConfig),
                    &DcpmmPerfConfig
                    );
    DEBUG ((DEBUG_WARN, "%a:%d:Set %s:%r\n", __func__, (INT32)__LINE__, mDcpmmPerfConfigName, Status));
  } else if (!EFI_ERROR (PerfStatus) && !EFI_ERROR (SocketStatus)) {
    if (PushToPlatform) {
      if (mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] != DcpmmPerfConfig) {
        mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET] = DcpmmPerfConfig;
        Status = gRT->SetVariable (
                        mSocketMemoryConfigName,
                        &gSocketMemoryConfigGuid,
                        SocketAttributes,
                        sizeof (mSocketMemoryConfig),
                        mSocketMemoryConfig
                        );
        DEBUG ((DEBUG_WARN, "%a:%d:Set %s:%r\n", __func__, (INT32)__LINE__, mSocketMemoryConfigName, Status));

        // Memory initialisation must run again with the new profile, whatever
        // the write above returned.
        ResetRequest = 1;
        Status       = gRT->SetVariable (
                              mPostResetReqName,
                              &gPlatformRequestVariableGuid,
                              EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                              sizeof (ResetRequest),
                              &ResetRequest
                              );
        DEBUG ((
          DEBUG_ERROR,
          "%a: set the flag of VAR_POST_RESET_REQ:%x Status = %r\n",
          __func__,
          (UINT32)ResetRequest,
          Status
          ));
      }
    } else {
      DcpmmPerfConfig = mSocketMemoryConfig[SOCKET_MEMORY_CONFIG_PERF_OFFSET];
      Status          = gRT->SetVariable (
                               mDcpmmPerfConfigName,
                               &gCarvexSetupFormSetGuid,
                               PerfAttributes,
                               sizeof (DcpmmPerfConfig),
                               &DcpmmPerfConfig
                               );
      DEBUG ((DEBUG_WARN, "%a:%d:Set %s:%r\n", __func__, (INT32)__LINE__, mDcpmmPerfConfigName, Status));
    }
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit\n", __func__));
}

/** @file
  Finding the debug sink and the image's level mask.
**/
#include <Library/DebugLib.h>

#include <Library/DebugLib.h>
#include "DebugSinkState.h"

#ifdef CARVEX_FIRMWARE
// Before a sink is found, firmware prints what OVMF's own modules print.
#define DEBUG_MASK_WITHOUT_SINK  (DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO)
#else
#define DEBUG_MASK_WITHOUT_SINK  0
#endif

CARVEX_DEBUG_SINK_PROTOCOL  *mDebugSink        = NULL;
EFI_HANDLE                  mDebugImageHandle = NULL;
UINT32                      mDebugLevelMask   = DEBUG_MASK_WITHOUT_SINK;

EFI_STATUS
EFIAPI
DebugLibConstructor (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  VOID        *Interface;
  EFI_STATUS  Status;

  // Reset everything: the constructor may run again for a new boot.
  mDebugSink        = NULL;
  mDebugImageHandle = ImageHandle;
  mDebugLevelMask   = DEBUG_MASK_WITHOUT_SINK;

  Interface = NULL;
  Status    = EFI_NOT_FOUND;
  if ((SystemTable != NULL) && (SystemTable->BootServices != NULL)) {
    Status = SystemTable->BootServices->LocateProtocol (&gCarvexDebugSinkProtocolGuid, NULL, &Interface);
  }

  if (!EFI_ERROR (Status) && (Interface != NULL)) {
    mDebugSink      = static_cast<CARVEX_DEBUG_SINK_PROTOCOL *>(Interface);
    mDebugLevelMask = mDebugSink->GetLevelMask (mDebugSink, ImageHandle);
  }

  // A missing sink is not an error: the image still runs, quietly.
  return EFI_SUCCESS;
}

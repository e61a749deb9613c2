/** @file
  Publishes the debug sink the driver's debug library looks for, writing
  every line to QEMU's debug console. Load options: the level mask in hex
  (default: errors, warnings and information).

  A failed assertion is also a failed test: it is reported as a
  "CARVEX-TEST: FAIL" line and the image carries on, so the run finishes.
**/
#include "../Common/FwCommon.h"
#include <Library/DebugLib.h>
#include <Protocol/DebugSink.h>

#define DEBUG_SINK_DEFAULT_MASK  (DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO)

STATIC UINT32  mLevelMask = DEBUG_SINK_DEFAULT_MASK;

STATIC
UINT32
EFIAPI
SinkGetLevelMask (
  IN CARVEX_DEBUG_SINK_PROTOCOL  *This,
  IN EFI_HANDLE                  ImageHandle
  )
{
  (VOID)This;
  (VOID)ImageHandle;
  return mLevelMask;
}

STATIC
VOID
EFIAPI
SinkWrite (
  IN CARVEX_DEBUG_SINK_PROTOCOL  *This,
  IN EFI_HANDLE                  ImageHandle,
  IN UINTN                       ErrorLevel,
  IN CONST CHAR8                 *Text
  )
{
  (VOID)This;
  (VOID)ImageHandle;
  (VOID)ErrorLevel;
  FwDebugPortWrite (Text);
}

STATIC
VOID
EFIAPI
SinkAssert (
  IN CARVEX_DEBUG_SINK_PROTOCOL  *This,
  IN EFI_HANDLE                  ImageHandle,
  IN CONST CHAR8                 *FileName,
  IN UINTN                       LineNumber,
  IN CONST CHAR8                 *Description
  )
{
  (VOID)This;
  (VOID)ImageHandle;
  FwLog ("ASSERT %a(%lu): %a\n", FileName, static_cast<UINT64> (LineNumber), Description);
  FwLog ("CARVEX-TEST: FAIL assertion %a(%lu): %a\n", FileName, static_cast<UINT64> (LineNumber), Description);
}

STATIC CARVEX_DEBUG_SINK_PROTOCOL  mSink = { 1, SinkGetLevelMask, SinkWrite, SinkAssert };

extern "C"
EFI_STATUS
EFIAPI
_ModuleEntryPoint (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE  Handle;
  UINT64      Mask;
  EFI_STATUS  Status;

  FwInitialize (ImageHandle, SystemTable);
  if (FwParseUint64 (FwLoadOptions (ImageHandle), &Mask) != NULL) {
    mLevelMask = static_cast<UINT32> (Mask);
  }

  Handle = NULL;
  Status = gFwBS->InstallProtocolInterface (&Handle, &gCarvexDebugSinkProtocolGuid, EFI_NATIVE_INTERFACE, &mSink);
  FwLog ("DebugSinkDxe: level mask 0x%08x: %r\n", mLevelMask, Status);
  return Status;
}

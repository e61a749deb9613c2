/** @file
  DebugLib's module-wide state, shared by its files: the sink this image
  writes to (NULL until the constructor finds one), the image it speaks for,
  and the levels enabled for it.
**/
#ifndef DEBUG_LIB_DEBUG_SINK_STATE_H_
#define DEBUG_LIB_DEBUG_SINK_STATE_H_

#include <Uefi.h>
#include <Protocol/DebugSink.h>

extern CARVEX_DEBUG_SINK_PROTOCOL  *mDebugSink;
extern EFI_HANDLE                  mDebugImageHandle;
extern UINT32                      mDebugLevelMask;

// Without a sink, firmware writes to QEMU's debug console and the host
// drops the text.
VOID
DebugWriteWithoutSink (
  IN CONST CHAR8 *Text
  );

#endif

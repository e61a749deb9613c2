/** @file
  Debug print and assertions through the platform's sink.
**/
#include <Library/DebugLib.h>
#include <Library/PrintLib.h>

#include "DebugSinkState.h"

// One line at a time: kept off the stack, which is small in firmware.
STATIC CHAR8  mDebugBuffer[1024];

BOOLEAN
EFIAPI
DebugPrintLevelEnabled (
  IN UINTN ErrorLevel
  )
{
  return (BOOLEAN)((ErrorLevel & mDebugLevelMask) != 0);
}

VOID
EFIAPI
DebugVPrint (
  IN UINTN       ErrorLevel,
  IN CONST CHAR8 *Format,
  IN VA_LIST     Marker
  )
{
  if ((Format == NULL) || !DebugPrintLevelEnabled (ErrorLevel)) {
    return;
  }

  AsciiVSPrint (mDebugBuffer, sizeof (mDebugBuffer), Format, Marker);
  if (mDebugSink != NULL) {
    mDebugSink->Write (mDebugSink, mDebugImageHandle, ErrorLevel, mDebugBuffer);
  } else {
    DebugWriteWithoutSink (mDebugBuffer);
  }
}

VOID
EFIAPI
DebugPrint (
  IN UINTN       ErrorLevel,
  IN CONST CHAR8 *Format,
  ...
  )
{
  VA_LIST  Marker;

  VA_START (Marker, Format);
  DebugVPrint (ErrorLevel, Format, Marker);
  VA_END (Marker);
}

// The sink decides what a failed assertion does (record, stop). Without
// one the text goes where DEBUG output goes and the image carries on, so
// that a firmware run reports rather than hangs.
VOID
EFIAPI
DebugAssert (
  IN CONST CHAR8 *FileName,
  IN UINTN       LineNumber,
  IN CONST CHAR8 *Description
  )
{
  if (mDebugSink != NULL) {
    mDebugSink->Assert (mDebugSink, mDebugImageHandle, FileName, LineNumber, Description);
    return;
  }

  AsciiSPrint (mDebugBuffer, sizeof (mDebugBuffer), "ASSERT %a(%lu): %a\n", FileName, (UINT64)LineNumber, Description);
  DebugWriteWithoutSink (mDebugBuffer);
}

/** @file
  The debug sink's Write member, watched.
**/
#include "DebugLogSpy.h"
#include <Protocol/DebugSink.h>

#define LOG_SPY_MAX_LINES  48
#define LOG_SPY_LINE_MAX   160

STATIC CARVEX_DEBUG_SINK_PROTOCOL  *mSink          = NULL;
STATIC DEBUG_SINK_WRITE            mRealWrite      = NULL;
STATIC EFI_HANDLE                  mWatchedImage   = NULL;
STATIC CONST CHAR8 *CONST          *mPrefixes      = NULL;
STATIC CHAR8                       mLines[LOG_SPY_MAX_LINES][LOG_SPY_LINE_MAX];
STATIC UINTN                       mLineCount      = 0;
STATIC UINTN                       mDroppedCount   = 0;

STATIC
BOOLEAN
StartsWith (
  IN CONST CHAR8  *Text,
  IN CONST CHAR8  *Prefix
  )
{
  for ( ; *Prefix != 0; Text++, Prefix++) {
    if (*Text != *Prefix) {
      return FALSE;
    }
  }

  return TRUE;
}

STATIC
BOOLEAN
Contains (
  IN CONST CHAR8  *Text,
  IN CONST CHAR8  *Pattern
  )
{
  for ( ; *Text != 0; Text++) {
    if (StartsWith (Text, Pattern)) {
      return TRUE;
    }
  }

  return (BOOLEAN)(*Pattern == 0);
}

STATIC
BOOLEAN
IsWatched (
  IN CONST CHAR8  *Text
  )
{
  for (UINTN Index = 0; mPrefixes[Index] != NULL; Index++) {
    if (StartsWith (Text, mPrefixes[Index])) {
      return TRUE;
    }
  }

  return FALSE;
}

STATIC
VOID
EFIAPI
SpyWrite (
  IN CARVEX_DEBUG_SINK_PROTOCOL  *This,
  IN EFI_HANDLE                  ImageHandle,
  IN UINTN                       ErrorLevel,
  IN CONST CHAR8                 *Text
  )
{
  UINTN  Length;

  if ((ImageHandle == mWatchedImage) && (Text != NULL) && IsWatched (Text)) {
    if (mLineCount == LOG_SPY_MAX_LINES) {
      mDroppedCount++;
    } else {
      // Kept without the line break, cut to the record's width.
      for (Length = 0; Length + 1 < LOG_SPY_LINE_MAX && Text[Length] != 0 && Text[Length] != '\n'; Length++) {
        mLines[mLineCount][Length] = Text[Length];
      }

      mLines[mLineCount++][Length] = 0;
    }
  }

  mRealWrite (This, ImageHandle, ErrorLevel, Text);
}

BOOLEAN
LogSpyStart (
  IN EFI_HANDLE         Image,
  IN CONST CHAR8 *CONST *Prefixes
  )
{
  VOID  *Interface;

  if (EFI_ERROR (gFwBS->LocateProtocol (&gCarvexDebugSinkProtocolGuid, NULL, &Interface))) {
    return FALSE;
  }

  // Images keep the sink's address, not a copy of its members, so the
  // member is replaced in place.
  mSink          = static_cast<CARVEX_DEBUG_SINK_PROTOCOL *> (Interface);
  mRealWrite     = mSink->Write;
  mWatchedImage  = Image;
  mPrefixes      = Prefixes;
  mLineCount     = 0;
  mDroppedCount  = 0;
  mSink->Write   = SpyWrite;
  return TRUE;
}

VOID
LogSpyStop (
  VOID
  )
{
  if (mSink != NULL) {
    mSink->Write = mRealWrite;
    mSink        = NULL;
  }
}

UINTN
LogSpyCount (
  IN CONST CHAR8  *Prefix,
  IN CONST CHAR8  *Text
  )
{
  UINTN  Count = 0;

  for (UINTN Index = 0; Index < mLineCount; Index++) {
    if (StartsWith (mLines[Index], Prefix) && Contains (mLines[Index], Text)) {
      Count++;
    }
  }

  return Count;
}

CONST CHAR8 *
LogSpyFind (
  IN CONST CHAR8  *Prefix,
  IN CONST CHAR8  *Text
  )
{
  for (UINTN Index = 0; Index < mLineCount; Index++) {
    if (StartsWith (mLines[Index], Prefix) && Contains (mLines[Index], Text)) {
      return mLines[Index];
    }
  }

  return NULL;
}

UINTN
LogSpyDropped (
  VOID
  )
{
  return mDroppedCount;
}

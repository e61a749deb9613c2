/** @file
  The platform's debug sink, watched: the lines one image writes, kept when
  they start with one of the watched prefixes, and still passed on to the
  debug console. A scenario reads back what the driver logged about itself
  (a function's exit status, its failure messages) without parsing the
  console afterwards.
**/
#ifndef DEBUG_LOG_SPY_H_
#define DEBUG_LOG_SPY_H_

#include "../Common/FwCommon.h"

// Starts keeping the lines Image writes that start with one of Prefixes
// (a NULL-terminated list that must outlive the watch). FALSE when no
// debug sink is installed.
BOOLEAN
LogSpyStart (
  IN EFI_HANDLE         Image,
  IN CONST CHAR8 *CONST *Prefixes
  );

// Puts the sink back as it was; the kept lines stay readable.
VOID
LogSpyStop (
  VOID
  );

// How many kept lines start with Prefix and contain Text ("" for any).
UINTN
LogSpyCount (
  IN CONST CHAR8  *Prefix,
  IN CONST CHAR8  *Text
  );

// The first kept line that starts with Prefix and contains Text, or NULL.
CONST CHAR8 *
LogSpyFind (
  IN CONST CHAR8  *Prefix,
  IN CONST CHAR8  *Text
  );

// Lines that could not be kept because the record was full.
UINTN
LogSpyDropped (
  VOID
  );

#endif

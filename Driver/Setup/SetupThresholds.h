/** @file
  The percentage-remaining alarm threshold of the DCPMM Configuration page.
**/
#ifndef SETUP_SETUP_THRESHOLDS_H_
#define SETUP_SETUP_THRESHOLDS_H_

#include <Uefi.h>

// What happened, as SetupActionsForThresholds is told: the three ways of
// leaving setup, and the two questions of the page (their identifiers).
#define THRESHOLD_ACTION_SAVE           0x0001
#define THRESHOLD_ACTION_DISCARD        0x0002
#define THRESHOLD_ACTION_LOAD_DEFAULTS  0x0003
#define THRESHOLD_ACTION_VALUE_CHANGED  0x0020
#define THRESHOLD_ACTION_PAGE_ENTERED   0x8000

// The threshold both questions fall back to, and loaded defaults lead to.
#define THRESHOLD_DEFAULT_PERCENT  10

// Keeps CarvekConfigVar and the browser's copy of it in step for Action;
// a save also pushes the threshold to every module whose own differs.
// Returns the status of reading (when that fails) or writing the variable;
// the variable is never created here.
EFI_STATUS EFIAPI SetupActionsForThresholds (IN UINT16 Action);

#endif

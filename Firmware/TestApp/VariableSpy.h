/** @file
  Watches the variable writes made while it is on, by putting itself in the
  runtime services table in front of SetVariable. Every image (the driver
  included) calls through that table, so a write of unchanged data is seen
  too. A failure can be injected for the next write of one variable.
**/
#ifndef VARIABLE_SPY_H_
#define VARIABLE_SPY_H_

#include "../Common/FwCommon.h"

#define SPY_NAME_LENGTH  48
#define SPY_DATA_BYTES   8

typedef struct {
  CHAR16      Name[SPY_NAME_LENGTH];    // truncated when longer
  EFI_GUID    Guid;
  UINT32      Attributes;
  UINTN       DataSize;
  UINT8       Data[SPY_DATA_BYTES];     // the first bytes of the data
  EFI_STATUS  Status;                   // what the caller got back
} SPY_WRITE;

// Clears the record and starts watching.
VOID
SpyStart (
  VOID
  );

// Stops watching; the record stays readable.
VOID
SpyStop (
  VOID
  );

UINTN
SpyWriteCount (
  VOID
  );

CONST SPY_WRITE *
SpyWriteAt (
  IN UINTN  Index
  );

// The next write of Name/Guid while watching is not stored and returns
// Status instead.
VOID
SpyFailNextWrite (
  IN CONST CHAR16    *Name,
  IN CONST EFI_GUID  *Guid,
  IN EFI_STATUS      Status
  );

// Logs every recorded write as an information line.
VOID
SpyLogWrites (
  IN CONST CHAR8  *During
  );

#endif

/** @file
  SetVariable in the runtime services table, watched.
**/
#include "VariableSpy.h"
#include "TestReport.h"

#define SPY_MAX_WRITES  32

STATIC EFI_SET_VARIABLE  mRealSetVariable = NULL;
STATIC SPY_WRITE         mWrites[SPY_MAX_WRITES];
STATIC UINTN             mWriteCount = 0;
STATIC UINTN             mDroppedCount = 0;

STATIC BOOLEAN           mFailArmed = FALSE;
STATIC CHAR16            mFailName[SPY_NAME_LENGTH];
STATIC EFI_GUID          mFailGuid;
STATIC EFI_STATUS        mFailStatus;

STATIC
VOID
CopyName (
  OUT CHAR16        *Destination,
  IN  CONST CHAR16  *Source
  )
{
  UINTN  Index;

  for (Index = 0; Index + 1 < SPY_NAME_LENGTH && Source != NULL && Source[Index] != 0; Index++) {
    Destination[Index] = Source[Index];
  }

  Destination[Index] = 0;
}

STATIC
VOID
UpdateTableChecksum (
  VOID
  )
{
  UINT32  Crc;

  gFwRT->Hdr.CRC32 = 0;
  Crc              = 0;
  gFwBS->CalculateCrc32 (gFwRT, gFwRT->Hdr.HeaderSize, &Crc);
  gFwRT->Hdr.CRC32 = Crc;
}

STATIC
EFI_STATUS
EFIAPI
SpySetVariable (
  IN CHAR16    *VariableName,
  IN EFI_GUID  *VendorGuid,
  IN UINT32    Attributes,
  IN UINTN     DataSize,
  IN VOID      *Data
  )
{
  EFI_STATUS  Status;

  if (mFailArmed && FwStrEqual (VariableName, mFailName) && FwGuidEqual (VendorGuid, &mFailGuid)) {
    mFailArmed = FALSE;
    Status     = mFailStatus;
  } else {
    Status = mRealSetVariable (VariableName, VendorGuid, Attributes, DataSize, Data);
  }

  if (mWriteCount == SPY_MAX_WRITES) {
    mDroppedCount++;
    return Status;
  }

  SPY_WRITE  *Write = &mWrites[mWriteCount++];
  CopyName (Write->Name, VariableName);
  Write->Guid       = *VendorGuid;
  Write->Attributes = Attributes;
  Write->DataSize   = DataSize;
  Write->Status     = Status;
  for (UINTN Index = 0; Index < SPY_DATA_BYTES; Index++) {
    Write->Data[Index] = (Index < DataSize && Data != NULL) ? static_cast<CONST UINT8 *> (Data)[Index] : 0;
  }

  return Status;
}

VOID
SpyStart (
  VOID
  )
{
  mWriteCount   = 0;
  mDroppedCount = 0;
  if (mRealSetVariable == NULL) {
    mRealSetVariable    = gFwRT->SetVariable;
    gFwRT->SetVariable  = SpySetVariable;
    UpdateTableChecksum ();
  }
}

VOID
SpyStop (
  VOID
  )
{
  if (mRealSetVariable != NULL) {
    gFwRT->SetVariable = mRealSetVariable;
    mRealSetVariable   = NULL;
    UpdateTableChecksum ();
  }

  mFailArmed = FALSE;
}

UINTN
SpyWriteCount (
  VOID
  )
{
  return mWriteCount + mDroppedCount;
}

CONST SPY_WRITE *
SpyWriteAt (
  IN UINTN  Index
  )
{
  return (Index < mWriteCount) ? &mWrites[Index] : NULL;
}

VOID
SpyFailNextWrite (
  IN CONST CHAR16    *Name,
  IN CONST EFI_GUID  *Guid,
  IN EFI_STATUS      Status
  )
{
  CopyName (mFailName, Name);
  mFailGuid   = *Guid;
  mFailStatus = Status;
  mFailArmed  = TRUE;
}

VOID
SpyLogWrites (
  IN CONST CHAR8  *During
  )
{
  for (UINTN Index = 0; Index < mWriteCount; Index++) {
    CONST SPY_WRITE  *Write = &mWrites[Index];
    TestInfo (
      "%a wrote %s {%g} attributes %x, %lu bytes, first byte 0x%02x: %r\n",
      During,
      Write->Name,
      &Write->Guid,
      Write->Attributes,
      static_cast<UINT64> (Write->DataSize),
      static_cast<UINT32> (Write->Data[0]),
      Write->Status
      );
  }

  if (mDroppedCount != 0) {
    TestInfo ("%a: %lu more writes not recorded\n", During, static_cast<UINT64> (mDroppedCount));
  }
}

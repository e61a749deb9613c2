/** @file
  Small helpers the scenarios share: little-endian reads of packed bytes,
  byte comparison and protocol lookup.
**/
#ifndef SCENARIO_HELPERS_H_
#define SCENARIO_HELPERS_H_

#include "../Common/FwCommon.h"

inline UINT32
ReadUint32 (
  IN CONST UINT8  *Bytes
  )
{
  return (UINT32)Bytes[0] | ((UINT32)Bytes[1] << 8) | ((UINT32)Bytes[2] << 16) | ((UINT32)Bytes[3] << 24);
}

inline BOOLEAN
BytesEqual (
  IN CONST UINT8  *First,
  IN CONST UINT8  *Second,
  IN UINTN        Size
  )
{
  for (UINTN Index = 0; Index < Size; Index++) {
    if (First[Index] != Second[Index]) {
      return FALSE;
    }
  }

  return TRUE;
}

// The protocol's interface, or NULL when none is installed.
inline VOID *
Locate (
  IN EFI_GUID  *Guid
  )
{
  VOID  *Interface;

  return EFI_ERROR (gFwBS->LocateProtocol (Guid, NULL, &Interface)) ? NULL : Interface;
}

#endif

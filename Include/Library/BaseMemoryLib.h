/** @file
  Memory copy, fill and compare, and GUID helpers.
**/
#ifndef LIBRARY_BASE_MEMORY_LIB_H_
#define LIBRARY_BASE_MEMORY_LIB_H_

#include <Uefi/UefiBaseType.h>

VOID *EFIAPI CopyMem (OUT VOID *DestinationBuffer, IN CONST VOID *SourceBuffer, IN UINTN Length);
VOID *EFIAPI SetMem (OUT VOID *Buffer, IN UINTN Length, IN UINT8 Value);
VOID *EFIAPI ZeroMem (OUT VOID *Buffer, IN UINTN Length);
INTN EFIAPI CompareMem (IN CONST VOID *DestinationBuffer, IN CONST VOID *SourceBuffer, IN UINTN Length);
BOOLEAN EFIAPI CompareGuid (IN CONST EFI_GUID *Guid1, IN CONST EFI_GUID *Guid2);
EFI_GUID *EFIAPI CopyGuid (OUT EFI_GUID *DestinationGuid, IN CONST EFI_GUID *SourceGuid);
// Zeroes through a volatile pointer so that the compiler keeps the writes
// (secrets about to be freed).
VOID EFIAPI ZeroMemSecure (OUT VOID *Buffer, IN UINTN Length);

#endif

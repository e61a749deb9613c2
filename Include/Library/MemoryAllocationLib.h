/** @file
  Pool helpers. Every allocation is EfiBootServicesData except those of
  AllocateRuntimePool, which live on after boot services end.
**/
#ifndef LIBRARY_MEMORY_ALLOCATION_LIB_H_
#define LIBRARY_MEMORY_ALLOCATION_LIB_H_

#include <Uefi/UefiBaseType.h>

VOID *EFIAPI AllocatePool (IN UINTN AllocationSize);
VOID *EFIAPI AllocateZeroPool (IN UINTN AllocationSize);
// EfiRuntimeServicesData: for copies that must outlive boot services.
VOID *EFIAPI AllocateRuntimePool (IN UINTN AllocationSize);
VOID *EFIAPI AllocateCopyPool (IN UINTN AllocationSize, IN CONST VOID *Buffer);
// Copies min(OldSize, NewSize) bytes, frees the old buffer on success; on
// failure the old buffer is untouched and NULL is returned.
VOID *EFIAPI ReallocatePool (IN UINTN OldSize, IN UINTN NewSize, IN VOID *OldBuffer OPTIONAL);
VOID EFIAPI FreePool (IN VOID *Buffer);

#endif

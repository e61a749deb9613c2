/** @file
  Pool helpers over the boot services; every allocation is
  EfiBootServicesData but the runtime pool's.
**/
#include <Library/MemoryAllocationLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/UefiBootServicesTableLib.h>

VOID *
EFIAPI
AllocatePool (
  IN UINTN AllocationSize
  )
{
  VOID        *Buffer;
  EFI_STATUS  Status;

  Buffer = NULL;
  Status = gBS->AllocatePool (EfiBootServicesData, AllocationSize, &Buffer);
  return EFI_ERROR (Status) ? NULL : Buffer;
}

VOID *
EFIAPI
AllocateRuntimePool (
  IN UINTN AllocationSize
  )
{
  VOID        *Buffer;
  EFI_STATUS  Status;

  Buffer = NULL;
  Status = gBS->AllocatePool (EfiRuntimeServicesData, AllocationSize, &Buffer);
  return EFI_ERROR (Status) ? NULL : Buffer;
}

VOID *
EFIAPI
AllocateZeroPool (
  IN UINTN AllocationSize
  )
{
  VOID  *Buffer;

  Buffer = AllocatePool (AllocationSize);
  if (Buffer != NULL) {
    ZeroMem (Buffer, AllocationSize);
  }

  return Buffer;
}

VOID *
EFIAPI
AllocateCopyPool (
  IN UINTN      AllocationSize,
  IN CONST VOID *Buffer
  )
{
  VOID  *Copy;

  if ((Buffer == NULL) && (AllocationSize > 0)) {
    return NULL;
  }

  Copy = AllocatePool (AllocationSize);
  if (Copy != NULL) {
    CopyMem (Copy, Buffer, AllocationSize);
  }

  return Copy;
}

// The bytes past OldSize read as zero, as EDK II's do.
VOID *
EFIAPI
ReallocatePool (
  IN UINTN OldSize,
  IN UINTN NewSize,
  IN VOID  *OldBuffer OPTIONAL
  )
{
  VOID  *NewBuffer;

  NewBuffer = AllocateZeroPool (NewSize);
  if ((NewBuffer != NULL) && (OldBuffer != NULL)) {
    CopyMem (NewBuffer, OldBuffer, (OldSize < NewSize) ? OldSize : NewSize);
    FreePool (OldBuffer);
  }

  return NewBuffer;
}

VOID
EFIAPI
FreePool (
  IN VOID *Buffer
  )
{
  EFI_STATUS  Status;

  Status = gBS->FreePool (Buffer);
  ASSERT_EFI_ERROR (Status);
  (VOID)Status;
}

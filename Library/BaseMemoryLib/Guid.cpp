/** @file
  GUID comparison and copy.
**/
#include <Library/BaseMemoryLib.h>

BOOLEAN
EFIAPI
CompareGuid (
  IN CONST EFI_GUID *Guid1,
  IN CONST EFI_GUID *Guid2
  )
{
  return (BOOLEAN)(CompareMem (Guid1, Guid2, sizeof (EFI_GUID)) == 0);
}

EFI_GUID *
EFIAPI
CopyGuid (
  OUT EFI_GUID      *DestinationGuid,
  IN  CONST EFI_GUID *SourceGuid
  )
{
  CopyMem (DestinationGuid, SourceGuid, sizeof (EFI_GUID));
  return DestinationGuid;
}

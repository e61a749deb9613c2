/** @file
  Registering and removing package lists.
**/
#include <Library/BaseMemoryLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>

#include "HiiLibInternal.h"

STATIC
UINT32
InternalReadUnaligned32 (
  IN CONST UINT8 *Bytes
  )
{
  return (UINT32)Bytes[0] | ((UINT32)Bytes[1] << 8) | ((UINT32)Bytes[2] << 16) | ((UINT32)Bytes[3] << 24);
}

EFI_HII_HANDLE
EFIAPI
HiiAddPackages (
  IN CONST EFI_GUID *PackageListGuid,
  IN EFI_HANDLE     DeviceHandle OPTIONAL,
  ...
  )
{
  VA_LIST                      Args;
  CONST UINT8                  *Package;
  UINT64                       Length;
  UINT32                       PackageSize;
  BOOLEAN                      Malformed;
  EFI_HII_DATABASE_PROTOCOL    *Database;
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  UINT8                        *Data;
  EFI_HII_HANDLE               HiiHandle;
  EFI_STATUS                   Status;

  Database = InternalHiiDatabase ();
  if ((PackageListGuid == NULL) || (Database == NULL)) {
    return NULL;
  }

  // Each argument is a UINT32 length (itself included) and then a package.
  Length    = 0;
  Malformed = FALSE;
  VA_START (Args, DeviceHandle);
  while ((Package = VA_ARG (Args, CONST UINT8 *)) != NULL) {
    PackageSize = InternalReadUnaligned32 (Package);
    if (PackageSize < sizeof (UINT32)) {
      Malformed = TRUE;
    } else {
      Length += PackageSize - sizeof (UINT32);
    }
  }

  VA_END (Args);
  if (Malformed || (Length == 0)) {
    return NULL;
  }

  Length += sizeof (EFI_HII_PACKAGE_LIST_HEADER) + sizeof (EFI_HII_PACKAGE_HEADER);
  if (Length > MAX_UINT32) {
    return NULL;
  }

  List = static_cast<EFI_HII_PACKAGE_LIST_HEADER *>(AllocateZeroPool ((UINTN)Length));
  if (List == NULL) {
    return NULL;
  }

  CopyMem (List, PackageListGuid, sizeof (EFI_GUID));
  List->PackageLength = (UINT32)Length;
  Data                = reinterpret_cast<UINT8 *>(List + 1);
  VA_START (Args, DeviceHandle);
  while ((Package = VA_ARG (Args, CONST UINT8 *)) != NULL) {
    PackageSize = InternalReadUnaligned32 (Package) - sizeof (UINT32);
    CopyMem (Data, Package + sizeof (UINT32), PackageSize);
    Data += PackageSize;
  }

  VA_END (Args);
  HiiSetPackageHeader (reinterpret_cast<EFI_HII_PACKAGE_HEADER *>(Data), sizeof (EFI_HII_PACKAGE_HEADER), EFI_HII_PACKAGE_END);

  HiiHandle = NULL;
  Status    = Database->NewPackageList (Database, List, DeviceHandle, &HiiHandle);
  FreePool (List);
  return EFI_ERROR (Status) ? NULL : HiiHandle;
}

VOID
EFIAPI
HiiRemovePackages (
  IN EFI_HII_HANDLE HiiHandle
  )
{
  EFI_HII_DATABASE_PROTOCOL  *Database;

  Database = InternalHiiDatabase ();
  if ((HiiHandle != NULL) && (Database != NULL)) {
    Database->RemovePackageList (Database, HiiHandle);
  }
}

// The GUID of a registered package list, read from its export.
STATIC
BOOLEAN
InternalHiiListHasGuid (
  IN EFI_HII_DATABASE_PROTOCOL *Database,
  IN EFI_HII_HANDLE            HiiHandle,
  IN CONST EFI_GUID            *Guid
  )
{
  UINTN                        Size;
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  BOOLEAN                      Match;

  Size = 0;
  if (Database->ExportPackageLists (Database, HiiHandle, &Size, NULL) != EFI_BUFFER_TOO_SMALL) {
    return FALSE;
  }

  List = static_cast<EFI_HII_PACKAGE_LIST_HEADER *>(AllocatePool (Size));
  if (List == NULL) {
    return FALSE;
  }

  Match = (BOOLEAN)(!EFI_ERROR (Database->ExportPackageLists (Database, HiiHandle, &Size, List)) &&
                    (CompareMem (List, Guid, sizeof (EFI_GUID)) == 0));
  FreePool (List);
  return Match;
}

EFI_HII_HANDLE *
EFIAPI
HiiGetHiiHandles (
  IN CONST EFI_GUID *PackageListGuid OPTIONAL
  )
{
  EFI_HII_DATABASE_PROTOCOL  *Database;
  EFI_HII_HANDLE             Probe;
  EFI_HII_HANDLE             *Handles;
  UINTN                      Size;
  UINTN                      Index;
  UINTN                      Kept;

  Database = InternalHiiDatabase ();
  if (Database == NULL) {
    return NULL;
  }

  Size = 0;
  if (Database->ListPackageLists (Database, EFI_HII_PACKAGE_TYPE_ALL, NULL, &Size, &Probe) != EFI_BUFFER_TOO_SMALL) {
    return NULL;
  }

  Handles = static_cast<EFI_HII_HANDLE *>(AllocateZeroPool (Size + sizeof (EFI_HII_HANDLE)));
  if (Handles == NULL) {
    return NULL;
  }

  if (EFI_ERROR (Database->ListPackageLists (Database, EFI_HII_PACKAGE_TYPE_ALL, NULL, &Size, Handles))) {
    FreePool (Handles);
    return NULL;
  }

  if (PackageListGuid == NULL) {
    return Handles;
  }

  Kept = 0;
  for (Index = 0; Handles[Index] != NULL; Index++) {
    if (InternalHiiListHasGuid (Database, Handles[Index], PackageListGuid)) {
      Handles[Kept++] = Handles[Index];
    }
  }

  Handles[Kept] = NULL;
  if (Kept == 0) {
    FreePool (Handles);
    return NULL;
  }

  return Handles;
}

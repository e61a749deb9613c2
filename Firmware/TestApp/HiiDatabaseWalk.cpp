/** @file
  Reading OVMF's HII database through its own protocols.
**/
#include "HiiDatabaseWalk.h"

// Opcode offsets of a FORM_SET: GUID, title, help, flags, class GUIDs.
#define FORM_SET_GUID_AT     2
#define FORM_SET_TITLE_AT    18
#define FORM_SET_HELP_AT     20
#define FORM_SET_FLAGS_AT    22
#define FORM_SET_CLASSES_AT  23

namespace {

// Opcodes are packed: multi-byte fields are read byte by byte.
UINT16
ReadUint16 (
  IN CONST UINT8  *Bytes
  )
{
  return static_cast<UINT16> (Bytes[0] | (Bytes[1] << 8));
}

VOID
ReadGuid (
  IN  CONST UINT8  *Bytes,
  OUT EFI_GUID     *Guid
  )
{
  UINT8  *Target = reinterpret_cast<UINT8 *> (Guid);

  for (UINTN Index = 0; Index < sizeof (EFI_GUID); Index++) {
    Target[Index] = Bytes[Index];
  }
}

}  // namespace

EFI_STATUS
HiiListAllHandles (
  IN  EFI_HII_DATABASE_PROTOCOL  *Database,
  OUT EFI_HII_HANDLE             **Handles,
  OUT UINTN                      *Count
  )
{
  UINTN       Size;
  EFI_STATUS  Status;

  *Handles = NULL;
  *Count   = 0;
  Size     = 0;
  Status   = Database->ListPackageLists (Database, EFI_HII_PACKAGE_TYPE_ALL, NULL, &Size, NULL);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR (Status) ? Status : EFI_NOT_FOUND;
  }

  Status = gFwBS->AllocatePool (EfiBootServicesData, Size, reinterpret_cast<VOID **> (Handles));
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = Database->ListPackageLists (Database, EFI_HII_PACKAGE_TYPE_ALL, NULL, &Size, *Handles);
  if (EFI_ERROR (Status)) {
    gFwBS->FreePool (*Handles);
    *Handles = NULL;
    return Status;
  }

  *Count = Size / sizeof (EFI_HII_HANDLE);
  return EFI_SUCCESS;
}

EFI_STATUS
HiiExportList (
  IN  EFI_HII_DATABASE_PROTOCOL    *Database,
  IN  EFI_HII_HANDLE               Handle,
  OUT EFI_HII_PACKAGE_LIST_HEADER  **List
  )
{
  UINTN       Size;
  EFI_STATUS  Status;

  *List  = NULL;
  Size   = 0;
  Status = Database->ExportPackageLists (Database, Handle, &Size, NULL);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR (Status) ? Status : EFI_NOT_FOUND;
  }

  Status = gFwBS->AllocatePool (EfiBootServicesData, Size, reinterpret_cast<VOID **> (List));
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = Database->ExportPackageLists (Database, Handle, &Size, *List);
  if (EFI_ERROR (Status) || ((*List)->PackageLength != Size)) {
    gFwBS->FreePool (*List);
    *List = NULL;
    return EFI_ERROR (Status) ? Status : EFI_VOLUME_CORRUPTED;
  }

  return EFI_SUCCESS;
}

CONST UINT8 *
HiiNextPackage (
  IN CONST EFI_HII_PACKAGE_LIST_HEADER  *List,
  IN CONST UINT8                        *Previous OPTIONAL
  )
{
  CONST UINT8  *End = reinterpret_cast<CONST UINT8 *> (List) + List->PackageLength;
  CONST UINT8  *Package;
  UINT32       Length;

  if (Previous == NULL) {
    Package = reinterpret_cast<CONST UINT8 *> (List + 1);
  } else {
    Package = Previous + HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Previous));
  }

  if (Package + sizeof (EFI_HII_PACKAGE_HEADER) > End) {
    return NULL;
  }

  Length = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Package));
  if ((Length < sizeof (EFI_HII_PACKAGE_HEADER)) || (Package + Length > End) ||
      (HiiPackageType (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Package)) == EFI_HII_PACKAGE_END))
  {
    return NULL;
  }

  return Package;
}

BOOLEAN
HiiNextFormSet (
  IN     CONST UINT8        *FormsPackage,
  IN OUT UINTN              *Offset,
  OUT    HII_FORM_SET_INFO  *Info
  )
{
  UINTN        Size = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (FormsPackage));
  CONST UINT8  *Opcode;
  UINTN        Length;
  EFI_GUID     Class;

  if (*Offset < sizeof (EFI_HII_PACKAGE_HEADER)) {
    *Offset = sizeof (EFI_HII_PACKAGE_HEADER);
  }

  for ( ; *Offset + sizeof (EFI_IFR_OP_HEADER) <= Size; *Offset += Length) {
    Opcode = FormsPackage + *Offset;
    Length = Opcode[1] & 0x7F;
    if ((Length < sizeof (EFI_IFR_OP_HEADER)) || (*Offset + Length > Size)) {
      return FALSE;
    }

    if ((Opcode[0] != EFI_IFR_FORM_SET_OP) || (Length <= FORM_SET_FLAGS_AT)) {
      continue;
    }

    ReadGuid (Opcode + FORM_SET_GUID_AT, &Info->Guid);
    Info->Title      = ReadUint16 (Opcode + FORM_SET_TITLE_AT);
    Info->Help       = ReadUint16 (Opcode + FORM_SET_HELP_AT);
    Info->ClassCount = Opcode[FORM_SET_FLAGS_AT] & 3;
    Info->Listed     = FALSE;
    for (UINTN Index = 0; Index < Info->ClassCount; Index++) {
      if (FORM_SET_CLASSES_AT + sizeof (EFI_GUID) * (Index + 1) > Length) {
        break;
      }

      ReadGuid (Opcode + FORM_SET_CLASSES_AT + sizeof (EFI_GUID) * Index, &Class);
      Info->Listed |= FwGuidEqual (&Class, &gEfiHiiPlatformSetupFormsetGuid);
    }

    *Offset += Length;
    return TRUE;
  }

  return FALSE;
}

EFI_STATUS
HiiReadString (
  IN  EFI_HII_STRING_PROTOCOL  *Strings,
  IN  EFI_HII_HANDLE           Handle,
  IN  CONST CHAR8              *Language,
  IN  EFI_STRING_ID            Id,
  OUT CHAR16                   *Buffer,
  IN  UINTN                    Chars
  )
{
  UINTN  Size = Chars * sizeof (CHAR16);

  Buffer[0] = 0;
  return Strings->GetString (Strings, Language, Handle, Id, Buffer, &Size, NULL);
}

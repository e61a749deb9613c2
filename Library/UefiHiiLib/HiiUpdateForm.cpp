/** @file
  Replacing the opcodes between two labels of a registered form.
**/
#include <Library/BaseMemoryLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>

#include "HiiLibInternal.h"

// Rebuilds one forms package into Out (room for the package plus the start
// handle's opcodes). EFI_NOT_FOUND when the form, the start opcode or the
// end opcode is not there, or the package is malformed.
STATIC
EFI_STATUS
InternalHiiUpdateFormPackage (
  IN  CONST EFI_GUID              *FormSetGuid OPTIONAL,
  IN  EFI_FORM_ID                 FormId,
  IN  CONST UINT8                 *Package,
  IN  UINTN                       PackageLength,
  IN  CONST HII_LIB_OPCODE_BUFFER *Start,
  IN  CONST HII_LIB_OPCODE_BUFFER *End OPTIONAL,
  OUT UINT8                       *Out,
  OUT UINTN                       *OutLength
  )
{
  CONST UINT8  *StartOp;
  CONST UINT8  *EndOp;
  UINTN        StartLength;
  UINTN        EndLength;
  UINTN        Offset;
  UINTN        OpLength;
  UINTN        Written;
  BOOLEAN      InFormSet;
  BOOLEAN      InForm;
  CONST UINT8  *Op;
  EFI_FORM_ID  OpFormId;

  StartOp = InternalHiiFirstOpCode (Start, &StartLength);
  EndOp   = NULL;
  EndLength = 0;
  if (End != NULL) {
    EndOp = InternalHiiFirstOpCode (End, &EndLength);
  }

  CopyMem (Out, Package, sizeof (EFI_HII_PACKAGE_HEADER));
  Written   = sizeof (EFI_HII_PACKAGE_HEADER);
  Offset    = sizeof (EFI_HII_PACKAGE_HEADER);
  InFormSet = (BOOLEAN)(FormSetGuid == NULL);
  InForm    = FALSE;
  while (Offset < PackageLength) {
    Op       = Package + Offset;
    OpLength = (PackageLength - Offset >= sizeof (EFI_IFR_OP_HEADER)) ? IfrOpLength (reinterpret_cast<CONST EFI_IFR_OP_HEADER *>(Op)) : 0;
    if ((OpLength < sizeof (EFI_IFR_OP_HEADER)) || (OpLength > PackageLength - Offset)) {
      return EFI_NOT_FOUND;
    }

    CopyMem (Out + Written, Op, OpLength);
    Written += OpLength;
    Offset  += OpLength;

    if ((Op[0] == EFI_IFR_FORM_SET_OP) && (FormSetGuid != NULL)) {
      InFormSet = (BOOLEAN)((OpLength >= OFFSET_OF (EFI_IFR_FORM_SET, Guid) + sizeof (EFI_GUID)) &&
                            (CompareMem (Op + OFFSET_OF (EFI_IFR_FORM_SET, Guid), FormSetGuid, sizeof (EFI_GUID)) == 0));
    } else if ((Op[0] == EFI_IFR_FORM_OP) || (Op[0] == EFI_IFR_FORM_MAP_OP)) {
      OpFormId = 0;
      if (OpLength >= OFFSET_OF (EFI_IFR_FORM, FormId) + sizeof (EFI_FORM_ID)) {
        CopyMem (&OpFormId, Op + OFFSET_OF (EFI_IFR_FORM, FormId), sizeof (OpFormId));
      }

      InForm = (BOOLEAN)(OpFormId == FormId);
    }

    if (!InFormSet || !InForm || (OpLength != StartLength) || (CompareMem (Op, StartOp, StartLength) != 0)) {
      continue;
    }

    // The start label: drop what follows it up to the end label.
    if (EndOp != NULL) {
      for (;;) {
        if (Offset >= PackageLength) {
          return EFI_NOT_FOUND;
        }

        Op       = Package + Offset;
        OpLength = (PackageLength - Offset >= sizeof (EFI_IFR_OP_HEADER)) ? IfrOpLength (reinterpret_cast<CONST EFI_IFR_OP_HEADER *>(Op)) : 0;
        if ((OpLength < sizeof (EFI_IFR_OP_HEADER)) || (OpLength > PackageLength - Offset)) {
          return EFI_NOT_FOUND;
        }

        if ((OpLength == EndLength) && (CompareMem (Op, EndOp, EndLength) == 0)) {
          break;
        }

        Offset += OpLength;
      }
    }

    // Everything of the start handle but its first opcode goes in, then the
    // rest of the package (from the end label on).
    CopyMem (Out + Written, Start->Buffer + StartLength, Start->Position - StartLength);
    Written += Start->Position - StartLength;
    CopyMem (Out + Written, Package + Offset, PackageLength - Offset);
    Written   += PackageLength - Offset;
    *OutLength = Written;
    return EFI_SUCCESS;
  }

  return EFI_NOT_FOUND;
}

EFI_STATUS
EFIAPI
HiiUpdateForm (
  IN EFI_HII_HANDLE HiiHandle,
  IN CONST EFI_GUID *FormSetGuid OPTIONAL,
  IN EFI_FORM_ID    FormId,
  IN VOID           *StartOpCodeHandle,
  IN VOID           *EndOpCodeHandle OPTIONAL
  )
{
  EFI_HII_DATABASE_PROTOCOL    *Database;
  HII_LIB_OPCODE_BUFFER        *Start;
  HII_LIB_OPCODE_BUFFER        *End;
  UINTN                        Length;
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  UINT8                        *Updated;
  UINT8                        *Scratch;
  UINT32                       ListLength;
  UINTN                        Offset;
  UINTN                        Written;
  UINTN                        PackageLength;
  UINTN                        NewLength;
  CONST UINT8                  *Package;
  BOOLEAN                      Changed;
  EFI_STATUS                   Status;

  if ((HiiHandle == NULL) || (StartOpCodeHandle == NULL)) {
    return EFI_INVALID_PARAMETER;
  }

  Start = static_cast<HII_LIB_OPCODE_BUFFER *>(StartOpCodeHandle);
  End   = static_cast<HII_LIB_OPCODE_BUFFER *>(EndOpCodeHandle);
  // A handle that lost an append holds an incomplete opcode sequence.
  if (Start->Failed || ((End != NULL) && End->Failed)) {
    return EFI_OUT_OF_RESOURCES;
  }

  if ((InternalHiiFirstOpCode (Start, &Length) == NULL) || ((End != NULL) && (InternalHiiFirstOpCode (End, &Length) == NULL))) {
    return EFI_INVALID_PARAMETER;
  }

  Database = InternalHiiDatabase ();
  if (Database == NULL) {
    return EFI_NOT_FOUND;
  }

  Length = 0;
  Status = Database->ExportPackageLists (Database, HiiHandle, &Length, NULL);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR (Status) ? Status : EFI_NOT_FOUND;
  }

  List    = static_cast<EFI_HII_PACKAGE_LIST_HEADER *>(AllocatePool (Length));
  Updated = static_cast<UINT8 *>(AllocatePool (Length + Start->Position));
  Scratch = static_cast<UINT8 *>(AllocatePool (Length + Start->Position));
  if ((List == NULL) || (Updated == NULL) || (Scratch == NULL)) {
    Status = EFI_OUT_OF_RESOURCES;
    goto Done;
  }

  Status = Database->ExportPackageLists (Database, HiiHandle, &Length, List);
  if (EFI_ERROR (Status)) {
    goto Done;
  }

  ListLength = List->PackageLength;
  if ((ListLength < sizeof (EFI_HII_PACKAGE_LIST_HEADER)) || (ListLength > Length)) {
    Status = EFI_NOT_FOUND;
    goto Done;
  }

  // Copy the list, swapping in each forms package that held the form.
  CopyMem (Updated, List, sizeof (EFI_HII_PACKAGE_LIST_HEADER));
  Written = sizeof (EFI_HII_PACKAGE_LIST_HEADER);
  Offset  = sizeof (EFI_HII_PACKAGE_LIST_HEADER);
  Changed = FALSE;
  while (ListLength - Offset >= sizeof (EFI_HII_PACKAGE_HEADER)) {
    Package       = reinterpret_cast<CONST UINT8 *>(List) + Offset;
    PackageLength = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *>(Package));
    if ((PackageLength < sizeof (EFI_HII_PACKAGE_HEADER)) || (PackageLength > ListLength - Offset)) {
      Status = EFI_NOT_FOUND;
      goto Done;
    }

    Offset += PackageLength;
    if (!Changed && (HiiPackageType (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *>(Package)) == EFI_HII_PACKAGE_FORMS) &&
        !EFI_ERROR (InternalHiiUpdateFormPackage (FormSetGuid, FormId, Package, PackageLength, Start, End, Scratch, &NewLength)))
    {
      if (NewLength > 0xFFFFFF) {
        Status = EFI_BAD_BUFFER_SIZE;
        goto Done;
      }

      HiiSetPackageHeader (reinterpret_cast<EFI_HII_PACKAGE_HEADER *>(Scratch), (UINT32)NewLength, EFI_HII_PACKAGE_FORMS);
      CopyMem (Updated + Written, Scratch, NewLength);
      Written += NewLength;
      Changed  = TRUE;
      continue;
    }

    CopyMem (Updated + Written, Package, PackageLength);
    Written += PackageLength;
  }

  if (!Changed) {
    Status = EFI_NOT_FOUND;
    goto Done;
  }

  reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Updated)->PackageLength = (UINT32)Written;
  Status = Database->UpdatePackageList (Database, HiiHandle, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Updated));

Done:
  if (List != NULL) {
    FreePool (List);
  }

  if (Updated != NULL) {
    FreePool (Updated);
  }

  if (Scratch != NULL) {
    FreePool (Scratch);
  }

  return Status;
}

/** @file
  Load options, and files and images from the volume this image came from.
**/
#include "FwCommon.h"
#include <Protocol/DevicePath.h>
#include <Protocol/LoadedImage.h>
#include <Protocol/SimpleFileSystem.h>

#define FW_MAX_PATH  128

namespace {

EFI_STATUS
GetLoadedImage (
  IN  EFI_HANDLE                 ImageHandle,
  OUT EFI_LOADED_IMAGE_PROTOCOL  **LoadedImage
  )
{
  VOID        *Interface;
  EFI_STATUS  Status;

  Status = gFwBS->HandleProtocol (ImageHandle, &gEfiLoadedImageProtocolGuid, &Interface);
  if (!EFI_ERROR (Status)) {
    *LoadedImage = static_cast<EFI_LOADED_IMAGE_PROTOCOL *> (Interface);
  }

  return Status;
}

// A writable copy of Path, as the file protocol's Open takes CHAR16 *.
BOOLEAN
CopyPath (
  IN  CONST CHAR16  *Path,
  OUT CHAR16        Copy[FW_MAX_PATH]
  )
{
  UINTN  Length = FwStrLen (Path);

  if (Length >= FW_MAX_PATH) {
    return FALSE;
  }

  for (UINTN Index = 0; Index <= Length; Index++) {
    Copy[Index] = Path[Index];
  }

  return TRUE;
}

UINTN
DevicePathSize (
  IN CONST EFI_DEVICE_PATH_PROTOCOL  *Node
  )
{
  CONST UINT8  *Start = reinterpret_cast<CONST UINT8 *> (Node);
  CONST UINT8  *At    = Start;

  while (!(At[0] == END_DEVICE_PATH_TYPE && At[1] == END_ENTIRE_DEVICE_PATH_SUBTYPE)) {
    At += At[2] | (At[3] << 8);
  }

  return static_cast<UINTN> (At - Start) + END_DEVICE_PATH_LENGTH;
}

// The device's path followed by a file path node for Path: what the boot
// manager passes for an image it loads from a file.
EFI_DEVICE_PATH_PROTOCOL *
FileDevicePath (
  IN EFI_HANDLE    Device,
  IN CONST CHAR16  *Path
  )
{
  VOID        *Interface;
  UINT8       *Buffer;
  UINTN       DeviceSize;
  UINTN       NodeSize;
  EFI_STATUS  Status;

  Status = gFwBS->HandleProtocol (Device, &gEfiDevicePathProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    return NULL;
  }

  DeviceSize = DevicePathSize (static_cast<EFI_DEVICE_PATH_PROTOCOL *> (Interface)) - END_DEVICE_PATH_LENGTH;
  NodeSize   = sizeof (EFI_DEVICE_PATH_PROTOCOL) + (FwStrLen (Path) + 1) * sizeof (CHAR16);
  Status     = gFwBS->AllocatePool (EfiBootServicesData, DeviceSize + NodeSize + END_DEVICE_PATH_LENGTH, reinterpret_cast<VOID **> (&Buffer));
  if (EFI_ERROR (Status)) {
    return NULL;
  }

  gFwBS->CopyMem (Buffer, Interface, DeviceSize);
  UINT8  *Node = Buffer + DeviceSize;
  Node[0] = MEDIA_DEVICE_PATH;
  Node[1] = MEDIA_FILEPATH_DP;
  Node[2] = static_cast<UINT8> (NodeSize & 0xFF);
  Node[3] = static_cast<UINT8> (NodeSize >> 8);
  // The node is packed: the name goes in byte by byte.
  for (UINTN Index = 0; Index <= FwStrLen (Path); Index++) {
    Node[4 + 2 * Index]     = static_cast<UINT8> (Path[Index] & 0xFF);
    Node[4 + 2 * Index + 1] = static_cast<UINT8> (Path[Index] >> 8);
  }

  UINT8  *End = Node + NodeSize;
  End[0] = END_DEVICE_PATH_TYPE;
  End[1] = END_ENTIRE_DEVICE_PATH_SUBTYPE;
  End[2] = END_DEVICE_PATH_LENGTH;
  End[3] = 0;
  return reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL *> (Buffer);
}

}  // namespace

CONST CHAR16 *
FwLoadOptions (
  IN EFI_HANDLE  ImageHandle
  )
{
  EFI_LOADED_IMAGE_PROTOCOL  *LoadedImage;
  CONST CHAR16               *Text;
  UINTN                      Length;

  if (EFI_ERROR (GetLoadedImage (ImageHandle, &LoadedImage)) || (LoadedImage->LoadOptions == NULL)) {
    return u"";
  }

  // The options are only text if they hold a NUL within their size.
  Text = static_cast<CONST CHAR16 *> (LoadedImage->LoadOptions);
  for (Length = 0; Length < LoadedImage->LoadOptionsSize / sizeof (CHAR16); Length++) {
    if (Text[Length] == 0) {
      break;
    }
  }

  if (Length == LoadedImage->LoadOptionsSize / sizeof (CHAR16)) {
    return u"";
  }

  // The UEFI Shell passes the whole command line: skip the program's name.
  if ((Text[0] < u'0') || (Text[0] > u'9')) {
    while (*Text != 0 && *Text != u' ') {
      Text++;
    }
  }

  while (*Text == u' ') {
    Text++;
  }

  return Text;
}

EFI_STATUS
FwReadFile (
  IN  CONST CHAR16  *Path,
  OUT VOID          **Buffer,
  OUT UINTN         *Size
  )
{
  EFI_LOADED_IMAGE_PROTOCOL        *LoadedImage;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL  *FileSystem;
  EFI_FILE_PROTOCOL                *Root;
  EFI_FILE_PROTOCOL                *File;
  VOID                             *Interface;
  CHAR16                           Name[FW_MAX_PATH];
  UINT64                           FileSize;
  UINTN                            ReadSize;
  UINT8                            *Data;
  EFI_STATUS                       Status;

  if (!CopyPath (Path, Name)) {
    return EFI_INVALID_PARAMETER;
  }

  Status = GetLoadedImage (gFwImageHandle, &LoadedImage);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = gFwBS->HandleProtocol (LoadedImage->DeviceHandle, &gEfiSimpleFileSystemProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  FileSystem = static_cast<EFI_SIMPLE_FILE_SYSTEM_PROTOCOL *> (Interface);
  Status     = FileSystem->OpenVolume (FileSystem, &Root);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = Root->Open (Root, &File, Name, EFI_FILE_MODE_READ, 0);
  Root->Close (Root);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Data   = NULL;
  Status = File->SetPosition (File, EFI_FILE_POSITION_END);
  if (!EFI_ERROR (Status)) {
    Status = File->GetPosition (File, &FileSize);
  }

  if (!EFI_ERROR (Status)) {
    Status = File->SetPosition (File, 0);
  }

  if (!EFI_ERROR (Status)) {
    Status = gFwBS->AllocatePool (EfiBootServicesData, FileSize + 1, reinterpret_cast<VOID **> (&Data));
  }

  if (!EFI_ERROR (Status)) {
    ReadSize = FileSize;
    Status   = File->Read (File, &ReadSize, Data);
    if (!EFI_ERROR (Status) && (ReadSize != FileSize)) {
      Status = EFI_END_OF_FILE;
    }
  }

  File->Close (File);
  if (EFI_ERROR (Status)) {
    if (Data != NULL) {
      gFwBS->FreePool (Data);
    }

    return Status;
  }

  Data[FileSize] = 0;
  *Buffer        = Data;
  *Size          = FileSize;
  return EFI_SUCCESS;
}

EFI_STATUS
FwLoadImageFile (
  IN  CONST CHAR16  *Path,
  IN  CHAR16        *Options OPTIONAL,
  OUT EFI_HANDLE    *ChildHandle
  )
{
  EFI_LOADED_IMAGE_PROTOCOL  *Self;
  EFI_LOADED_IMAGE_PROTOCOL  *Child;
  EFI_DEVICE_PATH_PROTOCOL   *FilePath;
  VOID                       *Buffer;
  UINTN                      Size;
  EFI_STATUS                 Status;

  Status = GetLoadedImage (gFwImageHandle, &Self);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = FwReadFile (Path, &Buffer, &Size);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  FilePath = FileDevicePath (Self->DeviceHandle, Path);
  Status   = gFwBS->LoadImage (FALSE, gFwImageHandle, FilePath, Buffer, Size, ChildHandle);
  gFwBS->FreePool (Buffer);
  if (FilePath != NULL) {
    gFwBS->FreePool (FilePath);
  }

  if (EFI_ERROR (Status) || (Options == NULL)) {
    return Status;
  }

  Status = GetLoadedImage (*ChildHandle, &Child);
  if (!EFI_ERROR (Status)) {
    Child->LoadOptions     = Options;
    Child->LoadOptionsSize = static_cast<UINT32> ((FwStrLen (Options) + 1) * sizeof (CHAR16));
  }

  return Status;
}

/** @file
  Shims, driver and dispatcher images from the boot volume.
**/
#include "Platform.h"
#include "TestReport.h"

#define IMAGE_DIRECTORY  u"\\carvex\\"

STATIC CHAR16  mDebugSinkOptions[24];
STATIC CHAR16  mPlatformVarsOptions[24];
STATIC CHAR16  mPcdShimOptions[24];

// Writes Value as 0x-prefixed hexadecimal text.
STATIC
VOID
HexText (
  IN  UINT64  Value,
  OUT CHAR16  Text[24]
  )
{
  CHAR16  Digits[17];
  UINTN   Count;
  UINTN   Index;

  Count = 0;
  do {
    Digits[Count++] = u"0123456789abcdef"[Value & 0xF];
    Value         >>= 4;
  } while (Value != 0);

  Text[0] = u'0';
  Text[1] = u'x';
  for (Index = 0; Index < Count; Index++) {
    Text[2 + Index] = Digits[Count - 1 - Index];
  }

  Text[2 + Count] = 0;
}

// Loads and starts an image; returns the load error or the image's result.
STATIC
EFI_STATUS
RunImage (
  IN CONST CHAR16  *Path,
  IN CHAR16        *Options OPTIONAL
  )
{
  EFI_HANDLE  Handle;
  EFI_STATUS  Status;

  Status = FwLoadImageFile (Path, Options, &Handle);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  return gFwBS->StartImage (Handle, NULL, NULL);
}

BOOLEAN
PlatformBringUp (
  IN CONST PLATFORM_SETUP  *Setup
  )
{
  EFI_STATUS  Status;
  BOOLEAN     Ready;

  HexText (Setup->DebugLevelMask, mDebugSinkOptions);
  HexText (Setup->CreatedProfile, mPlatformVarsOptions);
  HexText (Setup->CapabilityMask, mPcdShimOptions);

  Status = RunImage (IMAGE_DIRECTORY u"DebugSinkDxe.efi", mDebugSinkOptions);
  Ready  = TestExpect (!EFI_ERROR (Status), "platform-debug-sink", "DebugSinkDxe.efi: %r", Status);
  Status = RunImage (IMAGE_DIRECTORY u"PlatformVarsDxe.efi", mPlatformVarsOptions);
  Ready &= TestExpect (!EFI_ERROR (Status), "platform-variables", "PlatformVarsDxe.efi: %r", Status);
  Status = RunImage (IMAGE_DIRECTORY u"PcdShimDxe.efi", mPcdShimOptions);
  Ready &= TestExpect (!EFI_ERROR (Status), "platform-pcd", "PcdShimDxe.efi: %r", Status);
  return Ready;
}

BOOLEAN
PlatformStartDevices (
  VOID
  )
{
  EFI_STATUS  Status;
  BOOLEAN     Ready;

  Status = RunImage (IMAGE_DIRECTORY u"PlatformDataDxe.efi", NULL);
  Ready  = TestExpect (!EFI_ERROR (Status), "platform-board-data", "PlatformDataDxe.efi: %r", Status);
  Status = RunImage (IMAGE_DIRECTORY u"NvmDimmVendorDxe.efi", NULL);
  Ready &= TestExpect (!EFI_ERROR (Status), "platform-vendor-driver", "NvmDimmVendorDxe.efi: %r", Status);
  Status = RunImage (IMAGE_DIRECTORY u"BmcVeskDxe.efi", NULL);
  Ready &= TestExpect (!EFI_ERROR (Status), "platform-controller", "BmcVeskDxe.efi: %r", Status);
  return Ready;
}

EFI_STATUS
PlatformLoadDriver (
  OUT EFI_HANDLE  *DriverHandle
  )
{
  return FwLoadImageFile (IMAGE_DIRECTORY u"CarvexDxe.efi", NULL, DriverHandle);
}

EFI_STATUS
PlatformDispatch (
  IN CHAR16  *Slots
  )
{
  return RunImage (IMAGE_DIRECTORY u"PlatformEventDispatch.efi", Slots);
}

UINTN
PlatformHandleCount (
  VOID
  )
{
  EFI_HANDLE  *Handles;
  UINTN       Count;

  if (EFI_ERROR (gFwBS->LocateHandleBuffer (AllHandles, NULL, NULL, &Count, &Handles))) {
    return 0;
  }

  gFwBS->FreePool (Handles);
  return Count;
}

EFI_STATUS
PlatformReadVariable (
  IN     CHAR16    *Name,
  IN     EFI_GUID  *Guid,
  OUT    UINT32    *Attributes,
  IN OUT UINTN     *Size,
  OUT    VOID      *Data
  )
{
  return gFwRT->GetVariable (Name, Guid, Attributes, Size, Data);
}

EFI_STATUS
PlatformWriteVariable (
  IN CHAR16    *Name,
  IN EFI_GUID  *Guid,
  IN UINT32    Attributes,
  IN UINTN     Size,
  IN VOID      *Data
  )
{
  return gFwRT->SetVariable (Name, Guid, Attributes, Size, Data);
}

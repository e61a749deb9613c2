/** @file
  Configuration headers, and the browser's uncommitted copy of a storage.
**/
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Protocol/DevicePath.h>

#include "HiiLibInternal.h"

// Stands in for the routing header where only the body matters.
STATIC CONST CHAR16  mConfigHdrTemplate[] = u"GUID=00000000000000000000000000000000&NAME=0000&PATH=00";

STATIC CONST CHAR16  mHexDigits[] = u"0123456789abcdef";

// Size of a device path, end node included; 0 for a broken path (a node
// shorter than its header, or no end within 64 KiB).
STATIC
UINTN
InternalDevicePathSize (
  IN CONST EFI_DEVICE_PATH_PROTOCOL *DevicePath
  )
{
  CONST UINT8  *Node;
  UINTN        NodeLength;

  Node = reinterpret_cast<CONST UINT8 *>(DevicePath);
  for (;;) {
    NodeLength = (UINTN)Node[2] | ((UINTN)Node[3] << 8);
    if (NodeLength < sizeof (EFI_DEVICE_PATH_PROTOCOL)) {
      return 0;
    }

    if ((Node[0] == END_DEVICE_PATH_TYPE) && (Node[1] == END_ENTIRE_DEVICE_PATH_SUBTYPE)) {
      return (UINTN)(Node + NodeLength - reinterpret_cast<CONST UINT8 *>(DevicePath));
    }

    Node += NodeLength;
    if ((UINTN)(Node - reinterpret_cast<CONST UINT8 *>(DevicePath)) > 0x10000) {
      return 0;
    }
  }
}

STATIC
CHAR16 *
InternalAppendHexBytes (
  OUT CHAR16      *Out,
  IN  CONST UINT8 *Bytes,
  IN  UINTN       Count
  )
{
  for (UINTN Index = 0; Index < Count; Index++) {
    *Out++ = mHexDigits[Bytes[Index] >> 4];
    *Out++ = mHexDigits[Bytes[Index] & 0xF];
  }

  return Out;
}

STATIC
CHAR16 *
InternalAppendHexName (
  OUT CHAR16       *Out,
  IN  CONST CHAR16 *Name
  )
{
  for (; *Name != 0; Name++) {
    for (INTN Shift = 12; Shift >= 0; Shift -= 4) {
      *Out++ = mHexDigits[(*Name >> Shift) & 0xF];
    }
  }

  return Out;
}

STATIC
CHAR16 *
InternalAppendText (
  OUT CHAR16       *Out,
  IN  CONST CHAR16 *Text
  )
{
  while (*Text != 0) {
    *Out++ = *Text++;
  }

  return Out;
}

EFI_STRING
EFIAPI
HiiConstructConfigHdr (
  IN CONST EFI_GUID *Guid OPTIONAL,
  IN CONST CHAR16   *Name OPTIONAL,
  IN EFI_HANDLE     DriverHandle
  )
{
  EFI_DEVICE_PATH_PROTOCOL  *DevicePath;
  VOID                      *Interface;
  UINTN                     DevicePathSize;
  UINTN                     NameLength;
  CHAR16                    *Header;
  CHAR16                    *Out;

  DevicePath     = NULL;
  DevicePathSize = 0;
  if (DriverHandle != NULL) {
    Interface = NULL;
    if ((gBS == NULL) || EFI_ERROR (gBS->HandleProtocol (DriverHandle, &gEfiDevicePathProtocolGuid, &Interface)) ||
        (Interface == NULL))
    {
      return NULL;
    }

    DevicePath     = static_cast<EFI_DEVICE_PATH_PROTOCOL *>(Interface);
    DevicePathSize = InternalDevicePathSize (DevicePath);
    if (DevicePathSize == 0) {
      return NULL;
    }
  }

  NameLength = (Name != NULL) ? StrLen (Name) : 0;
  // GUID= 32 digits &NAME= 4 per character &PATH= 2 per byte, NUL.
  Header = static_cast<CHAR16 *>(AllocateZeroPool ((5 + 32 + 6 + NameLength * 4 + 6 + DevicePathSize * 2 + 1) * sizeof (CHAR16)));
  if (Header == NULL) {
    return NULL;
  }

  Out = InternalAppendText (Header, u"GUID=");
  if (Guid != NULL) {
    Out = InternalAppendHexBytes (Out, reinterpret_cast<CONST UINT8 *>(Guid), sizeof (EFI_GUID));
  }

  Out = InternalAppendText (Out, u"&NAME=");
  if (Name != NULL) {
    Out = InternalAppendHexName (Out, Name);
  }

  Out = InternalAppendText (Out, u"&PATH=");
  if (DevicePath != NULL) {
    Out = InternalAppendHexBytes (Out, reinterpret_cast<CONST UINT8 *>(DevicePath), DevicePathSize);
  }

  *Out = 0;
  return Header;
}

// Whether the text of ConfigHdr between Start and the next Stop equals
// Expected exactly (same length, case-sensitive).
STATIC
BOOLEAN
InternalFieldEquals (
  IN CONST CHAR16 *ConfigHdr,
  IN CONST CHAR16 *Start,
  IN CONST CHAR16 *Stop,
  IN CONST CHAR16 *Expected,
  IN UINTN        ExpectedLength
  )
{
  CONST CHAR16  *Value;
  CONST CHAR16  *End;

  Value = StrStr (ConfigHdr, Start);
  if (Value == NULL) {
    return FALSE;
  }

  Value += StrLen (Start);
  End    = StrStr (Value, Stop);
  if ((End == NULL) || ((UINTN)(End - Value) != ExpectedLength)) {
    return FALSE;
  }

  return (BOOLEAN)(StrnCmp (Value, Expected, ExpectedLength) == 0);
}

BOOLEAN
EFIAPI
HiiIsConfigHdrMatch (
  IN CONST CHAR16   *ConfigHdr,
  IN CONST EFI_GUID *Guid OPTIONAL,
  IN CONST CHAR16   *Name OPTIONAL
  )
{
  CHAR16   GuidText[32];
  CHAR16   *NameText;
  UINTN    NameLength;
  BOOLEAN  Match;

  if (ConfigHdr == NULL) {
    return FALSE;
  }

  if (Guid != NULL) {
    InternalAppendHexBytes (GuidText, reinterpret_cast<CONST UINT8 *>(Guid), sizeof (EFI_GUID));
    if (!InternalFieldEquals (ConfigHdr, u"GUID=", u"&NAME=", GuidText, ARRAY_SIZE (GuidText))) {
      return FALSE;
    }
  }

  if (Name == NULL) {
    return TRUE;
  }

  NameLength = StrLen (Name) * 4;
  NameText   = static_cast<CHAR16 *>(AllocatePool ((NameLength + 1) * sizeof (CHAR16)));
  if (NameText == NULL) {
    return FALSE;
  }

  *InternalAppendHexName (NameText, Name) = 0;
  Match = InternalFieldEquals (ConfigHdr, u"&NAME=", u"&PATH=", NameText, NameLength);
  FreePool (NameText);
  return Match;
}

// The browser's <ConfigResp> body for a storage (pool string), or NULL.
STATIC
CHAR16 *
InternalBrowserRetrieve (
  IN CONST EFI_GUID *VariableGuid OPTIONAL,
  IN CONST CHAR16   *VariableName OPTIONAL
  )
{
  EFI_FORM_BROWSER2_PROTOCOL  *Browser;
  UINTN                       Size;
  CHAR16                      Probe;
  CHAR16                      *Results;
  EFI_STATUS                  Status;

  Browser = InternalFormBrowser2 ();
  if (Browser == NULL) {
    return NULL;
  }

  Size   = 0;
  Probe  = 0;
  Status = Browser->BrowserCallback (Browser, &Size, &Probe, TRUE, VariableGuid, VariableName);
  if (!EFI_ERROR (Status)) {
    return static_cast<CHAR16 *>(AllocateZeroPool (sizeof (CHAR16)));
  }

  if ((Status != EFI_BUFFER_TOO_SMALL) || (Size < sizeof (CHAR16))) {
    return NULL;
  }

  // One spare character keeps the text terminated whatever the browser wrote.
  Results = static_cast<CHAR16 *>(AllocateZeroPool (Size + sizeof (CHAR16)));
  if (Results == NULL) {
    return NULL;
  }

  if (EFI_ERROR (Browser->BrowserCallback (Browser, &Size, Results, TRUE, VariableGuid, VariableName))) {
    FreePool (Results);
    return NULL;
  }

  return Results;
}

BOOLEAN
EFIAPI
HiiGetBrowserData (
  IN CONST EFI_GUID *VariableGuid OPTIONAL,
  IN CONST CHAR16   *VariableName OPTIONAL,
  IN UINTN          BufferSize,
  OUT UINT8         *Buffer
  )
{
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *Routing;
  CHAR16                           *Results;
  CHAR16                           *ConfigResp;
  UINTN                            Size;
  CONST CHAR16                     *Progress;
  EFI_STATUS                       Status;

  Routing = InternalHiiConfigRouting ();
  if ((Buffer == NULL) || (Routing == NULL)) {
    return FALSE;
  }

  Results = InternalBrowserRetrieve (VariableGuid, VariableName);
  if (Results == NULL) {
    return FALSE;
  }

  // The body comes without a routing header; ConfigToBlock wants one.
  Size       = (StrLen (mConfigHdrTemplate) + 1 + StrLen (Results) + 1) * sizeof (CHAR16);
  ConfigResp = static_cast<CHAR16 *>(AllocateZeroPool (Size));
  if (ConfigResp != NULL) {
    UnicodeSPrint (ConfigResp, Size, u"%s&%s", mConfigHdrTemplate, Results);
  }

  FreePool (Results);
  if (ConfigResp == NULL) {
    return FALSE;
  }

  Status = Routing->ConfigToBlock (Routing, ConfigResp, Buffer, &BufferSize, &Progress);
  FreePool (ConfigResp);
  return (BOOLEAN)!EFI_ERROR (Status);
}

BOOLEAN
EFIAPI
HiiSetBrowserData (
  IN CONST EFI_GUID *VariableGuid OPTIONAL,
  IN CONST CHAR16   *VariableName OPTIONAL,
  IN UINTN          BufferSize,
  IN CONST UINT8    *Buffer,
  IN CONST CHAR16   *RequestElement OPTIONAL
  )
{
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *Routing;
  EFI_FORM_BROWSER2_PROTOCOL       *Browser;
  CHAR16                           *ConfigRequest;
  CHAR16                           *ConfigResp;
  CONST CHAR16                     *Progress;
  UINTN                            Size;
  EFI_STATUS                       Status;

  Routing = InternalHiiConfigRouting ();
  Browser = InternalFormBrowser2 ();
  if ((Buffer == NULL) || (Routing == NULL) || (Browser == NULL)) {
    return FALSE;
  }

  // The whole buffer unless the caller names the parts to send.
  if (RequestElement == NULL) {
    Size          = (StrLen (mConfigHdrTemplate) + 32 + 1) * sizeof (CHAR16);
    ConfigRequest = static_cast<CHAR16 *>(AllocateZeroPool (Size));
    if (ConfigRequest != NULL) {
      UnicodeSPrint (ConfigRequest, Size, u"%s&OFFSET=0&WIDTH=%016LX", mConfigHdrTemplate, (UINT64)BufferSize);
    }
  } else {
    Size          = (StrLen (mConfigHdrTemplate) + StrLen (RequestElement) + 1) * sizeof (CHAR16);
    ConfigRequest = static_cast<CHAR16 *>(AllocateZeroPool (Size));
    if (ConfigRequest != NULL) {
      UnicodeSPrint (ConfigRequest, Size, u"%s%s", mConfigHdrTemplate, RequestElement);
    }
  }

  if (ConfigRequest == NULL) {
    return FALSE;
  }

  ConfigResp = NULL;
  Status     = Routing->BlockToConfig (Routing, ConfigRequest, Buffer, BufferSize, &ConfigResp, &Progress);
  FreePool (ConfigRequest);
  if (EFI_ERROR (Status) || (ConfigResp == NULL)) {
    return FALSE;
  }

  // The browser takes the body: everything after the template and its '&'.
  if (StrLen (ConfigResp) <= StrLen (mConfigHdrTemplate)) {
    FreePool (ConfigResp);
    return FALSE;
  }

  Size   = StrSize (ConfigResp + StrLen (mConfigHdrTemplate) + 1);
  Status = Browser->BrowserCallback (Browser, &Size, ConfigResp + StrLen (mConfigHdrTemplate) + 1, FALSE, VariableGuid, VariableName);
  FreePool (ConfigResp);
  return (BOOLEAN)!EFI_ERROR (Status);
}

/** @file
  The platform's debug sink: where an image's DebugPrint and ASSERT output
  goes, and which levels the platform wants from that image. The host
  simulator keeps every line for tests; firmware shims forward to a console.
**/
#ifndef PROTOCOL_DEBUG_SINK_H_
#define PROTOCOL_DEBUG_SINK_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gCarvexDebugSinkProtocolGuid, 0x5c1d2a3e, 0x8f4b, 0x4e6a, 0x9d, 0x17, 0x3b, 0x62, 0xc4, 0x0e, 0x91, 0xa8);

typedef struct CARVEX_DEBUG_SINK_PROTOCOL CARVEX_DEBUG_SINK_PROTOCOL;

// Levels the platform wants from the image, asked once per image and boot.
typedef UINT32 (EFIAPI *DEBUG_SINK_GET_LEVEL_MASK)(IN CARVEX_DEBUG_SINK_PROTOCOL *This, IN EFI_HANDLE ImageHandle);
// One formatted line (or fragment) at ErrorLevel.
typedef VOID (EFIAPI *DEBUG_SINK_WRITE)(IN CARVEX_DEBUG_SINK_PROTOCOL *This, IN EFI_HANDLE ImageHandle, IN UINTN ErrorLevel, IN CONST CHAR8 *Text);
// A failed assertion in an image built with assertions enabled.
typedef VOID (EFIAPI *DEBUG_SINK_ASSERT)(IN CARVEX_DEBUG_SINK_PROTOCOL *This, IN EFI_HANDLE ImageHandle, IN CONST CHAR8 *FileName, IN UINTN LineNumber, IN CONST CHAR8 *Description);

struct CARVEX_DEBUG_SINK_PROTOCOL {
  UINT64                       Revision;
  DEBUG_SINK_GET_LEVEL_MASK    GetLevelMask;
  DEBUG_SINK_WRITE             Write;
  DEBUG_SINK_ASSERT            Assert;
};

#endif

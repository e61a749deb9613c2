/** @file
  The platform event protocol: six callbacks the platform's event dispatcher
  calls around the end of POST and when the user leaves setup.
**/
#ifndef PROTOCOL_PLATFORM_EVENT_H_
#define PROTOCOL_PLATFORM_EVENT_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gTavrilEventProtocolGuid, 0x9D33C383, 0xD7D1, 0x46A6, 0xB0, 0xB9, 0x96, 0x1B, 0x84, 0xF8, 0xEB, 0x76);

typedef EFI_STATUS (EFIAPI *PLATFORM_EVENT_CALLBACK)(VOID);

typedef struct {
  PLATFORM_EVENT_CALLBACK    PrePostComplete;      // slot 0
  PLATFORM_EVENT_CALLBACK    BeforePostComplete;   // slot 1
  PLATFORM_EVENT_CALLBACK    PostComplete;         // slot 2
  PLATFORM_EVENT_CALLBACK    SaveSetting;          // slot 3
  PLATFORM_EVENT_CALLBACK    DiscardSetting;       // slot 4
  PLATFORM_EVENT_CALLBACK    LoadDefaultSetting;   // slot 5
} PLATFORM_EVENT_PROTOCOL;

static_assert (sizeof (PLATFORM_EVENT_PROTOCOL) == 6 * 8, "exactly six slots");
static_assert (offsetof (PLATFORM_EVENT_PROTOCOL, LoadDefaultSetting) == 40, "slot 5");

#define PLATFORM_EVENT_SLOT_COUNT  6

#endif

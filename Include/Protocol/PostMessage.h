/** @file
  The platform POST message protocol: text the platform shows on the POST
  screen, and message boxes shown by the setup front end in use. Only the
  fifth member (the message box) is used by setup pages; the other members
  are this platform's own and serve the POST screen.
**/
#ifndef PROTOCOL_POST_MESSAGE_H_
#define PROTOCOL_POST_MESSAGE_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gPlatformPostMessageProtocolGuid, 0x8A91B1E1, 0x56C7, 0x4ADC, 0xAB, 0xEB, 0x1C, 0x2C, 0xA1, 0x72, 0x9E, 0xFF);

// Message types a caller maps to a box title.
#define POST_MESSAGE_TYPE_ERROR    1
#define POST_MESSAGE_TYPE_WARNING  2
#define POST_MESSAGE_TYPE_INFO     3

// Box types: a box that only reports, and a box that asks for a choice.
#define POST_MESSAGE_BOX_REPORT  1
#define POST_MESSAGE_BOX_ASK     3

// Selections an asking box returns.
#define POST_MESSAGE_SELECTION_GO_AHEAD  0
#define POST_MESSAGE_SELECTION_STOP      1

// Adds one line of text to the POST screen.
typedef EFI_STATUS (EFIAPI *POST_MESSAGE_DISPLAY)(
  IN CONST CHAR16  *Message
  );

// Clears the POST screen's text.
typedef EFI_STATUS (EFIAPI *POST_MESSAGE_CLEAR)(
  VOID
  );

// Shows the progress of a long step (0..100).
typedef EFI_STATUS (EFIAPI *POST_MESSAGE_PROGRESS)(
  IN CONST CHAR16  *Title OPTIONAL,
  IN UINT8         Percent
  );

// Adds a line to the platform's warning list shown at the end of POST.
typedef EFI_STATUS (EFIAPI *POST_MESSAGE_WARNING)(
  IN CONST CHAR16  *Message
  );

// Shows Message under Title (no title when NULL) and waits for the user.
// BoxType POST_MESSAGE_BOX_REPORT only reports; POST_MESSAGE_BOX_ASK writes
// the user's choice to *Selection (0 go ahead, 1 stop). Any other box type
// shows nothing and returns EFI_INVALID_PARAMETER.
typedef EFI_STATUS (EFIAPI *POST_MESSAGE_BOX)(
  IN CONST CHAR16  *Title OPTIONAL,
  IN CONST CHAR16  *Message,
  IN UINT8         BoxType,
  OUT UINT8        *Selection OPTIONAL
  );

typedef struct {
  POST_MESSAGE_DISPLAY     DisplayPostMessage;   // 0
  POST_MESSAGE_CLEAR       ClearPostMessages;    // 1
  POST_MESSAGE_PROGRESS    DisplayProgress;      // 2
  POST_MESSAGE_WARNING     AddPostWarning;       // 3
  POST_MESSAGE_BOX         DisplayMessageBox;    // 4
} PLATFORM_POST_MESSAGE_PROTOCOL;

static_assert (sizeof (PLATFORM_POST_MESSAGE_PROTOCOL) == 5 * 8, "five members");
static_assert (offsetof (PLATFORM_POST_MESSAGE_PROTOCOL, DisplayMessageBox) == 32, "the box is the fifth member");

#endif

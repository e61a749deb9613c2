/** @file
  Message boxes of the setup pages, shown through the platform's POST message
  protocol. The protocol and the three titles are looked up once and kept for
  the boot, so titles stay in the language current at their first use.
**/
#include "CarvexSetup.h"
#include "CarvexSetupStrDefs.h"
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Protocol/PostMessage.h>

STATIC PLATFORM_POST_MESSAGE_PROTOCOL  *mPostMessage;

typedef struct {
  EFI_STRING_ID  StringId;
  CONST CHAR8    *Name;   // for the failure log
} SETUP_MESSAGE_TITLE;

STATIC CONST SETUP_MESSAGE_TITLE  mTitleStrings[] = {
  { STR_SETUP_MSG_ERROR,   "STR_SETUP_MSG_ERROR"   },
  { STR_SETUP_MSG_WARNING, "STR_SETUP_MSG_WARNING" },
  { STR_SETUP_MSG_INFO,    "STR_SETUP_MSG_INFO"    },
};

// Fetched titles by message type - 1; never freed.
STATIC CHAR16  *mTitles[3];

#define SETUP_SELECTION_NONE  0xFF

// The string in the browser's language, else in English; NULL when neither.
STATIC
CHAR16 *
GetSetupString (
  IN EFI_HII_HANDLE  Handle,
  IN EFI_STRING_ID   StringId
  )
{
  CHAR16  *pString;

  pString = HiiGetString (Handle, StringId, NULL);
  if (pString == NULL) {
    pString = HiiGetString (Handle, StringId, "en-US");
  }

  return pString;
}

VOID
EFIAPI
DisplayMessageBox (
  IN  EFI_HII_HANDLE  Handle,
  IN  UINT32          MessageType,
  IN  UINT16          StringId,
  IN  UINT8           BoxType,
  OUT UINT8           *Selection OPTIONAL
  )
{
  EFI_STATUS  Status;
  CHAR16      *pTitle;
  CHAR16      *pMessage;
  UINT8       Answer;

  // No caller goes ahead without an explicit yes: whatever ends an asking
  // box without one (no box service, no text, a failing box) answers "no".
  if ((BoxType == SETUP_MESSAGE_BOX_ASK) && (Selection != NULL)) {
    *Selection = SETUP_MESSAGE_SELECTION_NO;
  }

  if (mPostMessage == NULL) {
    Status = gBS->LocateProtocol (&gPlatformPostMessageProtocolGuid, NULL, (VOID **)&mPostMessage);
    if (EFI_ERROR (Status) || (mPostMessage == NULL)) {
      mPostMessage = NULL;
      DEBUG ((DEBUG_ERROR, "%a:Fail to locate the platform POST message protocol:%r\n", __func__, Status));
      return;
    }
  }

  pTitle = NULL;
  if ((MessageType >= SETUP_MESSAGE_TYPE_ERROR) && (MessageType <= SETUP_MESSAGE_TYPE_INFO)) {
    if (mTitles[MessageType - 1] == NULL) {
      mTitles[MessageType - 1] = GetSetupString (Handle, mTitleStrings[MessageType - 1].StringId);
      if (mTitles[MessageType - 1] == NULL) {
        DEBUG ((DEBUG_ERROR, "%a:Fail to get string for %a\n", __func__, mTitleStrings[MessageType - 1].Name));
      }
    }

    pTitle = mTitles[MessageType - 1];
  }

  pMessage = GetSetupString (Handle, StringId);
  if (pMessage == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:Fail to get string for 0x%04x\n", __func__, StringId));
    return;
  }

  if (BoxType == SETUP_MESSAGE_BOX_REPORT) {
    mPostMessage->DisplayMessageBox (pTitle, pMessage, SETUP_MESSAGE_BOX_REPORT, NULL);
  } else if (BoxType == SETUP_MESSAGE_BOX_ASK) {
    // Only a clear yes or no ends the question. A box that cannot be shown
    // at all ends it too, rather than hanging setup, with the "no" stored
    // on entry.
    Answer = SETUP_SELECTION_NONE;
    do {
      Status = mPostMessage->DisplayMessageBox (pTitle, pMessage, SETUP_MESSAGE_BOX_ASK, &Answer);
    } while (!EFI_ERROR (Status) && (Answer != SETUP_MESSAGE_SELECTION_YES) && (Answer != SETUP_MESSAGE_SELECTION_NO));

    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a:Message box failed:%r\n", __func__, Status));
    } else if (Selection != NULL) {
      *Selection = Answer;
    }
  }

  FreePool (pMessage);
}

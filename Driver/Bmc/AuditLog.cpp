/** @file
  The driver's one entry to the controller's audit log: known events only,
  each with its event code, message identifier and text.
**/
#include "AuditLog.h"
#include <Protocol/VeskCommands.h>
#include <Library/DebugLib.h>
#include <Library/UefiBootServicesTableLib.h>

typedef struct {
  UINT16    LogType;
  UINT8     LogId;
  CHAR8     *MessageText;
  CHAR8     *MessageId;
} AUDIT_EVENT;

// Writable because the controller protocol takes plain CHAR8 pointers.
STATIC CHAR8  mNoPassphraseText[]      = "All Intel Optane DCPMM could not be auto unlocked because of no passphrase.";
STATIC CHAR8  mNoPassphraseId[]        = "WJHSFMA0038K";
STATIC CHAR8  mInvalidPassphraseText[] = "One or more Intel Optane DCPMMs could not be auto unlocked because of invalid passphrase.";
STATIC CHAR8  mInvalidPassphraseId[]   = "WJHSFMA0039K";

STATIC CONST AUDIT_EVENT  mAuditEvents[] = {
  { AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_NO_PASSPHRASE,      mNoPassphraseText,      mNoPassphraseId      },
  { AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_INVALID_PASSPHRASE, mInvalidPassphraseText, mInvalidPassphraseId },
};

EFI_STATUS
EFIAPI
AuditLog (
  IN UINT16  LogType,
  IN UINT8   LogId
  )
{
  EFI_STATUS              Status;
  CONST AUDIT_EVENT       *pEvent;
  VESK_COMMANDS_PROTOCOL  *pVeskCommands;
  UINT64                  CompletionCode;

  DEBUG ((DEBUG_WARN, "AuditLog:Enter\n"));
  DEBUG ((DEBUG_WARN, "AuditLog:LogType 0x%04x, LogId 0x%02x\n", LogType, LogId));

  pEvent = NULL;
  for (UINTN Index = 0; Index < ARRAY_SIZE (mAuditEvents); Index++) {
    if ((mAuditEvents[Index].LogType == LogType) && (mAuditEvents[Index].LogId == LogId)) {
      pEvent = &mAuditEvents[Index];
      break;
    }
  }

  if (pEvent == NULL) {
    DEBUG ((DEBUG_WARN, "AuditLog:Exit:%r\n", EFI_SUCCESS));
    return EFI_SUCCESS;
  }

  pVeskCommands = NULL;
  Status        = gBS->LocateProtocol (&gTavrilVeskCommandsProtocolGuid, NULL, (VOID **)&pVeskCommands);
  if (!EFI_ERROR (Status) && (pVeskCommands == NULL)) {
    Status = EFI_NOT_FOUND;
  }

  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "AuditLog:%r:Fail to locate gTavrilVeskCommandsProtocolGuid\n", Status));
    return Status;
  }

  CompletionCode = 0;
  Status         = pVeskCommands->AddAuditLog (
                                    pVeskCommands,
                                    (UINT16)(pEvent->LogType | pEvent->LogId),
                                    pEvent->MessageText,
                                    pEvent->MessageId,
                                    &CompletionCode,
                                    0
                                    );

  DEBUG ((DEBUG_WARN, "AuditLog:Exit:%r\n", Status));
  return Status;
}

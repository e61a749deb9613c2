/** @file
  Reading and writing the passphrase file at the controller, with the
  controller's retry rule: a request failing with EFI_DEVICE_ERROR is tried
  three times in all, one second apart.
**/
#include "PassphraseFile.h"
#include "AuditLog.h"
#include <Protocol/VeskCommands.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>

static_assert (VESK_PASSPHRASE_FILE_SIZE == PASSPHRASE_FILE_MAX_LENGTH + 1, "32 characters and a last zero byte");

// Located on first use by either operation and kept for the boot.
STATIC VESK_COMMANDS_PROTOCOL  *mVeskCommands = NULL;

STATIC
EFI_STATUS
LocateVeskCommands (
  VOID
  )
{
  EFI_STATUS  Status;

  if (mVeskCommands != NULL) {
    return EFI_SUCCESS;
  }

  Status = gBS->LocateProtocol (&gTavrilVeskCommandsProtocolGuid, NULL, (VOID **)&mVeskCommands);
  if (EFI_ERROR (Status)) {
    mVeskCommands = NULL;
  } else if (mVeskCommands == NULL) {
    Status = EFI_NOT_FOUND;
  }

  return Status;
}

// Frees a buffer that held passphrase bytes, zeroing it first.
STATIC
VOID
FreeSecret (
  IN VOID   *Buffer,
  IN UINTN  Size
  )
{
  ZeroMemSecure (Buffer, Size);
  FreePool (Buffer);
}

EFI_STATUS
EFIAPI
GetDcpmmPassphraseFile (
  OUT CHAR16  **Passphrase
  )
{
  EFI_STATUS  Status;
  UINT8       *pBuffer;
  CHAR16      *pText;
  UINTN       BytesRead;
  UINT8       CompletionCode;
  UINT32      FailedAttempts;

  DEBUG ((DEBUG_WARN, "GetDcpmmPassphraseFile:Enter\n"));
  if (Passphrase == NULL) {
    return EFI_INVALID_PARAMETER;
  }

  *Passphrase = NULL;
  Status      = LocateVeskCommands ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:%r:Fail to locate gTavrilVeskCommandsProtocolGuid\n", Status));
    return Status;
  }

  pBuffer = (UINT8 *)AllocateZeroPool (VESK_PASSPHRASE_FILE_SIZE);
  if (pBuffer == NULL) {
    DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:%r:Fail to allocate Buffer\n", EFI_OUT_OF_RESOURCES));
    return EFI_OUT_OF_RESOURCES;
  }

  FailedAttempts = 0;
  for ( ; ;) {
    BytesRead      = VESK_PASSPHRASE_FILE_SIZE;
    CompletionCode = 0;
    Status         = mVeskCommands->ReadFile (
                                      mVeskCommands,
                                      VESK_FILE_DCPMM_PASSPHRASE,
                                      0,
                                      VESK_PASSPHRASE_FILE_SIZE,
                                      pBuffer,
                                      &BytesRead,
                                      0,
                                      &CompletionCode,
                                      TRUE
                                      );
    DEBUG ((DEBUG_WARN, "GetDcpmmPassphraseFile:%r:Read out %d bytes\n", Status, (UINT32)BytesRead));
    if (Status == EFI_DEVICE_ERROR) {
      // Whatever a failed read left behind is not a passphrase.
      ZeroMemSecure (pBuffer, VESK_PASSPHRASE_FILE_SIZE);
      FailedAttempts++;
      if (FailedAttempts == BMC_COMM_ATTEMPTS) {
        DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:VESK comm error\n"));
        break;
      }

      gBS->Stall (BMC_COMM_RETRY_DELAY_US);
      continue;
    }

    if (Status == EFI_NOT_FOUND) {
      AuditLog (AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_NO_PASSPHRASE);
    }

    break;
  }

  DEBUG ((DEBUG_WARN, "GetDcpmmPassphraseFile:%r:RetryCount %d\n", Status, BMC_COMM_ATTEMPTS - FailedAttempts));

  pText = NULL;
  if (!EFI_ERROR (Status)) {
    if (pBuffer[PASSPHRASE_FILE_MAX_LENGTH] != 0) {
      Status = EFI_LOAD_ERROR;
      DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:%r:passphrase tail is %x\n", Status, pBuffer[PASSPHRASE_FILE_MAX_LENGTH]));
    } else if (pBuffer[0] == 0) {
      Status = EFI_NOT_FOUND;
      DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:%r:passphrase is cleared\n", Status));
      AuditLog (AUDIT_LOG_TYPE_DCPMM, AUDIT_LOG_ID_NO_PASSPHRASE);
    } else {
      pText = (CHAR16 *)AllocateZeroPool ((PASSPHRASE_FILE_MAX_LENGTH + 1) * sizeof (CHAR16));
      if (pText == NULL) {
        Status = EFI_OUT_OF_RESOURCES;
        DEBUG ((DEBUG_ERROR, "GetDcpmmPassphraseFile:Fail to allocate Passphrase\n"));
      } else {
        // Byte 32 is 0, so the text ends within the buffer.
        for (UINTN Index = 0; Index < PASSPHRASE_FILE_MAX_LENGTH && pBuffer[Index] != 0; Index++) {
          pText[Index] = (CHAR16)pBuffer[Index];
        }
      }
    }
  }

  FreeSecret (pBuffer, VESK_PASSPHRASE_FILE_SIZE);
  *Passphrase = pText;
  DEBUG ((DEBUG_WARN, "GetDcpmmPassphraseFile:Exit:%r\n", Status));
  return Status;
}

EFI_STATUS
EFIAPI
SetDcpmmPassphraseFile (
  IN CONST CHAR16  *Passphrase
  )
{
  EFI_STATUS  Status;
  UINT8       *pBuffer;
  UINTN       Length;
  UINTN       Size;
  UINT8       CompletionCode;
  UINT32      Attempts;

  DEBUG ((DEBUG_WARN, "SetDcpmmPassphraseFile:Enter\n"));
  Status = LocateVeskCommands ();
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "SetDcpmmPassphraseFile:%r:Fail to locate gTavrilVeskCommandsProtocolGuid\n", Status));
    return Status;
  }

  if (Passphrase == NULL) {
    DEBUG ((DEBUG_ERROR, "SetDcpmmPassphraseFile:%r:Passphrase is NULL\n", EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  Length = StrLen (Passphrase);
  if (Length > PASSPHRASE_FILE_MAX_LENGTH) {
    DEBUG ((
      DEBUG_ERROR,
      "SetDcpmmPassphraseFile:%r:passphrase length is %d which is larger than %d\n",
      EFI_INVALID_PARAMETER,
      (UINT32)Length,
      PASSPHRASE_FILE_MAX_LENGTH
      ));
    return EFI_INVALID_PARAMETER;
  }

  pBuffer = (UINT8 *)AllocateZeroPool (VESK_PASSPHRASE_FILE_SIZE);
  if (pBuffer == NULL) {
    DEBUG ((DEBUG_ERROR, "SetDcpmmPassphraseFile:Fail to allocate Buffer\n"));
    return EFI_OUT_OF_RESOURCES;
  }

  // The file holds 8-bit characters: the text ends before the first one
  // that does not fit.
  for (UINTN Index = 0; Index < Length && Passphrase[Index] < 0x80; Index++) {
    pBuffer[Index] = (UINT8)Passphrase[Index];
  }

  for (Attempts = 1; ; Attempts++) {
    Size           = VESK_PASSPHRASE_FILE_SIZE;
    CompletionCode = 0;
    Status         = mVeskCommands->WriteFile (
                                      mVeskCommands,
                                      VESK_FILE_DCPMM_PASSPHRASE,
                                      0,
                                      pBuffer,
                                      &Size,
                                      0,
                                      &CompletionCode,
                                      TRUE
                                      );
    DEBUG ((DEBUG_WARN, "SetDcpmmPassphraseFile:%r:Write file\n", Status));
    if (Status != EFI_DEVICE_ERROR) {
      break;
    }

    if (Attempts == BMC_COMM_ATTEMPTS) {
      DEBUG ((DEBUG_ERROR, "SetDcpmmPassphraseFile:VESK comm error\n"));
      break;
    }

    gBS->Stall (BMC_COMM_RETRY_DELAY_US);
  }

  FreeSecret (pBuffer, VESK_PASSPHRASE_FILE_SIZE);
  DEBUG ((DEBUG_WARN, "SetDcpmmPassphraseFile:Exit:%r\n", Status));
  return Status;
}

/** @file
  The platform's controller command protocol: requests to the baseboard
  management controller. One function pointer per 8-byte entry, counted from
  0; entries this firmware never calls are reserved so that every called
  entry sits at its fixed position.
**/
#ifndef PROTOCOL_VESK_COMMANDS_H_
#define PROTOCOL_VESK_COMMANDS_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gTavrilVeskCommandsProtocolGuid, 0x3F701926, 0x015D, 0x481B, 0xA0, 0x38, 0x0A, 0x66, 0xB6, 0x76, 0xAC, 0x47);

// Controller files.
#define VESK_FILE_DCPMM_PASSPHRASE       47
#define VESK_PASSPHRASE_FILE_SIZE        33

// Completion codes (the controller's own).
#define VESK_COMPLETION_OK               0x00
#define VESK_COMPLETION_INVALID_FIELD    0xCC
#define VESK_COMPLETION_NOT_PRESENT      0xCB
#define VESK_COMPLETION_UNSPECIFIED      0xFF

typedef struct VESK_COMMANDS_PROTOCOL VESK_COMMANDS_PROTOCOL;

// Reads up to Size bytes of file FileId from Offset; *BytesRead receives what
// was read. EFI_NOT_FOUND: no such file; EFI_DEVICE_ERROR: no answer.
typedef EFI_STATUS (EFIAPI *VESK_READ_FILE)(
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN     UINT8                   FileId,
  IN     UINTN                   Offset,
  IN     UINTN                   Size,
  OUT    VOID                    *Buffer,
  IN OUT UINTN                   *BytesRead,
  IN     UINTN                   Reserved,
  OUT    UINT8                   *CompletionCode,
  IN     BOOLEAN                 Wait
  );

// Writes *Size bytes of Buffer at Offset of file FileId, creating the file.
typedef EFI_STATUS (EFIAPI *VESK_WRITE_FILE)(
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN     UINT8                   FileId,
  IN     UINTN                   Offset,
  IN     VOID                    *Buffer,
  IN OUT UINTN                   *Size,
  IN     UINTN                   Reserved,
  OUT    UINT8                   *CompletionCode,
  IN     BOOLEAN                 Wait
  );

typedef EFI_STATUS (EFIAPI *VESK_ADD_AUDIT_LOG)(
  IN  VESK_COMMANDS_PROTOCOL  *This,
  IN  UINT16                  EventCode,
  IN  CHAR8                   *MessageText,
  IN  CHAR8                   *MessageId,
  OUT UINT64                  *CompletionCode,
  IN  UINT8                   Reserved
  );

typedef EFI_STATUS (EFIAPI *VESK_GET_REMOTE_PRESENCE_SETTING)(
  IN  VESK_COMMANDS_PROTOCOL  *This,
  OUT UINT8                   *Enabled,
  OUT UINT8                   *Reserved,
  OUT UINT8                   *CompletionCode,
  IN  UINT8                   Wait
  );

typedef EFI_STATUS (EFIAPI *VESK_GET_REMOTE_PP_ASSERT)(
  IN  VESK_COMMANDS_PROTOCOL  *This,
  OUT UINT8                   *Asserted,
  OUT UINT8                   *CompletionCode,
  IN  UINT8                   Wait
  );

// Hands the board's network setting table (8-byte entries) to the
// controller, which may replace it with its own.
typedef EFI_STATUS (EFIAPI *VESK_UPDATE_LAN_SETTING_TABLE)(
  IN     VESK_COMMANDS_PROTOCOL  *This,
  IN OUT VOID                    **Table,
  IN OUT UINT32                  *Count,
  OUT    UINT8                   *CompletionCode,
  IN     UINT8                   Reserved
  );

typedef VOID *VESK_RESERVED_ENTRY;

struct VESK_COMMANDS_PROTOCOL {
  VESK_RESERVED_ENTRY                 Reserved0[25];              // 0-24
  VESK_READ_FILE                      ReadFile;                   // 25
  VESK_WRITE_FILE                     WriteFile;                  // 26
  VESK_RESERVED_ENTRY                 Reserved27[64];             // 27-90
  VESK_ADD_AUDIT_LOG                  AddAuditLog;                // 91
  VESK_RESERVED_ENTRY                 Reserved92[16];             // 92-107
  VESK_GET_REMOTE_PRESENCE_SETTING    GetRemotePresenceSetting;   // 108
  VESK_RESERVED_ENTRY                 Reserved109;                // 109
  VESK_GET_REMOTE_PP_ASSERT           GetRemotePPAssert;          // 110
  VESK_RESERVED_ENTRY                 Reserved111[3];             // 111-113
  VESK_UPDATE_LAN_SETTING_TABLE       UpdateLanSettingTable;      // 114
};

#define VESK_ENTRY_OFFSET(Position)  ((Position) * 8)
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, ReadFile) == VESK_ENTRY_OFFSET (25), "entry 25");
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, WriteFile) == VESK_ENTRY_OFFSET (26), "entry 26");
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, AddAuditLog) == VESK_ENTRY_OFFSET (91), "entry 91");
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, GetRemotePresenceSetting) == VESK_ENTRY_OFFSET (108), "entry 108");
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, GetRemotePPAssert) == VESK_ENTRY_OFFSET (110), "entry 110");
static_assert (offsetof (VESK_COMMANDS_PROTOCOL, UpdateLanSettingTable) == VESK_ENTRY_OFFSET (114), "entry 114");
static_assert (sizeof (VESK_COMMANDS_PROTOCOL) == VESK_ENTRY_OFFSET (115), "115 entries");

#endif

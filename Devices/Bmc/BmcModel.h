/** @file
  Model of the baseboard management controller as the firmware reaches it
  through the controller command protocol: its file store, its audit log,
  remote physical presence and the LAN setting table it was given.

  BMC_MODEL is one flat, pointer-free block: the host platform owns it
  across reboots, lists its audit log and persists it; tests read it.
**/
#ifndef BMC_MODEL_H_
#define BMC_MODEL_H_

#include <Uefi.h>
#include <Protocol/VeskCommands.h>

#define BMC_MODEL_SIGNATURE  SIGNATURE_64 ('B','M','C','M','O','D','E','L')
#define BMC_MODEL_VERSION    1

#define BMC_MAX_FILES           8
#define BMC_MAX_FILE_SIZE       256
#define BMC_MAX_AUDIT_EVENTS    64
#define BMC_AUDIT_TEXT_LENGTH   128  // CHAR8, NUL included
#define BMC_AUDIT_ID_LENGTH     16   // CHAR8, NUL included
#define BMC_MAX_LAN_ENTRIES     16

// Fault-injection and call-count slots are the protocol's entry positions.
#define BMC_SLOT_READ_FILE                    25
#define BMC_SLOT_WRITE_FILE                   26
#define BMC_SLOT_ADD_AUDIT_LOG                91
#define BMC_SLOT_GET_REMOTE_PRESENCE_SETTING  108
#define BMC_SLOT_GET_REMOTE_PP_ASSERT         110
#define BMC_SLOT_UPDATE_LAN_SETTING_TABLE     114
#define BMC_SLOT_COUNT                        115

typedef enum {
  BmcFaultOff = 0,
  BmcFaultTimes,   // fail the next Count calls (after Skip calls)
  BmcFaultAlways   // fail every call after Skip calls
} BMC_FAULT_MODE;

typedef struct {
  UINT32        Mode;            // BMC_FAULT_MODE
  UINT32        Skip;
  UINT32        Count;
  UINT8         CompletionCode;  // written where the call takes one
  UINT8         Reserved[3];
  EFI_STATUS    Status;
} BMC_FAULT;

typedef struct {
  UINT8     Present;
  UINT8     FileId;
  UINT16    Reserved;
  UINT32    Size;
  UINT8     Data[BMC_MAX_FILE_SIZE];
} BMC_FILE;

typedef struct {
  UINT32    Sequence;  // 1 for the first event the controller ever kept
  UINT16    EventCode;
  UINT16    Reserved;
  CHAR8     MessageId[BMC_AUDIT_ID_LENGTH];
  CHAR8     MessageText[BMC_AUDIT_TEXT_LENGTH];
} BMC_AUDIT_EVENT;

typedef struct {
  UINT64             Signature;  // BMC_MODEL_SIGNATURE
  UINT32             Version;    // BMC_MODEL_VERSION
  UINT32             Size;       // sizeof (BMC_MODEL)

  BMC_FILE           Files[BMC_MAX_FILES];
  // Oldest first; when full the oldest event makes room.
  UINT32             AuditCount;
  UINT32             AuditSequence;  // events ever added
  BMC_AUDIT_EVENT    Audit[BMC_MAX_AUDIT_EVENTS];

  UINT8              RemotePresenceEnabled;
  UINT8              RemotePresenceAsserted;
  UINT8              Reserved[2];
  UINT32             LanEntryCount;
  UINT64             LanTable[BMC_MAX_LAN_ENTRIES];  // 8-byte entries as given
  // Non-zero: the controller answers the LAN-setting update with this table
  // of its own in place of the board's.
  UINT32             LanReplacementCount;
  UINT32             Reserved2;
  UINT64             LanReplacement[BMC_MAX_LAN_ENTRIES];

  // Test and simulator control.
  BMC_FAULT          Faults[BMC_SLOT_COUNT];
  UINT32             CallCount[BMC_SLOT_COUNT];
} BMC_MODEL;

// A controller with no files, an empty audit log, remote presence off.
VOID EFIAPI BmcModelInitialize (OUT BMC_MODEL *Model);

// Checks a model read back from storage. EFI_INCOMPATIBLE_VERSION or
// EFI_VOLUME_CORRUPTED otherwise.
EFI_STATUS EFIAPI BmcModelValidate (IN CONST BMC_MODEL *Model);

// The file store as the controller's own side sees it. Writing replaces the
// whole file; EFI_BAD_BUFFER_SIZE above BMC_MAX_FILE_SIZE, EFI_OUT_OF_RESOURCES
// when every file slot is taken.
BMC_FILE *EFIAPI BmcModelFindFile (IN BMC_MODEL *Model, IN UINT8 FileId);
EFI_STATUS EFIAPI BmcModelPutFile (IN OUT BMC_MODEL *Model, IN UINT8 FileId, IN CONST VOID *Data, IN UINT32 Size);
VOID EFIAPI BmcModelDeleteFile (IN OUT BMC_MODEL *Model, IN UINT8 FileId);

EFI_STATUS EFIAPI BmcModelSetFault (IN OUT BMC_MODEL *Model, IN UINTN Slot, IN BMC_FAULT_MODE Mode, IN UINT32 Skip, IN UINT32 Count, IN EFI_STATUS Status, IN UINT8 CompletionCode);
VOID EFIAPI BmcModelClearFaults (IN OUT BMC_MODEL *Model);

// The protocol over a model (NULL: every call fails with EFI_NOT_READY).
VOID EFIAPI BmcDeviceBind (IN BMC_MODEL *Model OPTIONAL);
VESK_COMMANDS_PROTOCOL *EFIAPI BmcDeviceCommandsProtocol (VOID);

#endif

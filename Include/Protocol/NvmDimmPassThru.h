/** @file
  The module vendor's mailbox pass-through: one firmware mailbox request to
  one module, addressed by its handle. Only the request entry (the third
  function pointer, byte offset 16) is called; the two entries before it are
  the vendor's and stay reserved here.
**/
#ifndef PROTOCOL_NVM_DIMM_PASS_THRU_H_
#define PROTOCOL_NVM_DIMM_PASS_THRU_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gNvmDimmPassThruProtocolGuid, 0x25E78B4B, 0xEEF6, 0x4FDD, 0x9D, 0xFA, 0x07, 0x88, 0x33, 0x7F, 0x77, 0xC2);

// Mailbox opcodes and sub-opcodes the platform uses.
#define PT_OPCODE_GET_FEATURES           0x04
#define PT_OPCODE_SET_FEATURES           0x05
#define PT_SUBOPCODE_ADDRESS_RANGE_SCRUB 0x04

// Mailbox status byte (the module firmware's own code).
#define PT_MAILBOX_SUCCESS            0x00
#define PT_MAILBOX_INVALID_PARAMETER  0x01
#define PT_MAILBOX_DATA_TRANSFER      0x02
#define PT_MAILBOX_INTERNAL_ERROR     0x03
#define PT_MAILBOX_UNSUPPORTED        0x04
#define PT_MAILBOX_DEVICE_BUSY        0x05

#define PT_PAYLOAD_SIZE          128
#define PT_TIMEOUT_DEFAULT       1000000
#define PT_GET_INPUT_PACKET_SIZE 16  // header only, no payload travels

#pragma pack(1)

// Request going to the module. A get request is sent as its first 16 bytes
// (InputPayloadSize 0): the receiver reads no payload then.
typedef struct {
  UINT8     Opcode;                         // 0
  UINT8     SubOpcode;                      // 1
  UINT8     Reserved0[2];
  UINT32    InputPayloadSize;               // 4
  UINT8     InputPayload[PT_PAYLOAD_SIZE];  // 8
  UINT8     Reserved1[8];
} NVM_PASS_THRU_INPUT;

static_assert (sizeof (NVM_PASS_THRU_INPUT) == 144, "NVM_PASS_THRU_INPUT is 144 bytes");
static_assert (offsetof (NVM_PASS_THRU_INPUT, SubOpcode) == 1, "NVM_PASS_THRU_INPUT layout");
static_assert (offsetof (NVM_PASS_THRU_INPUT, InputPayloadSize) == 4, "NVM_PASS_THRU_INPUT layout");
static_assert (offsetof (NVM_PASS_THRU_INPUT, InputPayload) == 8, "NVM_PASS_THRU_INPUT layout");

// Answer from the module; the caller sets OutputPayloadSize to the room it
// gives (128).
typedef struct {
  UINT32    OutputPayloadSize;               // 0
  UINT8     OutputPayload[PT_PAYLOAD_SIZE];  // 4
  UINT8     Reserved[12];
} NVM_PASS_THRU_OUTPUT;

static_assert (sizeof (NVM_PASS_THRU_OUTPUT) == 144, "NVM_PASS_THRU_OUTPUT is 144 bytes");
static_assert (offsetof (NVM_PASS_THRU_OUTPUT, OutputPayload) == 4, "NVM_PASS_THRU_OUTPUT layout");

// Address range scrub settings: the get answer and the set request share it.
typedef struct {
  UINT8     Enable;             // 0: non-zero enabled; set: 1 start, 0 stop
  UINT8     Reserved0[3];
  UINT64    DpaStartAddress;    // 4
  UINT64    DpaEndAddress;      // 12
  UINT64    DpaCurrentAddress;  // 20: reached so far (set: zero)
  UINT8     Reserved1[100];
} NVM_ARS_PAYLOAD;

static_assert (sizeof (NVM_ARS_PAYLOAD) == PT_PAYLOAD_SIZE, "NVM_ARS_PAYLOAD is 128 bytes");
static_assert (offsetof (NVM_ARS_PAYLOAD, DpaStartAddress) == 4, "NVM_ARS_PAYLOAD layout");
static_assert (offsetof (NVM_ARS_PAYLOAD, DpaEndAddress) == 12, "NVM_ARS_PAYLOAD layout");
static_assert (offsetof (NVM_ARS_PAYLOAD, DpaCurrentAddress) == 20, "NVM_ARS_PAYLOAD layout");

#pragma pack()

typedef struct NVM_DIMM_PASS_THRU_PROTOCOL NVM_DIMM_PASS_THRU_PROTOCOL;

// The caller passes NULL for This: the request is addressed by DimmHandle.
typedef EFI_STATUS (EFIAPI *NVM_DIMM_PASS_THRU)(
  IN  NVM_DIMM_PASS_THRU_PROTOCOL  *This OPTIONAL,
  IN  UINT32                       DimmHandle,
  IN  NVM_PASS_THRU_INPUT          *Input,
  OUT NVM_PASS_THRU_OUTPUT         *Output OPTIONAL,
  IN  UINT32                       Timeout,
  OUT UINT8                        *MailboxStatus
  );

struct NVM_DIMM_PASS_THRU_PROTOCOL {
  VOID                  *Reserved0;  // offset 0
  VOID                  *Reserved1;  // offset 8
  NVM_DIMM_PASS_THRU    PassThru;    // offset 16
};

static_assert (offsetof (NVM_DIMM_PASS_THRU_PROTOCOL, PassThru) == 16, "request is the third entry");

#endif

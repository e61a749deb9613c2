/** @file
  Shared by the HII library's files: protocol lookups and the opcode buffer
  behind an opcode handle.
**/
#ifndef UEFI_HII_LIB_INTERNAL_H_
#define UEFI_HII_LIB_INTERNAL_H_

#include <Uefi.h>
#include <Protocol/FormBrowser2.h>
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/HiiDatabase.h>
#include <Protocol/HiiString.h>

// Located on every call: the library keeps no pointer that could outlive
// the platform instance that published it.
EFI_HII_DATABASE_PROTOCOL *InternalHiiDatabase (VOID);
EFI_HII_STRING_PROTOCOL *InternalHiiStringProtocol (VOID);
EFI_HII_CONFIG_ROUTING_PROTOCOL *InternalHiiConfigRouting (VOID);
EFI_FORM_BROWSER2_PROTOCOL *InternalFormBrowser2 (VOID);

typedef struct {
  UINT8      *Buffer;
  UINTN      BufferSize;
  UINTN      Position;
  BOOLEAN    Failed;    // an append ran out of memory: the content is incomplete
} HII_LIB_OPCODE_BUFFER;

// The first opcode of a handle and its length, or NULL when the handle holds
// no whole opcode.
CONST UINT8 *InternalHiiFirstOpCode (IN CONST HII_LIB_OPCODE_BUFFER *OpCodeBuffer, OUT UINTN *Length);

#endif

/** @file
  The simple file system protocol a volume's handle carries; OpenVolume gives
  the root directory as a file protocol.
**/
#ifndef PROTOCOL_SIMPLE_FILE_SYSTEM_H_
#define PROTOCOL_SIMPLE_FILE_SYSTEM_H_

#include <Uefi.h>
#include <Protocol/File.h>

CARVEX_GUID_DEFINE (gEfiSimpleFileSystemProtocolGuid, 0x964E5B22, 0x6459, 0x11D2, 0x8E, 0x39, 0x00, 0xA0, 0xC9, 0x69, 0x72, 0x3B);

#define EFI_SIMPLE_FILE_SYSTEM_PROTOCOL_REVISION  0x00010000

typedef struct EFI_SIMPLE_FILE_SYSTEM_PROTOCOL EFI_SIMPLE_FILE_SYSTEM_PROTOCOL;

typedef EFI_STATUS (EFIAPI *EFI_SIMPLE_FILE_SYSTEM_PROTOCOL_OPEN_VOLUME)(IN EFI_SIMPLE_FILE_SYSTEM_PROTOCOL *This, OUT EFI_FILE_PROTOCOL **Root);

struct EFI_SIMPLE_FILE_SYSTEM_PROTOCOL {
  UINT64                                         Revision;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL_OPEN_VOLUME    OpenVolume;
};

static_assert (sizeof (EFI_SIMPLE_FILE_SYSTEM_PROTOCOL) == 16, "simple file system size");

#endif

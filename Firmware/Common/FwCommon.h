/** @file
  Support shared by the OVMF shims and the test application: service table
  pointers, the QEMU debug console, a small formatter, text helpers and
  loading images from the boot volume.

  These images report on the driver, so they deliberately do not use the
  driver's own libraries (print engine, debug library): a fault there must
  not hide itself by garbling the report.
**/
#ifndef FW_COMMON_H_
#define FW_COMMON_H_

#include <Uefi.h>

extern EFI_HANDLE            gFwImageHandle;
extern EFI_SYSTEM_TABLE      *gFwST;
extern EFI_BOOT_SERVICES     *gFwBS;
extern EFI_RUNTIME_SERVICES  *gFwRT;

// Called first by every image's entry point.
VOID
FwInitialize (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  );

// QEMU's debug console (-debugcon, I/O port 0x402).
VOID
FwDebugPortWrite (
  IN CONST CHAR8  *Text
  );

// Formats into Buffer (always NUL-terminated). Conversions: %a CHAR8 text,
// %s CHAR16 text, %c, %u %d %x (32-bit), %lu %ld %lx (64-bit), %r a status
// with its name, %g a GUID pointer, %%; a width with optional 0 flag.
UINTN
FwVSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  IN  VA_LIST      Args
  );

UINTN
FwSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  ...
  );

// Formats one line (up to 511 characters) to the debug console.
VOID
FwLog (
  IN CONST CHAR8  *Format,
  ...
  );

UINTN
FwStrLen (
  IN CONST CHAR16  *Text
  );

BOOLEAN
FwStrEqual (
  IN CONST CHAR16  *First,
  IN CONST CHAR16  *Second
  );

BOOLEAN
FwAsciiEqual (
  IN CONST CHAR8  *First,
  IN CONST CHAR8  *Second
  );

BOOLEAN
FwGuidEqual (
  IN CONST EFI_GUID  *First,
  IN CONST EFI_GUID  *Second
  );

// Parses a decimal or 0x-prefixed hexadecimal number after optional spaces.
// Returns the text after it, or NULL when no number starts there.
CONST CHAR16 *
FwParseUint64 (
  IN  CONST CHAR16  *Text,
  OUT UINT64        *Value
  );

// The image's arguments: its load options as NUL-terminated CHAR16 text
// ("" when none), without the program name the UEFI Shell puts first.
CONST CHAR16 *
FwLoadOptions (
  IN EFI_HANDLE  ImageHandle
  );

// Reads a whole file from the volume this image was loaded from; the caller
// frees *Buffer with FreePool. A NUL is appended after the data.
EFI_STATUS
FwReadFile (
  IN  CONST CHAR16  *Path,
  OUT VOID          **Buffer,
  OUT UINTN         *Size
  );

// Loads an image from this image's volume (from a buffer, with its full
// device path) and gives it Options as load options (may be NULL; the text
// must outlive the child's entry point, and is writable because the loaded
// image protocol's field is).
EFI_STATUS
FwLoadImageFile (
  IN  CONST CHAR16  *Path,
  IN  CHAR16        *Options OPTIONAL,
  OUT EFI_HANDLE    *ChildHandle
  );

#endif

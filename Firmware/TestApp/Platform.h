/** @file
  The test application plays the platform: it loads the shims and the
  driver from its own volume, dispatches the platform events and reads the
  platform's variables.
**/
#ifndef PLATFORM_H_
#define PLATFORM_H_

#include "../Common/FwCommon.h"

typedef struct {
  UINT64    CapabilityMask;       // what the PCD shim answers for token 110
  UINT8     CreatedProfile;       // byte 364 of a SocketMemoryConfig created this boot
  UINT32    DebugLevelMask;       // what the debug sink asks of every image
} PLATFORM_SETUP;

// Starts the debug sink, the platform variables and the PCD shims; each is
// reported as a check. Returns FALSE when one failed.
BOOLEAN
PlatformBringUp (
  IN CONST PLATFORM_SETUP  *Setup
  );

// Loads and starts the board's platform data (PlatformDataDxe.efi), the
// module vendor's driver and the controller (NvmDimmVendorDxe.efi,
// BmcVeskDxe.efi), before the driver; each is reported as a check. Returns
// FALSE when one failed.
BOOLEAN
PlatformStartDevices (
  VOID
  );

// Loads CarvexDxe.efi without starting it.
EFI_STATUS
PlatformLoadDriver (
  OUT EFI_HANDLE  *DriverHandle
  );

// Runs the platform event dispatcher over Slots ("0 1 2", ...) and returns
// the last slot's result.
EFI_STATUS
PlatformDispatch (
  IN CHAR16  *Slots
  );

// Number of handles in the handle database.
UINTN
PlatformHandleCount (
  VOID
  );

// GetVariable into a caller's buffer; *Size is the buffer size on entry
// and the data size on return.
EFI_STATUS
PlatformReadVariable (
  IN     CHAR16    *Name,
  IN     EFI_GUID  *Guid,
  OUT    UINT32    *Attributes,
  IN OUT UINTN     *Size,
  OUT    VOID      *Data
  );

EFI_STATUS
PlatformWriteVariable (
  IN CHAR16    *Name,
  IN EFI_GUID  *Guid,
  IN UINT32    Attributes,
  IN UINTN     Size,
  IN VOID      *Data
  );

#endif

/** @file
  Reading OVMF's HII database through its own protocols: every package
  list handle, a list as exported, its packages one by one, the FORM_SET
  opcodes of a forms package with the Device Manager's listing rule
  applied, and strings. The test's own code, so that what OVMF holds is
  read without our HII library.
**/
#ifndef HII_DATABASE_WALK_H_
#define HII_DATABASE_WALK_H_

#include "../Common/FwCommon.h"
#include <Protocol/HiiDatabase.h>
#include <Protocol/HiiString.h>

typedef struct {
  EFI_GUID         Guid;
  EFI_STRING_ID    Title;
  EFI_STRING_ID    Help;
  UINT8            ClassCount;      // Flags & 3
  BOOLEAN          Listed;          // the Device Manager shows it
} HII_FORM_SET_INFO;

// Every package list handle in the database (pool, freed by the caller).
EFI_STATUS
HiiListAllHandles (
  IN  EFI_HII_DATABASE_PROTOCOL  *Database,
  OUT EFI_HII_HANDLE             **Handles,
  OUT UINTN                      *Count
  );

// One package list as the database exports it (pool, freed by the caller).
// *List is NULL on failure.
EFI_STATUS
HiiExportList (
  IN  EFI_HII_DATABASE_PROTOCOL    *Database,
  IN  EFI_HII_HANDLE               Handle,
  OUT EFI_HII_PACKAGE_LIST_HEADER  **List
  );

// The package after Previous (NULL: the first one), or NULL at the END
// package or where a length would leave the list.
CONST UINT8 *
HiiNextPackage (
  IN CONST EFI_HII_PACKAGE_LIST_HEADER  *List,
  IN CONST UINT8                        *Previous OPTIONAL
  );

// The next FORM_SET opcode of a forms package (its header included) at or
// after *Offset (0 to start), walked opcode by opcode as the Device Manager
// does. A form set is listed when one of its first Flags & 3 class GUIDs is
// the platform-setup class; an opcode too short to hold Flags is skipped.
// FALSE when none is left or an opcode length is malformed.
BOOLEAN
HiiNextFormSet (
  IN     CONST UINT8        *FormsPackage,
  IN OUT UINTN              *Offset,
  OUT    HII_FORM_SET_INFO  *Info
  );

// String Id of Handle in Language, through the string protocol, into
// Buffer (Chars characters with the NUL).
EFI_STATUS
HiiReadString (
  IN  EFI_HII_STRING_PROTOCOL  *Strings,
  IN  EFI_HII_HANDLE           Handle,
  IN  CONST CHAR8              *Language,
  IN  EFI_STRING_ID            Id,
  OUT CHAR16                   *Buffer,
  IN  UINTN                    Chars
  );

#endif

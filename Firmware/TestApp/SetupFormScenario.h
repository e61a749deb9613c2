/** @file
  What the setup form set scenario's two files share: the services and
  handles found along the way, the identities the driver must install
  under, and the check of the driver's own log lines.

  The identities are written down here from the driver's required
  behaviour, not taken from its headers, so that a wrong GUID there is
  caught.
**/
#ifndef SETUP_FORM_SCENARIO_H_
#define SETUP_FORM_SCENARIO_H_

#include "Scenarios.h"
#include "HiiDatabaseWalk.h"
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/NvmDimmConfig.h>

// The form set; it also names the vendor node of the driver handle's path.
inline CONST EFI_GUID  gExpectSetupFormSetGuid = { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } };

// The driver handle's device path: a hardware vendor node named by the form
// set GUID, then the end node.
inline CONST UINT8  gExpectSetupDevicePath[] = {
  0x01, 0x04, 0x14, 0x00, 0xEE, 0x8F, 0xB1, 0xE8, 0x4E, 0xA4, 0x97, 0x4F,
  0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98, 0x7F, 0xFF, 0x04, 0x00
};

// The driver's own log lines on extracting start with this.
#define SETUP_EXTRACT_LOG  "SetupExtractConfig:"

typedef struct {
  EFI_HII_DATABASE_PROTOCOL        *Database;
  EFI_HII_STRING_PROTOCOL          *Strings;
  EFI_HII_CONFIG_ROUTING_PROTOCOL  *Routing;
  NVM_DIMM_CONFIG_PROTOCOL         *Vendor;
  EFI_HANDLE                       DriverImage;
  EFI_HANDLE                       SetupHandle;    // device path and configuration access
  EFI_HII_HANDLE                   HiiHandle;
  HII_FORM_SET_INFO                FormSet;
} SETUP_CONTEXT;

// Function (a log prefix such as "SetupExtractConfig:") was entered
// ExpectedEnters times, logged its exit with Success, and none of its lines
// reports a failure.
VOID
SetupCheckDriverLog (
  IN CONST CHAR8  *Check,
  IN CONST CHAR8  *Function,
  IN UINTN        ExpectedEnters
  );

// GUID=<bytes>&NAME=<characters>&PATH=<bytes> of a store, as the browser
// and the router write it; FALSE when it does not fit in Max characters.
BOOLEAN
SetupBuildConfigHeader (
  IN  CONST EFI_GUID  *Guid,
  IN  CONST CHAR16    *Name,
  IN  CONST UINT8     *Path,
  IN  UINTN           PathSize,
  OUT CHAR16          *Header,
  IN  UINTN           Max
  );

// Brings up the platform with the vendor's and the controller's images,
// finds OVMF's HII services, starts the driver through its end-of-POST slots
// and finds the handle of its form set. FALSE (already reported) on failure.
BOOLEAN
SetupStartDriverForPages (
  OUT SETUP_CONTEXT  *Context
  );

// SetupVar through OVMF's router, against the vendor protocol's count and
// totals and the platform's setup (SetupVarExtract.cpp).
VOID
SetupCheckExtract (
  IN SETUP_CONTEXT  *Context
  );

#endif

/** @file
  The module vendor's driver in OVMF: NvmDimmVendorDxe (and the controller,
  BmcVeskDxe) loaded before the driver. Without the simulator's hand-over
  the vendor image serves the embedded board, so the vendor protocol lists
  that board's twelve modules and totals, and the driver finds them at the
  end of POST and sets its presence flag.
**/
#include "Scenarios.h"
#include "ExpectedVariables.h"
#include "Platform.h"
#include "TestReport.h"
#include <Library/DebugLib.h>
#include <NvmDimmRecords.h>
#include <Protocol/NvmDimmConfig.h>

// The embedded board: two processors with six 128 GiB App Direct modules each.
#define BOARD_MODULES         12
#define BOARD_MODULE_BYTES    (128ULL << 30)
#define BOARD_PER_SOCKET      6

namespace {

CHAR16  mSlots[] = u"0 1 2";

// Device locator "DIMM <n>" for the n-th module of the board. The record
// is packed: its text is read byte by byte.
BOOLEAN
IsBoardLocator (
  IN CONST DIMM_RECORD  *Record,
  IN UINT32             Number
  )
{
  CHAR8        Expected[16];
  CONST UINT8  *Text;
  CHAR16       Character;
  UINTN        Index;

  FwSPrint (Expected, sizeof (Expected), "DIMM %u", Number);
  Text = reinterpret_cast<CONST UINT8 *> (Record) + OFFSET_OF (DIMM_RECORD, DeviceLocator);
  for (Index = 0; Index < DIMM_DEVICE_LOCATOR_LENGTH; Index++) {
    Character = static_cast<CHAR16> (Text[2 * Index] | (Text[2 * Index + 1] << 8));
    if (Character != static_cast<UINT8> (Expected[Index])) {
      return FALSE;
    }
    if (Character == 0) {
      return TRUE;
    }
  }
  return FALSE;
}

VOID
CheckModules (
  IN NVM_DIMM_CONFIG_PROTOCOL  *Config
  )
{
  UINT32                   Count;
  MEMORY_RESOURCES_RECORD  Totals;
  DIMM_RECORD              *Records;
  UINT32                   Index;
  UINT32                   Wrong;
  EFI_STATUS               Status;

  Count  = 0;
  Status = Config->GetDimmCount (Config, &Count);
  TestExpect (Status == EFI_SUCCESS && Count == BOARD_MODULES, "module-count", "GetDimmCount: %r, %u modules", Status, Count);

  Status = Config->GetMemoryResourcesInfo (Config, &Totals);
  TestExpect (
    Status == EFI_SUCCESS && Totals.RawCapacity == BOARD_MODULES * BOARD_MODULE_BYTES &&
    Totals.AppDirectCapacity == BOARD_MODULES * BOARD_MODULE_BYTES && Totals.VolatileCapacity == 0 &&
    Totals.UnconfiguredCapacity == 0 && Totals.InaccessibleCapacity == 0 && Totals.ReservedCapacity == 0,
    "capacity-totals",
    "GetMemoryResourcesInfo: %r, raw 0x%lx, App Direct 0x%lx, volatile 0x%lx",
    Status,
    Totals.RawCapacity,
    Totals.AppDirectCapacity,
    Totals.VolatileCapacity
    );

  Records = NULL;
  Status  = gFwBS->AllocatePool (EfiBootServicesData, BOARD_MODULES * sizeof (DIMM_RECORD), reinterpret_cast<VOID **> (&Records));
  if (!TestExpect (!EFI_ERROR (Status), "module-records-buffer", "AllocatePool: %r", Status)) {
    return;
  }
  for (Index = 0; Index < BOARD_MODULES * sizeof (DIMM_RECORD); Index++) {
    reinterpret_cast<UINT8 *> (Records)[Index] = 0;
  }
  Status = Config->GetDimms (Config, BOARD_MODULES, DIMM_CATEGORIES_ALL_DETAILS, Records);
  Wrong  = 0;
  for (Index = 0; !EFI_ERROR (Status) && Index < BOARD_MODULES; Index++) {
    if (!IsBoardLocator (&Records[Index], Index + 1) || Records[Index].SocketId != Index / BOARD_PER_SOCKET ||
        Records[Index].DimmId != Index + 1 || Records[Index].RawCapacity != BOARD_MODULE_BYTES || !Records[Index].Configured)
    {
      Wrong++;
      TestInfo ("module %u: socket %u, id %u\n", Index, static_cast<UINT32> (Records[Index].SocketId), static_cast<UINT32> (Records[Index].DimmId));
    }
  }
  TestExpect (Status == EFI_SUCCESS && Wrong == 0, "module-records", "GetDimms: %r, %u records differ from the board", Status, Wrong);
  gFwBS->FreePool (Records);
}

}  // namespace

SCENARIO_RESULT
VendorModules (
  IN UINT32  Boot
  )
{
  PLATFORM_SETUP            Setup = { EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };
  NVM_DIMM_CONFIG_PROTOCOL  *Config;
  EFI_HANDLE                Driver;
  UINT32                    Attributes;
  UINTN                     Size;
  UINT8                     Present;
  EFI_STATUS                Status;

  (VOID)Boot;
  if (!PlatformBringUp (&Setup) || !PlatformStartDevices ()) {
    return ScenarioDone;
  }

  Config = NULL;
  Status = gFwBS->LocateProtocol (&gNvmDimmConfigProtocolGuid, NULL, reinterpret_cast<VOID **> (&Config));
  if (!TestExpect (!EFI_ERROR (Status) && Config != NULL, "vendor-protocol", "NVM DIMM config protocol: %r", Status)) {
    return ScenarioDone;
  }
  CheckModules (Config);

  Status = PlatformLoadDriver (&Driver);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status)) {
    return ScenarioDone;
  }
  Status = gFwBS->StartImage (Driver, NULL, NULL);
  TestExpect (Status == EFI_SUCCESS, "entry-succeeds", "entry returned %r", Status);
  Status = PlatformDispatch (mSlots);
  // Post-complete answers Not Found when no out-of-band request was routed.
  TestExpect ((Status == EFI_SUCCESS) || (Status == EFI_NOT_FOUND), "end-of-post-slots", "slot 2 returned %r", Status);

  // The driver found the modules behind the vendor protocol at slot 1.
  Size   = sizeof (Present);
  Status = PlatformReadVariable (gExpectCarvekPresentName, &gExpectCarvekPresentGuid, &Attributes, &Size, &Present);
  TestExpect (
    Status == EFI_SUCCESS && Size == 1 && Present == 1 && Attributes == EXPECT_ATTRIBUTES_BS,
    "presence-flag-reads-one",
    "CarvekPresent: %r, %lu bytes, value %u, attributes %x",
    Status,
    static_cast<UINT64> (Size),
    static_cast<UINT32> (Present),
    Attributes
    );
  return ScenarioDone;
}

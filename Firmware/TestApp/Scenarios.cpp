/** @file
  Scenarios around the driver's entry point and its end-of-POST slots:
  the capability test, the presence flag without the vendor driver, and the
  performance profile brought into step at entry across the platform's
  reset.
**/
#include "Scenarios.h"
#include "ExpectedVariables.h"
#include "HiiScenario.h"
#include "Platform.h"
#include "TestReport.h"
#include "VariableSpy.h"
#include <Library/DebugLib.h>
#include <Protocol/PlatformEvent.h>

#define DEFAULT_DEBUG_MASK  (DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO)

namespace {

CHAR16  mSlot0[] = u"0";
CHAR16  mSlot1[] = u"1";
CHAR16  mSlot2[] = u"2";

// Brings the platform up; FALSE (already reported) when it failed.
BOOLEAN
BringUp (
  IN UINT64  Mask,
  IN UINT8   CreatedProfile
  )
{
  PLATFORM_SETUP  Setup = { Mask, CreatedProfile, DEFAULT_DEBUG_MASK };

  return PlatformBringUp (&Setup);
}

// Loads and starts the driver, watching the variable writes of its entry
// point and counting the handles it leaves. FALSE (already reported) when
// the image does not load.
BOOLEAN
StartDriver (
  OUT EFI_STATUS  *EntryStatus,
  OUT UINTN       *NewHandles
  )
{
  EFI_HANDLE  Driver;
  UINTN       HandlesBefore;
  EFI_STATUS  Status;

  Status = PlatformLoadDriver (&Driver);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status)) {
    return FALSE;
  }

  HandlesBefore = PlatformHandleCount ();
  SpyStart ();
  *EntryStatus = gFwBS->StartImage (Driver, NULL, NULL);
  SpyStop ();
  SpyLogWrites ("entry");
  *NewHandles = PlatformHandleCount () - HandlesBefore;
  return TRUE;
}

BOOLEAN
PlatformEventsInstalled (
  VOID
  )
{
  VOID  *Interface;

  return (BOOLEAN)!EFI_ERROR (gFwBS->LocateProtocol (&gTavrilEventProtocolGuid, NULL, &Interface));
}

// Capability bits 4 and 5 clear: the driver stays inert. Two boots, with
// no bit set and with every other bit set.
SCENARIO_RESULT
CapabilityClear (
  IN UINT32  Boot
  )
{
  STATIC CONST UINT64  mMasks[] = { 0, ~(EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE) };
  EFI_STATUS           EntryStatus;
  UINTN                NewHandles;

  if (!BringUp (mMasks[Boot - 1], 2) || !StartDriver (&EntryStatus, &NewHandles)) {
    return ScenarioDone;
  }

  TestInfo ("capability mask 0x%lx\n", mMasks[Boot - 1]);
  TestExpect (EntryStatus == EFI_SUCCESS, "entry-succeeds", "entry returned %r", EntryStatus);
  TestExpect (!PlatformEventsInstalled (), "no-platform-event-protocol", "the platform event protocol is installed");
  TestExpect (NewHandles == 0, "no-new-handles", "%lu handles appeared", static_cast<UINT64> (NewHandles));
  TestExpect (SpyWriteCount () == 0, "no-variable-written", "%lu variable writes", static_cast<UINT64> (SpyWriteCount ()));
  return (Boot < 2) ? ScenarioNextBoot : ScenarioDone;
}

// The recorded write at Index is the presence flag with Value.
BOOLEAN
IsPresenceWrite (
  IN UINTN  Index,
  IN UINT8  Value
  )
{
  CONST SPY_WRITE  *Write = SpyWriteAt (Index);

  return (BOOLEAN)(Write != NULL && FwStrEqual (Write->Name, gExpectCarvekPresentName) &&
                   FwGuidEqual (&Write->Guid, &gExpectCarvekPresentGuid) &&
                   Write->Attributes == EXPECT_ATTRIBUTES_BS && Write->DataSize == 1 && Write->Data[0] == Value);
}

// Capability bits set (bit 4 on the first boot, bit 5 on the second) and
// no vendor driver: slot 1 writes the volatile presence flag as 0 and
// returns that write's status. On the second boot the write is made to
// fail, which the slot must pass on.
SCENARIO_RESULT
NoVendorDriver (
  IN UINT32  Boot
  )
{
  STATIC CONST UINT64  mMasks[] = { EXPECT_CAPABILITY_APP_DIRECT, EXPECT_CAPABILITY_MEMORY_MODE };
  EFI_STATUS           EntryStatus;
  EFI_STATUS           SlotStatus;
  UINTN                NewHandles;
  UINT32               Attributes;
  UINTN                Size;
  UINT8                Value;
  EFI_STATUS           Status;

  if (Boot == 2) {
    Size   = sizeof (Value);
    Status = PlatformReadVariable (gExpectCarvekPresentName, &gExpectCarvekPresentGuid, &Attributes, &Size, &Value);
    TestExpect (Status == EFI_NOT_FOUND, "presence-flag-gone-after-reset", "CarvekPresent survived the reset: %r", Status);
  }

  if (!BringUp (mMasks[Boot - 1], 1) || !StartDriver (&EntryStatus, &NewHandles)) {
    return ScenarioDone;
  }

  TestExpect (EntryStatus == EFI_SUCCESS, "entry-succeeds", "entry returned %r", EntryStatus);
  if (!TestExpect (PlatformEventsInstalled (), "platform-event-protocol", "not installed with mask 0x%lx", mMasks[Boot - 1])) {
    return ScenarioDone;
  }

  if (Boot == 1) {
    // First boot with the driver: its profile copy is created from the
    // platform's (1 here) and nothing else is written at entry.
    Size   = sizeof (Value);
    Status = PlatformReadVariable (gExpectPerfConfigName, &gExpectPerfConfigGuid, &Attributes, &Size, &Value);
    TestExpect (
      Status == EFI_SUCCESS && Size == 1 && Value == 1 && Attributes == EXPECT_ATTRIBUTES_NV_BS,
      "first-boot-creates-profile-copy",
      "DcpmmPerfConfigVar: %r, %lu bytes, value %u, attributes %x",
      Status,
      static_cast<UINT64> (Size),
      static_cast<UINT32> (Value),
      Attributes
      );
    TestExpect (SpyWriteCount () == 1, "first-boot-writes-only-profile-copy", "%lu writes at entry", static_cast<UINT64> (SpyWriteCount ()));
  }

  PlatformDispatch (mSlot0);

  SpyStart ();
  if (Boot == 2) {
    SpyFailNextWrite (gExpectCarvekPresentName, &gExpectCarvekPresentGuid, EFI_DEVICE_ERROR);
  }

  SlotStatus = PlatformDispatch (mSlot1);
  SpyStop ();
  SpyLogWrites ("slot 1");

  TestExpect (
    SpyWriteCount () == 1 && IsPresenceWrite (0, 0),
    "slot1-writes-presence-flag-zero",
    "%lu writes; expected CarvekPresent = 0, 1 byte, attributes 2",
    static_cast<UINT64> (SpyWriteCount ())
    );
  if (SpyWriteCount () == 1) {
    TestExpect (
      SlotStatus == SpyWriteAt (0)->Status,
      "slot1-returns-write-status",
      "slot 1 returned %r, the write %r",
      SlotStatus,
      SpyWriteAt (0)->Status
      );
  }

  if (Boot == 1) {
    Size   = sizeof (Value);
    Status = PlatformReadVariable (gExpectCarvekPresentName, &gExpectCarvekPresentGuid, &Attributes, &Size, &Value);
    TestExpect (
      Status == EFI_SUCCESS && Size == 1 && Value == 0 && Attributes == EXPECT_ATTRIBUTES_BS,
      "presence-flag-reads-zero",
      "CarvekPresent: %r, %lu bytes, value %u, attributes %x",
      Status,
      static_cast<UINT64> (Size),
      static_cast<UINT32> (Value),
      Attributes
      );
  }

  PlatformDispatch (mSlot2);
  return (Boot < 2) ? ScenarioNextBoot : ScenarioDone;
}

// Reads SocketMemoryConfig whole; FALSE (reported under Check) when it is
// not 477 bytes with attributes 3.
BOOLEAN
ReadSocketMemoryConfig (
  IN  CONST CHAR8  *Check,
  OUT UINT8        Data[EXPECT_SOCKET_MEMORY_CONFIG_SIZE]
  )
{
  UINT32      Attributes;
  UINTN       Size;
  EFI_STATUS  Status;

  Size   = EXPECT_SOCKET_MEMORY_CONFIG_SIZE;
  Status = PlatformReadVariable (gExpectSocketMemoryConfigName, &gExpectSocketMemoryConfigGuid, &Attributes, &Size, Data);
  return TestExpect (
           Status == EFI_SUCCESS && Size == EXPECT_SOCKET_MEMORY_CONFIG_SIZE && Attributes == EXPECT_ATTRIBUTES_NV_BS,
           Check,
           "SocketMemoryConfig: %r, %lu bytes, attributes %x",
           Status,
           static_cast<UINT64> (Size),
           Attributes
           );
}

BOOLEAN
IsWriteOf (
  IN UINTN     Index,
  IN CHAR16    *Name,
  IN EFI_GUID  *Guid
  )
{
  CONST SPY_WRITE  *Write = SpyWriteAt (Index);

  return (BOOLEAN)(Write != NULL && FwStrEqual (Write->Name, Name) && FwGuidEqual (&Write->Guid, Guid));
}

// The driver's profile copy (0) differs from the platform's (2): at entry
// the platform's copy takes the driver's value and a reset is requested;
// after the reset the two agree and the entry writes nothing.
SCENARIO_RESULT
PerfProfileSync (
  IN UINT32  Boot
  )
{
  STATIC UINT8  mBefore[EXPECT_SOCKET_MEMORY_CONFIG_SIZE];
  STATIC UINT8  mAfter[EXPECT_SOCKET_MEMORY_CONFIG_SIZE];
  UINT8         DriverCopy;
  UINT8         Request;
  UINT32        Attributes;
  UINTN         Size;
  UINTN         Offset;
  EFI_STATUS    EntryStatus;
  UINTN         NewHandles;
  EFI_STATUS    Status;

  if (Boot == 1) {
    // The driver's copy as a user's earlier choice left it.
    DriverCopy = 0;
    Status     = PlatformWriteVariable (gExpectPerfConfigName, &gExpectPerfConfigGuid, EXPECT_ATTRIBUTES_NV_BS, 1, &DriverCopy);
    TestExpect (!EFI_ERROR (Status), "set-driver-copy", "DcpmmPerfConfigVar = 0: %r", Status);
  }

  // The platform's copy is created with Balanced Profile (2) on boot 1.
  if (!BringUp (EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2) ||
      !ReadSocketMemoryConfig ("platform-copy-before-entry", mBefore) ||
      !StartDriver (&EntryStatus, &NewHandles))
  {
    return ScenarioDone;
  }

  if (Boot == 1) {
    TestExpect (
      mBefore[EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET] == 2,
      "platform-profile-before-entry",
      "byte 364 is %u",
      static_cast<UINT32> (mBefore[EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET])
      );
  }

  TestExpect (EntryStatus == EFI_SUCCESS, "entry-succeeds", "entry returned %r", EntryStatus);
  if (!ReadSocketMemoryConfig ("platform-copy-after-entry", mAfter)) {
    return ScenarioDone;
  }

  for (Offset = 0; Offset < EXPECT_SOCKET_MEMORY_CONFIG_SIZE; Offset++) {
    if (Offset != EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET && mBefore[Offset] != mAfter[Offset]) {
      break;
    }
  }

  TestExpect (
    Offset == EXPECT_SOCKET_MEMORY_CONFIG_SIZE,
    "other-platform-bytes-unchanged",
    "byte %lu changed from 0x%02x to 0x%02x",
    static_cast<UINT64> (Offset),
    static_cast<UINT32> (mBefore[Offset % EXPECT_SOCKET_MEMORY_CONFIG_SIZE]),
    static_cast<UINT32> (mAfter[Offset % EXPECT_SOCKET_MEMORY_CONFIG_SIZE])
    );
  TestExpect (
    mAfter[EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET] == 0,
    "platform-profile-takes-driver-copy",
    "byte 364 is %u",
    static_cast<UINT32> (mAfter[EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET])
    );

  Size   = sizeof (DriverCopy);
  Status = PlatformReadVariable (gExpectPerfConfigName, &gExpectPerfConfigGuid, &Attributes, &Size, &DriverCopy);
  TestExpect (Status == EFI_SUCCESS && DriverCopy == 0, "driver-copy-unchanged", "DcpmmPerfConfigVar: %r, value %u", Status, static_cast<UINT32> (DriverCopy));

  Size   = sizeof (Request);
  Status = PlatformReadVariable (gExpectPostResetReqName, &gExpectPostResetReqGuid, &Attributes, &Size, &Request);
  if (Boot == 1) {
    TestExpect (
      Status == EFI_SUCCESS && Size == 1 && Request == 1 && Attributes == EXPECT_ATTRIBUTES_NV_BS,
      "reset-requested",
      "PostResetReq: %r, %lu bytes, value %u, attributes %x",
      Status,
      static_cast<UINT64> (Size),
      static_cast<UINT32> (Request),
      Attributes
      );
    TestExpect (
      SpyWriteCount () == 2 && IsWriteOf (0, gExpectSocketMemoryConfigName, &gExpectSocketMemoryConfigGuid) &&
      IsWriteOf (1, gExpectPostResetReqName, &gExpectPostResetReqGuid),
      "writes-platform-copy-then-request",
      "%lu writes at entry",
      static_cast<UINT64> (SpyWriteCount ())
      );
    // The platform honours the request once POST is over.
    return ScenarioNextBoot;
  }

  TestExpect (Status == EFI_NOT_FOUND, "no-second-reset-request", "PostResetReq: %r", Status);
  TestExpect (SpyWriteCount () == 0, "nothing-written-when-in-step", "%lu writes at entry", static_cast<UINT64> (SpyWriteCount ()));
  return ScenarioDone;
}

CONST SCENARIO  mScenarios[] = {
  { "capability-clear",  2, CapabilityClear  },
  { "no-vendor-driver",  2, NoVendorDriver   },
  { "perf-profile-sync", 2, PerfProfileSync  },
  { "hii-sample",        1, HiiSampleScenario },
  { "vendor-modules",    1, VendorModules    },
  { "setup-form-set",    1, SetupFormSet     },
  { "setup-thresholds",  1, SetupThresholds  },
  { "setup-pages",       2, SetupPages       },
  { "security-auto-unlock", 2, SecurityAutoUnlock },
  { "inventory",         1, InventoryRecords },
};

}  // namespace

CONST SCENARIO *
FindScenario (
  IN CONST CHAR8  *Name
  )
{
  for (UINTN Index = 0; Index < ARRAY_SIZE (mScenarios); Index++) {
    if (FwAsciiEqual (mScenarios[Index].Name, Name)) {
      return &mScenarios[Index];
    }
  }

  return NULL;
}

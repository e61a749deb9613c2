/** @file
  SetupVar extracted through OVMF's configuration router and checked against
  the vendor protocol's module count and capacity totals and the platform's
  setup. Offsets are written down here from the store's required layout,
  not taken from the driver's header.
**/
#include "SetupFormScenario.h"
#include "HiiConfigText.h"
#include "ScenarioHelpers.h"
#include "TestReport.h"
#include <NvmDimmRecords.h>
#include <Protocol/DevicePath.h>

#define CONFIG_MAX  256

// SetupVar: 494 bytes, packed.
#define SETUP_VAR_SIZE                 494
#define SETUP_VAR_DIMM_COUNT           0x000
#define SETUP_VAR_REGION_COUNT         0x0F8
#define SETUP_VAR_VOLATILE_PERCENT     0x10D
#define SETUP_VAR_CAPACITY_UNIT        0x19C
#define SETUP_VAR_SUPPORT_APP_DIRECT   0x1EB
#define SETUP_VAR_SUPPORT_MEMORY_MODE  0x1EC
#define SETUP_VAR_PERF_CONFIG          0x1ED
#define CAPACITY_TEXT_CHARS            19

// The embedded board's module count.
#define BOARD_MODULES  12

// GUID=<bytes>&NAME=<characters>&PATH=<bytes>, lowercase hexadecimal: GUID
// and path bytes in memory order, each name character as four digits.
BOOLEAN
SetupBuildConfigHeader (
  IN  CONST EFI_GUID  *Guid,
  IN  CONST CHAR16    *Name,
  IN  CONST UINT8     *Path,
  IN  UINTN           PathSize,
  OUT CHAR16          *Header,
  IN  UINTN           Max
  )
{
  STATIC CONST CHAR16  mHex[] = u"0123456789abcdef";
  CONST UINT8          *GuidBytes = reinterpret_cast<CONST UINT8 *> (Guid);
  CHAR16               Digits[5];
  BOOLEAN              Fits;

  Header[0] = 0;
  Digits[2] = 0;
  Fits      = ConfigAppend (Header, Max, u"GUID=");
  for (UINTN Index = 0; Index < sizeof (EFI_GUID); Index++) {
    Digits[0] = mHex[GuidBytes[Index] >> 4];
    Digits[1] = mHex[GuidBytes[Index] & 0xF];
    Fits     &= ConfigAppend (Header, Max, Digits);
  }

  Fits &= ConfigAppend (Header, Max, u"&NAME=");
  for ( ; *Name != 0; Name++) {
    for (UINTN Nibble = 0; Nibble < 4; Nibble++) {
      Digits[Nibble] = mHex[(*Name >> (12 - 4 * Nibble)) & 0xF];
    }

    Digits[4] = 0;
    Fits     &= ConfigAppend (Header, Max, Digits);
  }

  Digits[2] = 0;
  Fits     &= ConfigAppend (Header, Max, u"&PATH=");
  for (UINTN Index = 0; Index < PathSize; Index++) {
    Digits[0] = mHex[Path[Index] >> 4];
    Digits[1] = mHex[Path[Index] & 0xF];
    Fits     &= ConfigAppend (Header, Max, Digits);
  }

  return Fits;
}

namespace {

CONST CHAR16  mSetupVarName[] = u"SetupVar";

// The capacity text the driver must write for Bytes: binary units named
// TB, GB and MB, one decimal truncated, or whole bytes under 1 MiB. Exact
// in integers while the totals stay below 2^53 bytes.
VOID
ExpectedCapacityText (
  IN  UINT64  Bytes,
  OUT CHAR16  Text[CAPACITY_TEXT_CHARS + 1]
  )
{
  typedef struct {
    UINT32         Shift;
    CONST CHAR8    *Name;
  } UNIT;
  STATIC CONST UNIT  mUnits[] = { { 40, "TB" }, { 30, "GB" }, { 20, "MB" } };
  CHAR8              Narrow[CAPACITY_TEXT_CHARS + 1];
  UINT64             Tenth;
  UINTN              Index;

  FwSPrint (Narrow, sizeof (Narrow), "%lu B", Bytes);
  for (Index = 0; Index < ARRAY_SIZE (mUnits); Index++) {
    if (Bytes >= (1ULL << mUnits[Index].Shift)) {
      Tenth = ((Bytes & ((1ULL << mUnits[Index].Shift) - 1)) * 10) >> mUnits[Index].Shift;
      FwSPrint (Narrow, sizeof (Narrow), "%lu.%u %a", Bytes >> mUnits[Index].Shift, static_cast<UINT32> (Tenth), mUnits[Index].Name);
      break;
    }
  }

  for (Index = 0; Narrow[Index] != 0; Index++) {
    Text[Index] = static_cast<CHAR16> (Narrow[Index]);
  }

  Text[Index] = 0;
}

// A text field of the store: its characters up to the NUL, which must come
// within the field. FALSE when it does not.
BOOLEAN
ReadTextField (
  IN  CONST UINT8  *Store,
  IN  UINTN        Offset,
  OUT CHAR16       Text[CAPACITY_TEXT_CHARS + 1]
  )
{
  for (UINTN Index = 0; Index < CAPACITY_TEXT_CHARS; Index++) {
    Text[Index] = static_cast<CHAR16> (Store[Offset + 2 * Index] | (Store[Offset + 2 * Index + 1] << 8));
    if (Text[Index] == 0) {
      return TRUE;
    }
  }

  Text[CAPACITY_TEXT_CHARS] = 0;
  return FALSE;
}

// The six capacity texts against the vendor protocol's totals.
VOID
CheckCapacityTexts (
  IN CONST UINT8                    *Store,
  IN CONST MEMORY_RESOURCES_RECORD  *Totals
  )
{
  typedef struct {
    CONST CHAR8    *Check;
    UINTN          Field;
    UINTN          Total;
  } TEXT_CASE;
  STATIC CONST TEXT_CASE  mCases[] = {
    { "text-total-raw",          0x004, OFFSET_OF (MEMORY_RESOURCES_RECORD, RawCapacity)          },
    { "text-total-memory",       0x02A, OFFSET_OF (MEMORY_RESOURCES_RECORD, VolatileCapacity)     },
    { "text-total-app-direct",   0x050, OFFSET_OF (MEMORY_RESOURCES_RECORD, AppDirectCapacity)    },
    { "text-total-unconfigured", 0x076, OFFSET_OF (MEMORY_RESOURCES_RECORD, UnconfiguredCapacity) },
    { "text-total-inaccessible", 0x09C, OFFSET_OF (MEMORY_RESOURCES_RECORD, InaccessibleCapacity) },
    { "text-total-reserved",     0x0C2, OFFSET_OF (MEMORY_RESOURCES_RECORD, ReservedCapacity)     },
  };
  CHAR16   Text[CAPACITY_TEXT_CHARS + 1];
  CHAR16   Expected[CAPACITY_TEXT_CHARS + 1];
  UINT64   Bytes;
  BOOLEAN  Terminated;

  for (UINTN Index = 0; Index < ARRAY_SIZE (mCases); Index++) {
    Bytes      = *reinterpret_cast<CONST UINT64 *> (reinterpret_cast<CONST UINT8 *> (Totals) + mCases[Index].Total);
    Terminated = ReadTextField (Store, mCases[Index].Field, Text);
    ExpectedCapacityText (Bytes, Expected);
    TestInfo ("%a \"%s\"\n", mCases[Index].Check, Text);
    TestExpect (
      Terminated && Text[0] != 0 && FwStrEqual (Text, Expected),
      mCases[Index].Check,
      "\"%s\"%a for 0x%lx bytes, expected \"%s\"",
      Text,
      Terminated ? "" : " (no NUL in the field)",
      Bytes,
      Expected
      );
  }
}

}  // namespace

// As the browser asks for it when the form set opens: the whole 494 bytes
// as one element, under a header built from the form set GUID, the store's
// name and the driver handle's device path.
VOID
SetupCheckExtract (
  IN SETUP_CONTEXT  *Context
  )
{
  STATIC CHAR16            mRequest[CONFIG_MAX];
  STATIC UINT8             mStore[SETUP_VAR_SIZE];
  STATIC BOOLEAN           mCovered[SETUP_VAR_SIZE];
  MEMORY_RESOURCES_RECORD  Totals;
  UINT32                   VendorCount;
  UINT32                   DimmCount;
  VOID                     *Path;
  CONST CHAR16             *Progress;
  CHAR16                   *Results;
  UINTN                    Covered;
  BOOLEAN                  Decoded;
  EFI_STATUS               Status;

  // The handle's path was found equal to the expected one, end node included.
  if (!TestExpect (
         !EFI_ERROR (gFwBS->HandleProtocol (Context->SetupHandle, &gEfiDevicePathProtocolGuid, &Path)) &&
         SetupBuildConfigHeader (&gExpectSetupFormSetGuid, mSetupVarName, static_cast<CONST UINT8 *> (Path), sizeof (gExpectSetupDevicePath), mRequest, CONFIG_MAX) &&
         ConfigAppend (mRequest, CONFIG_MAX, u"&OFFSET=0&WIDTH=01ee"),
         "setupvar-request",
         "no device path, or the request does not fit"
         ))
  {
    return;
  }

  Progress = NULL;
  Results  = NULL;
  Status   = Context->Routing->ExtractConfig (Context->Routing, mRequest, &Progress, &Results);
  SetupCheckDriverLog ("extract-reaches-driver-once", SETUP_EXTRACT_LOG, 1);
  if (!TestExpect (
         !EFI_ERROR (Status) && Results != NULL && Progress == mRequest + FwStrLen (mRequest) && ConfigStartsWith (Results, mRequest),
         "extract-setupvar-through-router",
         "ExtractConfig: %r, progress at %ld of %lu",
         Status,
         static_cast<INT64> ((Progress != NULL) ? Progress - mRequest : -1),
         static_cast<UINT64> (FwStrLen (mRequest))
         ))
  {
    if (Results != NULL) {
      ConfigLogText ("response:", Results);
      gFwBS->FreePool (Results);
    }

    return;
  }

  TestInfo (
    "the response holds %lu characters and %lu default sections the router added\n",
    static_cast<UINT64> (FwStrLen (Results)),
    static_cast<UINT64> (ConfigCountAltCfg (Results))
    );
  Decoded = ConfigDecodeBlocks (Results, mStore, mCovered, SETUP_VAR_SIZE);
  Covered = 0;
  for (UINTN Index = 0; Index < SETUP_VAR_SIZE; Index++) {
    Covered += mCovered[Index] ? 1 : 0;
  }

  gFwBS->FreePool (Results);
  if (!TestExpect (Decoded && Covered == SETUP_VAR_SIZE, "extract-whole-buffer", "%lu of 494 bytes in the response", static_cast<UINT64> (Covered))) {
    return;
  }

  VendorCount = 0;
  Status      = Context->Vendor->GetDimmCount (Context->Vendor, &VendorCount);
  DimmCount   = ReadUint32 (mStore + SETUP_VAR_DIMM_COUNT);
  TestExpect (
    !EFI_ERROR (Status) && DimmCount == VendorCount && DimmCount == BOARD_MODULES,
    "setupvar-module-count",
    "DimmCount %u, the vendor protocol %u (%r)",
    DimmCount,
    VendorCount,
    Status
    );

  Status = Context->Vendor->GetMemoryResourcesInfo (Context->Vendor, &Totals);
  if (TestExpect (!EFI_ERROR (Status), "vendor-totals", "GetMemoryResourcesInfo: %r", Status)) {
    CheckCapacityTexts (mStore, &Totals);
  }

  // Capability mask 0x30 (both modes: the goal page starts all App
  // Direct), the platform's profile 2, capacities entered in GB (6).
  TestExpect (
    mStore[SETUP_VAR_SUPPORT_APP_DIRECT] == 1 && mStore[SETUP_VAR_SUPPORT_MEMORY_MODE] == 1 &&
    mStore[SETUP_VAR_VOLATILE_PERCENT] == 0 && mStore[SETUP_VAR_PERF_CONFIG] == 2 && mStore[SETUP_VAR_CAPACITY_UNIT] == 6,
    "setupvar-platform-fields",
    "App Direct %u, memory mode %u, volatile %u%%, profile %u, unit %u",
    static_cast<UINT32> (mStore[SETUP_VAR_SUPPORT_APP_DIRECT]),
    static_cast<UINT32> (mStore[SETUP_VAR_SUPPORT_MEMORY_MODE]),
    static_cast<UINT32> (mStore[SETUP_VAR_VOLATILE_PERCENT]),
    static_cast<UINT32> (mStore[SETUP_VAR_PERF_CONFIG]),
    static_cast<UINT32> (mStore[SETUP_VAR_CAPACITY_UNIT])
    );
  TestInfo ("SetupVar.RegionCount %u\n", ReadUint32 (mStore + SETUP_VAR_REGION_COUNT));
}


/** @file
  The setup form set in OVMF (one boot). With the module vendor's driver
  loaded first, the driver's end-of-POST slot 1 adds its form set to OVMF's
  HII database. OVMF's own services are then asked what they hold: the
  package list on the driver's handle as exported, the form sets the Device
  Manager would list, titles read back in several languages, and SetupVar
  extracted through OVMF's configuration router and checked against what
  the vendor protocol reports (SetupVarExtract.cpp).
**/
#include "SetupFormScenario.h"
#include "DebugLogSpy.h"
#include "ExpectedVariables.h"
#include "Platform.h"
#include "ScenarioHelpers.h"
#include "TestReport.h"

#include <CarvexSetupBin.h>
#include <CarvexSetupStrings.h>
#include <Library/DebugLib.h>
#include <Protocol/DevicePath.h>
#include <Protocol/HiiConfigAccess.h>

#define TITLE_MAX              64
#define LANGUAGES_MAX          128
#define SETUP_STRING_PACKAGES  11

namespace {

CONST EFI_GUID  mPackageListGuid = { 0x470DB1CE, 0xABA5, 0x4AF6, { 0x8E, 0x74, 0x0E, 0x1D, 0xA1, 0xD1, 0x92, 0x97 } };
CONST CHAR16    mFormSetTitle[]  = u"Intel Optane DCPMMs";

// The driver's own lines on installing and extracting.
constexpr CHAR8     mInstallLog[]   = "CarvexSetupBeforePostComplete:";
constexpr CHAR8     mExtractLog[]   = SETUP_EXTRACT_LOG;
CONST CHAR8 *CONST  mWatchedLines[] = { mInstallLog, mExtractLog, NULL };

CHAR16  mSlot0[] = u"0";
CHAR16  mSlot1[] = u"1";
CHAR16  mSlot2[] = u"2";

BOOLEAN
LocateServices (
  OUT SETUP_CONTEXT  *Context
  )
{
  Context->Database = static_cast<EFI_HII_DATABASE_PROTOCOL *> (Locate (&gEfiHiiDatabaseProtocolGuid));
  Context->Strings  = static_cast<EFI_HII_STRING_PROTOCOL *> (Locate (&gEfiHiiStringProtocolGuid));
  Context->Routing  = static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *> (Locate (&gEfiHiiConfigRoutingProtocolGuid));
  Context->Vendor   = static_cast<NVM_DIMM_CONFIG_PROTOCOL *> (Locate (&gNvmDimmConfigProtocolGuid));
  return TestExpect (
           Context->Database != NULL && Context->Strings != NULL && Context->Routing != NULL && Context->Vendor != NULL,
           "services",
           "HII database %a, strings %a, routing %a, vendor protocol %a",
           (Context->Database != NULL) ? "found" : "missing",
           (Context->Strings != NULL) ? "found" : "missing",
           (Context->Routing != NULL) ? "found" : "missing",
           (Context->Vendor != NULL) ? "found" : "missing"
           );
}

// Loads and starts the driver and runs the three end-of-POST slots one by
// one, so that slot 1's own status is seen. The driver's lines are watched
// from its entry on.
BOOLEAN
StartDriver (
  IN OUT SETUP_CONTEXT  *Context
  )
{
  EFI_STATUS  Status;

  Status = PlatformLoadDriver (&Context->DriverImage);
  if (!TestExpect (!EFI_ERROR (Status), "driver-loads", "LoadImage CarvexDxe.efi: %r", Status) ||
      !TestExpect (LogSpyStart (Context->DriverImage, mWatchedLines), "debug-sink-watched", "no debug sink"))
  {
    return FALSE;
  }

  Status = gFwBS->StartImage (Context->DriverImage, NULL, NULL);
  if (!TestExpect (Status == EFI_SUCCESS, "entry-succeeds", "entry returned %r", Status)) {
    return FALSE;
  }

  PlatformDispatch (mSlot0);
  Status = PlatformDispatch (mSlot1);
  TestExpect (Status == EFI_SUCCESS, "slot1-succeeds", "slot 1 returned %r", Status);
  PlatformDispatch (mSlot2);
  return TRUE;
}

// Size of a device path, its end node included; 0 when it has no end
// within Max bytes.
UINTN
DevicePathSize (
  IN CONST UINT8  *Path,
  IN UINTN        Max
  )
{
  UINTN  Offset = 0;
  UINTN  Length;

  while (Offset + 4 <= Max) {
    Length = Path[Offset + 2] | (Path[Offset + 3] << 8);
    if (Length < 4) {
      return 0;
    }

    Offset += Length;
    if ((Path[Offset - Length] == 0x7F) && (Path[Offset - Length + 1] == 0xFF)) {
      return (Offset <= Max) ? Offset : 0;
    }
  }

  return 0;
}

// Exactly one handle carries the configuration access protocol beside the
// form set's vendor device path.
BOOLEAN
FindSetupHandle (
  IN OUT SETUP_CONTEXT  *Context
  )
{
  EFI_HANDLE  *Handles;
  UINTN       Count;
  UINTN       Found;
  VOID        *Path;
  EFI_STATUS  Status;

  Status = gFwBS->LocateHandleBuffer (ByProtocol, &gEfiHiiConfigAccessProtocolGuid, NULL, &Count, &Handles);
  if (!TestExpect (!EFI_ERROR (Status), "config-access-installed", "LocateHandleBuffer: %r", Status)) {
    return FALSE;
  }

  Found = 0;
  for (UINTN Index = 0; Index < Count; Index++) {
    if (!EFI_ERROR (gFwBS->HandleProtocol (Handles[Index], &gEfiDevicePathProtocolGuid, &Path)) &&
        (DevicePathSize (static_cast<CONST UINT8 *> (Path), sizeof (gExpectSetupDevicePath)) == sizeof (gExpectSetupDevicePath)) &&
        BytesEqual (static_cast<CONST UINT8 *> (Path), gExpectSetupDevicePath, sizeof (gExpectSetupDevicePath)))
    {
      Context->SetupHandle = Handles[Index];
      Found++;
    }
  }

  gFwBS->FreePool (Handles);
  return TestExpect (
           Found == 1,
           "setup-handle-with-vendor-path",
           "%lu of %lu configuration access handles carry the form set's vendor path",
           static_cast<UINT64> (Found),
           static_cast<UINT64> (Count)
           );
}

// The setup form set in a forms package, or FALSE.
BOOLEAN
FindFormSet (
  IN  CONST UINT8        *FormsPackage,
  OUT HII_FORM_SET_INFO  *Info
  )
{
  UINTN  Offset = 0;

  while (HiiNextFormSet (FormsPackage, &Offset, Info)) {
    if (FwGuidEqual (&Info->Guid, &gExpectSetupFormSetGuid)) {
      return TRUE;
    }
  }

  return FALSE;
}

// One package list lives on the driver's handle; as exported it holds the
// form set, the compiled forms and eleven string packages unchanged, and
// the device path package the database made from the handle.
BOOLEAN
CheckPackageList (
  IN OUT SETUP_CONTEXT  *Context
  )
{
  EFI_HII_HANDLE               *Handles;
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  CONST UINT8                  *Package;
  EFI_HANDLE                   Owner;
  UINTN                        Count;
  UINTN                        Found;
  UINTN                        StringPackages;
  UINTN                        StringsSeen;
  UINT32                       Length;
  BOOLEAN                      FormSetFound;
  BOOLEAN                      FormsSame;
  BOOLEAN                      StringsSame;
  BOOLEAN                      PathSame;
  EFI_STATUS                   Status;

  Status = HiiListAllHandles (Context->Database, &Handles, &Count);
  if (!TestExpect (!EFI_ERROR (Status), "hii-handles", "ListPackageLists: %r", Status)) {
    return FALSE;
  }

  Found = 0;
  for (UINTN Index = 0; Index < Count; Index++) {
    Owner = NULL;
    if (!EFI_ERROR (Context->Database->GetPackageListHandle (Context->Database, Handles[Index], &Owner)) &&
        (Owner == Context->SetupHandle))
    {
      Context->HiiHandle = Handles[Index];
      Found++;
    }
  }

  gFwBS->FreePool (Handles);
  if (!TestExpect (Found == 1, "one-package-list-on-driver-handle", "%lu of %lu package lists", static_cast<UINT64> (Found), static_cast<UINT64> (Count))) {
    return FALSE;
  }

  Status = HiiExportList (Context->Database, Context->HiiHandle, &List);
  if (!TestExpect (
         !EFI_ERROR (Status) && FwGuidEqual (&List->PackageListGuid, &mPackageListGuid),
         "export-package-list",
         "ExportPackageLists: %r, list GUID %g",
         Status,
         (List != NULL) ? &List->PackageListGuid : &mPackageListGuid
         ))
  {
    if (List != NULL) {
      gFwBS->FreePool (List);
    }

    return FALSE;
  }

  FormSetFound   = FALSE;
  FormsSame      = FALSE;
  StringsSame    = TRUE;
  PathSame       = FALSE;
  StringPackages = 0;
  StringsSeen    = sizeof (UINT32);
  for (Package = HiiNextPackage (List, NULL); Package != NULL; Package = HiiNextPackage (List, Package)) {
    Length = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Package));
    switch (Package[3]) {
      case EFI_HII_PACKAGE_FORMS:
        FormSetFound = FindFormSet (Package, &Context->FormSet);
        FormsSame    = (BOOLEAN)(Length == ReadUint32 (CarvexSetupBin) - 4 && BytesEqual (Package, CarvexSetupBin + 4, Length));
        break;
      case EFI_HII_PACKAGE_STRINGS:
        // Exported in the order they were given, one after the other.
        StringsSame &= (BOOLEAN)(StringsSeen + Length <= sizeof (CarvexSetupStrings) &&
                                 BytesEqual (Package, CarvexSetupStrings + StringsSeen, Length));
        StringsSeen += Length;
        StringPackages++;
        break;
      case EFI_HII_PACKAGE_DEVICE_PATH:
        PathSame = (BOOLEAN)(Length == 4 + sizeof (gExpectSetupDevicePath) && BytesEqual (Package + 4, gExpectSetupDevicePath, sizeof (gExpectSetupDevicePath)));
        break;
      default:
        TestInfo ("the export holds a package of type 0x%02x\n", static_cast<UINT32> (Package[3]));
        break;
    }
  }

  gFwBS->FreePool (List);
  TestExpect (FormSetFound, "form-set-in-package-list", "no FORM_SET %g in the forms package", &gExpectSetupFormSetGuid);
  TestExpect (FormsSame, "export-forms-package-unchanged", "the forms package differs from the compiled one");
  TestExpect (
    StringPackages == SETUP_STRING_PACKAGES && StringsSame && StringsSeen == sizeof (CarvexSetupStrings),
    "export-eleven-string-packages-unchanged",
    "%lu string packages, %lu of %lu bytes match",
    static_cast<UINT64> (StringPackages),
    static_cast<UINT64> (StringsSeen - sizeof (UINT32)),
    static_cast<UINT64> (sizeof (CarvexSetupStrings) - sizeof (UINT32))
    );
  TestExpect (PathSame, "export-device-path-from-handle", "no device path package, or not the driver handle's path");
  return FormSetFound;
}

// The Device Manager's rule over every package list in the database: the
// setup form set is listed, once, under its title.
VOID
CheckDeviceManagerListing (
  IN SETUP_CONTEXT  *Context
  )
{
  EFI_HII_HANDLE               *Handles;
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  CONST UINT8                  *Package;
  HII_FORM_SET_INFO            Info;
  CHAR16                       Title[TITLE_MAX];
  UINTN                        Count;
  UINTN                        Offset;
  UINTN                        Listed;
  UINTN                        Titled;
  BOOLEAN                      Ours;
  EFI_STATUS                   Status;

  Status = HiiListAllHandles (Context->Database, &Handles, &Count);
  if (!TestExpect (!EFI_ERROR (Status), "device-manager-hii-handles", "ListPackageLists: %r", Status)) {
    return;
  }

  Listed = 0;
  Titled = 0;
  Ours   = FALSE;
  for (UINTN Index = 0; Index < Count; Index++) {
    if (EFI_ERROR (HiiExportList (Context->Database, Handles[Index], &List))) {
      continue;
    }

    for (Package = HiiNextPackage (List, NULL); Package != NULL; Package = HiiNextPackage (List, Package)) {
      if (Package[3] != EFI_HII_PACKAGE_FORMS) {
        continue;
      }

      for (Offset = 0; HiiNextFormSet (Package, &Offset, &Info); ) {
        if (!Info.Listed) {
          continue;
        }

        Listed++;
        Status = HiiReadString (Context->Strings, Handles[Index], "en-US", Info.Title, Title, TITLE_MAX);
        TestInfo ("the Device Manager lists %g \"%s\" (%r)\n", &Info.Guid, Title, Status);
        if (!EFI_ERROR (Status) && FwStrEqual (Title, mFormSetTitle)) {
          Titled++;
          Ours = (BOOLEAN)(Handles[Index] == Context->HiiHandle && FwGuidEqual (&Info.Guid, &gExpectSetupFormSetGuid));
        }
      }
    }

    gFwBS->FreePool (List);
  }

  gFwBS->FreePool (Handles);
  TestExpect (
    Titled == 1 && Ours,
    "device-manager-lists-setup-form-set",
    "%lu listed form sets, %lu titled \"%s\", %a",
    static_cast<UINT64> (Listed),
    static_cast<UINT64> (Titled),
    mFormSetTitle,
    Ours ? "the driver's" : "not the driver's"
    );
}

// "en-US;zh-Hans;..." from the compiled string packages: the language of
// each package header (its ASCII name ends right before the first block).
VOID
CompiledLanguages (
  OUT CHAR8  *Languages,
  IN  UINTN  Max
  )
{
  CONST UINT8  *Package = CarvexSetupStrings + sizeof (UINT32);
  CONST UINT8  *End     = CarvexSetupStrings + sizeof (CarvexSetupStrings);
  UINTN        Used     = 0;
  UINT32       Length;

  for ( ; Package + 47 <= End; Package += Length) {
    Length = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Package));
    if ((Length == 0) || (Package[3] != EFI_HII_PACKAGE_STRINGS)) {
      break;
    }

    if ((Used > 0) && (Used + 1 < Max)) {
      Languages[Used++] = ';';
    }

    for (CONST UINT8 *Name = Package + 46; *Name != 0 && Used + 1 < Max; Name++) {
      Languages[Used++] = static_cast<CHAR8> (*Name);
    }
  }

  Languages[Used] = 0;
}

// The string protocol knows every language of the list and reads the title
// and help back in more than one of them.
VOID
CheckStrings (
  IN SETUP_CONTEXT  *Context
  )
{
  typedef struct {
    BOOLEAN         Help;            // the form set's help, else its title
    CONST CHAR8     *Language;
    CONST CHAR16    *Text;
  } STRING_CASE;
  STATIC CONST STRING_CASE  mCases[] = {
    { FALSE, "en-US", u"Intel Optane DCPMMs"                            },
    { FALSE, "fr-FR", u"Intel Optane DCPMM"                             },
    { TRUE,  "fr-FR", u"Afficher et configurer les Intel Optane DCPMM." },
    { TRUE,  "en-US", u"View and configure Intel Optane DCPMMs."        },
  };
  STATIC CHAR8   mExpected[LANGUAGES_MAX];
  STATIC CHAR8   mLanguages[LANGUAGES_MAX];
  CHAR16         Text[TITLE_MAX];
  CHAR8          Check[48];
  UINTN          Size;
  EFI_STRING_ID  Id;
  EFI_STATUS     Status;

  CompiledLanguages (mExpected, sizeof (mExpected));
  Size   = sizeof (mLanguages);
  Status = Context->Strings->GetLanguages (Context->Strings, Context->HiiHandle, mLanguages, &Size);
  TestExpect (
    !EFI_ERROR (Status) && FwAsciiEqual (mLanguages, mExpected),
    "languages-of-the-string-packages",
    "GetLanguages: %r, \"%a\"",
    Status,
    EFI_ERROR (Status) ? "" : mLanguages
    );

  for (UINTN Index = 0; Index < ARRAY_SIZE (mCases); Index++) {
    Id     = mCases[Index].Help ? Context->FormSet.Help : Context->FormSet.Title;
    Status = HiiReadString (Context->Strings, Context->HiiHandle, mCases[Index].Language, Id, Text, TITLE_MAX);
    FwSPrint (Check, sizeof (Check), "%a-%a", mCases[Index].Help ? "help" : "title", mCases[Index].Language);
    TestExpect (!EFI_ERROR (Status) && FwStrEqual (Text, mCases[Index].Text), Check, "string %u: %r, \"%s\"", Id, Status, Text);
  }
}

}  // namespace

VOID
SetupCheckDriverLog (
  IN CONST CHAR8  *Check,
  IN CONST CHAR8  *Function,
  IN UINTN        ExpectedEnters
  )
{
  CHAR8        Exit[64];
  CONST CHAR8  *Line;
  UINTN        Enters;
  UINTN        Failures;

  FwSPrint (Exit, sizeof (Exit), "%aExit:Success", Function);
  Line     = LogSpyFind (Function, "Exit:");
  Enters   = LogSpyCount (Function, "Enter");
  Failures = LogSpyCount (Function, "Fail") + LogSpyCount (Function, "failure");
  TestExpect (
    Line != NULL && FwAsciiEqual (Line, Exit) && Enters == ExpectedEnters && Failures == 0 && LogSpyDropped () == 0,
    Check,
    "%lu calls, %lu failure lines, exit line \"%a\"",
    static_cast<UINT64> (Enters),
    static_cast<UINT64> (Failures),
    (Line != NULL) ? Line : "(none)"
    );
}

BOOLEAN
SetupStartDriverForPages (
  OUT SETUP_CONTEXT  *Context
  )
{
  PLATFORM_SETUP  Setup = { EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };

  return PlatformBringUp (&Setup) && PlatformStartDevices () && LocateServices (Context) && StartDriver (Context) &&
         FindSetupHandle (Context);
}

SCENARIO_RESULT
SetupFormSet (
  IN UINT32  Boot
  )
{
  PLATFORM_SETUP        Setup = { EXPECT_CAPABILITY_APP_DIRECT | EXPECT_CAPABILITY_MEMORY_MODE, 2, DEBUG_ERROR | DEBUG_WARN | DEBUG_INFO };
  STATIC SETUP_CONTEXT  mContext;

  (VOID)Boot;
  if (PlatformBringUp (&Setup) && PlatformStartDevices () && LocateServices (&mContext) && StartDriver (&mContext)) {
    SetupCheckDriverLog ("install-log-clean", mInstallLog, 1);
    if (FindSetupHandle (&mContext) && CheckPackageList (&mContext)) {
      CheckDeviceManagerListing (&mContext);
      CheckStrings (&mContext);
      SetupCheckExtract (&mContext);
    }
  }

  LogSpyStop ();
  return ScenarioDone;
}

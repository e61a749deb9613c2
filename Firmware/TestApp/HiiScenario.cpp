/** @file
  The HII scenario (one boot). HiiSampleDxe adds the sample form set with
  our HII library; then OVMF's HII services are asked what they made of it:
  the package list as exported (forms and strings byte for byte, the device
  path package, the Device Manager's listing rule), strings in both
  languages through our library, and the store through OVMF's router, which
  must find the driver by its device path and pass requests and
  configurations to its handlers.
**/
#include "HiiScenario.h"
#include "HiiConfigText.h"
#include "ScenarioHelpers.h"
#include "TestReport.h"

#include <HiiSampleBin.h>
#include <HiiSampleDxe.h>
#include <HiiSampleStrDefs.h>
#include <HiiSampleStrings.h>
#include <Library/HiiLib.h>
#include <Library/UefiDriverEntryPoint.h>
#include <Protocol/HiiConfigRouting.h>
#include <Protocol/HiiDatabase.h>
#include <Protocol/HiiString.h>

#define CONFIG_MAX  512

namespace {

// What HiiConstructConfigHdr must make of the store and the driver's
// device path (a hardware vendor node and the end node): GUID bytes in
// memory order, the name four digits a character, the path's bytes.
CONST CHAR16  mExpectedHeader[] =
  u"GUID=78563412bc9af0de1122334455667788"
  u"&NAME=00480069006900530061006d0070006c0065005600610072"
  u"&PATH=01041400182f4d9e6a3b754ca01d72e85f09c43b7fff0400";

// One block item per question, in form order: what the router asks for
// when a request names the store but no items.
CONST CHAR16  mQuestionItems[] =
  u"&OFFSET=0000&WIDTH=0001&OFFSET=0001&WIDTH=0002&OFFSET=0003&WIDTH=0001&OFFSET=0004&WIDTH=0008";

CONST UINT8  mDevicePathBytes[] = {
  0x01, 0x04, 0x14, 0x00, 0x18, 0x2f, 0x4d, 0x9e, 0x6a, 0x3b, 0x75, 0x4c,
  0xa0, 0x1d, 0x72, 0xe8, 0x5f, 0x09, 0xc4, 0x3b, 0x7f, 0xff, 0x04, 0x00
};

typedef struct {
  EFI_HII_DATABASE_PROTOCOL          *Database;
  EFI_HII_STRING_PROTOCOL            *Strings;
  EFI_HII_CONFIG_ROUTING_PROTOCOL    *Routing;
  HII_SAMPLE_TEST_PROTOCOL           *Sample;
  EFI_HANDLE                         DriverHandle;
} HII_CONTEXT;

BOOLEAN
SameStore (
  IN CONST HII_SAMPLE_VAR  *First,
  IN CONST HII_SAMPLE_VAR  *Second
  )
{
  return BytesEqual (reinterpret_cast<CONST UINT8 *> (First), reinterpret_cast<CONST UINT8 *> (Second), sizeof (*First));
}

// Starts HiiSampleDxe and finds its handle and test protocol.
BOOLEAN
StartSampleDriver (
  OUT HII_CONTEXT  *Context
  )
{
  EFI_HANDLE  Image;
  EFI_HANDLE  *Handles;
  UINTN       Count;
  VOID        *Interface;
  EFI_STATUS  Status;

  Status = FwLoadImageFile (u"\\carvex\\HiiSampleDxe.efi", NULL, &Image);
  if (!EFI_ERROR (Status)) {
    Status = gFwBS->StartImage (Image, NULL, NULL);
  }

  if (!TestExpect (!EFI_ERROR (Status), "sample-driver-starts", "HiiSampleDxe.efi: %r", Status)) {
    return FALSE;
  }

  Status = gFwBS->LocateHandleBuffer (ByProtocol, &gHiiSampleTestProtocolGuid, NULL, &Count, &Handles);
  if (!TestExpect (!EFI_ERROR (Status) && (Count == 1), "sample-driver-handle", "%r, %lu handles", Status, static_cast<UINT64> (Count))) {
    return FALSE;
  }

  Context->DriverHandle = Handles[0];
  gFwBS->FreePool (Handles);
  Status = gFwBS->HandleProtocol (Context->DriverHandle, &gHiiSampleTestProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    return FALSE;
  }

  Context->Sample = static_cast<HII_SAMPLE_TEST_PROTOCOL *> (Interface);
  return TestExpect (Context->Sample->HiiHandle != NULL, "add-packages-returns-handle", "HiiAddPackages returned NULL");
}

// The list belongs to the driver's handle and is found by its GUID.
VOID
CheckListHandles (
  IN HII_CONTEXT  *Context
  )
{
  EFI_HII_HANDLE  *Handles;
  EFI_HANDLE      Owner;
  EFI_STATUS      Status;

  Handles = HiiGetHiiHandles (&gHiiSamplePackageListGuid);
  TestExpect (
    Handles != NULL && Handles[0] == Context->Sample->HiiHandle && Handles[1] == NULL,
    "list-found-by-guid",
    "HiiGetHiiHandles: %a",
    (Handles == NULL) ? "no handle" : "another handle or more than one"
    );
  if (Handles != NULL) {
    gFwBS->FreePool (Handles);
  }

  Owner  = NULL;
  Status = Context->Database->GetPackageListHandle (Context->Database, Context->Sample->HiiHandle, &Owner);
  TestExpect (
    !EFI_ERROR (Status) && Owner == Context->DriverHandle,
    "list-on-driver-handle",
    "GetPackageListHandle: %r, %a handle",
    Status,
    (Owner == Context->DriverHandle) ? "the driver's" : "another"
    );
}

// A FORM_SET in the forms package lists one of its first Flags & 3 class
// GUIDs as the platform-setup class: the Device Manager's rule.
BOOLEAN
ListedByDeviceManager (
  IN CONST UINT8  *Opcodes,
  IN UINTN        Size
  )
{
  UINTN  Offset;
  UINTN  Length;
  UINTN  Classes;

  for (Offset = 0; Offset + 2 <= Size; Offset += Length) {
    Length = Opcodes[Offset + 1] & 0x7F;
    if ((Length < 2) || (Offset + Length > Size)) {
      return FALSE;
    }

    if ((Opcodes[Offset] != EFI_IFR_FORM_SET_OP) || (Length < sizeof (EFI_IFR_FORM_SET))) {
      continue;
    }

    Classes = Opcodes[Offset + 22] & 3;
    for (UINTN Class = 0; Class < Classes && 23 + 16 * (Class + 1) <= Length; Class++) {
      if (FwGuidEqual (reinterpret_cast<CONST EFI_GUID *> (&Opcodes[Offset + 23 + 16 * Class]), &gEfiHiiPlatformSetupFormsetGuid)) {
        return TRUE;
      }
    }
  }

  return FALSE;
}

// The exported list keeps the forms and string packages as they were
// given, and carries the device path package made from the handle.
VOID
CheckExport (
  IN HII_CONTEXT  *Context
  )
{
  EFI_HII_PACKAGE_LIST_HEADER  *List;
  CONST UINT8                  *Package;
  CONST UINT8                  *End;
  UINTN                        Size;
  UINTN                        StringsSeen;
  UINT32                       Length;
  BOOLEAN                      FormsSame;
  BOOLEAN                      StringsSame;
  BOOLEAN                      PathSame;
  BOOLEAN                      Listed;
  EFI_STATUS                   Status;

  Size   = 0;
  Status = Context->Database->ExportPackageLists (Context->Database, Context->Sample->HiiHandle, &Size, NULL);
  if (!TestExpect (Status == EFI_BUFFER_TOO_SMALL, "export-size", "ExportPackageLists with no buffer: %r", Status) ||
      EFI_ERROR (gFwBS->AllocatePool (EfiBootServicesData, Size, reinterpret_cast<VOID **> (&List))))
  {
    return;
  }

  Status = Context->Database->ExportPackageLists (Context->Database, Context->Sample->HiiHandle, &Size, List);
  if (!TestExpect (
         !EFI_ERROR (Status) && FwGuidEqual (&List->PackageListGuid, &gHiiSamplePackageListGuid) && List->PackageLength == Size,
         "export-list-header",
         "%r, %lu bytes, header says %u",
         Status,
         static_cast<UINT64> (Size),
         List->PackageLength
         ))
  {
    gFwBS->FreePool (List);
    return;
  }

  FormsSame   = FALSE;
  StringsSame = TRUE;
  PathSame    = FALSE;
  Listed      = FALSE;
  StringsSeen = sizeof (UINT32);
  End         = reinterpret_cast<CONST UINT8 *> (List) + Size;
  for (Package = reinterpret_cast<CONST UINT8 *> (List + 1); Package + 4 <= End; Package += Length) {
    Length = HiiPackageLength (reinterpret_cast<CONST EFI_HII_PACKAGE_HEADER *> (Package));
    if ((Length < 4) || (Package + Length > End) || (Package[3] == EFI_HII_PACKAGE_END)) {
      break;
    }

    switch (Package[3]) {
      case EFI_HII_PACKAGE_FORMS:
        FormsSame = (BOOLEAN)(Length == ReadUint32 (HiiSampleBin) - 4 && BytesEqual (Package, HiiSampleBin + 4, Length));
        Listed    = ListedByDeviceManager (Package + 4, Length - 4);
        break;
      case EFI_HII_PACKAGE_STRINGS:
        // Exported in the order they were given, one after the other.
        StringsSame &= (BOOLEAN)(StringsSeen + Length <= sizeof (HiiSampleStrings) &&
                                 BytesEqual (Package, HiiSampleStrings + StringsSeen, Length));
        StringsSeen += Length;
        break;
      case EFI_HII_PACKAGE_DEVICE_PATH:
        PathSame = (BOOLEAN)(Length == 4 + sizeof (mDevicePathBytes) && BytesEqual (Package + 4, mDevicePathBytes, sizeof (mDevicePathBytes)));
        break;
      default:
        TestInfo ("export holds a package of type 0x%02x\n", static_cast<UINT32> (Package[3]));
        break;
    }
  }

  TestExpect (FormsSame, "export-forms-package-unchanged", "the forms package differs from the compiled one");
  TestExpect (
    StringsSame && StringsSeen == sizeof (HiiSampleStrings),
    "export-string-packages-unchanged",
    "%lu of %lu string package bytes match",
    static_cast<UINT64> (StringsSeen - sizeof (UINT32)),
    static_cast<UINT64> (sizeof (HiiSampleStrings) - sizeof (UINT32))
    );
  TestExpect (PathSame, "export-device-path-from-handle", "no device path package, or not the driver's path");
  TestExpect (Listed, "device-manager-lists-form-set", "no FORM_SET with the platform-setup class GUID");
  gFwBS->FreePool (List);
}

// Strings through our library, from OVMF's string protocol.
VOID
CheckStrings (
  IN HII_CONTEXT  *Context
  )
{
  typedef struct {
    EFI_STRING_ID    Id;
    CONST CHAR8      *Language;
    CONST CHAR16     *Text;
  } STRING_CASE;
  STATIC CONST STRING_CASE  mCases[] = {
    { 1,         "en-US", u"English"       },
    { 1,         "fr-FR", u"Fran\u00e7ais" },
    { STR_TITLE, "en-US", u"Sample"        },
    { STR_TITLE, "fr-FR", u"Exemple"       },
    { STR_OFF,   "fr-FR", u"Arr\u00eat"    },
    { STR_NAME,  "en-US", u"Name"          },
    { STR_NAME,  "fr-FR", u"Nom"           },
  };
  EFI_HII_HANDLE  Hii = Context->Sample->HiiHandle;
  CHAR8           Check[48];
  CHAR8           *Languages;
  EFI_STRING      Text;
  CHAR16          Buffer[16];
  UINTN           Size;
  EFI_STRING_ID   NewId;
  EFI_STATUS      Status;

  Languages = HiiGetSupportedLanguages (Hii);
  TestExpect (
    Languages != NULL && FwAsciiEqual (Languages, "en-US;fr-FR"),
    "languages-in-package-order",
    "\"%a\"",
    (Languages != NULL) ? Languages : "(none)"
    );
  if (Languages != NULL) {
    gFwBS->FreePool (Languages);
  }

  for (UINTN Index = 0; Index < ARRAY_SIZE (mCases); Index++) {
    FwSPrint (Check, sizeof (Check), "string-%u-%a", static_cast<UINT32> (mCases[Index].Id), mCases[Index].Language);
    Text = HiiGetString (Hii, mCases[Index].Id, mCases[Index].Language);
    TestExpect (Text != NULL && FwStrEqual (Text, mCases[Index].Text), Check, "read \"%s\"", (Text != NULL) ? Text : u"(null)");
    if (Text != NULL) {
      gFwBS->FreePool (Text);
    }
  }

  // French skips the help text: no fallback to English.
  Text = HiiGetString (Hii, STR_HELP, "fr-FR");
  Size = sizeof (Buffer);
  Status = Context->Strings->GetString (Context->Strings, "fr-FR", Hii, STR_HELP, Buffer, &Size, NULL);
  TestExpect (
    Text == NULL && Status == EFI_INVALID_LANGUAGE,
    "skipped-string-missing-in-that-language",
    "HiiGetString %a, GetString %r",
    (Text == NULL) ? "NULL" : "found text",
    Status
    );
  if (Text != NULL) {
    gFwBS->FreePool (Text);
  }

  // A new string takes the next id in every language; the database
  // refuses this when the languages end at different ids.
  NewId = HiiSetString (Hii, 0, u"Run time", NULL);
  TestExpect (NewId == STR_NAME + 1, "new-string-next-id", "HiiSetString gave id %u", static_cast<UINT32> (NewId));
  for (UINTN Index = 0; Index < 2 && NewId != 0; Index++) {
    CONST CHAR8  *Language = (Index == 0) ? "en-US" : "fr-FR";

    FwSPrint (Check, sizeof (Check), "new-string-%a", Language);
    Text = HiiGetString (Hii, NewId, Language);
    TestExpect (Text != NULL && FwStrEqual (Text, u"Run time"), Check, "read \"%s\"", (Text != NULL) ? Text : u"(null)");
    if (Text != NULL) {
      gFwBS->FreePool (Text);
    }
  }
}

// Asks the router for Request and checks that the driver was asked for
// DriverRequest and that the first section's values are Expected's bytes.
// Returns the response (pool, freed by the caller) or NULL.
CHAR16 *
ExtractThroughRouter (
  IN HII_CONTEXT     *Context,
  IN CONST CHAR8     *Check,
  IN CONST CHAR16    *Request,
  IN CONST CHAR16    *DriverRequest,
  IN CONST HII_SAMPLE_VAR  *Expected
  )
{
  HII_SAMPLE_VAR  Decoded;
  BOOLEAN         Covered[sizeof (HII_SAMPLE_VAR)];
  CHAR8           Name[64];
  CONST CHAR16    *Progress;
  CHAR16          *Results;
  UINT32          CallsBefore;
  BOOLEAN         Same;
  EFI_STATUS      Status;

  CallsBefore = Context->Sample->ExtractCalls;
  Progress    = NULL;
  Results     = NULL;
  Status      = Context->Routing->ExtractConfig (Context->Routing, Request, &Progress, &Results);
  if (!TestExpect (
         !EFI_ERROR (Status) && Results != NULL && Progress == Request + FwStrLen (Request),
         Check,
         "ExtractConfig: %r, progress at %ld of %lu",
         Status,
         static_cast<INT64> ((Progress != NULL) ? Progress - Request : -1),
         static_cast<UINT64> (FwStrLen (Request))
         ))
  {
    return NULL;
  }

  FwSPrint (Name, sizeof (Name), "%a-reaches-driver", Check);
  TestExpect (
    Context->Sample->ExtractCalls == CallsBefore + 1 && FwStrEqual (Context->Sample->LastRequest, DriverRequest),
    Name,
    "%u driver calls; the driver was asked \"%s\"",
    Context->Sample->ExtractCalls - CallsBefore,
    Context->Sample->LastRequest
    );

  // Only the bytes the response covers are compared.
  Same = ConfigDecodeBlocks (Results, reinterpret_cast<UINT8 *> (&Decoded), Covered, sizeof (Decoded));
  for (UINTN Index = 0; Same && Index < sizeof (Decoded); Index++) {
    Same = (BOOLEAN)(!Covered[Index] || reinterpret_cast<CONST UINT8 *> (&Decoded)[Index] == reinterpret_cast<CONST UINT8 *> (Expected)[Index]);
  }

  FwSPrint (Name, sizeof (Name), "%a-value-bytes", Check);
  if (!TestExpect (Same && ConfigStartsWith (Results, Request), Name, "unexpected response")) {
    ConfigLogText ("response:", Results);
  }

  return Results;
}

// ExportConfig asks every driver for all of its storage with no request:
// the driver must build its own and answer once.
VOID
CheckExportConfig (
  IN HII_CONTEXT           *Context,
  IN CONST CHAR16          *Header,
  IN CONST HII_SAMPLE_VAR  *Expected
  )
{
  HII_SAMPLE_VAR  Decoded;
  BOOLEAN         Covered[sizeof (HII_SAMPLE_VAR)];
  CHAR16          *Results;
  CONST CHAR16    *Section;
  UINT32          CallsBefore;
  BOOLEAN         Same;
  EFI_STATUS      Status;

  CallsBefore = Context->Sample->ExtractCalls;
  Results     = NULL;
  Status      = Context->Routing->ExportConfig (Context->Routing, &Results);
  TestExpect (
    Context->Sample->ExtractCalls == CallsBefore + 1 && Context->Sample->LastRequest[0] == 0,
    "export-config-asks-driver-without-request",
    "%u driver calls, last asked \"%s\"",
    Context->Sample->ExtractCalls - CallsBefore,
    Context->Sample->LastRequest
    );
  Section = (!EFI_ERROR (Status) && Results != NULL) ? ConfigFind (Results, Header) : NULL;
  Same    = (BOOLEAN)(Section != NULL &&
                      ConfigStartsWith (Section + FwStrLen (Header), u"&OFFSET=0&WIDTH=000c&VALUE=") &&
                      ConfigDecodeBlocks (Section, reinterpret_cast<UINT8 *> (&Decoded), Covered, sizeof (Decoded)) &&
                      SameStore (&Decoded, Expected));
  TestExpect (
    Same,
    "export-config-holds-whole-store",
    "ExportConfig: %r, %a",
    Status,
    (Section != NULL) ? "store section differs" : "no section for the store"
    );
  if (Results != NULL) {
    gFwBS->FreePool (Results);
  }
}

// The router, through the driver's handlers: the whole store, one element,
// a header-only request, then a changed element routed back.
VOID
CheckRouting (
  IN HII_CONTEXT  *Context
  )
{
  STATIC EFI_GUID  mStoreGuid = HII_SAMPLE_STORE_GUID;
  STATIC CHAR16   mRequest[CONFIG_MAX];
  STATIC CHAR16   mDriverRequest[CONFIG_MAX];
  HII_SAMPLE_VAR  Expected;
  CHAR16          *Header;
  CHAR16          *Results;
  CONST CHAR16    *Progress;
  UINT32          RoutesBefore;
  EFI_STATUS      Status;

  Header = HiiConstructConfigHdr (&mStoreGuid, HII_SAMPLE_STORE_NAME, Context->DriverHandle);
  if (!TestExpect (
         Header != NULL && FwStrEqual (Header, mExpectedHeader),
         "config-header-from-driver-handle",
         "\"%s\"",
         (Header != NULL) ? Header : u"(null)"
         ))
  {
    if (Header != NULL) {
      gFwBS->FreePool (Header);
    }

    return;
  }

  Expected = gHiiSampleInitialStore;

  // The whole store, as the browser asks for it when it opens the form set.
  mRequest[0] = 0;
  ConfigAppend (mRequest, CONFIG_MAX, Header);
  ConfigAppend (mRequest, CONFIG_MAX, u"&OFFSET=0&WIDTH=000c");
  Results = ExtractThroughRouter (Context, "extract-whole-store", mRequest, mRequest, &Expected);
  if (Results != NULL) {
    // The router's own additions (default sections) are shown, not judged.
    TestInfo ("the router added %lu default sections to the driver's answer\n", static_cast<UINT64> (ConfigCountAltCfg (Results)));
    ConfigLogText ("whole-store response:", Results);
    gFwBS->FreePool (Results);
  }

  // One element: Count, two bytes.
  mRequest[0] = 0;
  ConfigAppend (mRequest, CONFIG_MAX, Header);
  ConfigAppend (mRequest, CONFIG_MAX, u"&OFFSET=1&WIDTH=2");
  Results = ExtractThroughRouter (Context, "extract-one-element", mRequest, mRequest, &Expected);
  if (Results != NULL) {
    TestExpect (ConfigFind (Results, u"&VALUE=0063") != NULL, "one-element-most-significant-first", "Count 0x0063 not written 0063");
    gFwBS->FreePool (Results);
  }

  // No items: the router fills in one per question of the store.
  mDriverRequest[0] = 0;
  ConfigAppend (mDriverRequest, CONFIG_MAX, Header);
  ConfigAppend (mDriverRequest, CONFIG_MAX, mQuestionItems);
  Results = ExtractThroughRouter (Context, "extract-header-only", Header, mDriverRequest, &Expected);
  if (Results != NULL) {
    gFwBS->FreePool (Results);
  }

  // A changed element routed to the driver, then read back.
  mRequest[0] = 0;
  ConfigAppend (mRequest, CONFIG_MAX, Header);
  ConfigAppend (mRequest, CONFIG_MAX, u"&OFFSET=1&WIDTH=2&VALUE=0042");
  RoutesBefore = Context->Sample->RouteCalls;
  Progress     = NULL;
  Status       = Context->Routing->RouteConfig (Context->Routing, mRequest, &Progress);
  Expected.Count = 0x0042;
  TestExpect (
    !EFI_ERROR (Status) && Progress == mRequest + FwStrLen (mRequest) && Context->Sample->RouteCalls == RoutesBefore + 1 &&
    FwStrEqual (Context->Sample->LastRequest, mRequest),
    "route-reaches-driver",
    "RouteConfig: %r, %u driver calls, driver saw \"%s\"",
    Status,
    Context->Sample->RouteCalls - RoutesBefore,
    Context->Sample->LastRequest
    );
  TestExpect (
    SameStore (&Context->Sample->Store, &Expected),
    "route-changes-only-that-element",
    "Mode %u Count 0x%x Enabled %u",
    static_cast<UINT32> (Context->Sample->Store.Mode),
    static_cast<UINT32> (Context->Sample->Store.Count),
    static_cast<UINT32> (Context->Sample->Store.Enabled)
    );

  mRequest[0] = 0;
  ConfigAppend (mRequest, CONFIG_MAX, Header);
  ConfigAppend (mRequest, CONFIG_MAX, u"&OFFSET=0&WIDTH=000c");
  Results = ExtractThroughRouter (Context, "extract-after-route", mRequest, mRequest, &Expected);
  if (Results != NULL) {
    gFwBS->FreePool (Results);
  }

  CheckExportConfig (Context, Header, &Expected);
  gFwBS->FreePool (Header);
}

}  // namespace

SCENARIO_RESULT
HiiSampleScenario (
  IN UINT32  Boot
  )
{
  HII_CONTEXT  Context;

  (VOID)Boot;
  // Our HII library is used here as a driver uses it.
  ProcessCommonLibraryConstructors (gFwImageHandle, gFwST);
  Context.Database = static_cast<EFI_HII_DATABASE_PROTOCOL *> (Locate (&gEfiHiiDatabaseProtocolGuid));
  Context.Strings  = static_cast<EFI_HII_STRING_PROTOCOL *> (Locate (&gEfiHiiStringProtocolGuid));
  Context.Routing  = static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *> (Locate (&gEfiHiiConfigRoutingProtocolGuid));
  if (!TestExpect (
         Context.Database != NULL && Context.Strings != NULL && Context.Routing != NULL,
         "ovmf-hii-services",
         "database %a, strings %a, routing %a",
         (Context.Database != NULL) ? "found" : "missing",
         (Context.Strings != NULL) ? "found" : "missing",
         (Context.Routing != NULL) ? "found" : "missing"
         ) ||
      !StartSampleDriver (&Context))
  {
    return ScenarioDone;
  }

  CheckListHandles (&Context);
  CheckExport (&Context);      // before the new string changes the string packages
  CheckStrings (&Context);
  CheckRouting (&Context);
  return ScenarioDone;
}

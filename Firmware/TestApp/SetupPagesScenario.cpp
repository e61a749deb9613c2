/** @file
  The module and goal pages in OVMF (two boots). The application plays the
  form browser's part around the driver's callback: it keeps the browser's
  copies of the page stores, loads SetupVar through OVMF's router as a
  browser opening the form set does, and answers the driver's
  HiiGetBrowserData and HiiSetBrowserData by passing the text through
  OVMF's BlockToConfig and ConfigToBlock. It stands in for OVMF's browser
  interface (reinstalled on the same handle, SendForm kept), because OVMF's
  browser serves browser data only while it shows a form.

  Boot 1 sends CHANGING for the module details link and processor 1's link
  and reads processor 1's page; opens Goals, ticks processor 1 (CHANGED),
  sets half memory mode and presses "Press to Create Goal"; reads the
  pending-goal page. Boot 2: the vendor image's memory initialisation
  applied the goal, so processor 1's page shows half of each module as
  memory, processor 2's is unchanged, and no goal is pending.

  Offsets are written down here from the stores' required layouts, not
  taken from the driver's header.
**/
#include "SetupFormScenario.h"
#include "DebugLogSpy.h"
#include "HiiConfigText.h"
#include "ScenarioHelpers.h"
#include "TestReport.h"
#include <Protocol/DevicePath.h>
#include <Protocol/FormBrowser2.h>
#include <Protocol/HiiConfigAccess.h>

#define HEADER_MAX  256

// SetupVar.
#define SETUP_VAR_SIZE                0x1EE
#define SETUP_VAR_GOAL_SOCKET_PRESENT 0x0E8
#define SETUP_VAR_CREATE_GOAL_SCOPE   0x0FC
#define SETUP_VAR_CREATE_GOAL_SOCKET  0x0FD
#define SETUP_VAR_VOLATILE_PERCENT    0x10D
#define SETUP_VAR_PERSISTENT_MEM_TYPE 0x10E
// SetupDimmDetailsVar: six 525-byte blocks, then ModuleCount.
#define DIMM_DETAILS_SIZE          3154
#define DIMM_BLOCK_SIZE            525
#define DIMM_BLOCK_FW_VERSION      256
#define DIMM_BLOCK_RAW             294
#define DIMM_BLOCK_MEMORY          332
#define DIMM_BLOCK_APP_DIRECT      370
#define DIMM_BLOCK_PERCENT         522
#define DIMM_BLOCK_CONFIGURED      523
#define DIMM_BLOCK_SECURITY        524
#define DIMM_DETAILS_MODULE_COUNT  0xC4E
// SetupPendingGoalDetailsVar: flags, then six 370-byte blocks from 0x00A.
#define PENDING_SIZE            2230
#define PENDING_EXISTS          0x000
#define PENDING_SOCKET          0x001
#define PENDING_MODULE_COUNT    0x009
#define PENDING_BLOCK           0x00A
#define PENDING_BLOCK_MEMORY    256
#define PENDING_BLOCK_APP_DIRECT1  294
#define REGION_DETAILS_SIZE     306

#define TEXT_CHARS  19

// Questions the browser sends.
#define QID_DIMM_DETAILS     0x0008
#define QID_GOALS            0x0009
#define QID_CREATE_GOAL      0x000D
#define QID_SOCKET_LINK      0x1000
#define QID_CREATE_SOCKET    0x2000
#define QID_PENDING_LINK     0x2040

namespace {

typedef struct {
  CONST CHAR16  *Name;
  UINTN         Size;
  UINT8         *Data;
  CONST CHAR16  *Whole;   // the request element of the whole store
} PAGE_STORE;

UINT8  mSetupVar[SETUP_VAR_SIZE];
UINT8  mDimmDetails[DIMM_DETAILS_SIZE];
UINT8  mPendingGoal[PENDING_SIZE];
UINT8  mRegionDetails[REGION_DETAILS_SIZE];

PAGE_STORE  mStores[] = {
  { u"SetupVar",                   sizeof (mSetupVar),      mSetupVar,      u"OFFSET=0&WIDTH=01ee" },
  { u"SetupDimmDetailsVar",        sizeof (mDimmDetails),   mDimmDetails,   u"OFFSET=0&WIDTH=0c52" },
  { u"SetupPendingGoalDetailsVar", sizeof (mPendingGoal),   mPendingGoal,   u"OFFSET=0&WIDTH=08b6" },
  { u"SetupRegionDetailsVar",      sizeof (mRegionDetails), mRegionDetails, u"OFFSET=0&WIDTH=0132" },
};

SETUP_CONTEXT               mContext;
EFI_FORM_BROWSER2_PROTOCOL  mStandIn;
EFI_FORM_BROWSER2_PROTOCOL  *mOvmfBrowser;
CONST UINT8                 *mDriverPath;
UINTN                       mBrowserCalls;

PAGE_STORE *
FindStore (
  IN CONST EFI_GUID  *Guid,
  IN CONST CHAR16    *Name
  )
{
  if ((Guid == NULL) || (Name == NULL) || !FwGuidEqual (Guid, &gExpectSetupFormSetGuid)) {
    return NULL;
  }

  for (UINTN Index = 0; Index < ARRAY_SIZE (mStores); Index++) {
    if (FwStrEqual (Name, mStores[Index].Name)) {
      return &mStores[Index];
    }
  }

  return NULL;
}

// A pool copy of Header, then "&", then Tail; NULL when out of pool.
CHAR16 *
JoinConfig (
  IN CONST CHAR16  *Header,
  IN CONST CHAR16  *Tail
  )
{
  UINTN   Chars = FwStrLen (Header) + 1 + FwStrLen (Tail) + 1;
  CHAR16  *Text;

  if (EFI_ERROR (gFwBS->AllocatePool (EfiBootServicesData, Chars * sizeof (CHAR16), reinterpret_cast<VOID **> (&Text)))) {
    return NULL;
  }

  Text[0] = 0;
  ConfigAppend (Text, Chars, Header);
  ConfigAppend (Text, Chars, u"&");
  ConfigAppend (Text, Chars, Tail);
  return Text;
}

// The browser's side of HiiGetBrowserData and HiiSetBrowserData for the
// page stores: the text goes through OVMF's router both ways.
EFI_STATUS
EFIAPI
StandInBrowserCallback (
  IN CONST EFI_FORM_BROWSER2_PROTOCOL  *This,
  IN OUT UINTN                         *ResultsDataSize,
  IN OUT EFI_STRING                    ResultsData,
  IN BOOLEAN                           RetrieveData,
  IN CONST EFI_GUID                    *VariableGuid OPTIONAL,
  IN CONST CHAR16                      *VariableName OPTIONAL
  )
{
  STATIC CHAR16    mHeader[HEADER_MAX];
  PAGE_STORE       *Store;
  CHAR16           *Config;
  CHAR16           *Results;
  CONST CHAR16     *Body;
  CONST CHAR16     *Progress;
  UINTN            Size;
  UINTN            Need;
  EFI_STATUS       Status;

  (VOID)This;
  mBrowserCalls++;
  Store = FindStore (VariableGuid, VariableName);
  if ((Store == NULL) || (ResultsDataSize == NULL) ||
      !SetupBuildConfigHeader (&gExpectSetupFormSetGuid, Store->Name, mDriverPath, sizeof (gExpectSetupDevicePath), mHeader, HEADER_MAX))
  {
    return EFI_NOT_FOUND;
  }

  if (!RetrieveData) {
    Config = JoinConfig (mHeader, ResultsData);
    if (Config == NULL) {
      return EFI_OUT_OF_RESOURCES;
    }

    Size   = Store->Size;
    Status = mContext.Routing->ConfigToBlock (mContext.Routing, Config, Store->Data, &Size, &Progress);
    gFwBS->FreePool (Config);
    return Status;
  }

  Config = JoinConfig (mHeader, Store->Whole);
  if (Config == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }

  Results = NULL;
  Status  = mContext.Routing->BlockToConfig (mContext.Routing, Config, Store->Data, Store->Size, &Results, &Progress);
  gFwBS->FreePool (Config);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  // The browser answers without the routing header.
  Body = ConfigFind (Results, u"OFFSET=");
  if (Body == NULL) {
    gFwBS->FreePool (Results);
    return EFI_DEVICE_ERROR;
  }

  Need = (FwStrLen (Body) + 1) * sizeof (CHAR16);
  if (*ResultsDataSize < Need) {
    *ResultsDataSize = Need;
    gFwBS->FreePool (Results);
    return EFI_BUFFER_TOO_SMALL;
  }

  gFwBS->CopyMem (ResultsData, const_cast<CHAR16 *> (Body), Need);
  *ResultsDataSize = Need;
  gFwBS->FreePool (Results);
  return EFI_SUCCESS;
}

// OVMF's browser interface replaced by the stand-in on its own handle.
BOOLEAN
InstallStandIn (
  VOID
  )
{
  EFI_HANDLE  *Handles;
  UINTN       Count;
  VOID        *Path;
  EFI_STATUS  Status;

  Status = gFwBS->HandleProtocol (mContext.SetupHandle, &gEfiDevicePathProtocolGuid, &Path);
  if (!TestExpect (!EFI_ERROR (Status), "driver-device-path", "HandleProtocol: %r", Status)) {
    return FALSE;
  }

  mDriverPath = static_cast<CONST UINT8 *> (Path);
  Status      = gFwBS->LocateHandleBuffer (ByProtocol, &gEfiFormBrowser2ProtocolGuid, NULL, &Count, &Handles);
  if (!TestExpect (!EFI_ERROR (Status) && Count >= 1, "ovmf-form-browser", "LocateHandleBuffer: %r", Status)) {
    return FALSE;
  }

  Status = gFwBS->HandleProtocol (Handles[0], &gEfiFormBrowser2ProtocolGuid, reinterpret_cast<VOID **> (&mOvmfBrowser));
  if (!EFI_ERROR (Status)) {
    mStandIn.SendForm        = mOvmfBrowser->SendForm;
    mStandIn.BrowserCallback = StandInBrowserCallback;
    Status                   = gFwBS->ReinstallProtocolInterface (Handles[0], &gEfiFormBrowser2ProtocolGuid, mOvmfBrowser, &mStandIn);
  }

  gFwBS->FreePool (Handles);
  return TestExpect (!EFI_ERROR (Status), "browser-stand-in", "ReinstallProtocolInterface: %r", Status);
}

// SetupVar as the browser loads it when the form set opens: through OVMF's
// router from the driver's extract.
BOOLEAN
LoadSetupVar (
  VOID
  )
{
  STATIC CHAR16   mHeader[HEADER_MAX];
  STATIC BOOLEAN  mCovered[SETUP_VAR_SIZE];
  CHAR16          *Request;
  CHAR16          *Results;
  CONST CHAR16    *Progress;
  EFI_STATUS      Status;

  if (!SetupBuildConfigHeader (&gExpectSetupFormSetGuid, u"SetupVar", mDriverPath, sizeof (gExpectSetupDevicePath), mHeader, HEADER_MAX)) {
    return FALSE;
  }

  Request = JoinConfig (mHeader, mStores[0].Whole);
  if (Request == NULL) {
    return FALSE;
  }

  Results = NULL;
  Status  = mContext.Routing->ExtractConfig (mContext.Routing, Request, &Progress, &Results);
  gFwBS->FreePool (Request);
  // The router's answer carries the default sections after the store's own
  // items; only the first section is the current value.
  if (!EFI_ERROR (Status) && !ConfigDecodeBlocks (Results, mSetupVar, mCovered, sizeof (mSetupVar))) {
    Status = EFI_INVALID_PARAMETER;
  }

  if (Results != NULL) {
    gFwBS->FreePool (Results);
  }

  return TestExpect (!EFI_ERROR (Status), "setup-var-loaded", "ExtractConfig and ConfigToBlock: %r", Status);
}

// One call of the driver's callback as the browser sends it.
EFI_STATUS
Send (
  IN EFI_BROWSER_ACTION  Action,
  IN EFI_QUESTION_ID     Question
  )
{
  EFI_HII_CONFIG_ACCESS_PROTOCOL  *Access;
  EFI_IFR_TYPE_VALUE              Value;
  EFI_BROWSER_ACTION_REQUEST      Request;

  if (EFI_ERROR (gFwBS->HandleProtocol (mContext.SetupHandle, &gEfiHiiConfigAccessProtocolGuid, reinterpret_cast<VOID **> (&Access)))) {
    return EFI_NOT_FOUND;
  }

  gFwBS->SetMem (&Value, sizeof (Value), 0);
  Value.b = 1;
  Request = EFI_BROWSER_ACTION_REQUEST_NONE;
  return Access->Callback (Access, Action, Question, EFI_IFR_TYPE_NUM_SIZE_8, &Value, &Request);
}

// A text field equals Expected (NUL within the field).
BOOLEAN
TextIs (
  IN CONST UINT8   *Store,
  IN UINTN         Offset,
  IN CONST CHAR16  *Expected
  )
{
  CHAR16  Text[TEXT_CHARS + 1];

  for (UINTN Index = 0; Index < TEXT_CHARS; Index++) {
    Text[Index] = static_cast<CHAR16> (Store[Offset + 2 * Index] | (Store[Offset + 2 * Index + 1] << 8));
  }

  Text[TEXT_CHARS] = 0;
  return FwStrEqual (Text, Expected);
}

// Processor Socket's module page: six blocks of 128 GiB modules, each with
// Memory of memory mode and the rest App Direct.
VOID
CheckModulePage (
  IN CONST CHAR8   *Check,
  IN UINT16        Socket,
  IN CONST CHAR16  *Memory,
  IN CONST CHAR16  *AppDirect
  )
{
  EFI_STATUS  Status;
  UINTN       Good;
  CONST UINT8 *Block;

  gFwBS->SetMem (mDimmDetails, sizeof (mDimmDetails), 0);
  Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_SOCKET_LINK + Socket);
  Good   = 0;
  for (UINTN Index = 0; Index < 6; Index++) {
    Block = mDimmDetails + Index * DIMM_BLOCK_SIZE;
    Good += (TextIs (Block, DIMM_BLOCK_FW_VERSION, u"01.02.00.5375") && TextIs (Block, DIMM_BLOCK_RAW, u"128.0 GB") &&
             TextIs (Block, DIMM_BLOCK_MEMORY, Memory) && TextIs (Block, DIMM_BLOCK_APP_DIRECT, AppDirect) &&
             Block[DIMM_BLOCK_PERCENT] == 100 && Block[DIMM_BLOCK_CONFIGURED] == 1 && Block[DIMM_BLOCK_SECURITY] == 1)
            ? 1 : 0;
  }

  TestExpect (
    Status == EFI_SUCCESS && ReadUint32 (mDimmDetails + DIMM_DETAILS_MODULE_COUNT) == 6 && Good == 6,
    Check,
    "callback %r, ModuleCount %u, %lu blocks as expected (memory \"%s\")",
    Status,
    ReadUint32 (mDimmDetails + DIMM_DETAILS_MODULE_COUNT),
    static_cast<UINT64> (Good),
    Memory
    );
}

BOOLEAN
StartPages (
  VOID
  )
{
  gFwBS->SetMem (&mContext, sizeof (mContext), 0);
  gFwBS->SetMem (mSetupVar, sizeof (mSetupVar), 0);
  gFwBS->SetMem (mPendingGoal, sizeof (mPendingGoal), 0);
  return SetupStartDriverForPages (&mContext) && InstallStandIn () && LoadSetupVar ();
}

VOID
CreateGoal (
  VOID
  )
{
  EFI_STATUS  Status;
  UINTN       Good;
  CONST UINT8 *Block;

  Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_GOALS);
  TestExpect (
    Status == EFI_SUCCESS && mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT] == 1 && mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT + 1] == 1 &&
    mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT + 2] == 0 && mPendingGoal[PENDING_EXISTS] == 0,
    "goals-page-flags",
    "callback %r, processors %u %u %u present, pending %u",
    Status,
    mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT],
    mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT + 1],
    mSetupVar[SETUP_VAR_GOAL_SOCKET_PRESENT + 2],
    mPendingGoal[PENDING_EXISTS]
    );

  // The user picks scope Processor, ticks processor 1, half memory mode.
  mSetupVar[SETUP_VAR_CREATE_GOAL_SCOPE]   = 1;
  mSetupVar[SETUP_VAR_CREATE_GOAL_SOCKET]  = 1;
  mSetupVar[SETUP_VAR_VOLATILE_PERCENT]    = 50;
  mSetupVar[SETUP_VAR_PERSISTENT_MEM_TYPE] = 1;
  Status = Send (EFI_BROWSER_ACTION_CHANGED, QID_CREATE_SOCKET);
  TestExpect (Status == EFI_SUCCESS && mSetupVar[SETUP_VAR_CREATE_GOAL_SOCKET] == 1, "processor-1-ticked", "callback %r, box %u", Status, mSetupVar[SETUP_VAR_CREATE_GOAL_SOCKET]);

  Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_CREATE_GOAL);
  TestExpect (
    Status == EFI_SUCCESS && mPendingGoal[PENDING_EXISTS] == 1 && mPendingGoal[PENDING_SOCKET] == 1 && mPendingGoal[PENDING_SOCKET + 1] == 0,
    "goal-created-pending-on-processor-1",
    "callback %r, pending %u, processors %u %u",
    Status,
    mPendingGoal[PENDING_EXISTS],
    mPendingGoal[PENDING_SOCKET],
    mPendingGoal[PENDING_SOCKET + 1]
    );

  Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_PENDING_LINK);
  Good   = 0;
  for (UINTN Index = 0; Index < 6; Index++) {
    Block = mPendingGoal + PENDING_BLOCK + Index * 370;
    Good += (TextIs (Block, PENDING_BLOCK_MEMORY, u"64.0 GB") && TextIs (Block, PENDING_BLOCK_APP_DIRECT1, u"64.0 GB")) ? 1 : 0;
  }

  TestExpect (
    Status == EFI_SUCCESS && mPendingGoal[PENDING_MODULE_COUNT] == 6 && Good == 6,
    "pending-goal-page",
    "callback %r, %u blocks, %lu with 64.0 GB memory and App Direct",
    Status,
    mPendingGoal[PENDING_MODULE_COUNT],
    static_cast<UINT64> (Good)
    );
}

}  // namespace

SCENARIO_RESULT
SetupPages (
  IN UINT32  Boot
  )
{
  SCENARIO_RESULT  Result;
  EFI_STATUS       Status;

  Result = ScenarioDone;
  if (StartPages ()) {
    Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_DIMM_DETAILS);
    TestExpect (Status == EFI_SUCCESS, "details-links", "callback %r", Status);
    if (Boot == 1) {
      CheckModulePage ("processor-1-page", 0, u"0 B", u"128.0 GB");
      CreateGoal ();
      Result = ScenarioNextBoot;
    } else {
      CheckModulePage ("processor-1-page-goal-applied", 0, u"64.0 GB", u"64.0 GB");
      CheckModulePage ("processor-2-page-unchanged", 1, u"0 B", u"128.0 GB");
      Status = Send (EFI_BROWSER_ACTION_CHANGING, QID_GOALS);
      TestExpect (Status == EFI_SUCCESS && mPendingGoal[PENDING_EXISTS] == 0, "no-goal-pending-after-reboot", "callback %r, pending %u", Status, mPendingGoal[PENDING_EXISTS]);
    }

    TestExpect (mBrowserCalls > 0, "browser-data-through-ovmf-router", "%lu browser data calls", static_cast<UINT64> (mBrowserCalls));
  }

  LogSpyStop ();
  return Result;
}

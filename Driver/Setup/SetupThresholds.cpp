/** @file
  The alarm threshold kept in two copies: CarvekConfigVar, which holds the
  threshold in force and the user's pending choice across resets, and the
  browser's copy shown on the page. A chosen value is stored at once; only
  a save puts it in force (and on the modules), only a discard drops it.
**/
#include "SetupThresholds.h"
#include "CarvexSetupVar.h"
#include "../NvmDimmConfig/Thresholds.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

STATIC CHAR16  mCarvekConfigVarName[] = CARVEK_CONFIG_VAR_NAME;

STATIC
VOID
DumpConfigVar (
  IN CONST CHAR16             *Label,
  IN CONST CARVEK_CONFIG_VAR  *pStored,
  IN CONST CARVEK_CONFIG_VAR  *pBrowser
  )
{
  DEBUG ((DEBUG_INFO, "CarvexConfigVar %s\n", Label));
  DEBUG ((
    DEBUG_INFO,
    "  Variable: Thresholds %d, ThresholdsCache %d, VarChanged %d, LoadDefaultFlag %d\n",
    (UINT32)pStored->ThirdPartyPercentageRemainingThresholds,
    (UINT32)pStored->ThirdPartyPercentageRemainingThresholdsCache,
    (UINT32)pStored->VarChanged,
    (UINT32)pStored->LoadDefaultFlag
    ));
  DEBUG ((
    DEBUG_INFO,
    "  Browser:  Thresholds %d, ThresholdsCache %d, VarChanged %d, LoadDefaultFlag %d\n",
    (UINT32)pBrowser->ThirdPartyPercentageRemainingThresholds,
    (UINT32)pBrowser->ThirdPartyPercentageRemainingThresholdsCache,
    (UINT32)pBrowser->VarChanged,
    (UINT32)pBrowser->LoadDefaultFlag
    ));
}

EFI_STATUS
EFIAPI
SetupActionsForThresholds (
  IN UINT16  Action
  )
{
  EFI_STATUS         Status;
  CARVEK_CONFIG_VAR  Stored;
  CARVEK_CONFIG_VAR  Browser;
  BOOLEAN            BrowserOk;
  UINT32             Attributes;
  UINTN              DataSize;
  UINT8              Threshold;

  DEBUG ((DEBUG_INFO, "SetupActionsForThresholds: Entry Action = 0x%X\n", (UINT32)Action));

  ZeroMem (&Stored, sizeof (Stored));
  ZeroMem (&Browser, sizeof (Browser));
  // Outside the browser (leaving setup) there may be no copy to read: the
  // action then works on the variable alone.
  BrowserOk = HiiGetBrowserData (&gCarvexSetupFormSetGuid, mCarvekConfigVarName, sizeof (Browser), (UINT8 *)&Browser);
  if (!BrowserOk) {
    DEBUG ((DEBUG_ERROR, "SetupActionsForThresholds: HiiGetBrowserData failure\n"));
  }

  // The platform creates the variable; one that is absent, or of another
  // size, is left alone.
  Attributes = 0;
  DataSize   = sizeof (Stored);
  Status     = gRT->GetVariable (mCarvekConfigVarName, &gCarvexSetupFormSetGuid, &Attributes, &DataSize, &Stored);
  if (!EFI_ERROR (Status) && (DataSize != sizeof (Stored))) {
    Status = EFI_BAD_BUFFER_SIZE;
  }

  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "SetupActionsForThresholds: GetVariable %s:%r\n", mCarvekConfigVarName, Status));
    return Status;
  }

  DumpConfigVar (u"ORG", &Stored, &Browser);

  switch (Action) {
    case THRESHOLD_ACTION_SAVE:
      Threshold = BrowserOk ? Browser.ThirdPartyPercentageRemainingThresholdsCache
                            : Stored.ThirdPartyPercentageRemainingThresholdsCache;
      if (Stored.LoadDefaultFlag == 1) {
        Threshold = THRESHOLD_DEFAULT_PERCENT;
      }

      Stored.ThirdPartyPercentageRemainingThresholds      = Threshold;
      Stored.ThirdPartyPercentageRemainingThresholdsCache = Threshold;
      Stored.VarChanged                                   = 0;
      Stored.LoadDefaultFlag                              = 0;
      // Every save pushes; only modules whose threshold differs are written,
      // and a module that fails is logged there.
      ConfigPercentageRemainingThresholds (Threshold);
      break;

    case THRESHOLD_ACTION_DISCARD:
      Stored.ThirdPartyPercentageRemainingThresholdsCache = Stored.ThirdPartyPercentageRemainingThresholds;
      Stored.VarChanged                                   = 0;
      Stored.LoadDefaultFlag                              = 0;
      if (BrowserOk) {
        Browser.ThirdPartyPercentageRemainingThresholds      = Stored.ThirdPartyPercentageRemainingThresholds;
        Browser.ThirdPartyPercentageRemainingThresholdsCache = Stored.ThirdPartyPercentageRemainingThresholds;
        Browser.VarChanged                                   = 0;
        Browser.LoadDefaultFlag                              = 0;
      }

      break;

    case THRESHOLD_ACTION_LOAD_DEFAULTS:
      // The browser loads the questions' own defaults; the flag makes the
      // next page entry or save use the default too.
      Stored.LoadDefaultFlag = 1;
      break;

    case THRESHOLD_ACTION_VALUE_CHANGED:
      // The choice is stored at once, so that it survives leaving the page
      // or a reset until a save or discard resolves it. Without the
      // browser's copy there is no choice to store (its zeros are not one).
      if (BrowserOk &&
          (Browser.ThirdPartyPercentageRemainingThresholdsCache != Stored.ThirdPartyPercentageRemainingThresholdsCache))
      {
        Stored.ThirdPartyPercentageRemainingThresholdsCache = Browser.ThirdPartyPercentageRemainingThresholdsCache;
        Stored.VarChanged                                   = 1;
        Browser.VarChanged                                  = 1;
      }

      break;

    case THRESHOLD_ACTION_PAGE_ENTERED:
      if (!BrowserOk) {
        break;
      }

      if (Stored.LoadDefaultFlag == 1) {
        Browser.ThirdPartyPercentageRemainingThresholds      = Stored.ThirdPartyPercentageRemainingThresholds;
        Browser.ThirdPartyPercentageRemainingThresholdsCache = THRESHOLD_DEFAULT_PERCENT;
        Browser.VarChanged                                   = 0;
        Browser.LoadDefaultFlag                              = 0;
        Stored.LoadDefaultFlag                               = 0;
      } else if (Stored.VarChanged == 0) {
        Browser.ThirdPartyPercentageRemainingThresholds      = Stored.ThirdPartyPercentageRemainingThresholds;
        Browser.ThirdPartyPercentageRemainingThresholdsCache = Stored.ThirdPartyPercentageRemainingThresholdsCache;
        Browser.LoadDefaultFlag                              = Stored.LoadDefaultFlag;
        Browser.VarChanged                                   = 0;
      }

      // A pending choice stays on the page as the browser has it.
      break;

    default:
      DEBUG ((DEBUG_ERROR, "Error Action = 0x%X\n", (UINT32)Action));
      break;
  }

  DumpConfigVar (u"MOD", &Stored, &Browser);

  Status = gRT->SetVariable (mCarvekConfigVarName, &gCarvexSetupFormSetGuid, Attributes, sizeof (Stored), &Stored);
  DEBUG ((DEBUG_INFO, "SetupActionsForThresholds: SetVariable Status = %r\n", Status));

  // A failed write is logged with the read's line: one text to search for.
  if (BrowserOk && !HiiSetBrowserData (&gCarvexSetupFormSetGuid, mCarvekConfigVarName, sizeof (Browser), (UINT8 *)&Browser, NULL)) {
    DEBUG ((DEBUG_ERROR, "SetupActionsForThresholds: HiiGetBrowserData failure\n"));
  }

  DEBUG ((DEBUG_INFO, "SetupActionsForThresholds: Exit Status = %r\n", Status));
  return Status;
}

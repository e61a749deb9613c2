/** @file
  The setup form set's callback: routes each browser call, by action and
  question, to the page builder or action handler that owns the question,
  and the check of a typed namespace capacity.
**/
#include "CarvexSetup.h"
#include "CarvexSetupVar.h"
#include "SetupThresholds.h"
#include "DimmDetailsPages.h"
#include "GoalPages.h"
#include "RegionPages.h"
#include "SecurityPage.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>

// Setup strings of the capacity check.
#define STR_CAPACITY_INVALID_CHARACTERS  0x00B6
#define STR_CAPACITY_ALL_FREE            0x00B7

// One row of a dispatch table: questions First..Last (inclusive) go to
// Handler with their offset from First. ReturnStatus passes the handler's
// status to the browser; otherwise the browser gets success and the handler
// reports through its page or a message box.
typedef EFI_STATUS (EFIAPI *SETUP_CALLBACK_HANDLER)(
  IN EFI_QUESTION_ID         QuestionId,
  IN UINT16                  Index,
  IN OUT EFI_IFR_TYPE_VALUE  *Value
  );

typedef struct {
  EFI_QUESTION_ID           First;
  EFI_QUESTION_ID           Last;
  SETUP_CALLBACK_HANDLER    Handler;
  BOOLEAN                   ReturnStatus;
} SETUP_CALLBACK_ROW;

// Rows adapt a handler to the table's signature by what it takes: nothing,
// the question's offset from the row's first question, or the question
// itself (with the browser's value for the password questions).
#define SETUP_ROW(Row, Call)                                                  \
  STATIC EFI_STATUS EFIAPI Row (                                              \
    IN EFI_QUESTION_ID QuestionId, IN UINT16 Index, IN OUT EFI_IFR_TYPE_VALUE *Value) \
  {                                                                           \
    (VOID)QuestionId;                                                         \
    (VOID)Index;                                                              \
    (VOID)Value;                                                              \
    return Call;                                                              \
  }

SETUP_ROW (CheckCapacityRow, SetupCheckIfInvalid ())

// Security page: the refreshes and the password questions, whose status
// the browser needs for its conversation.
SETUP_ROW (SecurityRefreshRow, UpdateSecurityState (QuestionId))
SETUP_ROW (SecurityEnableRow, EnableSecurity (Value, QuestionId))
SETUP_ROW (SecurityChangeRow, ChangeSecurityPassphrase (Value, QuestionId))
SETUP_ROW (SecurityDisableRow, DisableSecurity (Value, QuestionId))
SETUP_ROW (SecurityEraseRow, SecurityErase (Value, QuestionId))
SETUP_ROW (SecurityEraseNoPassphraseRow, SecurityEraseWithoutPassphrase (Value, QuestionId))

// Module details, goal and region pages.
SETUP_ROW (DimmDetailsRow, UpdateDimmDetailsForm ())
SETUP_ROW (SocketDimmDetailsRow, UpdateSocketDimmDetailsForm (Index))
SETUP_ROW (CreateGoalRow, SetupCreateGoal ())
SETUP_ROW (PendingGoalDetailsRow, UpdatePendingGoalDetailsForPoocessor (Index))
SETUP_ROW (DeleteGoalRow, SetupDeleteGoal ())
SETUP_ROW (RegionListRow, UpdateRegionListForm ())
SETUP_ROW (RegionDetailsRow, UpdateRegionDetailsForm (Index))
SETUP_ROW (CheckNamespaceRow, SetupCheckNamespace (QuestionId))

// Opening "Goals" refreshes the pending goals even when the processor
// flags could not be updated.
STATIC
EFI_STATUS
EFIAPI
GoalsPageRow (
  IN EFI_QUESTION_ID         QuestionId,
  IN UINT16                  Index,
  IN OUT EFI_IFR_TYPE_VALUE  *Value
  )
{
  (VOID)QuestionId;
  (VOID)Index;
  (VOID)Value;
  UpdateSocketListForGoal ();
  return UpdatePendingGoalForGoal ();
}

// The threshold page's link (entry) and editable threshold (changed) are
// the two actions of the same name.
SETUP_ROW (ThresholdsRow, SetupActionsForThresholds (QuestionId))

// Tested in row order; the namespace pages take their rows here as they
// are added.
STATIC CONST SETUP_CALLBACK_ROW  mChangingRows[] = {
  { 0x0008,                        0x0008,                        DimmDetailsRow,        FALSE },
  { 0x1000,                        0x100F,                        SocketDimmDetailsRow,  FALSE },
  { 0x0009,                        0x0009,                        GoalsPageRow,          FALSE },
  { 0x000D,                        0x000D,                        CreateGoalRow,         FALSE },
  { 0x2040,                        0x2047,                        PendingGoalDetailsRow, FALSE },
  { 0x000F,                        0x000F,                        DeleteGoalRow,         FALSE },
  { 0x0010,                        0x0010,                        RegionListRow,         FALSE },
  { 0x3000,                        0x3FFF,                        RegionDetailsRow,      FALSE },
  { THRESHOLD_ACTION_PAGE_ENTERED, THRESHOLD_ACTION_PAGE_ENTERED, ThresholdsRow,         TRUE  },
  // Security page.
  { SECURITY_QID_LINK,                         SECURITY_QID_LINK,                        SecurityRefreshRow,           TRUE  },
  { SECURITY_QID_CLEAR_SELECTIONS,             SECURITY_QID_CLEAR_SELECTIONS,            SecurityRefreshRow,           TRUE  },
  { SECURITY_QID_ENABLE_PLATFORM,              SECURITY_QID_ENABLE_PLATFORM,             SecurityEnableRow,            TRUE  },
  { SECURITY_QID_ENABLE_SINGLE,                SECURITY_QID_ENABLE_SINGLE,               SecurityEnableRow,            TRUE  },
  { SECURITY_QID_CHANGE_PLATFORM,              SECURITY_QID_CHANGE_PLATFORM,             SecurityChangeRow,            TRUE  },
  { SECURITY_QID_CHANGE_SINGLE,                SECURITY_QID_CHANGE_SINGLE,               SecurityChangeRow,            TRUE  },
  { SECURITY_QID_DISABLE_PLATFORM,             SECURITY_QID_DISABLE_PLATFORM,            SecurityDisableRow,           TRUE  },
  { SECURITY_QID_DISABLE_SINGLE,               SECURITY_QID_DISABLE_SINGLE,              SecurityDisableRow,           TRUE  },
  { SECURITY_QID_ERASE_PLATFORM,               SECURITY_QID_ERASE_PLATFORM,              SecurityEraseRow,             TRUE  },
  { SECURITY_QID_ERASE_SINGLE,                 SECURITY_QID_ERASE_SINGLE,                SecurityEraseRow,             TRUE  },
  { SECURITY_QID_ERASE_NO_PASSPHRASE_PLATFORM, SECURITY_QID_ERASE_NO_PASSPHRASE_SINGLE,  SecurityEraseNoPassphraseRow, TRUE  },
  { 0,                                         0,                                        NULL,                         FALSE }
};

// The delete-goal check boxes 0x2010..0x2017 carry no callback flag in the
// form, so a CHANGED row for them never fires; the form keeps that layout.
STATIC CONST SETUP_CALLBACK_ROW  mChangedRows[] = {
  { 0x0016,                         0x0016,                         CheckCapacityRow,   FALSE },
  { 0x2000,                         0x2007,                         CheckNamespaceRow,  FALSE },
  { 0x2010,                         0x2017,                         CheckNamespaceRow,  FALSE },
  { THRESHOLD_ACTION_VALUE_CHANGED, THRESHOLD_ACTION_VALUE_CHANGED, ThresholdsRow,      TRUE  },
  // Security page: a module's check box.
  { SECURITY_QID_CHECK_BOX_FIRST,   SECURITY_QID_CHECK_BOX_LAST,    SecurityRefreshRow, TRUE  },
  { 0,                              0,                              NULL,               FALSE }
};

// The row that owns QuestionId, or NULL.
STATIC
CONST SETUP_CALLBACK_ROW *
FindRow (
  IN CONST SETUP_CALLBACK_ROW  *pRows,
  IN EFI_QUESTION_ID           QuestionId
  )
{
  for ( ; pRows->Handler != NULL; pRows++) {
    if ((QuestionId >= pRows->First) && (QuestionId <= pRows->Last)) {
      return pRows;
    }
  }

  return NULL;
}

EFI_STATUS
EFIAPI
SetupCallback (
  IN  CONST EFI_HII_CONFIG_ACCESS_PROTOCOL  *This,
  IN  EFI_BROWSER_ACTION                    Action,
  IN  EFI_QUESTION_ID                       QuestionId,
  IN  UINT8                                 Type,
  IN  OUT EFI_IFR_TYPE_VALUE                *Value,
  OUT EFI_BROWSER_ACTION_REQUEST            *ActionRequest
  )
{
  EFI_STATUS                Status;
  EFI_STATUS                HandlerStatus;
  CONST SETUP_CALLBACK_ROW  *pRow;

  (VOID)This;
  (VOID)Type;
  (VOID)ActionRequest;
  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  DEBUG ((DEBUG_WARN, "%a:Action %d, QID 0x%x\n", __func__, (UINT32)Action, QuestionId));

  if (Action == EFI_BROWSER_ACTION_CHANGING) {
    pRow = FindRow (mChangingRows, QuestionId);
    // Check boxes and other questions without a row keep the browser's value.
    Status = EFI_UNSUPPORTED;
  } else if (Action == EFI_BROWSER_ACTION_CHANGED) {
    pRow   = FindRow (mChangedRows, QuestionId);
    Status = EFI_SUCCESS;
  } else {
    pRow   = NULL;
    Status = EFI_UNSUPPORTED;
  }

  if (pRow != NULL) {
    HandlerStatus = pRow->Handler (QuestionId, (UINT16)(QuestionId - pRow->First), Value);
    Status        = pRow->ReturnStatus ? HandlerStatus : EFI_SUCCESS;
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SetupCheckIfInvalid (
  VOID
  )
{
  EFI_STATUS  Status;
  SETUP_VAR   Var;
  CHAR16      Capacity[sizeof (Var.NamespaceCapacity) / sizeof (CHAR16) + 1];  // room for a NUL after a full field
  UINT64      Bytes;

  ZeroMem (&Var, sizeof (Var));
  if (!HiiGetBrowserData (&gCarvexSetupFormSetGuid, SETUP_VAR_NAME, sizeof (Var), (UINT8 *)&Var)) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    return EFI_LOAD_ERROR;
  }

  ZeroMem (Capacity, sizeof (Capacity));
  CopyMem (Capacity, (UINT8 *)&Var + OFFSET_OF (SETUP_VAR, NamespaceCapacity), sizeof (Var.NamespaceCapacity));
  Bytes  = 0;
  Status = ConvertCapacityStrToBytes (mHiiHandle, Var.CapacityUnit, Capacity, &Bytes);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:ConvertCapacityStrToBytes:%r\n", __func__, Status));
    DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_ERROR, STR_CAPACITY_INVALID_CHARACTERS, SETUP_MESSAGE_BOX_REPORT, NULL);
  } else if (Bytes == 0) {
    DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_INFO, STR_CAPACITY_ALL_FREE, SETUP_MESSAGE_BOX_REPORT, NULL);
  }

  return Status;
}

/** @file
  The "Security" form of the setup form set.

  The page lists every module with its security state and offers the
  operations that suit the modules' rolled-up state, for all modules
  (Platform) or for the modules checked one by one (Single DCPMM). The
  operations run through the password questions' conversation with the
  browser; at Platform scope the passphrase is also kept at the controller
  for the automatic unlock at boot.
**/
#include "SecurityPage.h"
#include "CarvexSetup.h"
#include "CarvexSetupVar.h"
#include "CarvexSetupStrDefs.h"
#include "../Bmc/PassphraseFile.h"
#include "../Library/MultiLanguageLib/MultiLanguageLib.h"
#include "../NvmDimmConfig/CarvexConfig.h"
#include <Guid/CarvexVariables.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>

static_assert (STR_SETUP_MSG_SECURITY_ERASE_CONFIRM == 0x00C4, "erase question");
static_assert (STR_SETUP_MSG_SECURITY_NAMESPACES_EXIST == 0x00C7, "namespaces exist");
static_assert (STR_SETUP_MSG_SECURITY_GOAL_PENDING == 0x00C8, "goal pending");
static_assert (STR_SETUP_MSG_SECURITY_ERASED_NO_PASSPHRASE == 0x00CA, "erased without passphrase");
static_assert (STR_SETUP_MSG_SECURITY_SELECTION_MIXED == 0x00D3, "selection mixed");
static_assert (STR_SETUP_SECURITY_DIMM_ENABLED_HELP == 0x00D4, "module help, enabled");
static_assert (STR_SETUP_SECURITY_DIMM_DISABLED_HELP == 0x00D5, "module help, disabled");
static_assert (STR_SETUP_MSG_SECURITY_ENABLED == 0x00D6 && STR_SETUP_MSG_SECURITY_ENABLE_FAILED == 0x00D7, "enable boxes");
static_assert (STR_SETUP_MSG_SECURITY_CHANGED == 0x00D8 && STR_SETUP_MSG_SECURITY_DISABLED == 0x00D9, "change and disable boxes");
static_assert (STR_SETUP_MSG_SECURITY_ERASED == 0x00DA && STR_SETUP_MSG_SECURITY_CHANGE_FAILED == 0x00DB, "erase and change boxes");
static_assert (STR_SETUP_MSG_SECURITY_DISABLE_FAILED == 0x00DC && STR_SETUP_MSG_SECURITY_ERASE_FAILED == 0x00DD, "failure boxes");
static_assert (STR_SETUP_SECURITY_DIMM_0 == 0x00E8 && STR_SETUP_SECURITY_DIMM_0_HELP == 0x0118, "check-box strings");

#define SECURITY_SCOPE_PLATFORM       0
#define SECURITY_SCOPE_SINGLE         1
#define SECURITY_MAX_SOCKETS          8
#define SECURITY_DIMMS_PER_SOCKET     6
// Characters of a check box's prompt: two blanks and the device locator.
#define SECURITY_PROMPT_LENGTH        64
#define SECURITY_PASSPHRASE_LENGTH    32

typedef SETUP_SECURITY_DETAILS_VAR  SECURITY_VAR;

STATIC CHAR16  mSecurityVarName[] = SETUP_SECURITY_DETAILS_VAR_NAME;

// The change conversation: the current passphrase typed first, and whether
// the next typed text is the current passphrase or the new one.
STATIC CHAR16   mCurrentPassphrase[SECURITY_PASSPHRASE_LENGTH + 1];
STATIC BOOLEAN  mChangeExpectsCurrent = FALSE;

// The modules an operation acts on, and those it must unlock first.
typedef struct {
  UINT16   OperationIds[SETUP_MAX_SECURITY_DIMMS];
  UINT32   OperationCount;
  UINT16   UnlockIds[SETUP_MAX_SECURITY_DIMMS];
  UINT32   UnlockCount;
  BOOLEAN  Unlock;
} SECURITY_TARGETS;

// Folds one module's state into the rolled-up state of a set: Locked and
// Unlocked together count as Locked; anything else that differs is Mixed.
STATIC
UINT8
FoldSecurityState (
  IN UINT8  Running,
  IN UINT8  State
  )
{
  if (Running == State) {
    return Running;
  }

  if (((Running == DIMM_SECURITY_STATE_LOCKED) && (State == DIMM_SECURITY_STATE_UNLOCKED)) ||
      ((Running == DIMM_SECURITY_STATE_UNLOCKED) && (State == DIMM_SECURITY_STATE_LOCKED)))
  {
    return DIMM_SECURITY_STATE_LOCKED;
  }

  return DIMM_SECURITY_STATE_MIXED;
}

// Record Index's device locator, always NUL-terminated.
STATIC
VOID
RecordLocator (
  IN  CONST SECURITY_VAR  *pVar,
  IN  UINTN               Index,
  OUT CHAR16              *pLocator
  )
{
  CopyMem (pLocator, (CONST UINT8 *)pVar + OFFSET_OF (SECURITY_VAR, Dimm) + Index * sizeof (SETUP_SECURITY_DIMM) + OFFSET_OF (SETUP_SECURITY_DIMM, DeviceLocator), DIMM_DEVICE_LOCATOR_LENGTH * sizeof (CHAR16));
  pLocator[DIMM_DEVICE_LOCATOR_LENGTH] = 0;
}

STATIC
VOID
FreeSecret (
  IN CHAR16  *pText
  )
{
  if (pText != NULL) {
    ZeroMemSecure (pText, StrSize (pText));
    FreePool (pText);
  }
}

EFI_STATUS
EFIAPI
GetSecurityStateDetails (
  IN OUT UINT8  *pBuffer
  )
{
  EFI_STATUS    Status;
  DIMM_DETAILS  *pDimms;
  UINT32        DimmCount;
  UINT8         Counters[SECURITY_MAX_SOCKETS];
  UINT8         AllState;
  UINT32        Record;
  UINT16        SocketId;
  UINT8         CheckBox;
  SECURITY_VAR  *pVar;

  pVar      = (SECURITY_VAR *)pBuffer;
  pDimms    = NULL;
  DimmCount = 0;
  Status    = GetDimmDetails (&pDimms, &DimmCount);
  if (EFI_ERROR (Status) || (pDimms == NULL) || (DimmCount == 0)) {
    DEBUG ((DEBUG_ERROR, "%a:GetDimmDetails:%r:%d\n", __func__, Status, DimmCount));
    if (pDimms != NULL) {
      FreePool (pDimms);
    }

    return Status;
  }

  ZeroMem (Counters, sizeof (Counters));
  AllState = pDimms[0].SecurityState;
  Record   = 0;
  for (UINT32 Index = 0; Index < DimmCount; Index++) {
    DEBUG ((DEBUG_WARN, "%a:%s secuirty state %d\n", __func__, pDimms[Index].DeviceLocator, pDimms[Index].SecurityState));
    AllState = FoldSecurityState (AllState, pDimms[Index].SecurityState);
    if (pDimms[Index].SecurityState == DIMM_SECURITY_STATE_EXCEEDED) {
      pVar->SomeExceeded = 1;
    }

    // The page holds 8 sockets of 6 modules; others are not recorded.
    SocketId = pDimms[Index].SocketId;
    if ((Record >= SETUP_MAX_SECURITY_DIMMS) || (SocketId >= SECURITY_MAX_SOCKETS) ||
        (Counters[SocketId] >= SECURITY_DIMMS_PER_SOCKET))
    {
      DEBUG ((DEBUG_ERROR, "%a:%s is beyond the page's modules\n", __func__, pDimms[Index].DeviceLocator));
      continue;
    }

    CheckBox                             = (UINT8)(SocketId * SECURITY_DIMMS_PER_SOCKET + Counters[SocketId]);
    pVar->Dimm[Record].SecurityState     = pDimms[Index].SecurityState;
    CopyMem ((UINT8 *)pVar + OFFSET_OF (SECURITY_VAR, Dimm) + Record * sizeof (SETUP_SECURITY_DIMM) + OFFSET_OF (SETUP_SECURITY_DIMM, DeviceLocator), pDimms[Index].DeviceLocator, sizeof (pDimms[Index].DeviceLocator));
    pVar->Dimm[Record].SocketId      = SocketId;
    pVar->Dimm[Record].DimmId        = pDimms[Index].DimmID;
    pVar->Dimm[Record].CheckBoxIndex = CheckBox;
    DEBUG ((DEBUG_WARN, "%a:DeviceLocator:%s\n", __func__, pDimms[Index].DeviceLocator));
    DEBUG ((DEBUG_WARN, "%a:SecurityState:0x%x\n", __func__, pDimms[Index].SecurityState));
    DEBUG ((DEBUG_WARN, "%a:DimmID:0x%x\n", __func__, pDimms[Index].DimmID));
    DEBUG ((DEBUG_WARN, "%a:SocketId:0x%x\n", __func__, SocketId));
    DEBUG ((DEBUG_WARN, "%a:Index:0x%x:%d\n", __func__, CheckBox, CheckBox));
    pVar->SocketPresent[SocketId] = 1;
    pVar->SlotPresent[CheckBox]   = 1;
    Counters[SocketId]++;
    Record++;
  }

  pVar->SecurityStateAll = AllState;
  FreePool (pDimms);
  return Status;
}

EFI_STATUS
EFIAPI
UpdateSecurityState (
  IN UINT16  QuestionId
  )
{
  EFI_STATUS    Status;
  EFI_STATUS    DetailsStatus;
  SECURITY_VAR  *pOld;
  SECURITY_VAR  *pNew;
  CHAR16        Locator[DIMM_DEVICE_LOCATOR_LENGTH + 1];
  CHAR16        Prompt[SECURITY_PROMPT_LENGTH + 1];
  UINT8         Selected;
  BOOLEAN       AnySelected;
  UINT8         CheckBox;
  UINT8         State;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  DEBUG ((DEBUG_WARN, "%a:Base string id: %d.\n", __func__, STR_SETUP_SECURITY_DIMM_0));
  DEBUG ((DEBUG_WARN, "%a:Base help string id: %d.\n", __func__, STR_SETUP_SECURITY_DIMM_0_HELP));

  pOld = (SECURITY_VAR *)AllocateZeroPool (sizeof (SECURITY_VAR));
  pNew = (SECURITY_VAR *)AllocateZeroPool (sizeof (SECURITY_VAR));
  if ((pOld == NULL) || (pNew == NULL)) {
    Status = EFI_OUT_OF_RESOURCES;
    goto Done;
  }

  if (!HiiGetBrowserData (&gCarvexSetupFormSetGuid, mSecurityVarName, sizeof (SECURITY_VAR), (UINT8 *)pOld)) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", __func__));
    Status = EFI_LOAD_ERROR;
    goto Done;
  }

  DEBUG ((DEBUG_WARN, "%a:The security state of all the dimms is %d before updated.\n", __func__, pOld->SecurityStateAll));

  // What the user chose survives the refresh; the rest is read anew.
  pNew->Scope = pOld->Scope;
  CopyMem ((UINT8 *)pNew + OFFSET_OF (SECURITY_VAR, Passphrase), (UINT8 *)pOld + OFFSET_OF (SECURITY_VAR, Passphrase), SECURITY_PASSPHRASE_LENGTH * sizeof (CHAR16));
  for (UINTN Box = 0; Box < SETUP_MAX_SECURITY_DIMMS; Box++) {
    pNew->CheckBox[Box] = (QuestionId == SECURITY_QID_CLEAR_SELECTIONS) ? 0 : pOld->CheckBox[Box];
    if (pNew->CheckBox[Box] != 0) {
      pNew->SomeSelected = 1;
    }
  }

  DetailsStatus = GetSecurityStateDetails ((UINT8 *)pNew);

  Selected    = 0;
  AnySelected = FALSE;
  for (UINTN Index = 0; Index < SETUP_MAX_SECURITY_DIMMS; Index++) {
    RecordLocator (pNew, Index, Locator);
    if (StrnCmp (Locator, u"DIMM", 4) != 0) {
      continue;
    }

    CheckBox = pNew->Dimm[Index].CheckBoxIndex;
    State    = pNew->Dimm[Index].SecurityState;
    DEBUG ((DEBUG_WARN, "%a:Index:%d\n", __func__, (UINT32)Index));
    DEBUG ((DEBUG_WARN, "%a:The DeviceLocator is \"%s\". The Updatedindex is %d.\n", __func__, Locator, CheckBox));
    if (CheckBox >= SETUP_MAX_SECURITY_DIMMS) {
      continue;
    }

    if (pNew->CheckBox[CheckBox] != 0) {
      if (!AnySelected) {
        Selected    = State;
        AnySelected = TRUE;
      } else {
        if (((Selected == DIMM_SECURITY_STATE_LOCKED) && (State == DIMM_SECURITY_STATE_UNLOCKED)) ||
            ((Selected == DIMM_SECURITY_STATE_UNLOCKED) && (State == DIMM_SECURITY_STATE_LOCKED)))
        {
          DEBUG ((DEBUG_WARN, "%a:Set the SecurityStateSelectedDimms to \"LOCKED\", when the selected dimm is \"LOCKED\" or \"UNLOCK\"\n", __func__));
        }

        Selected = FoldSecurityState (Selected, State);
      }
    }

    if (pNew->SlotPresent[CheckBox] != 0) {
      if ((State == DIMM_SECURITY_STATE_LOCKED) || (State == DIMM_SECURITY_STATE_UNLOCKED)) {
        UpdateStringforMultiLanguange (mHiiHandle, STR_SETUP_SECURITY_DIMM_ENABLED_HELP, (UINT16)(STR_SETUP_SECURITY_DIMM_0_HELP + CheckBox), NULL);
      } else if (State == DIMM_SECURITY_STATE_DISABLED) {
        UpdateStringforMultiLanguange (mHiiHandle, STR_SETUP_SECURITY_DIMM_DISABLED_HELP, (UINT16)(STR_SETUP_SECURITY_DIMM_0_HELP + CheckBox), NULL);
      }

      ZeroMem (Prompt, sizeof (Prompt));
      UnicodeSPrint (Prompt, sizeof (Prompt), u"  %s", Locator);
      HiiSetString (mHiiHandle, (EFI_STRING_ID)(STR_SETUP_SECURITY_DIMM_0 + CheckBox), Prompt, "en-US");
      DEBUG ((DEBUG_WARN, "%a:The DeviceLocator:%s\n", __func__, Locator));
    }
  }

  pNew->SecurityStateSelected = Selected;
  DEBUG ((DEBUG_WARN, "%a:The security state of all the dimms is %d after updated.\n", __func__, pNew->SecurityStateAll));
  DEBUG ((DEBUG_WARN, "%a:The security state of all the selected dimms is %d.\n", __func__, Selected));

  // A selection may not mix states: the box just checked goes back.
  if ((pNew->Scope == SECURITY_SCOPE_SINGLE) && (pNew->SomeSelected != 0) && (Selected == DIMM_SECURITY_STATE_MIXED)) {
    if ((QuestionId >= SECURITY_QID_CHECK_BOX_FIRST) && (QuestionId <= SECURITY_QID_CHECK_BOX_LAST)) {
      DEBUG ((DEBUG_WARN, "%a:Change the ChangeSecurityState of question:0x%x to 0.\n", __func__, QuestionId));
      pNew->CheckBox[QuestionId - SECURITY_QID_CHECK_BOX_FIRST] = 0;
    }

    DEBUG ((DEBUG_WARN, "%a:Roolback the SecurityStateSelectedDimms form %d to %d.\n", __func__, Selected, pOld->SecurityStateSelected));
    pNew->SecurityStateSelected = pOld->SecurityStateSelected;
    DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_WARNING, STR_SETUP_MSG_SECURITY_SELECTION_MIXED, SETUP_MESSAGE_BOX_REPORT, NULL);
  }

  Status = DetailsStatus;
  if (!EFI_ERROR (Status)) {
    if (!HiiSetBrowserData (&gCarvexSetupFormSetGuid, mSecurityVarName, sizeof (SECURITY_VAR), (UINT8 *)pNew, NULL)) {
      DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", __func__));
      Status = EFI_ABORTED;
    }
  }

Done:
  // The browser's copy may hold a typed passphrase.
  if (pOld != NULL) {
    ZeroMemSecure (pOld, sizeof (SECURITY_VAR));
    FreePool (pOld);
  }

  if (pNew != NULL) {
    ZeroMemSecure (pNew, sizeof (SECURITY_VAR));
    FreePool (pNew);
  }

  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Reads the text the browser placed in Value->string. *ppText is NULL when
// the string is missing; the caller frees it with FreeSecret.
STATIC
EFI_STATUS
ReadTypedText (
  IN  CONST CHAR8         *pCaller,
  IN  EFI_IFR_TYPE_VALUE  *Value,
  OUT CHAR16              **ppText
  )
{
  *ppText = NULL;
  if (Value == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:The pValue is NULL. Status:%r\n", pCaller, EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  if (Value->string != 0) {
    *ppText = HiiGetString (mHiiHandle, Value->string, "en-US");
  }

  if (*ppText == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:The Passphrase is NULL. Status: %r\n", pCaller, EFI_INVALID_PARAMETER));
    return EFI_NOT_FOUND;
  }

  return EFI_SUCCESS;
}

STATIC
VOID
FreeSecurityVar (
  IN SECURITY_VAR  *pVar
  )
{
  if (pVar != NULL) {
    ZeroMemSecure (pVar, sizeof (SECURITY_VAR));
    FreePool (pVar);
  }
}

// The working buffer of an operation: what the user chose (scope, check
// boxes) from the browser, the module records from the modules. The browser
// keeps only the bytes its questions cover, so the records it was handed
// do not come back. NULL on failure (logged under pCaller).
STATIC
SECURITY_VAR *
ReadSecurityVar (
  IN CONST CHAR8  *pCaller
  )
{
  SECURITY_VAR  *pVar;
  EFI_STATUS    Status;

  pVar = (SECURITY_VAR *)AllocateZeroPool (sizeof (SECURITY_VAR));
  if (pVar == NULL) {
    return NULL;
  }

  if (!HiiGetBrowserData (&gCarvexSetupFormSetGuid, mSecurityVarName, sizeof (SECURITY_VAR), (UINT8 *)pVar)) {
    DEBUG ((DEBUG_ERROR, "%a:HiiGetBrowserData failure\n", pCaller));
    FreeSecurityVar (pVar);
    return NULL;
  }

  ZeroMem (pVar->Dimm, sizeof (pVar->Dimm));
  Status = GetSecurityStateDetails ((UINT8 *)pVar);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:GetSecurityStateDetails:%r\n", pCaller, Status));
    FreeSecurityVar (pVar);
    return NULL;
  }

  return pVar;
}

// Picks the modules of an operation from the working buffer. At Single
// DCPMM scope the checked boxes are cleared in pVar as they are used.
STATIC
VOID
ChooseModules (
  IN     CONST CHAR8       *pCaller,
  IN OUT SECURITY_VAR      *pVar,
  IN     BOOLEAN           UnlockFirst,
  OUT    SECURITY_TARGETS  *pTargets
  )
{
  CHAR16  Locator[DIMM_DEVICE_LOCATOR_LENGTH + 1];
  UINT8   CheckBox;

  ZeroMem (pTargets, sizeof (*pTargets));
  DEBUG ((DEBUG_INFO, "%a:Scope %d, all the dimms %d, the selected dimms %d\n", pCaller, pVar->Scope, pVar->SecurityStateAll, pVar->SecurityStateSelected));
  if (pVar->Scope != SECURITY_SCOPE_SINGLE) {
    if (UnlockFirst && (pVar->SecurityStateAll == DIMM_SECURITY_STATE_LOCKED)) {
      pTargets->Unlock = TRUE;
      for (UINTN Index = 0; Index < SETUP_MAX_SECURITY_DIMMS; Index++) {
        if ((pVar->Dimm[Index].DimmId != 0) && (pVar->Dimm[Index].SecurityState == DIMM_SECURITY_STATE_LOCKED)) {
          RecordLocator (pVar, Index, Locator);
          DEBUG ((DEBUG_WARN, "%a:The security state of %s is \"LOCKED\".\n", pCaller, Locator));
          pTargets->UnlockIds[pTargets->UnlockCount++] = pVar->Dimm[Index].DimmId;
        }
      }
    }

    return;
  }

  for (UINTN Index = 0; Index < SETUP_MAX_SECURITY_DIMMS; Index++) {
    if (pVar->Dimm[Index].DimmId == 0) {
      continue;
    }

    RecordLocator (pVar, Index, Locator);
    CheckBox = pVar->Dimm[Index].CheckBoxIndex;
    DEBUG ((DEBUG_WARN, "%a:Index:%d\n", pCaller, (UINT32)Index));
    DEBUG ((DEBUG_WARN, "%a:The DeviceLocator is \"%s\". The Updatedindex is %d.\n", pCaller, Locator, CheckBox));
    if ((CheckBox >= SETUP_MAX_SECURITY_DIMMS) || (pVar->CheckBox[CheckBox] == 0)) {
      continue;
    }

    pTargets->OperationIds[pTargets->OperationCount++] = pVar->Dimm[Index].DimmId;
    pVar->CheckBox[CheckBox]                           = 0;
    DEBUG ((DEBUG_WARN, "%a:Unmark the chossen of %s. \n", pCaller, Locator));
    if (UnlockFirst && (pVar->Dimm[Index].SecurityState == DIMM_SECURITY_STATE_LOCKED)) {
      pTargets->UnlockIds[pTargets->UnlockCount++] = pVar->Dimm[Index].DimmId;
    }
  }

  pTargets->Unlock = UnlockFirst && (pVar->SecurityStateSelected == DIMM_SECURITY_STATE_LOCKED);
}

// Unlocks the chosen Locked modules with the typed passphrase, when the
// operation needs it.
STATIC
EFI_STATUS
UnlockChosen (
  IN CONST CHAR8             *pCaller,
  IN CONST SECURITY_TARGETS  *pTargets,
  IN CHAR16                  *pPassphrase
  )
{
  EFI_STATUS  Status;
  UINT16      NvmStatus;
  UINT16      UnlockIds[SETUP_MAX_SECURITY_DIMMS];

  if (!pTargets->Unlock || (pTargets->UnlockCount == 0)) {
    return EFI_SUCCESS;
  }

  CopyMem (UnlockIds, pTargets->UnlockIds, sizeof (UnlockIds));
  NvmStatus = 0;
  Status    = SetSystemSecurityState (UnlockIds, pTargets->UnlockCount, SECURITY_OPERATION_UNLOCK, pPassphrase, NULL, &NvmStatus);
  if (!EFI_ERROR (Status)) {
    DEBUG ((DEBUG_WARN, "%a:Unlock the security state successfully..\n", pCaller));
  }

  return Status;
}

// The operation itself on the chosen modules (every module at Platform
// scope). A Single DCPMM choice without a checked module does nothing.
STATIC
EFI_STATUS
RunOperation (
  IN  CONST SECURITY_VAR      *pVar,
  IN  CONST SECURITY_TARGETS  *pTargets,
  IN  UINT16                  Operation,
  IN  CHAR16                  *pPassphrase OPTIONAL,
  IN  CHAR16                  *pNewPassphrase OPTIONAL,
  OUT UINT16                  *pNvmStatus
  )
{
  UINT16  OperationIds[SETUP_MAX_SECURITY_DIMMS];

  *pNvmStatus = 0;
  if (pVar->Scope != SECURITY_SCOPE_SINGLE) {
    return SetSystemSecurityState (NULL, 0, Operation, pPassphrase, pNewPassphrase, pNvmStatus);
  }

  if (pTargets->OperationCount == 0) {
    return EFI_NOT_FOUND;
  }

  CopyMem (OperationIds, pTargets->OperationIds, sizeof (OperationIds));
  return SetSystemSecurityState (OperationIds, pTargets->OperationCount, Operation, pPassphrase, pNewPassphrase, pNvmStatus);
}

// After a successful operation: the used check boxes leave the browser's
// copy (Single DCPMM), the success box is shown and the page refreshed.
// At Platform scope the controller keeps pFileText for the automatic
// unlock. Returns the refresh's status.
STATIC
EFI_STATUS
FinishOperation (
  IN CONST CHAR8         *pCaller,
  IN CONST SECURITY_VAR  *pVar,
  IN UINT16              QuestionId,
  IN UINT16              SuccessString,
  IN CONST CHAR16        *pFileText OPTIONAL
  )
{
  EFI_STATUS  Status;

  if (pVar->Scope == SECURITY_SCOPE_SINGLE) {
    if (!HiiSetBrowserData (&gCarvexSetupFormSetGuid, mSecurityVarName, sizeof (SECURITY_VAR), (CONST UINT8 *)pVar, NULL)) {
      DEBUG ((DEBUG_ERROR, "%a:HiiSetBrowserData failure\n", pCaller));
      return EFI_ABORTED;
    }
  }

  DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_INFO, SuccessString, SETUP_MESSAGE_BOX_REPORT, NULL);
  Status = UpdateSecurityState (QuestionId);
  if ((pVar->Scope != SECURITY_SCOPE_SINGLE) && (pFileText != NULL)) {
    SetDcpmmPassphraseFile (pFileText);
  }

  return Status;
}

EFI_STATUS
EFIAPI
EnableSecurity (
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId
  )
{
  EFI_STATUS        Status;
  CHAR16            *pText;
  SECURITY_VAR      *pVar;
  SECURITY_TARGETS  Targets;
  UINT16            NvmStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  if (Value == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:The pValue is NULL. Status: %r\n", __func__, EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  Status = ReadTypedText (__func__, Value, &pText);
  if (EFI_ERROR (Status)) {
    return EFI_UNSUPPORTED;
  }

  // The opening call: no current passphrase is asked for.
  if (pText[0] == 0) {
    DEBUG ((DEBUG_WARN, "%a:The Passphrase length is 0. Status: %r\n", __func__, EFI_SUCCESS));
    FreeSecret (pText);
    return EFI_SUCCESS;
  }

  pVar = ReadSecurityVar (__func__);
  if (pVar == NULL) {
    FreeSecret (pText);
    return EFI_LOAD_ERROR;
  }

  ChooseModules (__func__, pVar, FALSE, &Targets);
  Status = RunOperation (pVar, &Targets, SECURITY_OPERATION_ENABLE, NULL, pText, &NvmStatus);
  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Can not enable security : %r\n", __func__, Status));
    // Both scopes tell the user why nothing changed.
    DisplayMessageBox (
      mHiiHandle,
      SETUP_MESSAGE_TYPE_INFO,
      (NvmStatus == NVM_ERR_ENABLE_SECURITY_NOT_ALLOWED) ? STR_SETUP_MSG_SECURITY_GOAL_PENDING : STR_SETUP_MSG_SECURITY_ENABLE_FAILED,
      SETUP_MESSAGE_BOX_REPORT,
      NULL
      );
  } else {
    Status = FinishOperation (__func__, pVar, QuestionId, STR_SETUP_MSG_SECURITY_ENABLED, pText);
    if (pVar->Scope != SECURITY_SCOPE_SINGLE) {
      Status = EFI_SUCCESS;
    }
  }

  FreeSecurityVar (pVar);
  FreeSecret (pText);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
ChangeSecurityPassphrase (
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId
  )
{
  EFI_STATUS        Status;
  CHAR16            *pText;
  SECURITY_VAR      *pVar;
  SECURITY_TARGETS  Targets;
  UINT16            NvmStatus;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = ReadTypedText (__func__, Value, &pText);
  if (EFI_ERROR (Status)) {
    // The browser starts over (the user left the new passphrase's prompt):
    // the current passphrase is not kept.
    ZeroMemSecure (mCurrentPassphrase, sizeof (mCurrentPassphrase));
    return EFI_INVALID_PARAMETER;
  }

  if (pText[0] == 0) {
    // The browser asks for the current passphrase next.
    DEBUG ((DEBUG_WARN, "%a:The Passphrase length is 0. Status: %r\n", __func__, EFI_NOT_STARTED));
    mChangeExpectsCurrent = TRUE;
    FreeSecret (pText);
    return EFI_NOT_STARTED;
  }

  if (mChangeExpectsCurrent) {
    ZeroMemSecure (mCurrentPassphrase, sizeof (mCurrentPassphrase));
    StrnCpyS (mCurrentPassphrase, ARRAY_SIZE (mCurrentPassphrase), pText, SECURITY_PASSPHRASE_LENGTH);
    mChangeExpectsCurrent = FALSE;
    FreeSecret (pText);
    return EFI_SUCCESS;
  }

  pVar = ReadSecurityVar (__func__);
  if (pVar == NULL) {
    FreeSecret (pText);
    ZeroMemSecure (mCurrentPassphrase, sizeof (mCurrentPassphrase));
    return EFI_LOAD_ERROR;
  }

  ChooseModules (__func__, pVar, TRUE, &Targets);
  Status = UnlockChosen (__func__, &Targets, mCurrentPassphrase);
  if (!EFI_ERROR (Status)) {
    Status = RunOperation (pVar, &Targets, SECURITY_OPERATION_CHANGE_PASSPHRASE, mCurrentPassphrase, pText, &NvmStatus);
  }

  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, "%a:Can not change security passphrase: %r\n", __func__, Status));
    DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_ERROR, STR_SETUP_MSG_SECURITY_CHANGE_FAILED, SETUP_MESSAGE_BOX_REPORT, NULL);
  } else {
    Status = FinishOperation (__func__, pVar, QuestionId, STR_SETUP_MSG_SECURITY_CHANGED, pText);
  }

  // The current passphrase is needed for this change only.
  ZeroMemSecure (mCurrentPassphrase, sizeof (mCurrentPassphrase));
  FreeSecurityVar (pVar);
  FreeSecret (pText);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

// Disable and erase with the current passphrase: unlock what is Locked,
// then the operation. A completed operation answers EFI_ALREADY_STARTED so
// that the browser asks for no new passphrase.
STATIC
EFI_STATUS
RunWithCurrentPassphrase (
  IN CONST CHAR8         *pCaller,
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId,
  IN UINT16              Operation
  )
{
  EFI_STATUS        Status;
  CHAR16            *pText;
  SECURITY_VAR      *pVar;
  SECURITY_TARGETS  Targets;
  UINT16            NvmStatus;
  UINT16            FailureString;
  BOOLEAN           IsErase;

  IsErase = (Operation == SECURITY_OPERATION_SECURE_ERASE);
  Status  = ReadTypedText (pCaller, Value, &pText);
  if (EFI_ERROR (Status)) {
    return EFI_INVALID_PARAMETER;
  }

  if (pText[0] == 0) {
    DEBUG ((DEBUG_WARN, "%a:The Passphrase length is 0. Status: %r\n", pCaller, EFI_NOT_STARTED));
    FreeSecret (pText);
    return EFI_NOT_STARTED;
  }

  pVar = ReadSecurityVar (pCaller);
  if (pVar == NULL) {
    FreeSecret (pText);
    return EFI_LOAD_ERROR;
  }

  ChooseModules (pCaller, pVar, TRUE, &Targets);
  NvmStatus     = 0;
  FailureString = IsErase ? STR_SETUP_MSG_SECURITY_ERASE_FAILED : STR_SETUP_MSG_SECURITY_DISABLE_FAILED;
  Status        = UnlockChosen (pCaller, &Targets, pText);
  if (!EFI_ERROR (Status)) {
    Status = RunOperation (pVar, &Targets, Operation, pText, NULL, &NvmStatus);
    if (IsErase && (NvmStatus == NVM_ERR_NAMESPACES_EXIST)) {
      FailureString = STR_SETUP_MSG_SECURITY_NAMESPACES_EXIST;
    }
  }

  if (EFI_ERROR (Status)) {
    DEBUG ((DEBUG_ERROR, IsErase ? "%a:Can not security erase : %r\n" : "%a:Can not disable security : %r\n", pCaller, Status));
    DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_ERROR, FailureString, SETUP_MESSAGE_BOX_REPORT, NULL);
  } else {
    FinishOperation (pCaller, pVar, QuestionId, IsErase ? STR_SETUP_MSG_SECURITY_ERASED : STR_SETUP_MSG_SECURITY_DISABLED, u"");
    Status = EFI_ALREADY_STARTED;
  }

  FreeSecurityVar (pVar);
  FreeSecret (pText);
  return Status;
}

EFI_STATUS
EFIAPI
DisableSecurity (
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = RunWithCurrentPassphrase (__func__, Value, QuestionId, SECURITY_OPERATION_DISABLE);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SecurityErase (
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId
  )
{
  EFI_STATUS  Status;

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  Status = RunWithCurrentPassphrase (__func__, Value, QuestionId, SECURITY_OPERATION_SECURE_ERASE);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

EFI_STATUS
EFIAPI
SecurityEraseWithoutPassphrase (
  IN EFI_IFR_TYPE_VALUE  *Value,
  IN UINT16              QuestionId
  )
{
  EFI_STATUS        Status;
  SECURITY_VAR      *pVar;
  SECURITY_TARGETS  Targets;
  UINT16            NvmStatus;
  UINT8             Selection;
  CHAR16            NoPassphrase[1];

  DEBUG ((DEBUG_WARN, "%a:Enter\n", __func__));
  if (Value == NULL) {
    DEBUG ((DEBUG_ERROR, "%a:The pValue is NULL. Status:%r\n", __func__, EFI_INVALID_PARAMETER));
    return EFI_INVALID_PARAMETER;
  }

  pVar = ReadSecurityVar (__func__);
  if (pVar == NULL) {
    return EFI_LOAD_ERROR;
  }

  ChooseModules (__func__, pVar, FALSE, &Targets);
  Selection = 0xFF;
  DisplayMessageBox (mHiiHandle, SETUP_MESSAGE_TYPE_WARNING, STR_SETUP_MSG_SECURITY_ERASE_CONFIRM, SETUP_MESSAGE_BOX_ASK, &Selection);
  if (Selection != SETUP_MESSAGE_SELECTION_YES) {
    Status = EFI_ALREADY_STARTED;
  } else {
    NoPassphrase[0] = 0;
    Status          = RunOperation (pVar, &Targets, SECURITY_OPERATION_SECURE_ERASE, NoPassphrase, NULL, &NvmStatus);
    if (EFI_ERROR (Status)) {
      DEBUG ((DEBUG_ERROR, "%a:Can not security erase : %r\n", __func__, Status));
      DisplayMessageBox (
        mHiiHandle,
        SETUP_MESSAGE_TYPE_ERROR,
        (NvmStatus == NVM_ERR_NAMESPACES_EXIST) ? STR_SETUP_MSG_SECURITY_NAMESPACES_EXIST : STR_SETUP_MSG_SECURITY_ERASE_FAILED,
        SETUP_MESSAGE_BOX_REPORT,
        NULL
        );
    } else {
      // Nothing was set, so the controller's file stays as it is.
      Status = FinishOperation (__func__, pVar, QuestionId, STR_SETUP_MSG_SECURITY_ERASED_NO_PASSPHRASE, NULL);
    }
  }

  FreeSecurityVar (pVar);
  DEBUG ((DEBUG_ERROR, "%a:Exit:%r\n", __func__, Status));
  return Status;
}

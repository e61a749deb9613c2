/** @file
  Goals that outlive a boot when the vendor image serves a model of its own
  (real firmware, where the model is built from the embedded board at every
  start). The goals to apply at power-up are kept, one per module, in a
  non-volatile variable: at entry they are made pending again before the
  power cycle's memory initialisation applies them, and after every
  successful goal creation or deletion the variable is rewritten from the
  goals applied at this power-up, overridden by those now pending.
**/
#include "NvmDimmVendor.h"
#include "NvmDimmDevice.h"
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

STATIC CHAR16  mGoalVariableName[] = NVM_GOAL_MEMORY_VARIABLE_NAME;

// The goals applied at this power-up, by module position; the model they
// belong to; the protocol's own goal operations.
STATIC NVM_MODEL_GOAL          mPowerUpGoals[NVM_MAX_DIMMS];
STATIC NVM_MODEL               *mGoalModel;
STATIC NVM_CREATE_GOAL_CONFIG  mCreateGoalConfig;
STATIC NVM_DELETE_GOAL_CONFIG  mDeleteGoalConfig;

STATIC
VOID
SaveGoals (
  VOID
  )
{
  STATIC NVM_MODEL_GOAL  mGoals[NVM_MAX_DIMMS];
  EFI_STATUS             Status;
  UINT32                 Index;

  if (gRT == NULL) {
    return;
  }

  CopyMem (mGoals, mPowerUpGoals, sizeof (mGoals));
  for (Index = 0; Index < mGoalModel->DimmCount; Index++) {
    if (mGoalModel->Dimms[Index].Goal.Pending != 0) {
      mGoals[Index] = mGoalModel->Dimms[Index].Goal;
    }
  }

  Status = gRT->SetVariable (
                  mGoalVariableName,
                  &gNvmGoalMemoryVariableGuid,
                  EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS,
                  mGoalModel->DimmCount * sizeof (NVM_MODEL_GOAL),
                  mGoals
                  );
  DEBUG ((DEBUG_INFO, "NvmDimmVendor: goals kept for power-up: %r\n", Status));
}

STATIC
EFI_STATUS
EFIAPI
CreateGoalConfigKept (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  BOOLEAN                   Reserved,
  IN  UINT16                    *DimmIds OPTIONAL,
  IN  UINT32                    DimmIdsCount,
  IN  UINT16                    *SocketIds OPTIONAL,
  IN  UINT32                    SocketIdsCount,
  IN  UINT8                     PersistentMemType,
  IN  UINT32                    VolatilePercent,
  IN  UINT32                    ReservedPercent,
  IN  UINT8                     ReserveDimm,
  IN  UINT16                    LabelVersionMajor,
  IN  UINT16                    LabelVersionMinor,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  EFI_STATUS  Status;

  Status = mCreateGoalConfig (
             This,
             Reserved,
             DimmIds,
             DimmIdsCount,
             SocketIds,
             SocketIdsCount,
             PersistentMemType,
             VolatilePercent,
             ReservedPercent,
             ReserveDimm,
             LabelVersionMajor,
             LabelVersionMinor,
             CommandStatus
             );
  if (!EFI_ERROR (Status)) {
    SaveGoals ();
  }

  return Status;
}

STATIC
EFI_STATUS
EFIAPI
DeleteGoalConfigKept (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    *DimmIds OPTIONAL,
  IN  UINT32                    DimmIdsCount,
  IN  UINT16                    *SocketIds OPTIONAL,
  IN  UINT32                    SocketIdsCount,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  EFI_STATUS  Status;

  Status = mDeleteGoalConfig (This, DimmIds, DimmIdsCount, SocketIds, SocketIdsCount, CommandStatus);
  if (!EFI_ERROR (Status)) {
    SaveGoals ();
  }

  return Status;
}

VOID
EFIAPI
NvmGoalMemoryRestore (
  IN OUT NVM_MODEL  *Model
  )
{
  EFI_STATUS  Status;
  UINTN       Size;
  UINT32      Attributes;
  UINT32      Index;
  UINT32      Restored;

  ZeroMem (mPowerUpGoals, sizeof (mPowerUpGoals));
  // Without variable services the goals last for this boot only.
  if (gRT == NULL) {
    return;
  }

  Size   = sizeof (mPowerUpGoals);
  Status = gRT->GetVariable (mGoalVariableName, &gNvmGoalMemoryVariableGuid, &Attributes, &Size, mPowerUpGoals);
  // A variable of another board's size is not this board's goals.
  if (EFI_ERROR (Status) || (Size != Model->DimmCount * sizeof (NVM_MODEL_GOAL))) {
    ZeroMem (mPowerUpGoals, sizeof (mPowerUpGoals));
    return;
  }

  Restored = 0;
  for (Index = 0; Index < Model->DimmCount; Index++) {
    if (mPowerUpGoals[Index].Pending != 0) {
      Model->Dimms[Index].Goal = mPowerUpGoals[Index];
      Restored++;
    }
  }

  DEBUG ((DEBUG_INFO, "NvmDimmVendor: %d goals kept from an earlier boot\n", Restored));
}

VOID
EFIAPI
NvmGoalMemoryKeep (
  IN NVM_MODEL                 *Model,
  IN NVM_DIMM_CONFIG_PROTOCOL  *Protocol
  )
{
  mGoalModel = Model;
  // The protocol table outlives an image started more than once (tests):
  // wrap its operations only the first time.
  if (Protocol->CreateGoalConfig != CreateGoalConfigKept) {
    mCreateGoalConfig          = Protocol->CreateGoalConfig;
    mDeleteGoalConfig          = Protocol->DeleteGoalConfig;
    Protocol->CreateGoalConfig = CreateGoalConfigKept;
    Protocol->DeleteGoalConfig = DeleteGoalConfigKept;
  }
}

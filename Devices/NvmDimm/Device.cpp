/** @file
  The protocol tables, the model they serve, and the per-slot call counts
  and injected faults.
**/
#include "NvmDimmDevice.h"
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>

STATIC NVM_MODEL  *mModel;

STATIC NVM_DIMM_CONFIG_PROTOCOL  mNvmDimmConfigProtocol = {
  NVM_DIMM_CONFIG_PROTOCOL_VERSION,
  0,
  NvmGetDimmCount,
  NvmGetDimms,
  { NULL, NULL, NULL },
  NvmGetSockets,
  { NULL, NULL, NULL, NULL, NULL, NULL, NULL },
  NvmSetSecurityState,
  NULL,
  NvmGetRegionCount,
  NvmGetRegions,
  NULL,
  NvmGetMemoryResourcesInfo,
  { NULL, NULL, NULL },
  NvmGetAlarmThresholds,
  NvmSetAlarmThresholds,
  NvmGetSmartAndHealth,
  NvmGetGoalConfigs,
  NULL,
  NvmCreateGoalConfig,
  NvmDeleteGoalConfig,
  { NULL, NULL, NULL },
  NvmCreateNamespace,
  NvmGetNamespaces,
  NvmModifyNamespace,
  NvmDeleteNamespace,
  { NULL, NULL, NULL, NULL, NULL, NULL },
  NvmGetARSStatus,
};

STATIC NVM_DIMM_PASS_THRU_PROTOCOL  mNvmDimmPassThruProtocol = {
  NULL,
  NULL,
  NvmPassThru,
};

VOID
EFIAPI
NvmDimmDeviceBind (
  IN NVM_MODEL  *Model OPTIONAL
  )
{
  mModel = Model;
}

NVM_DIMM_CONFIG_PROTOCOL *
EFIAPI
NvmDimmDeviceConfigProtocol (
  VOID
  )
{
  return &mNvmDimmConfigProtocol;
}

NVM_DIMM_PASS_THRU_PROTOCOL *
EFIAPI
NvmDimmDevicePassThruProtocol (
  VOID
  )
{
  return &mNvmDimmPassThruProtocol;
}

NVM_MODEL *
NvmDeviceModel (
  VOID
  )
{
  return mModel;
}

BOOLEAN
NvmSlotEnter (
  IN  UINTN           Slot,
  IN  COMMAND_STATUS  *CommandStatus OPTIONAL,
  OUT NVM_MODEL       **Model,
  OUT EFI_STATUS      *Status,
  OUT UINT8           *MailboxStatus OPTIONAL
  )
{
  NVM_FAULT  *Fault;
  BOOLEAN    Fires;

  *Model = mModel;
  if (mModel == NULL) {
    *Status = EFI_NOT_READY;
    return TRUE;
  }
  mModel->CallCount[Slot]++;

  Fault = &mModel->Faults[Slot];
  Fires = FALSE;
  if (Fault->Mode != NvmFaultOff) {
    if (Fault->Skip != 0) {
      Fault->Skip--;
    } else if (Fault->Mode == NvmFaultAlways) {
      Fires = TRUE;
    } else if (Fault->Count != 0) {
      Fires = TRUE;
      if (--Fault->Count == 0) {
        Fault->Mode = NvmFaultOff;
      }
    }
  }
  if (!Fires) {
    return FALSE;
  }
  *Status = Fault->Status;
  NvmSetGeneralStatus (CommandStatus, Fault->NvmStatus);
  if (MailboxStatus != NULL) {
    *MailboxStatus = Fault->MailboxStatus;
  }
  return TRUE;
}

EFI_STATUS
EFIAPI
NvmModelSetFault (
  IN OUT NVM_MODEL       *Model,
  IN     UINTN           Slot,
  IN     NVM_FAULT_MODE  Mode,
  IN     UINT32          Skip,
  IN     UINT32          Count,
  IN     EFI_STATUS      Status,
  IN     UINT16          NvmStatus
  )
{
  NVM_FAULT  *Fault;

  if (Model == NULL || Slot >= NVM_SLOT_COUNT || Mode > NvmFaultAlways ||
      (Mode == NvmFaultTimes && Count == 0))
  {
    return EFI_INVALID_PARAMETER;
  }
  Fault            = &Model->Faults[Slot];
  ZeroMem (Fault, sizeof (*Fault));
  Fault->Mode      = Mode;
  Fault->Skip      = Skip;
  Fault->Count     = Count;
  Fault->Status    = Status;
  Fault->NvmStatus = NvmStatus;
  // The mailbox answers a failed request with its generic error.
  Fault->MailboxStatus = PT_MAILBOX_INTERNAL_ERROR;
  return EFI_SUCCESS;
}

VOID
EFIAPI
NvmModelClearFaults (
  IN OUT NVM_MODEL  *Model
  )
{
  ZeroMem (Model->Faults, sizeof (Model->Faults));
}

VOID
EFIAPI
NvmModelClearCallCounts (
  IN OUT NVM_MODEL  *Model
  )
{
  ZeroMem (Model->CallCount, sizeof (Model->CallCount));
}

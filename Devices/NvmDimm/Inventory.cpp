/** @file
  Modules, sockets, capacity totals, health and alarm thresholds.
**/
#include "NvmDimmInternal.h"
#include <Library/BaseMemoryLib.h>
#include <Library/MemoryAllocationLib.h>

#define SMART_VALID_HEALTH_STATUS         0x01
#define SMART_VALID_MEDIA_TEMPERATURE     0x02
#define SMART_VALID_CONTROLLER_TEMPERATURE  0x04
#define SMART_VALID_PERCENTAGE_REMAINING  0x08

EFI_STATUS
EFIAPI
NvmGetDimmCount (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  OUT UINT32                    *Count
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_DIMM_COUNT, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (Count == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  *Count = Model->DimmCount;
  return EFI_SUCCESS;
}

STATIC
VOID
FillDimmRecord (
  OUT DIMM_RECORD           *Record,
  IN  CONST NVM_MODEL_DIMM  *Dimm
  )
{
  UINTN  Index;

  ZeroMem (Record, sizeof (*Record));
  // Field by field: the record is packed.
  for (Index = 0; Index < DIMM_DEVICE_LOCATOR_LENGTH; Index++) {
    Record->DeviceLocator[Index] = Dimm->DeviceLocator[Index];
  }
  for (Index = 0; Index < DIMM_UID_LENGTH; Index++) {
    Record->DimmUid[Index] = Dimm->DimmUid[Index];
  }
  Record->FwVersionMajor       = Dimm->FwMajor;
  Record->FwVersionMinor       = Dimm->FwMinor;
  Record->FwVersionHotfix      = Dimm->FwHotfix;
  Record->FwVersionBuild       = Dimm->FwBuild;
  Record->DimmId               = Dimm->DimmId;
  Record->SocketId             = Dimm->SocketId;
  Record->RawCapacity          = Dimm->RawCapacity;
  Record->VolatileCapacity     = Dimm->VolatileCapacity;
  Record->SecurityState        = NvmModelSecurityState (Dimm);
  Record->AppDirectCapacity    = Dimm->AppDirectCapacity;
  Record->UnconfiguredCapacity = Dimm->UnconfiguredCapacity;
  Record->ReservedCapacity     = Dimm->ReservedCapacity;
  Record->InaccessibleCapacity = Dimm->InaccessibleCapacity;
  Record->VendorId             = Dimm->VendorId;
  Record->DeviceId             = Dimm->DeviceId;
  Record->SubsystemVendorId    = Dimm->SubsystemVendorId;
  Record->SubsystemDeviceId    = Dimm->SubsystemDeviceId;
  Record->Configured           = Dimm->Configured;
  Record->DimmHandle           = Dimm->DimmHandle;
}

EFI_STATUS
EFIAPI
NvmGetDimms (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT32                    Count,
  IN  UINT32                    Categories,
  OUT DIMM_RECORD               *Dimms
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;
  UINT32      Index;

  (VOID)This;
  (VOID)Categories;  // every category is always filled
  if (NvmSlotEnter (NVM_SLOT_GET_DIMMS, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (Dimms == NULL && Count != 0) {
    return EFI_INVALID_PARAMETER;
  }
  for (Index = 0; Index < Count && Index < Model->DimmCount; Index++) {
    FillDimmRecord (&Dimms[Index], &Model->Dimms[Index]);
  }
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmGetSockets (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  OUT UINT32                    *Count,
  OUT SOCKET_RECORD             **Sockets
  )
{
  NVM_MODEL      *Model;
  EFI_STATUS     Status;
  UINT32         Present;
  UINT32         Filled;
  UINT32         Index;
  UINT32         Dimm;
  UINT64         Mapped;
  SOCKET_RECORD  *Array;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_SOCKETS, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (Count == NULL || Sockets == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  Present = 0;
  for (Index = 0; Index < NVM_MAX_SOCKETS; Index++) {
    Present += Model->Sockets[Index].Present ? 1 : 0;
  }
  *Count   = 0;
  *Sockets = NULL;
  if (Present == 0) {
    return EFI_SUCCESS;
  }
  // The caller frees the array.
  Array = (SOCKET_RECORD *)AllocateZeroPool (Present * sizeof (SOCKET_RECORD));
  if (Array == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }
  Filled = 0;
  for (Index = 0; Index < NVM_MAX_SOCKETS; Index++) {
    if (!Model->Sockets[Index].Present) {
      continue;
    }
    Mapped = 0;
    for (Dimm = 0; Dimm < Model->DimmCount; Dimm++) {
      if (Model->Dimms[Dimm].SocketId == Index) {
        Mapped += Model->Dimms[Dimm].VolatileCapacity + Model->Dimms[Dimm].AppDirectCapacity;
      }
    }
    Array[Filled].SocketId          = (UINT16)Index;
    Array[Filled].MappedMemoryLimit = Model->Sockets[Index].MappedMemoryLimit;
    Array[Filled].TotalMappedMemory = Mapped;
    Filled++;
  }
  *Count   = Filled;
  *Sockets = Array;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmGetMemoryResourcesInfo (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  OUT MEMORY_RESOURCES_RECORD   *Resources
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  UINT32          Index;
  NVM_MODEL_DIMM  *Dimm;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_MEMORY_RESOURCES_INFO, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  if (Resources == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  ZeroMem (Resources, sizeof (*Resources));
  for (Index = 0; Index < Model->DimmCount; Index++) {
    Dimm                             = &Model->Dimms[Index];
    Resources->RawCapacity          += Dimm->RawCapacity;
    Resources->VolatileCapacity     += Dimm->VolatileCapacity;
    Resources->AppDirectCapacity    += Dimm->AppDirectCapacity;
    Resources->UnconfiguredCapacity += Dimm->UnconfiguredCapacity;
    Resources->InaccessibleCapacity += Dimm->InaccessibleCapacity;
    Resources->ReservedCapacity     += Dimm->ReservedCapacity;
  }
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmGetSmartAndHealth (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    DimmId,
  OUT SMART_RECORD              *Smart,
  OUT VOID                      *Reserved1,
  OUT VOID                      *Reserved2,
  OUT VOID                      *Reserved3,
  OUT VOID                      *Reserved4
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  NVM_MODEL_DIMM  *Dimm;

  (VOID)This;
  (VOID)Reserved1;
  (VOID)Reserved2;
  (VOID)Reserved3;
  (VOID)Reserved4;
  if (NvmSlotEnter (NVM_SLOT_GET_SMART_AND_HEALTH, NULL, &Model, &Status, NULL)) {
    return Status;
  }
  Dimm = NvmModelFindDimm (Model, DimmId);
  if (Smart == NULL || Dimm == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  ZeroMem (Smart, sizeof (*Smart));
  Smart->ValidFields = SMART_VALID_HEALTH_STATUS | SMART_VALID_MEDIA_TEMPERATURE |
                       SMART_VALID_CONTROLLER_TEMPERATURE | SMART_VALID_PERCENTAGE_REMAINING;
  Smart->HealthStatus          = Dimm->HealthStatus;
  Smart->MediaTemperature      = Dimm->MediaTemperature;
  Smart->ControllerTemperature = Dimm->ControllerTemperature;
  Smart->PercentageRemaining   = Dimm->PercentageRemaining;
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmGetAlarmThresholds (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    DimmId,
  IN  UINT8                     SensorId,
  OUT UINT16                    *Threshold,
  OUT UINT8                     *EnabledState,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL       *Model;
  EFI_STATUS      Status;
  NVM_MODEL_DIMM  *Dimm;

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_GET_ALARM_THRESHOLDS, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (Threshold == NULL || EnabledState == NULL || CommandStatus == NULL) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  Dimm = NvmModelFindDimm (Model, DimmId);
  if (Dimm == NULL) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_DIMM_NOT_FOUND);
  }
  if (SensorId != SENSOR_PERCENTAGE_REMAINING) {
    return NvmReturn (CommandStatus, EFI_UNSUPPORTED, NVM_ERR_SENSOR_NOT_SUPPORTED);
  }
  *Threshold    = Dimm->AlarmThreshold;
  *EnabledState = Dimm->AlarmEnabled;
  NvmSetGeneralStatus (CommandStatus, NVM_SUCCESS);
  return EFI_SUCCESS;
}

EFI_STATUS
EFIAPI
NvmSetAlarmThresholds (
  IN  NVM_DIMM_CONFIG_PROTOCOL  *This,
  IN  UINT16                    *DimmIds,
  IN  UINT32                    DimmIdCount,
  IN  UINT8                     SensorId,
  IN  UINT16                    Threshold,
  IN  UINT8                     EnabledState,
  OUT COMMAND_STATUS            *CommandStatus
  )
{
  NVM_MODEL   *Model;
  EFI_STATUS  Status;
  UINT16      NvmStatus;
  UINT32      Index;
  BOOLEAN     Selected[NVM_MAX_DIMMS];

  (VOID)This;
  if (NvmSlotEnter (NVM_SLOT_SET_ALARM_THRESHOLDS, CommandStatus, &Model, &Status, NULL)) {
    return Status;
  }
  if (CommandStatus == NULL || EnabledState > 1) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_INVALID_PARAMETER);
  }
  Status = NvmSelectDimms (Model, DimmIds, DimmIdCount, NULL, 0, Selected, &NvmStatus);
  if (EFI_ERROR (Status)) {
    return NvmReturn (CommandStatus, Status, NvmStatus);
  }
  if (SensorId != SENSOR_PERCENTAGE_REMAINING) {
    return NvmReturn (CommandStatus, EFI_UNSUPPORTED, NVM_ERR_SENSOR_NOT_SUPPORTED);
  }
  if (Threshold > 100) {
    return NvmReturn (CommandStatus, EFI_INVALID_PARAMETER, NVM_ERR_THRESHOLD_OUT_OF_RANGE);
  }
  for (Index = 0; Index < Model->DimmCount; Index++) {
    if (Selected[Index]) {
      Model->Dimms[Index].AlarmThreshold = Threshold;
      Model->Dimms[Index].AlarmEnabled   = EnabledState;
      NvmAddObjectStatus (CommandStatus, Model->Dimms[Index].DimmId, NVM_SUCCESS);
    }
  }
  NvmSetGeneralStatus (CommandStatus, NVM_SUCCESS);
  return EFI_SUCCESS;
}

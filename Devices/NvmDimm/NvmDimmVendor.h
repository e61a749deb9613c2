/** @file
  Entry point of the vendor image.
**/
#ifndef NVM_DIMM_VENDOR_H_
#define NVM_DIMM_VENDOR_H_

#include <Uefi.h>
#include <Protocol/NvmDimmConfig.h>
#include "NvmDimmModel.h"

EFI_STATUS EFIAPI NvmDimmVendorEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

// {5B2B6C0E-2D8A-4B6F-9E1C-3A7D4F0C8E21}: the goals a model of the image's
// own applies at power-up (non-volatile, one NVM_MODEL_GOAL per module).
CARVEX_GUID_DEFINE (gNvmGoalMemoryVariableGuid, 0x5B2B6C0E, 0x2D8A, 0x4B6F, 0x9E, 0x1C, 0x3A, 0x7D, 0x4F, 0x0C, 0x8E, 0x21);
#define NVM_GOAL_MEMORY_VARIABLE_NAME  u"NvmDimmGoalsAtPowerUp"

// Makes the kept goals pending in a model just built, before its power cycle.
VOID EFIAPI NvmGoalMemoryRestore (IN OUT NVM_MODEL *Model);
// From now on every successful goal creation or deletion through Protocol
// rewrites the kept goals.
VOID EFIAPI NvmGoalMemoryKeep (IN NVM_MODEL *Model, IN NVM_DIMM_CONFIG_PROTOCOL *Protocol);

#endif

/** @file
  The percentage-remaining alarm threshold pushed to every module.
**/
#ifndef NVM_DIMM_CONFIG_THRESHOLDS_H_
#define NVM_DIMM_CONFIG_THRESHOLDS_H_

#include <Uefi.h>

// Writes Threshold (percent) to each module whose threshold differs, keeping
// the alarm's enabled state; returns the status of the last protocol call.
EFI_STATUS EFIAPI ConfigPercentageRemainingThresholds (IN UINT8 Threshold);

#endif

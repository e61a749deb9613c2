/** @file
  The virtual vendor driver's protocols over a model: the NVM DIMM config
  protocol and the mailbox pass-through. One model per image; the slots
  serve whichever model was bound last.
**/
#ifndef NVM_DIMM_DEVICE_H_
#define NVM_DIMM_DEVICE_H_

#include "NvmDimmModel.h"
#include <Protocol/NvmDimmPassThru.h>

#define NVM_DIMM_CONFIG_PROTOCOL_VERSION  0x00010002

// Model the protocols serve from now on (NULL: every call fails with
// EFI_NOT_READY).
VOID EFIAPI NvmDimmDeviceBind (IN NVM_MODEL *Model OPTIONAL);

NVM_DIMM_CONFIG_PROTOCOL *EFIAPI NvmDimmDeviceConfigProtocol (VOID);
NVM_DIMM_PASS_THRU_PROTOCOL *EFIAPI NvmDimmDevicePassThruProtocol (VOID);

#endif

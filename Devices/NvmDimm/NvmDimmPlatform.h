/** @file
  How a host platform hands its module model to the vendor image: it
  installs this protocol before the image starts. The image then serves the
  host's model in place (so the host reads and persists it between boots)
  instead of building its own from the embedded board.
**/
#ifndef NVM_DIMM_PLATFORM_H_
#define NVM_DIMM_PLATFORM_H_

#include "NvmDimmModel.h"

CARVEX_GUID_DEFINE (gNvmDimmPlatformProtocolGuid, 0x6B1E2F47, 0x3C59, 0x4D8A, 0x91, 0x0E, 0x5A, 0x27, 0xC4, 0x8D, 0x13, 0x6F);

#define NVM_DIMM_PLATFORM_REVISION  1

// The image runs NvmModelPowerCycle on the model before serving it (set it
// at every boot unless the host runs the power-up itself).
#define NVM_DIMM_PLATFORM_POWER_UP_AT_ENTRY  0x00000001

typedef struct {
  UINT32                            Revision;     // NVM_DIMM_PLATFORM_REVISION
  UINT32                            Flags;
  // Host-owned and kept across boots. A model whose Signature is 0 is built
  // by the image from Description (the embedded board when NULL).
  NVM_MODEL                         *Model;
  CONST NVM_PLATFORM_DESCRIPTION    *Description;
} NVM_DIMM_PLATFORM_PROTOCOL;

#endif

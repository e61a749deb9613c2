/** @file
  How a host platform hands its controller model to the controller image:
  it installs this protocol before the image starts, and the image serves
  the host's model in place.
**/
#ifndef BMC_PLATFORM_H_
#define BMC_PLATFORM_H_

#include "BmcModel.h"

CARVEX_GUID_DEFINE (gBmcPlatformProtocolGuid, 0x2D7C6A91, 0x8E04, 0x4B37, 0xA6, 0x5F, 0x19, 0xC3, 0x70, 0xE2, 0x4B, 0x88);

#define BMC_PLATFORM_REVISION  1

typedef struct {
  UINT32       Revision;  // BMC_PLATFORM_REVISION
  UINT32       Reserved;
  // Host-owned and kept across boots; a model whose Signature is 0 is
  // initialised by the image.
  BMC_MODEL    *Model;
} BMC_PLATFORM_PROTOCOL;

#endif

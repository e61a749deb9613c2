/** @file
  The embedded board: two processors with six 128 GiB modules each, every
  module configured for App Direct (one interleaved region per processor),
  security disabled. Texts and identifiers take the model's defaults.
**/
#include "NvmDimmModel.h"

#define DEFAULT_MODULE_CAPACITY  (128ULL * NVM_CAPACITY_ALIGNMENT)

// Socket, board slot number, raw capacity, configured, memory type,
// volatile percent, security, freeze, percentage remaining, threshold,
// alarm enabled.
#define DEFAULT_MODULE(Socket, Slot) \
  { Socket, Slot, DEFAULT_MODULE_CAPACITY, 1, GOAL_MEMORY_TYPE_APP_DIRECT, 0, 0, 0, 100, 50, 1, {}, {}, {}, {}, 0 }

STATIC CONST NVM_PLATFORM_DESCRIPTION  mDefaultPlatform = {
  2,
  12,
  0,
  {
    DEFAULT_MODULE (0, 1),
    DEFAULT_MODULE (0, 2),
    DEFAULT_MODULE (0, 3),
    DEFAULT_MODULE (0, 4),
    DEFAULT_MODULE (0, 5),
    DEFAULT_MODULE (0, 6),
    DEFAULT_MODULE (1, 7),
    DEFAULT_MODULE (1, 8),
    DEFAULT_MODULE (1, 9),
    DEFAULT_MODULE (1, 10),
    DEFAULT_MODULE (1, 11),
    DEFAULT_MODULE (1, 12),
  }
};

CONST NVM_PLATFORM_DESCRIPTION *
EFIAPI
NvmModelDefaultPlatform (
  VOID
  )
{
  return &mDefaultPlatform;
}

/** @file
  What the build generates for the NvmDimmVendorDxe image: its library
  constructors, then its entry point.
**/
#include "NvmDimmVendor.h"
#include <Library/UefiDriverEntryPoint.h>

CARVEX_IMAGE_ENTRY (NvmDimmVendorEntryPoint)

/** @file
  What the build generates for the PlatformDataDxe image: its library
  constructors, then its entry point.
**/
#include "PlatformData.h"
#include <Library/UefiDriverEntryPoint.h>

CARVEX_IMAGE_ENTRY (PlatformDataEntryPoint)

/** @file
  What the build generates for the HiiSampleDxe image: its library
  constructors, then its entry point.
**/
#include "HiiSampleDxe.h"
#include <Library/UefiDriverEntryPoint.h>

CARVEX_IMAGE_ENTRY (HiiSampleDxeEntryPoint)

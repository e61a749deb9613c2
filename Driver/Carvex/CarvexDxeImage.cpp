/** @file
  What the build generates for the CarvexDxe image: its library constructors
  in dependency order, then the driver's entry point.
**/
#include "Carvex.h"
#include <Library/UefiDriverEntryPoint.h>

CARVEX_IMAGE_ENTRY (CarvexEntryPoint)

/** @file
  What the build generates for the BmcVeskDxe image: its library
  constructors, then its entry point.
**/
#include "BmcVesk.h"
#include <Library/UefiDriverEntryPoint.h>

CARVEX_IMAGE_ENTRY (BmcVeskEntryPoint)

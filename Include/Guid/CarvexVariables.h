/** @file
  The driver's own variables and the setup form set GUID they live under.
**/
#ifndef GUID_CARVEX_VARIABLES_H_
#define GUID_CARVEX_VARIABLES_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gCarvexSetupFormSetGuid, 0xE8B18FEE, 0xA44E, 0x4F97, 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98);
// The driver's copy of the performance profile (one byte).
#define DCPMM_PERF_CONFIG_VAR_NAME  u"DcpmmPerfConfigVar"

// Volatile presence flag of the NVM DIMM config protocol at end of POST.
CARVEX_GUID_DEFINE (gCarvekPresentGuid, 0x2CCAB7DD, 0xD558, 0x4549, 0x90, 0x4D, 0xB6, 0x4F, 0x2B, 0x5E, 0x1B, 0x99);
#define CARVEK_PRESENT_NAME  u"CarvekPresent"

#endif

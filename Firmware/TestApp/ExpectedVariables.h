/** @file
  The variables the scenarios look at, written down here from the driver's
  required behaviour rather than taken from the driver's headers, so that a
  wrong name or GUID there is caught.
**/
#ifndef EXPECTED_VARIABLES_H_
#define EXPECTED_VARIABLES_H_

#include "../Common/FwCommon.h"

// The driver's presence flag: boot-service access only, one byte.
inline CHAR16    gExpectCarvekPresentName[] = u"CarvekPresent";
inline EFI_GUID  gExpectCarvekPresentGuid   = { 0x2CCAB7DD, 0xD558, 0x4549, { 0x90, 0x4D, 0xB6, 0x4F, 0x2B, 0x5E, 0x1B, 0x99 } };

// The driver's copy of the performance profile.
inline CHAR16    gExpectPerfConfigName[] = u"DcpmmPerfConfigVar";
inline EFI_GUID  gExpectPerfConfigGuid   = { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } };

// The platform's memory setup; byte 364 is the performance profile.
inline CHAR16    gExpectSocketMemoryConfigName[] = u"SocketMemoryConfig";
inline EFI_GUID  gExpectSocketMemoryConfigGuid   = { 0x98CF19ED, 0x4109, 0x4681, { 0xB7, 0x9D, 0x91, 0x96, 0x75, 0x7C, 0x78, 0x24 } };
#define EXPECT_SOCKET_MEMORY_CONFIG_SIZE         477
#define EXPECT_SOCKET_MEMORY_CONFIG_PERF_OFFSET  364

// The request for a reset after POST.
inline CHAR16    gExpectPostResetReqName[] = u"PostResetReq";
inline EFI_GUID  gExpectPostResetReqGuid   = { 0x3E40977A, 0x425E, 0x460F, { 0xB9, 0xCD, 0x2D, 0xFA, 0x3E, 0x74, 0xFF, 0x8B } };

// The alarm thresholds: in force, chosen, pending flag, defaults flag.
inline CHAR16    gExpectCarvekConfigName[] = u"CarvekConfigVar";
inline EFI_GUID  gExpectCarvekConfigGuid   = { 0xE8B18FEE, 0xA44E, 0x4F97, { 0xB5, 0xEE, 0x2D, 0x2C, 0xA5, 0x4A, 0x30, 0x98 } };
#define EXPECT_CARVEK_CONFIG_SIZE  4

#define EXPECT_ATTRIBUTES_BS        0x2
#define EXPECT_ATTRIBUTES_NV_BS     0x3
#define EXPECT_ATTRIBUTES_NV_BS_RT  0x7

#define EXPECT_CAPABILITY_APP_DIRECT   0x10ULL
#define EXPECT_CAPABILITY_MEMORY_MODE  0x20ULL

#endif

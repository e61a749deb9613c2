/** @file
  Variables the platform's memory initialisation owns and the driver reads or
  writes, with their vendor GUIDs and the offsets the driver touches.
**/
#ifndef GUID_PLATFORM_VARIABLES_H_
#define GUID_PLATFORM_VARIABLES_H_

#include <Uefi/UefiBaseType.h>

// SocketMemoryConfig: the platform's memory setup, read and written whole.
CARVEX_GUID_DEFINE (gSocketMemoryConfigGuid, 0x98CF19ED, 0x4109, 0x4681, 0xB7, 0x9D, 0x91, 0x96, 0x75, 0x7C, 0x78, 0x24);
#define SOCKET_MEMORY_CONFIG_NAME              u"SocketMemoryConfig"
#define SOCKET_MEMORY_CONFIG_SIZE              477
#define SOCKET_MEMORY_CONFIG_ERASE_ALL_OFFSET  237
#define SOCKET_MEMORY_CONFIG_PERF_OFFSET       364

// PostResetReq and KivSyncWithOob share this vendor GUID.
CARVEX_GUID_DEFINE (gPlatformRequestVariableGuid, 0x3E40977A, 0x425E, 0x460F, 0xB9, 0xCD, 0x2D, 0xFA, 0x3E, 0x74, 0xFF, 0x8B);
#define POST_RESET_REQ_NAME  u"PostResetReq"
// One byte, 1: the configuration manager resynchronises the whole KIV copy
// with the controller at its next chance, then deletes the variable.
#define KIV_SYNC_WITH_OOB_NAME  u"KivSyncWithOob"

// Performance profile values, shared by the platform and the driver's copy.
#define PERF_PROFILE_BW_OPTIMIZED       0
#define PERF_PROFILE_LATENCY_OPTIMIZED  1
#define PERF_PROFILE_BALANCED           2

#endif

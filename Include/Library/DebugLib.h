/** @file
  Debug print with a level mask, and assertions that exist only in builds
  with assertions enabled (CARVEX_ASSERTS_ENABLED).
**/
#ifndef LIBRARY_DEBUG_LIB_H_
#define LIBRARY_DEBUG_LIB_H_

#include <Uefi.h>

#define DEBUG_INIT      0x00000001
#define DEBUG_WARN      0x00000002
#define DEBUG_LOAD      0x00000004
#define DEBUG_FS        0x00000008
#define DEBUG_POOL      0x00000010
#define DEBUG_PAGE      0x00000020
#define DEBUG_INFO      0x00000040
#define DEBUG_DISPATCH  0x00000080
#define DEBUG_VARIABLE  0x00000100
#define DEBUG_BM        0x00000400
#define DEBUG_BLKIO     0x00001000
#define DEBUG_NET       0x00004000
#define DEBUG_UNDI      0x00010000
#define DEBUG_LOADFILE  0x00020000
#define DEBUG_EVENT     0x00080000
#define DEBUG_GCD       0x00100000
#define DEBUG_CACHE     0x00200000
#define DEBUG_VERBOSE   0x00400000
#define DEBUG_ERROR     0x80000000

// Formats with the print engine and hands the text to the platform's sink
// when ErrorLevel is enabled for this image.
VOID EFIAPI DebugPrint (IN UINTN ErrorLevel, IN CONST CHAR8 *Format, ...);
VOID EFIAPI DebugVPrint (IN UINTN ErrorLevel, IN CONST CHAR8 *Format, IN VA_LIST Marker);
BOOLEAN EFIAPI DebugPrintLevelEnabled (IN UINTN ErrorLevel);
// Finds the platform's debug sink and asks it once which levels this image
// prints; run by ProcessCommonLibraryConstructors.
EFI_STATUS EFIAPI DebugLibConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);
VOID EFIAPI DebugAssert (IN CONST CHAR8 *FileName, IN UINTN LineNumber, IN CONST CHAR8 *Description);

#define DEBUG(Expression)  \
  do {                     \
    DebugPrint Expression; \
  } while (FALSE)

#ifdef CARVEX_ASSERTS_ENABLED
#define ASSERT(Expression)                                  \
  do {                                                      \
    if (!(Expression)) {                                    \
      DebugAssert (__FILE__, __LINE__, #Expression);        \
    }                                                       \
  } while (FALSE)
#define ASSERT_EFI_ERROR(StatusParameter)  ASSERT (!EFI_ERROR (StatusParameter))
#define DEBUG_CODE_ENABLED  1
#else
#define ASSERT(Expression)                 do { } while (FALSE)
#define ASSERT_EFI_ERROR(StatusParameter)  do { } while (FALSE)
#define DEBUG_CODE_ENABLED  0
#endif

// Record CR: the containing record of a field, checked against its signature
// in builds with assertions enabled.
#ifdef CARVEX_ASSERTS_ENABLED
#define CR(Record, TYPE, Field, TestSignature)                               \
  ((BASE_CR (Record, TYPE, Field)->Signature != (TestSignature))            \
     ? (DebugAssert (__FILE__, __LINE__, "CR has Bad Signature"),           \
        BASE_CR (Record, TYPE, Field))                                       \
     : BASE_CR (Record, TYPE, Field))
#else
#define CR(Record, TYPE, Field, TestSignature)  BASE_CR (Record, TYPE, Field)
#endif

#endif

/** @file
  Base types, status codes and GUIDs shared by every image, host and firmware.
  Freestanding: only the compiler's own stddef.h/stdint.h/stdarg.h.
**/
#ifndef UEFI_BASE_TYPE_H_
#define UEFI_BASE_TYPE_H_

#include <stddef.h>
#include <stdint.h>
#include <stdarg.h>

#define IN
#define OUT
#define OPTIONAL
#define CONST  const
#define STATIC static
#define VOID   void
// One calling convention per build: none on the host, the target's default
// (Microsoft x64) in firmware.
#define EFIAPI

#ifndef TRUE
#define TRUE   ((BOOLEAN)(1 == 1))
#define FALSE  ((BOOLEAN)(0 == 1))
#endif
#ifndef NULL
#define NULL  nullptr
#endif

typedef uint8_t   UINT8;
typedef int8_t    INT8;
typedef uint16_t  UINT16;
typedef int16_t   INT16;
typedef uint32_t  UINT32;
typedef int32_t   INT32;
typedef uint64_t  UINT64;
typedef int64_t   INT64;
typedef uint64_t  UINTN;
typedef int64_t   INTN;
typedef uint8_t   BOOLEAN;
typedef char      CHAR8;
typedef char16_t  CHAR16;

static_assert (sizeof (UINTN) == 8, "UINTN is 64-bit on every target");
static_assert (sizeof (CHAR16) == 2, "CHAR16 is UCS-2");
static_assert (sizeof (BOOLEAN) == 1, "BOOLEAN is one byte");

typedef UINTN   EFI_STATUS;
typedef UINTN   RETURN_STATUS;
typedef VOID    *EFI_HANDLE;
typedef VOID    *EFI_EVENT;
typedef UINTN   EFI_TPL;
typedef UINT64  EFI_PHYSICAL_ADDRESS;
typedef UINT64  EFI_VIRTUAL_ADDRESS;
typedef UINT64  EFI_LBA;

typedef struct {
  UINT32    Data1;
  UINT16    Data2;
  UINT16    Data3;
  UINT8     Data4[8];
} EFI_GUID;
typedef EFI_GUID GUID;
static_assert (sizeof (EFI_GUID) == 16, "EFI_GUID is 16 bytes");

typedef struct {
  UINT16    Year;
  UINT8     Month;
  UINT8     Day;
  UINT8     Hour;
  UINT8     Minute;
  UINT8     Second;
  UINT8     Pad1;
  UINT32    Nanosecond;
  INT16     TimeZone;
  UINT8     Daylight;
  UINT8     Pad2;
} EFI_TIME;
static_assert (sizeof (EFI_TIME) == 16, "EFI_TIME is 16 bytes");

#define MAX_BIT      0x8000000000000000ULL
#define MAX_UINTN    ((UINTN)~0ULL)
#define MAX_UINT8    ((UINT8)0xFF)
#define MAX_UINT16   ((UINT16)0xFFFF)
#define MAX_UINT32   ((UINT32)0xFFFFFFFF)
#define MAX_UINT64   ((UINT64)0xFFFFFFFFFFFFFFFFULL)

#define ENCODE_ERROR(Code)    ((EFI_STATUS)(MAX_BIT | (Code)))
#define ENCODE_WARNING(Code)  ((EFI_STATUS)(Code))
#define EFI_ERROR(A)          (((INTN)(EFI_STATUS)(A)) < 0)
#define RETURN_ERROR(A)       EFI_ERROR (A)

#define EFI_SUCCESS               ((EFI_STATUS)0)
#define EFI_LOAD_ERROR            ENCODE_ERROR (1)
#define EFI_INVALID_PARAMETER     ENCODE_ERROR (2)
#define EFI_UNSUPPORTED           ENCODE_ERROR (3)
#define EFI_BAD_BUFFER_SIZE       ENCODE_ERROR (4)
#define EFI_BUFFER_TOO_SMALL      ENCODE_ERROR (5)
#define EFI_NOT_READY             ENCODE_ERROR (6)
#define EFI_DEVICE_ERROR          ENCODE_ERROR (7)
#define EFI_WRITE_PROTECTED       ENCODE_ERROR (8)
#define EFI_OUT_OF_RESOURCES      ENCODE_ERROR (9)
#define EFI_VOLUME_CORRUPTED      ENCODE_ERROR (10)
#define EFI_VOLUME_FULL           ENCODE_ERROR (11)
#define EFI_NO_MEDIA              ENCODE_ERROR (12)
#define EFI_MEDIA_CHANGED         ENCODE_ERROR (13)
#define EFI_NOT_FOUND             ENCODE_ERROR (14)
#define EFI_ACCESS_DENIED         ENCODE_ERROR (15)
#define EFI_NO_RESPONSE           ENCODE_ERROR (16)
#define EFI_NO_MAPPING            ENCODE_ERROR (17)
#define EFI_TIMEOUT               ENCODE_ERROR (18)
#define EFI_NOT_STARTED           ENCODE_ERROR (19)
#define EFI_ALREADY_STARTED       ENCODE_ERROR (20)
#define EFI_ABORTED               ENCODE_ERROR (21)
#define EFI_ICMP_ERROR            ENCODE_ERROR (22)
#define EFI_TFTP_ERROR            ENCODE_ERROR (23)
#define EFI_PROTOCOL_ERROR        ENCODE_ERROR (24)
#define EFI_INCOMPATIBLE_VERSION  ENCODE_ERROR (25)
#define EFI_SECURITY_VIOLATION    ENCODE_ERROR (26)
#define EFI_CRC_ERROR             ENCODE_ERROR (27)
#define EFI_END_OF_MEDIA          ENCODE_ERROR (28)
#define EFI_END_OF_FILE           ENCODE_ERROR (31)
#define EFI_INVALID_LANGUAGE      ENCODE_ERROR (32)
#define EFI_COMPROMISED_DATA      ENCODE_ERROR (33)
#define EFI_IP_ADDRESS_CONFLICT   ENCODE_ERROR (34)
#define EFI_HTTP_ERROR            ENCODE_ERROR (35)
// PI: bit 63, bit 61 and 2.
#define EFI_NOT_AVAILABLE_YET     ((EFI_STATUS)0xA000000000000002ULL)

#define EFI_WARN_UNKNOWN_GLYPH     ENCODE_WARNING (1)
#define EFI_WARN_DELETE_FAILURE    ENCODE_WARNING (2)
#define EFI_WARN_WRITE_FAILURE     ENCODE_WARNING (3)
#define EFI_WARN_BUFFER_TOO_SMALL  ENCODE_WARNING (4)
#define EFI_WARN_STALE_DATA        ENCODE_WARNING (5)
#define EFI_WARN_FILE_SYSTEM       ENCODE_WARNING (6)
#define EFI_WARN_RESET_REQUIRED    ENCODE_WARNING (7)

static_assert (EFI_NOT_FOUND == 0x800000000000000EULL, "x64 error encoding");

// Doubly linked list node; a head is a node whose links point to itself.
typedef struct LIST_ENTRY {
  struct LIST_ENTRY    *ForwardLink;
  struct LIST_ENTRY    *BackLink;
} LIST_ENTRY;
static_assert (sizeof (LIST_ENTRY) == 16, "LIST_ENTRY is two pointers");

#define ARRAY_SIZE(Array)  (sizeof (Array) / sizeof ((Array)[0]))
#define OFFSET_OF(Type, Field)  offsetof (Type, Field)
#define BASE_CR(Record, Type, Field) \
  ((Type *)((CHAR8 *)(Record) - OFFSET_OF (Type, Field)))
#define SIGNATURE_16(A, B)  ((A) | ((B) << 8))
#define SIGNATURE_32(A, B, C, D) \
  (SIGNATURE_16 (A, B) | (SIGNATURE_16 (C, D) << 16))
#define SIGNATURE_64(A, B, C, D, E, F, G, H) \
  (SIGNATURE_32 (A, B, C, D) | ((UINT64)(SIGNATURE_32 (E, F, G, H)) << 32))

#define VA_LIST           va_list
#define VA_START(M, P)    va_start (M, P)
#define VA_ARG(M, T)      va_arg (M, T)
#define VA_END(M)         va_end (M)
#define VA_COPY(D, S)     va_copy (D, S)

// GUIDs are module-wide variables (one copy per image, constant-initialised)
// so that they can be passed where UEFI prototypes take EFI_GUID *.
#define CARVEX_GUID_DEFINE(Name, D1, D2, D3, B0, B1, B2, B3, B4, B5, B6, B7) \
  inline EFI_GUID Name = { D1, D2, D3, { B0, B1, B2, B3, B4, B5, B6, B7 } }

#endif

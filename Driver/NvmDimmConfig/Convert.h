/** @file
  Capacity, firmware version and persistent memory type texts, and typed
  capacities back to bytes.
**/
#ifndef NVM_DIMM_CONFIG_CONVERT_H_
#define NVM_DIMM_CONFIG_CONVERT_H_

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>

// Capacity unit codes, shared with the setup variable's unit selector.
#define CAPACITY_UNITS_B    2
#define CAPACITY_UNITS_MB   3
#define CAPACITY_UNITS_MIB  4
#define CAPACITY_UNITS_GB   5
#define CAPACITY_UNITS_GIB  6
#define CAPACITY_UNITS_TB   7
#define CAPACITY_UNITS_TIB  8

#define BYTES_PER_MB   1000000ULL
#define BYTES_PER_MIB  0x100000ULL
#define BYTES_PER_GB   1000000000ULL
#define BYTES_PER_GIB  0x40000000ULL
#define BYTES_PER_TB   0xE8D4A51000ULL
#define BYTES_PER_TIB  0x10000000000ULL

// Persistent memory type bits of a region.
#define PERSISTENT_MEMORY_TYPE_APP_DIRECT     0x01
#define PERSISTENT_MEMORY_TYPE_APP_DIRECT_NI  0x02

// Characters of a capacity or firmware version text field, NUL included.
#define CAPACITY_TEXT_CHARS  19
#define FW_VERSION_CHARS     19

// Setup string holding the decimal separator typed capacities use.
#define STR_DECIMAL_SEPARATOR  0x018F

// Bytes as "<integer>.<one truncated digit> <unit>" (or "<n> B" below 1 MiB).
EFI_STATUS EFIAPI ConvertCapacityToStr (IN UINT64 Bytes, OUT CHAR16 *Buffer, IN UINTN BufferSize);
EFI_STATUS EFIAPI ConvertCapacityPerUnits (IN UINT64 Bytes, IN UINT16 Units, OUT double *Value);
// Typed decimal text in Units to bytes; the text's trailing fraction zeros
// are stripped in place.
EFI_STATUS EFIAPI ConvertCapacityStrToBytes (IN EFI_HII_HANDLE HiiHandle, IN UINT8 Units, IN OUT CHAR16 *Text, OUT UINT64 *Bytes);
EFI_STATUS EFIAPI ConvertToBytes (IN double Value, IN UINT16 Units, OUT UINT64 *Bytes);
EFI_STATUS EFIAPI SafeCapacityConversionToBytes (IN double Value, IN UINT64 Multiplier, OUT UINT64 *Bytes);
EFI_STATUS EFIAPI StringToDouble (IN EFI_HII_HANDLE HiiHandle, IN OUT CHAR16 *Text, OUT double *Value);
// The decimal separator of the setup strings as a new pool string the caller
// frees; NULL when it cannot be read.
CHAR16 *EFIAPI GetDecimalSeparator (IN EFI_HII_HANDLE HiiHandle);
UINT64 EFIAPI Pow (IN UINT64 Base, IN UINT32 Exponent);
// Out holds FW_VERSION_CHARS characters.
VOID EFIAPI ConvertFwVersion (OUT CHAR16 *Out, IN UINT8 Field1, IN UINT8 Field2, IN UINT8 Field3, IN UINT16 Field4);
// TypeMask bit 0 names Text1, bit 1 Text2; *Out is a new pool string.
EFI_STATUS EFIAPI ConvertPersistentMemoryTypeToStr (IN UINT8 TypeMask, IN CONST CHAR16 *Text1, IN CONST CHAR16 *Text2, OUT CHAR16 **Out);

#endif

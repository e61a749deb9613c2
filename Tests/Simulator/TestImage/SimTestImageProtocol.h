/** @file
  What the simulator's test image publishes, so that a test can read the
  image's module-wide state from outside.
**/
#ifndef SIM_TEST_IMAGE_PROTOCOL_H_
#define SIM_TEST_IMAGE_PROTOCOL_H_

#include <Uefi/UefiBaseType.h>

CARVEX_GUID_DEFINE (gSimTestImageProtocolGuid, 0x6a0c5e1d, 0x2b7f, 0x4c39, 0x8e, 0x51, 0x0d, 0x93, 0xa4, 0x7b, 0x16, 0xc2);

// Variable (under the protocol's GUID) choosing how the entry point behaves.
#define SIM_TEST_IMAGE_MODE_VARIABLE  u"SimTestImageMode"
#define SIM_TEST_IMAGE_MODE_NORMAL    0
// Creates a ready-to-boot event and installs the protocol, then fails.
#define SIM_TEST_IMAGE_MODE_FAIL_ENTRY  1

typedef UINT32 (EFIAPI *SIM_TEST_IMAGE_ENTRY_COUNT)(VOID);

typedef struct {
  SIM_TEST_IMAGE_ENTRY_COUNT    EntryCount;       // entries of this mapping of the image
  UINT64                        CapabilityMask;   // PCD read at entry
  VOID                          *KeptBuffer;      // held until the end of the boot
} SIM_TEST_IMAGE_PROTOCOL;

#endif

/** @file
  Module inventory: the module count, the protocol's raw module records, the
  driver's module details records and the processor sockets.
**/
#ifndef NVM_DIMM_CONFIG_DIMM_INVENTORY_H_
#define NVM_DIMM_CONFIG_DIMM_INVENTORY_H_

#include <Uefi.h>
#include <NvmDimmRecords.h>

// Sockets a caller of GetSockets makes room for.
#define MAX_SOCKETS  8

// One module as the driver shows it, in the protocol's module order.
typedef struct {
  CHAR16    DeviceLocator[DIMM_DEVICE_LOCATOR_LENGTH];
  CHAR16    FwVer[19];
  CHAR16    DimmUid[DIMM_UID_LENGTH];
  UINT16    VendorId;
  UINT16    DeviceId;
  UINT16    SubsystemVendorId;
  UINT16    SubsystemDeviceId;
  UINT16    SocketId;
  UINT64    Capacity;              // raw capacity, bytes
  UINT64    VolatileCapacity;
  UINT64    AppDirectCapacity;
  UINT64    UnconfiguredCapacity;
  UINT64    ReservedCapacity;
  UINT64    InaccessibleCapacity;
  UINT8     Configured;
  UINT16    DimmID;                // the protocol's module identifier
  UINT16    DimmHandle;            // low 16 bits of the mailbox handle
  UINT8     PercentageRemaining;
  UINT8     SecurityState;
  UINT8     AutoUnlockState;
} DIMM_DETAILS;

// The module count (cached for the boot on success); 0 on any failure.
UINT32 EFIAPI GetDimmCount (VOID);
// Always asks the protocol; the caller frees *ppDimms. No modules: NULL, 0.
EFI_STATUS EFIAPI GetDimms (OUT DIMM_RECORD **ppDimms, OUT UINT32 *pCount);
// The caller frees *ppDimms, which it owns as soon as it is set, even when
// a later health query fails. No modules: both outputs untouched.
EFI_STATUS EFIAPI GetDimmDetails (OUT DIMM_DETAILS **ppDimms, OUT UINT32 *pCount);
// *pCount: in, room in pSocketIds; out, number of sockets.
EFI_STATUS EFIAPI GetSockets (OUT UINT16 *pSocketIds, IN OUT UINT32 *pCount);

// A raw record's device locator and unique identifier texts. The records sit
// in pool arrays at a 688-byte stride, so both texts are CHAR16-aligned.
inline CONST CHAR16 *
DimmRecordLocator (
  IN CONST DIMM_RECORD  *pDimm
  )
{
  return reinterpret_cast<CONST CHAR16 *>(reinterpret_cast<CONST UINT8 *>(pDimm) + OFFSET_OF (DIMM_RECORD, DeviceLocator));
}

inline CONST CHAR16 *
DimmRecordUid (
  IN CONST DIMM_RECORD  *pDimm
  )
{
  return reinterpret_cast<CONST CHAR16 *>(reinterpret_cast<CONST UINT8 *>(pDimm) + OFFSET_OF (DIMM_RECORD, DimmUid));
}

#endif

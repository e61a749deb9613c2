/** @file
  Physical presence: a small registry of presence methods, each named by a
  GUID, and the checks the driver makes before requests that need somebody
  at the machine or a remote operator the controller vouches for.
**/
#ifndef LIBRARY_PHYSICAL_PRESENCE_HANDLER_SUPPORT_LIB_H_
#define LIBRARY_PHYSICAL_PRESENCE_HANDLER_SUPPORT_LIB_H_

#include <Uefi.h>

// {BF563BF1-79FE-4FE8-A4C9-2966378123FA}: the security jumper.
CARVEX_GUID_DEFINE (gPhysicalPresenceJumperGuid, 0xBF563BF1, 0x79FE, 0x4FE8, 0xA4, 0xC9, 0x29, 0x66, 0x37, 0x81, 0x23, 0xFA);
// {B8EA7CFA-80C2-449F-AA9C-A055C9F9C956}: remote presence at the controller.
CARVEX_GUID_DEFINE (gPhysicalPresenceRemoteGuid, 0xB8EA7CFA, 0x80C2, 0x449F, 0xAA, 0x9C, 0xA0, 0x55, 0xC9, 0xF9, 0xC9, 0x56);

#define PHYSICAL_PRESENCE_HANDLER_SLOTS  5

typedef BOOLEAN (EFIAPI *PHYSICAL_PRESENCE_IS_ASSERTED)(IN UINT8 Param);
typedef EFI_STATUS (EFIAPI *PHYSICAL_PRESENCE_OPERATION)(VOID);

typedef struct {
  CONST CHAR16                     *Name;
  EFI_GUID                         MethodGuid;  // all zero: an empty slot
  PHYSICAL_PRESENCE_IS_ASSERTED    IsAsserted;
  PHYSICAL_PRESENCE_OPERATION      Operation2;  // EFI_UNSUPPORTED in the built-ins
  PHYSICAL_PRESENCE_OPERATION      Operation3;  // does nothing in the built-ins
} PhysicalPresenceHandler;

extern UINT32  mPhysicalPresenceHandleCount;

EFI_STATUS EFIAPI PPHConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);
EFI_STATUS EFIAPI RppHandlerConstructor (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

// Copies *pHandler into its slot: the built-in GUIDs keep slots 0 and 1;
// others take the next free slot. EFI_OUT_OF_RESOURCES when none is left.
EFI_STATUS EFIAPI PPRegister (IN CONST PhysicalPresenceHandler *pHandler);
// The registered method with MethodGuid; EFI_OUT_OF_RESOURCES when none.
EFI_STATUS EFIAPI PPGet (IN CONST EFI_GUID *MethodGuid, OUT PhysicalPresenceHandler **ppHandler);
// Asks one method, or each registered method in slot order until one says
// yes. *MethodUsed receives the answering method's GUID, or all zero.
BOOLEAN EFIAPI PPHIsAsserted (IN CONST EFI_GUID *MethodGuid OPTIONAL, IN UINT8 Param, OUT EFI_GUID *MethodUsed);

BOOLEAN EFIAPI IsRPPAsserted (VOID);
// The jumper alone.
BOOLEAN EFIAPI IsHwPhysPresenceAsserted (VOID);
// The jumper, or remote presence enabled and asserted at the controller.
BOOLEAN EFIAPI IsPhysPresenceAsserted (VOID);

#endif

/** @file
  A small image for the simulator's tests: a module-wide counter that a
  fresh mapping starts at zero, two pool allocations it never frees, and a
  protocol that shows both.
**/
#include <Uefi.h>
#include <Library/UefiDriverEntryPoint.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Library/UefiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/DebugLib.h>
#include <Library/PcdLib.h>

#include "SimTestImageProtocol.h"

namespace {

UINT32                   mEntryCount;
VOID                     *mKeptBuffer;
VOID                     *mSecondBuffer;
SIM_TEST_IMAGE_PROTOCOL  mProtocol;
CHAR16                   mModeName[] = SIM_TEST_IMAGE_MODE_VARIABLE;

UINT32
EFIAPI
EntryCount (
  VOID
  )
{
  return mEntryCount;
}

VOID
EFIAPI
OnReadyToBoot (
  IN EFI_EVENT Event,
  IN VOID      *Context
  )
{
  (VOID)Event;
  (VOID)Context;
  DEBUG ((DEBUG_INFO, "SimTestImage: ready to boot\n"));
}

UINT8
ReadMode (
  VOID
  )
{
  UINT8       Mode;
  UINTN       Size;
  EFI_STATUS  Status;

  Mode   = SIM_TEST_IMAGE_MODE_NORMAL;
  Size   = sizeof (Mode);
  Status = gRT->GetVariable (mModeName, &gSimTestImageProtocolGuid, NULL, &Size, &Mode);
  return EFI_ERROR (Status) ? SIM_TEST_IMAGE_MODE_NORMAL : Mode;
}

EFI_STATUS
EFIAPI
SimTestImageEntry (
  IN EFI_HANDLE       ImageHandle,
  IN EFI_SYSTEM_TABLE *SystemTable
  )
{
  EFI_HANDLE  Handle;
  EFI_EVENT   Event;
  EFI_STATUS  Status;

  (VOID)ImageHandle;
  (VOID)SystemTable;
  mEntryCount++;
  DEBUG ((DEBUG_INFO, "SimTestImage: entry %u\n", mEntryCount));

  mKeptBuffer = AllocatePool (48);
  if (mKeptBuffer == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }

  mSecondBuffer = AllocateZeroPool (16);
  if (mSecondBuffer == NULL) {
    FreePool (mKeptBuffer);
    mKeptBuffer = NULL;
    return EFI_OUT_OF_RESOURCES;
  }

  mProtocol.EntryCount     = EntryCount;
  mProtocol.CapabilityMask = PcdGet64 (PlatformCapabilityMask);
  mProtocol.KeptBuffer     = mKeptBuffer;
  Handle                   = NULL;
  Status                   = gBS->InstallProtocolInterface (&Handle, &gSimTestImageProtocolGuid, EFI_NATIVE_INTERFACE, &mProtocol);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  if (ReadMode () == SIM_TEST_IMAGE_MODE_FAIL_ENTRY) {
    EfiCreateEventReadyToBootEx (TPL_CALLBACK, OnReadyToBoot, NULL, &Event);
    return EFI_ABORTED;
  }

  return EFI_SUCCESS;
}

}  // namespace

CARVEX_IMAGE_ENTRY (SimTestImageEntry)

#include "DeviceFakePlatform.h"

#include <cstdlib>
#include <cstring>

#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

namespace {

DeviceFakePlatform  *gFake;

bool SameGuid (const EFI_GUID &A, const EFI_GUID &B)
{
  return std::memcmp (&A, &B, sizeof (EFI_GUID)) == 0;
}

EFI_STATUS EFIAPI FakeAllocatePool (EFI_MEMORY_TYPE, UINTN Size, VOID **Buffer)
{
  if (gFake->FailAllocation != 0 && --gFake->FailAllocation == 0) {
    return EFI_OUT_OF_RESOURCES;
  }
  *Buffer = std::malloc (Size == 0 ? 1 : Size);
  gFake->Live.insert (*Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeFreePool (VOID *Buffer)
{
  if (gFake->Live.erase (Buffer) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  std::free (Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeLocateProtocol (EFI_GUID *Guid, VOID *, VOID **Interface)
{
  for (const auto &Entry : gFake->Protocols) {
    if (SameGuid (Entry.Guid, *Guid)) {
      *Interface = Entry.Interface;
      return EFI_SUCCESS;
    }
  }
  *Interface = nullptr;
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI FakeInstallProtocolInterface (EFI_HANDLE *Handle, EFI_GUID *Guid, EFI_INTERFACE_TYPE, VOID *Interface)
{
  if (*Handle == nullptr) {
    *Handle = reinterpret_cast<EFI_HANDLE> (0x2000);
  }
  gFake->Installs.push_back ({ *Guid, Interface });
  gFake->Protocols.push_back ({ *Guid, Interface });
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeGetVariable (CHAR16 *, EFI_GUID *, UINT32 *, UINTN *, VOID *)
{
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI FakeSetVariable (CHAR16 *, EFI_GUID *, UINT32, UINTN, VOID *)
{
  return EFI_WRITE_PROTECTED;
}

}  // namespace

DeviceFakePlatform::DeviceFakePlatform ()
{
  gFake                                 = this;
  BootServices.AllocatePool             = FakeAllocatePool;
  BootServices.FreePool                 = FakeFreePool;
  BootServices.LocateProtocol           = FakeLocateProtocol;
  BootServices.InstallProtocolInterface = FakeInstallProtocolInterface;
  mPrevious                             = gBS;
  gBS                                   = &BootServices;
  RuntimeServices.GetVariable           = FakeGetVariable;
  RuntimeServices.SetVariable           = FakeSetVariable;
  mPreviousRuntime                      = gRT;
  gRT                                   = &RuntimeServices;
}

DeviceFakePlatform::~DeviceFakePlatform ()
{
  for (VOID *Block : Live) {
    std::free (Block);
  }
  gBS   = mPrevious;
  gRT   = mPreviousRuntime;
  gFake = nullptr;
}

void DeviceFakePlatform::Publish (const EFI_GUID &Guid, VOID *Interface)
{
  Protocols.push_back ({ Guid, Interface });
}

VOID *DeviceFakePlatform::Installed (const EFI_GUID &Guid) const
{
  for (const auto &Entry : Installs) {
    if (SameGuid (Entry.Guid, Guid)) {
      return Entry.Interface;
    }
  }
  return nullptr;
}

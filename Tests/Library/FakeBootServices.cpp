#include "FakeBootServices.h"

#include <cstdlib>
#include <cstring>

#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiDriverEntryPoint.h>

namespace {

FakeBootServices  *gFake = nullptr;

EFI_STATUS EFIAPI
FakeAllocatePool (EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer)
{
  FakeBootServices &Fake = CurrentFake ();
  Fake.PoolTypes.push_back (PoolType);
  if (Fake.FailNextAllocation) {
    Fake.FailNextAllocation = false;
    return EFI_OUT_OF_RESOURCES;
  }

  *Buffer = std::malloc (Size == 0 ? 1 : Size);
  // Fresh pool is not zero: fill it so that a missing ZeroMem shows.
  std::memset (*Buffer, 0xA5, Size);
  Fake.Live.insert (*Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
FakeFreePool (VOID *Buffer)
{
  FakeBootServices &Fake = CurrentFake ();
  if (Fake.Live.erase (Buffer) == 0) {
    Fake.FreeFailures++;
    return EFI_INVALID_PARAMETER;
  }

  std::free (Buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
FakeLocateProtocol (EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
{
  (void)Registration;
  return CurrentFake ().Locate (*Protocol, Interface);
}

EFI_STATUS EFIAPI
FakeCreateEventEx (UINT32 Type, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY NotifyFunction, const VOID *NotifyContext, const EFI_GUID *EventGroup, EFI_EVENT *Event)
{
  CurrentFake ().Events.push_back ({ Type, NotifyTpl, NotifyFunction, NotifyContext, EventGroup });
  *Event = reinterpret_cast<EFI_EVENT> (CurrentFake ().Events.size ());
  return EFI_SUCCESS;
}

}  // namespace

FakeBootServices &
CurrentFake ()
{
  return *gFake;
}

FakeBootServices::FakeBootServices ()
{
  BootServices.AllocatePool   = FakeAllocatePool;
  BootServices.FreePool       = FakeFreePool;
  BootServices.LocateProtocol = FakeLocateProtocol;
  BootServices.CreateEventEx  = FakeCreateEventEx;
  SystemTable.BootServices    = &BootServices;
  SystemTable.RuntimeServices = &RuntimeServices;
  gFake = this;
  RunConstructors ();
}

FakeBootServices::~FakeBootServices ()
{
  for (VOID *Block : Live) {
    std::free (Block);
  }

  // Leave the libraries with no platform, as at image load.
  ProcessCommonLibraryConstructors (nullptr, nullptr);
  gFake = nullptr;
}

void
FakeBootServices::AddProtocol (const EFI_GUID &Guid, VOID *Interface)
{
  mProtocols.emplace_back (Guid, Interface);
}

EFI_STATUS
FakeBootServices::Locate (const EFI_GUID &Guid, VOID **Interface)
{
  for (auto &[Known, Pointer] : mProtocols) {
    if (std::memcmp (&Known, &Guid, sizeof (EFI_GUID)) == 0) {
      *Interface = Pointer;
      return EFI_SUCCESS;
    }
  }

  *Interface = nullptr;
  return EFI_NOT_FOUND;
}

void
FakeBootServices::RunConstructors (EFI_HANDLE ImageHandle)
{
  ProcessCommonLibraryConstructors (ImageHandle, &SystemTable);
}

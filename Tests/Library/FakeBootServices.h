// A minimal boot services table for library tests: pool over malloc with a
// live-allocation count and a one-shot failure, LocateProtocol over a short
// list, and CreateEventEx that records its arguments. The simulated platform
// proper lives in Simulator/; this covers only what the libraries call.
#pragma once

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include <Uefi.h>

struct FakeEventCall {
  UINT32             Type = 0;
  EFI_TPL            NotifyTpl = 0;
  EFI_EVENT_NOTIFY   NotifyFunction = nullptr;
  const VOID         *NotifyContext = nullptr;
  const EFI_GUID     *EventGroup = nullptr;
};

class FakeBootServices {
public:
  // Installs the fake as gBS/gST/gRT and runs the common constructors.
  FakeBootServices ();
  ~FakeBootServices ();

  void AddProtocol (const EFI_GUID &Guid, VOID *Interface);
  // Runs ProcessCommonLibraryConstructors against this table.
  void RunConstructors (EFI_HANDLE ImageHandle = reinterpret_cast<EFI_HANDLE> (0x1000));
  EFI_STATUS Locate (const EFI_GUID &Guid, VOID **Interface);

  EFI_SYSTEM_TABLE      SystemTable{};
  EFI_BOOT_SERVICES     BootServices{};
  EFI_RUNTIME_SERVICES  RuntimeServices{};

  std::set<VOID *>            Live;            // pool blocks not yet freed
  std::vector<EFI_MEMORY_TYPE> PoolTypes;       // type of every allocation
  bool                        FailNextAllocation = false;
  UINTN                       FreeFailures = 0; // FreePool of unknown blocks
  std::vector<FakeEventCall>  Events;

private:
  std::vector<std::pair<EFI_GUID, VOID *>> mProtocols;
};

// The instance the EFIAPI callbacks talk to.
FakeBootServices &CurrentFake ();

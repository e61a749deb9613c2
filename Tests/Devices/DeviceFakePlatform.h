// Boot services for device tests: pool over malloc with a live-block set and
// a chosen failing allocation, and a protocol database that records installs.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include <Uefi.h>

struct InstalledProtocol {
  EFI_GUID  Guid;
  VOID      *Interface;
};

class DeviceFakePlatform {
public:
  // Becomes gBS (and gRT, with no variables and writes refused) for the
  // test's lifetime.
  DeviceFakePlatform ();
  ~DeviceFakePlatform ();

  void Publish (const EFI_GUID &Guid, VOID *Interface);
  VOID *Installed (const EFI_GUID &Guid) const;

  std::set<VOID *>                Live;
  // 1 fails the next allocation, 2 the one after, ...; 0 fails none.
  UINTN                           FailAllocation = 0;
  std::vector<InstalledProtocol>  Protocols;
  std::vector<InstalledProtocol>  Installs;  // what the code under test installed

  EFI_BOOT_SERVICES     BootServices{};
  EFI_RUNTIME_SERVICES  RuntimeServices{};

private:
  EFI_BOOT_SERVICES     *mPrevious;
  EFI_RUNTIME_SERVICES  *mPreviousRuntime;
};

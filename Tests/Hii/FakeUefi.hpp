// The little of a UEFI platform the HII services and the HII library call:
// pool over malloc with a live count and allocation failure on demand, a
// protocol database of handles, LocateDevicePath by exact path, and
// variables in a map. Installed as gBS/gST/gRT for the library under test.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <Uefi.h>

class FakeUefi {
 public:
  FakeUefi();
  ~FakeUefi();
  FakeUefi(const FakeUefi&) = delete;
  FakeUefi& operator=(const FakeUefi&) = delete;

  EFI_HANDLE NewHandle();
  void Install(EFI_HANDLE handle, const EFI_GUID& guid, void* interface);
  void* Find(EFI_HANDLE handle, const EFI_GUID& guid) const;
  void SetVariable(const std::u16string& name, const EFI_GUID& guid, std::vector<std::uint8_t> data);
  const std::vector<std::uint8_t>* Variable(const std::u16string& name, const EFI_GUID& guid) const;

  EFI_SYSTEM_TABLE systemTable{};
  EFI_BOOT_SERVICES bootServices{};
  EFI_RUNTIME_SERVICES runtimeServices{};

  std::set<void*> live;            // pool blocks not yet freed
  std::int64_t failAllocationsAfter = -1;  // >= 0: that many more succeed, then all fail
  std::size_t badFrees = 0;
  std::map<std::pair<std::u16string, std::string>, std::uint32_t> variableAttributes;

  struct Entry {
    EFI_HANDLE handle;
    EFI_GUID guid;
    void* interface;
  };
  std::vector<Entry> protocols;
  std::map<std::pair<std::u16string, std::string>, std::vector<std::uint8_t>> variables;

 private:
  std::uintptr_t nextHandle_ = 0x10000;
};

FakeUefi& CurrentUefi();
bool SameGuid(const EFI_GUID& a, const EFI_GUID& b);

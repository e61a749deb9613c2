#include "FakeUefi.hpp"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Protocol/DevicePath.h>

namespace {

FakeUefi* gCurrent = nullptr;

std::string GuidKey(const EFI_GUID& guid) {
  return std::string(reinterpret_cast<const char*>(&guid), sizeof guid);
}

EFI_STATUS EFIAPI AllocatePoolFake(EFI_MEMORY_TYPE, UINTN size, VOID** buffer) {
  FakeUefi& uefi = CurrentUefi();
  if (buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (uefi.failAllocationsAfter == 0) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (uefi.failAllocationsAfter > 0) {
    uefi.failAllocationsAfter--;
  }
  *buffer = std::malloc(size == 0 ? 1 : size);
  uefi.live.insert(*buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FreePoolFake(VOID* buffer) {
  FakeUefi& uefi = CurrentUefi();
  if (uefi.live.erase(buffer) == 0) {
    uefi.badFrees++;
    return EFI_INVALID_PARAMETER;
  }
  std::free(buffer);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI HandleProtocolFake(EFI_HANDLE handle, EFI_GUID* guid, VOID** interface) {
  void* found = CurrentUefi().Find(handle, *guid);
  if (found == nullptr) {
    return EFI_UNSUPPORTED;
  }
  *interface = found;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateProtocolFake(EFI_GUID* guid, VOID*, VOID** interface) {
  for (const auto& entry : CurrentUefi().protocols) {
    if (SameGuid(entry.guid, *guid)) {
      *interface = entry.interface;
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI InstallMultipleFake(EFI_HANDLE* handle, ...) {
  FakeUefi& uefi = CurrentUefi();
  if (*handle == nullptr) {
    *handle = uefi.NewHandle();
  }
  va_list args;
  va_start(args, handle);
  for (;;) {
    auto* guid = va_arg(args, EFI_GUID*);
    if (guid == nullptr) {
      break;
    }
    uefi.Install(*handle, *guid, va_arg(args, void*));
  }
  va_end(args);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI UninstallMultipleFake(EFI_HANDLE handle, ...) {
  FakeUefi& uefi = CurrentUefi();
  va_list args;
  va_start(args, handle);
  for (;;) {
    auto* guid = va_arg(args, EFI_GUID*);
    if (guid == nullptr) {
      break;
    }
    void* interface = va_arg(args, void*);
    std::erase_if(uefi.protocols, [&](const FakeUefi::Entry& e) {
      return e.handle == handle && SameGuid(e.guid, *guid) && e.interface == interface;
    });
  }
  va_end(args);
  return EFI_SUCCESS;
}

std::size_t PathSize(const std::uint8_t* path) {
  std::size_t offset = 0;
  for (;;) {
    const std::size_t length = path[offset + 2] | (path[offset + 3] << 8);
    offset += length;
    if (path[offset - length] == END_DEVICE_PATH_TYPE && path[offset - length + 1] == END_ENTIRE_DEVICE_PATH_SUBTYPE) {
      return offset;
    }
  }
}

// Exact match of a whole path (enough for the router's fallback).
EFI_STATUS EFIAPI LocateDevicePathFake(EFI_GUID* guid, EFI_DEVICE_PATH_PROTOCOL** path, EFI_HANDLE* device) {
  const auto* wanted = reinterpret_cast<const std::uint8_t*>(*path);
  const std::size_t wantedSize = PathSize(wanted);
  for (const auto& entry : CurrentUefi().protocols) {
    const auto* have = static_cast<const std::uint8_t*>(entry.interface);
    if (SameGuid(entry.guid, *guid) && PathSize(have) == wantedSize && std::memcmp(have, wanted, wantedSize) == 0) {
      *device = entry.handle;
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI GetVariableFake(CHAR16* name, EFI_GUID* guid, UINT32* attributes, UINTN* size, VOID* data) {
  FakeUefi& uefi = CurrentUefi();
  auto key = std::make_pair(std::u16string(name), GuidKey(*guid));
  auto it = uefi.variables.find(key);
  if (it == uefi.variables.end()) {
    return EFI_NOT_FOUND;
  }
  if (attributes != nullptr) {
    *attributes = uefi.variableAttributes[key];
  }
  if (*size < it->second.size()) {
    *size = it->second.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(data, it->second.data(), it->second.size());
  *size = it->second.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetVariableFake(CHAR16* name, EFI_GUID* guid, UINT32 attributes, UINTN size, VOID* data) {
  FakeUefi& uefi = CurrentUefi();
  auto key = std::make_pair(std::u16string(name), GuidKey(*guid));
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  uefi.variables[key] = std::vector<std::uint8_t>(bytes, bytes + size);
  uefi.variableAttributes[key] = attributes;
  return EFI_SUCCESS;
}

}  // namespace

bool SameGuid(const EFI_GUID& a, const EFI_GUID& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

FakeUefi& CurrentUefi() {
  return *gCurrent;
}

FakeUefi::FakeUefi() {
  bootServices.AllocatePool = AllocatePoolFake;
  bootServices.FreePool = FreePoolFake;
  bootServices.HandleProtocol = HandleProtocolFake;
  bootServices.LocateProtocol = LocateProtocolFake;
  bootServices.InstallMultipleProtocolInterfaces = InstallMultipleFake;
  bootServices.UninstallMultipleProtocolInterfaces = UninstallMultipleFake;
  bootServices.LocateDevicePath = LocateDevicePathFake;
  runtimeServices.GetVariable = GetVariableFake;
  runtimeServices.SetVariable = SetVariableFake;
  systemTable.BootServices = &bootServices;
  systemTable.RuntimeServices = &runtimeServices;
  gCurrent = this;
  gBS = &bootServices;
  gST = &systemTable;
  gRT = &runtimeServices;
}

FakeUefi::~FakeUefi() {
  for (void* block : live) {
    std::free(block);
  }
  gBS = nullptr;
  gST = nullptr;
  gRT = nullptr;
  gCurrent = nullptr;
}

EFI_HANDLE FakeUefi::NewHandle() {
  nextHandle_ += 0x10;
  return reinterpret_cast<EFI_HANDLE>(nextHandle_);
}

void FakeUefi::Install(EFI_HANDLE handle, const EFI_GUID& guid, void* interface) {
  protocols.push_back({handle, guid, interface});
}

void* FakeUefi::Find(EFI_HANDLE handle, const EFI_GUID& guid) const {
  for (const auto& entry : protocols) {
    if (entry.handle == handle && SameGuid(entry.guid, guid)) {
      return entry.interface;
    }
  }
  return nullptr;
}

void FakeUefi::SetVariable(const std::u16string& name, const EFI_GUID& guid, std::vector<std::uint8_t> data) {
  variables[std::make_pair(name, GuidKey(guid))] = std::move(data);
}

const std::vector<std::uint8_t>* FakeUefi::Variable(const std::u16string& name, const EFI_GUID& guid) const {
  auto it = variables.find(std::make_pair(name, GuidKey(guid)));
  return it == variables.end() ? nullptr : &it->second;
}

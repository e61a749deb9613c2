// One boot's boot services: events, protocol database, pool and the images
// known to them. Image tables (BootServicesTables.hpp) enter here with the
// calling image's identity.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>

#include "CallSite.hpp"
#include "Events.hpp"
#include "FaultInjector.hpp"
#include "ImageId.hpp"
#include "PlatformLog.hpp"
#include "Pool.hpp"
#include "ProtocolDatabase.hpp"
#include "VirtualClock.hpp"

namespace carvex::sim {

struct ImageRecord {
  std::string name;
  ModuleRange range;  // empty for host code standing in for an image
  EFI_HANDLE handle = nullptr;
};

class BootServicesCore {
 public:
  BootServicesCore(unsigned bootNumber, VirtualClock& clock, FaultInjector& faults,
                   PlatformLog& log);
  ~BootServicesCore();
  BootServicesCore(const BootServicesCore&) = delete;
  BootServicesCore& operator=(const BootServicesCore&) = delete;

  ImageId RegisterImage(std::string name, ModuleRange range);
  void SetImageHandle(ImageId image, EFI_HANDLE handle);
  const ImageRecord& Image(ImageId image) const { return images_.at(image); }
  const std::string& ImageName(ImageId image) const;
  // The most recently registered image of that name.
  std::optional<ImageId> FindImage(const std::string& name) const;
  std::optional<ImageId> ImageOfHandle(EFI_HANDLE handle) const;

  unsigned BootNumber() const { return bootNumber_; }
  EventManager& Events() { return *events_; }
  ProtocolDatabase& Protocols() { return *protocols_; }
  Pool& PoolAllocator() { return *pool_; }
  VirtualClock& Clock() { return clock_; }
  PlatformLog& Log() { return log_; }

  CallSite CallSiteOf(ImageId image, void* returnAddress) const;

  EFI_STATUS AllocatePool(ImageId caller, EFI_MEMORY_TYPE type, UINTN size, VOID** buffer,
                          void* returnAddress);
  EFI_STATUS FreePool(ImageId caller, VOID* buffer, void* returnAddress);
  // The buffers these return are the caller's pool, which it frees.
  EFI_STATUS LocateHandleBuffer(ImageId caller, EFI_LOCATE_SEARCH_TYPE searchType,
                                EFI_GUID* protocol, VOID* searchKey, UINTN* count,
                                EFI_HANDLE** buffer, void* returnAddress);
  EFI_STATUS ProtocolsPerHandle(ImageId caller, EFI_HANDLE handle, EFI_GUID*** protocols,
                                UINTN* count, void* returnAddress);
  EFI_STATUS OpenProtocolInformation(ImageId caller, EFI_HANDLE handle, EFI_GUID* protocol,
                                     EFI_OPEN_PROTOCOL_INFORMATION_ENTRY** entries, UINTN* count,
                                     void* returnAddress);
  EFI_STATUS Stall(UINTN microseconds);
  EFI_STATUS GetNextMonotonicCount(UINT64* count);
  static EFI_STATUS CalculateCrc32(VOID* data, UINTN size, UINT32* crc);

 private:
  unsigned bootNumber_;
  VirtualClock& clock_;
  PlatformLog& log_;
  std::vector<ImageRecord> images_;
  std::unique_ptr<Pool> pool_;
  std::unique_ptr<EventManager> events_;
  std::unique_ptr<ProtocolDatabase> protocols_;  // after events_: it unhooks from them
  UINT32 monotonicLow_ = 0;
};

}  // namespace carvex::sim

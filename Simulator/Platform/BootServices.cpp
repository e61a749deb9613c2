#include "BootServices.hpp"

#include <cstring>

#include "Crc32.hpp"

namespace carvex::sim {

BootServicesCore::BootServicesCore(unsigned bootNumber, VirtualClock& clock,
                                   FaultInjector& faults, PlatformLog& log)
    : bootNumber_(bootNumber), clock_(clock), log_(log) {
  images_.push_back(ImageRecord{"platform", {}, nullptr});
  auto nameOf = [this](ImageId image) { return ImageName(image); };
  pool_ = std::make_unique<Pool>(faults, log);
  events_ = std::make_unique<EventManager>(log, nameOf);
  protocols_ = std::make_unique<ProtocolDatabase>(*events_, log, nameOf);
}

BootServicesCore::~BootServicesCore() = default;

ImageId BootServicesCore::RegisterImage(std::string name, ModuleRange range) {
  range.name = name;
  images_.push_back(ImageRecord{std::move(name), range, nullptr});
  return static_cast<ImageId>(images_.size() - 1);
}

void BootServicesCore::SetImageHandle(ImageId image, EFI_HANDLE handle) {
  images_.at(image).handle = handle;
}

const std::string& BootServicesCore::ImageName(ImageId image) const {
  static const std::string unknown = "?";
  return image < images_.size() ? images_[image].name : unknown;
}

std::optional<ImageId> BootServicesCore::FindImage(const std::string& name) const {
  for (std::size_t i = images_.size(); i-- > 0;) {
    if (images_[i].name == name) {
      return static_cast<ImageId>(i);
    }
  }
  return std::nullopt;
}

std::optional<ImageId> BootServicesCore::ImageOfHandle(EFI_HANDLE handle) const {
  for (std::size_t i = 0; i < images_.size(); ++i) {
    if (handle != nullptr && images_[i].handle == handle) {
      return static_cast<ImageId>(i);
    }
  }
  return std::nullopt;
}

CallSite BootServicesCore::CallSiteOf(ImageId image, void* returnAddress) const {
  ModuleRange range = image < images_.size() ? images_[image].range : ModuleRange{};
  range.name = ImageName(image);
  return CaptureCallSite(range, returnAddress);
}

EFI_STATUS BootServicesCore::AllocatePool(ImageId caller, EFI_MEMORY_TYPE type, UINTN size,
                                          VOID** buffer, void* returnAddress) {
  return pool_->Allocate(ImageName(caller), type, size, buffer,
                         CallSiteOf(caller, returnAddress));
}

EFI_STATUS BootServicesCore::FreePool(ImageId caller, VOID* buffer, void* returnAddress) {
  return pool_->Free(ImageName(caller), buffer, CallSiteOf(caller, returnAddress));
}

EFI_STATUS BootServicesCore::LocateHandleBuffer(ImageId caller,
                                                EFI_LOCATE_SEARCH_TYPE searchType,
                                                EFI_GUID* protocol, VOID* searchKey,
                                                UINTN* count, EFI_HANDLE** buffer,
                                                void* returnAddress) {
  if (count == nullptr || buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *count = 0;
  *buffer = nullptr;
  UINTN size = 0;
  EFI_STATUS status = protocols_->LocateHandle(searchType, protocol, searchKey, &size, nullptr);
  if (status != EFI_BUFFER_TOO_SMALL) {
    return status == EFI_SUCCESS ? EFI_NOT_FOUND : status;
  }
  auto* handles = static_cast<EFI_HANDLE*>(
      pool_->AllocateFor(ImageName(caller), size, CallSiteOf(caller, returnAddress)));
  if (handles == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  status = protocols_->LocateHandle(searchType, protocol, searchKey, &size, handles);
  if (status != EFI_SUCCESS) {
    pool_->Free(ImageName(caller), handles, CallSiteOf(caller, returnAddress));
    return status;
  }
  *count = size / sizeof(EFI_HANDLE);
  *buffer = handles;
  return EFI_SUCCESS;
}

EFI_STATUS BootServicesCore::ProtocolsPerHandle(ImageId caller, EFI_HANDLE handle,
                                                EFI_GUID*** protocols, UINTN* count,
                                                void* returnAddress) {
  if (protocols == nullptr || count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_GUID*> found;
  const EFI_STATUS status = protocols_->ProtocolsPerHandle(handle, found);
  if (status != EFI_SUCCESS) {
    return status;
  }
  auto* buffer = static_cast<EFI_GUID**>(pool_->AllocateFor(
      ImageName(caller), found.size() * sizeof(EFI_GUID*), CallSiteOf(caller, returnAddress)));
  if (buffer == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::memcpy(buffer, found.data(), found.size() * sizeof(EFI_GUID*));
  *protocols = buffer;
  *count = found.size();
  return EFI_SUCCESS;
}

EFI_STATUS BootServicesCore::OpenProtocolInformation(
    ImageId caller, EFI_HANDLE handle, EFI_GUID* protocol,
    EFI_OPEN_PROTOCOL_INFORMATION_ENTRY** entries, UINTN* count, void* returnAddress) {
  if (entries == nullptr || count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY> found;
  const EFI_STATUS status = protocols_->OpenProtocolInformation(handle, protocol, found);
  if (status != EFI_SUCCESS) {
    return status;
  }
  const std::size_t size = found.size() * sizeof(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY);
  auto* buffer = static_cast<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY*>(
      pool_->AllocateFor(ImageName(caller), size, CallSiteOf(caller, returnAddress)));
  if (buffer == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::memcpy(buffer, found.data(), size);
  *entries = buffer;
  *count = found.size();
  return EFI_SUCCESS;
}

EFI_STATUS BootServicesCore::Stall(UINTN microseconds) {
  clock_.Advance(microseconds);
  return EFI_SUCCESS;
}

EFI_STATUS BootServicesCore::GetNextMonotonicCount(UINT64* count) {
  if (count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // The high half counts boots, as the platform's persistent high count would.
  *count = (static_cast<UINT64>(bootNumber_) << 32) | monotonicLow_++;
  return EFI_SUCCESS;
}

EFI_STATUS BootServicesCore::CalculateCrc32(VOID* data, UINTN size, UINT32* crc) {
  if (data == nullptr || crc == nullptr || size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  *crc = Crc32(data, size);
  return EFI_SUCCESS;
}

}  // namespace carvex::sim

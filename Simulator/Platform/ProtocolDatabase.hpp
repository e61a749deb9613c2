// Handles and the protocol interfaces installed on them, protocol notify
// registrations, and the open records of OpenProtocol. Install and reinstall
// signal the registered events; their notify functions run before the
// service returns (the database is held at TPL_NOTIFY meanwhile, as EDK II's
// core does).
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <Uefi.h>

#include "Events.hpp"
#include "Guid.hpp"
#include "ImageId.hpp"
#include "PlatformLog.hpp"

namespace carvex::sim {

class ProtocolDatabase {
 public:
  using Pairs = std::vector<std::pair<EFI_GUID*, VOID*>>;

  struct InstalledInterface {
    EFI_HANDLE handle;
    EFI_GUID guid;
    VOID* interface;
  };

  ProtocolDatabase(EventManager& events, PlatformLog& log, EventManager::NameOf nameOf);
  ~ProtocolDatabase();
  ProtocolDatabase(const ProtocolDatabase&) = delete;
  ProtocolDatabase& operator=(const ProtocolDatabase&) = delete;

  // The agent HandleProtocol opens for (the core's image handle in EDK II).
  void SetCoreAgent(EFI_HANDLE agent) { coreAgent_ = agent; }

  EFI_STATUS Install(ImageId caller, EFI_HANDLE* handle, const EFI_GUID* protocol,
                     EFI_INTERFACE_TYPE type, VOID* interface);
  EFI_STATUS Reinstall(ImageId caller, EFI_HANDLE handle, const EFI_GUID* protocol,
                       VOID* oldInterface, VOID* newInterface);
  EFI_STATUS Uninstall(ImageId caller, EFI_HANDLE handle, const EFI_GUID* protocol,
                       VOID* interface);
  // All or nothing: on a failure the interfaces installed (removed) so far
  // are removed (reinstalled) again, and a handle created here disappears.
  EFI_STATUS InstallMultiple(ImageId caller, EFI_HANDLE* handle, const Pairs& pairs);
  EFI_STATUS UninstallMultiple(ImageId caller, EFI_HANDLE handle, const Pairs& pairs);

  EFI_STATUS HandleProtocol(EFI_HANDLE handle, const EFI_GUID* protocol, VOID** interface);
  EFI_STATUS OpenProtocol(EFI_HANDLE handle, const EFI_GUID* protocol, VOID** interface,
                          EFI_HANDLE agent, EFI_HANDLE controller, UINT32 attributes);
  EFI_STATUS CloseProtocol(EFI_HANDLE handle, const EFI_GUID* protocol, EFI_HANDLE agent,
                           EFI_HANDLE controller);
  EFI_STATUS OpenProtocolInformation(EFI_HANDLE handle, const EFI_GUID* protocol,
                                     std::vector<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY>& entries);

  EFI_STATUS RegisterProtocolNotify(ImageId caller, const EFI_GUID* protocol, EFI_EVENT event,
                                    VOID** registration);
  EFI_STATUS LocateProtocol(ImageId caller, const EFI_GUID* protocol, VOID* registration,
                            VOID** interface);
  EFI_STATUS LocateHandle(EFI_LOCATE_SEARCH_TYPE searchType, const EFI_GUID* protocol,
                          VOID* searchKey, UINTN* bufferSize, EFI_HANDLE* buffer);
  EFI_STATUS LocateDevicePath(const EFI_GUID* protocol, EFI_DEVICE_PATH_PROTOCOL** devicePath,
                              EFI_HANDLE* device);
  EFI_STATUS ProtocolsPerHandle(EFI_HANDLE handle, std::vector<EFI_GUID*>& protocols);

  // Queries for the platform and tests.
  bool IsValidHandle(EFI_HANDLE handle) const { return Find(handle) != nullptr; }
  bool IsInstalled(const EFI_GUID& protocol) const;
  VOID* FirstInterface(const EFI_GUID& protocol) const;
  std::vector<EFI_HANDLE> HandlesWith(const EFI_GUID& protocol) const;
  std::size_t HandleCount() const { return handles_.size(); }
  std::size_t HandlesOwnedBy(ImageId owner) const;
  std::size_t RegistrationsOwnedBy(ImageId owner) const;
  std::size_t RegistrationCount() const { return registrations_.size(); }
  std::uint64_t LocateProtocolCalls(const EFI_GUID& protocol,
                                    std::optional<ImageId> caller = std::nullopt) const;
  std::vector<InstalledInterface> InstalledBy(ImageId installer) const;

 private:
  struct Handle;
  struct OpenRecord {
    EFI_HANDLE agent;
    EFI_HANDLE controller;
    UINT32 attributes;
    UINT32 count;
  };
  struct Interface {
    Handle* handle;
    GuidKey protocol;
    VOID* pointer;
    std::uint64_t sequence;  // install order; a reinstall counts as a new install
    ImageId installer;
    std::vector<OpenRecord> opens;
  };
  struct Handle {
    std::uint64_t serial;
    ImageId creator;
    std::vector<std::unique_ptr<Interface>> interfaces;  // install order
  };
  struct Registration {
    GuidKey protocol;
    EFI_EVENT event;
    ImageId owner;
    std::uint64_t position = 0;  // sequence of the last interface handed out
  };

  Handle* Find(EFI_HANDLE handle) const;
  Interface* FindOn(Handle* handle, const GuidKey& protocol) const;
  Registration* FindRegistration(VOID* key) const;
  Interface* NextFor(const Registration& registration) const;
  EFI_STATUS InstallLocked(ImageId caller, EFI_HANDLE* handle, const EFI_GUID* protocol,
                           VOID* interface);
  EFI_STATUS UninstallLocked(EFI_HANDLE handle, const EFI_GUID* protocol, VOID* interface);
  void Notify(const GuidKey& protocol);
  void RemoveHandleIfEmpty(Handle* handle);
  void OnEventClosed(EFI_EVENT event);
  EFI_GUID* StableGuid(const GuidKey& protocol);

  EventManager& events_;
  PlatformLog& log_;
  EventManager::NameOf nameOf_;
  EFI_HANDLE coreAgent_ = nullptr;
  std::uint64_t nextSerial_ = 1;
  std::uint64_t nextSequence_ = 1;
  std::map<std::uint64_t, Handle*> handleOrder_;
  std::unordered_map<const void*, std::unique_ptr<Handle>> handles_;
  // Handles whose last protocol went away: kept so that their addresses
  // are never reused within the boot.
  std::vector<std::unique_ptr<Handle>> deadHandles_;
  std::map<GuidKey, std::list<Interface*>> byProtocol_;  // install order per protocol
  std::map<const void*, std::unique_ptr<Registration>> registrations_;
  std::vector<std::unique_ptr<Registration>> deadRegistrations_;
  std::map<GuidKey, std::unique_ptr<EFI_GUID>> guids_;
  std::map<std::pair<GuidKey, ImageId>, std::uint64_t> locateCalls_;
};

}  // namespace carvex::sim

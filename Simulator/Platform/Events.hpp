// Task priority levels and events: notify functions run at their TPL on the
// one simulated processor. A signal at a lower current TPL runs the notify
// before SignalEvent returns; otherwise it waits until the TPL drops below
// the event's. An event already signalled and not yet dispatched is queued
// only once. Signalling a member of an event group signals the whole group.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include <Uefi.h>

#include "Guid.hpp"
#include "ImageId.hpp"
#include "PlatformLog.hpp"

namespace carvex::sim {

class EventManager {
 public:
  using NameOf = std::function<std::string(ImageId)>;

  EventManager(PlatformLog& log, NameOf nameOf);
  ~EventManager();
  EventManager(const EventManager&) = delete;
  EventManager& operator=(const EventManager&) = delete;

  EFI_TPL CurrentTpl() const { return tpl_; }
  EFI_TPL RaiseTpl(ImageId caller, EFI_TPL newTpl);
  void RestoreTpl(ImageId caller, EFI_TPL oldTpl);

  EFI_STATUS CreateEvent(ImageId owner, UINT32 type, EFI_TPL notifyTpl, EFI_EVENT_NOTIFY notify,
                         const void* context, const EFI_GUID* group, EFI_EVENT* event);
  EFI_STATUS SignalEvent(EFI_EVENT event);
  EFI_STATUS CloseEvent(EFI_EVENT event);
  EFI_STATUS CheckEvent(EFI_EVENT event);
  EFI_STATUS WaitForEvent(ImageId caller, UINTN count, EFI_EVENT* events, UINTN* index);

  // What EDK II's EfiEventGroupSignal does: a platform-owned member of the
  // group is created, signalled and closed.
  void SignalGroup(const EFI_GUID& group);

  bool IsValid(EFI_EVENT event) const;
  std::size_t Count() const { return live_.size(); }
  std::size_t CountOwnedBy(ImageId owner) const;
  std::vector<EFI_EVENT> OwnedBy(ImageId owner) const;
  std::size_t GroupSize(const EFI_GUID& group) const;

  // Called with every event being closed (protocol notify registrations die with it).
  void SetCloseListener(std::function<void(EFI_EVENT)> listener) { onClose_ = std::move(listener); }

  // Holds the TPL at least at `level` for a scope (the platform's own locks).
  class TplScope {
   public:
    TplScope(EventManager& events, EFI_TPL level);
    ~TplScope();
    TplScope(const TplScope&) = delete;
    TplScope& operator=(const TplScope&) = delete;

   private:
    EventManager& events_;
    EFI_TPL previous_;
  };

 private:
  struct Event {
    std::uint64_t serial;
    ImageId owner;
    UINT32 type;
    EFI_TPL notifyTpl;
    EFI_EVENT_NOTIFY notify;
    void* context;
    std::optional<GuidKey> group;
    bool signaled = false;
    bool queued = false;
  };

  Event* Find(EFI_EVENT handle) const;
  void MarkSignaled(Event& event);
  void Enqueue(Event& event);
  void Dequeue(Event& event);
  void Dispatch(EFI_TPL newTpl);
  std::string NameOfImage(ImageId image) const;

  PlatformLog& log_;
  NameOf nameOf_;
  EFI_TPL tpl_ = TPL_APPLICATION;
  std::uint64_t nextSerial_ = 1;
  std::map<std::uint64_t, Event*> creationOrder_;
  std::unordered_map<const void*, std::unique_ptr<Event>> live_;
  // Closed events are kept until the boot ends so that their handles are
  // never reused: a stale handle stays recognisably invalid.
  std::vector<std::unique_ptr<Event>> closed_;
  std::array<std::deque<Event*>, TPL_HIGH_LEVEL + 1> queues_;
  std::function<void(EFI_EVENT)> onClose_;
};

}  // namespace carvex::sim

#include "Events.hpp"

#include <algorithm>
#include <sstream>

namespace carvex::sim {

namespace {

// The event types EDK II's core accepts.
constexpr UINT32 kValidTypes[] = {
    EVT_TIMER | EVT_NOTIFY_SIGNAL, EVT_TIMER, EVT_NOTIFY_WAIT, EVT_NOTIFY_SIGNAL,
    EVT_SIGNAL_EXIT_BOOT_SERVICES, EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE, 0,
    EVT_TIMER | EVT_NOTIFY_WAIT,
};

bool IsValidType(UINT32 type) {
  return std::find(std::begin(kValidTypes), std::end(kValidTypes), type) != std::end(kValidTypes);
}

VOID EFIAPI EmptyNotify(EFI_EVENT, VOID*) {}

std::string TplText(EFI_TPL tpl) {
  std::ostringstream text;
  text << tpl;
  return text.str();
}

}  // namespace

EventManager::EventManager(PlatformLog& log, NameOf nameOf) : log_(log), nameOf_(std::move(nameOf)) {}

EventManager::~EventManager() = default;

std::string EventManager::NameOfImage(ImageId image) const {
  return nameOf_ ? nameOf_(image) : std::to_string(image);
}

EventManager::Event* EventManager::Find(EFI_EVENT handle) const {
  auto found = live_.find(handle);
  return found == live_.end() ? nullptr : found->second.get();
}

bool EventManager::IsValid(EFI_EVENT event) const { return Find(event) != nullptr; }

EFI_TPL EventManager::RaiseTpl(ImageId caller, EFI_TPL newTpl) {
  const EFI_TPL old = tpl_;
  if (newTpl < old || newTpl > TPL_HIGH_LEVEL) {
    log_.Report(ReportKind::TplMisuse, NameOfImage(caller),
                "RaiseTPL(" + TplText(newTpl) + ") at TPL " + TplText(old) + " refused");
    return old;
  }
  tpl_ = newTpl;
  return old;
}

void EventManager::RestoreTpl(ImageId caller, EFI_TPL oldTpl) {
  if (oldTpl > tpl_) {
    log_.Report(ReportKind::TplMisuse, NameOfImage(caller),
                "RestoreTPL(" + TplText(oldTpl) + ") at TPL " + TplText(tpl_) + " refused");
    return;
  }
  Dispatch(oldTpl);
}

EventManager::TplScope::TplScope(EventManager& events, EFI_TPL level)
    : events_(events), previous_(events.tpl_) {
  events_.tpl_ = std::max(previous_, level);
}

EventManager::TplScope::~TplScope() { events_.Dispatch(previous_); }

void EventManager::Dispatch(EFI_TPL newTpl) {
  for (;;) {
    int level = TPL_HIGH_LEVEL;
    while (level > static_cast<int>(newTpl) && queues_[level].empty()) {
      --level;
    }
    if (level <= static_cast<int>(newTpl)) {
      break;
    }
    tpl_ = static_cast<EFI_TPL>(level);
    while (!queues_[level].empty()) {
      Event* event = queues_[level].front();
      queues_[level].pop_front();
      event->queued = false;
      if ((event->type & EVT_NOTIFY_SIGNAL) != 0) {
        event->signaled = false;
      }
      EFI_EVENT_NOTIFY notify = event->notify;
      void* context = event->context;
      const ImageId owner = event->owner;
      notify(static_cast<EFI_EVENT>(event), context);
      if (tpl_ != static_cast<EFI_TPL>(level)) {
        log_.Report(ReportKind::TplMisuse, NameOfImage(owner),
                    "a notify function returned at TPL " + TplText(tpl_) + " instead of " +
                        TplText(static_cast<EFI_TPL>(level)));
        tpl_ = static_cast<EFI_TPL>(level);
      }
    }
  }
  tpl_ = newTpl;
}

EFI_STATUS EventManager::CreateEvent(ImageId owner, UINT32 type, EFI_TPL notifyTpl,
                                     EFI_EVENT_NOTIFY notify, const void* context,
                                     const EFI_GUID* group, EFI_EVENT* event) {
  if (event == nullptr || !IsValidType(type)) {
    return EFI_INVALID_PARAMETER;
  }
  if (group != nullptr &&
      (type == EVT_SIGNAL_EXIT_BOOT_SERVICES || type == EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE)) {
    return EFI_INVALID_PARAMETER;
  }
  if ((type & (EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL)) != 0) {
    if (notify == nullptr || notifyTpl <= TPL_APPLICATION || notifyTpl >= TPL_HIGH_LEVEL) {
      return EFI_INVALID_PARAMETER;
    }
  } else {
    notifyTpl = 0;
    notify = nullptr;
    context = nullptr;
  }
  auto created = std::make_unique<Event>();
  created->serial = nextSerial_++;
  created->owner = owner;
  created->type = type;
  created->notifyTpl = notifyTpl;
  created->notify = notify;
  created->context = const_cast<void*>(context);  // UEFI hands the context back as VOID *
  if (group != nullptr) {
    created->group = GuidKey(*group);
  }
  Event* raw = created.get();
  creationOrder_.emplace(raw->serial, raw);
  live_.emplace(raw, std::move(created));
  *event = static_cast<EFI_EVENT>(raw);
  return EFI_SUCCESS;
}

void EventManager::Enqueue(Event& event) {
  if (event.queued) {
    return;
  }
  queues_[event.notifyTpl].push_back(&event);
  event.queued = true;
}

void EventManager::Dequeue(Event& event) {
  if (!event.queued) {
    return;
  }
  auto& queue = queues_[event.notifyTpl];
  queue.erase(std::remove(queue.begin(), queue.end(), &event), queue.end());
  event.queued = false;
}

void EventManager::MarkSignaled(Event& event) {
  if (event.signaled) {
    return;
  }
  event.signaled = true;
  if ((event.type & EVT_NOTIFY_SIGNAL) != 0) {
    Enqueue(event);
  }
}

EFI_STATUS EventManager::SignalEvent(EFI_EVENT handle) {
  Event* event = Find(handle);
  if (event == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  TplScope lock(*this, TPL_HIGH_LEVEL);
  if (event->group) {
    // Creation order, so that notifies of one TPL run in the order the
    // events were created.
    const GuidKey group = *event->group;
    for (auto& [serial, member] : creationOrder_) {
      if (member->group == group) {
        MarkSignaled(*member);
      }
    }
  } else {
    MarkSignaled(*event);
  }
  return EFI_SUCCESS;
}

EFI_STATUS EventManager::CloseEvent(EFI_EVENT handle) {
  Event* event = Find(handle);
  if (event == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Dequeue(*event);
  creationOrder_.erase(event->serial);
  auto node = live_.extract(handle);
  closed_.push_back(std::move(node.mapped()));
  if (onClose_) {
    onClose_(handle);
  }
  return EFI_SUCCESS;
}

EFI_STATUS EventManager::CheckEvent(EFI_EVENT handle) {
  Event* event = Find(handle);
  if (event == nullptr || (event->type & EVT_NOTIFY_SIGNAL) != 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (!event->signaled && (event->type & EVT_NOTIFY_WAIT) != 0) {
    // The wait notify may signal the event; it runs when the lock drops if
    // its TPL is above the caller's.
    TplScope lock(*this, TPL_HIGH_LEVEL);
    Enqueue(*event);
  }
  event = Find(handle);  // the notify may have closed it
  if (event != nullptr && event->signaled) {
    event->signaled = false;
    return EFI_SUCCESS;
  }
  return EFI_NOT_READY;
}

EFI_STATUS EventManager::WaitForEvent(ImageId caller, UINTN count, EFI_EVENT* events,
                                      UINTN* index) {
  if (count == 0 || events == nullptr || index == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (tpl_ != TPL_APPLICATION) {
    return EFI_UNSUPPORTED;
  }
  for (UINTN i = 0; i < count; ++i) {
    const EFI_STATUS status = CheckEvent(events[i]);
    if (status != EFI_NOT_READY) {
      *index = i;
      return status;
    }
  }
  // One processor and no timers: nothing could ever signal these events.
  log_.Report(ReportKind::ServiceMisuse, NameOfImage(caller),
              "WaitForEvent on events nobody can signal would never return");
  return EFI_UNSUPPORTED;
}

void EventManager::SignalGroup(const EFI_GUID& group) {
  EFI_EVENT event = nullptr;
  if (CreateEvent(kPlatformImage, EVT_NOTIFY_SIGNAL, TPL_CALLBACK, EmptyNotify, nullptr, &group,
                  &event) == EFI_SUCCESS) {
    SignalEvent(event);
    CloseEvent(event);
  }
}

std::size_t EventManager::CountOwnedBy(ImageId owner) const {
  return OwnedBy(owner).size();
}

std::vector<EFI_EVENT> EventManager::OwnedBy(ImageId owner) const {
  std::vector<EFI_EVENT> events;
  for (const auto& [serial, event] : creationOrder_) {
    if (event->owner == owner) {
      events.push_back(static_cast<EFI_EVENT>(event));
    }
  }
  return events;
}

std::size_t EventManager::GroupSize(const EFI_GUID& group) const {
  const GuidKey key(group);
  std::size_t count = 0;
  for (const auto& [serial, event] : creationOrder_) {
    count += event->group == key ? 1 : 0;
  }
  return count;
}

}  // namespace carvex::sim

#include "Machine.hpp"

#include <sstream>
#include <stdexcept>

#include <Guid/EventGroup.h>
#include <Protocol/DebugSink.h>
#include <Protocol/Pcd.h>
#include <Protocol/PlatformEvent.h>
#include <Protocol/SetupEnter.h>

#include "Ucs2.hpp"

namespace carvex::sim {

namespace {

constexpr UINTN kWarnLevel = 0x00000002;

PLATFORM_EVENT_CALLBACK SlotFunction(const PLATFORM_EVENT_PROTOCOL& protocol, unsigned slot) {
  switch (slot) {
    case 0: return protocol.PrePostComplete;
    case 1: return protocol.BeforePostComplete;
    case 2: return protocol.PostComplete;
    case 3: return protocol.SaveSetting;
    case 4: return protocol.DiscardSetting;
    case 5: return protocol.LoadDefaultSetting;
    default: return nullptr;
  }
}

std::string Hex(EFI_STATUS status) {
  std::ostringstream text;
  text << "0x" << std::hex << status;
  return text.str();
}

}  // namespace

std::optional<EFI_STATUS> BootRecord::SlotStatus(unsigned slot) const {
  for (auto call = slots.rbegin(); call != slots.rend(); ++call) {
    if (call->slot == slot) {
      return call->status;
    }
  }
  return std::nullopt;
}

Machine::Machine(std::filesystem::path stateDirectory, PlatformSettings settings)
    : stateDirectory_((std::filesystem::create_directories(stateDirectory), stateDirectory)),
      settings_(std::move(settings)),
      variables_(stateDirectory_ / "variables.json", &faults_),
      pcd_(settings_.capabilityMask),
      debugSink_(log_) {
  log_.SetEcho(settings_.echo, settings_.displayMask);
}

Machine::~Machine() {
  if (boot_) {
    try {
      EndBoot();
    } catch (...) {
      boot_.reset();
    }
  }
}

void Machine::SetDisplay(std::ostream* echo, UINT32 displayMask) {
  settings_.echo = echo;
  settings_.displayMask = displayMask;
  log_.SetEcho(echo, displayMask);
}

Machine::Boot& Machine::RequireBoot(const char* step) {
  if (!boot_) {
    throw std::logic_error(std::string(step) + " needs a running boot");
  }
  return *boot_;
}

BootServicesCore& Machine::Core() { return *RequireBoot("this").core; }

RuntimeServicesCore& Machine::Runtime() { return *RequireBoot("this").runtime; }

void Machine::RunHooks(BootStage stage) {
  auto found = hooks_.find(stage);
  if (found == hooks_.end()) {
    return;
  }
  for (const StageHook& hook : found->second) {
    hook(*this);
  }
}

std::optional<ResetRequest> Machine::PendingReset() const {
  return boot_ ? boot_->runtime->PendingReset() : record_.reset;
}

const std::vector<ImageLoadResult>& Machine::StartBoot() {
  if (boot_) {
    throw std::logic_error("StartBoot while a boot is running");
  }
  ++bootNumber_;
  log_.SetBoot(bootNumber_);
  variables_.SetBoot(bootNumber_);
  variables_.DropVolatile();
  record_ = BootRecord{};
  record_.number = bootNumber_;
  pcd_.SetCapabilityMask(settings_.capabilityMask);

  auto boot = std::make_unique<Boot>();
  boot->core = std::make_unique<BootServicesCore>(bootNumber_, clock_, faults_, log_);
  boot->core->PoolAllocator().WatchFreedBlocksFor(watchedSecrets_);
  boot->runtime = std::make_unique<RuntimeServicesCore>(variables_, clock_, log_);
  boot->loader = std::make_unique<ImageLoader>(*boot->core, *boot->runtime, log_);
  boot_ = std::move(boot);
  BootServicesCore& core = *boot_->core;
  debugSink_.SetImageNames([&core](EFI_HANDLE handle) {
    auto image = core.ImageOfHandle(handle);
    return image ? core.ImageName(*image) : std::string("?");
  });
  log_.Note("boot " + std::to_string(bootNumber_) + " starts", kWarnLevel);

  for (const std::u16string& name : CreateFirstBootVariables(variables_, settings_)) {
    log_.Note("first boot: created platform variable " +
              Utf16ToUtf8(name));
  }
  RunHooks(BootStage::MemoryInit);
  InstallPlatformProtocols();
  RunHooks(BootStage::PlatformProtocols);

  for (const std::filesystem::path& image : settings_.images) {
    if (PendingReset()) {
      break;  // the reset ends the boot where it was asked for
    }
    record_.images.push_back(boot_->loader->LoadAndStart(image));
  }
  RunHooks(BootStage::ImagesLoaded);
  return record_.images;
}

void Machine::InstallPlatformProtocols() {
  ProtocolDatabase& protocols = boot_->core->Protocols();
  // The platform's own image handle: the agent HandleProtocol opens for.
  EFI_HANDLE platform = nullptr;
  boot_->platformImage.Revision = EFI_LOADED_IMAGE_PROTOCOL_REVISION;
  protocols.Install(kPlatformImage, &platform, &gEfiLoadedImageProtocolGuid, EFI_NATIVE_INTERFACE,
                    &boot_->platformImage);
  protocols.SetCoreAgent(platform);
  boot_->core->SetImageHandle(kPlatformImage, platform);

  EFI_HANDLE sink = nullptr;
  protocols.Install(kPlatformImage, &sink, &gCarvexDebugSinkProtocolGuid, EFI_NATIVE_INTERFACE,
                    debugSink_.Protocol());
  EFI_HANDLE pcd = nullptr;
  protocols.Install(kPlatformImage, &pcd, &gPcdProtocolGuid, EFI_NATIVE_INTERFACE,
                    pcd_.Protocol());
}

std::optional<EFI_STATUS> Machine::CallSlot(unsigned slot) {
  auto* protocol = static_cast<PLATFORM_EVENT_PROTOCOL*>(
      boot_->core->Protocols().FirstInterface(gTavrilEventProtocolGuid));
  if (protocol == nullptr) {
    return std::nullopt;
  }
  record_.platformEventProtocolFound = true;
  PLATFORM_EVENT_CALLBACK function = SlotFunction(*protocol, slot);
  if (function == nullptr) {
    log_.Report(ReportKind::ServiceMisuse, "platform",
                "platform event protocol slot " + std::to_string(slot) + " is NULL");
    return std::nullopt;
  }
  const EFI_STATUS status = function();
  record_.slots.push_back(SlotCall{slot, status});
  log_.Note("platform event slot " + std::to_string(slot) + " returned " + Hex(status));
  return status;
}

std::vector<SlotCall> Machine::EndOfPost() {
  RequireBoot("EndOfPost");
  const std::size_t before = record_.slots.size();
  for (unsigned slot = 0; slot < 3 && !PendingReset(); ++slot) {
    if (slot == 2) {
      RunHooks(BootStage::BeforePostComplete);
      if (PendingReset()) {
        break;
      }
    }
    CallSlot(slot);
  }
  if (!PendingReset()) {
    HandlePostResetRequest();
  }
  RunHooks(BootStage::EndOfPost);
  return std::vector<SlotCall>(record_.slots.begin() + static_cast<std::ptrdiff_t>(before),
                               record_.slots.end());
}

void Machine::HandlePostResetRequest() {
  auto request = variables_.Data(kPostResetReqName, gPostResetReqGuid);
  if (request && request->size() == 1 && (*request)[0] == 1) {
    variables_.Erase(kPostResetReqName, gPostResetReqGuid);
    boot_->runtime->RequestReset(ResetRequest{EfiResetCold, EFI_SUCCESS, "PostResetReq"});
  }
}

void Machine::EnterSetup() {
  Boot& boot = RequireBoot("EnterSetup");
  EFI_HANDLE handle = nullptr;
  boot.core->Protocols().Install(kPlatformImage, &handle, &gSetupEnterProtocolGuid,
                                 EFI_NATIVE_INTERFACE, nullptr);
  record_.setupEntered = true;
  record_.events.emplace_back("setup entered");
  log_.Note("setup entered", kWarnLevel);
  RunHooks(BootStage::SetupEntered);
}

std::optional<EFI_STATUS> Machine::LeaveSetup(SetupExit exit) {
  RequireBoot("LeaveSetup");
  const unsigned slot = exit == SetupExit::Save ? 3 : exit == SetupExit::Discard ? 4 : 5;
  return CallSlot(slot);
}

void Machine::SignalReadyToBoot() {
  Boot& boot = RequireBoot("SignalReadyToBoot");
  record_.events.emplace_back("ready to boot");
  boot.core->Events().SignalGroup(gEfiEventReadyToBootGuid);
}

void Machine::SignalLegacyBoot() {
  Boot& boot = RequireBoot("SignalLegacyBoot");
  record_.events.emplace_back("legacy boot");
  boot.core->Events().SignalGroup(gEfiEventLegacyBootGuid);
}

BootRecord Machine::EndBoot() {
  Boot& boot = RequireBoot("EndBoot");
  RunHooks(BootStage::BeforeEndBoot);
  debugSink_.Flush();
  record_.reset = boot.runtime->PendingReset();
  record_.leaks = boot.core->PoolAllocator().Leaks();
  record_.pool = boot.core->PoolAllocator().AllStats();
  record_.stillMapped = boot.loader->UnloadAll();
  debugSink_.SetImageNames(nullptr);
  boot_.reset();  // events, protocols and the pool still outstanding go with it
  for (const std::string& image : record_.leaks.Images()) {
    log_.Note(image + " still holds " + std::to_string(record_.leaks.CountFor(image)) +
                  " pool allocation(s), " + std::to_string(record_.leaks.BytesFor(image)) +
                  " bytes, at the end of boot",
              kWarnLevel);
  }
  record_.ended = true;
  return record_;
}

void Machine::Reboot() {
  EndBoot();
  StartBoot();
}

HostImage Machine::AttachHostImage(const std::string& name) {
  return RequireBoot("AttachHostImage").loader->AttachHostImage(name);
}

bool Machine::IsInstalled(const EFI_GUID& protocol) const {
  return boot_ && boot_->core->Protocols().IsInstalled(protocol);
}

OwnedCounts Machine::OwnedBy(const std::string& image) const {
  OwnedCounts counts;
  if (!boot_) {
    return counts;
  }
  auto id = boot_->core->FindImage(image);
  if (!id) {
    return counts;
  }
  counts.handles = boot_->core->Protocols().HandlesOwnedBy(*id);
  counts.events = boot_->core->Events().CountOwnedBy(*id);
  counts.notifyRegistrations = boot_->core->Protocols().RegistrationsOwnedBy(*id);
  return counts;
}

PoolStats Machine::PoolStatistics(const std::string& image) const {
  if (boot_) {
    return boot_->core->PoolAllocator().Stats(image);
  }
  auto found = record_.pool.find(image);
  return found == record_.pool.end() ? PoolStats{} : found->second;
}

std::uint64_t Machine::LocateProtocolCalls(const EFI_GUID& protocol,
                                           std::optional<std::string> image) const {
  if (!boot_) {
    return 0;
  }
  std::optional<ImageId> id;
  if (image) {
    id = boot_->core->FindImage(*image);
    if (!id) {
      return 0;
    }
  }
  return boot_->core->Protocols().LocateProtocolCalls(protocol, id);
}

}  // namespace carvex::sim

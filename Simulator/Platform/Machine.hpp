// The simulated machine: a state directory that outlives boots (the
// non-volatile variables), and boots stepped one platform event at a time,
// or run whole with RunBoot. Each boot gets fresh boot services, runtime
// services and protocol database, and loads its images anew.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>

#include "BootServices.hpp"
#include "DebugSink.hpp"
#include "FaultInjector.hpp"
#include "ImageLoader.hpp"
#include "PcdService.hpp"
#include "PlatformLog.hpp"
#include "PlatformSettings.hpp"
#include "PlatformVariables.hpp"
#include "Pool.hpp"
#include "RuntimeServices.hpp"
#include "VariableStore.hpp"
#include "VirtualClock.hpp"

namespace carvex::sim {

enum class SetupExit { Save, Discard, Defaults };

// Points in a boot where other parts of the platform (HII, the
// configuration manager, the browser, memory initialisation) join in.
enum class BootStage {
  MemoryInit,          // fresh services, platform variables exist; no protocol yet
  PlatformProtocols,   // PCD and debug sink installed; images not loaded yet
  ImagesLoaded,        // every image's entry point has run
  BeforePostComplete,  // between platform event slots 1 and 2
  EndOfPost,           // slots 0 to 2 done, post-reset request handled
  SetupEntered,        // setup-enter protocol installed
  BeforeEndBoot,       // the boot is about to end; images still loaded
};

struct SlotCall {
  unsigned slot = 0;
  EFI_STATUS status = EFI_SUCCESS;
};

struct BootRecord {
  unsigned number = 0;
  std::vector<ImageLoadResult> images;
  std::vector<SlotCall> slots;  // platform event protocol calls, in order
  bool platformEventProtocolFound = false;
  bool setupEntered = false;
  // Platform events raised besides the slots, in order: "setup entered",
  // "ready to boot", "legacy boot".
  std::vector<std::string> events;
  std::optional<ResetRequest> reset;
  LeakReport leaks;  // pool still held when the boot ended
  std::map<std::string, PoolStats> pool;
  std::vector<std::string> stillMapped;  // images that survived dlclose
  bool ended = false;

  std::optional<EFI_STATUS> SlotStatus(unsigned slot) const;
};

struct BootOptions {
  bool enterSetup = false;
  SetupExit setupExit = SetupExit::Save;
  // Runs while in setup (the browser's work), before leaving it.
  std::function<void(class Machine&)> inSetup;
  bool legacyBoot = false;
  // Resets followed in a row before the run gives up and reports a loop.
  unsigned maxResets = 3;
};

struct BootSummary {
  std::vector<BootRecord> boots;  // one per boot of the run, in order
  unsigned resets = 0;
  bool resetLoop = false;
  std::vector<LogLine> log;  // lines logged during the run
  std::vector<PlatformReport> reports;

  const BootRecord& Last() const { return boots.back(); }
};

struct OwnedCounts {
  std::size_t handles = 0;
  std::size_t events = 0;
  std::size_t notifyRegistrations = 0;
};

class Machine {
 public:
  using StageHook = std::function<void(Machine&)>;

  // Creates the state directory if needed and loads its variables.
  Machine(std::filesystem::path stateDirectory, PlatformSettings settings = {});
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  // Stepping. Each throws std::logic_error when called out of order.
  const std::vector<ImageLoadResult>& StartBoot();
  // Slots 0, 1, 2 of the platform event protocol (if installed), then the
  // post-reset request. Returns the slot calls made.
  std::vector<SlotCall> EndOfPost();
  void EnterSetup();
  // Slot 3, 4 or 5; empty when no image installed the protocol.
  std::optional<EFI_STATUS> LeaveSetup(SetupExit exit);
  void SignalReadyToBoot();
  void SignalLegacyBoot();
  // Unloads the images and returns the finished boot's record.
  BootRecord EndBoot();
  void Reboot();
  // A whole boot, followed by further boots while resets are requested.
  BootSummary RunBoot(const BootOptions& options = {});

  bool BootActive() const { return boot_ != nullptr; }
  unsigned BootNumber() const { return bootNumber_; }
  // A reset requested in the current boot (ResetSystem or PostResetReq).
  std::optional<ResetRequest> PendingReset() const;
  // The boot in progress, or the last one ended.
  const BootRecord& CurrentBoot() const { return record_; }

  void OnStage(BootStage stage, StageHook hook) { hooks_[stage].push_back(std::move(hook)); }
  void SetDisplay(std::ostream* echo, UINT32 displayMask);

  // Host code acting as an image in the current boot (tests, platform parts).
  HostImage AttachHostImage(const std::string& name);

  // Machine-wide parts.
  PlatformSettings& Settings() { return settings_; }
  const std::filesystem::path& StateDirectory() const { return stateDirectory_; }
  VariableStore& Variables() { return variables_; }
  FaultInjector& Faults() { return faults_; }
  PlatformLog& Log() { return log_; }
  DebugSink& Debug() { return debugSink_; }
  VirtualClock& Clock() { return clock_; }
  PcdService& Pcd() { return pcd_; }

  // Every later boot's pool reports a freed block that still holds one of
  // these texts (see Pool::WatchFreedBlocksFor).
  void WatchFreedPoolFor(std::vector<std::string> texts) { watchedSecrets_ = std::move(texts); }

  // Parts of the current boot; throw std::logic_error between boots.
  BootServicesCore& Core();
  ProtocolDatabase& Protocols() { return Core().Protocols(); }
  EventManager& Events() { return Core().Events(); }
  Pool& PoolAllocator() { return Core().PoolAllocator(); }
  RuntimeServicesCore& Runtime();

  // Queries for tests, by image name (false / zero between boots).
  bool IsInstalled(const EFI_GUID& protocol) const;
  OwnedCounts OwnedBy(const std::string& image) const;
  // The current boot's, or the last ended boot's.
  PoolStats PoolStatistics(const std::string& image) const;
  std::uint64_t LocateProtocolCalls(const EFI_GUID& protocol,
                                    std::optional<std::string> image = std::nullopt) const;

 private:
  struct Boot {
    std::unique_ptr<BootServicesCore> core;
    std::unique_ptr<RuntimeServicesCore> runtime;
    std::unique_ptr<ImageLoader> loader;  // last: unloads before the services go
    EFI_LOADED_IMAGE_PROTOCOL platformImage{};
  };

  Boot& RequireBoot(const char* step);
  void RunHooks(BootStage stage);
  std::optional<EFI_STATUS> CallSlot(unsigned slot);
  void InstallPlatformProtocols();
  void HandlePostResetRequest();

  std::filesystem::path stateDirectory_;
  PlatformSettings settings_;
  PlatformLog log_;
  VirtualClock clock_;
  FaultInjector faults_;
  VariableStore variables_;
  PcdService pcd_;
  DebugSink debugSink_;
  std::map<BootStage, std::vector<StageHook>> hooks_;
  unsigned bootNumber_ = 0;
  BootRecord record_;
  std::unique_ptr<Boot> boot_;
  std::vector<std::string> watchedSecrets_;
};

}  // namespace carvex::sim

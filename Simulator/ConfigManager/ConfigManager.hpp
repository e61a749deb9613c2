// The platform's configuration manager (KIV) in the simulated machine. It
// serves the form sets whose form set opcode carries the KIV class GUID
// {5C8E9747-A5F7-4593-AF1F-66A82AA19CB1} and keeps the baseboard management
// controller's copy of them (ControllerStore). How it behaves:
//
// - Every boot, before any image loads, it installs the KIV protocol
//   {44D479CA-1CD7-492B-8B5A-D2C88B2F775C}. SaveByFormSetTitleKeyword(This,
//   Keyword) finds the form set whose en-US title is Keyword among those
//   carrying the class GUID and copies it (EFI_NOT_FOUND when there is none,
//   EFI_INVALID_PARAMETER for a NULL keyword).
// - A copy extracts every store through the HII configuration routing
//   protocol: a buffer store is asked for all its instances
//   (<ConfigHdr>&INSTANCE=0000; a single-instance store answers with its one
//   block, a multi-instance store with &INSTANCE=hhhh from 0001 before each
//   instance's blocks), a UEFI-variable store with its bare header.
// - Between the before-post-complete and post-complete slots it routes the
//   values the controller queued since the last boot through RouteConfig:
//   a buffer store as its current contents (extracted just before) with the
//   queued values laid over them, whole; a variable store only the queued
//   values. The queue is then empty whatever the outcome; each request's
//   outcome (routed, refused by the driver, dropped by its rules) is kept
//   for the controller to show.
// - At the end of POST it takes a full copy of every such form set when the
//   variable KivSyncWithOob ({3E40977A-425E-460F-B9CD-2DFA3E74FF8B}) is 1,
//   or when the controller holds no copy of it yet, and deletes the
//   variable.
// - The controller's state is saved in the state directory before every
//   boot ends.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/KivConfigManager.h>

#include "ControllerStore.hpp"
#include "HiiMachine.hpp"
#include "Platform/Machine.hpp"

namespace carvex::sim::kiv {

class ConfigManager {
 public:
  static constexpr const char* kImageName = "ConfigManager";
  static constexpr const char* kSyncReason = "full resynchronisation (KivSyncWithOob)";

  // Registers its stage hooks; machine and hii must outlive it.
  ConfigManager(Machine& machine, HiiMachine& hii);
  ~ConfigManager();
  ConfigManager(const ConfigManager&) = delete;
  ConfigManager& operator=(const ConfigManager&) = delete;

  ControllerStore& Controller() { return controller_; }
  // The machine's boot number as the person sees it (the devices' count
  // across runs); the simulated machine's own count by default.
  void SetBootCounter(std::function<unsigned()> counter) { bootCounter_ = std::move(counter); }
  // A note for the person when controller.json could not be read.
  const std::string& LoadWarning() const { return loadWarning_; }

  // Copies the form set titled `keyword`; EFI_NOT_FOUND when none carries the
  // class GUID with that title. Usable by host code during a boot.
  EFI_STATUS SaveByKeyword(const std::u16string& keyword, const std::string& reason);

 private:
  struct Protocol {
    KIV_PROTOCOL kiv;  // first: the driver sees only this
    ConfigManager* self;
  };
  struct FormSet;

  static EFI_STATUS EFIAPI SaveByFormSetTitleKeyword(KIV_PROTOCOL* This, CHAR16* Keyword);

  void StartBoot(Machine& machine);
  void RouteQueued(Machine& machine);
  void EndOfPost(Machine& machine);
  std::vector<FormSet> FormSets() const;
  FormSetCopy Copy(const FormSet& formSet, const std::string& reason);
  std::optional<std::vector<std::uint8_t>> ExtractSingle(const FormSet& formSet, std::size_t store, std::string& error);
  void CheckRouted(Machine& machine);

  Machine& machine_;
  HiiMachine& hii_;
  ControllerStore controller_;
  std::string loadWarning_;
  Protocol protocol_{};
  EFI_BOOT_SERVICES* bootServices_ = nullptr;
  std::vector<std::string> routedKeys_;  // this boot's
  std::function<unsigned()> bootCounter_;
  unsigned BootNumber() const { return bootCounter_ ? bootCounter_() : machine_.BootNumber(); }
};

}  // namespace carvex::sim::kiv

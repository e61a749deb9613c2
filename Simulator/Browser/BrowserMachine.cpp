#include "BrowserMachine.hpp"

namespace carvex::sim::browser {

BrowserMachine::BrowserMachine(Machine& machine, HiiMachine& hii) : hii_(hii) {
  machine.OnStage(BootStage::PlatformProtocols, [this](Machine& m) { StartBoot(m); });
}

BrowserMachine::~BrowserMachine() = default;

void BrowserMachine::StartBoot(Machine& machine) {
  // The last boot's browser refers to tables that are gone: drop it without
  // calling into them.
  BrowserUi* ui = browser_ ? browser_->Ui() : nullptr;
  post_.reset();
  browser_.reset();
  const HostImage image = machine.AttachHostImage(kImageName);
  FormBrowser::Services services;
  services.bootServices = image.bootServices;
  services.runtimeServices = image.runtimeServices;
  services.hii = hii_.Services();
  services.log = &machine.Log();
  services.leaveSetup = [&machine](LeaveKind kind) {
    machine.LeaveSetup(kind == LeaveKind::Save      ? SetupExit::Save
                       : kind == LeaveKind::Discard ? SetupExit::Discard
                                                    : SetupExit::Defaults);
  };
  browser_ = std::make_unique<FormBrowser>(std::move(services));
  browser_->SetUi(ui);
  post_ = std::make_unique<PostMessageService>(machine.Log(), [this] { return browser_.get(); });
  if (hii_.Services() == nullptr) {
    machine.Log().Note("form browser: no HII services in this boot", 0x80000000);
  }
  EFI_HANDLE handle = nullptr;
  const EFI_STATUS status = image.bootServices->InstallMultipleProtocolInterfaces(
      &handle, &gEfiFormBrowser2ProtocolGuid, browser_->Protocol(), &gPlatformPostMessageProtocolGuid,
      post_->Protocol(), nullptr);
  if (EFI_ERROR(status)) {
    machine.Log().Note("form browser protocols could not be installed", 0x80000000);
  }
}

}  // namespace carvex::sim::browser

// One boot's runtime services: variables (through the machine's store), the
// virtual clock's time, and reset requests, which end the boot.
#pragma once

#include <optional>
#include <string>

#include <Uefi.h>

#include "PlatformLog.hpp"
#include "VariableStore.hpp"
#include "VirtualClock.hpp"

namespace carvex::sim {

struct ResetRequest {
  EFI_RESET_TYPE type = EfiResetCold;
  EFI_STATUS status = EFI_SUCCESS;
  std::string source;  // the image that called ResetSystem, or "PostResetReq"
};

class RuntimeServicesCore {
 public:
  RuntimeServicesCore(VariableStore& variables, VirtualClock& clock, PlatformLog& log)
      : variables_(variables), clock_(clock), log_(log) {}

  VariableStore& Variables() { return variables_; }
  PlatformLog& Log() { return log_; }

  EFI_STATUS GetTime(EFI_TIME* time, EFI_TIME_CAPABILITIES* capabilities);
  // Firmware expects no return; here the call returns and the boot runner
  // ends the boot at its next step. The first request of a boot counts.
  void ResetSystem(const std::string& caller, EFI_RESET_TYPE type, EFI_STATUS status);
  void RequestReset(ResetRequest request);
  const std::optional<ResetRequest>& PendingReset() const { return reset_; }

 private:
  VariableStore& variables_;
  VirtualClock& clock_;
  PlatformLog& log_;
  std::optional<ResetRequest> reset_;
};

}  // namespace carvex::sim

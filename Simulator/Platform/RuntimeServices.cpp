#include "RuntimeServices.hpp"

namespace carvex::sim {

namespace {

const char* ResetTypeName(EFI_RESET_TYPE type) {
  switch (type) {
    case EfiResetCold: return "cold";
    case EfiResetWarm: return "warm";
    case EfiResetShutdown: return "shutdown";
    case EfiResetPlatformSpecific: return "platform specific";
  }
  return "unknown";
}

}  // namespace

EFI_STATUS RuntimeServicesCore::GetTime(EFI_TIME* time, EFI_TIME_CAPABILITIES* capabilities) {
  if (time == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *time = clock_.Now();
  if (capabilities != nullptr) {
    capabilities->Resolution = 1;
    capabilities->Accuracy = 50000000;  // 50 ppm, as PC real-time clocks report
    capabilities->SetsToZero = FALSE;
  }
  return EFI_SUCCESS;
}

void RuntimeServicesCore::ResetSystem(const std::string& caller, EFI_RESET_TYPE type,
                                      EFI_STATUS status) {
  RequestReset(ResetRequest{type, status, caller});
}

void RuntimeServicesCore::RequestReset(ResetRequest request) {
  log_.Note(std::string("reset requested (") + ResetTypeName(request.type) + ") by " +
                request.source,
            0x80000000);
  if (!reset_) {
    reset_ = std::move(request);
  }
}

}  // namespace carvex::sim

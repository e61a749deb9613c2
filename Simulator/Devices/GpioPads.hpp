// The chipset's GPIO pads as the host platform publishes them: the one pad
// the firmware reads, the security jumper's, whose level follows the
// platform file's "securityJumper" (fitted pulls it to 0).
#pragma once

#include <Uefi.h>
#include <Protocol/PchGpio.h>

namespace carvex::sim::devices {

class GpioPads {
 public:
  // The board's jumper pad (the firmware's SECURITY_JUMPER_GPIO_PAD).
  static constexpr GPIO_PAD kSecurityJumperPad = 0x01020006;

  explicit GpioPads(const bool& jumperFitted) : jumperFitted_(jumperFitted) {
    instance_.owner = this;
    instance_.protocol.Revision = CARVEX_PCH_GPIO_REVISION;
    instance_.protocol.GetPadConfig = GetPadConfig;
    instance_.protocol.SetPadConfig = SetPadConfig;
    instance_.protocol.GetInputValue = GetInputValue;
  }
  GpioPads(const GpioPads&) = delete;
  GpioPads& operator=(const GpioPads&) = delete;

  CARVEX_PCH_GPIO_PROTOCOL* Protocol() { return &instance_.protocol; }
  // The jumper pad's configuration as the firmware last wrote it; reset at
  // every power-up.
  const GPIO_CONFIG& JumperPadConfig() const { return config_; }
  void PowerUp() { config_ = GPIO_CONFIG{{kResetConfig, 0, 0}}; }

 private:
  // Reset bits set, pad owned by the GPIO controller, output buffer on.
  static constexpr UINT32 kResetConfig = 0x44001800;

  struct Instance {
    CARVEX_PCH_GPIO_PROTOCOL protocol;  // first: This points at the instance
    GpioPads* owner;
  };

  static GpioPads& From(CARVEX_PCH_GPIO_PROTOCOL* self) { return *reinterpret_cast<Instance*>(self)->owner; }

  static EFI_STATUS EFIAPI GetPadConfig(CARVEX_PCH_GPIO_PROTOCOL* self, GPIO_PAD pad, GPIO_CONFIG* config) {
    if (pad != kSecurityJumperPad || config == nullptr) return EFI_NOT_FOUND;
    *config = From(self).config_;
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI SetPadConfig(CARVEX_PCH_GPIO_PROTOCOL* self, GPIO_PAD pad, const GPIO_CONFIG* config) {
    if (pad != kSecurityJumperPad || config == nullptr) return EFI_NOT_FOUND;
    From(self).config_ = *config;
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI GetInputValue(CARVEX_PCH_GPIO_PROTOCOL* self, GPIO_PAD pad, UINT32* value) {
    if (pad != kSecurityJumperPad || value == nullptr) return EFI_NOT_FOUND;
    *value = From(self).jumperFitted_ ? 0 : 1;
    return EFI_SUCCESS;
  }

  const bool& jumperFitted_;
  GPIO_CONFIG config_{{kResetConfig, 0, 0}};
  Instance instance_{};
};

}  // namespace carvex::sim::devices

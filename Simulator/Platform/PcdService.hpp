// The platform's PCD protocol (EDK II's member order). Only the capability
// mask token has a value; every other token reads 0 and writes are refused.
// PCD members take no This pointer, so each service occupies one of a few
// slots whose thunks know their instance.
#pragma once

#include <cstdint>

#include <Uefi.h>
#include <Protocol/Pcd.h>

namespace carvex::sim {

class PcdService {
 public:
  static constexpr std::size_t kSlotCount = 8;

  explicit PcdService(std::uint64_t capabilityMask);
  ~PcdService();
  PcdService(const PcdService&) = delete;
  PcdService& operator=(const PcdService&) = delete;

  PCD_PROTOCOL* Protocol() { return &protocol_; }
  void SetCapabilityMask(std::uint64_t mask) { capabilityMask_ = mask; }
  std::uint64_t CapabilityMask() const { return capabilityMask_; }

  std::uint64_t Get64(UINTN token);
  std::uint64_t ReadCount(UINTN token) const;

 private:
  std::size_t slot_;
  std::uint64_t capabilityMask_;
  std::uint64_t capabilityReads_ = 0;
  std::uint64_t otherReads_ = 0;
  PCD_PROTOCOL protocol_{};
};

}  // namespace carvex::sim

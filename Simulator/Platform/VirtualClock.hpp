// Time as the simulated platform sees it: advanced by Stall, never by sleeping.
#pragma once

#include <cstdint>

#include <Uefi/UefiBaseType.h>

namespace carvex::sim {

class VirtualClock {
 public:
  std::uint64_t NowMicroseconds() const { return microseconds_; }
  void Advance(std::uint64_t microseconds) { microseconds_ += microseconds; }

  // Wall-clock reading: a fixed epoch (2024-01-01 00:00:00 UTC) plus the time
  // elapsed, so logs and tests see the same dates on every run.
  EFI_TIME Now() const;

 private:
  std::uint64_t microseconds_ = 0;
};

}  // namespace carvex::sim

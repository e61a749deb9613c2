// Faults the platform injects on request: failed pool allocations of one
// image (the n-th, every one from the n-th on, or those from one call site)
// and failed variable writes. Counters run across boots until re-armed, so a
// sweep can cover a scenario that resets.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <Uefi/UefiBaseType.h>

#include "CallSite.hpp"

namespace carvex::sim {

class FaultInjector {
 public:
  enum class Repeat { Once, FromThenOn };

  // Fail the image's n-th allocation (1-based, counted from this call), or
  // every allocation from the n-th on.
  void FailNthAllocation(const std::string& image, std::uint64_t n, Repeat repeat = Repeat::Once);
  // Fail every allocation of the image whose call site has this offset in
  // any of its recorded frames.
  void FailCallSite(const std::string& image, std::uintptr_t offset);
  // SetVariable on this name (any GUID) returns status without writing;
  // `times` limits how often (empty: always).
  void FailVariableWrite(const std::u16string& name, EFI_STATUS status = EFI_DEVICE_ERROR,
                         std::optional<unsigned> times = std::nullopt);
  void Clear();

  // Allocation attempts of the image since it was last armed (or ever).
  std::uint64_t AllocationCount(const std::string& image) const;
  // Faults injected since construction or Clear().
  std::uint64_t InjectedAllocationFailures() const { return injectedAllocations_; }
  std::uint64_t InjectedVariableFailures() const { return injectedVariables_; }

  // Called by the platform: counts the attempt, and tells whether it fails.
  bool OnAllocation(const std::string& image, const CallSite& site);
  std::optional<EFI_STATUS> OnVariableWrite(const std::u16string& name);

 private:
  struct AllocationRule {
    std::optional<std::uint64_t> nth;
    Repeat repeat = Repeat::Once;
    std::vector<std::uintptr_t> callSites;
  };
  struct VariableRule {
    EFI_STATUS status;
    std::optional<unsigned> remaining;
  };

  std::map<std::string, std::uint64_t> counts_;
  std::map<std::string, AllocationRule> allocationRules_;
  std::map<std::u16string, VariableRule> variableRules_;
  std::uint64_t injectedAllocations_ = 0;
  std::uint64_t injectedVariables_ = 0;
};

}  // namespace carvex::sim

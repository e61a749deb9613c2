#include "FaultInjector.hpp"

namespace carvex::sim {

void FaultInjector::FailNthAllocation(const std::string& image, std::uint64_t n, Repeat repeat) {
  AllocationRule& rule = allocationRules_[image];
  rule.nth = n;
  rule.repeat = repeat;
  counts_[image] = 0;
}

void FaultInjector::FailCallSite(const std::string& image, std::uintptr_t offset) {
  allocationRules_[image].callSites.push_back(offset);
}

void FaultInjector::FailVariableWrite(const std::u16string& name, EFI_STATUS status,
                                      std::optional<unsigned> times) {
  variableRules_[name] = VariableRule{status, times};
}

void FaultInjector::Clear() {
  allocationRules_.clear();
  variableRules_.clear();
  counts_.clear();
  injectedAllocations_ = 0;
  injectedVariables_ = 0;
}

std::uint64_t FaultInjector::AllocationCount(const std::string& image) const {
  auto found = counts_.find(image);
  return found == counts_.end() ? 0 : found->second;
}

bool FaultInjector::OnAllocation(const std::string& image, const CallSite& site) {
  const std::uint64_t count = ++counts_[image];
  auto found = allocationRules_.find(image);
  if (found == allocationRules_.end()) {
    return false;
  }
  const AllocationRule& rule = found->second;
  bool fail = false;
  if (rule.nth) {
    fail = rule.repeat == Repeat::Once ? count == *rule.nth : count >= *rule.nth;
  }
  for (std::uintptr_t offset : rule.callSites) {
    fail = fail || site.Contains(offset);
  }
  if (fail) {
    ++injectedAllocations_;
  }
  return fail;
}

std::optional<EFI_STATUS> FaultInjector::OnVariableWrite(const std::u16string& name) {
  auto found = variableRules_.find(name);
  if (found == variableRules_.end()) {
    return std::nullopt;
  }
  VariableRule& rule = found->second;
  if (rule.remaining) {
    if (*rule.remaining == 0) {
      return std::nullopt;
    }
    --*rule.remaining;
  }
  ++injectedVariables_;
  return rule.status;
}

}  // namespace carvex::sim

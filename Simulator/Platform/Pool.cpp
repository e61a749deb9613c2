#include "Pool.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

namespace carvex::sim {

namespace {

// Fresh pool is not zeroed in firmware: fill it so that code relying on
// zeroed memory shows, and scribble freed memory before handing it back.
constexpr std::uint8_t kFreshFill = 0xAF;
constexpr std::uint8_t kFreedFill = 0xDF;

bool IsPoolType(EFI_MEMORY_TYPE type) {
  const auto value = static_cast<UINT32>(type);
  if (value >= 0x70000000) {
    return true;  // OEM and OS loader ranges
  }
  return value < EfiMaxMemoryType && value != EfiConventionalMemory &&
         value != EfiPersistentMemory && value != EfiUnusableMemory;
}

}  // namespace

std::size_t LeakReport::CountFor(const std::string& image) const {
  return static_cast<std::size_t>(
      std::count_if(leaks.begin(), leaks.end(), [&](const Leak& l) { return l.image == image; }));
}

std::size_t LeakReport::BytesFor(const std::string& image) const {
  std::size_t bytes = 0;
  for (const Leak& leak : leaks) {
    if (leak.image == image) {
      bytes += leak.size;
    }
  }
  return bytes;
}

std::vector<std::string> LeakReport::Images() const {
  std::vector<std::string> images;
  for (const Leak& leak : leaks) {
    if (std::find(images.begin(), images.end(), leak.image) == images.end()) {
      images.push_back(leak.image);
    }
  }
  return images;
}

std::string LeakReport::Format() const {
  std::ostringstream out;
  for (const std::string& image : Images()) {
    out << image << ": " << CountFor(image) << " allocation(s), " << BytesFor(image)
        << " bytes outstanding\n";
    for (const Leak& leak : leaks) {
      if (leak.image == image) {
        out << "  " << leak.size << " bytes at " << leak.site.Describe() << '\n';
      }
    }
  }
  return out.str();
}

Pool::Pool(FaultInjector& faults, PlatformLog& log) : faults_(faults), log_(log) {}

Pool::~Pool() { ReleaseAll(); }

EFI_STATUS Pool::Allocate(const std::string& image, EFI_MEMORY_TYPE type, UINTN size,
                          VOID** buffer, const CallSite& site) {
  if (buffer == nullptr || !IsPoolType(type)) {
    log_.Report(ReportKind::ServiceMisuse, image,
                "AllocatePool with " + std::string(buffer == nullptr ? "a NULL buffer pointer"
                                                                     : "an invalid pool type") +
                    " at " + site.Describe());
    return EFI_INVALID_PARAMETER;
  }
  PoolStats& stats = stats_[image];
  sites_[image].insert(site.Innermost());
  if (faults_.OnAllocation(image, site)) {
    ++stats.failedAllocations;
    *buffer = nullptr;
    return EFI_OUT_OF_RESOURCES;
  }
  void* block = size <= SIZE_MAX - 16 ? std::malloc(size == 0 ? 1 : size) : nullptr;
  if (block == nullptr) {
    ++stats.failedAllocations;
    *buffer = nullptr;
    return EFI_OUT_OF_RESOURCES;
  }
  std::memset(block, kFreshFill, size);
  freed_.erase(reinterpret_cast<std::uintptr_t>(block));
  live_.emplace(block, Block{image, size, type, site, ++sequence_});
  ++stats.allocations;
  ++stats.liveAllocations;
  stats.bytesOutstanding += size;
  stats.peakBytes = std::max(stats.peakBytes, stats.bytesOutstanding);
  *buffer = block;
  return EFI_SUCCESS;
}

VOID* Pool::AllocateFor(const std::string& image, std::size_t size, const CallSite& site) {
  VOID* buffer = nullptr;
  return Allocate(image, EfiBootServicesData, size, &buffer, site) == EFI_SUCCESS ? buffer
                                                                                  : nullptr;
}

EFI_STATUS Pool::Free(const std::string& image, VOID* buffer, const CallSite& site) {
  if (buffer == nullptr) {
    log_.Report(ReportKind::InvalidFree, image, "FreePool(NULL) at " + site.Describe());
    ++stats_[image].refusedFrees;
    return EFI_INVALID_PARAMETER;
  }
  auto found = live_.find(buffer);
  if (found == live_.end()) {
    const bool twice = freed_.count(reinterpret_cast<std::uintptr_t>(buffer)) != 0;
    std::ostringstream message;
    message << "FreePool(" << buffer << ") at " << site.Describe()
            << (twice ? ": already freed" : ": not a pool allocation");
    log_.Report(twice ? ReportKind::DoubleFree : ReportKind::InvalidFree, image, message.str());
    ++stats_[image].refusedFrees;
    return EFI_INVALID_PARAMETER;
  }
  // The allocating image keeps the accounting: pool may change hands (a
  // protocol allocates, its caller frees).
  PoolStats& owner = stats_[found->second.image];
  ++owner.frees;
  --owner.liveAllocations;
  owner.bytesOutstanding -= found->second.size;
  ScanFreedBlock(buffer, found->second);
  std::memset(buffer, kFreedFill, found->second.size);
  live_.erase(found);
  freed_.insert(reinterpret_cast<std::uintptr_t>(buffer));
  std::free(buffer);
  return EFI_SUCCESS;
}

void Pool::ScanFreedBlock(const void* buffer, const Block& block) {
  const auto* bytes = static_cast<const char*>(buffer);
  const std::string_view contents(bytes, block.size);
  for (const std::string& text : watched_) {
    if (text.empty()) continue;
    std::string wide;
    for (char c : text) {
      wide += c;
      wide += '\0';
    }
    const char* form = contents.find(text) != std::string_view::npos   ? "8-bit"
                       : contents.find(wide) != std::string_view::npos ? "UCS-2"
                                                                       : nullptr;
    if (form != nullptr) {
      std::ostringstream message;
      message << "a freed block of " << block.size << " bytes allocated at " << block.site.Describe()
              << " still holds a watched text (" << form << ")";
      log_.Report(ReportKind::SecretInFreedPool, block.image, message.str());
    }
  }
}

PoolStats Pool::Stats(const std::string& image) const {
  auto found = stats_.find(image);
  return found == stats_.end() ? PoolStats{} : found->second;
}

LeakReport Pool::Leaks() const {
  LeakReport report;
  for (const auto& [address, block] : live_) {
    report.leaks.push_back(Leak{block.image, block.size, block.site, block.sequence});
  }
  std::sort(report.leaks.begin(), report.leaks.end(),
            [](const Leak& a, const Leak& b) { return a.sequence < b.sequence; });
  return report;
}

std::set<std::uintptr_t> Pool::CallSitesSeen(const std::string& image) const {
  auto found = sites_.find(image);
  return found == sites_.end() ? std::set<std::uintptr_t>{} : found->second;
}

LeakReport Pool::ReleaseAll() {
  LeakReport report = Leaks();
  for (auto& [address, block] : live_) {
    std::free(const_cast<void*>(address));
  }
  live_.clear();
  freed_.clear();
  return report;
}

}  // namespace carvex::sim

// Boot-services pool with per-image accounting: what each image allocated,
// from where, what it still holds, and every free the platform refused.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <Uefi.h>

#include "CallSite.hpp"
#include "FaultInjector.hpp"
#include "PlatformLog.hpp"

namespace carvex::sim {

struct PoolStats {
  std::uint64_t allocations = 0;        // successful
  std::uint64_t failedAllocations = 0;  // injected or refused
  std::uint64_t frees = 0;
  std::uint64_t refusedFrees = 0;       // invalid or double frees
  std::uint64_t liveAllocations = 0;
  std::uint64_t bytesOutstanding = 0;
  std::uint64_t peakBytes = 0;
};

struct Leak {
  std::string image;
  std::size_t size = 0;
  CallSite site;
  std::uint64_t sequence = 0;  // allocation order within the boot
};

struct LeakReport {
  std::vector<Leak> leaks;  // in allocation order

  bool Empty() const { return leaks.empty(); }
  std::size_t CountFor(const std::string& image) const;
  std::size_t BytesFor(const std::string& image) const;
  std::vector<std::string> Images() const;
  // One line per image ("CarvexDxe: 3 allocations, 120 bytes") followed by
  // one indented line per allocation with its size and call site.
  std::string Format() const;
};

class Pool {
 public:
  Pool(FaultInjector& faults, PlatformLog& log);
  ~Pool();
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  EFI_STATUS Allocate(const std::string& image, EFI_MEMORY_TYPE type, UINTN size, VOID** buffer,
                      const CallSite& site);
  EFI_STATUS Free(const std::string& image, VOID* buffer, const CallSite& site);

  // Host-side allocation on behalf of an image (buffers the platform returns
  // to a caller that frees them), subject to the same accounting and faults.
  VOID* AllocateFor(const std::string& image, std::size_t size, const CallSite& site);

  // Texts no block may still hold when it is freed (passphrases): each
  // freed block is searched for them as 8-bit and as UCS-2 text, and a
  // find is reported as SecretInFreedPool against the allocating image.
  void WatchFreedBlocksFor(std::vector<std::string> texts) { watched_ = std::move(texts); }

  bool IsLive(const void* buffer) const { return live_.count(buffer) != 0; }
  PoolStats Stats(const std::string& image) const;
  std::map<std::string, PoolStats> AllStats() const { return stats_; }
  LeakReport Leaks() const;
  // Distinct call sites (innermost offset) of the image's allocations.
  std::set<std::uintptr_t> CallSitesSeen(const std::string& image) const;
  // Frees everything still outstanding (end of boot); returns what was freed.
  LeakReport ReleaseAll();

 private:
  struct Block {
    std::string image;
    std::size_t size;
    EFI_MEMORY_TYPE type;
    CallSite site;
    std::uint64_t sequence;
  };

  FaultInjector& faults_;
  PlatformLog& log_;
  std::unordered_map<const void*, Block> live_;
  std::unordered_set<std::uintptr_t> freed_;  // freed and not handed out again
  std::map<std::string, PoolStats> stats_;
  std::map<std::string, std::set<std::uintptr_t>> sites_;
  std::uint64_t sequence_ = 0;
  std::vector<std::string> watched_;

  void ScanFreedBlock(const void* buffer, const Block& block);
};

}  // namespace carvex::sim

// Where in an image a service was called from, as image-relative offsets
// (the return addresses of the calls), so that reports and fault injection
// stay valid across boots that map the image at another address.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace carvex::sim {

struct CallSite {
  std::string module;                   // image name, or the host file for host code
  std::vector<std::uintptr_t> offsets;  // innermost first: the call into the service, then its callers

  std::uintptr_t Innermost() const { return offsets.empty() ? 0 : offsets.front(); }
  bool Contains(std::uintptr_t offset) const;
  // "CarvexDxe+0x1a2b (from +0x3c4d, +0x5e6f)"; subtract one from an offset
  // to give it to addr2line, as it is a return address.
  std::string Describe() const;
};

struct ModuleRange {
  std::string name;
  std::uintptr_t base = 0;   // load bias: offsets equal the file's virtual addresses
  std::uintptr_t begin = 0;  // mapped range [begin, end)
  std::uintptr_t end = 0;
};

// The call site of a service called from the image mapped at `range`:
// returnAddress is the service thunk's own return address; when the image is
// a loaded shared object, up to four frames inside it are kept.
CallSite CaptureCallSite(const ModuleRange& range, void* returnAddress);

// The mapped range of the shared object containing address (via dladdr and
// the program headers); name is its file name without directory.
ModuleRange ModuleRangeOf(const void* address);

}  // namespace carvex::sim

#include "CallSite.hpp"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace carvex::sim {

namespace {

constexpr int kMaxFrames = 24;
constexpr std::size_t kKeptFrames = 4;

std::string Hex(std::uintptr_t value) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%zx", static_cast<std::size_t>(value));
  return text;
}

struct RangeSearch {
  std::uintptr_t bias;
  std::uintptr_t begin;
  std::uintptr_t end;
  bool found;
};

int FindLoadRange(dl_phdr_info* info, std::size_t, void* data) {
  auto* search = static_cast<RangeSearch*>(data);
  if (info->dlpi_addr != search->bias) {
    return 0;
  }
  std::uintptr_t low = UINTPTR_MAX;
  std::uintptr_t high = 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = info->dlpi_phdr[i];
    if (header.p_type == PT_LOAD) {
      low = std::min<std::uintptr_t>(low, info->dlpi_addr + header.p_vaddr);
      high = std::max<std::uintptr_t>(high, info->dlpi_addr + header.p_vaddr + header.p_memsz);
    }
  }
  if (low < high) {
    search->begin = low;
    search->end = high;
    search->found = true;
    return 1;
  }
  return 0;
}

}  // namespace

bool CallSite::Contains(std::uintptr_t offset) const {
  for (std::uintptr_t frame : offsets) {
    if (frame == offset) {
      return true;
    }
  }
  return false;
}

std::string CallSite::Describe() const {
  if (offsets.empty()) {
    return module + "+?";
  }
  std::string text = module + "+" + Hex(offsets.front());
  if (offsets.size() > 1) {
    text += " (from";
    for (std::size_t i = 1; i < offsets.size(); ++i) {
      text += (i == 1 ? " +" : ", +") + Hex(offsets[i]);
    }
    text += ")";
  }
  return text;
}

ModuleRange ModuleRangeOf(const void* address) {
  ModuleRange range;
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 ||
      map == nullptr) {
    range.name = "?";
    return range;
  }
  range.name = info.dli_fname != nullptr && *info.dli_fname != 0
                   ? std::filesystem::path(info.dli_fname).filename().string()
                   : std::string("main");
  range.base = map->l_addr;
  RangeSearch search{map->l_addr, 0, 0, false};
  dl_iterate_phdr(FindLoadRange, &search);
  if (search.found) {
    range.begin = search.begin;
    range.end = search.end;
  }
  return range;
}

CallSite CaptureCallSite(const ModuleRange& range, void* returnAddress) {
  CallSite site;
  site.module = range.name;
  const auto immediate = reinterpret_cast<std::uintptr_t>(returnAddress);
  const bool inRange = immediate >= range.begin && immediate < range.end;
  if (inRange) {
    void* frames[kMaxFrames];
    const int count = backtrace(frames, kMaxFrames);
    bool reachedCaller = false;
    for (int i = 0; i < count && site.offsets.size() < kKeptFrames; ++i) {
      const auto address = reinterpret_cast<std::uintptr_t>(frames[i]);
      reachedCaller = reachedCaller || address == immediate;
      if (reachedCaller && address >= range.begin && address < range.end) {
        site.offsets.push_back(address - range.base);
      }
    }
    if (site.offsets.empty()) {
      site.offsets.push_back(immediate - range.base);
    }
    return site;
  }
  // Called from outside the image (host code acting for it): name the module
  // that made the call instead.
  const ModuleRange caller = ModuleRangeOf(returnAddress);
  site.module = range.name + "<-" + caller.name;
  site.offsets.push_back(immediate - caller.base);
  return site;
}

}  // namespace carvex::sim

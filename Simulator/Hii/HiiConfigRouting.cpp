// EFI_HII_CONFIG_ROUTING_PROTOCOL members of HiiServices.
#include <algorithm>
#include <cstring>

#include "BlockConfig.hpp"
#include "ConfigText.hpp"
#include "DevicePathBytes.hpp"
#include "HiiServicesImpl.hpp"

namespace carvex::sim {

using hii::VarStore;

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

// Where a <ConfigRequest> breaks the grammar the router passes on: with a
// NAME, only &OFFSET=..&WIDTH=.. items; without, &name items. kNone when it
// is fine.
std::size_t RequestError(std::u16string_view section) {
  std::size_t name = section.find(u"&NAME=", 5);
  if (name == kNone) {
    return section.size();
  }
  const bool hasName = section.size() > name + 6 && section[name + 6] != u'&';
  std::size_t path = section.find(u"&PATH=", name + 6);
  if (path == kNone) {
    return section.size();
  }
  std::size_t i = section.find(u'&', path + 6);
  if (i == kNone) {
    return kNone;
  }
  if (hasName) {
    // The configuration manager's multi-instance request: one INSTANCE
    // element (four hex digits) before any block, passed to the driver.
    if (hii::StartsWith(section.substr(i), u"&INSTANCE=")) {
      const std::size_t digits = i + 10;
      if (section.size() < digits + 4 || !std::all_of(section.begin() + digits, section.begin() + digits + 4, hii::IsHexDigit)) {
        return i;
      }
      i = digits + 4;
      if (i == section.size()) {
        return kNone;
      }
    }
    for (;;) {
      if (!hii::StartsWith(section.substr(i), u"&OFFSET=")) {
        return i;
      }
      std::size_t width = section.find(u"&WIDTH=", i + 8);
      if (width == kNone) {
        return section.size();
      }
      i = section.find(u'&', width + 7);
      if (i == kNone) {
        return kNone;
      }
    }
  }
  while (i < section.size()) {
    std::size_t end = section.find(u'&', i + 1);
    if (end == kNone) {
      end = section.size();
    }
    std::u16string_view element = section.substr(i + 1, end - i - 1);
    if (element.empty() || element.find(u'=') != kNone) {
      return i;
    }
    i = end;
  }
  return kNone;
}

// Whether anything follows the PATH= value.
bool HasElements(std::u16string_view section) {
  std::size_t path = section.find(u"PATH=");
  return path != kNone && section.find(u'&', path) != kNone;
}

bool Within(const CHAR16* pointer, const CHAR16* begin, std::size_t count) {
  const auto p = reinterpret_cast<std::uintptr_t>(pointer);
  const auto b = reinterpret_cast<std::uintptr_t>(begin);
  return p >= b && p <= b + count * sizeof(CHAR16);
}

// A NUL-terminated private copy of exactly the text, for a driver to read.
std::vector<CHAR16> Terminated(std::u16string_view text) {
  std::vector<CHAR16> copy(text.size() + 1);
  std::copy(text.begin(), text.end(), copy.begin());
  copy[text.size()] = 0;
  return copy;
}

std::u16string HexNumber(unsigned value) {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  std::u16string text;
  do {
    text.insert(text.begin(), kDigits[value & 0xF]);
    value >>= 4;
  } while (value != 0);
  while (text.size() < 4) {
    text.insert(text.begin(), u'0');
  }
  return text;
}

std::u16string HeaderFor(const VarStore& store, const std::vector<std::uint8_t>& path) {
  std::u16string header = u"GUID=";
  header += hii::HexBytes(reinterpret_cast<const std::uint8_t*>(&store.guid), sizeof(EFI_GUID));
  header += u"&NAME=";
  if (store.kind != VarStore::Kind::NameValue) {
    header += hii::HexName(store.name);
  }
  header += u"&PATH=";
  header += hii::HexBytes(path.data(), path.size());
  return header;
}

// One section of a Multi string and what happened to it.
struct SectionOutcome {
  EFI_STATUS status = EFI_SUCCESS;
  std::size_t errorOffset = 0;  // into the section
};

}  // namespace

std::optional<HiiServices::Impl::Route> HiiServices::Impl::FindRoute(
    const std::vector<std::uint8_t>& path, const std::optional<std::vector<std::uint8_t>>& guid,
    const std::optional<std::u16string>& name) {
  if (guid && name) {
    for (const auto& record : records) {
      const auto& package = record->packages.devicePath;
      if (!package || package->size() - sizeof(EFI_HII_PACKAGE_HEADER) != path.size() ||
          !std::equal(path.begin(), path.end(), package->begin() + sizeof(EFI_HII_PACKAGE_HEADER))) {
        continue;
      }
      for (const auto& forms : record->packages.forms) {
        for (const VarStore& store : hii::VarStoresBeforeFirstForm(hii::FormOps(forms), hii::FormOpsLength(forms))) {
          const bool nameMatches = store.kind == VarStore::Kind::NameValue ? name->empty() : *name == store.name;
          if (nameMatches && std::memcmp(&store.guid, guid->data(), sizeof(EFI_GUID)) == 0) {
            return Route{record->driverHandle, record->handle, store, record->packages.forms};
          }
        }
      }
    }
  }
  // No package list declares that store: any handle with that device path.
  if (bs->LocateDevicePath != nullptr) {
    std::vector<std::uint8_t> copy = path;
    auto* remaining = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(copy.data());
    EFI_HANDLE handle = nullptr;
    if (bs->LocateDevicePath(&gEfiDevicePathProtocolGuid, &remaining, &handle) == EFI_SUCCESS && handle != nullptr) {
      return Route{handle, nullptr, std::nullopt, {}};
    }
  }
  return std::nullopt;
}

EFI_HII_CONFIG_ACCESS_PROTOCOL* HiiServices::Impl::AccessOf(EFI_HANDLE driverHandle) const {
  void* access = nullptr;
  if (driverHandle == nullptr ||
      bs->HandleProtocol(driverHandle, &gEfiHiiConfigAccessProtocolGuid, &access) != EFI_SUCCESS) {
    return nullptr;
  }
  return static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL*>(access);
}

std::u16string HiiServices::Impl::FullRequest(std::u16string_view header, const Route& route) const {
  std::u16string request(header);
  if (!route.store || route.store->kind == VarStore::Kind::NameValue) {
    return request;
  }
  std::vector<hii::StorageBlock> blocks;
  for (const auto& forms : route.forms) {
    auto more = hii::QuestionBlocks(hii::FormOps(forms), hii::FormOpsLength(forms), route.store->id);
    blocks.insert(blocks.end(), more.begin(), more.end());
  }
  std::sort(blocks.begin(), blocks.end());
  blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
  for (const auto& block : blocks) {
    request += u"&OFFSET=" + HexNumber(block.offset) + u"&WIDTH=" + HexNumber(block.width);
  }
  return request;
}

EFI_STATUS HiiServices::Impl::ReadEfiStore(const VarStore& store, std::vector<std::uint8_t>& data) const {
  if (rt == nullptr || rt->GetVariable == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::vector<CHAR16> name = Terminated(store.name);
  EFI_GUID guid = store.guid;
  UINTN size = 0;
  EFI_STATUS status = rt->GetVariable(name.data(), &guid, nullptr, &size, nullptr);
  if (status != EFI_BUFFER_TOO_SMALL) {
    return EFI_ERROR(status) ? status : EFI_NOT_FOUND;
  }
  data.assign(size, 0);
  status = rt->GetVariable(name.data(), &guid, nullptr, &size, data.data());
  data.resize(std::min<std::size_t>(size, data.size()));
  return status;
}

EFI_STATUS HiiServices::Impl::WriteEfiStore(const VarStore& store, const std::vector<std::uint8_t>& data) const {
  if (rt == nullptr || rt->SetVariable == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::vector<CHAR16> name = Terminated(store.name);
  EFI_GUID guid = store.guid;
  std::vector<std::uint8_t> copy = data;
  return rt->SetVariable(name.data(), &guid, store.attributes, copy.size(), copy.data());
}

namespace {

// Extracts one section through its driver (or the variable services for an
// EFI variable store).
SectionOutcome ExtractSection(HiiServices::Impl& impl, std::u16string_view section,
                              const HiiServices::Impl::Route& route, std::u16string& results) {
  std::u16string request(section);
  bool expanded = false;
  if (route.hiiHandle != nullptr && route.store && !HasElements(section)) {
    request = impl.FullRequest(section, route);
    expanded = request.size() != section.size();
    if (!expanded) {
      results = request;  // nothing is stored there: the answer is the header
      return {};
    }
  }
  if (route.store && route.store->kind == VarStore::Kind::Efi) {
    std::vector<std::uint8_t> data;
    EFI_STATUS status = impl.ReadEfiStore(*route.store, data);
    if (EFI_ERROR(status)) {
      return {status, 0};
    }
    hii::TextResult converted = hii::BlockToConfigText(request, data.data(), data.size(), results);
    return {converted.status, expanded ? 0 : converted.progress};
  }
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access = impl.AccessOf(route.driverHandle);
  if (access == nullptr) {
    return {EFI_NOT_FOUND, 0};
  }
  std::vector<CHAR16> copy = Terminated(request);
  const CHAR16* accessProgress = nullptr;
  CHAR16* accessResults = nullptr;
  EFI_STATUS status = access->ExtractConfig(access, copy.data(), &accessProgress, &accessResults);
  if (EFI_ERROR(status)) {
    std::size_t offset = 0;
    if (!expanded && Within(accessProgress, copy.data(), request.size())) {
      offset = static_cast<std::size_t>(accessProgress - copy.data());
    }
    return {status, offset};
  }
  if (accessResults == nullptr) {
    return {EFI_DEVICE_ERROR, 0};
  }
  results.assign(hii::ViewOf(accessResults));
  impl.FreePool(accessResults);
  return {};
}

SectionOutcome RouteSection(HiiServices::Impl& impl, std::u16string_view section,
                            const HiiServices::Impl::Route& route) {
  if (route.store && route.store->kind == VarStore::Kind::Efi) {
    std::vector<std::uint8_t> data;
    EFI_STATUS status = impl.ReadEfiStore(*route.store, data);
    if (EFI_ERROR(status)) {
      return {status, 0};
    }
    std::size_t size = data.size();
    hii::TextResult converted = hii::ConfigToBlockText(section, data.data(), size);
    if (EFI_ERROR(converted.status)) {
      return {converted.status, converted.progress};
    }
    status = impl.WriteEfiStore(*route.store, data);
    return {status, 0};
  }
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access = impl.AccessOf(route.driverHandle);
  if (access == nullptr) {
    return {EFI_NOT_FOUND, 0};
  }
  std::vector<CHAR16> copy = Terminated(section);
  const CHAR16* accessProgress = nullptr;
  EFI_STATUS status = access->RouteConfig(access, copy.data(), &accessProgress);
  if (EFI_ERROR(status)) {
    std::size_t offset = 0;
    if (Within(accessProgress, copy.data(), section.size())) {
      offset = static_cast<std::size_t>(accessProgress - copy.data());
    }
    return {status, offset};
  }
  return {};
}

}  // namespace

EFI_STATUS HiiServices::Impl::ExtractConfig(const CHAR16* request, const CHAR16** progress, CHAR16** results) {
  if (progress == nullptr || results == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *results = nullptr;
  *progress = request;
  if (request == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const std::u16string_view text = hii::ViewOf(request);
  if (!hii::StartsWith(text, u"GUID=")) {
    return EFI_INVALID_PARAMETER;
  }

  std::u16string all;
  std::size_t start = 0;
  for (;;) {
    // Parse errors point at the start of the string or the '&' before the section.
    const std::size_t failAt = (start == 0) ? 0 : start - 1;
    const std::u16string_view section = text.substr(start, hii::SectionLength(text.substr(start)));
    const hii::ConfigHeader header = hii::ParseConfigHeader(section);
    if (!header.hasPath || !header.path) {
      *progress = request + failAt;
      return header.hasPath ? EFI_NOT_FOUND : EFI_INVALID_PARAMETER;
    }
    auto route = FindRoute(*header.path, header.guid, header.name);
    if (!route) {
      *progress = request + start;  // the 'G' of this section's GUID
      return EFI_NOT_FOUND;
    }
    const std::size_t bad = RequestError(section);
    if (bad != kNone) {
      *progress = request + start + bad;
      return EFI_INVALID_PARAMETER;
    }
    std::u16string sectionResults;
    SectionOutcome outcome = ExtractSection(*this, section, *route, sectionResults);
    if (EFI_ERROR(outcome.status)) {
      *progress = request + start + std::min(outcome.errorOffset, section.size());
      return outcome.status;
    }
    if (!all.empty()) {
      all.push_back(u'&');
    }
    all += sectionResults;

    start += section.size();
    if (start >= text.size()) {
      break;
    }
    start++;  // the '&' before the next GUID=
  }
  *results = PoolString(all);
  if (*results == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *progress = request + text.size();
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::RouteConfig(const CHAR16* configuration, const CHAR16** progress) {
  if (progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *progress = configuration;
  if (configuration == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const std::u16string_view text = hii::ViewOf(configuration);
  if (!hii::StartsWith(text, u"GUID=")) {
    return EFI_INVALID_PARAMETER;
  }

  std::size_t start = 0;
  for (;;) {
    const std::size_t failAt = (start == 0) ? 0 : start - 1;
    const std::u16string_view section = text.substr(start, hii::SectionLength(text.substr(start)));
    const hii::ConfigHeader header = hii::ParseConfigHeader(section);
    if (!header.hasPath || !header.path) {
      *progress = configuration + failAt;
      return header.hasPath ? EFI_NOT_FOUND : EFI_INVALID_PARAMETER;
    }
    auto route = FindRoute(*header.path, header.guid, header.name);
    if (!route) {
      *progress = configuration + start;
      return EFI_NOT_FOUND;
    }
    SectionOutcome outcome = RouteSection(*this, section, *route);
    if (EFI_ERROR(outcome.status)) {
      *progress = configuration + start + std::min(outcome.errorOffset, section.size());
      return outcome.status;
    }
    start += section.size();
    if (start >= text.size()) {
      break;
    }
    start++;
  }
  *progress = configuration + text.size();
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::ExportConfig(CHAR16** results) {
  if (results == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *results = nullptr;
  // Snapshot first: drivers run in between and may change the database.
  struct Source {
    EFI_HANDLE driverHandle;
    EFI_HII_HANDLE hiiHandle;
    std::vector<std::uint8_t> path;
    std::vector<std::vector<std::uint8_t>> forms;
  };
  std::vector<Source> sources;
  for (const auto& record : records) {
    if (record->packages.devicePath) {
      const auto& package = *record->packages.devicePath;
      sources.push_back({record->driverHandle, record->handle,
                         std::vector<std::uint8_t>(package.begin() + sizeof(EFI_HII_PACKAGE_HEADER), package.end()),
                         record->packages.forms});
    }
  }

  std::u16string all;
  auto append = [&all](std::u16string_view part) {
    if (!all.empty()) {
      all.push_back(u'&');
    }
    all += part;
  };
  for (const Source& source : sources) {
    // A driver may answer for all of its storage at once.
    if (EFI_HII_CONFIG_ACCESS_PROTOCOL* access = AccessOf(source.driverHandle)) {
      const CHAR16* accessProgress = nullptr;
      CHAR16* accessResults = nullptr;
      if (access->ExtractConfig(access, nullptr, &accessProgress, &accessResults) == EFI_SUCCESS &&
          accessResults != nullptr) {
        append(hii::ViewOf(accessResults));
        FreePool(accessResults);
        continue;
      }
    }
    // Otherwise each store is asked for what its questions cover.
    for (const auto& forms : source.forms) {
      for (const VarStore& store : hii::VarStoresBeforeFirstForm(hii::FormOps(forms), hii::FormOpsLength(forms))) {
        Route route{source.driverHandle, source.hiiHandle, store, source.forms};
        const std::u16string header = HeaderFor(store, source.path);
        const std::u16string request = FullRequest(header, route);
        if (request.size() == header.size()) {
          continue;
        }
        std::u16string storeResults;
        if (!EFI_ERROR(ExtractSection(*this, request, route, storeResults).status)) {
          append(storeResults);
        }
      }
    }
  }
  *results = PoolString(all);
  return *results == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::BlockToConfig(const CHAR16* request, const UINT8* block, UINTN blockSize,
                                            CHAR16** config, const CHAR16** progress) {
  if (config == nullptr || progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (request == nullptr || block == nullptr) {
    *progress = request;
    return EFI_INVALID_PARAMETER;
  }
  *config = nullptr;
  std::u16string out;
  const hii::TextResult converted = hii::BlockToConfigText(hii::ViewOf(request), block, blockSize, out);
  *progress = request + converted.progress;
  if (EFI_ERROR(converted.status)) {
    return converted.status;
  }
  *config = PoolString(out);
  return *config == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::ConfigToBlock(const CHAR16* response, UINT8* block, UINTN* blockSize,
                                            const CHAR16** progress) {
  if (blockSize == nullptr || progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *progress = response;
  if (response == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::size_t size = *blockSize;
  const hii::TextResult converted = hii::ConfigToBlockText(hii::ViewOf(response), block, size);
  *blockSize = size;
  *progress = response + converted.progress;
  return converted.status;
}

EFI_STATUS HiiServices::Impl::GetAltConfig(const CHAR16* response, const EFI_GUID* guid, const CHAR16* name,
                                           const EFI_DEVICE_PATH_PROTOCOL* path, const UINT16* altCfgId,
                                           CHAR16** altCfgResp) {
  if (response == nullptr || altCfgResp == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *altCfgResp = nullptr;
  std::optional<std::vector<std::uint8_t>> wantedPath;
  if (path != nullptr) {
    wantedPath = hii::CopyDevicePath(path);
    if (!wantedPath) {
      return EFI_INVALID_PARAMETER;
    }
  }
  const std::u16string_view text = hii::ViewOf(response);
  for (std::size_t start = 0; start < text.size();) {
    const std::u16string_view section = text.substr(start, hii::SectionLength(text.substr(start)));
    start += section.size() + 1;
    const hii::ConfigHeader header = hii::ParseConfigHeader(section);
    if (!header.guid || !header.name || !header.path) {
      continue;
    }
    if ((guid != nullptr && std::memcmp(header.guid->data(), guid, sizeof(EFI_GUID)) != 0) ||
        (name != nullptr && *header.name != hii::ViewOf(name)) || (wantedPath && *wantedPath != *header.path)) {
      continue;
    }
    const std::size_t pathEnd = section.find(u'&', section.find(u"&PATH=") + 1);
    const std::u16string_view headerText = section.substr(0, pathEnd);
    std::u16string_view body = pathEnd == kNone ? std::u16string_view() : section.substr(pathEnd);
    const bool hasAlt = hii::StartsWith(body, u"&ALTCFG=");
    if (hasAlt != (altCfgId != nullptr)) {
      continue;
    }
    if (hasAlt) {
      const std::size_t valueEnd = std::min(body.find(u'&', 1), body.size());
      auto id = hii::ParseNumber(body.substr(8, valueEnd - 8));
      if (!id || *id != *altCfgId) {
        continue;
      }
      body = body.substr(valueEnd);
    }
    std::u16string out(headerText);
    out += body;
    *altCfgResp = PoolString(out);
    return *altCfgResp == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
  }
  return EFI_NOT_FOUND;
}

}  // namespace carvex::sim

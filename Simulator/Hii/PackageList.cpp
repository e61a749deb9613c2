#include "PackageList.hpp"

#include <algorithm>
#include <cstring>

#include "DevicePathBytes.hpp"
#include "IfrScan.hpp"

namespace carvex::sim::hii {

namespace {

template <class Set>
auto* BinFor(Set& set, std::uint8_t type) {
  switch (type) {
    case EFI_HII_PACKAGE_TYPE_GUID:
      return &set.guids;
    case EFI_HII_PACKAGE_FORMS:
      return &set.forms;
    case EFI_HII_PACKAGE_KEYBOARD_LAYOUT:
      return &set.keyboards;
    case EFI_HII_PACKAGE_FONTS:
      return &set.fonts;
    case EFI_HII_PACKAGE_IMAGES:
      return &set.images;
    case EFI_HII_PACKAGE_SIMPLE_FONTS:
      return &set.simpleFonts;
    default:
      return &set.others;
  }
}

std::uint8_t TypeOf(const std::vector<std::uint8_t>& package) {
  return package[3];
}

}  // namespace

std::vector<std::vector<std::uint8_t>> PackageSet::InExportOrder() const {
  std::vector<std::vector<std::uint8_t>> all;
  auto add = [&all](const std::vector<std::vector<std::uint8_t>>& bin) { all.insert(all.end(), bin.begin(), bin.end()); };
  add(guids);
  add(forms);
  add(keyboards);
  for (const StringPackage& package : strings) {
    all.push_back(package.Encode());
  }
  add(fonts);
  add(images);
  add(simpleFonts);
  add(others);
  if (devicePath) {
    all.push_back(*devicePath);
  }
  return all;
}

bool PackageSet::HasType(std::uint8_t type, const EFI_GUID* guid) const {
  switch (type) {
    case EFI_HII_PACKAGE_TYPE_ALL:
      return true;
    case EFI_HII_PACKAGE_STRINGS:
      return !strings.empty();
    case EFI_HII_PACKAGE_DEVICE_PATH:
      return devicePath.has_value();
    case EFI_HII_PACKAGE_TYPE_GUID:
      return std::any_of(guids.begin(), guids.end(), [guid](const std::vector<std::uint8_t>& package) {
        return guid != nullptr && std::memcmp(package.data() + sizeof(EFI_HII_PACKAGE_HEADER), guid, sizeof(EFI_GUID)) == 0;
      });
    default: {
      const auto& bin = *BinFor(*this, type);
      return std::any_of(bin.begin(), bin.end(), [type](const std::vector<std::uint8_t>& p) { return TypeOf(p) == type; });
    }
  }
}

std::vector<std::uint8_t> PackageSet::Types() const {
  std::vector<std::uint8_t> types;
  for (const auto& package : InExportOrder()) {
    if (std::find(types.begin(), types.end(), TypeOf(package)) == types.end()) {
      types.push_back(TypeOf(package));
    }
  }
  return types;
}

void PackageSet::RemoveType(std::uint8_t type) {
  if (type == EFI_HII_PACKAGE_STRINGS) {
    strings.clear();
  } else if (type == EFI_HII_PACKAGE_DEVICE_PATH) {
    devicePath.reset();
  } else {
    auto& bin = *BinFor(*this, type);
    bin.erase(std::remove_if(bin.begin(), bin.end(), [type](const auto& p) { return TypeOf(p) == type; }), bin.end());
  }
}

void PackageSet::Absorb(PackageSet&& other) {
  auto move = [](std::vector<std::vector<std::uint8_t>>& to, std::vector<std::vector<std::uint8_t>>& from) {
    for (auto& package : from) {
      to.push_back(std::move(package));
    }
  };
  move(guids, other.guids);
  move(forms, other.forms);
  move(keyboards, other.keyboards);
  for (auto& package : other.strings) {
    strings.push_back(std::move(package));
  }
  move(fonts, other.fonts);
  move(images, other.images);
  move(simpleFonts, other.simpleFonts);
  move(others, other.others);
  if (other.devicePath) {
    devicePath = std::move(other.devicePath);
  }
}

ParseError ParsePackageList(const EFI_HII_PACKAGE_LIST_HEADER* list, PackageSet& out) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(list);
  std::uint32_t listLength;
  std::memcpy(&listLength, bytes + OFFSET_OF(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), sizeof listLength);
  std::size_t pos = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
  for (;;) {
    if (listLength < pos || listLength - pos < sizeof(EFI_HII_PACKAGE_HEADER)) {
      return ParseError::Malformed;  // ran out before the END package
    }
    const std::uint8_t* package = bytes + pos;
    const std::size_t length = package[0] | (package[1] << 8) | (package[2] << 16);
    const std::uint8_t type = package[3];
    if (length < sizeof(EFI_HII_PACKAGE_HEADER) || length > listLength - pos) {
      return ParseError::Malformed;
    }
    if (type == EFI_HII_PACKAGE_END) {
      return ParseError::None;
    }
    pos += length;
    std::vector<std::uint8_t> copy(package, package + length);
    switch (type) {
      case EFI_HII_PACKAGE_TYPE_ALL:
        return ParseError::Malformed;
      case EFI_HII_PACKAGE_STRINGS: {
        auto strings = StringPackage::Parse(package, length);
        if (!strings) {
          return ParseError::Malformed;
        }
        for (const StringPackage& existing : out.strings) {
          if (existing.Matches(strings->PrimaryLanguage())) {
            return ParseError::DuplicateLanguage;
          }
        }
        out.strings.push_back(std::move(*strings));
        break;
      }
      case EFI_HII_PACKAGE_FORMS:
        if (!IfrWellFormed(FormOps(copy), FormOpsLength(copy))) {
          return ParseError::Malformed;
        }
        out.forms.push_back(std::move(copy));
        break;
      case EFI_HII_PACKAGE_TYPE_GUID:
        if (length < sizeof(EFI_HII_GUID_PACKAGE_HDR)) {
          return ParseError::Malformed;
        }
        out.guids.push_back(std::move(copy));
        break;
      case EFI_HII_PACKAGE_DEVICE_PATH: {
        const std::size_t pathBytes = length - sizeof(EFI_HII_PACKAGE_HEADER);
        auto pathLength = DevicePathLength(package + sizeof(EFI_HII_PACKAGE_HEADER), pathBytes);
        if (!pathLength || *pathLength != pathBytes || out.devicePath) {
          return ParseError::Malformed;
        }
        out.devicePath = std::move(copy);
        break;
      }
      default:
        BinFor(out, type)->push_back(std::move(copy));
        break;
    }
  }
}

std::vector<std::uint8_t> MakeDevicePathPackage(const std::vector<std::uint8_t>& path) {
  const auto length = static_cast<std::uint32_t>(sizeof(EFI_HII_PACKAGE_HEADER) + path.size());
  std::vector<std::uint8_t> package(length);
  package[0] = static_cast<std::uint8_t>(length);
  package[1] = static_cast<std::uint8_t>(length >> 8);
  package[2] = static_cast<std::uint8_t>(length >> 16);
  package[3] = EFI_HII_PACKAGE_DEVICE_PATH;
  std::copy(path.begin(), path.end(), package.begin() + sizeof(EFI_HII_PACKAGE_HEADER));
  return package;
}

}  // namespace carvex::sim::hii

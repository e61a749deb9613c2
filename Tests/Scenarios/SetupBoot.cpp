#include "SetupBoot.hpp"

#include <atomic>
#include <cstring>
#include <stdexcept>

#include <unistd.h>

namespace carvex::test {

namespace {

std::filesystem::path FreshStateDirectory() {
  static std::atomic<unsigned> counter{0};
  auto path = std::filesystem::temp_directory_path() /
              ("carvex-setup-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path);
  return path;
}

void AppendHex(std::u16string& out, const std::uint8_t* bytes, std::size_t size) {
  static const char digits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < size; ++i) {
    out += static_cast<char16_t>(digits[bytes[i] >> 4]);
    out += static_cast<char16_t>(digits[bytes[i] & 0xF]);
  }
}

}  // namespace

SetupBoot::SetupBoot(std::uint64_t capabilityMask, sim::PerformanceProfile profile) : state_(FreshStateDirectory()) {
  sim::PlatformSettings settings;
  settings.capabilityMask = capabilityMask;
  settings.performanceProfile = profile;
  settings.images.emplace_back(CARVEX_TEST_NvmDimmVendorDxe);
  settings.images.emplace_back(CARVEX_TEST_CarvexDxe);
  machine_ = std::make_unique<sim::Machine>(state_, settings);
  hii_ = std::make_unique<sim::HiiMachine>(*machine_);
  machine_->StartBoot();
  machine_->EndOfPost();
  host_ = machine_->AttachHostImage("SetupTest");
  for (const auto& list : Hii().PackageLists()) {
    // The out-of-band form set is registered later under the same package
    // list GUID: the setup form set's list is the first.
    if (list_.handle == nullptr && std::memcmp(&list.packageListGuid, &kSetupPackageListGuid, sizeof(EFI_GUID)) == 0) {
      list_ = list;
    }
  }
  if (list_.handle == nullptr) {
    throw std::runtime_error("the setup package list was not registered");
  }
  void* access = nullptr;
  if (host_.bootServices->HandleProtocol(list_.driverHandle, &gEfiHiiConfigAccessProtocolGuid, &access) != EFI_SUCCESS) {
    throw std::runtime_error("no configuration access protocol on the driver handle");
  }
  access_ = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL*>(access);
}

SetupBoot::~SetupBoot() {
  if (machine_->BootActive()) {
    machine_->EndBoot();
  }
  hii_.reset();
  machine_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(state_, ignored);
}

std::u16string SetupBoot::ConfigHeader(const std::u16string& name, const EFI_GUID& guid) const {
  std::u16string header = u"GUID=";
  AppendHex(header, reinterpret_cast<const std::uint8_t*>(&guid), sizeof(guid));
  header += u"&NAME=";
  for (char16_t c : name) {
    const std::uint8_t be[2] = {static_cast<std::uint8_t>(c >> 8), static_cast<std::uint8_t>(c & 0xFF)};
    AppendHex(header, be, 2);
  }
  header += u"&PATH=";
  AppendHex(header, list_.devicePath.data(), list_.devicePath.size());
  return header;
}

void SetupBoot::Free(void* buffer) const {
  if (buffer != nullptr) {
    host_.bootServices->FreePool(buffer);
  }
}

std::vector<std::uint8_t> ValueBytes(const std::u16string& config, std::size_t at) {
  const std::size_t start = config.find(u"VALUE=", at);
  if (start == std::u16string::npos) {
    return {};
  }
  std::size_t end = config.find(u'&', start);
  if (end == std::u16string::npos) {
    end = config.size();
  }
  const std::u16string hex = config.substr(start + 6, end - start - 6);
  std::vector<std::uint8_t> bytes(hex.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::string pair(hex.begin() + 2 * i, hex.begin() + 2 * i + 2);
    bytes[bytes.size() - 1 - i] = static_cast<std::uint8_t>(std::stoul(pair, nullptr, 16));
  }
  return bytes;
}

std::u16string Lower(std::u16string text) {
  for (auto& c : text) {
    if (c >= u'A' && c <= u'Z') {
      c = static_cast<char16_t>(c - u'A' + u'a');
    }
  }
  return text;
}

std::u16string Widen(const std::string& text) { return std::u16string(text.begin(), text.end()); }

}  // namespace carvex::test

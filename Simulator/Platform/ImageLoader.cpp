#include "ImageLoader.hpp"

#include <dlfcn.h>

#include <sstream>

#include "DevicePathUtil.hpp"
#include "ImageTables.hpp"
#include "Ucs2.hpp"

namespace carvex::sim {

namespace {

CHAR16 gFirmwareVendor[] = u"Carvex Simulator";

constexpr char kEntryPointSymbol[] = "_ModuleEntryPoint";

std::string LastDlError() {
  const char* error = dlerror();
  return error != nullptr ? error : "unknown dynamic loader error";
}

std::string StatusText(EFI_STATUS status) {
  std::ostringstream text;
  text << "0x" << std::hex << status;
  return text.str();
}

}  // namespace

ImageLoader::ImageLoader(BootServicesCore& boot, RuntimeServicesCore& runtime, PlatformLog& log)
    : boot_(boot), runtime_(runtime), log_(log) {}

ImageLoader::~ImageLoader() { UnloadAll(); }

ImageLoader::Image& ImageLoader::Prepare(std::string name, const std::filesystem::path& path,
                                         ModuleRange range, void* library) {
  auto image = std::make_unique<Image>();
  image->name = name;
  image->path = path;
  image->library = library;
  image->id = boot_.RegisterImage(std::move(name), range);
  image->slot = ClaimImageSlot(ImageBinding{&boot_, &runtime_, image->id});
  image->bootServices = BootServicesTableFor(*image->slot);
  image->runtimeServices = RuntimeServicesTableFor(*image->slot);

  EFI_SYSTEM_TABLE& table = image->systemTable;
  table.FirmwareVendor = gFirmwareVendor;
  table.FirmwareRevision = 0x00010000;
  table.RuntimeServices = &image->runtimeServices;
  table.BootServices = &image->bootServices;
  table.NumberOfTableEntries = 0;
  table.ConfigurationTable = nullptr;
  SealTableHeader(table.Hdr, EFI_SYSTEM_TABLE_SIGNATURE, sizeof table);

  image->filePath = FilePathDevicePath(Utf8ToUtf16(path.filename().string()));
  EFI_LOADED_IMAGE_PROTOCOL& loaded = image->loadedImage;
  loaded.Revision = EFI_LOADED_IMAGE_PROTOCOL_REVISION;
  loaded.SystemTable = &table;
  loaded.FilePath = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(image->filePath.data());
  loaded.ImageBase = reinterpret_cast<VOID*>(range.begin);
  loaded.ImageSize = range.end - range.begin;
  loaded.ImageCodeType = EfiBootServicesCode;
  loaded.ImageDataType = EfiBootServicesData;

  // The platform installs it, so the handle does not count as the image's own.
  boot_.Protocols().Install(kPlatformImage, &image->handle, &gEfiLoadedImageProtocolGuid,
                            EFI_NATIVE_INTERFACE, &loaded);
  boot_.SetImageHandle(image->id, image->handle);
  images_.push_back(std::move(image));
  return *images_.back();
}

ImageLoadResult ImageLoader::LoadAndStart(const std::filesystem::path& requested) {
  ImageLoadResult result;
  std::error_code ignored;
  const std::filesystem::path path = std::filesystem::weakly_canonical(requested, ignored);
  result.path = path;
  result.name = path.stem().string();

  if (!std::filesystem::exists(path)) {
    result.status = EFI_NOT_FOUND;
    result.error = "no such file";
    log_.Report(ReportKind::ImageLoad, result.name, path.string() + ": no such file");
    results_.push_back(result);
    return result;
  }
  if (void* already = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
    // Loading it again would share its module-wide state with the copy
    // already mapped.
    dlclose(already);
    result.status = EFI_ALREADY_STARTED;
    result.error = "already loaded in this process";
    log_.Report(ReportKind::ImageLoad, result.name, path.string() + " is already loaded");
    results_.push_back(result);
    return result;
  }
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    result.status = EFI_LOAD_ERROR;
    result.error = LastDlError();
    log_.Report(ReportKind::ImageLoad, result.name, result.error);
    results_.push_back(result);
    return result;
  }
  auto entry = reinterpret_cast<EFI_IMAGE_ENTRY_POINT>(dlsym(library, kEntryPointSymbol));
  if (entry == nullptr) {
    result.status = EFI_LOAD_ERROR;
    result.error = std::string("no ") + kEntryPointSymbol + ": " + LastDlError();
    log_.Report(ReportKind::ImageLoad, result.name, result.error);
    dlclose(library);
    results_.push_back(result);
    return result;
  }

  Image& image = Prepare(result.name, path, ModuleRangeOf(reinterpret_cast<void*>(entry)), library);
  log_.Note("loading " + image.name + " from " + path.string());
  result.status = entry(image.handle, &image.systemTable);
  result.resident = !EFI_ERROR(result.status);
  if (!result.resident) {
    log_.Note(image.name + " returned " + StatusText(result.status) + " from its entry point; unloaded",
              PlatformLog::kPlatformLevel);
    RemoveLeftovers(image);
    if (auto stuck = Close(image)) {
      log_.Report(ReportKind::ImageUnload, image.name, *stuck);
    }
  }
  results_.push_back(result);
  return result;
}

HostImage ImageLoader::AttachHostImage(const std::string& name) {
  Image& image = Prepare(name, {}, ModuleRange{}, nullptr);
  return HostImage{image.id, image.handle, &image.systemTable, &image.bootServices,
                   &image.runtimeServices};
}

EFI_SYSTEM_TABLE* ImageLoader::SystemTableOf(ImageId id) {
  for (auto& image : images_) {
    if (image->id == id) {
      return &image->systemTable;
    }
  }
  return nullptr;
}

void ImageLoader::RemoveLeftovers(Image& image) {
  // An image that failed its entry point is unmapped: its events and
  // interfaces must not be called afterwards.
  const auto events = boot_.Events().OwnedBy(image.id);
  for (EFI_EVENT event : events) {
    boot_.Events().CloseEvent(event);
  }
  const auto interfaces = boot_.Protocols().InstalledBy(image.id);
  for (const auto& installed : interfaces) {
    EFI_GUID guid = installed.guid;
    boot_.Protocols().Uninstall(image.id, installed.handle, &guid, installed.interface);
  }
  if (!events.empty() || !interfaces.empty()) {
    log_.Report(ReportKind::DanglingReference, image.name,
                "failed entry point left " + std::to_string(events.size()) + " event(s) and " +
                    std::to_string(interfaces.size()) + " protocol interface(s) behind");
  }
  if (image.handle != nullptr) {
    boot_.Protocols().Uninstall(kPlatformImage, image.handle, &gEfiLoadedImageProtocolGuid,
                                &image.loadedImage);
  }
}

std::optional<std::string> ImageLoader::Close(Image& image) {
  std::optional<std::string> problem;
  if (image.library != nullptr) {
    if (dlclose(image.library) != 0) {
      problem = "dlclose failed: " + LastDlError();
    } else if (void* still = dlopen(image.path.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
      dlclose(still);
      problem = "still mapped after dlclose; its module-wide state would survive the boot";
    }
    image.library = nullptr;
  }
  if (image.slot) {
    ReleaseImageSlot(*image.slot);
    image.slot.reset();
  }
  return problem;
}

std::vector<std::string> ImageLoader::UnloadAll() {
  std::vector<std::string> stuck;
  for (auto image = images_.rbegin(); image != images_.rend(); ++image) {
    if (auto problem = Close(**image)) {
      log_.Report(ReportKind::ImageUnload, (*image)->name, *problem);
      stuck.push_back((*image)->name);
    }
  }
  images_.clear();
  return stuck;
}

}  // namespace carvex::sim

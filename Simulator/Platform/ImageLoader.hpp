// Firmware images as shared objects: each boot dlopens every image with
// RTLD_LOCAL, gives it a handle, a loaded-image protocol and its own system
// table, and calls _ModuleEntryPoint. At the end of the boot every image is
// dlclosed and checked to be really gone, so that no module-wide state
// survives into the next boot.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/LoadedImage.h>

#include "BootServices.hpp"
#include "PlatformLog.hpp"
#include "RuntimeServices.hpp"

namespace carvex::sim {

struct ImageLoadResult {
  std::string name;  // file name without extension
  std::filesystem::path path;
  EFI_STATUS status = EFI_SUCCESS;  // the entry point's, or why it never ran
  bool resident = false;            // loaded and started successfully
  std::string error;                // the loader's message when it never ran
};

// Host code standing in for an image (tests, platform parts in C++): its
// own handle and tables, so that the platform accounts its calls to it.
struct HostImage {
  ImageId id = kPlatformImage;
  EFI_HANDLE handle = nullptr;
  EFI_SYSTEM_TABLE* systemTable = nullptr;
  EFI_BOOT_SERVICES* bootServices = nullptr;
  EFI_RUNTIME_SERVICES* runtimeServices = nullptr;
};

class ImageLoader {
 public:
  ImageLoader(BootServicesCore& boot, RuntimeServicesCore& runtime, PlatformLog& log);
  ~ImageLoader();
  ImageLoader(const ImageLoader&) = delete;
  ImageLoader& operator=(const ImageLoader&) = delete;

  ImageLoadResult LoadAndStart(const std::filesystem::path& path);
  HostImage AttachHostImage(const std::string& name);

  // Unloads every image, last loaded first; returns the names of those
  // still mapped afterwards (each also reported).
  std::vector<std::string> UnloadAll();

  const std::vector<ImageLoadResult>& Results() const { return results_; }
  EFI_SYSTEM_TABLE* SystemTableOf(ImageId image);

 private:
  struct Image {
    ImageId id = kPlatformImage;
    std::string name;
    std::filesystem::path path;
    void* library = nullptr;
    std::optional<std::size_t> slot;
    EFI_HANDLE handle = nullptr;
    EFI_SYSTEM_TABLE systemTable{};
    EFI_BOOT_SERVICES bootServices{};
    EFI_RUNTIME_SERVICES runtimeServices{};
    EFI_LOADED_IMAGE_PROTOCOL loadedImage{};
    std::vector<std::uint8_t> filePath;
  };

  Image& Prepare(std::string name, const std::filesystem::path& path, ModuleRange range,
                 void* library);
  void RemoveLeftovers(Image& image);
  std::optional<std::string> Close(Image& image);

  BootServicesCore& boot_;
  RuntimeServicesCore& runtime_;
  PlatformLog& log_;
  std::vector<std::unique_ptr<Image>> images_;
  std::vector<ImageLoadResult> results_;
};

}  // namespace carvex::sim

// Platform description files (JSON) into the platform-file reader that
// carvex-sim runs on a user's --platform file. A document the reader cannot
// hold must end in PlatformFileError naming the field; any other exception
// escaping is a fault, and so is a crash on the way.
#include <nlohmann/json.hpp>

#include "Devices/PlatformFile.hpp"
#include "FuzzSupport.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Parsed as LoadPlatformFile parses it: comments allowed.
  const nlohmann::json document =
      nlohmann::json::parse(data, data + size, nullptr, /*allow_exceptions=*/false, /*ignore_comments=*/true);
  if (document.is_discarded()) {
    return 0;
  }
  try {
    carvex::sim::devices::DeviceStateFromJson(document);
  } catch (const carvex::sim::devices::PlatformFileError&) {
    // Refused with a message naming the field: what a bad file should get.
  }
  return 0;
}

// Images are numbered per boot; 0 is the platform itself.
#pragma once

#include <cstdint>

namespace carvex::sim {

using ImageId = std::uint32_t;
inline constexpr ImageId kPlatformImage = 0;

}  // namespace carvex::sim

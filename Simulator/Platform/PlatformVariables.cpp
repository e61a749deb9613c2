#include "PlatformVariables.hpp"

namespace carvex::sim {

std::vector<std::uint8_t> DefaultSocketMemoryConfig(PerformanceProfile profile) {
  std::vector<std::uint8_t> config(kSocketMemoryConfigSize);
  // A fixed linear congruential sequence picks each option value, weighted
  // the way setup structures look: disabled, enabled, a few choices, auto.
  static constexpr std::uint8_t kChoices[16] = {0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 2, 3, 4, 0xFF};
  std::uint32_t state = 0x2545F491;
  for (std::uint8_t& byte : config) {
    state = state * 1664525u + 1013904223u;
    byte = kChoices[state >> 28];
  }
  config[kEraseAllModulesOffset] = 0;
  config[kPerformanceProfileOffset] = static_cast<std::uint8_t>(profile);
  return config;
}

std::vector<std::u16string> CreateFirstBootVariables(VariableStore& variables,
                                                     const PlatformSettings& settings) {
  std::vector<std::u16string> created;
  if (!variables.Find(kSocketMemoryConfigName, gSocketMemoryConfigGuid)) {
    variables.Put(kSocketMemoryConfigName, gSocketMemoryConfigGuid, kPlatformVariableAttributes,
                  DefaultSocketMemoryConfig(settings.performanceProfile));
    created.emplace_back(kSocketMemoryConfigName);
  }
  if (!variables.Find(kCarvekConfigName, gSetupFormSetGuid)) {
    variables.Put(kCarvekConfigName, gSetupFormSetGuid, kCarvekConfigAttributes, kCarvekConfigDefaults);
    created.emplace_back(kCarvekConfigName);
  }
  return created;
}

}  // namespace carvex::sim

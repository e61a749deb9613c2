// Checks a PE32+ firmware image for what UEFI's loader and this project's
// freestanding rules require, and describes what it found.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace carvex::pecheck {

constexpr uint16_t kSubsystemEfiApplication = 10;
constexpr uint16_t kSubsystemEfiBootServiceDriver = 11;
constexpr uint16_t kSubsystemEfiRuntimeDriver = 12;

struct ImageRequirements {
  uint16_t subsystem = kSubsystemEfiBootServiceDriver;
  uint32_t sectionAlignment = 4096;
  // Every image of this project holds pointer tables (protocol instances),
  // so a missing relocation directory means the linker dropped it.
  bool requireRelocations = true;
};

struct ImageFacts {
  uint16_t                 subsystem = 0;
  uint32_t                 sizeOfImage = 0;
  uint64_t                 imageBase = 0;
  uint32_t                 relocationCount = 0;
  std::vector<std::string> sections;
};

// Returns one line per violation; empty when the image passes.
std::vector<std::string> checkImage (const std::vector<uint8_t> &image, const ImageRequirements &requirements,
                                     ImageFacts *facts);

// Lines of an lld-link /lldmap file that place static-initialiser or
// thread-local content in the image.
std::vector<std::string> checkLinkMap (const std::string &mapText);

// Parses a subsystem name as lld-link spells it (efi_application, ...).
bool parseSubsystem (const std::string &name, uint16_t *subsystem);

} // namespace carvex::pecheck

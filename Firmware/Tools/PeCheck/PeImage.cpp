// PE32+ layout facts used here: the DOS header's e_lfanew at 0x3C points to
// "PE\0\0", a 20-byte file header, the optional header (magic 0x20B) and the
// section table. Data directory indices and flags are those of the PE/COFF
// format; UEFI loaders apply DIR64 base relocations only.
#include "PeImage.h"

#include "ByteReader.h"

#include <cstring>
#include <sstream>

namespace carvex::pecheck {

namespace {

constexpr uint16_t kMachineX64 = 0x8664;
constexpr uint16_t kMagicPe32Plus = 0x20B;
constexpr uint16_t kRelocsStripped = 0x0001;
constexpr uint16_t kExecutableImage = 0x0002;
constexpr uint32_t kScnMemExecute = 0x20000000;
constexpr uint32_t kScnMemWrite = 0x80000000;

enum DataDirectory : unsigned {
  kDirImport = 1,
  kDirBaseReloc = 5,
  kDirTls = 9,
  kDirIat = 12,
  kDirDelayImport = 13,
};

constexpr unsigned kRelBasedAbsolute = 0;
constexpr unsigned kRelBasedDir64 = 10;

struct Section {
  std::string name;
  uint32_t    virtualSize = 0;
  uint32_t    virtualAddress = 0;
  uint32_t    rawSize = 0;
  uint32_t    rawOffset = 0;
  uint32_t    characteristics = 0;
};

std::string hex (uint64_t value) {
  std::ostringstream out;
  out << "0x" << std::hex << value;
  return out.str ();
}

class ImageChecker {
public:
  ImageChecker (const std::vector<uint8_t> &image, const ImageRequirements &requirements, ImageFacts *facts)
      : reader_ (image), requirements_ (requirements), facts_ (facts) {
  }

  std::vector<std::string> run () {
    if (readHeaders ()) {
      checkHeaders ();
      checkDirectories ();
      checkSections ();
      checkRelocations ();
    }
    return violations_;
  }

private:
  void fail (const std::string &text) {
    violations_.push_back (text);
  }

  bool readHeaders () {
    if (!reader_.has (0, 0x40) || reader_.u16 (0) != 0x5A4D) {
      fail ("not a PE image: no MZ header");
      return false;
    }
    uint64_t pe = reader_.u32 (0x3C);
    if (!reader_.has (pe, 24) || std::memcmp (reader_.at (pe), "PE\0\0", 4) != 0) {
      fail ("not a PE image: no PE signature at e_lfanew " + hex (pe));
      return false;
    }
    machine_ = reader_.u16 (pe + 4);
    uint16_t sectionCount = reader_.u16 (pe + 6);
    uint16_t optionalSize = reader_.u16 (pe + 20);
    fileCharacteristics_ = reader_.u16 (pe + 22);
    optional_ = pe + 24;
    if (!reader_.has (optional_, optionalSize) || optionalSize < 112) {
      fail ("truncated optional header (" + std::to_string (optionalSize) + " bytes)");
      return false;
    }
    magic_ = reader_.u16 (optional_);
    if (magic_ != kMagicPe32Plus) {
      fail ("optional header magic " + hex (magic_) + ", expected 0x20b (PE32+)");
      return false;
    }
    directoryCount_ = reader_.u32 (optional_ + 108);
    if (112 + 8ull * directoryCount_ > optionalSize) {
      fail ("data directory count " + std::to_string (directoryCount_) + " overruns the optional header");
      return false;
    }
    uint64_t table = optional_ + optionalSize;
    if (!reader_.has (table, 40ull * sectionCount)) {
      fail ("truncated section table");
      return false;
    }
    for (uint16_t i = 0; i < sectionCount; i++) {
      uint64_t    at = table + 40ull * i;
      Section     section;
      const char *name = reinterpret_cast<const char *> (reader_.at (at));
      section.name.assign (name, strnlen (name, 8));
      section.virtualSize = reader_.u32 (at + 8);
      section.virtualAddress = reader_.u32 (at + 12);
      section.rawSize = reader_.u32 (at + 16);
      section.rawOffset = reader_.u32 (at + 20);
      section.characteristics = reader_.u32 (at + 36);
      sections_.push_back (section);
    }
    sizeOfImage_ = reader_.u32 (optional_ + 56);
    if (facts_ != nullptr) {
      facts_->subsystem = reader_.u16 (optional_ + 68);
      facts_->sizeOfImage = sizeOfImage_;
      facts_->imageBase = reader_.u64 (optional_ + 24);
      for (const Section &section : sections_) {
        facts_->sections.push_back (section.name);
      }
    }
    return true;
  }

  void checkHeaders () {
    if (machine_ != kMachineX64) {
      fail ("machine " + hex (machine_) + ", expected 0x8664 (x64)");
    }
    if ((fileCharacteristics_ & kRelocsStripped) != 0) {
      fail ("IMAGE_FILE_RELOCS_STRIPPED is set: the loader could only place the image at its linked base");
    }
    if ((fileCharacteristics_ & kExecutableImage) == 0) {
      fail ("IMAGE_FILE_EXECUTABLE_IMAGE is clear");
    }
    uint16_t subsystem = reader_.u16 (optional_ + 68);
    if (subsystem != requirements_.subsystem) {
      fail ("subsystem " + std::to_string (subsystem) + ", expected " + std::to_string (requirements_.subsystem));
    }
    uint32_t alignment = reader_.u32 (optional_ + 32);
    if (alignment != requirements_.sectionAlignment) {
      fail ("section alignment " + hex (alignment) + ", expected " + hex (requirements_.sectionAlignment));
    }
    uint32_t       entry = reader_.u32 (optional_ + 16);
    const Section *home = sectionAt (entry);
    if (entry == 0 || home == nullptr || (home->characteristics & kScnMemExecute) == 0) {
      fail ("entry point " + hex (entry) + " is not in an executable section");
    }
  }

  void checkDirectories () {
    static const struct {
      unsigned    index;
      const char *what;
    } kMustBeEmpty[] = {
        {kDirImport, "import directory present: the image needs a DLL the firmware does not have"},
        {kDirDelayImport, "delay-import directory present"},
        {kDirIat, "import address table present"},
        {kDirTls, "TLS directory present: thread-local storage has no runtime in firmware"},
    };
    for (const auto &rule : kMustBeEmpty) {
      if (directorySize (rule.index) != 0 || directoryRva (rule.index) != 0) {
        fail (rule.what);
      }
    }
  }

  void checkSections () {
    for (const Section &section : sections_) {
      if ((section.virtualAddress % requirements_.sectionAlignment) != 0) {
        fail ("section " + section.name + " at " + hex (section.virtualAddress) + " is not aligned to " +
              hex (requirements_.sectionAlignment));
      }
      if ((section.characteristics & (kScnMemWrite | kScnMemExecute)) == (kScnMemWrite | kScnMemExecute)) {
        fail ("section " + section.name + " is both writable and executable");
      }
      if (section.name.rfind (".CRT", 0) == 0) {
        fail ("section " + section.name + " holds static initialisers that nothing runs in firmware");
      }
      if (section.name.rfind (".tls", 0) == 0) {
        fail ("section " + section.name + " holds thread-local data");
      }
      if (section.rawSize != 0 && !reader_.has (section.rawOffset, section.rawSize)) {
        fail ("section " + section.name + " runs past the end of the file");
      }
    }
  }

  void checkRelocations () {
    uint32_t rva = directoryRva (kDirBaseReloc);
    uint32_t size = directorySize (kDirBaseReloc);
    if (size == 0) {
      if (requirements_.requireRelocations) {
        fail ("no base relocation directory: the image could only run at its linked base");
      }
      return;
    }
    uint64_t offset = 0;
    if (!fileOffset (rva, size, &offset)) {
      fail ("base relocation directory " + hex (rva) + "+" + hex (size) + " is not backed by the file");
      return;
    }
    uint32_t count = 0;
    uint64_t end = offset + size;
    while (offset < end) {
      uint32_t page = reader_.u32 (offset);
      uint32_t blockSize = reader_.u32 (offset + 4);
      if (blockSize < 8 || (blockSize % 2) != 0 || offset + blockSize > end) {
        fail ("malformed base relocation block at page " + hex (page));
        return;
      }
      for (uint64_t at = offset + 8; at < offset + blockSize; at += 2) {
        uint16_t entry = reader_.u16 (at);
        unsigned type = entry >> 12;
        uint64_t target = static_cast<uint64_t> (page) + (entry & 0xFFF);
        if (type == kRelBasedAbsolute) {
          continue;
        }
        if (type != kRelBasedDir64) {
          fail ("base relocation of type " + std::to_string (type) + " at " + hex (target) +
                ": UEFI loaders apply DIR64 only");
        } else if (target + 8 > sizeOfImage_) {
          fail ("base relocation at " + hex (target) + " lies outside the image");
        }
        count++;
      }
      offset += blockSize;
    }
    if (facts_ != nullptr) {
      facts_->relocationCount = count;
    }
  }

  uint32_t directoryRva (unsigned index) const {
    return index < directoryCount_ ? reader_.u32 (optional_ + 112 + 8ull * index) : 0;
  }
  uint32_t directorySize (unsigned index) const {
    return index < directoryCount_ ? reader_.u32 (optional_ + 116 + 8ull * index) : 0;
  }

  const Section *sectionAt (uint32_t rva) const {
    for (const Section &section : sections_) {
      uint32_t span = std::max (section.virtualSize, section.rawSize);
      if (rva >= section.virtualAddress && rva - section.virtualAddress < span) {
        return &section;
      }
    }
    return nullptr;
  }

  bool fileOffset (uint32_t rva, uint32_t size, uint64_t *offset) const {
    const Section *section = sectionAt (rva);
    if (section == nullptr) {
      return false;
    }
    uint64_t within = rva - section->virtualAddress;
    if (within + size > section->rawSize) {
      return false;
    }
    *offset = section->rawOffset + within;
    return reader_.has (*offset, size);
  }

  ByteReader               reader_;
  const ImageRequirements &requirements_;
  ImageFacts              *facts_;
  std::vector<std::string> violations_;
  std::vector<Section>     sections_;
  uint64_t                 optional_ = 0;
  uint16_t                 machine_ = 0;
  uint16_t                 magic_ = 0;
  uint16_t                 fileCharacteristics_ = 0;
  uint32_t                 directoryCount_ = 0;
  uint32_t                 sizeOfImage_ = 0;
};

} // namespace

std::vector<std::string> checkImage (const std::vector<uint8_t> &image, const ImageRequirements &requirements,
                                     ImageFacts *facts) {
  return ImageChecker (image, requirements, facts).run ();
}

std::vector<std::string> checkLinkMap (const std::string &mapText) {
  static const struct {
    const char *marker;
    const char *what;
  } kForbidden[] = {
      {"(.CRT$", "static initialiser linked in: "},
      {"(.tls", "thread-local data linked in: "},
  };
  std::vector<std::string> violations;
  std::istringstream       lines (mapText);
  std::string              line;
  while (std::getline (lines, line)) {
    for (const auto &rule : kForbidden) {
      size_t at = line.find (rule.marker);
      if (at != std::string::npos) {
        // The input column is "object:(section)", the last field of the line.
        size_t start = line.find_last_of (" \t", at);
        violations.push_back (rule.what + line.substr (start == std::string::npos ? 0 : start + 1));
      }
    }
  }
  return violations;
}

bool parseSubsystem (const std::string &name, uint16_t *subsystem) {
  static const struct {
    const char *name;
    uint16_t    value;
  } kNames[] = {
      {"efi_application", kSubsystemEfiApplication},
      {"efi_boot_service_driver", kSubsystemEfiBootServiceDriver},
      {"efi_runtime_driver", kSubsystemEfiRuntimeDriver},
  };
  for (const auto &entry : kNames) {
    if (name == entry.name) {
      *subsystem = entry.value;
      return true;
    }
  }
  return false;
}

} // namespace carvex::pecheck

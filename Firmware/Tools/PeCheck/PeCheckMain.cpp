// carvex-pecheck: the firmware build's gate on its own output.
//
//   carvex-pecheck --subsystem <name> [--map <lldmap>] <image.efi>
//       checks a PE32+ image and prints its size; exits 1 on a violation.
//   carvex-pecheck --intrinsics <object>...
//       fails when an object refers to memcpy, memset, memmove or memcmp
//       (the compiler support objects must not call themselves).
#include "CoffObject.h"
#include "PeImage.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>

using namespace carvex::pecheck;

namespace {

std::optional<std::vector<uint8_t>> readBytes (const std::string &path) {
  std::ifstream in (path, std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  return std::vector<uint8_t> (std::istreambuf_iterator<char> (in), std::istreambuf_iterator<char> ());
}

std::string baseName (const std::string &path) {
  size_t slash = path.find_last_of ('/');
  return slash == std::string::npos ? path : path.substr (slash + 1);
}

int report (const std::string &path, const std::vector<std::string> &violations) {
  for (const std::string &violation : violations) {
    std::cerr << path << ": error: " << violation << "\n";
  }
  return violations.empty () ? 0 : 1;
}

int checkIntrinsics (const std::vector<std::string> &objects) {
  int status = 0;
  for (const std::string &path : objects) {
    auto bytes = readBytes (path);
    if (!bytes) {
      std::cerr << path << ": error: cannot read\n";
      return 2;
    }
    status |= report (path, findReferencesTo (*bytes, {"memcpy", "memset", "memmove", "memcmp"}));
  }
  return status;
}

int checkOneImage (const std::string &path, const std::string &subsystemName, const std::string &mapPath) {
  ImageRequirements requirements;
  if (!parseSubsystem (subsystemName, &requirements.subsystem)) {
    std::cerr << "carvex-pecheck: unknown subsystem '" << subsystemName << "'\n";
    return 2;
  }
  auto bytes = readBytes (path);
  if (!bytes) {
    std::cerr << path << ": error: cannot read\n";
    return 2;
  }
  ImageFacts               facts;
  std::vector<std::string> violations = checkImage (*bytes, requirements, &facts);
  if (!mapPath.empty ()) {
    std::ifstream map (mapPath);
    if (!map) {
      std::cerr << mapPath << ": error: cannot read\n";
      return 2;
    }
    std::string text ((std::istreambuf_iterator<char> (map)), std::istreambuf_iterator<char> ());
    for (std::string &violation : checkLinkMap (text)) {
      violations.push_back (std::move (violation));
    }
  }
  if (report (path, violations) != 0) {
    return 1;
  }
  std::cout << baseName (path) << ": PE32+ x64, " << subsystemName << ", image size " << facts.sizeOfImage
            << " bytes, file size " << bytes->size () << " bytes, " << facts.sections.size () << " sections, "
            << facts.relocationCount << " base relocations\n";
  return 0;
}

int usage () {
  std::cerr << "usage: carvex-pecheck --subsystem <name> [--map <lldmap>] <image.efi>\n"
               "       carvex-pecheck --intrinsics <object>...\n";
  return 2;
}

} // namespace

int main (int argc, char **argv) {
  std::vector<std::string> args (argv + 1, argv + argc);
  if (!args.empty () && args[0] == "--intrinsics") {
    return args.size () > 1 ? checkIntrinsics ({args.begin () + 1, args.end ()}) : usage ();
  }
  std::string subsystem;
  std::string map;
  std::string image;
  for (size_t i = 0; i < args.size (); i++) {
    if (args[i] == "--subsystem" && i + 1 < args.size ()) {
      subsystem = args[++i];
    } else if (args[i] == "--map" && i + 1 < args.size ()) {
      map = args[++i];
    } else if (image.empty () && args[i].rfind ("--", 0) != 0) {
      image = args[i];
    } else {
      return usage ();
    }
  }
  return (subsystem.empty () || image.empty ()) ? usage () : checkOneImage (image, subsystem, map);
}

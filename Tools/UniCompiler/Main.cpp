// carvex-unic: compiles a string file (.uni) into embeddable string packages
// and a header of string identifiers.
#include "../Common/ByteArraySource.h"
#include "../Common/Diagnostic.h"
#include "../Common/FileIo.h"
#include "../Common/ToolMain.h"
#include "StringPackage.h"
#include "UniParser.h"

#include <filesystem>
#include <iostream>
#include <vector>

namespace {

namespace fs = std::filesystem;

const char kTool[] = "carvex-unic";
const char kUsage[] = "usage: carvex-unic [options] <file.uni> [<translations.uni>...]\n"
                      "  the first file declares the languages and the identifiers; later files\n"
                      "  may only add texts of identifiers it declares, in languages it declares\n"
                      "  -o <dir>             output folder (default: current folder)\n"
                      "  --base-name <name>   base of the output names (default: the source's stem);\n"
                      "                       writes <name>Strings.h, <name>Strings.cpp and <name>StrDefs.h\n"
                      "  --array-name <name>  name of the byte array (default: <name>Strings)\n"
                      "  --binary <file>      also write the raw string packages\n";

struct Options {
  std::string              input, outDir = ".", baseName, arrayName, binary;
  std::vector<std::string> extra; // translation files after the first
};

bool parseArgs (int argc, char **argv, Options &o) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    std::string      *target = arg == "-o"             ? &o.outDir
                               : arg == "--base-name"  ? &o.baseName
                               : arg == "--array-name" ? &o.arrayName
                               : arg == "--binary"     ? &o.binary
                                                       : nullptr;
    if (target != nullptr) {
      if (i + 1 >= argc) {
        return false;
      }
      *target = argv[++i];
    } else if (!arg.empty () && arg[0] != '-' && o.input.empty ()) {
      o.input = arg;
    } else if (!arg.empty () && arg[0] != '-') {
      o.extra.push_back (arg);
    } else {
      return false;
    }
  }
  if (o.input.empty ()) {
    return false;
  }
  if (o.baseName.empty ()) {
    o.baseName = fs::path (o.input).stem ().string ();
  }
  if (o.arrayName.empty ()) {
    o.arrayName = o.baseName + "Strings";
  }
  return carvex::tools::isCIdentifier (o.arrayName);
}

bool write (const std::string &path, const std::string &content) {
  return carvex::tools::writeOutput (kTool, path, content);
}

} // namespace

int main (int argc, char **argv) {
  Options o;
  if (!parseArgs (argc, argv, o)) {
    std::cerr << kUsage;
    return 2;
  }
  return carvex::tools::runTool (kTool, [&] {
    const auto bytes = carvex::tools::readFile (o.input);
    if (!bytes) {
      throw carvex::tools::CompileError ({o.input, 0}, "cannot read file");
    }
    auto file = carvex::uni::parseUni (*bytes, o.input);
    for (const auto &path : o.extra) {
      const auto more = carvex::tools::readFile (path);
      if (!more) {
        throw carvex::tools::CompileError ({path, 0}, "cannot read file");
      }
      carvex::uni::addTranslations (file, *more, path);
    }
    const auto        packages = carvex::uni::encodeStringPackages (file, o.input);
    const std::string source = fs::path (o.input).filename ().string ();
    const std::string header = o.baseName + "Strings.h";
    const std::string defines = o.baseName + "StrDefs.h";
    const auto        files =
        carvex::tools::renderByteArray (o.arrayName, header, packages, "String packages compiled from " + source + ".");
    const fs::path dir (o.outDir);
    bool           ok = write ((dir / header).string (), files.header) &&
              write ((dir / (o.baseName + "Strings.cpp")).string (), files.source) &&
              write ((dir / defines).string (), carvex::uni::renderStringDefines (file, defines, source));
    if (ok && !o.binary.empty ()) {
      ok = write (o.binary, std::string (packages.begin (), packages.end ()));
    }
    return ok;
  });
}

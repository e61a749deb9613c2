// carvex-vfrc: compiles a form source (.vfr) into an embeddable IFR forms
// package and a header of its identifiers.
#include "../Common/ByteArraySource.h"
#include "../Common/FileIo.h"
#include "../Common/ToolMain.h"
#include "FormParser.h"
#include "IdHeader.h"
#include "IfrEncoder.h"
#include "Preprocessor.h"
#include "QuestionResolver.h"

#include <cctype>
#include <filesystem>
#include <iostream>

namespace {

namespace fs = std::filesystem;

const char kTool[] = "carvex-vfrc";
const char kUsage[] = "usage: carvex-vfrc [options] <file.vfr>\n"
                      "  -I <dir>             add an include folder (repeatable)\n"
                      "  -D <NAME>[=<value>]  define a macro (default value 1)\n"
                      "  -o <dir>             output folder (default: current folder)\n"
                      "  --base-name <name>   base of the output names (default: the source's stem);\n"
                      "                       writes <name>Bin.h, <name>Bin.cpp and <name>Ids.h\n"
                      "  --array-name <name>  name of the byte array (default: <name>Bin)\n"
                      "  --ids-prefix <text>  prefix of the identifier macros (default: <NAME>_)\n"
                      "  --binary <file>      also write the raw forms package\n"
                      "  --depfile <file>     write a Makefile-style list of the files read\n";

struct Options {
  std::string                      input, outDir = ".", baseName, arrayName, idsPrefix, binary, depfile;
  bool                             prefixGiven = false;
  carvex::vfr::PreprocessorOptions pp;
};

bool parseArgs (int argc, char **argv, Options &o) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    auto        value = [&] () -> const char        *{ return i + 1 < argc ? argv[++i] : nullptr; };
    const char *v = nullptr;
    if (arg == "-I" || arg == "-D" || arg == "-o" || arg == "--base-name" || arg == "--array-name" ||
        arg == "--ids-prefix" || arg == "--binary" || arg == "--depfile") {
      if ((v = value ()) == nullptr) {
        return false;
      }
    } else if (arg.size () > 2 && (arg.rfind ("-I", 0) == 0 || arg.rfind ("-D", 0) == 0)) {
      v = argv[i] + 2;
      arg = arg.substr (0, 2);
    }
    if (arg == "-I") {
      o.pp.includeDirs.push_back (v);
    } else if (arg == "-D") {
      std::string def = v;
      size_t      eq = def.find ('=');
      o.pp.defines.emplace_back (def.substr (0, eq), eq == std::string::npos ? "1" : def.substr (eq + 1));
    } else if (arg == "-o") {
      o.outDir = v;
    } else if (arg == "--base-name") {
      o.baseName = v;
    } else if (arg == "--array-name") {
      o.arrayName = v;
    } else if (arg == "--ids-prefix") {
      o.idsPrefix = v;
      o.prefixGiven = true;
    } else if (arg == "--binary") {
      o.binary = v;
    } else if (arg == "--depfile") {
      o.depfile = v;
    } else if (!arg.empty () && arg[0] != '-' && o.input.empty ()) {
      o.input = arg;
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
    o.arrayName = o.baseName + "Bin";
  }
  if (!o.prefixGiven) {
    for (char c : o.baseName) {
      o.idsPrefix += std::isalnum (static_cast<unsigned char> (c)) ? static_cast<char> (std::toupper (c)) : '_';
    }
    o.idsPrefix += "_";
  }
  return carvex::tools::isCIdentifier (o.arrayName) &&
         (o.idsPrefix.empty () || carvex::tools::isCIdentifier (o.idsPrefix));
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
    carvex::vfr::Preprocessor pp (o.pp);
    const auto                tokens = pp.run (o.input);
    auto                      formSet = carvex::vfr::FormParser (tokens, o.input).parse ();
    carvex::vfr::resolveFormSet (*formSet);
    const auto package = carvex::vfr::encodeFormPackage (*formSet);

    const std::string source = fs::path (o.input).filename ().string ();
    const std::string binHeader = o.baseName + "Bin.h";
    const std::string idsHeader = o.baseName + "Ids.h";
    const auto        files = carvex::tools::renderByteArray (o.arrayName, binHeader, package,
                                                              "IFR forms package compiled from " + source + ".");
    const fs::path    dir (o.outDir);
    const std::string cppPath = (dir / (o.baseName + "Bin.cpp")).string ();
    bool              ok =
        write ((dir / binHeader).string (), files.header) && write (cppPath, files.source) &&
        write ((dir / idsHeader).string (), carvex::vfr::renderIdHeader (*formSet, o.idsPrefix, idsHeader, source));
    if (ok && !o.binary.empty ()) {
      ok = write (o.binary, std::string (package.begin (), package.end ()));
    }
    if (ok && !o.depfile.empty ()) {
      ok = write (o.depfile, carvex::tools::renderDepfile (cppPath, pp.filesRead ()));
    }
    return ok;
  });
}

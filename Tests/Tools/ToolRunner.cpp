#include "ToolRunner.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string slurp (const std::string &path) {
  std::ifstream      in (path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf ();
  return s.str ();
}

ToolResult run (const std::string &tool, const ScratchDir &dir, const std::vector<std::string> &args) {
  std::string command = "'" + tool + "'";
  for (const auto &a : args) {
    command += " '" + a + "'";
  }
  const std::string errPath = dir.path () + "/stderr.txt";
  const std::string binPath = dir.path () + "/out/package.bin";
  fs::create_directories (dir.path () + "/out");
  command += " -o '" + dir.path () + "/out' --binary '" + binPath + "' 2>'" + errPath + "'";
  ToolResult result;
  const int  status = std::system (command.c_str ());
  result.exitCode = WIFEXITED (status) ? WEXITSTATUS (status) : -1;
  result.diagnostics = slurp (errPath);
  if (result.exitCode == 0) {
    const std::string bin = slurp (binPath);
    result.package.assign (bin.begin (), bin.end ());
    for (const auto &entry : fs::directory_iterator (dir.path () + "/out")) {
      result.outputs[entry.path ().filename ().string ()] = slurp (entry.path ().string ());
    }
  }
  return result;
}

} // namespace

ScratchDir::ScratchDir () {
  std::string pattern = (fs::temp_directory_path () / "carvex-tools-test-XXXXXX").string ();
  if (mkdtemp (pattern.data ()) != nullptr) {
    path_ = pattern;
  }
}

ScratchDir::~ScratchDir () {
  std::error_code ec;
  if (!path_.empty ()) {
    fs::remove_all (path_, ec);
  }
}

std::string ScratchDir::write (const std::string &name, const std::string &content) const {
  const fs::path p = fs::path (path_) / name;
  fs::create_directories (p.parent_path ());
  std::ofstream (p, std::ios::binary) << content;
  return p.string ();
}

ToolResult runVfrc (const std::map<std::string, std::string> &files, const std::string &main,
                    const std::vector<std::string> &extraArgs) {
  ScratchDir dir;
  for (const auto &[name, content] : files) {
    dir.write (name, content);
  }
  std::vector<std::string> args = extraArgs;
  for (auto &arg : args) {
    if (size_t at = arg.find ("%DIR%"); at != std::string::npos) {
      arg.replace (at, 5, dir.path ());
    }
  }
  args.push_back (dir.path () + "/" + main);
  auto result = run (CARVEX_VFRC, dir, args);
  // Diagnostics name files by the path given; keep only the file name.
  const std::string prefix = dir.path () + "/";
  for (size_t at; (at = result.diagnostics.find (prefix)) != std::string::npos;) {
    result.diagnostics.erase (at, prefix.size ());
  }
  return result;
}

ToolResult runUnic (const std::string &content, const std::string &name) {
  ScratchDir dir;
  dir.write (name, content);
  auto              result = run (CARVEX_UNIC, dir, {dir.path () + "/" + name});
  const std::string prefix = dir.path () + "/";
  for (size_t at; (at = result.diagnostics.find (prefix)) != std::string::npos;) {
    result.diagnostics.erase (at, prefix.size ());
  }
  return result;
}

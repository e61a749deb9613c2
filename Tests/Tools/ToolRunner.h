// Runs carvex-vfrc / carvex-unic on sources written into a scratch folder,
// so tests exercise the real command line: exit status, diagnostics, outputs.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct ToolResult {
  int                                exitCode = -1;
  std::string                        diagnostics; // stderr
  std::vector<uint8_t>               package;     // the --binary output when the run succeeded
  std::map<std::string, std::string> outputs;     // generated files by name
};

class ScratchDir {
public:
  ScratchDir ();
  ~ScratchDir ();
  ScratchDir (const ScratchDir &) = delete;
  ScratchDir &operator= (const ScratchDir &) = delete;

  std::string write (const std::string &name, const std::string &content) const;
  std::string path () const {
    return path_;
  }

private:
  std::string path_;
};

// `files` maps names to contents; `main` names the one to compile. Extra
// arguments go before the input; "%DIR%" in them stands for the scratch folder.
ToolResult runVfrc (const std::map<std::string, std::string> &files, const std::string &main,
                    const std::vector<std::string> &extraArgs = {});
ToolResult runUnic (const std::string &content, const std::string &name = "Test.uni");

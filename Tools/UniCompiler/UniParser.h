// Reads EDK II string files (UTF-8): #langdef, #string with #language
// lines, consecutive quoted strings joined, // comments.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace carvex::uni {

struct Language {
  std::string    code;      // e.g. "en-US"
  std::u16string printable; // the language's own name: string 1 of its package
  int            line = 0;
};

struct StringDef {
  std::string                           name;
  int                                   line = 0;     // first appearance: fixes the identifier
  std::map<std::string, std::u16string> translations; // by language code
  std::map<std::string, int>            lines;        // where each translation was written
  std::map<std::string, std::string>    files;        // ... and in which file
};

struct UniFile {
  std::vector<Language>  languages; // #langdef order
  std::vector<StringDef> strings;   // order of first appearance; identifier = index + 2
};

// Throws CompileError (file:line) on malformed input.
UniFile parseUni (const std::string &bytes, const std::string &fileName);

// Adds the texts of a later file to `file`: it may hold only #string blocks
// for names `file` already declares, in languages it declares (no #langdef,
// no new identifiers). Throws CompileError; `file` is unusable after a throw.
void addTranslations (UniFile &file, const std::string &bytes, const std::string &fileName);

} // namespace carvex::uni

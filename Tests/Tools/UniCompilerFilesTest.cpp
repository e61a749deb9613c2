// Several string files in one run: the first declares languages and
// identifiers, later ones only add translations.
#include "StringPackageDecoder.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <sys/wait.h>

namespace {

using Table = std::map<uint16_t, std::u16string>;

struct FilesResult {
  int                   exitCode = -1;
  std::string           diagnostics;
  std::vector<uint8_t>  package;
};

std::string slurp (const std::string &path) {
  std::ifstream      in (path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf ();
  return s.str ();
}

// Writes the files and runs carvex-unic on them in the given order.
FilesResult runUnicFiles (const std::vector<std::pair<std::string, std::string>> &files) {
  ScratchDir  dir;
  std::string command = std::string ("'") + CARVEX_UNIC + "' -o '" + dir.path () + "' --binary '" + dir.path () +
                        "/package.bin'";
  for (const auto &[name, content] : files) {
    command += " '" + dir.write (name, content) + "'";
  }
  command += " 2>'" + dir.path () + "/stderr.txt'";
  FilesResult result;
  const int   status = std::system (command.c_str ());
  result.exitCode = WIFEXITED (status) ? WEXITSTATUS (status) : -1;
  result.diagnostics = slurp (dir.path () + "/stderr.txt");
  const std::string prefix = dir.path () + "/";
  for (size_t at; (at = result.diagnostics.find (prefix)) != std::string::npos;) {
    result.diagnostics.erase (at, prefix.size ());
  }
  if (result.exitCode == 0) {
    const std::string bin = slurp (dir.path () + "/package.bin");
    result.package.assign (bin.begin (), bin.end ());
  }
  return result;
}

const char kMain[] = "#langdef en-US \"English\"\n#langdef fr-FR \"Français\"\n#langdef de-DE \"Deutsch\"\n"
                     "#string A #language en-US \"a\"\n"
                     "#string B #language en-US \"b\"\n"
                     "#string C #language en-US \"c\"\n";

} // namespace

TEST (UniCompilerFiles, TranslationFiles_AddTextsWithoutRenumbering) {
  const auto result = runUnicFiles ({{"Main.uni", kMain},
                                     {"fr-FR.uni", "#string C #language fr-FR \"c-fr\"\n#string A #language fr-FR \"a-fr\"\n"},
                                     {"de-DE.uni", "// partial\n#string B #language de-DE \"b-de\"\n"}});
  ASSERT_EQ (result.exitCode, 0) << result.diagnostics;
  const auto langs = strpkg::decodeStringPackages (result.package.data (), result.package.size ());
  ASSERT_EQ (langs.size (), 3u);
  EXPECT_EQ (langs[0].strings, (Table{{1, u"English"}, {2, u"a"}, {3, u"b"}, {4, u"c"}}));
  EXPECT_EQ (langs[1].strings, (Table{{1, u"Français"}, {2, u"a-fr"}, {4, u"c-fr"}}));
  EXPECT_EQ (langs[2].strings, (Table{{1, u"Deutsch"}, {3, u"b-de"}}));
  for (const auto &lang : langs) {
    EXPECT_EQ (lang.maxId, 4) << lang.name;
  }
}

TEST (UniCompilerFiles, LaterFileBreakingTheDeclarations_FailsAtItsLine) {
  struct Case {
    const char *name;
    std::string text;
    const char *expected;
  };
  const Case cases[] = {
      {"NewIdentifier", "#string A #language fr-FR \"x\"\n#string D #language fr-FR \"d\"\n",
       "Extra.uni:2: error: D is not declared by the first file"},
      {"Langdef", "#langdef it-IT \"Italiano\"\n", "Extra.uni:1: error: #langdef is allowed only in the first file"},
      {"UndeclaredLanguage", "#string A #language it-IT \"a\"\n", "Extra.uni:1: error: language it-IT is not declared"},
      {"SecondTextForALanguage", "\n#string A #language en-US \"again\"\n",
       "Extra.uni:2: error: duplicate en-US text for A (first at Main.uni:4)"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE (c.name);
    const auto result = runUnicFiles ({{"Main.uni", kMain}, {"Extra.uni", c.text}});
    EXPECT_EQ (result.exitCode, 1);
    EXPECT_EQ (result.diagnostics.rfind (c.expected, 0), 0u) << result.diagnostics;
  }
}

// String packages: the sample compiled at build time is decoded back into
// per-language tables; small files compiled at test time cover numbering and
// malformed input.
#include "SampleStrDefs.h"
#include "SampleStrings.h"
#include "StringPackageDecoder.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using Table = std::map<uint16_t, std::u16string>;

std::vector<strpkg::Language> decode (const std::vector<uint8_t> &bytes) {
  return strpkg::decodeStringPackages (bytes.data (), bytes.size ());
}

std::vector<std::pair<uint8_t, uint16_t>> blocks (const strpkg::Language &lang) {
  std::vector<std::pair<uint8_t, uint16_t>> out;
  for (const auto &b : lang.blocks) {
    out.emplace_back (b.type, b.count);
  }
  return out;
}

std::vector<strpkg::Language> sample () {
  const uint32_t length =
      SampleStrings[0] | SampleStrings[1] << 8 | SampleStrings[2] << 16 | uint32_t (SampleStrings[3]) << 24;
  EXPECT_EQ (length, sizeof SampleStrings);
  return strpkg::decodeStringPackages (SampleStrings + 4, sizeof SampleStrings - 4);
}

constexpr uint8_t kString = 0x14, kSkip = 0x21;

} // namespace

TEST (UniCompiler, SamplePackages_DecodeToEachLanguagesStrings) {
  const auto langs = sample ();
  ASSERT_EQ (langs.size (), 3u);
  const Table english = {
      {1, u"English"},        {2, u"Sample"},     {3, u"Help text"},    {4, u""},          {5, u"Count"},
      {6, u"Total capacity"}, {7, u"Scope"},      {8, u"Platform"},     {9, u"Processor"}, {10, u"Percent\t[%]"},
      {11, u"Enable \"it\""}, {12, u"Secret\\x"}, {13, u"Apply\u2192"}, {14, u"Details"},  {15, u"never referenced"},
  };
  const Table french = {{1, u"Français"}, {2, u"Exemple"}, {3, u"Texte d'aide"}, {5, u"Nombre"}};
  const Table japanese = {{1, u"日本語"}, {2, u"サンプル"}, {14, u"詳細"}};
  const std::pair<const char *, const Table *> expected[] = {
      {"en-US", &english}, {"fr-FR", &french}, {"ja-JP", &japanese}};
  for (size_t i = 0; i < langs.size (); ++i) {
    SCOPED_TRACE (expected[i].first);
    EXPECT_EQ (langs[i].name, expected[i].first); // #langdef order
    EXPECT_EQ (langs[i].strings, *expected[i].second);
    EXPECT_EQ (langs[i].hdrSize, 46u + langs[i].name.size () + 1);
    EXPECT_EQ (langs[i].stringInfoOffset, langs[i].hdrSize);
    EXPECT_EQ (langs[i].languageName, 1);
    EXPECT_TRUE (langs[i].windowZero);
    EXPECT_EQ (langs[i].maxId, STR_UNUSED); // every language ends at the same identifier
  }
}

TEST (UniCompiler, MissingTranslations_BecomeSkipRuns) {
  const auto langs = sample ();
  ASSERT_EQ (langs.size (), 3u);
  EXPECT_EQ (blocks (langs[1]), (std::vector<std::pair<uint8_t, uint16_t>>{
                                    {kString, 1}, {kString, 1}, {kString, 1}, {kSkip, 1}, {kString, 1}, {kSkip, 10}}));
  EXPECT_EQ (blocks (langs[2]), (std::vector<std::pair<uint8_t, uint16_t>>{
                                    {kString, 1}, {kString, 1}, {kSkip, 11}, {kString, 1}, {kSkip, 1}}));
}

TEST (UniCompiler, Identifiers_FollowFirstAppearanceAndKeepUnusedStrings) {
  static_assert (STR_TITLE == 0x0002 && STR_HELP == 0x0003 && STR_DETAILS == 0x000E && STR_UNUSED == 0x000F);

  // A later #string block adds a translation without renumbering; a string
  // with no text at all still takes its identifier.
  const ToolResult result = runUnic ("#langdef en-US \"English\"\n#langdef de-DE \"Deutsch\"\n"
                                     "#string A #language en-US \"a\" // comment between parts\n"
                                     "                          \"b\"\n"
                                     "#string NONE\n"
                                     "#string B #language en-US \"c\"\n"
                                     "#string A #language de-DE \"A\"\n");
  ASSERT_EQ (result.exitCode, 0) << result.diagnostics;
  const auto langs = decode (result.package);
  ASSERT_EQ (langs.size (), 2u);
  EXPECT_EQ (langs[0].strings, (Table{{1, u"English"}, {2, u"ab"}, {4, u"c"}}));
  EXPECT_EQ (langs[1].strings, (Table{{1, u"Deutsch"}, {2, u"A"}}));
  EXPECT_EQ (langs[0].maxId, 4);
  EXPECT_EQ (langs[1].maxId, 4);
  const std::string defs = result.outputs.at ("TestStrDefs.h");
  EXPECT_NE (defs.find ("#define A    0x0002\n#define NONE 0x0003\n#define B    0x0004\n"), std::string::npos) << defs;
}

TEST (UniCompiler, MalformedFile_FailsAtItsLine) {
  const std::string head = "#langdef en-US \"English\"\n";
  struct Case {
    const char *name;
    std::string text;
    int         line;
    const char *fragment;
  };
  const Case cases[] = {
      {"NonBmpCharacter", head + "#string S #language en-US \"\xF0\x9F\x98\x80\"\n", 2,
       "outside the Basic Multilingual Plane"},
      {"DuplicateTranslation", head + "#string S #language en-US \"a\"\n          #language en-US \"b\"\n", 3,
       "duplicate en-US text for S (first at line 2)"},
      {"DuplicateAcrossBlocks", head + "#string S #language en-US \"a\"\n#string S #language en-US \"b\"\n", 3,
       "duplicate en-US text"},
      {"UndeclaredLanguage", head + "#string S #language de-DE \"a\"\n", 2, "language de-DE is not declared"},
      {"LangdefTwice", head + head, 2, "already defined at line 1"},
      {"MissingText", head + "#string S #language en-US\n#string T\n", 3, "expected a quoted string"},
      {"BadIdentifier", head + "#string 9S #language en-US \"a\"\n", 2, "not a valid string identifier"},
      {"LanguageOutsideString", head + "#language en-US \"a\"\n", 2, "#language outside a #string"},
      {"UnknownDirective", head + "#include \"x.uni\"\n", 2, "unsupported directive '#include'"},
      {"StrayWord", head + "hello\n", 2, "unexpected 'hello'"},
      {"UnterminatedString", head + "#string S #language en-US \"a\n\"\n", 2, "unterminated string"},
      {"UnknownEscape", head + "#string S #language en-US \"\\q\"\n", 2, "unknown escape sequence"},
      {"ShortHexEscape", head + "#string S #language en-US \"\\x12\"\n", 2, "four hexadecimal digits"},
      {"SurrogateEscape", head + "#string S #language en-US \"\\xD800\"\n", 2, "is not a character"},
      {"StrayContinuationByte", head + "\n#string S #language en-US \"\x80\"\n", 3, "invalid UTF-8"},
      {"OverlongEncoding", head + "#string S #language en-US \"\xC0\xAF\"\n", 2, "invalid UTF-8"},
      {"EncodedSurrogate", head + "#string S #language en-US \"\xED\xA0\x80\"\n", 2, "invalid UTF-8"},
      {"TruncatedSequence", head + "#string S #language en-US \"\xE6\x97", 2, "invalid UTF-8"},
      {"Utf16File", "\xFF\xFE#\0l\0", 1, "UTF-16"},
      {"NoLanguage", "#string S\n", 1, "no language defined"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE (c.name);
    const ToolResult result = runUnic (c.text);
    EXPECT_EQ (result.exitCode, 1);
    const std::string prefix = "Test.uni:" + std::to_string (c.line) + ": error: ";
    EXPECT_EQ (result.diagnostics.rfind (prefix, 0), 0u) << result.diagnostics;
    EXPECT_NE (result.diagnostics.find (c.fragment), std::string::npos) << result.diagnostics;
  }
}

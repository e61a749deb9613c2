// Malformed form sources: each must fail with "file:line: error: ..." naming
// the faulty line, exit status 1, and no output.
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace {

const char kTypes[] = "#pragma pack(1)\n"                                                                    // 1
                      "typedef struct { UINT8 A; UINT16 W; UINT8 Arr[4]; CHAR16 Name[4]; UINT32 D; } VAR;\n" // 2
                      "typedef struct { UINT8 Bits : 3; } BITS;\n"                                           // 3
                      "#pragma pack()\n";                                                                    // 4

// Lines 1-4 are fixed; the body starts at line 5.
std::string withBody (const std::string &body) {
  return "#include \"Types.h\"\n"
         "formset guid = {1,2,3,{4,5,6,7,8,9,10,11}}, title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n"
         "  varstore VAR, name = V, guid = {1,2,3,{4,5,6,7,8,9,10,11}};\n"
         "  form formid = 1, title = STRING_TOKEN(3);\n" +
         body + "\n  endform;\nendformset;\n";
}

std::string numeric (const std::string &field, const std::string &extra = "") {
  return "numeric varid = " + field + ", " + extra +
         "prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), minimum = 0, maximum = 10, endnumeric;\n";
}

const std::string kText = "text help = STRING_TOKEN(4), text = STRING_TOKEN(5);\n";

struct ErrorCase {
  const char *name;
  std::string vfr;
  std::string where;    // "file:line"
  std::string fragment; // part of the message
  std::string types = kTypes;
};

std::string values (int n) {
  std::string s;
  for (int i = 0; i < n; ++i) {
    s += " " + std::to_string (i);
  }
  return s;
}

const std::string kGuid = "{1,2,3,{4,5,6,7,8,9,10,11}}";

const ErrorCase kCases[] = {
    {"UnknownField", withBody (numeric ("V.Nope")), "Test.vfr:5", "has no field 'Nope'"},
    {"IndexOutOfBounds", withBody (numeric ("V.Arr[4]")), "Test.vfr:5", "out of bounds"},
    {"IndexOnScalar", withBody (numeric ("V.A[0]")), "Test.vfr:5", "is not an array"},
    {"ArrayAsNumeric", withBody (numeric ("V.Arr")), "Test.vfr:5", "needs an integer field"},
    {"UnknownStore", withBody (numeric ("X.A")), "Test.vfr:5", "unknown variable store 'X'"},
    {"ConditionWithoutQuestion", withBody ("suppressif ideqval V.D == 1;\n" + kText + "endif;"), "Test.vfr:5",
     "no question in this formset is bound to 'V.D'"},
    {"ConditionOnStringQuestion",
     withBody ("string varid = V.Name, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), maxsize = 4, endstring;\n"
               "suppressif ideqval V.Name == 1;\n" +
               kText + "endif;"),
     "Test.vfr:6", "conditions can compare"},
    {"AmbiguousField",
     withBody (numeric ("V.A") + numeric ("V.A") + "grayoutif ideqval V.A == 1;\n" + kText + "endif;"), "Test.vfr:7",
     "stored by two questions"},
    {"UnknownQuestionName", withBody ("suppressif ideqval Nobody == 1;\n" + kText + "endif;"), "Test.vfr:5",
     "no question is named 'Nobody'"},
    {"DuplicateQuestionId", withBody (numeric ("V.A", "questionid = 5, ") + numeric ("V.W", "questionid = 5, ")),
     "Test.vfr:6", "already used at Test.vfr:5"},
    {"DefaultOutOfRange", withBody (numeric ("V.A", "default = 11, ")), "Test.vfr:5", "outside 0..10"},
    {"UnknownDefaultStore", withBody (numeric ("V.A", "default = 1, defaultstore = Mfg, ")), "Test.vfr:5",
     "unknown default store 'Mfg'"},
    {"StringLongerThanField",
     withBody ("string varid = V.Name, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), maxsize = 5, endstring;"),
     "Test.vfr:5", "maxsize 5 needs 10 bytes"},
    {"CheckboxOnWideField",
     withBody ("checkbox varid = V.W, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), endcheckbox;"), "Test.vfr:5",
     "one-byte field"},
    {"SizeFlagMismatch", withBody (numeric ("V.A", "flags = NUMERIC_SIZE_2, ")), "Test.vfr:5", "does not match"},
    {"UnknownFlag", withBody (numeric ("V.A", "flags = HIDDEN, ")), "Test.vfr:5", "'HIDDEN' is not a flag of numeric"},
    {"OptionWiderThanField",
     withBody ("oneof varid = V.A, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5),\n"
               "  option text = STRING_TOKEN(6), value = 256, flags = 0;\nendoneof;"),
     "Test.vfr:6", "outside the one-of's range or width"},
    {"GotoUnknownForm", withBody ("goto 9, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5);"), "Test.vfr:5",
     "goto target form 0x0009 is not defined"},
    {"ConditionNotClosed", withBody ("suppressif TRUE;\n" + kText), "Test.vfr:5",
     "suppressif is not closed by 'endif'"},
    {"MissingComma", withBody ("numeric varid = V.A prompt = STRING_TOKEN(4), endnumeric;"), "Test.vfr:5",
     "expected 'endnumeric'"},
    {"TooManyListValues",
     withBody (numeric ("V.A") + "suppressif ideqvallist V.A ==" + values (61) + ";\n" + kText + "endif;"),
     "Test.vfr:6", "at most 60 values"},
    {"CompareValueTooWide", withBody (numeric ("V.D") + "suppressif ideqval V.D == 0x10000;\n" + kText + "endif;"),
     "Test.vfr:6", "does not fit"},
    {"UndefinedConstant",
     withBody ("numeric varid = V.A, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), "
               "minimum = 0, maximum = LIMIT, endnumeric;"),
     "Test.vfr:5", "'LIMIT' is not a defined constant"},
    {"FourClassGuids",
     "formset guid = " + kGuid + ", title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n  classguid = " + kGuid + " | " +
         kGuid + " | " + kGuid + " | " + kGuid + ",\nendformset;\n",
     "Test.vfr:2", "at most three class GUIDs"},
    {"StoreNameOver127Bytes",
     "#include \"Types.h\"\nformset guid = " + kGuid +
         ", title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n"
         "  varstore VAR, name = " +
         std::string (105, 'N') + ", guid = " + kGuid + ";\nendformset;\n",
     "Test.vfr:3", "limited to 127"},
    {"StructWithBitField",
     "#include \"Types.h\"\nformset guid = " + kGuid +
         ", title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n"
         "  varstore BITS, guid = " +
         kGuid + ";\nendformset;\n",
     "Test.vfr:3", "bit-field 'Bits' (Types.h:3)"},
    {"DuplicateFormId",
     "formset guid = " + kGuid +
         ", title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n"
         "  form formid = 1, title = STRING_TOKEN(3); endform;\n  form formid = 1, title = STRING_TOKEN(3); endform;\n"
         "endformset;\n",
     "Test.vfr:3", "form id 1 is already used"},
    {"MissingInclude", "#include \"Nope.h\"\n", "Test.vfr:1", "cannot find include file \"Nope.h\""},
    {"IfWithoutEndif", "#if 1\n#define X 1\n", "Test.vfr:1", "#if without #endif"},
    {"MacroRedefined", "#define X 1\n#define X 2\n", "Test.vfr:2", "redefined with a different value"},
    {"KeywordAsMacro", "#define endif 1\n", "Test.vfr:1", "keyword of the form language"},
    {"ErrorDirectiveInHeader", withBody (""), "Types.h:2", "#error layout changed",
     "#pragma pack(1)\n#error layout changed\n"},
    {"UnterminatedComment", "/* no end\n\n", "Test.vfr:1", "unterminated comment"},
    {"NoFormSet", "#include \"Types.h\"\n", "Test.vfr:1", "no formset defined"},
};

} // namespace

TEST (VfrCompilerErrors, MalformedSource_FailsAtItsLine) {
  for (const ErrorCase &c : kCases) {
    SCOPED_TRACE (c.name);
    const ToolResult result = runVfrc ({{"Test.vfr", c.vfr}, {"Types.h", c.types}}, "Test.vfr");
    EXPECT_EQ (result.exitCode, 1);
    const std::string prefix = c.where + ": error: ";
    EXPECT_EQ (result.diagnostics.rfind (prefix, 0), 0u) << result.diagnostics;
    EXPECT_NE (result.diagnostics.find (c.fragment), std::string::npos) << result.diagnostics;
    EXPECT_TRUE (result.package.empty ());
  }
}

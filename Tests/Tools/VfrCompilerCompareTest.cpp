// Ordering compares in conditions: "ideqval q < n" and its siblings.
#include "IfrDecoder.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace {

const char kTypes[] = "#pragma pack(1)\ntypedef struct { UINT32 Count; UINT8 Flag; } STATE;\n#pragma pack()\n";

std::string formWith (const std::string &condition) {
  return "#include \"Types.h\"\n"
         "formset guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n"
         "  varstore STATE, name = S, guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};\n"
         "  form formid = 1, title = STRING_TOKEN(3);\n"
         "    suppressif " +
         condition +
         ";\n"
         "      text help = STRING_TOKEN(4), text = STRING_TOKEN(5);\n"
         "    endif;\n"
         "    numeric varid = S.Count, questionid = 0x0072, prompt = STRING_TOKEN(0), help = STRING_TOKEN(0),\n"
         "      minimum = 0, maximum = 0xFFFFFFFF, endnumeric;\n"
         "    numeric varid = S.Flag, questionid = 0x0009, prompt = STRING_TOKEN(0), help = STRING_TOKEN(0),\n"
         "      minimum = 0, maximum = 255, endnumeric;\n"
         "  endform;\nendformset;\n";
}

} // namespace

TEST (VfrCompilerCompare, OrderingCompare_EncodesQuestionRefConstantAndOperator) {
  struct Case {
    const char *op;
    uint8_t     opcode;
  };
  const Case cases[] = {{"<", 0x33}, {"<=", 0x34}, {">", 0x31}, {">=", 0x32}};
  for (const Case &c : cases) {
    SCOPED_TRACE (c.op);
    const ToolResult result =
        runVfrc ({{"Types.h", kTypes}, {"Test.vfr", formWith (std::string ("ideqval S.Count ") + c.op + " 3")}},
                 "Test.vfr");
    ASSERT_EQ (result.exitCode, 0) << result.diagnostics;
    const auto top = ifr::decodeFormsPackage (result.package.data (), result.package.size ());
    const auto suppress = ifr::findAll (top, ifr::SuppressIf);
    ASSERT_EQ (suppress.size (), 1u);
    const auto expr = ifr::flattenExpression (*suppress[0]);
    ASSERT_EQ (expr.size (), 3u);
    EXPECT_EQ (expr[0]->code, 0x40); // QUESTION_REF1 opens the expression's scope
    EXPECT_TRUE (expr[0]->scope);
    EXPECT_EQ (expr[0]->u16 (2), 0x0072);
    EXPECT_EQ (expr[1]->code, ifr::Uint16);
    EXPECT_EQ (expr[1]->u16 (2), 3);
    EXPECT_EQ (expr[2]->code, c.opcode);
    EXPECT_EQ (expr[2]->length (), 2u);
  }
}

TEST (VfrCompilerCompare, OrderingCompareInsideAnd_CountsAsThreeOpcodes) {
  const ToolResult result = runVfrc (
      {{"Types.h", kTypes}, {"Test.vfr", formWith ("ideqval S.Flag == 1 AND ideqval S.Count >= 2")}}, "Test.vfr");
  ASSERT_EQ (result.exitCode, 0) << result.diagnostics;
  const auto top = ifr::decodeFormsPackage (result.package.data (), result.package.size ());
  const auto suppress = ifr::findAll (top, ifr::SuppressIf);
  ASSERT_EQ (suppress.size (), 1u);
  const auto expr = ifr::flattenExpression (*suppress[0]);
  std::vector<uint8_t> codes;
  for (const auto *op : expr) {
    codes.push_back (op->code);
  }
  EXPECT_EQ (codes, (std::vector<uint8_t>{ifr::EqIdVal, 0x40, ifr::Uint16, 0x32, ifr::And}));
}

TEST (VfrCompilerCompare, OrderingCompareOnListOrOverWideValue_IsAnError) {
  const std::pair<std::string, std::string> cases[] = {
      {"ideqvallist S.Count < 1 2", "ideqvallist compares with '==' only"},
      {"ideqval S.Count < 0x10000", "does not fit"},
  };
  for (const auto &[condition, fragment] : cases) {
    SCOPED_TRACE (condition);
    const ToolResult result = runVfrc ({{"Types.h", kTypes}, {"Test.vfr", formWith (condition)}}, "Test.vfr");
    EXPECT_EQ (result.exitCode, 1);
    EXPECT_NE (result.diagnostics.find (fragment), std::string::npos) << result.diagnostics;
  }
}

// The browser's IFR reader and expression evaluator on hand-built opcodes:
// what they must make of opcodes they do not know, of broken lengths, and of
// each expression operator conditions use.
#include <gtest/gtest.h>

#include <map>

#include "Expression.hpp"
#include "IfrModel.hpp"

namespace browsertest {
namespace {

using namespace carvex::sim::browser;

Bytes Op(std::uint8_t code, bool scope, Bytes body = {}) {
  Bytes op{code, static_cast<std::uint8_t>((body.size() + 2) | (scope ? 0x80 : 0))};
  for (std::uint8_t b : body) op.push_back(b);
  return op;
}
Bytes U16(std::uint16_t v) { return {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8)}; }
Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) {
    for (std::uint8_t b : p) all.push_back(b);
  }
  return all;
}
Bytes End() { return Op(EFI_IFR_END_OP, false); }
Bytes EqIdVal(std::uint16_t q, std::uint16_t v, bool scope = false) {
  return Op(EFI_IFR_EQ_ID_VAL_OP, scope, Cat({U16(q), U16(v)}));
}
// A one-byte checkbox question in store 1 at `offset`.
Bytes CheckBox(std::uint16_t qid, std::uint16_t offset) {
  return Cat({Op(EFI_IFR_CHECKBOX_OP, true, Cat({U16(1), U16(2), U16(qid), U16(1), U16(offset), {0}, {0}})), End()});
}
Bytes FormSet(const Bytes& forms) {
  Bytes guid(16, 0x11);
  return Cat({Op(EFI_IFR_FORM_SET_OP, true, Cat({guid, U16(1), U16(2), {0}})), forms, End()});
}
Bytes FormOp(std::uint16_t id, const Bytes& body) {
  return Cat({Op(EFI_IFR_FORM_OP, true, Cat({U16(id), U16(3)})), body, End()});
}

class Values : public ExpressionContext {
 public:
  std::map<EFI_QUESTION_ID, ExprValue> values;
  ExprValue QuestionValue(EFI_QUESTION_ID id) const override {
    auto found = values.find(id);
    return found == values.end() ? ExprValue::Undefined() : found->second;
  }
};

TEST(IfrParserTest, UnknownOpcodeWithScope_SkippedWithEverythingInside) {
  const Bytes ops = FormSet(FormOp(1, Cat({Op(0x70, true), CheckBox(5, 0), End(), CheckBox(6, 1)})));
  const auto sets = ParseFormSets(ops.data(), ops.size());
  ASSERT_EQ(sets.size(), 1u);
  ASSERT_EQ(sets[0].forms.size(), 1u);
  ASSERT_EQ(sets[0].forms[0].statements.size(), 1u);
  EXPECT_EQ(sets[0].forms[0].statements[0].questionId, 6);
}

TEST(IfrParserTest, BrokenLength_EndsTheWalkWithoutReadingPast) {
  Bytes ops = FormSet(FormOp(1, Cat({CheckBox(5, 0), CheckBox(6, 1)})));
  ops[ops.size() - 19] = 0xFF;  // the second check box claims 127 bytes, past the end
  const auto sets = ParseFormSets(ops.data(), ops.size());
  ASSERT_EQ(sets.size(), 1u);
  ASSERT_EQ(sets[0].forms.size(), 1u);
  EXPECT_EQ(sets[0].forms[0].statements.size(), 1u);
}

TEST(IfrParserTest, NestedConditions_AttachOutermostFirstAndOptionsKeepTheirOwn) {
  const Bytes oneOf = Cat({Op(EFI_IFR_ONE_OF_OP, true, Cat({U16(1), U16(2), U16(7), U16(1), U16(2), {0}, {0}, {0, 5, 1}})),
                           Op(EFI_IFR_ONE_OF_OPTION_OP, false, Cat({U16(8), {0x10}, {0}, {0}})),
                           Op(EFI_IFR_SUPPRESS_IF_OP, true), EqIdVal(5, 0),
                           Op(EFI_IFR_ONE_OF_OPTION_OP, false, Cat({U16(9), {0}, {0}, {1}})), End(), End()});
  const Bytes body = Cat({Op(EFI_IFR_GRAY_OUT_IF_OP, true), EqIdVal(5, 1, true), EqIdVal(6, 1), Op(EFI_IFR_OR_OP, false),
                          End(), Op(EFI_IFR_SUPPRESS_IF_OP, true), Op(EFI_IFR_TRUE_OP, false), oneOf, End(), End(),
                          CheckBox(5, 0)});
  const Bytes ops = FormSet(FormOp(1, body));
  const auto sets = ParseFormSets(ops.data(), ops.size());
  const Form& form = sets.at(0).forms.at(0);
  ASSERT_EQ(form.statements.size(), 2u);
  const Statement& question = form.statements[0];
  ASSERT_EQ(question.conditions.size(), 2u);
  EXPECT_EQ(form.conditions[question.conditions[0]].kind, ConditionKind::GrayOut);
  EXPECT_EQ(form.conditions[question.conditions[0]].expression.code.size(), 6u * 2 + 2) << "END left out";
  EXPECT_EQ(form.conditions[question.conditions[1]].kind, ConditionKind::Suppress);
  ASSERT_EQ(question.options.size(), 2u);
  EXPECT_TRUE(question.options[0].conditions.empty());
  EXPECT_EQ(question.options[1].conditions.size(), 1u);
  EXPECT_TRUE(form.statements[1].conditions.empty()) << "scopes closed before the last check box";
}

struct ExpressionCase {
  const char* name;
  Bytes code;
  ExprValue::Kind kind;
  std::uint64_t number;
};

class ExpressionTest : public ::testing::TestWithParam<ExpressionCase> {};

TEST_P(ExpressionTest, Evaluates) {
  Values context;
  context.values[5] = ExprValue::Number(2);
  context.values[6] = ExprValue::Number(2);
  context.values[7] = ExprValue::Bool(true);
  context.values[8] = ExprValue::String(u"x");
  const ExprValue result = Evaluate(Expression{GetParam().code}, context);
  EXPECT_EQ(result.kind, GetParam().kind);
  EXPECT_EQ(result.number, GetParam().number);
}

const auto kBool = ExprValue::Kind::Boolean;
const auto kNumber = ExprValue::Kind::Number;
const auto kUndefined = ExprValue::Kind::Undefined;

INSTANTIATE_TEST_SUITE_P(
    Operators, ExpressionTest,
    ::testing::Values(
        ExpressionCase{"EqIdValTrue", EqIdVal(5, 2), kBool, 1},
        ExpressionCase{"EqIdValFalse", EqIdVal(5, 3), kBool, 0},
        ExpressionCase{"EqIdValUnknownQuestion", EqIdVal(99, 0), kUndefined, 0},
        ExpressionCase{"EqIdValString", EqIdVal(8, 0), kUndefined, 0},
        ExpressionCase{"List", Op(EFI_IFR_EQ_ID_VAL_LIST_OP, false, Cat({U16(5), U16(3), U16(0), U16(2), U16(4)})),
                       kBool, 1},
        ExpressionCase{"EqIdId", Op(EFI_IFR_EQ_ID_ID_OP, false, Cat({U16(5), U16(6)})), kBool, 1},
        ExpressionCase{"AndNot", Cat({EqIdVal(5, 2), EqIdVal(6, 1), Op(EFI_IFR_NOT_OP, false), Op(EFI_IFR_AND_OP, false)}),
                       kBool, 1},
        ExpressionCase{"OrWithUndefined", Cat({EqIdVal(99, 2), EqIdVal(6, 2), Op(EFI_IFR_OR_OP, false)}), kUndefined,
                       0},
        ExpressionCase{"CheckBoxIsBoolean", Cat({Op(EFI_IFR_QUESTION_REF1_OP, false, U16(7)), Op(EFI_IFR_NOT_OP, false)}),
                       kBool, 0},
        ExpressionCase{"ConditionalTakesTrueBranch",
                       Cat({EqIdVal(5, 2), Op(EFI_IFR_UINT8_OP, false, {100}), Op(EFI_IFR_UINT8_OP, false, {0}),
                            Op(EFI_IFR_CONDITIONAL_OP, false)}),
                       kNumber, 100},
        ExpressionCase{"ConditionalTakesFalseBranch",
                       Cat({EqIdVal(5, 1), Op(EFI_IFR_UINT16_OP, false, U16(300)), Op(EFI_IFR_UINT8_OP, false, {7}),
                            Op(EFI_IFR_CONDITIONAL_OP, false)}),
                       kNumber, 7},
        ExpressionCase{"Arithmetic", Cat({Op(EFI_IFR_UINT8_OP, false, {7}), Op(EFI_IFR_UINT8_OP, false, {3}),
                                          Op(EFI_IFR_SUBTRACT_OP, false)}),
                       kNumber, 4},
        ExpressionCase{"DivideByZero", Cat({Op(EFI_IFR_ONE_OP, false), Op(EFI_IFR_ZERO_OP, false),
                                            Op(EFI_IFR_DIVIDE_OP, false)}),
                       kUndefined, 0},
        ExpressionCase{"UnknownOperator", Cat({Op(EFI_IFR_TRUE_OP, false), Op(EFI_IFR_MATCH_OP, false)}), kUndefined, 0},
        ExpressionCase{"StackUnderflow", Op(EFI_IFR_AND_OP, false), kUndefined, 0},
        ExpressionCase{"TruncatedOperand", Op(EFI_IFR_EQ_ID_VAL_OP, false, U16(5)), kUndefined, 0}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace browsertest

// Decodes the sample form set compiled at build time (Data/Sample.vfr) and
// small sources compiled at test time, and checks the bytes against the IFR
// layouts and, for offsets, against what the C++ compiler makes of the same
// struct header.
#include "IfrDecoder.h"
#include "SampleBin.h"
#include "SampleConfig.h"
#include "SampleIds.h"
#include "SampleStrDefs.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

struct CGuid {
  uint32_t d1;
  uint16_t d2, d3;
  uint8_t  d4[8];
};

// The same GUID written without the inner braces, as the sample's class GUID is.
struct FlatGuid {
  uint32_t d1;
  uint16_t d2, d3;
  uint8_t  b0, b1, b2, b3, b4, b5, b6, b7;
};

std::vector<uint8_t> guidBytes (const FlatGuid &g) {
  std::vector<uint8_t> out (16);
  std::memcpy (out.data (), &g, 16);
  return out;
}

std::vector<uint8_t> guidBytes (const CGuid &g) {
  std::vector<uint8_t> out (16);
  std::memcpy (out.data (), &g, 16); // the host is little-endian, as UEFI is
  return out;
}

std::vector<uint8_t> slice (const ifr::Op &op, size_t offset, size_t n) {
  return {op.bytes.begin () + static_cast<long> (offset), op.bytes.begin () + static_cast<long> (offset + n)};
}

const CGuid kPlatformSetupClass = {0x93039971, 0x8545, 0x4b04, {0xb4, 0x5e, 0x32, 0xeb, 0x83, 0x26, 0x04, 0x0e}};
const CGuid kTianoGuid = {0x0F0B1735, 0x87A0, 0x4193, {0xB2, 0x66, 0x53, 0x8C, 0x38, 0xAF, 0x48, 0xCE}};

// The sample package linked into this test, decoded once.
const std::vector<ifr::Op> &sampleOps () {
  static const std::vector<ifr::Op> ops = [] {
    const uint32_t length = SampleBin[0] | SampleBin[1] << 8 | SampleBin[2] << 16 | uint32_t (SampleBin[3]) << 24;
    EXPECT_EQ (length, sizeof SampleBin);
    return ifr::decodeFormsPackage (SampleBin + 4, sizeof SampleBin - 4);
  }();
  return ops;
}

const ifr::Op &formSet () {
  static const ifr::Op none;
  const auto          &ops = sampleOps ();
  EXPECT_EQ (ops.size (), 1u);
  return ops.size () == 1 && ops[0].code == ifr::FormSet ? ops[0] : none;
}

const ifr::Op &question (uint16_t qid) {
  static const ifr::Op none;
  const ifr::Op       *op = ifr::findQuestion (sampleOps (), qid);
  EXPECT_NE (op, nullptr) << "question " << qid;
  return op != nullptr ? *op : none;
}

// Postfix expression as (opcode, scope) pairs.
std::vector<std::pair<uint8_t, bool>> shape (const std::vector<const ifr::Op *> &ops) {
  std::vector<std::pair<uint8_t, bool>> out;
  for (const ifr::Op *op : ops) {
    out.emplace_back (op->code, op->scope);
  }
  return out;
}

} // namespace

TEST (SampleForms, FormSetHeader_CarriesGuidStringsAndClassGuids) {
  const ifr::Op &fs = formSet ();
  EXPECT_TRUE (fs.scope);
  ASSERT_EQ (fs.length (), 23u + 2 * 16);
  EXPECT_EQ (slice (fs, 2, 16), guidBytes (SAMPLE_GUID));
  EXPECT_EQ (fs.u16 (18), STR_TITLE);
  EXPECT_EQ (fs.u16 (20), STR_HELP);
  EXPECT_EQ (fs.u8 (22), 2); // class GUID count
  EXPECT_EQ (slice (fs, 23, 16), guidBytes (kPlatformSetupClass));
  EXPECT_EQ (slice (fs, 39, 16), guidBytes (FlatGuid SAMPLE_CLASS_GUID));
}

TEST (SampleForms, Stores_PrecedeTheFirstForm) {
  const auto &items = formSet ().children;
  ASSERT_GE (items.size (), 5u);
  EXPECT_EQ (items[0].code, ifr::DefaultStore);
  EXPECT_EQ (items[0].u16 (2), STR_EMPTY);
  EXPECT_EQ (items[0].u16 (4), 0x0000);
  EXPECT_EQ (items[1].code, ifr::DefaultStore);
  EXPECT_EQ (items[1].u16 (4), 0x0001);

  const ifr::Op &store = items[2];
  ASSERT_EQ (store.code, ifr::VarStore);
  EXPECT_FALSE (store.scope);
  EXPECT_EQ (slice (store, 2, 16), guidBytes (SAMPLE_GUID));
  EXPECT_EQ (store.u16 (18), 1);
  EXPECT_EQ (store.u16 (20), sizeof (SAMPLE_VAR));
  EXPECT_EQ (std::string (store.bytes.begin () + 22, store.bytes.end ()), std::string ("SampleVar", 10));

  EXPECT_EQ (items[3].code, ifr::Form);
  EXPECT_EQ (items[3].u16 (2), FORM_MAIN);
  EXPECT_EQ (items[3].u16 (4), STR_TITLE);
  EXPECT_EQ (items[4].code, ifr::Form);
  EXPECT_EQ (items[4].u16 (2), FORM_DETAILS);
}

TEST (SampleForms, QuestionStorage_MatchesTheCxxLayout) {
  struct Row {
    uint16_t qid;
    uint8_t  opcode;
    size_t   offset;
    size_t   length;
  };
  const Row rows[] = {
      {QID_COUNT, ifr::Numeric, offsetof (SAMPLE_VAR, Count), 14 + 3 * 4},
      {0x0102, ifr::String, offsetof (SAMPLE_VAR, Total), 16},
      {0x0103, ifr::OneOf, offsetof (SAMPLE_VAR, Scope), 14 + 3 * 1},
      {0x0104, ifr::Numeric, offsetof (SAMPLE_VAR, Percent), 14 + 3 * 2},
      {0x0105, ifr::CheckBox, offsetof (SAMPLE_VAR, Enabled), 14},
      {0x0106, ifr::Numeric, offsetof (SAMPLE_VAR, Big), 14 + 3 * 8},
      {0x0201, ifr::Numeric, offsetof (SAMPLE_VAR, Slots) + 5 * sizeof (SLOT_RECORD) + offsetof (SLOT_RECORD, Socket),
       14 + 3 * 2},
      {0x0202, ifr::OneOf, offsetof (SAMPLE_VAR, Grid) + 1 * 3 + 2, 14 + 3 * 1},
      {0x0203, ifr::Password, offsetof (SAMPLE_VAR, Security) + 1, 17},
      // Hidden questions without an id take the lowest free ones in source order,
      // after the goto that also has none.
      {0x0002, ifr::Numeric, offsetof (SAMPLE_VAR, Present) + 0, 14 + 3 * 1},
      {0x0003, ifr::Numeric, offsetof (SAMPLE_VAR, Present) + 1, 14 + 3 * 1},
      {0x0004, ifr::CheckBox, offsetof (SAMPLE_VAR, Present) + 2, 14},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE (row.qid);
    const ifr::Op &q = question (row.qid);
    EXPECT_EQ (q.code, row.opcode);
    EXPECT_EQ (q.length (), row.length);
    EXPECT_EQ (q.varStoreId (), 1);
    EXPECT_EQ (q.varOffset (), row.offset);
    EXPECT_TRUE (q.scope);
  }
}

TEST (SampleForms, NumericQuestions_EncodeFlagsAndRangeAtTheirWidth) {
  struct Row {
    uint16_t qid;
    uint8_t  headerFlags, opFlags;
    uint64_t min, max, step;
  };
  const Row rows[] = {
      {QID_COUNT, 0x01, 0x12, 0, 255, 1},         // read-only, 4 bytes, unsigned decimal
      {0x0104, 0x10, 0x21, 0, 1000, 10},          // reset required, 2 bytes, hex
      {0x0106, 0x00, 0x13, 0, 0xFFFFFFFFFFFF, 0}, // 8 bytes
      {0x0201, 0x00, 0x11, 0, 0xFFFF, 0},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE (row.qid);
    const ifr::Op &q = question (row.qid);
    const size_t   w = size_t{1} << (row.opFlags & 3);
    EXPECT_EQ (q.questionFlags (), row.headerFlags);
    EXPECT_EQ (q.u8 (13), row.opFlags);
    EXPECT_EQ (q.le (14, w), row.min);
    EXPECT_EQ (q.le (14 + w, w), row.max);
    EXPECT_EQ (q.le (14 + 2 * w, w), row.step);
  }
}

TEST (SampleForms, OneOf_TakesOptionFlagsAndRangeFromItsOptions) {
  const ifr::Op &q = question (0x0103);
  EXPECT_EQ (q.questionFlags (), 0x10); // RESET_REQUIRED written on an option
  EXPECT_EQ (q.u8 (13), 0x00);          // one byte
  EXPECT_EQ (q.u8 (14), 0);             // minimum and maximum span the options
  EXPECT_EQ (q.u8 (15), 1);
  ASSERT_EQ (q.children.size (), 2u);
  const ifr::Op &platform = q.children[0];
  ASSERT_EQ (platform.code, ifr::OneOfOption);
  EXPECT_EQ (platform.length (), 7u);
  EXPECT_EQ (platform.u16 (2), STR_PLATFORM);
  EXPECT_EQ (platform.u8 (4), 0x30); // DEFAULT | MANUFACTURING
  EXPECT_EQ (platform.u8 (5), 0x00); // EFI_IFR_TYPE_NUM_SIZE_8
  EXPECT_EQ (platform.u8 (6), 0);
  const ifr::Op &suppressed = q.children[1];
  ASSERT_EQ (suppressed.code, ifr::SuppressIf);
  ASSERT_EQ (suppressed.children.size (), 2u);
  EXPECT_EQ (suppressed.children[1].code, ifr::OneOfOption);
  EXPECT_EQ (suppressed.children[1].u16 (2), STR_PROCESSOR);
  EXPECT_EQ (suppressed.children[1].u8 (6), 1);

  const ifr::Op &grid = question (0x0202);
  EXPECT_EQ (grid.u8 (14), 0); // explicit range wins over the options
  EXPECT_EQ (grid.u8 (15), 9);
}

TEST (SampleForms, Conditions_WrapMultiOpcodeExpressionsInTheirOwnScope) {
  const auto suppressIfs = ifr::findAll (sampleOps (), ifr::SuppressIf);
  const auto grayOutIfs = ifr::findAll (sampleOps (), ifr::GrayOutIf);
  const auto disableIfs = ifr::findAll (sampleOps (), ifr::DisableIf);
  ASSERT_EQ (suppressIfs.size (), 3u);
  ASSERT_EQ (grayOutIfs.size (), 1u);
  ASSERT_EQ (disableIfs.size (), 1u);

  // Single opcode: no scope bit, no extra END; the guarded statement follows.
  const ifr::Op &first = *suppressIfs[0];
  EXPECT_TRUE (first.scope);
  auto expr = ifr::flattenExpression (first);
  ASSERT_EQ (shape (expr), (std::vector<std::pair<uint8_t, bool>>{{ifr::EqIdVal, false}}));
  EXPECT_EQ (expr[0]->u16 (2), QID_COUNT);
  EXPECT_EQ (expr[0]->u16 (4), 0);
  ASSERT_EQ (first.children.size (), 2u);
  EXPECT_EQ (first.children[1].code, ifr::String);

  // Inside the one-of: fields of questions that live in the other form.
  expr = ifr::flattenExpression (*suppressIfs[1]);
  ASSERT_EQ (shape (expr), (std::vector<std::pair<uint8_t, bool>>{
                               {ifr::EqIdValList, true}, {ifr::EqIdId, false}, {ifr::Not, false}, {ifr::And, false}}));
  EXPECT_EQ (expr[0]->length (), 6u + 2 * 3);
  EXPECT_EQ (expr[0]->u16 (2), 0x0002);
  EXPECT_EQ (expr[0]->u16 (4), 3);
  EXPECT_EQ ((std::vector<uint16_t>{expr[0]->u16 (6), expr[0]->u16 (8), expr[0]->u16 (10)}),
             (std::vector<uint16_t>{0, 2, 3}));
  EXPECT_EQ (expr[1]->u16 (2), 0x0003);
  EXPECT_EQ (expr[1]->u16 (4), 0x0004);

  expr = ifr::flattenExpression (*grayOutIfs[0]);
  ASSERT_EQ (shape (expr),
             (std::vector<std::pair<uint8_t, bool>>{{ifr::EqIdVal, true}, {ifr::EqIdVal, false}, {ifr::Or, false}}));
  EXPECT_EQ (expr[0]->u16 (2), 0x0103);
  EXPECT_EQ (expr[1]->u16 (2), 0x0105);
  EXPECT_EQ (expr[1]->u16 (4), 1);

  // A question name and an indexed nested field in one condition.
  expr = ifr::flattenExpression (*suppressIfs[2]);
  ASSERT_EQ (shape (expr),
             (std::vector<std::pair<uint8_t, bool>>{{ifr::EqIdVal, true}, {ifr::EqIdVal, false}, {ifr::Or, false}}));
  EXPECT_EQ (expr[0]->u16 (2), 0x0201);
  EXPECT_EQ (expr[0]->u16 (4), 0x1234);
  EXPECT_EQ (expr[1]->u16 (2), 0x0202);
  EXPECT_EQ (expr[1]->u16 (4), 7);

  expr = ifr::flattenExpression (*disableIfs[0]);
  EXPECT_EQ (shape (expr), (std::vector<std::pair<uint8_t, bool>>{{ifr::True, false}}));
  EXPECT_EQ (disableIfs[0]->children.size (), 1u + 5); // TRUE and the five hidden questions
}

TEST (SampleForms, Defaults_UseTheQuestionTypeOrAnExpressionScope) {
  const ifr::Op &percent = question (0x0104);
  ASSERT_EQ (percent.children.size (), 2u);
  const ifr::Op &byExpression = percent.children[0];
  EXPECT_EQ (byExpression.code, ifr::Default);
  EXPECT_TRUE (byExpression.scope);
  EXPECT_EQ (byExpression.length (), 5u);
  EXPECT_EQ (byExpression.u16 (2), 0x0000);
  EXPECT_EQ (byExpression.u8 (4), 0x08); // EFI_IFR_TYPE_OTHER
  ASSERT_EQ (byExpression.children.size (), 1u);
  const ifr::Op &value = byExpression.children[0];
  EXPECT_EQ (value.code, ifr::Value);
  EXPECT_TRUE (value.scope);
  const auto expr = ifr::flattenExpression (value);
  ASSERT_EQ (shape (expr), (std::vector<std::pair<uint8_t, bool>>{{ifr::EqIdVal, true},
                                                                  {ifr::EqIdVal, false},
                                                                  {ifr::And, false},
                                                                  {ifr::Uint16, false},
                                                                  {ifr::Uint8, false},
                                                                  {ifr::Conditional, false}}));
  EXPECT_EQ (expr[3]->u16 (2), 1000);
  EXPECT_EQ (expr[4]->u8 (2), 0);

  struct Row {
    const ifr::Op *op;
    uint16_t       store;
    uint8_t        type;
    uint64_t       value;
    size_t         width;
  };
  const Row rows[] = {
      {&percent.children[1], 0x0001, 0x01, 500, 2},
      {question (0x0106).children.data (), 0x0000, 0x03, 0x123456789A, 8},
  };
  for (const Row &row : rows) {
    EXPECT_EQ (row.op->code, ifr::Default);
    EXPECT_FALSE (row.op->scope);
    EXPECT_EQ (row.op->length (), 5 + row.width);
    EXPECT_EQ (row.op->u16 (2), row.store);
    EXPECT_EQ (row.op->u8 (4), row.type);
    EXPECT_EQ (row.op->le (5, row.width), row.value);
  }

  const ifr::Op &enabled = question (0x0105);
  EXPECT_EQ (enabled.questionFlags (), 0x04);
  EXPECT_EQ (enabled.u8 (13), 0x01); // CHECKBOX_DEFAULT
}

TEST (SampleForms, OtherStatements_EncodeTheirFields) {
  const ifr::Op &main = formSet ().children[3];
  ASSERT_GE (main.children.size (), 2u);
  const ifr::Op &subtitle = main.children[0];
  EXPECT_EQ (subtitle.code, ifr::Subtitle);
  EXPECT_TRUE (subtitle.scope);
  EXPECT_EQ (slice (subtitle, 2, 5), (std::vector<uint8_t>{STR_EMPTY, 0, 0, 0, 0}));
  const ifr::Op &text = main.children[1];
  EXPECT_EQ (text.code, ifr::Text);
  EXPECT_FALSE (text.scope);
  EXPECT_EQ (text.length (), 8u);
  EXPECT_EQ ((std::vector<uint16_t>{text.u16 (2), text.u16 (4), text.u16 (6)}),
             (std::vector<uint16_t>{STR_TOTAL, STR_HELP, STR_COUNT}));

  const ifr::Op &total = question (0x0102);
  EXPECT_EQ (total.questionFlags (), 0x01);
  EXPECT_EQ (slice (total, 13, 3), (std::vector<uint8_t>{0, 19, 0}));
  const ifr::Op &secret = question (0x0203);
  EXPECT_EQ (secret.questionFlags (), 0x04);
  EXPECT_EQ (secret.u16 (13), 1);
  EXPECT_EQ (secret.u16 (15), 8);

  const ifr::Op &action = question (0x0204);
  EXPECT_EQ (action.length (), 15u);
  EXPECT_EQ (action.questionFlags (), 0x14);
  EXPECT_EQ (action.varStoreId (), 0);
  EXPECT_EQ (action.varOffset (), 0xFFFF);
  EXPECT_EQ (action.u16 (13), STR_EMPTY);

  const ifr::Op &link = question (0x0107);
  EXPECT_EQ (link.code, ifr::Ref);
  EXPECT_FALSE (link.scope);
  EXPECT_EQ (link.length (), 15u);
  EXPECT_EQ (link.questionFlags (), 0x04);
  EXPECT_EQ (link.u16 (13), FORM_DETAILS);
  const ifr::Op &toQuestion = question (0x0001);
  EXPECT_EQ (toQuestion.length (), 17u);
  EXPECT_EQ (toQuestion.u16 (13), FORM_DETAILS);
  EXPECT_EQ (toQuestion.u16 (15), 0x0201);

  const auto labels = ifr::findAll (formSet ().children[4].children, ifr::Guid);
  ASSERT_EQ (labels.size (), 2u);
  for (size_t i = 0; i < labels.size (); ++i) {
    EXPECT_EQ (labels[i]->length (), 21u);
    EXPECT_EQ (slice (*labels[i], 2, 16), guidBytes (kTianoGuid));
    EXPECT_EQ (labels[i]->u8 (18), 0); // EFI_IFR_EXTEND_OP_LABEL
    EXPECT_EQ (labels[i]->u16 (19), i == 0 ? LABEL_START : LABEL_END);
  }
}

TEST (SampleForms, IdHeader_AgreesWithThePackage) {
  static_assert (SAMPLE_VARSTORE_SampleVar == 1 && SAMPLE_VARSTORE_SampleVar_SIZE == sizeof (SAMPLE_VAR));
  static_assert (SAMPLE_FORM_FORM_MAIN == FORM_MAIN && SAMPLE_FORM_FORM_DETAILS == FORM_DETAILS);
  static_assert (SAMPLE_LABEL_LABEL_START == LABEL_START && SAMPLE_LABEL_LABEL_END == LABEL_END);
  const uint16_t named[] = {SAMPLE_QID_QID_COUNT,
                            SAMPLE_QID_SampleVar_Scope,
                            SAMPLE_QID_GridCell,
                            SAMPLE_QID_SampleVar_Slots_5_Socket,
                            SAMPLE_QID_SampleVar_Present_2,
                            SAMPLE_QID_0204};
  for (uint16_t qid : named) {
    EXPECT_NE (ifr::findQuestion (sampleOps (), qid), nullptr) << qid;
  }
  EXPECT_EQ (question (SAMPLE_QID_SampleVar_Present_2).varOffset (), offsetof (SAMPLE_VAR, Present) + 2);
}

// ---------------------------------------------------------------------------
// Sources compiled at test time.

namespace {

const char kTypes[] = "#pragma pack(1)\n"
                      "typedef struct { UINT8 A; UINT16 B; } SMALL;\n"
                      "#pragma pack()\n"
                      "typedef struct { UINT8 Flag; UINT32 Value; UINT8 Tail; } NATURAL;\n";

std::string wrapForm (const std::string &declarations, const std::string &formBody, const std::string &header = "") {
  return "#include \"Types.h\"\n" + header +
         "formset guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, title = STRING_TOKEN(1), help = STRING_TOKEN(2),\n" +
         declarations + "\n  form formid = 1, title = STRING_TOKEN(3);\n" + formBody + "\n  endform;\nendformset;\n";
}

std::vector<ifr::Op> compileOk (const std::string &vfr, const std::vector<std::string> &args = {},
                                std::map<std::string, std::string> files = {}) {
  files.emplace ("Types.h", kTypes);
  files["Test.vfr"] = vfr;
  ToolResult result = runVfrc (files, "Test.vfr", args);
  EXPECT_EQ (result.exitCode, 0) << result.diagnostics;
  if (result.exitCode != 0) {
    return {};
  }
  return ifr::decodeFormsPackage (result.package.data (), result.package.size ());
}

const char kNumeric[] = "numeric varid = %s, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), minimum = 0, "
                        "maximum = 1, endnumeric;\n";

std::string numericOn (const std::string &field) {
  std::string s = kNumeric;
  return s.replace (s.find ("%s"), 2, field);
}

} // namespace

TEST (VfrCompiler, StructWithoutPack_UsesNaturalAlignment) {
  const auto top = compileOk (wrapForm ("varstore NATURAL, name = N, guid = {1,2,3,{4,5,6,7,8,9,10,11}};\n"
                                        "varstore SMALL, name = S, guid = {1,2,3,{4,5,6,7,8,9,10,11}};",
                                        numericOn ("N.Value") + numericOn ("N.Tail") + numericOn ("S.B")));
  ASSERT_EQ (top.size (), 1u);
  const auto stores = ifr::findAll (top, ifr::VarStore);
  ASSERT_EQ (stores.size (), 2u);
  EXPECT_EQ (stores[0]->u16 (18), 1); // ids assigned in declaration order
  EXPECT_EQ (stores[0]->u16 (20), 12);
  EXPECT_EQ (stores[1]->u16 (18), 2);
  EXPECT_EQ (stores[1]->u16 (20), 3);
  const auto numerics = ifr::findAll (top, ifr::Numeric);
  ASSERT_EQ (numerics.size (), 3u);
  EXPECT_EQ (numerics[0]->varOffset (), 4);
  EXPECT_EQ (numerics[1]->varOffset (), 8);
  EXPECT_EQ (numerics[2]->varOffset (), 1);
  EXPECT_EQ (numerics[2]->varStoreId (), 2);
}

TEST (VfrCompiler, EfiVarStoreAndDefaultClass_EncodeAsBrowserExpects) {
  const auto top =
      compileOk (wrapForm ("efivarstore SMALL, varid = 7, name = NvVar, guid = {1,2,3,{4,5,6,7,8,9,10,11}},\n"
                           "  attribute = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;",
                           numericOn ("NvVar.B")));
  ASSERT_EQ (top.size (), 1u);
  // No classguid: the platform-setup class, as the EDK II compiler does.
  EXPECT_EQ (top[0].length (), 39u);
  EXPECT_EQ (top[0].u8 (22), 1);
  EXPECT_EQ (slice (top[0], 23, 16), guidBytes (kPlatformSetupClass));
  const auto stores = ifr::findAll (top, ifr::VarStoreEfi);
  ASSERT_EQ (stores.size (), 1u);
  const ifr::Op &store = *stores[0];
  EXPECT_EQ (store.length (), 26u + 6);
  EXPECT_EQ (store.u16 (2), 7);
  EXPECT_EQ (slice (store, 4, 16), guidBytes ({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}));
  EXPECT_EQ (store.le (20, 4), 3u);
  EXPECT_EQ (store.u16 (24), 3);
  EXPECT_EQ (std::string (store.bytes.begin () + 26, store.bytes.end ()), std::string ("NvVar", 6));
  EXPECT_EQ (ifr::findAll (top, ifr::Numeric)[0]->varStoreId (), 7);
}

TEST (VfrCompiler, OpcodeSizeLimits_AcceptUpTo127Bytes) {
  std::string values;
  for (int i = 0; i < 60; ++i) {
    values += " " + std::to_string (i);
  }
  const std::string longName (104, 'N'); // VARSTORE: 22 + 104 + NUL = 127
  const auto top = compileOk (wrapForm ("varstore SMALL, name = " + longName + ", guid = {1,2,3,{4,5,6,7,8,9,10,11}};",
                                        numericOn (longName + ".A") + "suppressif ideqvallist " + longName +
                                            ".A ==" + values + ";\n" + numericOn (longName + ".B") + "endif;"));
  ASSERT_EQ (top.size (), 1u);
  EXPECT_EQ (ifr::findAll (top, ifr::VarStore)[0]->length (), 127u);
  EXPECT_EQ (ifr::findAll (top, ifr::EqIdValList)[0]->length (), 126u);
}

TEST (VfrCompiler, Preprocessor_SelectsBranchesAndSearchesIncludeFolders) {
  const std::string vfr =
      "#include \"Types.h\"\n#include \"Strings.h\"\n#include \"Strings.h\"\n"
      "#if defined(VARIANT) && VARIANT > 1\n#define TITLE STR_B\n"
      "#elif defined VARIANT\n#define TITLE STR_A\n#else\n#error no variant\n#endif\n"
      "formset guid = {1,2,3,{4,5,6,7,8,9,10,11}}, title = STRING_TOKEN(TITLE), help = STRING_TOKEN(STR_A),\n"
      " form formid = 1, title = STRING_TOKEN(TITLE);\n"
      "  suppressif TRUE; text help = STRING_TOKEN(STR_A), text = STRING_TOKEN(0x10 + 1); endif;\n"
      " endform;\nendformset;\n";
  // A header shared with C code: include guard by #pragma once, its own TRUE
  // and a function-like macro, none of which may disturb the forms.
  const std::map<std::string, std::string> files = {
      {"inc/Strings.h", "#pragma once\n#define STR_A 0x0021\n#define STR_B 0x0022\n#define TRUE ((BOOLEAN)(1==1))\n"
                        "#define PICK(x) (x)\n"}};
  for (const auto &[define, title] :
       std::vector<std::pair<std::string, uint16_t>>{{"VARIANT=2", 0x22}, {"VARIANT", 0x21}}) {
    SCOPED_TRACE (define);
    const auto top = compileOk (vfr, {"-D", define, "-I", "%DIR%/inc"}, files);
    ASSERT_EQ (top.size (), 1u);
    EXPECT_EQ (top[0].u16 (18), title);
    const auto suppress = ifr::findAll (top, ifr::SuppressIf);
    ASSERT_EQ (suppress.size (), 1u);
    EXPECT_EQ (shape (ifr::flattenExpression (*suppress[0])),
               (std::vector<std::pair<uint8_t, bool>>{{ifr::True, false}}));
    EXPECT_EQ (suppress[0]->children.at (1).u16 (2), 0x11);
  }
}

TEST (VfrCompiler, ExpressionConstants_UseTheNarrowestIntegerOpcode) {
  const auto top = compileOk (
      wrapForm ("defaultstore Mfg, attribute = 1;\n  varstore WIDE, name = W, guid = {1,2,3,{4,5,6,7,8,9,10,11}};",
                "numeric varid = W.Big, prompt = STRING_TOKEN(4), help = STRING_TOKEN(5), minimum = 0,\n"
                "  maximum = 0xFFFFFFFFFFFFFFFF, default value = cond(FALSE ? 0x12345678 : 0x123456789A),\n"
                "  default value = 7, defaultstore = Mfg, endnumeric;"),
      {}, {{"Types.h", std::string (kTypes) + "typedef struct { UINT64 Big; } WIDE;\n"}});
  const auto numerics = ifr::findAll (top, ifr::Numeric);
  ASSERT_EQ (numerics.size (), 1u);
  const auto &defaults = numerics[0]->children;
  ASSERT_EQ (defaults.size (), 2u);
  for (size_t store = 0; store < 2; ++store) {
    EXPECT_EQ (defaults[store].code, ifr::Default);
    EXPECT_TRUE (defaults[store].scope);
    EXPECT_EQ (defaults[store].u16 (2), store);
    EXPECT_EQ (defaults[store].u8 (4), 0x08);
    ASSERT_EQ (defaults[store].children.size (), 1u);
  }
  const auto chosen = ifr::flattenExpression (defaults[0].children[0]);
  ASSERT_EQ (shape (chosen),
             (std::vector<std::pair<uint8_t, bool>>{
                 {ifr::False, true}, {ifr::Uint32, false}, {ifr::Uint64, false}, {ifr::Conditional, false}}));
  EXPECT_EQ (chosen[1]->length (), 6u);
  EXPECT_EQ (chosen[1]->le (2, 4), 0x12345678u);
  EXPECT_EQ (chosen[2]->length (), 10u);
  EXPECT_EQ (chosen[2]->le (2, 8), 0x123456789Au);
  // "default value = <constant>" keeps the expression form, with a one-opcode expression.
  const auto constant = ifr::flattenExpression (defaults[1].children[0]);
  ASSERT_EQ (shape (constant), (std::vector<std::pair<uint8_t, bool>>{{ifr::Uint8, false}}));
  EXPECT_EQ (constant[0]->u8 (2), 7);
}

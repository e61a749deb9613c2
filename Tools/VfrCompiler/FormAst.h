// The parsed form set: what the parser builds, the resolver completes and
// the IFR encoder writes out.
#pragma once

#include "StructTypes.h"
#include "Token.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace carvex::vfr {

using Guid = std::array<uint8_t, 16>; // in memory order (first three fields little-endian)

struct VarStore {
  enum class Kind { Buffer, Efi };
  Kind            kind = Kind::Buffer;
  std::string     name;
  const TypeInfo *type = nullptr;
  uint16_t        id = 0; // 0 until assigned
  Guid            guid{};
  uint32_t        attributes = 0; // EFI variable stores only
  SourceLoc       loc;
};

// A question's storage: a field of a variable store.
struct FieldBinding {
  const VarStore *store = nullptr;
  FieldView       view;

  uint32_t offset () const {
    return view.offset;
  }
  uint32_t size () const {
    return view.size ();
  }
  bool sameStorage (const FieldBinding &o) const {
    return store == o.store && offset () == o.offset () && size () == o.size ();
  }
};

struct Statement;

// A question named in a condition, by field or by question name.
struct QuestionRef {
  SourceLoc                   loc;
  std::string                 text; // as written, for messages
  std::string                 name; // set when referring by question name
  std::optional<FieldBinding> field;
  const Statement            *target = nullptr; // filled by the resolver
};

struct Expr {
  enum class Op { EqIdVal, EqIdValList, EqIdId, True, False, Constant, Not, And, Or, Conditional, CompareIdVal };
  // CompareIdVal: "ideqval q < n" and friends; the IFR comparison opcode.
  enum class Compare : uint8_t { Greater = 0x31, GreaterEqual = 0x32, Less = 0x33, LessEqual = 0x34 };
  Op                                 op = Op::True;
  Compare                            compare = Compare::Less;
  SourceLoc                          loc;
  std::vector<QuestionRef>           refs;     // EqIdVal/EqIdValList/CompareIdVal: 1, EqIdId: 2
  std::vector<uint64_t>              values;   // EqIdVal, EqIdValList, CompareIdVal, Constant
  std::vector<std::unique_ptr<Expr>> operands; // Not: 1, And/Or: 2, Conditional: 3
};

struct QuestionDefault {
  SourceLoc             loc;
  uint16_t              storeId = 0;          // default store: 0 standard, 1 manufacturing
  std::unique_ptr<Expr> expr;                 // a Constant/True/False is a plain value; anything else an expression
  bool                  asExpression = false; // "default value = ...": always the expression encoding

  bool isConstant () const {
    return !asExpression &&
           (expr->op == Expr::Op::Constant || expr->op == Expr::Op::True || expr->op == Expr::Op::False);
  }
  uint64_t constant () const {
    return expr->op == Expr::Op::Constant ? expr->values[0] : expr->op == Expr::Op::True;
  }
};

enum class StmtKind {
  Subtitle,
  Text,
  Numeric,
  OneOf,
  Option,
  CheckBox,
  String,
  Password,
  Action,
  Goto,
  Label,
  SuppressIf,
  GrayOutIf,
  DisableIf
};

const char *kindName (StmtKind kind);
bool        isQuestion (StmtKind kind);
bool        hasValue (StmtKind kind); // questions a condition can compare: numeric, one-of, check box

struct Statement {
  StmtKind  kind = StmtKind::Text;
  SourceLoc loc;

  // Strings: prompt (also subtitle/text text and option text), help, second text line.
  uint16_t prompt = 0, help = 0, text2 = 0;

  // Questions.
  uint16_t                    qid = 0;
  bool                        qidExplicit = false;
  std::string                 qname;    // name = X
  std::string                 idSymbol; // macro the question id was written with, if any
  std::optional<FieldBinding> var;
  uint8_t                     qflags = 0;  // question header flags
  uint8_t                     opFlags = 0; // opcode-specific flags

  // Numeric and one-of range; one-of without an explicit range takes its options' span.
  uint64_t minimum = 0, maximum = 0, step = 0;
  bool     rangeGiven = false;

  // String and password lengths (characters); action configuration string.
  uint16_t minSize = 0, maxSize = 0, config = 0;

  // Goto: target form and optional target question.
  uint16_t  targetForm = 0, targetQuestion = 0;
  SourceLoc targetLoc;

  // Label number and the macro it was written with.
  uint16_t    label = 0;
  std::string labelSymbol;

  // One-of option.
  uint64_t optionValue = 0;
  uint8_t  optionFlags = 0;

  std::vector<QuestionDefault>            defaults;
  std::unique_ptr<Expr>                   condition; // suppressif/grayoutif/disableif
  std::vector<std::unique_ptr<Statement>> body;      // options of a one-of; guarded items of a condition

  // Storage width in bytes of a numeric, one-of or check box.
  uint8_t width () const {
    return var ? static_cast<uint8_t> (var->size ()) : 0;
  }
};

struct DefaultStore {
  std::string name;
  uint16_t    id = 0;
  uint16_t    prompt = 0;
  SourceLoc   loc;
};

struct Form {
  SourceLoc                               loc;
  uint16_t                                id = 0;
  std::string                             idSymbol;
  uint16_t                                title = 0;
  std::vector<std::unique_ptr<Statement>> body;
};

struct FormSet {
  std::unique_ptr<TypeTable>             types; // owns the struct layouts the stores and fields point into
  SourceLoc                              loc;
  Guid                                   guid{};
  uint16_t                               title = 0, help = 0;
  std::vector<Guid>                      classGuids;
  std::vector<DefaultStore>              defaultStores;
  std::vector<std::unique_ptr<VarStore>> stores;
  std::vector<std::unique_ptr<Form>>     forms;
};

} // namespace carvex::vfr

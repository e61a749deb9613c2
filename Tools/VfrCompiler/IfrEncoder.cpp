#include "IfrEncoder.h"

#include <initializer_list>

namespace carvex::vfr {

namespace {

// Opcodes used here.
enum : uint8_t {
  kForm = 0x01,
  kSubtitle = 0x02,
  kText = 0x03,
  kOneOf = 0x05,
  kCheckBox = 0x06,
  kNumeric = 0x07,
  kPassword = 0x08,
  kOneOfOption = 0x09,
  kSuppressIf = 0x0A,
  kAction = 0x0C,
  kFormSet = 0x0E,
  kRef = 0x0F,
  kEqIdVal = 0x12,
  kEqIdId = 0x13,
  kEqIdValList = 0x14,
  kAnd = 0x15,
  kOr = 0x16,
  kNot = 0x17,
  kGrayOutIf = 0x19,
  kString = 0x1C,
  kDisableIf = 0x1E,
  kVarStore = 0x24,
  kVarStoreEfi = 0x26,
  kEnd = 0x29,
  kConditional = 0x50,
  kQuestionRef1 = 0x40,
  kUint8 = 0x42,
  kUint16 = 0x43,
  kUint32 = 0x44,
  kUint64 = 0x45,
  kTrue = 0x46,
  kFalse = 0x47,
  kValue = 0x5A,
  kDefault = 0x5B,
  kDefaultStore = 0x5C,
  kGuidOp = 0x5F,
};
enum : uint8_t { kTypeNum8 = 0x00, kTypeBoolean = 0x04, kTypeOther = 0x08 };
constexpr uint8_t  kPackageForms = 0x02;
constexpr uint16_t kNoVarOffset = 0xFFFF; // question without storage
constexpr uint8_t  kPlatformSetupClass[16] = {0x71, 0x99, 0x03, 0x93, 0x45, 0x85, 0x04, 0x4B,
                                              0xB4, 0x5E, 0x32, 0xEB, 0x83, 0x26, 0x04, 0x0E};
constexpr uint8_t  kTianoGuid[16] = {0x35, 0x17, 0x0B, 0x0F, 0xA0, 0x87, 0x93, 0x41,
                                     0xB2, 0x66, 0x53, 0x8C, 0x38, 0xAF, 0x48, 0xCE};

class Op {
public:
  Op &u8 (uint64_t v) {
    return le (v, 1);
  }
  Op &u16 (uint64_t v) {
    return le (v, 2);
  }
  Op &u32 (uint64_t v) {
    return le (v, 4);
  }
  Op &le (uint64_t v, unsigned width) {
    for (unsigned i = 0; i < width; ++i) {
      bytes.push_back (static_cast<uint8_t> (v >> (8 * i)));
    }
    return *this;
  }
  Op &raw (const uint8_t *p, size_t n) {
    bytes.insert (bytes.end (), p, p + n);
    return *this;
  }
  std::vector<uint8_t> bytes;
};

unsigned widthCode (unsigned width) {
  return width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3;
}

class Encoder {
public:
  std::vector<uint8_t> run (const FormSet &fs) {
    out_ = {0, 0, 0, kPackageForms};
    Op set;
    set.raw (fs.guid.data (), 16).u16 (fs.title).u16 (fs.help);
    if (fs.classGuids.empty ()) {
      set.u8 (1).raw (kPlatformSetupClass, 16);
    } else {
      set.u8 (fs.classGuids.size ());
      for (const auto &g : fs.classGuids) {
        set.raw (g.data (), 16);
      }
    }
    emit (kFormSet, true, set, fs.loc);

    // Both standard stores always exist, as VfrCompiler makes them.
    for (uint16_t id : {uint16_t{0}, uint16_t{1}}) {
      uint16_t  prompt = 0;
      SourceLoc loc = fs.loc;
      for (const auto &ds : fs.defaultStores) {
        if (ds.id == id) {
          prompt = ds.prompt;
          loc = ds.loc;
        }
      }
      emit (kDefaultStore, false, Op ().u16 (prompt).u16 (id), loc);
    }
    for (const auto &s : fs.stores) {
      Op op;
      if (s->kind == VarStore::Kind::Buffer) {
        op.raw (s->guid.data (), 16).u16 (s->id).u16 (s->type->size);
      } else {
        op.u16 (s->id).raw (s->guid.data (), 16).u32 (s->attributes).u16 (s->type->size);
      }
      op.raw (reinterpret_cast<const uint8_t *> (s->name.c_str ()), s->name.size () + 1);
      emit (s->kind == VarStore::Kind::Buffer ? kVarStore : kVarStoreEfi, false, op, s->loc);
    }
    for (const auto &form : fs.forms) {
      emit (kForm, true, Op ().u16 (form->id).u16 (form->title), form->loc);
      statements (form->body);
      end ();
    }
    end ();
    const size_t length = out_.size ();
    if (length > 0xFFFFFF) {
      throw CompileError (fs.loc, "the forms package exceeds 16 MiB");
    }
    out_[0] = static_cast<uint8_t> (length);
    out_[1] = static_cast<uint8_t> (length >> 8);
    out_[2] = static_cast<uint8_t> (length >> 16);
    return std::move (out_);
  }

private:
  void emit (uint8_t opcode, bool scope, const Op &payload, const SourceLoc &loc) {
    const size_t length = payload.bytes.size () + 2;
    if (length > 127) {
      throw CompileError (loc, "this opcode would be " + std::to_string (length) +
                                   " bytes; an IFR opcode is limited to 127");
    }
    out_.push_back (opcode);
    out_.push_back (static_cast<uint8_t> (length | (scope ? 0x80 : 0)));
    out_.insert (out_.end (), payload.bytes.begin (), payload.bytes.end ());
  }

  void end () {
    out_.insert (out_.end (), {kEnd, 0x02});
  }

  Op questionHeader (const Statement &s) {
    Op op;
    op.u16 (s.prompt).u16 (s.help).u16 (s.qid);
    if (s.var) {
      op.u16 (s.var->store->id).u16 (s.var->offset ());
    } else {
      op.u16 (0).u16 (kNoVarOffset);
    }
    return op.u8 (s.qflags);
  }

  void statements (const std::vector<std::unique_ptr<Statement>> &body) {
    for (const auto &s : body) {
      statement (*s);
    }
  }

  void statement (const Statement &s) {
    switch (s.kind) {
    case StmtKind::Subtitle:
      emit (kSubtitle, true, Op ().u16 (s.prompt).u16 (s.help).u8 (s.opFlags), s.loc);
      end ();
      break;
    case StmtKind::Text:
      emit (kText, false, Op ().u16 (s.prompt).u16 (s.help).u16 (s.text2), s.loc);
      break;
    case StmtKind::Numeric:
    case StmtKind::OneOf: {
      const unsigned w = s.width ();
      Op             op = questionHeader (s);
      op.u8 (s.opFlags).le (s.minimum, w).le (s.maximum, w).le (s.step, w);
      emit (s.kind == StmtKind::Numeric ? kNumeric : kOneOf, true, op, s.loc);
      optionWidth_ = w;
      statements (s.body);
      defaults (s, static_cast<uint8_t> (kTypeNum8 + widthCode (w)), w);
      end ();
      break;
    }
    case StmtKind::Option:
      option (s);
      break;
    case StmtKind::CheckBox:
      emit (kCheckBox, true, questionHeader (s).u8 (s.opFlags), s.loc);
      defaults (s, kTypeBoolean, 1);
      end ();
      break;
    case StmtKind::String:
      emit (kString, true, questionHeader (s).u8 (s.minSize).u8 (s.maxSize).u8 (s.opFlags), s.loc);
      end ();
      break;
    case StmtKind::Password:
      emit (kPassword, true, questionHeader (s).u16 (s.minSize).u16 (s.maxSize), s.loc);
      end ();
      break;
    case StmtKind::Action:
      emit (kAction, true, questionHeader (s).u16 (s.config), s.loc);
      end ();
      break;
    case StmtKind::Goto: {
      Op op = questionHeader (s).u16 (s.targetForm);
      if (s.targetQuestion != 0) {
        op.u16 (s.targetQuestion); // REF2
      }
      emit (kRef, false, op, s.loc);
      break;
    }
    case StmtKind::Label:
      emit (kGuidOp, false, Op ().raw (kTianoGuid, 16).u8 (0).u16 (s.label), s.loc);
      break;
    case StmtKind::SuppressIf:
    case StmtKind::GrayOutIf:
    case StmtKind::DisableIf: {
      const uint8_t code = s.kind == StmtKind::SuppressIf  ? kSuppressIf
                           : s.kind == StmtKind::GrayOutIf ? kGrayOutIf
                                                           : kDisableIf;
      emit (code, true, Op (), s.loc);
      expression (*s.condition);
      statements (s.body);
      end ();
      break;
    }
    }
  }

  // Options take the width of their one-of (set while its body is written).
  void option (const Statement &s) {
    const unsigned w = optionWidth_;
    emit (kOneOfOption, false,
          Op ().u16 (s.prompt).u8 (s.optionFlags).u8 (kTypeNum8 + widthCode (w)).le (s.optionValue, w), s.loc);
  }

  void defaults (const Statement &s, uint8_t type, unsigned width) {
    for (const auto &d : s.defaults) {
      if (d.isConstant ()) {
        emit (kDefault, false, Op ().u16 (d.storeId).u8 (type).le (d.constant (), width), d.loc);
      } else {
        emit (kDefault, true, Op ().u16 (d.storeId).u8 (kTypeOther), d.loc);
        emit (kValue, true, Op (), d.loc);
        expression (*d.expr);
        end ();
        end ();
      }
    }
  }

  // One root expression: postfix opcodes; when there is more than one, the
  // first carries the scope bit and an END closes the expression.
  void expression (const Expr &e) {
    const size_t start = out_.size ();
    size_t       count = 0;
    postfix (e, count);
    if (count > 1) {
      out_[start + 1] |= 0x80;
      end ();
    }
  }

  void postfix (const Expr &e, size_t &count) {
    for (const auto &operand : e.operands) {
      postfix (*operand, count);
    }
    ++count;
    switch (e.op) {
    case Expr::Op::EqIdVal:
      emit (kEqIdVal, false, Op ().u16 (e.refs[0].target->qid).u16 (e.values[0]), e.loc);
      break;
    case Expr::Op::EqIdId:
      emit (kEqIdId, false, Op ().u16 (e.refs[0].target->qid).u16 (e.refs[1].target->qid), e.loc);
      break;
    case Expr::Op::EqIdValList: {
      Op op;
      op.u16 (e.refs[0].target->qid).u16 (e.values.size ());
      for (uint64_t v : e.values) {
        op.u16 (v);
      }
      emit (kEqIdValList, false, op, e.loc);
      break;
    }
    case Expr::Op::CompareIdVal:
      emit (kQuestionRef1, false, Op ().u16 (e.refs[0].target->qid), e.loc);
      emit (kUint16, false, Op ().u16 (e.values[0]), e.loc);
      emit (static_cast<uint8_t> (e.compare), false, Op (), e.loc);
      count += 2;
      break;
    case Expr::Op::True:
      emit (kTrue, false, Op (), e.loc);
      break;
    case Expr::Op::False:
      emit (kFalse, false, Op (), e.loc);
      break;
    case Expr::Op::Constant: {
      // The narrowest integer opcode that holds the value.
      const uint64_t v = e.values[0];
      if (v <= 0xFF) {
        emit (kUint8, false, Op ().u8 (v), e.loc);
      } else if (v <= 0xFFFF) {
        emit (kUint16, false, Op ().u16 (v), e.loc);
      } else if (v <= 0xFFFFFFFF) {
        emit (kUint32, false, Op ().u32 (v), e.loc);
      } else {
        emit (kUint64, false, Op ().le (v, 8), e.loc);
      }
      break;
    }
    case Expr::Op::Not:
      emit (kNot, false, Op (), e.loc);
      break;
    case Expr::Op::And:
      emit (kAnd, false, Op (), e.loc);
      break;
    case Expr::Op::Or:
      emit (kOr, false, Op (), e.loc);
      break;
    case Expr::Op::Conditional:
      emit (kConditional, false, Op (), e.loc);
      break;
    }
  }

  std::vector<uint8_t> out_;
  unsigned             optionWidth_ = 1;
};

} // namespace

std::vector<uint8_t> encodeFormPackage (const FormSet &formSet) {
  return Encoder ().run (formSet);
}

} // namespace carvex::vfr

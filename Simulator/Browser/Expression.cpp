#include "Expression.hpp"

#include <vector>

namespace carvex::sim::browser {

namespace {

using Kind = ExprValue::Kind;

std::uint16_t U16(const std::uint8_t* op, std::size_t offset) {
  return static_cast<std::uint16_t>(op[offset] | (op[offset + 1] << 8));
}

std::uint64_t Le(const std::uint8_t* op, std::size_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= static_cast<std::uint64_t>(op[offset + i]) << (8 * i);
  }
  return value;
}

bool Numeric(const ExprValue& v) { return v.kind == Kind::Number || v.kind == Kind::Boolean; }

// -1, 0, 1; nullopt when the two cannot be compared.
std::optional<int> Compare(const ExprValue& a, const ExprValue& b) {
  if (Numeric(a) && Numeric(b)) {
    return a.number < b.number ? -1 : a.number > b.number ? 1 : 0;
  }
  if (a.kind == Kind::String && b.kind == Kind::String) {
    const int c = a.text.compare(b.text);
    return c < 0 ? -1 : c > 0 ? 1 : 0;
  }
  return std::nullopt;
}

class Machine {
 public:
  explicit Machine(const ExpressionContext& context) : context_(context) {}

  ExprValue Run(const Expression& expression) {
    const std::uint8_t* code = expression.code.data();
    const std::size_t size = expression.code.size();
    std::size_t pos = 0;
    while (pos + 2 <= size) {
      const std::size_t length = code[pos + 1] & 0x7F;
      if (length < 2 || pos + length > size) {
        return ExprValue::Undefined();
      }
      if (!Step(code + pos, length)) {
        return ExprValue::Undefined();
      }
      pos += length;
    }
    return stack_.size() == 1 ? stack_.back() : ExprValue::Undefined();
  }

 private:
  bool Pop(ExprValue& value) {
    if (stack_.empty()) {
      return false;
    }
    value = std::move(stack_.back());
    stack_.pop_back();
    return true;
  }
  bool Push(ExprValue value) {
    stack_.push_back(std::move(value));
    return true;
  }

  bool Binary(std::uint8_t code) {
    ExprValue right, left;
    if (!Pop(right) || !Pop(left)) {
      return false;
    }
    switch (code) {
      case EFI_IFR_AND_OP:
      case EFI_IFR_OR_OP:
        if (left.kind != Kind::Boolean || right.kind != Kind::Boolean) {
          return Push(ExprValue::Undefined());
        }
        return Push(ExprValue::Bool(code == EFI_IFR_AND_OP ? (left.number && right.number)
                                                            : (left.number || right.number)));
      case EFI_IFR_EQUAL_OP:
      case EFI_IFR_NOT_EQUAL_OP:
      case EFI_IFR_GREATER_THAN_OP:
      case EFI_IFR_GREATER_EQUAL_OP:
      case EFI_IFR_LESS_THAN_OP:
      case EFI_IFR_LESS_EQUAL_OP: {
        const auto c = Compare(left, right);
        if (!c) {
          return Push(ExprValue::Undefined());
        }
        bool result = false;
        switch (code) {
          case EFI_IFR_EQUAL_OP: result = *c == 0; break;
          case EFI_IFR_NOT_EQUAL_OP: result = *c != 0; break;
          case EFI_IFR_GREATER_THAN_OP: result = *c > 0; break;
          case EFI_IFR_GREATER_EQUAL_OP: result = *c >= 0; break;
          case EFI_IFR_LESS_THAN_OP: result = *c < 0; break;
          default: result = *c <= 0; break;
        }
        return Push(ExprValue::Bool(result));
      }
      default: break;
    }
    if (left.kind != Kind::Number || right.kind != Kind::Number) {
      return Push(ExprValue::Undefined());
    }
    const std::uint64_t a = left.number, b = right.number;
    switch (code) {
      case EFI_IFR_BITWISE_AND_OP: return Push(ExprValue::Number(a & b));
      case EFI_IFR_BITWISE_OR_OP: return Push(ExprValue::Number(a | b));
      case EFI_IFR_SHIFT_LEFT_OP: return Push(ExprValue::Number(b < 64 ? a << b : 0));
      case EFI_IFR_SHIFT_RIGHT_OP: return Push(ExprValue::Number(b < 64 ? a >> b : 0));
      case EFI_IFR_ADD_OP: return Push(ExprValue::Number(a + b));
      case EFI_IFR_SUBTRACT_OP: return Push(ExprValue::Number(a - b));
      case EFI_IFR_MULTIPLY_OP: return Push(ExprValue::Number(a * b));
      case EFI_IFR_DIVIDE_OP: return b == 0 ? Push(ExprValue::Undefined()) : Push(ExprValue::Number(a / b));
      default: return b == 0 ? Push(ExprValue::Undefined()) : Push(ExprValue::Number(a % b));
    }
  }

  bool Step(const std::uint8_t* op, std::size_t length) {
    const std::uint8_t code = op[0];
    switch (code) {
      case EFI_IFR_EQ_ID_VAL_OP: {
        if (length < 6) return false;
        const ExprValue q = context_.QuestionValue(U16(op, 2));
        return Push(Numeric(q) ? ExprValue::Bool(q.number == U16(op, 4)) : ExprValue::Undefined());
      }
      case EFI_IFR_EQ_ID_VAL_LIST_OP: {
        if (length < 6) return false;
        const ExprValue q = context_.QuestionValue(U16(op, 2));
        if (!Numeric(q)) return Push(ExprValue::Undefined());
        const std::size_t count = U16(op, 4);
        bool found = false;
        for (std::size_t i = 0; i < count && 6 + 2 * i + 2 <= length; ++i) {
          found = found || q.number == U16(op, 6 + 2 * i);
        }
        return Push(ExprValue::Bool(found));
      }
      case EFI_IFR_EQ_ID_ID_OP: {
        if (length < 6) return false;
        const auto c = Compare(context_.QuestionValue(U16(op, 2)), context_.QuestionValue(U16(op, 4)));
        return Push(c ? ExprValue::Bool(*c == 0) : ExprValue::Undefined());
      }
      case EFI_IFR_QUESTION_REF1_OP:
        if (length < 4) return false;
        return Push(context_.QuestionValue(U16(op, 2)));
      case EFI_IFR_THIS_OP: return Push(context_.ThisValue());
      case EFI_IFR_TRUE_OP: return Push(ExprValue::Bool(true));
      case EFI_IFR_FALSE_OP: return Push(ExprValue::Bool(false));
      case EFI_IFR_ZERO_OP: return Push(ExprValue::Number(0));
      case EFI_IFR_ONE_OP: return Push(ExprValue::Number(1));
      case EFI_IFR_ONES_OP: return Push(ExprValue::Number(~std::uint64_t{0}));
      case EFI_IFR_UNDEFINED_OP: return Push(ExprValue::Undefined());
      case EFI_IFR_UINT8_OP:
      case EFI_IFR_UINT16_OP:
      case EFI_IFR_UINT32_OP:
      case EFI_IFR_UINT64_OP: {
        const std::size_t width = code == EFI_IFR_UINT8_OP ? 1 : code == EFI_IFR_UINT16_OP ? 2 : code == EFI_IFR_UINT32_OP ? 4 : 8;
        if (length < 2 + width) return false;
        return Push(ExprValue::Number(Le(op, 2, width)));
      }
      case EFI_IFR_NOT_OP: {
        ExprValue v;
        if (!Pop(v)) return false;
        return Push(v.kind == Kind::Boolean ? ExprValue::Bool(!v.number) : ExprValue::Undefined());
      }
      case EFI_IFR_BITWISE_NOT_OP: {
        ExprValue v;
        if (!Pop(v)) return false;
        return Push(v.kind == Kind::Number ? ExprValue::Number(~v.number) : ExprValue::Undefined());
      }
      case EFI_IFR_TO_BOOLEAN_OP: {
        ExprValue v;
        if (!Pop(v)) return false;
        return Push(Numeric(v) ? ExprValue::Bool(v.number != 0) : ExprValue::Undefined());
      }
      case EFI_IFR_TO_UINT_OP: {
        ExprValue v;
        if (!Pop(v)) return false;
        return Push(Numeric(v) ? ExprValue::Number(v.number) : ExprValue::Undefined());
      }
      case EFI_IFR_DUP_OP:
        if (stack_.empty()) return false;
        return Push(stack_.back());
      case EFI_IFR_CONDITIONAL_OP: {
        // Pops the false branch, the true branch, then the condition.
        ExprValue whenFalse, whenTrue, condition;
        if (!Pop(whenFalse) || !Pop(whenTrue) || !Pop(condition)) return false;
        if (condition.kind != Kind::Boolean) return Push(ExprValue::Undefined());
        return Push(condition.number ? std::move(whenTrue) : std::move(whenFalse));
      }
      case EFI_IFR_AND_OP:
      case EFI_IFR_OR_OP:
      case EFI_IFR_EQUAL_OP:
      case EFI_IFR_NOT_EQUAL_OP:
      case EFI_IFR_GREATER_THAN_OP:
      case EFI_IFR_GREATER_EQUAL_OP:
      case EFI_IFR_LESS_THAN_OP:
      case EFI_IFR_LESS_EQUAL_OP:
      case EFI_IFR_BITWISE_AND_OP:
      case EFI_IFR_BITWISE_OR_OP:
      case EFI_IFR_SHIFT_LEFT_OP:
      case EFI_IFR_SHIFT_RIGHT_OP:
      case EFI_IFR_ADD_OP:
      case EFI_IFR_SUBTRACT_OP:
      case EFI_IFR_MULTIPLY_OP:
      case EFI_IFR_DIVIDE_OP:
      case EFI_IFR_MODULO_OP: return Binary(code);
      default: return false;
    }
  }

  const ExpressionContext& context_;
  std::vector<ExprValue> stack_;
};

class NoQuestions : public ExpressionContext {
 public:
  ExprValue QuestionValue(EFI_QUESTION_ID) const override { return ExprValue::Undefined(); }
};

}  // namespace

ExprValue Evaluate(const Expression& expression, const ExpressionContext& context) {
  return Machine(context).Run(expression);
}

bool IsTrue(const ExprValue& value) {
  return (value.kind == Kind::Boolean || value.kind == Kind::Number) && value.number != 0;
}

bool EvaluateConstant(const Expression& expression) { return IsTrue(Evaluate(expression, NoQuestions())); }

}  // namespace carvex::sim::browser

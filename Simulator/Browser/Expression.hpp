// Evaluation of IFR expressions (postfix): question comparisons, boolean
// logic, integer constants and arithmetic, and the conditional operator.
// An operator the browser does not know makes the whole result undefined.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "IfrModel.hpp"

namespace carvex::sim::browser {

struct ExprValue {
  enum class Kind { Undefined, Boolean, Number, String };
  Kind kind = Kind::Undefined;
  std::uint64_t number = 0;  // numbers; 0 or 1 for booleans
  std::u16string text;

  static ExprValue Undefined() { return {}; }
  static ExprValue Bool(bool value) { return {Kind::Boolean, value ? 1u : 0u, {}}; }
  static ExprValue Number(std::uint64_t value) { return {Kind::Number, value, {}}; }
  static ExprValue String(std::u16string value) { return {Kind::String, 0, std::move(value)}; }
};

// Where an expression reads question values.
class ExpressionContext {
 public:
  virtual ~ExpressionContext() = default;
  // Undefined when no question has this identifier.
  virtual ExprValue QuestionValue(EFI_QUESTION_ID id) const = 0;
  // The question the expression belongs to (checks use it).
  virtual ExprValue ThisValue() const { return ExprValue::Undefined(); }
};

ExprValue Evaluate(const Expression& expression, const ExpressionContext& context);

// A condition holds when its result is TRUE or a non-zero number.
bool IsTrue(const ExprValue& value);

// An expression that reads no question (form-set-level conditions).
bool EvaluateConstant(const Expression& expression);

}  // namespace carvex::sim::browser

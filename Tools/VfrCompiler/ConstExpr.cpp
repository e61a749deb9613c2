#include "ConstExpr.h"

namespace carvex::vfr {

namespace {

class Evaluator {
public:
  Evaluator (TokenCursor &c, UnknownIdentifiers u) : c_ (c), unknown_ (u) {
  }

  uint64_t conditional () {
    uint64_t cond = binary (0);
    if (c_.acceptPunct ("?")) {
      uint64_t a = conditional ();
      c_.expectPunct (":", "in a conditional expression");
      uint64_t b = conditional ();
      return cond ? a : b;
    }
    return cond;
  }

private:
  // Binary operators from loosest to tightest binding.
  static constexpr const char *kLevels[][6] = {
      {"||"},       {"&&"},     {"|"},           {"^"}, {"&"}, {"==", "!="}, {"<", ">", "<=", ">="},
      {"<<", ">>"}, {"+", "-"}, {"*", "/", "%"},
  };
  static constexpr int kLevelCount = sizeof kLevels / sizeof kLevels[0];

  uint64_t binary (int level) {
    if (level == kLevelCount) {
      return unary ();
    }
    uint64_t lhs = binary (level + 1);
    for (;;) {
      const Token &op = c_.peek ();
      bool         match = false;
      for (const char *candidate : kLevels[level]) {
        if (candidate != nullptr && op.isPunct (candidate)) {
          match = true;
        }
      }
      if (!match) {
        return lhs;
      }
      Token    opTok = c_.next ();
      uint64_t rhs = binary (level + 1);
      lhs = apply (opTok, lhs, rhs);
    }
  }

  uint64_t apply (const Token &op, uint64_t a, uint64_t b) {
    const std::string &o = op.text;
    if (o == "||")
      return (a || b) ? 1 : 0;
    if (o == "&&")
      return (a && b) ? 1 : 0;
    if (o == "|")
      return a | b;
    if (o == "^")
      return a ^ b;
    if (o == "&")
      return a & b;
    if (o == "==")
      return a == b;
    if (o == "!=")
      return a != b;
    if (o == "<")
      return a < b;
    if (o == ">")
      return a > b;
    if (o == "<=")
      return a <= b;
    if (o == ">=")
      return a >= b;
    if (o == "<<")
      return b >= 64 ? 0 : a << b;
    if (o == ">>")
      return b >= 64 ? 0 : a >> b;
    if (o == "+")
      return a + b;
    if (o == "-")
      return a - b;
    if (o == "*")
      return a * b;
    if (b == 0) {
      c_.failAt (op, "division by zero in a constant expression");
    }
    return o == "/" ? a / b : a % b;
  }

  uint64_t unary () {
    if (c_.acceptPunct ("-"))
      return 0 - unary ();
    if (c_.acceptPunct ("+"))
      return unary ();
    if (c_.acceptPunct ("~"))
      return ~unary ();
    if (c_.acceptPunct ("!"))
      return unary () == 0 ? 1 : 0;
    const Token &tok = c_.peek ();
    if (c_.acceptPunct ("(")) {
      uint64_t v = conditional ();
      c_.expectPunct (")", "to close '('");
      return v;
    }
    if (tok.kind == TokenKind::Number) {
      if (tok.badNumber) {
        c_.fail ("invalid integer constant '" + tok.text + "'");
      }
      return c_.next ().value;
    }
    if (tok.kind == TokenKind::Identifier && unknown_ == UnknownIdentifiers::AreZero) {
      c_.next ();
      return 0;
    }
    if (tok.kind == TokenKind::Identifier) {
      c_.fail ("'" + tok.text + "' is not a defined constant");
    }
    c_.fail ("expected a constant, found " + TokenCursor::describe (tok));
  }

  TokenCursor       &c_;
  UnknownIdentifiers unknown_;
};

} // namespace

uint64_t evalConstExpr (TokenCursor &cursor, UnknownIdentifiers unknown) {
  return Evaluator (cursor, unknown).conditional ();
}

bool startsConstExpr (const Token &token) {
  return token.kind == TokenKind::Number || token.isPunct ("(") || token.isPunct ("-") || token.isPunct ("~") ||
         token.isPunct ("+") || token.isPunct ("!");
}

} // namespace carvex::vfr

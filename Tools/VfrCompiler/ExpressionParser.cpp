// Conditions and expression defaults:
//   expr    := or [ '?' expr ':' expr ]
//   or      := and { OR and }
//   and     := unary { AND unary }
//   unary   := NOT unary | primary
//   primary := '(' expr ')' | TRUE | FALSE | constant-expression
//            | ideqval ref (== | < | <= | > | >=) value
//            | ideqvallist ref == value... | ideqid ref == ref
//            | cond '(' expr '?' expr ':' expr ')'
//   ref     := Store.field[index].field... | question-name
#include "ConstExpr.h"
#include "FormParser.h"

namespace carvex::vfr {

namespace {
constexpr size_t kMaxListValues = 60; // keeps EQ_ID_VAL_LIST within 127 bytes
}

std::unique_ptr<Expr> FormParser::makeExpr (Expr::Op op, const Token &at) {
  auto e = std::make_unique<Expr> ();
  e->op = op;
  e->loc = at.loc;
  return e;
}

std::unique_ptr<Expr> FormParser::parseExpression () {
  auto cond = parseOr ();
  if (!c_.peek ().isPunct ("?")) {
    return cond;
  }
  const Token &at = c_.next ();
  auto         e = makeExpr (Expr::Op::Conditional, at);
  e->operands.push_back (std::move (cond));
  e->operands.push_back (parseExpression ());
  c_.expectPunct (":", "in the conditional expression");
  e->operands.push_back (parseExpression ());
  return e;
}

std::unique_ptr<Expr> FormParser::parseOr () {
  auto lhs = parseAnd ();
  while (c_.peek ().isIdent ("OR")) {
    auto e = makeExpr (Expr::Op::Or, c_.next ());
    e->operands.push_back (std::move (lhs));
    e->operands.push_back (parseAnd ());
    lhs = std::move (e);
  }
  return lhs;
}

std::unique_ptr<Expr> FormParser::parseAnd () {
  auto lhs = parseUnary ();
  while (c_.peek ().isIdent ("AND")) {
    auto e = makeExpr (Expr::Op::And, c_.next ());
    e->operands.push_back (std::move (lhs));
    e->operands.push_back (parseUnary ());
    lhs = std::move (e);
  }
  return lhs;
}

std::unique_ptr<Expr> FormParser::parseUnary () {
  if (c_.peek ().isIdent ("NOT")) {
    auto e = makeExpr (Expr::Op::Not, c_.next ());
    e->operands.push_back (parseUnary ());
    return e;
  }
  return parsePrimary ();
}

std::unique_ptr<Expr> FormParser::parsePrimary () {
  const Token &at = c_.peek ();
  if (at.isPunct ("(")) {
    // A parenthesised constant expression, or a parenthesised condition.
    const size_t start = c_.position ();
    try {
      uint64_t v = evalConstExpr (c_, UnknownIdentifiers::AreErrors);
      auto     e = makeExpr (Expr::Op::Constant, at);
      e->values.push_back (v);
      return e;
    } catch (const CompileError &) {
      c_.seek (start);
    }
    c_.next ();
    auto inner = parseExpression ();
    c_.expectPunct (")", "to close '('");
    return inner;
  }
  if (at.kind == TokenKind::Number) {
    auto e = makeExpr (Expr::Op::Constant, at);
    e->values.push_back (evalConstExpr (c_, UnknownIdentifiers::AreErrors));
    return e;
  }
  if (at.isIdent ("TRUE") || at.isIdent ("FALSE")) {
    return makeExpr (at.isIdent ("TRUE") ? Expr::Op::True : Expr::Op::False, c_.next ());
  }
  if (at.isIdent ("ideqval") || at.isIdent ("ideqvallist") || at.isIdent ("ideqid")) {
    const std::string word = c_.next ().text;
    auto              e = makeExpr (word == "ideqval"  ? Expr::Op::EqIdVal
                                    : word == "ideqid" ? Expr::Op::EqIdId
                                                       : Expr::Op::EqIdValList,
                       at);
    e->refs.push_back (parseQuestionRef ());
    if (e->op == Expr::Op::EqIdVal) {
      // As EDK II: an ordering compare becomes question-ref, UINT16, compare.
      const struct {
        const char   *text;
        Expr::Compare compare;
      } orders[] = {{"<", Expr::Compare::Less},
                    {"<=", Expr::Compare::LessEqual},
                    {">", Expr::Compare::Greater},
                    {">=", Expr::Compare::GreaterEqual}};
      for (const auto &order : orders) {
        if (c_.peek ().isPunct (order.text)) {
          c_.next ();
          e->op = Expr::Op::CompareIdVal;
          e->compare = order.compare;
          e->values.push_back (parseCompareValue ("ideqval"));
          return e;
        }
      }
    }
    if (!c_.peek ().isPunct ("==")) {
      c_.fail (word + " compares with '==' only, found " + TokenCursor::describe (c_.peek ()));
    }
    c_.next ();
    if (e->op == Expr::Op::EqIdId) {
      e->refs.push_back (parseQuestionRef ());
    } else if (e->op == Expr::Op::EqIdVal) {
      e->values.push_back (parseCompareValue ("ideqval"));
    } else {
      do {
        if (e->values.size () == kMaxListValues) {
          c_.fail ("ideqvallist takes at most 60 values");
        }
        e->values.push_back (parseCompareValue ("ideqvallist"));
      } while (c_.peek ().kind == TokenKind::Number);
    }
    return e;
  }
  if (at.isIdent ("cond")) {
    c_.next ();
    c_.expectPunct ("(", "after 'cond'");
    auto inner = parseExpression ();
    if (inner->op != Expr::Op::Conditional) {
      c_.failAt (at, "cond needs 'condition ? value : value'");
    }
    c_.expectPunct (")", "to close 'cond('");
    return inner;
  }
  c_.fail ("expected an expression, found " + TokenCursor::describe (at));
}

uint16_t FormParser::parseCompareValue (const char *what) {
  const Token &t = c_.peek ();
  if (t.kind != TokenKind::Number || t.badNumber) {
    c_.fail (std::string ("expected a number to compare in ") + what + ", found " + TokenCursor::describe (t));
  }
  if (t.value > 0xFFFF) {
    c_.fail (std::string (what) + " compares 16-bit values; " + t.text + " does not fit");
  }
  return static_cast<uint16_t> (c_.next ().value);
}

QuestionRef FormParser::parseQuestionRef () {
  const Token &at = c_.peek ();
  QuestionRef  ref;
  ref.loc = at.loc;
  if (at.kind != TokenKind::Identifier) {
    c_.fail ("expected a question (Store.field or a question name), found " + TokenCursor::describe (at));
  }
  if (c_.peek (1).isPunct (".")) {
    ref.field = parseFieldRef ();
    ref.text = ref.field->view.path;
  } else {
    ref.name = c_.next ().text;
    ref.text = ref.name;
  }
  return ref;
}

} // namespace carvex::vfr

// Parses the form language (a strict subset of EDK II's VFR) from the
// preprocessed token stream into a FormSet. Struct definitions met on the way
// are handed to the StructReader, so field paths resolve to offsets as soon
// as they are read. References from conditions to questions are left for
// the resolver, because a question may be declared after the condition.
#pragma once

#include "FormAst.h"
#include "StructReader.h"
#include "TokenCursor.h"

#include <memory>
#include <vector>

namespace carvex::vfr {

class FormParser {
public:
  FormParser (const std::vector<Token> &tokens, const std::string &mainFile);

  std::unique_ptr<FormSet> parse ();

private:
  enum class Context { Form, OneOf };

  // Form set level.
  void parseFormSet ();
  void parseDefaultStore ();
  void parseVarStore (bool efi);
  void parseForm ();

  // Statements.
  std::unique_ptr<Statement> parseItem (Context context);
  std::unique_ptr<Statement> parseAttributed (StmtKind kind);
  std::unique_ptr<Statement> parseCondition (StmtKind kind, Context context);
  std::unique_ptr<Statement> parseLabel ();
  void                       parseAttribute (Statement &s, const std::string &key);
  void                       parseDefault (Statement &s);
  void                       finishQuestion (Statement &s);
  void                       checkRequired (const Statement &s, std::initializer_list<const char *> keys);
  void                       parseFlags (Statement &s);

  // Values.
  uint16_t     parseStringToken ();
  Guid         parseGuid ();
  uint64_t     parseConst (const char *what);
  uint64_t     parseConstMax (const char *what, uint64_t max);
  FieldBinding parseFieldRef ();
  VarStore    *findStore (const std::string &name) const;
  std::string  macroOfValue (size_t start) const; // the macro a value just read was written as, if it was one

  // Expressions (ExpressionParser.cpp).
  std::unique_ptr<Expr> parseExpression ();
  std::unique_ptr<Expr> parseOr ();
  std::unique_ptr<Expr> parseAnd ();
  std::unique_ptr<Expr> parseUnary ();
  std::unique_ptr<Expr> parsePrimary ();
  QuestionRef           parseQuestionRef ();
  uint16_t              parseCompareValue (const char *what);
  std::unique_ptr<Expr> makeExpr (Expr::Op op, const Token &at);

  const std::vector<Token>  &tokens_;
  std::string                mainFile_;
  TokenCursor                c_;
  std::unique_ptr<TypeTable> types_;
  PackState                  pack_;
  StructReader               structs_;
  std::unique_ptr<FormSet>   formSet_;
  Form                      *form_ = nullptr;

  // Per-statement state that does not belong in the tree.
  std::vector<std::string> seenKeys_;
  int                      sizeFlag_ = -1; // NUMERIC_SIZE_n given in flags
  bool                     displayGiven_ = false;
};

} // namespace carvex::vfr

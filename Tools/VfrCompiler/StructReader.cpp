#include "StructReader.h"

#include "ConstExpr.h"

namespace carvex::vfr {

namespace {

bool isQualifier (const Token &t) {
  return t.isIdent ("const") || t.isIdent ("CONST") || t.isIdent ("volatile");
}

} // namespace

void PackState::apply (const Token &pragma) {
  switch (pragma.pack) {
  case PackAction::Push:
    stack_.push_back (current_);
    if (pragma.value != 0) {
      current_ = static_cast<uint32_t> (pragma.value);
    }
    break;
  case PackAction::Pop:
    if (!stack_.empty ()) {
      current_ = stack_.back ();
      stack_.pop_back ();
    }
    break;
  case PackAction::Set:
    current_ = static_cast<uint32_t> (pragma.value);
    break;
  }
}

bool StructReader::read (TokenCursor &c) {
  const size_t start = c.position ();
  const Token  first = c.peek ();
  const bool   typedef_ = c.acceptIdent ("typedef");
  while (isQualifier (c.peek ())) {
    c.next ();
  }
  if (c.peek ().isIdent ("struct")) {
    const Token &structTok = c.next ();
    std::string  tag;
    if (c.peek ().kind == TokenKind::Identifier) {
      tag = c.next ().text;
    }
    const TypeInfo *type = nullptr;
    if (c.peek ().isPunct ("{")) {
      type = readBody (c, tag, structTok);
      if (!tag.empty ()) {
        types_.bind (tag, type);
      }
    } else if (!tag.empty ()) {
      type = types_.find (tag); // a use of an earlier (or forward) tag
    } else {
      c.seek (start);
      return false;
    }
    // Declarators: typedef names, or variables (ignored).
    while (!c.peek ().isPunct (";") && !c.atEnd ()) {
      bool pointer = false;
      while (c.acceptPunct ("*")) {
        pointer = true;
      }
      if (c.peek ().kind != TokenKind::Identifier) {
        break;
      }
      const Token &name = c.next ();
      if (typedef_ && !pointer && type != nullptr && !c.peek ().isPunct ("[")) {
        types_.bind (name.text, type);
      }
      while (!c.peek ().isPunct (",") && !c.peek ().isPunct (";") && !c.atEnd ()) {
        c.next (); // array dimensions of an ignored declarator
      }
      c.acceptPunct (",");
    }
    if (!c.acceptPunct (";")) {
      if (first.inMainFile) {
        c.fail ("expected ';' after the struct definition, found " + TokenCursor::describe (c.peek ()));
      }
      skipDeclaration (c);
    }
    return true;
  }
  if (typedef_ && c.peek ().kind == TokenKind::Identifier && c.peek (1).kind == TokenKind::Identifier &&
      c.peek (2).isPunct (";")) {
    // typedef OLD NEW;
    const TypeInfo *type = types_.find (c.next ().text);
    const Token    &name = c.next ();
    c.next ();
    if (type != nullptr) {
      types_.bind (name.text, type);
    }
    return true;
  }
  c.seek (start);
  return false;
}

TypeInfo *StructReader::readBody (TokenCursor &c, const std::string &name, const Token &at) {
  TypeInfo &type = types_.create ();
  type.name = name.empty () ? "<anonymous>" : name;
  type.isStruct = true;
  type.loc = at.loc;
  const uint32_t pack = pack_.current ();
  c.expectPunct ("{", "to open the struct");
  while (!c.peek ().isPunct ("}")) {
    if (c.atEnd ()) {
      c.failAt (at, "struct '" + type.name + "' is not closed");
    }
    readMember (c, type);
  }
  c.next ();
  if (type.invalidReason.empty ()) {
    if (type.fields.empty ()) {
      markInvalid (type, at, "it has no fields");
    } else {
      layoutStruct (type, pack);
    }
  }
  return &type;
}

void StructReader::readMember (TokenCursor &c, TypeInfo &owner) {
  const Token &start = c.peek ();
  while (isQualifier (c.peek ())) {
    c.next ();
  }
  const TypeInfo *type = nullptr;
  if (c.peek ().isIdent ("struct")) {
    const Token &structTok = c.next ();
    std::string  tag;
    if (c.peek ().kind == TokenKind::Identifier) {
      tag = c.next ().text;
    }
    if (c.peek ().isPunct ("{")) {
      TypeInfo *nested = readBody (c, tag, structTok);
      if (!tag.empty ()) {
        types_.bind (tag, nested);
      }
      if (!nested->invalidReason.empty ()) {
        markInvalid (owner, structTok, "nested struct: " + nested->invalidReason);
      }
      type = nested;
    } else {
      type = types_.find (tag);
      if (type == nullptr) {
        markInvalid (owner, structTok, "unknown type 'struct " + tag + "'");
      }
    }
  } else if (c.peek ().kind == TokenKind::Identifier && !c.peek (1).isPunct ("(")) {
    const Token &typeName = c.next ();
    type = types_.find (typeName.text);
    if (type == nullptr) {
      markInvalid (owner, typeName, "unknown type '" + typeName.text + "'");
    } else if (!type->invalidReason.empty ()) {
      markInvalid (owner, typeName, "field of type '" + typeName.text + "': " + type->invalidReason);
    }
  } else {
    markInvalid (owner, start, "unsupported member");
  }
  if (type == nullptr || !type->invalidReason.empty ()) {
    skipMember (c);
    return;
  }
  readDeclarators (c, owner, type);
}

void StructReader::readDeclarators (TokenCursor &c, TypeInfo &owner, const TypeInfo *type) {
  for (;;) {
    if (c.peek ().isPunct ("*")) {
      markInvalid (owner, c.peek (), "pointer field");
      skipMember (c);
      return;
    }
    if (c.peek ().kind != TokenKind::Identifier) {
      markInvalid (owner, c.peek (), "expected a field name, found " + TokenCursor::describe (c.peek ()));
      skipMember (c);
      return;
    }
    FieldInfo field;
    field.loc = c.peek ().loc;
    field.name = c.next ().text;
    field.type = type;
    while (c.acceptPunct ("[")) {
      try {
        uint64_t n = evalConstExpr (c, UnknownIdentifiers::AreErrors);
        if (n == 0 || n > 0xFFFFFF) {
          throw CompileError (field.loc, "array '" + field.name + "' has a bad dimension");
        }
        field.dims.push_back (static_cast<uint32_t> (n));
        c.expectPunct ("]", "after the array dimension");
      } catch (const CompileError &e) {
        markInvalid (owner, c.peek (), "field '" + field.name + "': " + e.what ());
        skipMember (c);
        return;
      }
    }
    if (c.peek ().isPunct (":")) {
      markInvalid (owner, c.peek (), "bit-field '" + field.name + "'");
      skipMember (c);
      return;
    }
    if (owner.field (field.name) != nullptr) {
      markInvalid (owner, c.peek (), "duplicate field '" + field.name + "'");
    }
    owner.fields.push_back (std::move (field));
    if (c.acceptPunct (";")) {
      return;
    }
    if (!c.acceptPunct (",")) {
      markInvalid (owner, c.peek (), "unexpected " + TokenCursor::describe (c.peek ()) + " in a field declaration");
      skipMember (c);
      return;
    }
  }
}

void StructReader::skipMember (TokenCursor &c) {
  int depth = 0;
  while (!c.atEnd ()) {
    const Token &t = c.peek ();
    if (depth == 0 && t.isPunct ("}")) {
      return; // end of the enclosing struct; leave it to the caller
    }
    c.next ();
    if (t.isPunct ("{") || t.isPunct ("(")) {
      ++depth;
    } else if (t.isPunct ("}") || t.isPunct (")")) {
      --depth;
      if (depth == 0 && t.isPunct ("}") && !c.peek ().isPunct (";")) {
        return; // an inline member function body
      }
    } else if (depth == 0 && t.isPunct (";")) {
      return;
    }
  }
}

void StructReader::markInvalid (TypeInfo &type, const Token &at, const std::string &reason) {
  if (at.inMainFile) {
    throw CompileError (at.loc, "struct '" + type.name + "': " + reason);
  }
  if (type.invalidReason.empty ()) {
    type.invalidReason = reason + " (" + at.loc.file + ":" + std::to_string (at.loc.line) + ")";
  }
}

void StructReader::skipDeclaration (TokenCursor &c) {
  // extern "C" { ... } contributes its contents; only the opening is skipped.
  if (c.peek ().isIdent ("extern") && c.peek (1).kind == TokenKind::String && c.peek (2).isPunct ("{")) {
    c.next ();
    c.next ();
    c.next ();
    return;
  }
  if (c.peek ().isPunct ("}")) {
    c.next (); // the end of an extern "C" block
    return;
  }
  const bool   namespaceDecl = c.peek ().isIdent ("namespace");
  int          depth = 0;
  bool         bodyEndsDecl = false;
  const Token *previous = nullptr;
  while (!c.atEnd ()) {
    const Token &t = c.next ();
    if (t.kind == TokenKind::Pragma) {
      pack_.apply (t);
    } else if (t.isPunct ("{") || t.isPunct ("(") || t.isPunct ("[")) {
      if (depth == 0 && t.isPunct ("{")) {
        bodyEndsDecl = namespaceDecl ||
                       (previous != nullptr && (previous->isPunct (")") || previous->isIdent ("const") ||
                                                previous->isIdent ("noexcept") || previous->isIdent ("override")));
      }
      ++depth;
    } else if (t.isPunct ("}") || t.isPunct (")") || t.isPunct ("]")) {
      --depth;
      if (depth == 0 && t.isPunct ("}") && bodyEndsDecl) {
        return;
      }
    } else if (depth == 0 && t.isPunct (";")) {
      return;
    }
    previous = &t;
  }
}

} // namespace carvex::vfr

// Reads the struct definitions that type the variable stores from the token
// stream: typedef struct { ... } NAME;, struct Tag { ... };, typedef aliases,
// nested and anonymous structs, arrays with constant dimensions. Headers are
// shared with C++ code, so anything else in them is skipped, and a struct the
// layout cannot follow (bit-fields, pointers, unknown types) is recorded with
// the reason and reported only if a variable store uses it.
#pragma once

#include "StructTypes.h"
#include "TokenCursor.h"

#include <vector>

namespace carvex::vfr {

class PackState {
public:
  void     apply (const Token &pragma);
  uint32_t current () const {
    return current_;
  }

private:
  std::vector<uint32_t> stack_;
  uint32_t              current_ = 0; // 0: natural alignment
};

class StructReader {
public:
  StructReader (TypeTable &types, PackState &pack) : types_ (types), pack_ (pack) {
  }

  // At "typedef" or "struct": reads one declaration and returns true, or
  // returns false with the cursor unchanged when it is some other kind of
  // typedef (function pointers, unions). In the main form file a struct the
  // layout cannot follow is an error; in a header it is only marked invalid.
  bool read (TokenCursor &cursor);

  // Skips one header declaration the form compiler has no use for.
  void skipDeclaration (TokenCursor &cursor);

private:
  TypeInfo *readBody (TokenCursor &cursor, const std::string &name, const Token &at);
  void      readMember (TokenCursor &cursor, TypeInfo &owner);
  void      readDeclarators (TokenCursor &cursor, TypeInfo &owner, const TypeInfo *type);
  void      skipMember (TokenCursor &cursor);
  void      markInvalid (TypeInfo &type, const Token &at, const std::string &reason);

  TypeTable &types_;
  PackState &pack_;
};

} // namespace carvex::vfr

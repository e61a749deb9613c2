// Layout of the C structs that type the variable stores: sizes, alignments
// and field offsets, computed the way a C compiler does under #pragma pack.
#pragma once

#include "Token.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace carvex::vfr {

enum class ScalarKind { None, Unsigned, Signed, Char8, Char16, Boolean, Guid };

struct TypeInfo;

struct FieldInfo {
  std::string           name;
  const TypeInfo       *type = nullptr;
  std::vector<uint32_t> dims; // array dimensions, outermost first
  uint32_t              offset = 0;
  SourceLoc             loc;
};

struct TypeInfo {
  std::string            name;
  bool                   isStruct = false;
  ScalarKind             scalar = ScalarKind::None;
  uint32_t               size = 0;
  uint32_t               align = 1;
  std::vector<FieldInfo> fields;
  std::string            invalidReason; // set when a header struct uses something the layout cannot follow
  SourceLoc              loc;

  const FieldInfo *field (const std::string &fieldName) const;
  bool             isInteger () const {
                return scalar == ScalarKind::Unsigned || scalar == ScalarKind::Signed;
  }
};

class TypeTable {
public:
  TypeTable (); // knows the UEFI and <stdint.h> fixed-width types

  const TypeInfo *find (const std::string &name) const;
  TypeInfo       &create ();
  void            bind (const std::string &name, const TypeInfo *type);

private:
  std::deque<TypeInfo>                    storage_;
  std::map<std::string, const TypeInfo *> names_;
};

// A place inside a store's struct, narrowed by ".member" and "[index]".
struct FieldView {
  const TypeInfo       *type = nullptr;
  std::vector<uint32_t> dims; // dimensions not yet indexed
  uint32_t              offset = 0;
  std::string           path;

  uint32_t size () const;
  bool     isScalar () const {
        return dims.empty () && !type->isStruct;
  }
};

// Both return an error message, or an empty string on success.
std::string selectMember (FieldView &view, const std::string &name);
std::string selectIndex (FieldView &view, uint64_t index);

// Lays out `type`'s fields (already parsed, offsets unset) under `pack`
// (0 = natural alignment).
void layoutStruct (TypeInfo &type, uint32_t pack);

} // namespace carvex::vfr

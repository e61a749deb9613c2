#include "StructTypes.h"

namespace carvex::vfr {

namespace {

struct BuiltinType {
  const char *name;
  ScalarKind  scalar;
  uint32_t    size;
  uint32_t    align;
};

const BuiltinType kBuiltins[] = {
    {"UINT8", ScalarKind::Unsigned, 1, 1},
    {"UINT16", ScalarKind::Unsigned, 2, 2},
    {"UINT32", ScalarKind::Unsigned, 4, 4},
    {"UINT64", ScalarKind::Unsigned, 8, 8},
    {"INT8", ScalarKind::Signed, 1, 1},
    {"INT16", ScalarKind::Signed, 2, 2},
    {"INT32", ScalarKind::Signed, 4, 4},
    {"INT64", ScalarKind::Signed, 8, 8},
    {"uint8_t", ScalarKind::Unsigned, 1, 1},
    {"uint16_t", ScalarKind::Unsigned, 2, 2},
    {"uint32_t", ScalarKind::Unsigned, 4, 4},
    {"uint64_t", ScalarKind::Unsigned, 8, 8},
    {"int8_t", ScalarKind::Signed, 1, 1},
    {"int16_t", ScalarKind::Signed, 2, 2},
    {"int32_t", ScalarKind::Signed, 4, 4},
    {"int64_t", ScalarKind::Signed, 8, 8},
    {"CHAR8", ScalarKind::Char8, 1, 1},
    {"char", ScalarKind::Char8, 1, 1},
    {"CHAR16", ScalarKind::Char16, 2, 2},
    {"char16_t", ScalarKind::Char16, 2, 2},
    {"BOOLEAN", ScalarKind::Boolean, 1, 1},
    {"bool", ScalarKind::Boolean, 1, 1},
    {"EFI_GUID", ScalarKind::Guid, 16, 4},
    {"GUID", ScalarKind::Guid, 16, 4},
    {"EFI_STRING_ID", ScalarKind::Unsigned, 2, 2},
    {"EFI_QUESTION_ID", ScalarKind::Unsigned, 2, 2},
    {"EFI_FORM_ID", ScalarKind::Unsigned, 2, 2},
    {"EFI_VARSTORE_ID", ScalarKind::Unsigned, 2, 2},
    {"EFI_DEFAULT_ID", ScalarKind::Unsigned, 2, 2},
};

uint64_t product (const std::vector<uint32_t> &dims) {
  uint64_t n = 1;
  for (uint32_t d : dims) {
    n *= d;
  }
  return n;
}

} // namespace

const FieldInfo *TypeInfo::field (const std::string &fieldName) const {
  for (const auto &f : fields) {
    if (f.name == fieldName) {
      return &f;
    }
  }
  return nullptr;
}

TypeTable::TypeTable () {
  for (const auto &b : kBuiltins) {
    TypeInfo &t = create ();
    t.name = b.name;
    t.scalar = b.scalar;
    t.size = b.size;
    t.align = b.align;
    t.loc = {"<builtin>", 0};
    bind (b.name, &t);
  }
}

const TypeInfo *TypeTable::find (const std::string &name) const {
  auto it = names_.find (name);
  return it == names_.end () ? nullptr : it->second;
}

TypeInfo &TypeTable::create () {
  return storage_.emplace_back ();
}

void TypeTable::bind (const std::string &name, const TypeInfo *type) {
  names_[name] = type;
}

uint32_t FieldView::size () const {
  return static_cast<uint32_t> (product (dims) * type->size);
}

std::string selectMember (FieldView &view, const std::string &name) {
  if (!view.dims.empty ()) {
    return "'" + view.path + "' is an array; index it before selecting '" + name + "'";
  }
  if (!view.type->isStruct) {
    return "'" + view.path + "' is not a struct, so it has no field '" + name + "'";
  }
  const FieldInfo *f = view.type->field (name);
  if (f == nullptr) {
    return "struct " + view.type->name + " has no field '" + name + "'";
  }
  view.type = f->type;
  view.dims = f->dims;
  view.offset += f->offset;
  view.path += "." + name;
  return {};
}

std::string selectIndex (FieldView &view, uint64_t index) {
  if (view.dims.empty ()) {
    return "'" + view.path + "' is not an array";
  }
  if (index >= view.dims.front ()) {
    return "index " + std::to_string (index) + " is out of bounds for '" + view.path + "' (" +
           std::to_string (view.dims.front ()) + " elements)";
  }
  std::vector<uint32_t> inner (view.dims.begin () + 1, view.dims.end ());
  view.offset += static_cast<uint32_t> (index * product (inner) * view.type->size);
  view.dims = std::move (inner);
  view.path += "[" + std::to_string (index) + "]";
  return {};
}

void layoutStruct (TypeInfo &type, uint32_t pack) {
  uint64_t offset = 0;
  uint32_t maxAlign = 1;
  for (auto &f : type.fields) {
    uint32_t align = f.type->align;
    if (pack != 0 && pack < align) {
      align = pack;
    }
    offset = (offset + align - 1) / align * align;
    f.offset = static_cast<uint32_t> (offset);
    offset += product (f.dims) * f.type->size;
    maxAlign = align > maxAlign ? align : maxAlign;
  }
  offset = (offset + maxAlign - 1) / maxAlign * maxAlign;
  type.size = static_cast<uint32_t> (offset);
  type.align = maxAlign;
  if (offset > UINT32_MAX / 2) {
    type.invalidReason = "struct is too large";
  }
}

} // namespace carvex::vfr

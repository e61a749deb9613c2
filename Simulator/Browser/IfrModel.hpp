// A form set as the browser works with it: forms, their statements and
// questions, the conditions around them and the stores behind them, read
// from the IFR of a forms package. Strings stay identifiers; values stay in
// the stores.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <Uefi/UefiInternalFormRepresentation.h>

namespace carvex::sim::browser {

using Bytes = std::vector<std::uint8_t>;

// A postfix expression: the raw opcodes in order, END opcodes left out.
struct Expression {
  Bytes code;
  bool Empty() const { return code.empty(); }
};

enum class ConditionKind { Suppress, GrayOut, Disable };

struct Condition {
  ConditionKind kind = ConditionKind::Suppress;
  Expression expression;
};

enum class StatementKind {
  Subtitle,
  Text,
  Numeric,
  OneOf,
  Checkbox,
  String,
  Password,
  Action,
  Link,
  ResetButton,
  Date,
  Time,
  OrderedList,
};

struct Option {
  EFI_STRING_ID text = 0;
  std::uint8_t flags = 0;  // EFI_IFR_OPTION_DEFAULT, EFI_IFR_OPTION_DEFAULT_MFG
  std::uint8_t type = EFI_IFR_TYPE_NUM_SIZE_8;
  std::uint64_t value = 0;
  std::vector<std::size_t> conditions;  // beyond the question's own, outermost first
};

struct Default {
  EFI_DEFAULT_ID defaultId = EFI_HII_DEFAULT_CLASS_STANDARD;
  std::uint8_t type = EFI_IFR_TYPE_NUM_SIZE_8;
  std::uint64_t value = 0;  // a string identifier for string defaults
  std::optional<Expression> expression;
};

// inconsistentif, nosubmitif and warningif: a message shown when true.
struct Check {
  enum class Kind { Inconsistent, NoSubmit, Warning };
  Kind kind = Kind::Inconsistent;
  EFI_STRING_ID message = 0;
  Expression expression;
};

struct LinkTarget {
  EFI_FORM_ID formId = 0;
  EFI_QUESTION_ID questionId = 0;
  std::optional<EFI_GUID> formSet;
  EFI_STRING_ID devicePath = 0;
  bool hasTarget = false;  // false for the variant without one
};

struct Statement {
  StatementKind kind = StatementKind::Text;
  std::uint8_t opcode = 0;
  EFI_STRING_ID prompt = 0;
  EFI_STRING_ID help = 0;
  EFI_STRING_ID textTwo = 0;                 // text statements
  std::vector<std::size_t> conditions;       // indices into Form::conditions, outermost first
  bool locked = false;

  // Questions.
  EFI_QUESTION_ID questionId = 0;
  EFI_VARSTORE_ID storeId = 0;
  std::uint16_t varOffset = 0;               // buffer and EFI variable stores
  std::uint8_t flags = 0;                    // EFI_IFR_FLAG_*
  std::uint16_t width = 0;                   // bytes of storage
  std::uint8_t numericFlags = 0;             // numeric and one-of: size and display
  std::uint8_t checkboxFlags = 0;            // EFI_IFR_CHECKBOX_DEFAULT, EFI_IFR_CHECKBOX_DEFAULT_MFG
  std::uint64_t minimum = 0, maximum = 0, step = 0;
  std::uint16_t minSize = 0, maxSize = 0;    // string and password, in characters
  std::uint8_t maxContainers = 0;            // ordered lists
  std::vector<Option> options;
  std::vector<Default> defaults;
  std::vector<Check> checks;
  EFI_STRING_ID questionConfig = 0;          // actions
  EFI_DEFAULT_ID resetDefaultId = 0;         // reset buttons
  LinkTarget link;
  bool computed = false;                     // a VALUE expression gives the value

  bool IsQuestion() const;
  bool HasFlag(std::uint8_t flag) const { return (flags & flag) != 0; }
  // The value type the browser hands a callback for this question.
  std::uint8_t ValueType() const;
};

struct Form {
  EFI_FORM_ID id = 0;
  EFI_STRING_ID title = 0;
  std::vector<Statement> statements;
  std::vector<Condition> conditions;
};

struct StoreDecl {
  enum class Kind { Buffer, Efi, NameValue };
  Kind kind = Kind::Buffer;
  EFI_VARSTORE_ID id = 0;
  EFI_GUID guid{};
  std::u16string name;  // the ASCII name widened; empty for name/value stores
  std::uint16_t size = 0;
  std::uint32_t attributes = 0;
};

struct FormSetModel {
  EFI_GUID guid{};
  EFI_STRING_ID title = 0;
  EFI_STRING_ID help = 0;
  std::vector<EFI_GUID> classGuids;
  std::vector<EFI_DEFAULT_ID> defaultStores;
  std::vector<StoreDecl> stores;
  std::vector<Form> forms;

  bool IsPlatformSetup() const;
  const StoreDecl* Store(EFI_VARSTORE_ID id) const;
  const Form* FindForm(EFI_FORM_ID id) const;
};

// Every form set in the opcodes of one forms package (its 4-byte header
// excluded). Opcodes the browser does not know are skipped with their scope;
// a malformed opcode ends the walk.
std::vector<FormSetModel> ParseFormSets(const std::uint8_t* ops, std::size_t length);

// The opcodes of a forms package, header included.
std::vector<FormSetModel> ParseFormPackage(const Bytes& package);

bool SameGuid(const EFI_GUID& a, const EFI_GUID& b);

}  // namespace carvex::sim::browser

// Question values in the browser's store copies, the state conditions give
// each statement, defaults, and the text a front end shows.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <functional>
#include <set>

#include "BrowserSession.hpp"
#include "Expression.hpp"
#include "FormBrowser.hpp"
#include "HiiServices.hpp"

namespace carvex::sim::browser {

namespace {

class QuestionContext : public ExpressionContext {
 public:
  using Reader = std::function<ExprValue(EFI_QUESTION_ID)>;
  QuestionContext(Reader reader, ExprValue self = {}) : reader_(std::move(reader)), self_(std::move(self)) {}
  ExprValue QuestionValue(EFI_QUESTION_ID id) const override { return reader_(id); }
  ExprValue ThisValue() const override { return self_; }

 private:
  Reader reader_;
  ExprValue self_;
};

ExprValue ToExpr(const QuestionValue& value) {
  switch (value.type) {
    case EFI_IFR_TYPE_NUM_SIZE_8:
    case EFI_IFR_TYPE_NUM_SIZE_16:
    case EFI_IFR_TYPE_NUM_SIZE_32:
    case EFI_IFR_TYPE_NUM_SIZE_64: return ExprValue::Number(value.number);
    case EFI_IFR_TYPE_BOOLEAN: return ExprValue::Bool(value.number != 0);
    case EFI_IFR_TYPE_STRING: return ExprValue::String(value.text);
    default: return ExprValue::Undefined();
  }
}

std::uint64_t Mask(std::uint64_t value, std::size_t width) {
  return width >= 8 ? value : value & ((std::uint64_t{1} << (8 * width)) - 1);
}

std::u16string Widen(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string Number(const Statement& s, std::uint64_t value) {
  char text[32];
  const unsigned display = s.numericFlags & EFI_IFR_DISPLAY;
  if (display == EFI_IFR_DISPLAY_UINT_HEX) {
    std::snprintf(text, sizeof text, "0x%" PRIX64, value);
  } else if (display == EFI_IFR_DISPLAY_INT_DEC && s.kind == StatementKind::Numeric) {
    const unsigned bits = 8 * std::max<unsigned>(s.width, 1);
    std::int64_t v = static_cast<std::int64_t>(value);
    if (bits < 64 && (value & (std::uint64_t{1} << (bits - 1)))) {
      v = static_cast<std::int64_t>(value | (~std::uint64_t{0} << bits));
    }
    std::snprintf(text, sizeof text, "%" PRId64, v);
  } else {
    std::snprintf(text, sizeof text, "%" PRIu64, value);
  }
  return Widen(text);
}

ItemKind KindOf(StatementKind kind) {
  switch (kind) {
    case StatementKind::Subtitle: return ItemKind::Subtitle;
    case StatementKind::Text: return ItemKind::Text;
    case StatementKind::Numeric: return ItemKind::Numeric;
    case StatementKind::OneOf: return ItemKind::OneOf;
    case StatementKind::Checkbox: return ItemKind::Checkbox;
    case StatementKind::String: return ItemKind::String;
    case StatementKind::Password: return ItemKind::Password;
    case StatementKind::Action: return ItemKind::Action;
    case StatementKind::Link: return ItemKind::Link;
    case StatementKind::ResetButton: return ItemKind::ResetButton;
    case StatementKind::Date: return ItemKind::Date;
    case StatementKind::Time: return ItemKind::Time;
    case StatementKind::OrderedList: return ItemKind::OrderedList;
  }
  return ItemKind::Text;
}

}  // namespace

QuestionValue FormBrowser::Read(const FormSetSession& session, const Statement& question) const {
  QuestionValue value;
  value.type = question.ValueType();
  const Store* store = session.StoreOf(question);
  if (store != nullptr && store->decl.kind != StoreDecl::Kind::NameValue) {
    Bytes bytes(question.width, 0);
    for (std::size_t i = 0; i < bytes.size() && question.varOffset + i < store->edit.size(); ++i) {
      bytes[i] = store->edit[question.varOffset + i];
    }
    switch (question.kind) {
      case StatementKind::Numeric:
      case StatementKind::OneOf:
      case StatementKind::Checkbox:
        for (std::size_t i = 0; i < bytes.size() && i < 8; ++i) {
          value.number |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
        }
        break;
      case StatementKind::String:
      case StatementKind::Password:
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
          const char16_t c = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
          if (c == 0) break;
          value.text.push_back(c);
        }
        break;
      default: value.raw = std::move(bytes); break;
    }
    return value;
  }
  auto kept = session.unstored.find(question.questionId);
  if (kept != session.unstored.end()) {
    return kept->second;
  }
  if (question.kind == StatementKind::Link) {
    EFI_HII_REF ref{};
    ref.QuestionId = question.link.questionId;
    ref.FormId = question.link.formId;
    if (question.link.formSet) ref.FormSetGuid = *question.link.formSet;
    ref.DevicePath = question.link.devicePath;
    value.raw.resize(sizeof ref);
    std::memcpy(value.raw.data(), &ref, sizeof ref);
  } else if (question.kind == StatementKind::Action) {
    value.number = question.questionConfig;
  }
  return value;
}

void FormBrowser::Write(FormSetSession& session, const Statement& question, const QuestionValue& value) {
  Store* store = session.StoreOf(question);
  if (store == nullptr || store->decl.kind == StoreDecl::Kind::NameValue) {
    session.unstored[question.questionId] = value;
    return;
  }
  Bytes bytes(question.width, 0);
  switch (question.kind) {
    case StatementKind::Numeric:
    case StatementKind::OneOf:
    case StatementKind::Checkbox:
      for (std::size_t i = 0; i < bytes.size() && i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(value.number >> (8 * i));
      }
      break;
    case StatementKind::String:
    case StatementKind::Password:
      for (std::size_t i = 0; i < value.text.size() && 2 * i + 1 < bytes.size(); ++i) {
        bytes[2 * i] = static_cast<std::uint8_t>(value.text[i]);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(value.text[i] >> 8);
      }
      break;
    default: std::copy_n(value.raw.begin(), std::min(value.raw.size(), bytes.size()), bytes.begin()); break;
  }
  for (std::size_t i = 0; i < bytes.size() && question.varOffset + i < store->edit.size(); ++i) {
    store->edit[question.varOffset + i] = bytes[i];
  }
}

bool FormBrowser::Changed(const FormSetSession& session, const Statement& question) const {
  const Store* store = session.StoreOf(question);
  if (store == nullptr || question.width == 0 || !session.Touched(question)) {
    return false;
  }
  if (question.kind == StatementKind::Password && question.HasFlag(EFI_IFR_FLAG_CALLBACK)) {
    return false;
  }
  const std::size_t end = std::min<std::size_t>(question.varOffset + question.width, store->edit.size());
  for (std::size_t i = question.varOffset; i < end; ++i) {
    if (store->edit[i] != store->committed[i]) {
      return true;
    }
  }
  return false;
}

bool FormBrowser::SessionChanged(const FormSetSession& session) const {
  for (const Form& form : session.model.forms) {
    for (const Statement& s : form.statements) {
      if (s.IsQuestion() && Changed(session, s)) {
        return true;
      }
    }
  }
  return false;
}

FormBrowser::State FormBrowser::StateOf(const FormSetSession& session, const Form& form,
                                        const Statement& statement) const {
  State state;
  const QuestionContext context([&](EFI_QUESTION_ID id) {
    const Statement* q = session.FindQuestion(id, &form);
    return q ? ToExpr(Read(session, *q)) : ExprValue::Undefined();
  });
  for (std::size_t index : statement.conditions) {
    if (index >= form.conditions.size()) continue;
    const Condition& condition = form.conditions[index];
    if (!IsTrue(Evaluate(condition.expression, context))) continue;
    switch (condition.kind) {
      case ConditionKind::Disable: state.disabled = true; break;
      case ConditionKind::Suppress: state.suppressed = true; break;
      case ConditionKind::GrayOut: state.grayed = true; break;
    }
  }
  state.grayed = state.grayed || statement.locked;
  return state;
}

bool FormBrowser::OptionShown(const FormSetSession& session, const Form& form, const Option& option) const {
  Statement holder;
  holder.conditions = option.conditions;
  const State state = StateOf(session, form, holder);
  return !state.disabled && !state.suppressed;
}

std::optional<std::u16string> FormBrowser::FailedCheck(const FormSetSession& session, const Form& form,
                                                       const Statement& question, Check::Kind kind) const {
  const QuestionContext context(
      [&](EFI_QUESTION_ID id) {
        const Statement* q = session.FindQuestion(id, &form);
        return q ? ToExpr(Read(session, *q)) : ExprValue::Undefined();
      },
      ToExpr(Read(session, question)));
  for (const Check& check : question.checks) {
    if (check.kind == kind && IsTrue(Evaluate(check.expression, context))) {
      return Text(session, check.message);
    }
  }
  return std::nullopt;
}

std::optional<QuestionValue> FormBrowser::DefaultOf(FormSetSession& session, const Form& form,
                                                    const Statement& question, EFI_DEFAULT_ID defaultId,
                                                    bool askDriver) {
  QuestionValue value = Read(session, question);
  if (askDriver && question.HasFlag(EFI_IFR_FLAG_CALLBACK) && session.access != nullptr) {
    EFI_BROWSER_ACTION action = EFI_BROWSER_ACTION_DEFAULT_STANDARD;
    if (defaultId <= EFI_HII_DEFAULT_CLASS_SAFE) {
      action = EFI_BROWSER_ACTION_DEFAULT_STANDARD + defaultId;
    } else if (defaultId >= EFI_HII_DEFAULT_CLASS_FIRMWARE_BEGIN) {
      action = EFI_BROWSER_ACTION_DEFAULT_FIRMWARE + (defaultId - EFI_HII_DEFAULT_CLASS_FIRMWARE_BEGIN);
    } else if (defaultId >= EFI_HII_DEFAULT_CLASS_HARDWARE_BEGIN) {
      action = EFI_BROWSER_ACTION_DEFAULT_HARDWARE + (defaultId - EFI_HII_DEFAULT_CLASS_HARDWARE_BEGIN);
    } else if (defaultId >= EFI_HII_DEFAULT_CLASS_PLATFORM_BEGIN) {
      action = EFI_BROWSER_ACTION_DEFAULT_PLATFORM + (defaultId - EFI_HII_DEFAULT_CLASS_PLATFORM_BEGIN);
    }
    QuestionValue asked = value;
    if (Call(session, action, question, asked) == EFI_SUCCESS) {
      return asked;
    }
  }

  const QuestionContext context([&](EFI_QUESTION_ID id) {
    const Statement* q = session.FindQuestion(id, &form);
    return q ? ToExpr(Read(session, *q)) : ExprValue::Undefined();
  });
  auto fromIfr = [&](EFI_DEFAULT_ID id) -> std::optional<QuestionValue> {
    for (const Default& d : question.defaults) {
      if (d.defaultId != id) continue;
      QuestionValue result = value;
      if (d.expression) {
        const ExprValue computed = Evaluate(*d.expression, context);
        if (computed.kind == ExprValue::Kind::Number || computed.kind == ExprValue::Kind::Boolean) {
          result.number = Mask(computed.number, question.width);
        } else if (computed.kind == ExprValue::Kind::String) {
          result.text = computed.text;
        } else {
          continue;
        }
      } else if (question.kind == StatementKind::String || question.kind == StatementKind::Password) {
        result.text = Text(session, static_cast<EFI_STRING_ID>(d.value));
      } else if (question.kind == StatementKind::Checkbox) {
        result.number = d.value != 0;
      } else {
        result.number = Mask(d.value, question.width);
      }
      return result;
    }
    if (question.kind == StatementKind::OneOf && id <= EFI_HII_DEFAULT_CLASS_MANUFACTURING) {
      const std::uint8_t flag = id == 0 ? EFI_IFR_OPTION_DEFAULT : EFI_IFR_OPTION_DEFAULT_MFG;
      for (const Option& option : question.options) {
        if ((option.flags & flag) != 0) {
          QuestionValue result = value;
          result.number = Mask(option.value, question.width);
          return result;
        }
      }
    }
    if (question.kind == StatementKind::Checkbox && id <= EFI_HII_DEFAULT_CLASS_MANUFACTURING) {
      const std::uint8_t flag = id == 0 ? EFI_IFR_CHECKBOX_DEFAULT : EFI_IFR_CHECKBOX_DEFAULT_MFG;
      if ((question.checkboxFlags & flag) != 0) {
        QuestionValue result = value;
        result.number = 1;
        return result;
      }
    }
    return std::nullopt;
  };

  if (auto found = fromIfr(defaultId)) {
    return found;
  }
  // Then the other default stores, lowest identifier first.
  std::set<EFI_DEFAULT_ID> others(session.model.defaultStores.begin(), session.model.defaultStores.end());
  others.insert(EFI_HII_DEFAULT_CLASS_STANDARD);
  others.insert(EFI_HII_DEFAULT_CLASS_MANUFACTURING);
  for (EFI_DEFAULT_ID other : others) {
    if (other == defaultId) continue;
    if (auto found = fromIfr(other)) {
      return found;
    }
  }
  // Nothing given: a check box is off, a number its minimum, a one-of keeps
  // a value it offers or takes its first option shown.
  switch (question.kind) {
    case StatementKind::Checkbox: value.number = 0; return value;
    case StatementKind::Numeric: value.number = question.minimum; return value;
    case StatementKind::OneOf: {
      const Option* first = nullptr;
      for (const Option& option : question.options) {
        if (!OptionShown(session, form, option)) continue;
        if (Mask(option.value, question.width) == value.number) return value;
        if (first == nullptr) first = &option;
      }
      if (first == nullptr) return std::nullopt;
      value.number = Mask(first->value, question.width);
      return value;
    }
    default: return std::nullopt;
  }
}

void FormBrowser::ApplyDefaults(FormSetSession& session, EFI_DEFAULT_ID defaultId, bool askDriver,
                                std::optional<EFI_VARSTORE_ID> onlyStore) {
  // Forms can change under a driver's default callback: work on copies.
  const std::vector<Form> forms = session.model.forms;
  for (const Form& form : forms) {
    for (const Statement& question : form.statements) {
      if (!question.IsQuestion() || question.kind == StatementKind::Action ||
          question.kind == StatementKind::Link || question.kind == StatementKind::Password) {
        continue;
      }
      if (onlyStore && question.storeId != *onlyStore) continue;
      if (StateOf(session, form, question).disabled) continue;
      const auto value = DefaultOf(session, form, question, defaultId, askDriver);
      if (value && !(*value == Read(session, question))) {
        Write(session, question, *value);
        session.Touch(question);
      }
    }
  }
}

std::u16string FormBrowser::Text(const FormSetSession& session, EFI_STRING_ID id) const {
  return TextIn(session.handle, session.languages, id);
}

std::u16string FormBrowser::TextIn(EFI_HII_HANDLE handle, const std::vector<std::string>& languages,
                                   EFI_STRING_ID id, bool markMissing) const {
  if (id == 0 || services_.hii == nullptr) {
    return {};
  }
  std::vector<std::string> order{language_, "en-US"};
  order.insert(order.end(), languages.begin(), languages.end());
  for (const std::string& language : order) {
    if (auto text = services_.hii->String(handle, id, language)) {
      return *text;
    }
  }
  return markMissing ? u"!" : u"";
}

std::u16string FormBrowser::ValueText(const FormSetSession& session, const Form& form, const Statement& s) const {
  const QuestionValue value = Read(session, s);
  switch (s.kind) {
    case StatementKind::Text: return Text(session, s.textTwo);
    case StatementKind::Numeric: return Number(s, value.number);
    case StatementKind::OneOf:
      for (const Option& option : s.options) {
        if (Mask(option.value, s.width) == value.number && OptionShown(session, form, option)) {
          return Text(session, option.text);
        }
      }
      return Number(s, value.number);
    case StatementKind::Checkbox: return value.number != 0 ? u"checked" : u"unchecked";
    case StatementKind::String: return value.text;
    case StatementKind::Date:
      if (value.raw.size() >= 4) {
        char text[16];
        std::snprintf(text, sizeof text, "%04u/%02u/%02u", value.raw[0] | (value.raw[1] << 8), value.raw[2], value.raw[3]);
        return Widen(text);
      }
      return {};
    case StatementKind::Time:
      if (value.raw.size() >= 3) {
        char text[16];
        std::snprintf(text, sizeof text, "%02u:%02u:%02u", value.raw[0], value.raw[1], value.raw[2]);
        return Widen(text);
      }
      return {};
    case StatementKind::OrderedList: {
      std::u16string text;
      const std::size_t width = s.maxContainers ? s.width / s.maxContainers : 1;
      for (std::size_t i = 0; width > 0 && i + width <= value.raw.size(); i += width) {
        std::uint64_t item = 0;
        for (std::size_t b = 0; b < width && b < 8; ++b) item |= static_cast<std::uint64_t>(value.raw[i + b]) << (8 * b);
        if (item == 0) break;
        for (const Option& option : s.options) {
          if (option.value == item) {
            if (!text.empty()) text += u", ";
            text += Text(session, option.text);
          }
        }
      }
      return text;
    }
    default: return {};
  }
}

ItemView FormBrowser::Describe(const FormSetSession& session, const Form& form, std::size_t index) const {
  const Statement& s = form.statements[index];
  ItemView item;
  item.index = index;
  item.kind = KindOf(s.kind);
  item.questionId = s.questionId;
  item.prompt = Text(session, s.prompt);
  item.help = Text(session, s.help);
  const State state = StateOf(session, form, s);
  item.disabled = state.disabled;
  item.suppressed = state.suppressed;
  item.grayed = state.grayed;
  item.readOnly = s.IsQuestion() && (s.HasFlag(EFI_IFR_FLAG_READ_ONLY) || s.computed);
  item.callback = s.HasFlag(EFI_IFR_FLAG_CALLBACK);
  item.value = ValueText(session, form, s);
  const QuestionValue value = Read(session, s);
  item.number = value.number;
  item.checked = s.kind == StatementKind::Checkbox && value.number != 0;
  item.minimum = s.minimum;
  item.maximum = s.maximum;
  item.step = s.step;
  item.minSize = s.minSize;
  item.maxSize = s.maxSize;
  item.width = s.width;
  item.hexDisplay = (s.numericFlags & EFI_IFR_DISPLAY) == EFI_IFR_DISPLAY_UINT_HEX;
  item.signedDisplay = s.kind == StatementKind::Numeric && (s.numericFlags & EFI_IFR_DISPLAY) == EFI_IFR_DISPLAY_INT_DEC;
  if (s.kind == StatementKind::OneOf) {
    for (const Option& option : s.options) {
      if (OptionShown(session, form, option)) {
        item.options.push_back(Text(session, option.text));
        item.optionValues.push_back(Mask(option.value, s.width));
      }
    }
  }
  return item;
}

}  // namespace carvex::sim::browser

// Reads form sets out of IFR. Every read is bounded by the opcode's own
// length, itself bounded by the package, so a hostile package can only end
// the walk early.
#include <algorithm>
#include <cstring>

#include "Expression.hpp"
#include "IfrModel.hpp"

namespace carvex::sim::browser {

namespace {

constexpr std::uint8_t kScopeBit = 0x80;
constexpr std::uint8_t kLengthMask = 0x7F;
// Offset of the opcode-specific fields of every question opcode.
constexpr std::size_t kQuestionEnd = 13;

struct Op {
  const std::uint8_t* bytes = nullptr;
  std::size_t length = 0;

  std::uint8_t code() const { return bytes[0]; }
  bool scope() const { return (bytes[1] & kScopeBit) != 0; }
  bool Has(std::size_t offset, std::size_t width) const { return offset + width <= length; }
  std::uint8_t U8(std::size_t offset) const { return Has(offset, 1) ? bytes[offset] : 0; }
  std::uint16_t U16(std::size_t offset) const {
    return Has(offset, 2) ? static_cast<std::uint16_t>(bytes[offset] | (bytes[offset + 1] << 8)) : 0;
  }
  std::uint32_t U32(std::size_t offset) const { return static_cast<std::uint32_t>(Le(offset, 4)); }
  // Little-endian value of `width` bytes, cut to what the opcode holds.
  std::uint64_t Le(std::size_t offset, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width && i < 8 && offset + i < length; ++i) {
      value |= static_cast<std::uint64_t>(bytes[offset + i]) << (8 * i);
    }
    return value;
  }
  EFI_GUID Guid(std::size_t offset) const {
    EFI_GUID guid{};
    if (Has(offset, sizeof(EFI_GUID))) {
      std::memcpy(&guid, bytes + offset, sizeof guid);
    }
    return guid;
  }
  std::u16string AsciiName(std::size_t offset) const {
    std::u16string name;
    for (std::size_t i = offset; i < length && bytes[i] != 0; ++i) {
      name.push_back(static_cast<char16_t>(bytes[i]));
    }
    return name;
  }
};

std::size_t ValueWidth(std::uint8_t type, std::size_t available) {
  switch (type) {
    case EFI_IFR_TYPE_NUM_SIZE_8:
    case EFI_IFR_TYPE_BOOLEAN: return 1;
    case EFI_IFR_TYPE_NUM_SIZE_16:
    case EFI_IFR_TYPE_STRING: return 2;
    case EFI_IFR_TYPE_NUM_SIZE_32: return 4;
    case EFI_IFR_TYPE_NUM_SIZE_64: return 8;
    case EFI_IFR_TYPE_TIME: return 3;
    case EFI_IFR_TYPE_DATE: return 4;
    default: return std::min<std::size_t>(available, 8);
  }
}

class Parser {
 public:
  Parser(const std::uint8_t* ops, std::size_t length) : data_(ops), length_(length) {}

  std::vector<FormSetModel> Run() {
    std::size_t pos = 0;
    while (pos < length_) {
      const auto op = At(pos);
      if (!op) {
        break;
      }
      pos = Handle(*op, pos);
    }
    return std::move(sets_);
  }

 private:
  enum class FrameKind { FormSet, Form, Condition, Question, Default, Other };
  struct Frame {
    FrameKind kind = FrameKind::Other;
    std::size_t statement = 0;     // questions: index in the form
    std::size_t activeAtOpen = 0;  // questions: conditions already active
  };

  std::optional<Op> At(std::size_t pos) const {
    if (pos + 2 > length_) {
      return std::nullopt;
    }
    const std::size_t size = data_[pos + 1] & kLengthMask;
    if (size < 2 || pos + size > length_) {
      return std::nullopt;
    }
    return Op{data_ + pos, size};
  }

  // The position after the END that closes the scope opened at pos.
  std::size_t SkipScope(std::size_t pos) const {
    int depth = 0;
    while (pos < length_) {
      const auto op = At(pos);
      if (!op) {
        return length_;
      }
      if (op->code() == EFI_IFR_END_OP) {
        --depth;
      } else if (op->scope()) {
        ++depth;
      }
      pos += op->length;
      if (depth <= 0) {
        return pos;
      }
    }
    return length_;
  }

  // A one-opcode expression stands alone; a longer one opens a scope on its
  // first opcode that an END after its last closes.
  std::size_t ReadExpression(std::size_t pos, Expression& expression) const {
    const auto first = At(pos);
    if (!first) {
      return length_;
    }
    expression.code.insert(expression.code.end(), first->bytes, first->bytes + first->length);
    pos += first->length;
    if (!first->scope()) {
      return pos;
    }
    int depth = 1;
    while (pos < length_) {
      const auto op = At(pos);
      if (!op) {
        return length_;
      }
      pos += op->length;
      if (op->code() == EFI_IFR_END_OP) {
        if (--depth == 0) {
          return pos;
        }
        continue;
      }
      if (op->scope()) {
        ++depth;
      }
      expression.code.insert(expression.code.end(), op->bytes, op->bytes + op->length);
    }
    return length_;
  }

  Statement* CurrentQuestion() {
    for (auto frame = frames_.rbegin(); frame != frames_.rend(); ++frame) {
      if (frame->kind == FrameKind::Question) {
        return form_ ? &form_->statements[frame->statement] : nullptr;
      }
    }
    return nullptr;
  }
  const Frame* QuestionFrame() const {
    for (auto frame = frames_.rbegin(); frame != frames_.rend(); ++frame) {
      if (frame->kind == FrameKind::Question) {
        return &*frame;
      }
    }
    return nullptr;
  }

  void Push(const Op& op, FrameKind kind, std::size_t statement = 0) {
    if (op.scope()) {
      frames_.push_back(Frame{kind, statement, active_.size()});
    }
  }

  std::size_t Handle(const Op& op, std::size_t pos) {
    const std::size_t next = pos + op.length;
    switch (op.code()) {
      case EFI_IFR_END_OP: return End(next);
      case EFI_IFR_FORM_SET_OP: return FormSet(op, next);
      case EFI_IFR_FORM_OP:
      case EFI_IFR_FORM_MAP_OP: return FormStart(op, pos);
      case EFI_IFR_DEFAULTSTORE_OP:
        if (set_) set_->defaultStores.push_back(op.U16(4));
        return next;
      case EFI_IFR_VARSTORE_OP:
      case EFI_IFR_VARSTORE_EFI_OP:
      case EFI_IFR_VARSTORE_NAME_VALUE_OP:
        Store(op);
        return op.scope() ? SkipScope(pos) : next;
      case EFI_IFR_SUPPRESS_IF_OP:
      case EFI_IFR_GRAY_OUT_IF_OP:
      case EFI_IFR_DISABLE_IF_OP: return Conditional(op, pos);
      case EFI_IFR_INCONSISTENT_IF_OP:
      case EFI_IFR_NO_SUBMIT_IF_OP:
      case EFI_IFR_WARNING_IF_OP: return CheckOp(op, pos);
      case EFI_IFR_DEFAULT_OP: return DefaultOp(op, pos);
      case EFI_IFR_VALUE_OP: return ValueOp(op, pos);
      case EFI_IFR_ONE_OF_OPTION_OP: return OptionOp(op, pos);
      case EFI_IFR_LOCKED_OP:
        if (Statement* question = CurrentQuestion()) {
          question->locked = true;
        } else if (form_ && !form_->statements.empty()) {
          form_->statements.back().locked = true;
        }
        return next;
      case EFI_IFR_SUBTITLE_OP:
      case EFI_IFR_TEXT_OP:
      case EFI_IFR_RESET_BUTTON_OP:
      case EFI_IFR_ONE_OF_OP:
      case EFI_IFR_NUMERIC_OP:
      case EFI_IFR_CHECKBOX_OP:
      case EFI_IFR_STRING_OP:
      case EFI_IFR_PASSWORD_OP:
      case EFI_IFR_ACTION_OP:
      case EFI_IFR_REF_OP:
      case EFI_IFR_DATE_OP:
      case EFI_IFR_TIME_OP:
      case EFI_IFR_ORDERED_LIST_OP: return StatementOp(op, pos);
      default:
        // Labels, images, refresh and everything unknown: nothing to show.
        return op.scope() ? SkipScope(pos) : next;
    }
  }

  std::size_t End(std::size_t next) {
    if (frames_.empty()) {
      return next;
    }
    const Frame frame = frames_.back();
    frames_.pop_back();
    switch (frame.kind) {
      case FrameKind::Condition:
        if (!active_.empty()) active_.pop_back();
        break;
      case FrameKind::Form:
        form_ = nullptr;
        active_.clear();
        break;
      case FrameKind::FormSet:
        set_ = nullptr;
        form_ = nullptr;
        break;
      case FrameKind::Question:
        if (form_) FinishQuestion(form_->statements[frame.statement]);
        break;
      default: break;
    }
    return next;
  }

  std::size_t FormSet(const Op& op, std::size_t next) {
    FormSetModel model;
    model.guid = op.Guid(2);
    model.title = op.U16(18);
    model.help = op.U16(20);
    if (op.Has(22, 1)) {
      const std::size_t count = op.U8(22) & EFI_IFR_FORM_SET_CLASS_GUID_COUNT;
      for (std::size_t i = 0; i < count && op.Has(23 + 16 * i, 16); ++i) {
        model.classGuids.push_back(op.Guid(23 + 16 * i));
      }
    } else {
      // A form set too short for flags counts as platform setup.
      model.classGuids.push_back(gEfiHiiPlatformSetupFormsetGuid);
    }
    sets_.push_back(std::move(model));
    set_ = &sets_.back();
    form_ = nullptr;
    frames_.clear();
    active_.clear();
    Push(op, FrameKind::FormSet);
    return next;
  }

  std::size_t FormStart(const Op& op, std::size_t pos) {
    if (!set_) {
      return op.scope() ? SkipScope(pos) : pos + op.length;
    }
    Form form;
    form.id = op.U16(2);
    form.title = op.U16(4);
    set_->forms.push_back(std::move(form));
    form_ = &set_->forms.back();
    active_.clear();
    Push(op, FrameKind::Form);
    return pos + op.length;
  }

  void Store(const Op& op) {
    if (!set_) {
      return;
    }
    StoreDecl store;
    switch (op.code()) {
      case EFI_IFR_VARSTORE_OP:
        store.kind = StoreDecl::Kind::Buffer;
        store.guid = op.Guid(2);
        store.id = op.U16(18);
        store.size = op.U16(20);
        store.name = op.AsciiName(22);
        break;
      case EFI_IFR_VARSTORE_EFI_OP:
        store.kind = StoreDecl::Kind::Efi;
        store.id = op.U16(2);
        store.guid = op.Guid(4);
        store.attributes = op.U32(20);
        store.size = op.U16(24);
        store.name = op.AsciiName(26);
        break;
      default:
        store.kind = StoreDecl::Kind::NameValue;
        store.id = op.U16(2);
        store.guid = op.Guid(4);
        break;
    }
    set_->stores.push_back(std::move(store));
  }

  std::size_t Conditional(const Op& op, std::size_t pos) {
    if (!op.scope()) {
      return pos + op.length;
    }
    Expression expression;
    const std::size_t after = ReadExpression(pos + op.length, expression);
    if (!form_) {
      // Around forms or stores: only a disable-if counts, decided now.
      if (op.code() == EFI_IFR_DISABLE_IF_OP && EvaluateConstant(expression)) {
        return SkipScope(pos);
      }
      frames_.push_back(Frame{FrameKind::Other});
      return after;
    }
    Condition condition;
    condition.kind = op.code() == EFI_IFR_SUPPRESS_IF_OP  ? ConditionKind::Suppress
                     : op.code() == EFI_IFR_GRAY_OUT_IF_OP ? ConditionKind::GrayOut
                                                           : ConditionKind::Disable;
    condition.expression = std::move(expression);
    form_->conditions.push_back(std::move(condition));
    active_.push_back(form_->conditions.size() - 1);
    frames_.push_back(Frame{FrameKind::Condition});
    return after;
  }

  std::size_t CheckOp(const Op& op, std::size_t pos) {
    if (!op.scope()) {
      return pos + op.length;
    }
    Check check;
    check.kind = op.code() == EFI_IFR_INCONSISTENT_IF_OP ? Check::Kind::Inconsistent
                 : op.code() == EFI_IFR_NO_SUBMIT_IF_OP  ? Check::Kind::NoSubmit
                                                         : Check::Kind::Warning;
    check.message = op.U16(2);
    const std::size_t after = ReadExpression(pos + op.length, check.expression);
    if (Statement* question = CurrentQuestion()) {
      question->checks.push_back(std::move(check));
    }
    frames_.push_back(Frame{FrameKind::Other});
    return after;
  }

  std::size_t DefaultOp(const Op& op, std::size_t pos) {
    Statement* question = CurrentQuestion();
    if (!question) {
      return op.scope() ? SkipScope(pos) : pos + op.length;
    }
    Default value;
    value.defaultId = op.U16(2);
    value.type = op.U8(4);
    if (!op.scope()) {
      const std::size_t available = op.length > 5 ? op.length - 5 : 0;
      value.value = op.Le(5, ValueWidth(value.type, available));
      question->defaults.push_back(std::move(value));
      return pos + op.length;
    }
    question->defaults.push_back(std::move(value));
    frames_.push_back(Frame{FrameKind::Default});
    return pos + op.length;
  }

  std::size_t ValueOp(const Op& op, std::size_t pos) {
    if (!op.scope()) {
      return pos + op.length;
    }
    Statement* question = CurrentQuestion();
    Expression expression;
    const std::size_t after = ReadExpression(pos + op.length, expression);
    if (question && !frames_.empty() && frames_.back().kind == FrameKind::Default) {
      question->defaults.back().expression = std::move(expression);
    } else if (question) {
      question->computed = true;
    }
    frames_.push_back(Frame{FrameKind::Other});
    return after;
  }

  std::size_t OptionOp(const Op& op, std::size_t pos) {
    Statement* question = CurrentQuestion();
    const Frame* frame = QuestionFrame();
    if (question && frame) {
      Option option;
      option.text = op.U16(2);
      option.flags = op.U8(4);
      option.type = op.U8(5);
      const std::size_t available = op.length > 6 ? op.length - 6 : 0;
      option.value = op.Le(6, ValueWidth(option.type, available));
      option.conditions.assign(active_.begin() + static_cast<std::ptrdiff_t>(std::min(frame->activeAtOpen, active_.size())),
                               active_.end());
      question->options.push_back(std::move(option));
    }
    return op.scope() ? SkipScope(pos) : pos + op.length;
  }

  std::size_t StatementOp(const Op& op, std::size_t pos) {
    if (!form_) {
      return op.scope() ? SkipScope(pos) : pos + op.length;
    }
    Statement s;
    s.opcode = op.code();
    s.prompt = op.U16(2);
    s.help = op.U16(4);
    s.conditions = active_;
    bool question = true;
    switch (op.code()) {
      case EFI_IFR_SUBTITLE_OP:
        s.kind = StatementKind::Subtitle;
        question = false;
        break;
      case EFI_IFR_TEXT_OP:
        s.kind = StatementKind::Text;
        s.textTwo = op.U16(6);
        question = false;
        break;
      case EFI_IFR_RESET_BUTTON_OP:
        s.kind = StatementKind::ResetButton;
        s.resetDefaultId = op.U16(6);
        question = false;
        break;
      default: break;
    }
    if (question) {
      s.questionId = op.U16(6);
      s.storeId = op.U16(8);
      s.varOffset = op.U16(10);
      s.flags = op.U8(12);
      QuestionFields(op, s);
    }
    form_->statements.push_back(std::move(s));
    const std::size_t index = form_->statements.size() - 1;
    if (op.scope()) {
      Push(op, question ? FrameKind::Question : FrameKind::Other, index);
    } else if (question) {
      FinishQuestion(form_->statements[index]);
    }
    return pos + op.length;
  }

  static void QuestionFields(const Op& op, Statement& s) {
    switch (op.code()) {
      case EFI_IFR_ONE_OF_OP:
      case EFI_IFR_NUMERIC_OP: {
        s.kind = op.code() == EFI_IFR_ONE_OF_OP ? StatementKind::OneOf : StatementKind::Numeric;
        s.numericFlags = op.U8(kQuestionEnd);
        const std::size_t w = std::size_t{1} << (s.numericFlags & EFI_IFR_NUMERIC_SIZE);
        s.width = static_cast<std::uint16_t>(w);
        s.minimum = op.Le(14, w);
        s.maximum = op.Le(14 + w, w);
        s.step = op.Le(14 + 2 * w, w);
        break;
      }
      case EFI_IFR_CHECKBOX_OP:
        s.kind = StatementKind::Checkbox;
        s.checkboxFlags = op.U8(kQuestionEnd);
        s.width = 1;
        break;
      case EFI_IFR_STRING_OP:
        s.kind = StatementKind::String;
        s.minSize = op.U8(13);
        s.maxSize = op.U8(14);
        s.width = static_cast<std::uint16_t>(s.maxSize * 2);
        break;
      case EFI_IFR_PASSWORD_OP:
        s.kind = StatementKind::Password;
        s.minSize = op.U16(13);
        s.maxSize = op.U16(15);
        s.width = static_cast<std::uint16_t>(std::min<std::uint32_t>(s.maxSize * 2u, 0xFFFF));
        break;
      case EFI_IFR_ACTION_OP:
        s.kind = StatementKind::Action;
        s.questionConfig = op.U16(13);
        break;
      case EFI_IFR_REF_OP:
        s.kind = StatementKind::Link;
        s.width = sizeof(EFI_HII_REF);
        if (op.Has(13, 2)) {
          s.link.hasTarget = true;
          s.link.formId = op.U16(13);
        }
        s.link.questionId = op.U16(15);
        if (op.Has(17, 16)) s.link.formSet = op.Guid(17);
        s.link.devicePath = op.U16(33);
        break;
      case EFI_IFR_DATE_OP:
        s.kind = StatementKind::Date;
        s.numericFlags = op.U8(kQuestionEnd);
        s.width = 4;
        break;
      case EFI_IFR_TIME_OP:
        s.kind = StatementKind::Time;
        s.numericFlags = op.U8(kQuestionEnd);
        s.width = 3;
        break;
      case EFI_IFR_ORDERED_LIST_OP:
        s.kind = StatementKind::OrderedList;
        s.maxContainers = op.U8(13);
        break;
      default: break;
    }
  }

  static void FinishQuestion(Statement& s) {
    if (s.kind == StatementKind::OrderedList && !s.options.empty()) {
      s.width = static_cast<std::uint16_t>(s.maxContainers * ValueWidth(s.options.front().type, 8));
    }
  }

  const std::uint8_t* data_;
  std::size_t length_;
  std::vector<FormSetModel> sets_;
  FormSetModel* set_ = nullptr;
  Form* form_ = nullptr;
  std::vector<Frame> frames_;
  std::vector<std::size_t> active_;
};

}  // namespace

bool SameGuid(const EFI_GUID& a, const EFI_GUID& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool Statement::IsQuestion() const {
  return kind != StatementKind::Subtitle && kind != StatementKind::Text && kind != StatementKind::ResetButton;
}

std::uint8_t Statement::ValueType() const {
  switch (kind) {
    case StatementKind::Numeric:
    case StatementKind::OneOf: return static_cast<std::uint8_t>(numericFlags & EFI_IFR_NUMERIC_SIZE);
    case StatementKind::Checkbox: return EFI_IFR_TYPE_BOOLEAN;
    case StatementKind::String:
    case StatementKind::Password: return EFI_IFR_TYPE_STRING;
    case StatementKind::Action: return EFI_IFR_TYPE_ACTION;
    case StatementKind::Link: return EFI_IFR_TYPE_REF;
    case StatementKind::Date: return EFI_IFR_TYPE_DATE;
    case StatementKind::Time: return EFI_IFR_TYPE_TIME;
    case StatementKind::OrderedList: return EFI_IFR_TYPE_BUFFER;
    default: return EFI_IFR_TYPE_UNDEFINED;
  }
}

bool FormSetModel::IsPlatformSetup() const {
  return std::any_of(classGuids.begin(), classGuids.end(),
                     [](const EFI_GUID& g) { return SameGuid(g, gEfiHiiPlatformSetupFormsetGuid); });
}

const StoreDecl* FormSetModel::Store(EFI_VARSTORE_ID id) const {
  for (const StoreDecl& store : stores) {
    if (store.id == id) {
      return &store;
    }
  }
  return nullptr;
}

const Form* FormSetModel::FindForm(EFI_FORM_ID id) const {
  for (const Form& form : forms) {
    if (form.id == id) {
      return &form;
    }
  }
  return nullptr;
}

std::vector<FormSetModel> ParseFormSets(const std::uint8_t* ops, std::size_t length) {
  return Parser(ops, length).Run();
}

std::vector<FormSetModel> ParseFormPackage(const Bytes& package) {
  if (package.size() < sizeof(EFI_HII_PACKAGE_HEADER)) {
    return {};
  }
  return ParseFormSets(package.data() + sizeof(EFI_HII_PACKAGE_HEADER),
                       package.size() - sizeof(EFI_HII_PACKAGE_HEADER));
}

}  // namespace carvex::sim::browser

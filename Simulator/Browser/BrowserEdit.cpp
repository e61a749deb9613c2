// What the user does to a question: change its value, press a button, go
// through a password conversation. Each follows EDK II's order: CHANGING
// before the value changes (its answer decides), CHANGED after, and the
// action a driver requests only after CHANGED.
#include <algorithm>

#include "BrowserSession.hpp"
#include "FormBrowser.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

namespace {

std::uint64_t Mask(std::uint64_t value, std::size_t width) {
  return width >= 8 ? value : value & ((std::uint64_t{1} << (8 * width)) - 1);
}

std::int64_t Signed(std::uint64_t value, std::size_t width) {
  const unsigned bits = 8 * static_cast<unsigned>(std::max<std::size_t>(width, 1));
  if (bits < 64 && (value & (std::uint64_t{1} << (bits - 1)))) {
    value |= ~std::uint64_t{0} << bits;
  }
  return static_cast<std::int64_t>(value);
}

void Wipe(std::u16string& text) { std::fill(text.begin(), text.end(), u'\0'); }

}  // namespace

Outcome FormBrowser::Validate(const FormSetSession& session, const Form& form, const Statement& s,
                              const QuestionValue& v) const {
  switch (s.kind) {
    case StatementKind::Numeric: {
      const std::uint64_t maximum = s.maximum == 0 ? Mask(~std::uint64_t{0}, s.width) : s.maximum;
      const bool isSigned = (s.numericFlags & EFI_IFR_DISPLAY) == EFI_IFR_DISPLAY_INT_DEC;
      const bool inRange = isSigned ? Signed(v.number, s.width) >= Signed(s.minimum, s.width) &&
                                          Signed(v.number, s.width) <= Signed(maximum, s.width)
                                    : v.number >= s.minimum && v.number <= maximum;
      if (!inRange) {
        return Outcome::Fail("value out of range " + std::to_string(s.minimum) + ".." + std::to_string(maximum));
      }
      return Outcome{};
    }
    case StatementKind::OneOf:
      for (const Option& option : s.options) {
        if (Mask(option.value, s.width) == v.number && OptionShown(session, form, option)) {
          return Outcome{};
        }
      }
      return Outcome::Fail("no option shown has the value " + std::to_string(v.number));
    case StatementKind::Checkbox:
      return v.number <= 1 ? Outcome{} : Outcome::Fail("a check box is 0 or 1");
    case StatementKind::String:
      if (v.text.size() < s.minSize || v.text.size() > s.maxSize) {
        return Outcome::Fail("the text must have " + std::to_string(s.minSize) + " to " + std::to_string(s.maxSize) +
                             " characters");
      }
      return Outcome{};
    default: return Outcome::Fail("this item takes no value");
  }
}

Outcome FormBrowser::SetValue(std::size_t index, const InputValue& input) {
  const Form* found = CurrentForm();
  if (found == nullptr || index >= found->statements.size()) {
    return Outcome::Fail("no such item");
  }
  FormSetSession& session = *history_.back().session;
  const Form form = *found;
  const Statement s = form.statements[index];
  if (s.kind != StatementKind::Numeric && s.kind != StatementKind::OneOf && s.kind != StatementKind::Checkbox &&
      s.kind != StatementKind::String) {
    return Outcome::Fail("this item takes no value");
  }
  const State state = StateOf(session, form, s);
  if (state.disabled || state.suppressed) return Outcome::Fail("the item is not shown");
  if (state.grayed) return Outcome::Fail("the item is grayed out");
  if (s.HasFlag(EFI_IFR_FLAG_READ_ONLY) || s.computed) return Outcome::Fail("the item is read-only");

  const QuestionValue old = Read(session, s);
  QuestionValue value = old;
  if (s.kind == StatementKind::String) {
    value.text = input.text;
  } else {
    value.number = Mask(input.number, s.width);
    if (input.number != value.number) return Outcome::Fail("the value does not fit the question");
  }
  const Outcome valid = Validate(session, form, s, value);
  if (!valid.ok) return valid;

  const bool callback = s.HasFlag(EFI_IFR_FLAG_CALLBACK) && session.access != nullptr;
  if (callback) {
    const QuestionValue passed = value;
    const EFI_STATUS status = Call(session, EFI_BROWSER_ACTION_CHANGING, s, value);
    RefreshIfUpdated(session);
    if (status == EFI_UNSUPPORTED) {
      value = passed;  // the driver left the value to the browser
    } else if (EFI_ERROR(status)) {
      return Outcome::Note("the driver refused the change: " + StatusText(status));
    }
  }
  Write(session, s, value);
  if (auto message = FailedCheck(session, form, s, Check::Kind::Inconsistent)) {
    Write(session, s, old);
    Notify(*message);
    return Outcome::Note("inconsistent: " + Utf16ToUtf8(*message));
  }
  if (auto message = FailedCheck(session, form, s, Check::Kind::Warning)) {
    Notify(*message);
  }
  const bool changed = !(value == old);
  if (changed) {
    session.Touch(s);
  }
  if (callback && (s.storeId == 0 || changed)) {
    EFI_BROWSER_ACTION_REQUEST request = EFI_BROWSER_ACTION_REQUEST_NONE;
    Call(session, EFI_BROWSER_ACTION_CHANGED, s, value, &request);
    RefreshIfUpdated(session);
    HandleActionRequest(session, request);
  }
  if (s.storeId == 0 && s.HasFlag(EFI_IFR_FLAG_RESET_REQUIRED)) {
    resetRequired_ = true;
  }
  return Outcome{};
}

Outcome FormBrowser::Press(std::size_t index) {
  const Form* found = CurrentForm();
  if (found == nullptr || index >= found->statements.size()) {
    return Outcome::Fail("no such item");
  }
  FormSetSession& session = *history_.back().session;
  const Form form = *found;
  const Statement s = form.statements[index];
  if (s.kind != StatementKind::Action && s.kind != StatementKind::ResetButton) {
    return Outcome::Fail("not a button");
  }
  const State state = StateOf(session, form, s);
  if (state.disabled || state.suppressed) return Outcome::Fail("the button is not shown");
  if (state.grayed) return Outcome::Fail("the button is grayed out");
  if (s.HasFlag(EFI_IFR_FLAG_READ_ONLY)) return Outcome::Fail("the button is read-only");

  if (s.kind == StatementKind::ResetButton) {
    ApplyDefaults(session, s.resetDefaultId, true, std::nullopt);
    RefreshIfUpdated(session);
    return Outcome{};
  }
  if (s.HasFlag(EFI_IFR_FLAG_CALLBACK) && session.access != nullptr) {
    QuestionValue value = Read(session, s);
    const EFI_STATUS status = Call(session, EFI_BROWSER_ACTION_CHANGING, s, value);
    RefreshIfUpdated(session);
    if (EFI_ERROR(status) && status != EFI_UNSUPPORTED) {
      return Outcome::Note("the driver answered " + StatusText(status));
    }
    EFI_BROWSER_ACTION_REQUEST request = EFI_BROWSER_ACTION_REQUEST_NONE;
    Call(session, EFI_BROWSER_ACTION_CHANGED, s, value, &request);
    RefreshIfUpdated(session);
    HandleActionRequest(session, request);
  }
  if (s.HasFlag(EFI_IFR_FLAG_RESET_REQUIRED)) {
    resetRequired_ = true;
  }
  return Outcome{};
}

std::optional<std::u16string> FormBrowser::ReadEntry(const std::u16string& prompt, const Statement& question) {
  auto text = ui_->ReadPassword(prompt, question.maxSize);
  if (!text) return std::nullopt;
  if (text->size() > question.maxSize) {
    text->resize(question.maxSize);  // the entry field takes no more
  }
  if (text->size() < question.minSize) {
    Wipe(*text);
    Notify(u"Please type at least " + Utf8ToUtf16(std::to_string(question.minSize)) + u" characters.");
    return std::nullopt;
  }
  return text;
}

Outcome FormBrowser::Password(std::size_t index) {
  const Form* found = CurrentForm();
  if (found == nullptr || index >= found->statements.size()) {
    return Outcome::Fail("no such item");
  }
  FormSetSession& session = *history_.back().session;
  const Form form = *found;
  const Statement s = form.statements[index];
  if (s.kind != StatementKind::Password) return Outcome::Fail("not a password");
  const State state = StateOf(session, form, s);
  if (state.disabled || state.suppressed) return Outcome::Fail("the password is not shown");
  if (state.grayed) return Outcome::Fail("the password is grayed out");
  if (s.HasFlag(EFI_IFR_FLAG_READ_ONLY)) return Outcome::Fail("the password is read-only");
  if (ui_ == nullptr) return Outcome::Fail("no front end to type a password in");

  if (!s.HasFlag(EFI_IFR_FLAG_CALLBACK) || session.access == nullptr) {
    Notify(u"This password is not supported.");
    return Outcome::Note("password without a callback");
  }
  // 1: an empty text asks whether a password is set.
  const std::u16string empty;
  EFI_STATUS status = CallPassword(session, s, &empty);
  RefreshIfUpdated(session);
  if (status == EFI_NOT_AVAILABLE_YET) {
    return Outcome::Note("the password cannot be set now");
  }
  if (status == EFI_UNSUPPORTED) {
    Notify(u"This password is not supported.");
    return Outcome::Note("password not supported");
  }
  if (EFI_ERROR(status)) {
    // 2: a password exists; the old one comes first.
    auto old = ReadEntry(u"Please type in your password", s);
    if (!old) return Outcome::Note("cancelled");
    status = CallPassword(session, s, &*old);
    Wipe(*old);
    RefreshIfUpdated(session);
    if (status == EFI_NOT_READY) {
      Notify(u"Incorrect password.");
      return Outcome::Note("incorrect password");
    }
    if (EFI_ERROR(status)) {
      return Outcome::Note("the driver ended the conversation: " + StatusText(status));
    }
  }
  // 3: the new password, twice; giving up or a mismatch resets the driver.
  auto fresh = ReadEntry(u"Please type in your new password", s);
  if (!fresh) {
    CallPassword(session, s, nullptr);
    return Outcome::Note("cancelled");
  }
  auto confirm = ReadEntry(u"Please confirm your new password", s);
  if (!confirm) {
    Wipe(*fresh);
    CallPassword(session, s, nullptr);
    return Outcome::Note("cancelled");
  }
  if (*fresh != *confirm) {
    Wipe(*fresh);
    Wipe(*confirm);
    CallPassword(session, s, nullptr);
    Notify(u"Passwords are not the same.");
    return Outcome::Note("the two entries differ");
  }
  // 4: the new password; the driver keeps it, whatever it answers.
  CallPassword(session, s, &*fresh);
  Wipe(*fresh);
  Wipe(*confirm);
  RefreshIfUpdated(session);
  return Outcome{};
}

}  // namespace carvex::sim::browser

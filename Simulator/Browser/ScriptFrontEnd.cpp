#include "ScriptFrontEnd.hpp"

#include <algorithm>
#include <cctype>
#include <deque>
#include <optional>

#include "Platform/Ucs2.hpp"
#include "ScriptLines.hpp"

namespace carvex::sim::browser {

namespace {

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  const auto last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::string Quote(const std::string& text) { return "\"" + text + "\""; }
std::string Quote(const std::u16string& text) { return Quote(Utf16ToUtf8(text)); }

std::optional<std::uint64_t> ParseNumber(const std::string& text, std::uint16_t width) {
  if (text.empty()) return std::nullopt;
  const bool negative = text[0] == '-';
  const std::string digits = negative ? text.substr(1) : text;
  if (digits.empty()) return std::nullopt;
  std::size_t used = 0;
  std::uint64_t value = 0;
  try {
    value = std::stoull(digits, &used, 0);
  } catch (...) {
    return std::nullopt;
  }
  if (used != digits.size()) return std::nullopt;
  if (negative) {
    value = ~value + 1;
    if (width > 0 && width < 8) value &= (std::uint64_t{1} << (8 * width)) - 1;
  }
  return value;
}

std::string StateWords(const ItemView& item) {
  std::string words = item.Shown() ? "shown" : "hidden";
  if (item.grayed) words += " grayed";
  if (item.readOnly) words += " read-only";
  if (item.kind == ItemKind::Checkbox) words += item.checked ? " checked" : " unchecked";
  return words;
}

// Whether `state` (a word of the script) holds for the item; nullopt for an
// unknown word.
std::optional<bool> HasState(const ItemView& item, const std::string& state) {
  if (state == "shown") return item.Shown();
  if (state == "hidden") return !item.Shown();
  if (state == "grayed") return item.grayed;
  if (state == "enabled") return !item.grayed;
  if (state == "read-only") return item.readOnly;
  if (state == "editable") return !item.readOnly;
  if (state == "selectable") return item.Selectable();
  if (state == "checked") return item.kind == ItemKind::Checkbox && item.checked;
  if (state == "unchecked") return item.kind == ItemKind::Checkbox && !item.checked;
  return std::nullopt;
}

class Runner final : public BrowserUi {
 public:
  Runner(FormBrowser& browser, std::vector<ScriptLine> lines, std::string name, const ScriptOptions& options)
      : browser_(browser), lines_(std::move(lines)), name_(std::move(name)), options_(options) {}

  ScriptResult Run() {
    BrowserUi* previous = browser_.Ui();
    browser_.SetUi(this);
    while (!failure_ && cursor_ < lines_.size()) {
      Execute(lines_[cursor_++]);
    }
    if (options_.leaveSetupAtEnd) {
      ending_ = true;
      browser_.LeaveSetup();
    }
    browser_.SetUi(previous);
    ScriptResult result;
    result.name = name_;
    result.commands = commands_;
    if (failure_) {
      result.ok = false;
      result.line = failure_->first;
      result.message = failure_->second;
    }
    return result;
  }

  std::uint8_t ShowBox(const Box& box) override {
    boxes_.push_back(box);
    Echo("  [box] " + (box.title.empty() ? std::string() : Utf16ToUtf8(box.title) + ": ") + Utf16ToUtf8(box.text) +
         (box.asks ? " (yes/no)" : ""));
    const std::uint8_t safe = box.asks ? 1 : 0;
    if (failure_ || ending_) return safe;
    if (NextIs("expect", "box")) {
      const ScriptLine& line = lines_[cursor_++];
      ExpectBox(line, &box);
      if (failure_) return safe;
    }
    if (NextIs("answer")) {
      const ScriptLine& line = lines_[cursor_++];
      Echo("> answer");
      return Answer(line, box);
    }
    if (box.asks) {
      Fail(CurrentLine(), "a box asks " + Quote(box.text) + " and the script does not answer it");
    }
    return safe;
  }

  std::optional<std::u16string> ReadPassword(const std::u16string& prompt, std::size_t) override {
    Echo("  [password] " + Utf16ToUtf8(prompt));
    ++prompts_;
    if (failure_ || ending_ || typed_.empty()) {
      return std::nullopt;  // the user pressed Esc
    }
    std::u16string text = typed_.front();
    typed_.pop_front();
    return text;
  }

  void RunNested(FormBrowser& browser, std::size_t depth) override {
    while (!failure_ && cursor_ < lines_.size() && browser.Depth() > depth) {
      Execute(lines_[cursor_++]);
    }
  }

 private:
  void Echo(const std::string& text) {
    if (options_.transcript != nullptr) *options_.transcript << text << "\n";
  }

  void Fail(unsigned line, std::string message) {
    if (!failure_) failure_ = std::make_pair(line, std::move(message));
  }

  unsigned CurrentLine() const { return current_ ? current_->number : 0; }

  bool NextIs(const std::string& command, const std::string& word = {}) const {
    if (cursor_ >= lines_.size()) return false;
    const auto& tokens = lines_[cursor_].tokens;
    if (tokens.empty() || tokens[0].quoted || tokens[0].text != command) return false;
    return word.empty() || (tokens.size() > 1 && !tokens[1].quoted && tokens[1].text == word);
  }

  void Execute(const ScriptLine& line) {
    const ScriptLine* outer = current_;
    current_ = &line;
    const std::string& command = line.tokens[0].text;
    Echo("> " + Describe(line));
    ++commands_;
    if (command != "expect" && command != "answer") {
      boxes_.clear();
    }
    const std::size_t promptsBefore = prompts_;
    if (command == "goto" || command == "open") Goto(line);
    else if (command == "select") Act(line, &FormBrowser::Select, {ItemKind::Link, ItemKind::FormSet}, "a link");
    else if (command == "press") Act(line, &FormBrowser::Press, {ItemKind::Action, ItemKind::ResetButton}, "a button");
    else if (command == "back") Report(line, browser_.Back());
    else if (command == "home") Report(line, browser_.Home());
    else if (command == "set") Set(line);
    else if (command == "check" || command == "uncheck") Check(line, command == "check");
    else if (command == "password") Password(line);
    else if (command == "answer") Fail(line.number, "no box is waiting for an answer");
    else if (command == "expect") Expect(line);
    else if (command == "save") Report(line, browser_.Save());
    else if (command == "discard") Report(line, browser_.Discard());
    else if (command == "defaults") Defaults(line);
    else if (command == "language" && line.tokens.size() == 2) browser_.SetLanguage(line.tokens[1].text);
    else if (command == "show") Show();
    else Fail(line.number, "unknown command " + Quote(command));
    if (!failure_ && !typed_.empty()) {
      Fail(line.number, "the browser asked for " + std::to_string(prompts_ - promptsBefore) + " password(s), the script gave " +
                            std::to_string(prompts_ - promptsBefore + typed_.size()));
    }
    typed_.clear();
    current_ = outer;
  }

  static std::string Describe(const ScriptLine& line) {
    std::string text;
    for (const ScriptToken& token : line.tokens) {
      if (!text.empty()) text += " ";
      text += token.quoted ? Quote(token.text) : token.text;
      if (token.occurrence) text += "[" + std::to_string(token.occurrence) + "]";
    }
    return text;
  }

  void Report(const ScriptLine& line, const Outcome& outcome) {
    if (!outcome.ok) {
      Fail(line.number, line.tokens[0].text + " failed: " + outcome.note);
    } else if (!outcome.note.empty()) {
      Echo("  [note] " + outcome.note);
    }
  }

  std::optional<ItemView> Find(const ScriptLine& line, const ScriptToken& ref, bool reportMissing = true) {
    const FormView view = browser_.View();
    std::vector<const ItemView*> matches;
    if (!ref.quoted && !ref.text.empty() && ref.text[0] == '@') {
      const auto id = ParseNumber(ref.text.substr(1), 2);
      for (const ItemView& item : view.items) {
        if (id && item.questionId == *id && item.kind != ItemKind::FormSet) matches.push_back(&item);
      }
    } else {
      const std::string want = Trim(ref.text);
      for (const ItemView& item : view.items) {
        if (Trim(Utf16ToUtf8(item.prompt)) == want) matches.push_back(&item);
      }
    }
    const ItemView* chosen = nullptr;
    if (ref.occurrence != 0) {
      if (ref.occurrence <= matches.size()) chosen = matches[ref.occurrence - 1];
    } else {
      auto shown = std::find_if(matches.begin(), matches.end(), [](const ItemView* item) { return item->Shown(); });
      chosen = shown != matches.end() ? *shown : matches.empty() ? nullptr : matches.front();
    }
    if (chosen == nullptr) {
      if (!reportMissing) return std::nullopt;
      const std::string where = view.frontPage ? "the front page" : "form " + Quote(view.title);
      Fail(line.number, "no item " + Describe(ScriptLine{0, {ref}}) + " on " + where);
      return std::nullopt;
    }
    return *chosen;
  }

  bool Arguments(const ScriptLine& line, std::size_t count, const char* usage) {
    if (line.tokens.size() != count) {
      Fail(line.number, std::string("usage: ") + usage);
      return false;
    }
    return true;
  }

  // The current form in the transcript: one line per item, hidden ones too.
  void Show() {
    const FormView view = browser_.View();
    Echo("  [form] " + (view.frontPage ? std::string("front page") : Utf16ToUtf8(view.title)));
    for (const ItemView& item : view.items) {
      if (item.disabled) continue;
      std::string text = "    " + Quote(item.prompt);
      if (item.kind != ItemKind::Subtitle && !item.value.empty()) text += " = " + Quote(item.value);
      Echo(text + " (" + StateWords(item) + ")");
    }
  }

  void Defaults(const ScriptLine& line) {
    const std::string store = line.tokens.size() > 1 ? line.tokens[1].text : "standard";
    if (line.tokens.size() > 2 || (store != "standard" && store != "manufacturing")) {
      Fail(line.number, "usage: defaults [standard|manufacturing]");
      return;
    }
    Report(line, browser_.LoadDefaults(store == "standard" ? EFI_HII_DEFAULT_CLASS_STANDARD
                                                            : EFI_HII_DEFAULT_CLASS_MANUFACTURING));
  }

  void Goto(const ScriptLine& line) {
    if (!Arguments(line, 2, "goto \"Form set title\"")) return;
    browser_.Home();
    Report(line, browser_.OpenByTitle(Utf8ToUtf16(line.tokens[1].text)));
  }

  void Act(const ScriptLine& line, Outcome (FormBrowser::*action)(std::size_t), std::vector<ItemKind> kinds,
           const char* what) {
    if (!Arguments(line, 2, (line.tokens[0].text + " \"Prompt\"").c_str())) return;
    const auto item = Find(line, line.tokens[1]);
    if (!item) return;
    if (std::find(kinds.begin(), kinds.end(), item->kind) == kinds.end()) {
      Fail(line.number, Quote(item->prompt) + " is not " + what);
      return;
    }
    Report(line, (browser_.*action)(item->index));
  }

  void Set(const ScriptLine& line) {
    if (!Arguments(line, 3, "set \"Prompt\" value")) return;
    const auto item = Find(line, line.tokens[1]);
    if (!item) return;
    const std::string text = line.tokens[2].text;
    InputValue value;
    switch (item->kind) {
      case ItemKind::String: value.text = Utf8ToUtf16(text); break;
      case ItemKind::OneOf: {
        auto match = [&](bool folded) {
          for (std::size_t i = 0; i < item->options.size(); ++i) {
            const std::string option = Trim(Utf16ToUtf8(item->options[i]));
            if (folded ? Lower(option) == Lower(Trim(text)) : option == Trim(text)) return std::optional(i);
          }
          return std::optional<std::size_t>();
        };
        auto index = match(false);
        if (!index) index = match(true);
        if (index) {
          value.number = item->optionValues[*index];
        } else if (auto number = ParseNumber(text, item->width)) {
          value.number = *number;
        } else {
          Fail(line.number, Quote(item->prompt) + " offers no option " + Quote(text));
          return;
        }
        break;
      }
      case ItemKind::Checkbox: {
        const std::string word = Lower(text);
        if (word == "1" || word == "on" || word == "checked" || word == "true") value.number = 1;
        else if (word == "0" || word == "off" || word == "unchecked" || word == "false") value.number = 0;
        else {
          Fail(line.number, "a check box is set to checked or unchecked, not " + Quote(text));
          return;
        }
        break;
      }
      case ItemKind::Numeric: {
        const auto number = ParseNumber(text, item->width);
        if (!number) {
          Fail(line.number, Quote(text) + " is not a number");
          return;
        }
        value.number = *number;
        break;
      }
      default: Fail(line.number, Quote(item->prompt) + " takes no value"); return;
    }
    Report(line, browser_.SetValue(item->index, value));
  }

  void Check(const ScriptLine& line, bool on) {
    if (!Arguments(line, 2, on ? "check \"Prompt\"" : "uncheck \"Prompt\"")) return;
    const auto item = Find(line, line.tokens[1]);
    if (!item) return;
    if (item->kind != ItemKind::Checkbox) {
      Fail(line.number, Quote(item->prompt) + " is not a check box");
      return;
    }
    InputValue value;
    value.number = on ? 1 : 0;
    Report(line, browser_.SetValue(item->index, value));
  }

  void Password(const ScriptLine& line) {
    if (line.tokens.size() < 2) {
      Fail(line.number, "usage: password \"Prompt\" \"typed\"...");
      return;
    }
    const auto item = Find(line, line.tokens[1]);
    if (!item) return;
    if (item->kind != ItemKind::Password) {
      Fail(line.number, Quote(item->prompt) + " is not a password");
      return;
    }
    typed_.clear();
    for (std::size_t i = 2; i < line.tokens.size(); ++i) typed_.push_back(Utf8ToUtf16(line.tokens[i].text));
    Report(line, browser_.Password(item->index));
  }

  std::uint8_t Answer(const ScriptLine& line, const Box& box) {
    const std::string word = line.tokens.size() == 2 ? Lower(line.tokens[1].text) : "";
    if (box.asks) {
      if (word == "yes") return 0;
      if (word == "no") return 1;
      Fail(line.number, "the box asks " + Quote(box.text) + ": answer yes or no");
      return 1;
    }
    if (word == "ok" || word == "yes") return 0;
    Fail(line.number, "the box only reports " + Quote(box.text) + ": answer ok");
    return 0;
  }

  // expect box ["~"] "text" [title "Title"], against the box being shown
  // (inside a command) or the last box the previous command showed.
  void ExpectBox(const ScriptLine& line, const Box* box) {
    std::size_t i = 2;
    const bool contains = i < line.tokens.size() && !line.tokens[i].quoted && line.tokens[i].text == "~";
    if (contains) ++i;
    if (i >= line.tokens.size()) {
      Fail(line.number, "usage: expect box [~] \"text\" [title \"Title\"]");
      return;
    }
    const std::string want = line.tokens[i++].text;
    std::optional<std::string> title;
    if (i + 1 < line.tokens.size() && line.tokens[i].text == "title") title = line.tokens[i + 1].text;
    if (box == nullptr && !boxes_.empty()) box = &boxes_.back();
    if (box == nullptr) {
      Fail(line.number, "expected a box " + Quote(want) + ", saw no box");
      return;
    }
    const std::string seen = Utf16ToUtf8(box->text);
    const bool match = contains ? seen.find(want) != std::string::npos : Trim(seen) == Trim(want);
    if (!match) {
      Fail(line.number, std::string("expected a box ") + (contains ? "containing " : "") + Quote(want) + ", saw " +
                            Quote(seen));
      return;
    }
    if (title && Utf16ToUtf8(box->title) != *title) {
      Fail(line.number, "expected a box titled " + Quote(*title) + ", saw " + Quote(box->title));
    }
  }

  void Expect(const ScriptLine& line) {
    const auto& t = line.tokens;
    if (t.size() >= 2 && !t[1].quoted && t[1].text == "box") {
      ExpectBox(line, nullptr);
      return;
    }
    if (t.size() == 3 && !t[1].quoted && t[1].text == "no" && t[2].text == "box") {
      if (!boxes_.empty()) {
        Fail(line.number, "expected no box, saw " + Quote(boxes_.front().text));
      }
      return;
    }
    if (t.size() == 3 && !t[1].quoted && t[1].text == "form") {
      const FormView view = browser_.View();
      if (Utf16ToUtf8(view.title) != t[2].text) {
        Fail(line.number, "expected form " + Quote(t[2].text) + ", saw " + Quote(view.title));
      }
      return;
    }
    if (t.size() < 3) {
      Fail(line.number, "usage: expect \"Prompt\" = value | ~ text | state...");
      return;
    }
    if (t.size() == 3 && !t[2].quoted && t[2].text == "absent") {
      if (Find(line, t[1], false)) {
        Fail(line.number, "expected " + Describe(ScriptLine{0, {t[1]}}) + " absent, saw it on the form");
      }
      return;
    }
    const auto item = Find(line, t[1]);
    if (!item) return;
    const std::string who = Describe(ScriptLine{0, {t[1]}});
    if (!t[2].quoted && (t[2].text == "=" || t[2].text == "~")) {
      if (t.size() != 4) {
        Fail(line.number, "usage: expect \"Prompt\" " + t[2].text + " value");
        return;
      }
      const std::string seen = Utf16ToUtf8(item->value);
      const bool match = t[2].text == "=" ? Trim(seen) == Trim(t[3].text) : seen.find(t[3].text) != std::string::npos;
      if (!match) {
        Fail(line.number, "expected " + who + " " + t[2].text + " " + Quote(t[3].text) + ", saw " + Quote(seen));
      }
      return;
    }
    for (std::size_t i = 2; i < t.size(); ++i) {
      const auto holds = HasState(*item, t[i].text);
      if (!holds) {
        Fail(line.number, "unknown state " + Quote(t[i].text));
        return;
      }
      if (!*holds) {
        Fail(line.number, "expected " + who + " " + t[i].text + ", saw " + StateWords(*item));
        return;
      }
    }
  }

  FormBrowser& browser_;
  std::vector<ScriptLine> lines_;
  std::string name_;
  ScriptOptions options_;
  std::size_t cursor_ = 0;
  const ScriptLine* current_ = nullptr;
  std::optional<std::pair<unsigned, std::string>> failure_;
  std::vector<Box> boxes_;  // shown by the last command that was not an expectation
  std::deque<std::u16string> typed_;
  std::size_t prompts_ = 0;
  unsigned commands_ = 0;
  bool ending_ = false;
};

}  // namespace

std::string ScriptResult::Describe() const {
  if (ok) return name + ": " + std::to_string(commands) + " commands passed";
  return name + ":" + std::to_string(line) + ": " + message;
}

ScriptResult RunSetupScript(FormBrowser& browser, const std::string& text, const std::string& name,
                            const ScriptOptions& options) {
  std::optional<ScriptSyntaxError> error;
  std::vector<ScriptLine> lines = SplitScript(text, error);
  if (error) {
    ScriptResult result;
    result.ok = false;
    result.name = name;
    result.line = error->line;
    result.message = error->message;
    return result;
  }
  return Runner(browser, std::move(lines), name, options).Run();
}

}  // namespace carvex::sim::browser

#include "TuiFrontEnd.hpp"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <iostream>

#ifndef NCURSES_WIDECHAR
#define NCURSES_WIDECHAR 1
#endif
#include <curses.h>

#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

namespace {

enum Pair : short { kTitle = 1, kBody, kSelected, kGrayed, kSubtitle, kPopup, kPopupButton };

constexpr int kEscape = 27;

std::wstring Wide(const std::u16string& text) {
  std::wstring wide;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    }
    // Control characters would move the cursor: show them as blanks.
    wide.push_back(c < 0x20 ? L' ' : static_cast<wchar_t>(c));
  }
  return wide;
}

int Columns(wchar_t c) { return std::max(wcwidth(c), 0); }

int Width(const std::wstring& text) {
  int width = 0;
  for (wchar_t c : text) width += Columns(c);
  return width;
}

// The longest start of text that fits in `columns`.
std::wstring Fit(const std::wstring& text, int columns) {
  std::wstring fitted;
  int used = 0;
  for (wchar_t c : text) {
    if (used + Columns(c) > columns) break;
    used += Columns(c);
    fitted.push_back(c);
  }
  return fitted;
}

void Put(WINDOW* window, int y, int x, const std::wstring& text, int columns) {
  if (columns <= 0) return;
  const std::wstring fitted = Fit(text, columns);
  mvwaddnwstr(window, y, x, fitted.c_str(), static_cast<int>(fitted.size()));
}

std::vector<std::wstring> Wrap(const std::wstring& text, int columns) {
  std::vector<std::wstring> lines;
  std::wstring line, word;
  auto flushWord = [&] {
    if (word.empty()) return;
    if (!line.empty() && Width(line) + 1 + Width(word) > columns) {
      lines.push_back(line);
      line.clear();
    }
    while (Width(word) > columns) {
      const std::wstring head = Fit(word, columns);
      lines.push_back(head);
      word.erase(0, head.size());
    }
    if (!line.empty()) line.push_back(L' ');
    line += word;
    word.clear();
  };
  for (wchar_t c : text) {
    if (c == L' ') {
      flushWord();
    } else {
      word.push_back(c);
    }
  }
  flushWord();
  if (!line.empty() || lines.empty()) lines.push_back(line);
  return lines;
}

// A key from get_wch: characters as themselves, function keys as their
// KEY_ codes (told apart, since both may share values).
struct Key {
  int code = ERR;
  bool function = false;
  bool Is(int c) const { return code == c && function == (c >= KEY_MIN && c <= KEY_MAX); }
};

Key ReadKey(WINDOW* window) {
  wint_t key = 0;
  const int kind = wget_wch(window, &key);
  if (kind == ERR) return Key{};
  return Key{static_cast<int>(key), kind == KEY_CODE_YES};
}

bool IsEnter(const Key& key) { return key.Is('\n') || key.Is('\r') || key.Is(KEY_ENTER); }
bool IsEscape(const Key& key) { return key.Is(kEscape); }

std::optional<std::uint64_t> ParseNumber(const std::u16string& text, std::uint16_t width) {
  const std::string narrow = Utf16ToUtf8(text);
  if (narrow.empty()) return std::nullopt;
  const bool negative = narrow[0] == '-';
  const std::string digits = negative ? narrow.substr(1) : narrow;
  try {
    std::size_t used = 0;
    std::uint64_t value = std::stoull(digits, &used, 0);
    if (used != digits.size()) return std::nullopt;
    if (negative) {
      value = ~value + 1;
      if (width > 0 && width < 8) value &= (std::uint64_t{1} << (8 * width)) - 1;
    }
    return value;
  } catch (...) {
    return std::nullopt;
  }
}

}  // namespace

TuiFrontEnd::TuiFrontEnd(FormBrowser& browser) : browser_(browser) {}

TuiFrontEnd::~TuiFrontEnd() {
  if (started_) endwin();
}

void TuiFrontEnd::Run() {
  std::setlocale(LC_ALL, "");
  initscr();
  started_ = true;
  cbreak();
  noecho();
  nonl();
  keypad(stdscr, TRUE);
  set_escdelay(25);
  curs_set(0);
  if (has_colors()) {
    start_color();
    init_pair(kTitle, COLOR_BLACK, COLOR_CYAN);
    init_pair(kBody, COLOR_WHITE, COLOR_BLUE);
    init_pair(kSelected, COLOR_BLACK, COLOR_WHITE);
    init_pair(kGrayed, COLOR_CYAN, COLOR_BLUE);
    init_pair(kSubtitle, COLOR_YELLOW, COLOR_BLUE);
    init_pair(kPopup, COLOR_BLACK, COLOR_WHITE);
    init_pair(kPopupButton, COLOR_WHITE, COLOR_BLUE);
  }
  BrowserUi* previous = browser_.Ui();
  browser_.SetUi(this);
  quit_ = false;
  Loop(0, true);
  browser_.SetUi(previous);
  endwin();
  started_ = false;
}

void TuiFrontEnd::RunNested(FormBrowser&, std::size_t depth) {
  if (!started_) return;
  Loop(depth, false);
}

std::vector<std::size_t> TuiFrontEnd::Rows(const FormView& view) const {
  std::vector<std::size_t> rows;
  for (const ItemView& item : view.items) {
    if (item.Shown()) rows.push_back(item.index);
  }
  return rows;
}

void TuiFrontEnd::KeepSelection(const FormView& view) {
  const bool newForm = browser_.Depth() != lastDepth_ || view.formId != lastForm_;
  lastDepth_ = browser_.Depth();
  lastForm_ = view.formId;
  const ItemView* chosen = nullptr;
  if (newForm) {
    firstRow_ = 0;
    for (const ItemView& item : view.items) {
      if (item.Selectable() && view.highlight != 0 && item.questionId == view.highlight) chosen = &item;
    }
  } else {
    for (const ItemView& item : view.items) {
      const bool same = selectedQuestion_ != 0 ? item.questionId == selectedQuestion_ : item.prompt == selectedPrompt_;
      if (same && item.Selectable() && !chosen) chosen = &item;
    }
  }
  if (chosen == nullptr) {
    // The first selectable item from where the selection was.
    for (const ItemView& item : view.items) {
      if (item.Selectable() && (newForm || item.index >= selected_)) {
        chosen = &item;
        break;
      }
    }
  }
  if (chosen == nullptr) {
    for (const ItemView& item : view.items) {
      if (item.Selectable()) {
        chosen = &item;
        break;
      }
    }
  }
  selected_ = chosen ? chosen->index : 0;
  selectedQuestion_ = chosen ? chosen->questionId : 0;
  selectedPrompt_ = chosen ? chosen->prompt : u"";
}

void TuiFrontEnd::Move(const FormView& view, int delta) {
  const std::vector<std::size_t> rows = Rows(view);
  auto at = std::find(rows.begin(), rows.end(), selected_);
  if (at == rows.end()) return;
  std::ptrdiff_t position = at - rows.begin();
  const int direction = delta > 0 ? 1 : -1;
  int remaining = std::abs(delta);
  std::ptrdiff_t candidate = position;
  while (remaining > 0) {
    std::ptrdiff_t next = candidate + direction;
    while (next >= 0 && next < static_cast<std::ptrdiff_t>(rows.size()) && !view.items[rows[next]].Selectable()) {
      next += direction;
    }
    if (next < 0 || next >= static_cast<std::ptrdiff_t>(rows.size())) break;
    candidate = next;
    --remaining;
  }
  const ItemView& item = view.items[rows[candidate]];
  selected_ = item.index;
  selectedQuestion_ = item.questionId;
  selectedPrompt_ = item.prompt;
}

void TuiFrontEnd::Draw() {
  const FormView view = browser_.View();
  KeepSelection(view);
  const int height = LINES, width = COLS;
  bkgd(COLOR_PAIR(kBody));
  erase();
  attron(COLOR_PAIR(kTitle));
  mvhline(0, 0, ' ', width);
  const std::wstring title = Wide(view.frontPage ? u"Setup Utility" : view.formSetTitle);
  Put(stdscr, 0, std::max(0, (width - Width(title)) / 2), title, width);
  attroff(COLOR_PAIR(kTitle));
  if (!view.frontPage && view.title != view.formSetTitle) {
    attron(A_BOLD);
    const std::wstring formTitle = Wide(view.title);
    Put(stdscr, 1, std::max(0, (width - Width(formTitle)) / 2), formTitle, width);
    attroff(A_BOLD);
  }
  mvhline(2, 0, ACS_HLINE, width);
  const int split = std::max(20, width * 2 / 3);
  mvvline(3, split, ACS_VLINE, std::max(0, height - 6));
  mvaddch(2, split, ACS_TTEE);
  mvhline(height - 3, 0, ACS_HLINE, width);
  mvaddch(height - 3, split, ACS_BTEE);
  DrawItems(view, 3, height - 4, split);
  const ItemView* selected = nullptr;
  for (const ItemView& item : view.items) {
    if (item.index == selected_ && item.Selectable()) selected = &item;
  }
  DrawHelp(selected, 3, height - 4, split);
  Put(stdscr, height - 2, 1, L"Up/Down: Select Item   Enter: Select/Change   +/-: Change Value", width - 2);
  Put(stdscr, height - 1, 1, L"Esc: Back/Exit   F9: Load Defaults   F10: Save and Exit", width - 2);
  refresh();
}

void TuiFrontEnd::DrawItems(const FormView& view, int top, int bottom, int split) {
  const std::vector<std::size_t> rows = Rows(view);
  const std::size_t visible = static_cast<std::size_t>(std::max(1, bottom - top + 1));
  const auto at = std::find(rows.begin(), rows.end(), selected_);
  const std::size_t position = at == rows.end() ? 0 : static_cast<std::size_t>(at - rows.begin());
  if (position < firstRow_) firstRow_ = position;
  if (position >= firstRow_ + visible) firstRow_ = position - visible + 1;
  auto valueOf = [](const ItemView& item) -> std::wstring {
    switch (item.kind) {
      case ItemKind::Numeric:
      case ItemKind::OneOf:
      case ItemKind::String:
      case ItemKind::Date:
      case ItemKind::Time:
      case ItemKind::OrderedList: return L"[" + Wide(item.value) + L"]";
      case ItemKind::Checkbox: return item.checked ? L"[X]" : L"[ ]";
      case ItemKind::Text: return Wide(item.value);
      default: return {};
    }
  };
  // Values take what the longest one needs (at most half the pane); prompts the rest.
  int valueColumns = 8;
  for (std::size_t index : rows) valueColumns = std::max(valueColumns, Width(valueOf(view.items[index])));
  valueColumns = std::min(valueColumns, split / 2);
  const int valueColumn = split - 1 - valueColumns;
  const int promptColumns = valueColumn - 3;
  for (std::size_t r = firstRow_; r < rows.size() && r < firstRow_ + visible; ++r) {
    const ItemView& item = view.items[rows[r]];
    const int y = top + static_cast<int>(r - firstRow_);
    std::wstring prompt = Wide(item.prompt);
    const std::wstring value = valueOf(item);
    if (item.kind == ItemKind::Link || item.kind == ItemKind::FormSet) prompt = L"> " + prompt;
    attr_t attributes = COLOR_PAIR(kBody);
    if (item.kind == ItemKind::Subtitle) attributes = COLOR_PAIR(kSubtitle) | A_BOLD;
    if (item.grayed) attributes = COLOR_PAIR(kGrayed);
    const bool isSelected = item.index == selected_ && item.Selectable();
    const bool wide = item.kind == ItemKind::Subtitle || item.kind == ItemKind::Link || item.kind == ItemKind::FormSet ||
                      item.kind == ItemKind::Action || item.kind == ItemKind::Password || value.empty();
    attron(isSelected ? COLOR_PAIR(kSelected) : attributes);
    Put(stdscr, y, 2, prompt, wide ? split - 3 : promptColumns);
    attroff(isSelected ? COLOR_PAIR(kSelected) : attributes);
    if (!value.empty()) {
      attron(attributes);
      Put(stdscr, y, valueColumn, value, split - valueColumn - 1);
      attroff(attributes);
    }
  }
}

void TuiFrontEnd::DrawHelp(const ItemView* item, int top, int bottom, int split) {
  if (item == nullptr) return;
  const int columns = COLS - split - 3;
  if (columns < 4) return;
  int y = top;
  for (const std::wstring& line : Wrap(Wide(item->help), columns)) {
    if (y > bottom) break;
    Put(stdscr, y++, split + 2, line, columns);
  }
}

void TuiFrontEnd::Report(const Outcome& outcome) {
  if (outcome.ok) return;
  Box box;
  box.text = Utf8ToUtf16(outcome.note);
  box.fromBrowser = true;
  ShowBox(box);
}

bool TuiFrontEnd::Confirm(const std::u16string& question) {
  Box box;
  box.text = question;
  box.asks = true;
  box.fromBrowser = true;
  return ShowBox(box) == 0;
}

void TuiFrontEnd::Activate(const ItemView& item) {
  InputValue value;
  switch (item.kind) {
    case ItemKind::FormSet:
    case ItemKind::Link: Report(browser_.Select(item.index)); break;
    case ItemKind::Action:
    case ItemKind::ResetButton: Report(browser_.Press(item.index)); break;
    case ItemKind::Password: Report(browser_.Password(item.index)); break;
    case ItemKind::Checkbox:
      value.number = item.checked ? 0 : 1;
      Report(browser_.SetValue(item.index, value));
      break;
    case ItemKind::OneOf:
      if (auto option = ChooseOption(item)) {
        value.number = item.optionValues[*option];
        Report(browser_.SetValue(item.index, value));
      }
      break;
    case ItemKind::Numeric: {
      const std::u16string prompt = item.prompt + u" (" + Utf8ToUtf16(std::to_string(item.minimum)) + u".." +
                                    Utf8ToUtf16(std::to_string(item.maximum)) + u")";
      if (auto text = ReadText(prompt, 20, false, u"")) {
        const auto number = ParseNumber(*text, item.width);
        if (!number) {
          Report(Outcome::Fail("not a number"));
          break;
        }
        value.number = *number;
        Report(browser_.SetValue(item.index, value));
      }
      break;
    }
    case ItemKind::String:
      if (auto text = ReadText(item.prompt, item.maxSize, false, item.value)) {
        value.text = *text;
        Report(browser_.SetValue(item.index, value));
      }
      break;
    default: break;
  }
}

void TuiFrontEnd::Step(const ItemView& item, int delta) {
  InputValue value;
  switch (item.kind) {
    case ItemKind::Checkbox:
      value.number = item.checked ? 0 : 1;
      break;
    case ItemKind::OneOf: {
      if (item.optionValues.empty()) return;
      auto at = std::find(item.optionValues.begin(), item.optionValues.end(), item.number);
      std::ptrdiff_t position = at == item.optionValues.end() ? 0 : at - item.optionValues.begin();
      const auto count = static_cast<std::ptrdiff_t>(item.optionValues.size());
      position = ((position + delta) % count + count) % count;
      value.number = item.optionValues[static_cast<std::size_t>(position)];
      break;
    }
    case ItemKind::Numeric: {
      const std::uint64_t step = item.step == 0 ? 1 : item.step;
      if (delta > 0) {
        value.number = item.number + step > item.maximum && item.maximum != 0 ? item.maximum : item.number + step;
      } else {
        value.number = item.number < item.minimum + step ? item.minimum : item.number - step;
      }
      break;
    }
    default: return;
  }
  Report(browser_.SetValue(item.index, value));
}

void TuiFrontEnd::Loop(std::size_t depth, bool topLevel) {
  while (!quit_) {
    if (!topLevel && browser_.Depth() <= depth) return;
    Draw();
    const FormView view = browser_.View();
    const ItemView* item = nullptr;
    for (const ItemView& candidate : view.items) {
      if (candidate.index == selected_ && candidate.Selectable()) item = &candidate;
    }
    const Key key = ReadKey(stdscr);
    if (key.Is(KEY_UP)) {
      Move(view, -1);
    } else if (key.Is(KEY_DOWN)) {
      Move(view, 1);
    } else if (key.Is(KEY_PPAGE)) {
      Move(view, -10);
    } else if (key.Is(KEY_NPAGE)) {
      Move(view, 10);
    } else if (key.Is('+') || key.Is(' ')) {
      if (item) Step(*item, 1);
    } else if (key.Is('-')) {
      if (item) Step(*item, -1);
    } else if (IsEscape(key)) {
      if (!view.frontPage) {
        Report(browser_.Back());
      } else if (topLevel && (!browser_.HasUnsavedChanges() || Confirm(u"Discard changes and exit setup?"))) {
        quit_ = true;
      }
    } else if (IsEnter(key)) {
      if (item) Activate(*item);
    } else if (key.Is(KEY_F(9))) {
      if (Confirm(u"Load default values?")) Report(browser_.LoadDefaults());
    } else if (key.Is(KEY_F(10))) {
      if (Confirm(u"Save configuration and exit?")) {
        const Outcome saved = browser_.Save();
        if (saved.ok) quit_ = true;
        Report(saved);
      }
    }
  }
}

std::uint8_t TuiFrontEnd::ShowBox(const Box& message) {
  const Box& shown = message;
  if (!started_) {
    std::cerr << (shown.title.empty() ? "" : Utf16ToUtf8(shown.title) + ": ") << Utf16ToUtf8(shown.text) << "\n";
    return shown.asks ? 1 : 0;
  }
  const int maxColumns = std::max(20, std::min(60, COLS - 8));
  const std::vector<std::wstring> lines = Wrap(Wide(shown.text), maxColumns);
  const std::wstring title = Wide(shown.title);
  const std::wstring buttons = shown.asks ? L"[ Yes ]    [ No ]" : L"[ Ok ]";
  int columns = std::max(Width(title), Width(buttons));
  for (const std::wstring& line : lines) columns = std::max(columns, Width(line));
  const int width = std::min(COLS, columns + 4);
  const int height = std::min(LINES, static_cast<int>(lines.size()) + (title.empty() ? 4 : 6));
  WINDOW* window = newwin(height, width, std::max(0, (LINES - height) / 2), std::max(0, (COLS - width) / 2));
  keypad(window, TRUE);
  wbkgd(window, COLOR_PAIR(kPopup));
  int choice = 0;  // 0 yes/ok, 1 no
  for (;;) {
    werase(window);
    ::box(window, 0, 0);
    int y = 1;
    if (!title.empty()) {
      wattron(window, A_BOLD);
      Put(window, y, std::max(1, (width - Width(title)) / 2), title, width - 2);
      wattroff(window, A_BOLD);
      y += 2;
    }
    for (const std::wstring& line : lines) {
      if (y >= height - 2) break;
      Put(window, y++, 2, line, width - 4);
    }
    const int buttonsX = std::max(1, (width - Width(buttons)) / 2);
    if (shown.asks) {
      wattron(window, choice == 0 ? COLOR_PAIR(kPopupButton) : COLOR_PAIR(kPopup));
      Put(window, height - 2, buttonsX, L"[ Yes ]", 7);
      wattroff(window, choice == 0 ? COLOR_PAIR(kPopupButton) : COLOR_PAIR(kPopup));
      wattron(window, choice == 1 ? COLOR_PAIR(kPopupButton) : COLOR_PAIR(kPopup));
      Put(window, height - 2, buttonsX + 11, L"[ No ]", 6);
      wattroff(window, choice == 1 ? COLOR_PAIR(kPopupButton) : COLOR_PAIR(kPopup));
    } else {
      wattron(window, COLOR_PAIR(kPopupButton));
      Put(window, height - 2, buttonsX, buttons, Width(buttons));
      wattroff(window, COLOR_PAIR(kPopupButton));
    }
    wrefresh(window);
    const Key key = ReadKey(window);
    if (key.code == ERR) continue;
    if (!shown.asks) {
      if (IsEnter(key) || IsEscape(key) || key.Is(' ')) break;
      continue;
    }
    if (key.Is(KEY_LEFT) || key.Is(KEY_RIGHT) || key.Is('\t')) {
      choice = 1 - choice;
    } else if (key.Is('y') || key.Is('Y')) {
      choice = 0;
      break;
    } else if (key.Is('n') || key.Is('N') || IsEscape(key)) {
      choice = 1;
      break;
    } else if (IsEnter(key)) {
      break;
    }
  }
  delwin(window);
  touchwin(stdscr);
  refresh();
  return static_cast<std::uint8_t>(choice);
}

std::optional<std::u16string> TuiFrontEnd::ReadPassword(const std::u16string& prompt, std::size_t maxSize) {
  if (!started_) return std::nullopt;
  return ReadText(prompt, maxSize, true, u"");
}

std::optional<std::u16string> TuiFrontEnd::ReadText(const std::u16string& prompt, std::size_t maxSize, bool masked,
                                                    const std::u16string& initial) {
  const std::wstring title = Wide(prompt);
  const int field = static_cast<int>(std::min<std::size_t>(std::max<std::size_t>(maxSize, 8), 60));
  const int width = std::min(COLS, std::max(Width(title), field + 2) + 4);
  const int height = 5;
  WINDOW* window = newwin(height, width, std::max(0, (LINES - height) / 2), std::max(0, (COLS - width) / 2));
  keypad(window, TRUE);
  wbkgd(window, COLOR_PAIR(kPopup));
  std::u16string text = initial;
  std::optional<std::u16string> result;
  curs_set(1);
  for (;;) {
    werase(window);
    ::box(window, 0, 0);
    Put(window, 1, 2, title, width - 4);
    std::wstring shown = masked ? std::wstring(text.size(), L'*') : Wide(text);
    wattron(window, COLOR_PAIR(kPopupButton));
    mvwhline(window, 3, 2, ' ', width - 4);
    // The end of a long entry stays in view.
    while (Width(shown) > width - 5) shown.erase(0, 1);
    Put(window, 3, 2, shown, width - 4);
    wattroff(window, COLOR_PAIR(kPopupButton));
    wmove(window, 3, 2 + Width(shown));
    wrefresh(window);
    const Key key = ReadKey(window);
    if (key.code == ERR) continue;
    if (IsEnter(key)) {
      result = text;
      break;
    }
    if (IsEscape(key)) break;
    if (key.Is(KEY_BACKSPACE) || key.Is(127) || key.Is(8)) {
      if (!text.empty()) text.pop_back();
    } else if (!key.function && key.code >= 0x20 && key.code != 127 && key.code < 0x10000 && text.size() < maxSize) {
      text.push_back(static_cast<char16_t>(key.code));
    }
  }
  std::fill(text.begin(), text.end(), u'\0');
  curs_set(0);
  delwin(window);
  touchwin(stdscr);
  refresh();
  return result;
}

std::optional<std::size_t> TuiFrontEnd::ChooseOption(const ItemView& item) {
  if (item.options.empty()) return std::nullopt;
  int columns = Width(Wide(item.prompt));
  for (const auto& option : item.options) columns = std::max(columns, Width(Wide(option)));
  const int width = std::min(COLS, columns + 6);
  const int height = std::min(LINES, static_cast<int>(item.options.size()) + 4);
  WINDOW* window = newwin(height, width, std::max(0, (LINES - height) / 2), std::max(0, (COLS - width) / 2));
  keypad(window, TRUE);
  wbkgd(window, COLOR_PAIR(kPopup));
  auto at = std::find(item.optionValues.begin(), item.optionValues.end(), item.number);
  std::size_t current = at == item.optionValues.end() ? 0 : static_cast<std::size_t>(at - item.optionValues.begin());
  std::optional<std::size_t> chosen;
  for (;;) {
    werase(window);
    ::box(window, 0, 0);
    Put(window, 1, 2, Wide(item.prompt), width - 4);
    for (std::size_t i = 0; i < item.options.size() && static_cast<int>(i) + 2 < height - 1; ++i) {
      if (i == current) wattron(window, COLOR_PAIR(kPopupButton));
      mvwhline(window, static_cast<int>(i) + 2, 1, ' ', width - 2);
      Put(window, static_cast<int>(i) + 2, 3, Wide(item.options[i]), width - 5);
      if (i == current) wattroff(window, COLOR_PAIR(kPopupButton));
    }
    wrefresh(window);
    const Key key = ReadKey(window);
    if (key.Is(KEY_UP) && current > 0) {
      --current;
    } else if (key.Is(KEY_DOWN) && current + 1 < item.options.size()) {
      ++current;
    } else if (IsEnter(key)) {
      chosen = current;
      break;
    } else if (IsEscape(key)) {
      break;
    }
  }
  delwin(window);
  touchwin(stdscr);
  refresh();
  return chosen;
}

}  // namespace carvex::sim::browser

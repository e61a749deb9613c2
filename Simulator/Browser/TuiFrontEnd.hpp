// The interactive front end: firmware setup in a terminal (ncurses). A title
// bar, the form's prompts and values, a help pane for the selected item,
// grayed and read-only items that cannot be selected; arrows and Enter to
// follow links and edit, +/- to step a value, Esc to go back, F9 to load
// defaults, F10 to save and exit; pop-up message boxes and password entry
// with masked echo.
//
//   TuiFrontEnd tui(*browserMachine.Browser());
//   tui.Run();                       // until the user leaves setup
//   browserMachine.Browser()->LeaveSetup();
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "FormBrowser.hpp"

namespace carvex::sim::browser {

class TuiFrontEnd final : public BrowserUi {
 public:
  explicit TuiFrontEnd(FormBrowser& browser);
  ~TuiFrontEnd() override;
  TuiFrontEnd(const TuiFrontEnd&) = delete;
  TuiFrontEnd& operator=(const TuiFrontEnd&) = delete;

  // Shows setup until the user leaves it (F10 after saving, or Esc on the
  // front page). The terminal is restored on return.
  void Run();

  std::uint8_t ShowBox(const Box& box) override;
  std::optional<std::u16string> ReadPassword(const std::u16string& prompt, std::size_t maxSize) override;
  void RunNested(FormBrowser& browser, std::size_t depth) override;

 private:
  void Loop(std::size_t depth, bool topLevel);
  void Draw();
  void DrawItems(const FormView& view, int top, int bottom, int split);
  void DrawHelp(const ItemView* item, int top, int bottom, int split);
  std::vector<std::size_t> Rows(const FormView& view) const;  // shown items, in order
  void Move(const FormView& view, int delta);
  void KeepSelection(const FormView& view);
  void Activate(const ItemView& item);
  void Step(const ItemView& item, int delta);
  void Report(const Outcome& outcome);
  bool Confirm(const std::u16string& question);
  std::optional<std::size_t> ChooseOption(const ItemView& item);
  std::optional<std::u16string> ReadText(const std::u16string& prompt, std::size_t maxSize, bool masked,
                                         const std::u16string& initial);

  FormBrowser& browser_;
  bool started_ = false;  // curses is up
  bool quit_ = false;
  std::size_t selected_ = 0;  // index into the view's items
  EFI_QUESTION_ID selectedQuestion_ = 0;
  std::u16string selectedPrompt_;
  std::size_t firstRow_ = 0;  // scroll position
  std::size_t lastDepth_ = 0;
  EFI_FORM_ID lastForm_ = 0;
};

}  // namespace carvex::sim::browser

// The interactive front end in a real terminal: a tmux session runs it over
// the test driver; the test types keys and reads the screen back.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "BrowserFixture.hpp"

namespace browsertest {
namespace {

std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return text;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = fread(buffer, 1, sizeof buffer, pipe)) > 0) text.append(buffer, read);
  pclose(pipe);
  return text;
}

class Tmux {
 public:
  Tmux() : socket_("carvex-browser-" + std::to_string(std::random_device{}())) {}
  ~Tmux() { std::system(("tmux -L " + socket_ + " kill-server >/dev/null 2>&1").c_str()); }

  bool Start(const std::string& command) {
    return std::system(("tmux -L " + socket_ + " new-session -d -x 100 -y 30 '" + command + "'").c_str()) == 0;
  }
  std::string Screen() const { return Output("tmux -L " + socket_ + " capture-pane -p -t 0 2>/dev/null"); }
  void Keys(const std::string& keys) { std::system(("tmux -L " + socket_ + " send-keys -t 0 " + keys).c_str()); }
  // Waits until the screen shows `text`.
  bool WaitFor(const std::string& text, int milliseconds = 10000) {
    for (int waited = 0; waited < milliseconds; waited += 50) {
      if (Screen().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

 private:
  std::string socket_;
};

std::string LineWith(const std::string& screen, const std::string& text) {
  std::istringstream lines(screen);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.find(text) != std::string::npos) return line;
  }
  return {};
}

TEST(TuiFrontEndTest, OpenMoveChangeSave_ScreenFollowsAndTheDriverGetsTheValues) {
  if (std::system("tmux -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "tmux is not installed";
  ScratchDirectory scratch;
  const std::string result = (scratch.Path() / "result").string();
  Tmux tmux;
  ASSERT_TRUE(tmux.Start(std::string("env TERM=xterm LANG=C.UTF-8 ") + BROWSER_TUI_HOST + " " + result));
  ASSERT_TRUE(tmux.WaitFor("> Browser Sample")) << tmux.Screen();
  EXPECT_TRUE(tmux.WaitFor("Exercises the form browser.")) << "the help of the selected entry";

  tmux.Keys("Enter");
  ASSERT_TRUE(tmux.WaitFor("Module Count")) << tmux.Screen();
  std::string screen = tmux.Screen();
  EXPECT_NE(LineWith(screen, "Scope").find("[Platform]"), std::string::npos) << screen;
  EXPECT_NE(screen.find("Where the change applies."), std::string::npos) << "read-only items are skipped";

  tmux.Keys("Enter");  // the options of the one-of
  ASSERT_TRUE(tmux.WaitFor("Processor")) << tmux.Screen();
  tmux.Keys("Down Enter");
  ASSERT_TRUE(tmux.WaitFor("[Processor]")) << tmux.Screen();

  tmux.Keys("Down");  // past the grayed-out percentage, to the check box
  tmux.Keys("Enter");
  ASSERT_TRUE(tmux.WaitFor("[X]")) << tmux.Screen();

  tmux.Keys("F10");
  ASSERT_TRUE(tmux.WaitFor("Save configuration and exit?")) << tmux.Screen();
  tmux.Keys("y");

  std::string saved;
  for (int waited = 0; waited < 10000 && saved.find("slot") == std::string::npos; waited += 50) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::ifstream in(result);
    std::ostringstream text;
    text << in.rdbuf();
    saved = text.str();
  }
  EXPECT_EQ(saved, "scope 1\nenabled 1\nroutes 1\nslot 3\n");
}

}  // namespace
}  // namespace browsertest

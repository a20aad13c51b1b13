#include "tests/system/process/tmux_terminal.h"

#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// The command waits for a line, so that nothing is sent before the recording has begun. The shell outlives
// Ctrl-C and Ctrl-\.
std::string script(const std::string& command) {
  return "trap : INT QUIT; read start; settings=$(stty -g); " + command +
         "; echo \"status $?\"; [ \"$settings\" = \"$(stty -g)\" ] && echo \"settings kept\"; exec sleep 100";
}

} // namespace

std::string TmuxTerminal::refusal() {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  int terminal = -1;
  if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) {
    const char* path = ptsname(master);
    terminal = path == nullptr ? -1 : ::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  const std::string reason = std::strerror(errno);
  close(terminal);
  close(master);
  return terminal >= 0 ? "" : "no pseudo-terminals (" + reason + "): mount devpts at /dev/pts";
}

TmuxTerminal::TmuxTerminal(const std::string& command) {
  EXPECT_EQ(tmux("new-session -d -x 80 -y 24 'sh " + m_folder.write("script", script(command)) + "'"), "");
  EXPECT_EQ(tmux("pipe-pane -O 'cat >" + m_folder.file("sent") + "'"), "");
  press("Enter");
}

TmuxTerminal::~TmuxTerminal() {
  tmux("kill-server");
}

void TmuxTerminal::press(const std::string& keys) {
  EXPECT_EQ(tmux("send-keys " + keys), "");
}

void TmuxTerminal::signal(int number) const {
  const std::string shell = tmux("display-message -p '#{pane_pid}'");
  EXPECT_EQ(run("pkill -" + std::to_string(number) + " -P " + shell.substr(0, shell.find('\n'))).status, 0);
}

void TmuxTerminal::resize(unsigned columns, unsigned rows) {
  EXPECT_EQ(tmux("resize-window -x " + std::to_string(columns) + " -y " + std::to_string(rows)), "");
}

std::string TmuxTerminal::screen() const {
  return tmux("capture-pane -p");
}

std::string TmuxTerminal::row(unsigned number) const {
  const std::vector<std::string> rows = linesOf(screen());
  return number < rows.size() ? rows[number] : "";
}

bool TmuxTerminal::shows(const std::string& text) const {
  const bool isShown =
      waitUntil([&] { return screen().find(text) != std::string::npos; }, std::chrono::milliseconds(20));
  EXPECT_TRUE(isShown) << "not shown: " << text << "\nbut:\n" << screen();
  return isShown;
}

std::string TmuxTerminal::sent() const {
  return m_folder.read("sent");
}

std::string TmuxTerminal::tmux(const std::string& arguments) const {
  return run("env -u TMUX tmux -u -S " + m_folder.file("socket") + " -f /dev/null " + arguments).output;
}

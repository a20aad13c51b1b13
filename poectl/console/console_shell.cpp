#include "poectl/console/console_shell.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_vocabulary.h"
#include "poectl/host/end_signals.h"
#include "poectl/host/note.h"
#include "posix/file_descriptor.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <filesystem>
#include <memory>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

constexpr int HISTORY_LINES = 1000;
constexpr std::uintmax_t MAX_HISTORY_SIZE = 1'048'576; // bytes
constexpr std::chrono::milliseconds COMPLETION_LIMIT{1000};
constexpr int KILL_LINE = 'U' & 0x1F; // Ctrl-U

// The keys, and the signals that come between them: Ctrl-C takes back the line or the command that waits for
// its reply, the others end the shell.
class ShellInput {
public:
  ShellInput() : m_ends({SIGTERM, SIGQUIT, SIGHUP}), m_interrupt(interruptSignal()) {
    for (const int descriptor : {m_ends.descriptor(), m_interrupt.get()}) {
      epoll_event event{};
      event.events = EPOLLIN;
      epoll_ctl(m_stop.get(), EPOLL_CTL_ADD, descriptor, &event);
    }
  }
  ShellInput(const ShellInput&) = delete;
  ShellInput& operator=(const ShellInput&) = delete;

  // Readable while a signal has not been taken note of.
  int stopDescriptor() const { return m_stop.get(); }

  // For the library: the next byte, or EOF.
  int nextKey() {
    pollfd ready[] = {{STDIN_FILENO, POLLIN, 0}, {m_stop.get(), POLLIN, 0}};
    while (poll(ready, 2, -1) < 0) {
    }
    if (ready[1].revents != 0) {
      return takeInterrupt() ? KILL_LINE : EOF;
    }
    char key = 0;
    return read(STDIN_FILENO, &key, 1) == 1 ? static_cast<unsigned char>(key) : EOF;
  }

  // True when Ctrl-C was pressed, which is then over.
  bool takeInterrupt() {
    signalfd_siginfo signal{};
    return read(m_interrupt.get(), &signal, sizeof signal) > 0;
  }

private:
  static int interruptSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  }

  EndSignals m_ends;
  const FileDescriptor m_interrupt; // a signalfd
  const FileDescriptor m_stop{epoll_create1(EPOLL_CLOEXEC)};
};

ShellInput* input = nullptr; // the library's functions have no argument for it

// $XDG_STATE_HOME/poectl/console_history; empty when the user has no place for it.
std::string historyFile() {
  namespace fs = std::filesystem;
  fs::path folder;
  if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
    folder = state;
  } else if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    folder = fs::path(home) / ".local" / "state";
  } else {
    return "";
  }
  std::error_code error;
  fs::create_directories(folder / "poectl", error);
  return error ? "" : (folder / "poectl" / "console_history").string();
}

// Whether the library can read and write the file without waiting for somebody; a file that is missing can be
// made.
bool canBeHistory(const std::string& file) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (status.type() == fs::file_type::not_found) {
    return true;
  }
  return fs::is_regular_file(status) && fs::file_size(file, error) <= MAX_HISTORY_SIZE && !error;
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// The objects that the service has registered now, one a line of the console's "help".
std::vector<std::string> registeredObjects() {
  try {
    return wordsOf(askConsole("help", {COMPLETION_LIMIT, input->stopDescriptor()}));
  } catch (const ConsoleError&) {
    return {};
  }
}

// What may follow these words in the shell.
std::vector<std::string> candidatesAfter(const std::vector<std::string>& words) {
  std::vector<std::string> candidates = consoleCandidates(words);
  if (words.empty()) {
    for (const std::string& object : registeredObjects()) {
      if (object != CONSOLE_ENGINE) { // which is a candidate anyway
        candidates.push_back(object);
      }
    }
    candidates.emplace_back("quit");
  }
  return candidates;
}

// The candidates of the completion in progress, for the library's generator.
std::vector<std::string> matches;

char* nextMatch(const char* /*text*/, int state) {
  const auto number = static_cast<std::size_t>(state);
  return number < matches.size() ? strdup(matches[number].c_str()) : nullptr;
}

char** complete(const char* text, int start, int /*end*/) {
  matches = candidatesAfter(wordsOf(std::string(rl_line_buffer, static_cast<std::size_t>(start))));
  matches.erase(std::remove_if(matches.begin(), matches.end(),
                               [&](const std::string& word) { return word.rfind(text, 0) != 0; }),
                matches.end());
  rl_attempted_completion_over = 1; // no file names
  return rl_completion_matches(text, nextMatch);
}

void answer(const std::string& line) {
  ConsoleWait wait;
  wait.stop = input->stopDescriptor();
  try {
    std::fputs(askConsole(consoleLine(line), wait).c_str(), stdout);
  } catch (const ConsoleError& error) {
    input->takeInterrupt();
    printNote(error.what()); // the service may be back for the next command
  }
}

} // namespace

int runConsoleShell() {
  ShellInput shellInput;
  input = &shellInput;
  std::string history = historyFile();
  if (!history.empty() && !canBeHistory(history)) {
    std::fprintf(stderr, "poectl: %s is no file of at most %ju bytes: no history is kept\n", history.c_str(),
                 MAX_HISTORY_SIZE);
    history.clear();
  }
  rl_readline_name = "poectl";
  rl_attempted_completion_function = complete;
  rl_getc_function = [](std::FILE*) { return input->nextKey(); };
  using_history();
  stifle_history(HISTORY_LINES);
  if (!history.empty()) {
    read_history(history.c_str());
  }
  for (;;) {
    const std::unique_ptr<char, decltype(&std::free)> text(readline("poe> "), &std::free);
    if (text == nullptr) {
      std::puts("");
      break;
    }
    const std::string line = text.get();
    if (endsConsole(line)) {
      break;
    }
    if (!wordsOf(line).empty()) {
      add_history(line.c_str());
      answer(line);
    }
  }
  if (!history.empty() && canBeHistory(history)) {
    write_history(history.c_str());
  }
  return 0;
}

#include "poectl/commands/console_shell.h"

#include "poectl/service/console_client.h"
#include "poectl/service/console_vocabulary.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

constexpr int HISTORY_LINES = 1000;

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

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

template <std::size_t size>
void add(std::vector<std::string>& list, const std::array<const char*, size>& words) {
  list.insert(list.end(), words.begin(), words.end());
}

// The objects that the service has registered now, one a line of the console's "help".
std::vector<std::string> registeredObjects() {
  try {
    return wordsOf(askConsole("help"));
  } catch (const ConsoleError&) {
    return {CONSOLE_ENGINE};
  }
}

// What may follow these words.
std::vector<std::string> candidatesAfter(std::vector<std::string> words) {
  std::vector<std::string> candidates;
  if (words.empty()) {
    candidates = registeredObjects();
    candidates.emplace_back("quit");
    add(candidates, CONSOLE_ENGINE_COMMANDS);
    return candidates;
  }
  if (words.front() == CONSOLE_ENGINE) {
    if (words.size() == 1) {
      add(candidates, CONSOLE_ENGINE_COMMANDS);
      return candidates;
    }
    words.erase(words.begin());
  }
  if (words.size() == 1 && (words.front() == "channel" || words.front() == "poeport")) {
    add(candidates, CONSOLE_CHANNELS);
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
  try {
    std::fputs(askConsole(consoleLine(line)).c_str(), stdout);
  } catch (const ConsoleError& error) {
    std::fprintf(stderr, "poectl: %s\n", error.what()); // the service may be back for the next command
  }
}

} // namespace

int runConsoleShell() {
  const std::string history = historyFile();
  rl_readline_name = "poectl";
  rl_attempted_completion_function = complete;
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
    if (line == "quit" || line == "exit") {
      break;
    }
    if (!wordsOf(line).empty()) {
      add_history(line.c_str());
      answer(line);
    }
  }
  if (!history.empty()) {
    write_history(history.c_str());
  }
  return 0;
}

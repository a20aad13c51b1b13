#include "poectl/command_line.h"
#include "poectl/commands/command_lines.h"
#include "poectl/console/console_client.h"
#ifdef POECTL_HAS_SHELL
#include "poectl/console/console_shell.h"
#endif
#include "text/text.h"

#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace {

void printReply(const std::string& words) {
  const std::string reply = askConsole(consoleLine(words));
  std::fwrite(reply.data(), 1, reply.size(), stdout);
  std::fflush(stdout);
}

int answerStandardInput() {
  for (std::string line; nextCommandLine(std::cin, line) && !endsConsole(line);) {
    printReply(line);
  }
  return 0;
}

// Without words, commands come from a person on a terminal, else from standard input until its end or "quit".
int console(const std::vector<std::string>& words) {
  if (words.empty()) {
#ifdef POECTL_HAS_SHELL
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
      return runConsoleShell();
    }
#endif
    return answerStandardInput();
  }
  const std::string line = text::joined(words);
  if (!endsConsole(line)) {
    printReply(line);
  }
  return 0;
}

} // namespace

Action consoleCommand(CommandSyntax& syntax) {
  return [words = syntax.words()] { return console(words); };
}

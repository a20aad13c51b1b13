#include "poectl/commands/console.h"

#include "poectl/commands/command_lines.h"
#include "poectl/scenario/words.h"
#include "poectl/service/console_client.h"
#ifdef POECTL_HAS_SHELL
#include "poectl/commands/console_shell.h"
#endif

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

} // namespace

int console(const std::vector<std::string>& words) {
  if (words.empty()) {
#ifdef POECTL_HAS_SHELL
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
      return runConsoleShell();
    }
#endif
    return answerStandardInput();
  }
  const std::string line = joinWords(words);
  if (!endsConsole(line)) {
    printReply(line);
  }
  return 0;
}

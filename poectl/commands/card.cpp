#include "poectl/card/card_client.h"
#include "poectl/card/control_path.h"
#include "poectl/command_line.h"
#include "poectl/commands/command_lines.h"
#include "text/text.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace {

// The path is for whoever is about to make the socket.
int printSocket(const std::string& control) {
  std::printf("%s\n", newCardControlPath(control).c_str());
  return 0;
}

int card(const std::string& control, const std::vector<std::string>& words) {
  CardClient client(cardControlPath(control));
  if (!words.empty()) {
    std::fputs(client.ask(text::joined(words)).c_str(), stdout);
    return 0;
  }
  for (std::string line; nextCommandLine(std::cin, line);) { // a refused line ends the input
    std::fputs(client.ask(line).c_str(), stdout);
    std::fflush(stdout);
  }
  return 0;
}

struct CardOptions {
  std::string control; // the socket; empty for the default
  bool printSocket = false;
};

} // namespace

Action cardCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<CardOptions>();
  syntax.text("--control", options->control);
  syntax.flag("--print-socket", options->printSocket);
  return [options, words = syntax.words()] {
    return options->printSocket ? printSocket(options->control) : card(options->control, words);
  };
}

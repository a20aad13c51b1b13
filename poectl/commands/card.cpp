#include "poectl/commands/card.h"

#include "poectl/card/card_client.h"
#include "poectl/card/control_path.h"
#include "poectl/commands/command_lines.h"
#include "poectl/scenario/words.h"

#include <cstdio>
#include <iostream>

int printCardSocket(const std::string& control) {
  std::printf("%s\n", newCardControlPath(control).c_str());
  return 0;
}

int card(const std::string& control, const std::vector<std::string>& words) {
  CardClient client(cardControlPath(control));
  if (!words.empty()) {
    std::fputs(client.ask(joinWords(words)).c_str(), stdout);
    return 0;
  }
  for (std::string line; nextCommandLine(std::cin, line);) {
    std::fputs(client.ask(line).c_str(), stdout);
    std::fflush(stdout);
  }
  return 0;
}

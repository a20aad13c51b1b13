// Prints the table of docs/power.md, or with --trials a line for each trial and port.
#include "tests/faults/power/power_table.h"

#include <cstdio>
#include <string>

// What the service says on standard output when it starts does not belong between the table's lines.
extern "C" int __wrap_puts(const char* /*text*/) {
  return 0;
}

int main(int argc, char** argv) {
  const std::string option = argc == 2 ? argv[1] : "";
  if (option != "--markdown" && option != "--trials") {
    std::fputs("poe_power_table: accepted is one of --markdown and --trials\n", stderr);
    return 2;
  }
  const std::vector<TriedEvent> events = tryAll();
  std::fputs((option == "--markdown" ? tableOf(events) : linesOf(events)).c_str(), stdout);
  return 0;
}

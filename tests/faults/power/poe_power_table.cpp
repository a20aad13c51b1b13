// The table of docs/power.md: prints it, checks the document against it, renews it there.
#include "tests/faults/power/power_document.h"
#include "tests/faults/power/power_table.h"

#include <cstdio>
#include <exception>
#include <string>
#include <unistd.h>

namespace {

constexpr const char* ACCEPTED =
    "accepted are --markdown, --trials, --check FILE and --write FILE, one of them";

// On a terminal only.
void showProgress(std::size_t done, std::size_t all) {
  if (isatty(STDERR_FILENO) != 0) {
    std::fprintf(stderr, "\r%zu of %zu events%s", done, all, done == all ? "\r\033[K" : "");
  }
}

int refuse(const std::string& what) {
  std::fprintf(stderr, "poe_power_table: %s; %s\n", what.c_str(), ACCEPTED);
  return 2;
}

int run(const std::string& option, const std::string& file) {
  const std::vector<TriedEvent> events = tryAll(showProgress);
  if (option == "--markdown") {
    std::fputs(tableOf(events).c_str(), stdout);
  } else if (option == "--trials") {
    std::fputs(linesOf(events).c_str(), stdout);
  } else if (option == "--write") {
    writeTable(file, tableOf(events));
  } else {
    const std::string difference = checkDocument(file, events);
    std::fputs(difference.c_str(), stderr);
    return difference.empty() ? 0 : 1;
  }
  return 0;
}

} // namespace

// What the service says on standard output when it starts does not belong between the table's lines.
extern "C" int __wrap_puts(const char* /*text*/) {
  return 0;
}

int main(int argc, char** argv) {
  const std::string option = argc > 1 ? argv[1] : "";
  const bool needsFile = option == "--check" || option == "--write";
  if (!needsFile && option != "--markdown" && option != "--trials") {
    return refuse(option.empty() ? "an option is missing" : "'" + option + "' is not understood");
  }
  if (argc != (needsFile ? 3 : 2)) {
    return refuse(needsFile ? option + " needs one FILE" : option + " stands alone");
  }
  try {
    return run(option, needsFile ? argv[2] : "");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "poe_power_table: %s\n", error.what());
    return 1;
  }
}

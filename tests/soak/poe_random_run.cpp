// Runs the service for a long time on a simulated card on which events happen at random. See --help.
#include "tests/soak/random_run.h"
#include "text/number.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr char USAGE[] = "usage: poe_random_run [--cycles N] [--seed S] [--threads]\n"
                         "  --cycles N  length of the run, 1 or more (20000)\n"
                         "  --seed S    which run, 0 or more (1); the same seed gives the same run\n"
                         "  --threads   configurations and console commands come from other threads\n";

[[noreturn]] void refuse(const std::string& message) {
  std::fprintf(stderr, "poe_random_run: %s\n", message.c_str());
  std::exit(2);
}

std::uint64_t numberOf(const std::string& option, const char* word, std::uint64_t least) {
  const auto number = text::numberFrom<std::uint64_t>(word != nullptr ? word : "");
  if (!number || *number < least) {
    refuse(option + " needs a decimal number, " + std::to_string(least) + " or more");
  }
  return *number;
}

RunOptions optionsFrom(int argc, char** argv) {
  RunOptions options;
  for (int i = 1; i < argc; i++) {
    const std::string option = argv[i];
    if (option == "--cycles") {
      options.cycles = numberOf(option, argv[++i], 1);
    } else if (option == "--seed") {
      options.seed = numberOf(option, argv[++i], 0);
    } else if (option == "--threads") {
      options.isThreaded = true;
    } else if (option == "--help") {
      std::fputs(USAGE, stdout);
      std::exit(0);
    } else {
      refuse("'" + option + "' is not understood; accepted are --cycles, --seed, --threads and --help");
    }
  }
  return options;
}

} // namespace

int main(int argc, char** argv) {
  const RunOptions options = optionsFrom(argc, argv);
  const bool isGood = options.isThreaded ? threadedRun(options) : steppedRun(options);
  std::puts(isGood ? "all held" : "FAILED");
  return isGood ? 0 : 1;
}

// Lets the service live a long and random life on a simulated card. See --help.
#include "tests/soak/life.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

constexpr char USAGE[] = "usage: poe_random_life [--cycles N] [--seed S] [--threads]\n"
                         "  --cycles N  length of the life, 1 or more (20000)\n"
                         "  --seed S    which life, 0 or more (1); the same seed gives the same life\n"
                         "  --threads   configurations and console commands come from other threads\n";

[[noreturn]] void refuse(const std::string& message) {
  std::fprintf(stderr, "poe_random_life: %s\n", message.c_str());
  std::exit(2);
}

std::uint64_t numberOf(const std::string& option, const char* text, std::uint64_t least) {
  char* end = nullptr;
  errno = 0;
  const std::uint64_t number = text != nullptr ? std::strtoull(text, &end, 10) : 0;
  const bool isNumber = text != nullptr && text[0] >= '0' && text[0] <= '9' && *end == '\0' && errno == 0;
  if (!isNumber || number < least) {
    refuse(option + " needs a decimal number, " + std::to_string(least) + " or more");
  }
  return number;
}

LifeOptions optionsFrom(int argc, char** argv) {
  LifeOptions options;
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

void showProgress(std::uint64_t cycle, std::uint64_t cycles) {
  static const bool isTerminal = isatty(STDERR_FILENO) != 0;
  if (isTerminal && (cycle % 1000 == 0 || cycle == cycles)) {
    std::fprintf(stderr, "\r%" PRIu64 " of %" PRIu64 " cycles", cycle, cycles);
  }
}

int main(int argc, char** argv) {
  const LifeOptions options = optionsFrom(argc, argv);
  const bool isGood = options.isThreaded ? threadedLife(options) : steppedLife(options);
  std::puts(isGood ? "all held" : "FAILED");
  return isGood ? 0 : 1;
}

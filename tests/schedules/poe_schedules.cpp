// Runs the service's threads in every order. See --help.
#include "tests/schedules/environment.h"
#include "tests/schedules/scenes.h"
#include "tests/schedules/search.h"
#include "tests/schedules/watched_heap.h"

#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sched.h>

namespace {

constexpr char USAGE[] = "usage: poe_schedules [--scene NAME] [--full] [--preemptions N] [--random N] "
                         "[--seed S] [--schedule LIST]\n"
                         "  --scene NAME     only this scene; without: all\n"
                         "  --full           as many schedules as docs/reliability.md tells; without: fewer\n"
                         "  --preemptions N  all schedules with up to N preemptions, 0 to 9\n"
                         "  --random N       then N random schedules\n"
                         "  --seed S         of the random schedules (1)\n"
                         "  --schedule LIST  the one schedule that a failure has printed; needs --scene\n";

struct Options {
  const Scene* scene = nullptr;
  bool isFull = false;
  std::optional<std::uint64_t> preemptions;
  std::optional<std::uint64_t> random;
  std::uint64_t seed = 1;
  std::optional<Schedule> schedule;
};

[[noreturn]] void refuse(const std::string& message) {
  std::fprintf(stderr, "poe_schedules: %s\n", message.c_str());
  std::exit(2);
}

std::uint64_t numberOf(const std::string& option, const char* text, std::uint64_t most) {
  char* end = nullptr;
  errno = 0;
  const std::uint64_t number = text != nullptr ? std::strtoull(text, &end, 10) : 0;
  if (text == nullptr || text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0 || number > most) {
    refuse(option + " needs a decimal number up to " + std::to_string(most));
  }
  return number;
}

const Scene* sceneOf(const char* name) {
  std::string known;
  for (const Scene* scene = SCENES; scene->name != nullptr; scene++) {
    if (name != nullptr && std::strcmp(scene->name, name) == 0) {
      return scene;
    }
    known += std::string(" ") + scene->name;
  }
  refuse("--scene needs one of" + known);
}

Options optionsFrom(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i++) {
    const std::string option = argv[i];
    if (option == "--scene") {
      options.scene = sceneOf(argv[++i]);
    } else if (option == "--full") {
      options.isFull = true;
    } else if (option == "--preemptions") {
      options.preemptions = numberOf(option, argv[++i], 9);
    } else if (option == "--random") {
      options.random = numberOf(option, argv[++i], 1'000'000'000);
    } else if (option == "--seed") {
      options.seed = numberOf(option, argv[++i], 1'000'000'000);
    } else if (option == "--schedule") {
      options.schedule.emplace();
      if (argv[++i] == nullptr || !scheduleFrom(argv[i], &*options.schedule)) {
        refuse("--schedule needs steps and threads, for example 12:3,40:0");
      }
    } else if (option == "--help") {
      std::fputs(USAGE, stdout);
      std::exit(0);
    } else {
      refuse("'" + option + "' is not understood; --help names what is accepted");
    }
  }
  if (options.schedule && options.scene == nullptr) {
    refuse("--schedule needs --scene");
  }
  return options;
}

void runOnce(const Scene& scene, Search& search) {
  environment().reset();
  scheduler().run(scene.name, search, scene.body, [] {
    environment().checkClosed();
    const std::string wrong = endOfWatchedHeap();
    if (!wrong.empty()) {
      scheduler().fail(wrong);
    }
  });
}

unsigned tryAll(const Scene& scene, unsigned preemptions) {
  unsigned count = 0;
  BoundedSearch search(preemptions, scene.countsEveryChange);
  do {
    runOnce(scene, search);
    count += search.isNew() ? 1U : 0U;
  } while (search.next());
  return count;
}

void runScene(const Scene& scene, const Options& options) {
  const Extent& extent = options.isFull ? scene.inFull : scene.inShort;
  const auto start = std::chrono::steady_clock::now();
  Replay plain({});
  runOnce(scene, plain); // what is made once in the process
  const unsigned steps = scheduler().steps();
  const auto bound = static_cast<unsigned>(options.preemptions.value_or(extent.preemptions));
  std::string counts;
  for (unsigned preemptions = 0; preemptions <= bound; preemptions++) {
    counts += " " + std::to_string(tryAll(scene, preemptions));
  }
  const std::uint64_t random = options.random.value_or(extent.randomRuns);
  for (std::uint64_t i = 0; i < random; i++) {
    RandomSearch search(options.seed + i, steps);
    runOnce(scene, search);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-13s%4u steps, schedules with 0 to %u %s:%s; %" PRIu64 " random; %.1f s\n", scene.name, steps,
              bound, scene.countsEveryChange ? "changes" : "preemptions", counts.c_str(), random,
              seconds.count());
}

// Memory that was freed holds no address that can be used.
void onSignal(int signal) {
  scheduler().fail(signal == SIGABRT ? "the service aborts" : "memory is used after it was freed");
}

// One thread runs at a time; on one processor a change of the thread is cheaper.
void useOneProcessor() {
  cpu_set_t set;
  CPU_ZERO(&set);
  const int processor = sched_getcpu();
  if (processor >= 0) {
    CPU_SET(static_cast<unsigned>(processor), &set);
    sched_setaffinity(0, sizeof set, &set);
  }
}

} // namespace

int main(int argc, char** argv) {
  const Options options = optionsFrom(argc, argv);
  useOneProcessor();
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT}) {
    std::signal(signal, onSignal);
  }
  for (const Scene* scene = SCENES; scene->name != nullptr; scene++) {
    if (options.scene != nullptr && scene != options.scene) {
      continue;
    }
    if (options.schedule) {
      Replay plain({});
      runOnce(*scene, plain);
      Replay replay(*options.schedule);
      runOnce(*scene, replay);
      std::puts("all held");
    } else {
      runScene(*scene, options);
    }
  }
  return 0;
}

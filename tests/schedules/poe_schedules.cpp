// Runs the service's threads in every order. See --help.
#include "tests/schedules/environment.h"
#include "tests/schedules/scenes.h"
#include "tests/schedules/search.h"
#include "tests/schedules/watched_heap.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sched.h>

namespace {

constexpr char USAGE[] = "usage: poe_schedules [--scene NAME] [--full] [--schedule LIST]\n"
                         "  --scene NAME     only this scene; without: all\n"
                         "  --full           as many schedules as docs/reliability.md tells; without: fewer\n"
                         "  --schedule LIST  the one schedule that a failure has printed; needs --scene\n";

struct Options {
  const Scene* scene = nullptr;
  bool isFull = false;
  std::optional<Schedule> schedule;
};

[[noreturn]] void refuse(const std::string& message) {
  std::fprintf(stderr, "poe_schedules: %s\n", message.c_str());
  std::exit(2);
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

void runScene(const Scene& scene, bool isFull) {
  const Extent& extent = isFull ? scene.inFull : scene.inShort;
  const auto start = std::chrono::steady_clock::now();
  Replay plain({});
  runOnce(scene, plain); // what is made once in the process
  const unsigned steps = scheduler().steps();
  std::string counts;
  for (unsigned preemptions = 0; preemptions <= extent.preemptions; preemptions++) {
    counts += " " + std::to_string(tryAll(scene, preemptions));
  }
  for (unsigned seed = 1; seed <= extent.randomRuns; seed++) {
    RandomSearch search(seed, steps);
    runOnce(scene, search);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-13s%4u steps, schedules with 0 to %u %s:%s; %u random; %.1f s\n", scene.name, steps,
              extent.preemptions, scene.countsEveryChange ? "changes" : "preemptions", counts.c_str(),
              extent.randomRuns, seconds.count());
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
      runScene(*scene, options.isFull);
    }
  }
  return 0;
}

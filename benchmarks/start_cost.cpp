// How long a start takes, from the start of the program to its first status message, on a machine whose clock
// counts its instructions and whose i2c-stub answers at once. Each value is a line "# measured:
// ITEM,SUBJECT,QUANTITY: VALUE".
#include "tests/target/support/tap_listener.h"
#include "tests/target/support/target_fixture.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int STARTS = 9;
constexpr double TRANSFER_AT_100_KHZ = 0.39; // ms
constexpr int CYCLE_TRANSFERS = 64;          // all that the bare loop makes

// Counted by the script, so that it is what the service does.
int startTransfers() {
  const char* text = std::getenv("TRANSFERS");
  return text != nullptr ? std::atoi(text) : 0;
}

double millisecondsOf(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return Milliseconds(std::chrono::steady_clock::now() - begin).count();
}

double medianOf(const std::function<double()>& sample) {
  std::vector<double> samples;
  for (int start = 0; start < STARTS; start++) {
    samples.push_back(sample());
  }
  std::nth_element(samples.begin(), samples.begin() + STARTS / 2, samples.end());
  return samples[STARTS / 2];
}

// The number after the words in what the dynamic linker says of itself.
std::string numberAfter(const std::string& text, const std::string& words) {
  const std::size_t place = text.find(words);
  return place == std::string::npos ? "" : std::to_string(std::atoi(text.c_str() + place + words.size()));
}

class StartCost : public TargetTest {
protected:
  // Starts a program with a word added to its environment. Returns the milliseconds up to its first message.
  double timeOfStart(const std::string& program, const std::string& word) {
    status.reset(); // with the messages of a program before this one
    status = std::make_unique<MainProcessQueue>();
    return millisecondsOf([&] {
      service = std::make_unique<Program>(std::vector<std::string>{program},
                                          [&] { putenv(const_cast<char*>(word.c_str())); });
      status->next();
    });
  }

  void end() {
    killService();
    log.take();
  }

  // On a real bus the transfers take their time instead of that of the stub.
  void measure(const std::string& subject, const std::string& program, int transfers,
               const std::string& word = "LANG=C") {
    const double start = medianOf([&] {
      const double time = timeOfStart(program, word);
      end();
      return time;
    });
    const double stub = medianOf([&] {
      return millisecondsOf([&] {
        for (int transfer = 0; transfer < transfers; transfer++) {
          chip->read(0x43);
        }
      });
    });
    const double bus = transfers * TRANSFER_AT_100_KHZ;
    measured("start," + subject + ",start (ms)", start);
    measured("start," + subject + ",its transfers", std::to_string(transfers));
    measured("start," + subject + ",their time at 100 kHz (ms)", bus);
    measured("start," + subject + ",start there times their time", (start - stub + bus) / bus);
  }

  // Of the program and of the libraries that come with it.
  void measureRelocations(const std::string& subject, const std::string& program) {
    timeOfStart(program, "LD_DEBUG=statistics");
    const std::string text = service->output();
    end();
    measured("start," + subject + ",symbols looked up", numberAfter(text, "number of relocations:"));
    measured("start," + subject + ",relative relocations",
             numberAfter(text, "number of relative relocations:"));
  }
};

TEST_F(StartCost, OfTheServiceAndOfTheBareLoop) {
  measure("service", SERVICE, startTransfers());
  measureRelocations("service", SERVICE);
  measure("service (LD_BIND_NOW=1)", SERVICE, startTransfers(), "LD_BIND_NOW=1");
#ifdef HAS_STATIC_SERVICE
  measure("service (static)", "/static/poe_service", startTransfers());
#endif
  measure("bare loop with the same libraries", "/bin/bare_loop_with_libraries", CYCLE_TRANSFERS);
  measureRelocations("bare loop with the same libraries", "/bin/bare_loop_with_libraries");
  measure("bare loop", "/bin/bare_loop", CYCLE_TRANSFERS);
}

} // namespace

// The service's worker on the stand-in for the kernel, with a configuration that the worker finds in force,
// that comes again in every cycle, or that changes in every cycle.
#include "benchmarks/stand_in.h"
#include "components/PoeDriver/pd69104_engine.h"
#include "tests/support/doubles/four_ports.h"

#include <cstdio>
#include <cstring>

namespace {

CPD69104Engine* engine = nullptr;
PoeConfig configuration{};

void configure() {
  engine->handleConfig(&configuration, sizeof configuration);
}

void configureOnce(unsigned cycles) {
  if (cycles == 1) {
    configure();
  }
}

void configureAgain(unsigned) {
  configure();
}

void configureAnew(unsigned cycles) {
  for (PoePortConfig& port : configuration.port) {
    port.powerLimit = cycles % 2 == 0 ? 15000 : 14000;
  }
  configure();
}

} // namespace

int main(int argc, char** argv) {
  const char* arrival = argc == 2 ? argv[1] : "";
  if (std::strcmp(arrival, "once") == 0) {
    standInBetweenCycles = configureOnce;
  } else if (std::strcmp(arrival, "again") == 0) {
    standInBetweenCycles = configureAgain;
  } else if (std::strcmp(arrival, "anew") == 0) {
    standInBetweenCycles = configureAnew;
  } else {
    std::fprintf(stderr,
                 "service_cycles: '%s' is no arrival of configurations; accepted are once, again and anew\n",
                 arrival);
    return 2;
  }
  configuration = fourPorts();
  engine = new CPD69104Engine;
  engine->start();
  engine->run();
}

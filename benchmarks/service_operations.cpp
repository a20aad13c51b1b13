// What the engine's operations take beside the bus: configurations and console commands, on the stand-in for
// the kernel, by Google Benchmark.
#include "benchmarks/stand_in.h"
#include "components/PoeDriver/pd69104_engine.h"
#include "tests/support/doubles/four_ports.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string>
#include <sys/ioctl.h>
#include <vector>

namespace {

CPD69104Engine* engine = nullptr;

// What the others are compared with: the transfers of a cycle and nothing else.
void bareTransfers(benchmark::State& state) {
  const int bus = open("/dev/i2c-0", O_RDWR);
  i2c_smbus_data data{};
  while (state.KeepRunning()) {
    for (std::uint8_t address = 0; address < 64; address++) {
      i2c_smbus_ioctl_data transfer{I2C_SMBUS_READ, address, I2C_SMBUS_BYTE_DATA, &data};
      benchmark::DoNotOptimize(ioctl(bus, I2C_SMBUS, &transfer));
    }
  }
}

void unchangedConfiguration(benchmark::State& state) {
  const PoeConfig configuration = fourPorts();
  engine->handleConfig(&configuration, sizeof configuration);
  while (state.KeepRunning()) {
    engine->handleConfig(&configuration, sizeof configuration);
  }
}

void changedConfiguration(benchmark::State& state) {
  PoeConfig configuration = fourPorts();
  while (state.KeepRunning()) {
    for (PoePortConfig& port : configuration.port) {
      port.powerLimit = port.powerLimit == 15000 ? 14000 : 15000;
    }
    engine->handleConfig(&configuration, sizeof configuration);
  }
}

void consoleCommand(benchmark::State& state, const std::vector<const char*>& words) {
  std::array<char, 8192> reply;
  while (state.KeepRunning()) {
    engine->dbgCommand(static_cast<std::uint32_t>(words.size()), words.data(), reply.data(), reply.size());
    benchmark::DoNotOptimize(reply);
  }
}

// The worker has made its first cycle, so that the engine takes configurations.
void measure(unsigned /*cycles*/) {
  benchmark::RunSpecifiedBenchmarks();
  std::exit(0);
}

} // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("64 bare transfers", bareTransfers);
  benchmark::RegisterBenchmark("unchanged configuration", unchangedConfiguration);
  benchmark::RegisterBenchmark("configuration that changes four ports", changedConfiguration);
  const std::vector<std::vector<const char*>> commands = {
      {"help"}, {"info"}, {"device"}, {"channel", "1"}, {"poeport", "1"}, {"readReg", "0x10"}};
  for (const std::vector<const char*>& words : commands) {
    benchmark::RegisterBenchmark((std::string("console command ") + words[0]).c_str(), consoleCommand, words);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  standInBetweenCycles = measure;
  engine = new CPD69104Engine;
  engine->start();
  engine->run();
}

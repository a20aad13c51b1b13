#include "tests/soak/service_footprint.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

std::size_t entriesIn(const std::string& directory) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()));
}

long privateMemoryIn(const std::string& file) {
  std::ifstream lines(file);
  long sum = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("Private_", 0) == 0) {
      sum += std::stol(line.substr(line.find(':') + 1));
    }
  }
  return sum;
}

ServiceFootprint footprintNow(const std::string& process) {
  return {entriesIn(process + "/task"), entriesIn(process + "/fd"),
          privateMemoryIn(process + "/smaps_rollup")};
}

} // namespace

ServiceFootprint footprintOf(pid_t pid) {
  const std::string process = "/proc/" + std::to_string(pid);
  ServiceFootprint least = footprintNow(process);
  for (int sample = 0; sample < 25; sample++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const ServiceFootprint now = footprintNow(process);
    least.threads = std::min(least.threads, now.threads);
    least.descriptors = std::min(least.descriptors, now.descriptors);
    least.privateMemory = std::min(least.privateMemory, now.privateMemory);
  }
  return least;
}

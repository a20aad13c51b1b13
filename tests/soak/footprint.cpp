#include "tests/soak/footprint.h"

#include <filesystem>
#include <iterator>
#include <malloc.h>

namespace {

std::size_t entriesIn(const char* directory) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()));
}

} // namespace

Footprint footprint() {
  return {mallinfo2().uordblks, entriesIn("/proc/self/fd"), entriesIn("/proc/self/task")};
}

std::string growth(const Footprint& first, const Footprint& last, std::size_t heapRoom) {
  std::string text;
  if (last.heap > first.heap + heapRoom) {
    text += "the heap has grown from " + std::to_string(first.heap) + " to " + std::to_string(last.heap) +
            " bytes\n";
  }
  if (last.descriptors > first.descriptors) {
    text += "open files: " + std::to_string(first.descriptors) + ", in the end " +
            std::to_string(last.descriptors) + "\n";
  }
  if (last.threads > first.threads) {
    text +=
        "threads: " + std::to_string(first.threads) + ", in the end " + std::to_string(last.threads) + "\n";
  }
  return text;
}

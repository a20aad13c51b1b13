#include "simulator/program/descriptors.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <cerrno>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Adapter, main loop, log, record and control socket take 13; the removal of the adapter's folders 6.
constexpr std::size_t NEEDED = 32;
constexpr rlim_t KEPT_FOR_THE_ADAPTER = 8;

} // namespace

void requireDescriptors() {
  std::vector<int> opened;
  int error = 0;
  while (opened.size() < NEEDED && error == 0) {
    const int fd = eventfd(0, EFD_CLOEXEC);
    if (fd < 0) {
      error = errno;
    } else {
      opened.push_back(fd);
    }
  }
  for (const int fd : opened) {
    close(fd);
  }
  if (error != 0) {
    throw std::runtime_error("too few file descriptors: " + std::to_string(opened.size()) + " are free (" +
                             std::strerror(error) + "); accepted are at least " + std::to_string(NEEDED) +
                             ", see 'ulimit -n'");
  }
}

bool isOfTheLastDescriptors(int newest) {
  rlimit limit{};
  // The kernel gives the lowest number that is free, so all below `newest` are taken.
  return getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
         static_cast<rlim_t>(newest) + KEPT_FOR_THE_ADAPTER >= limit.rlim_cur;
}

#include "poectl/service/cycle_lock.h"

#include "poectl/host/user_directory.h"
#include "text/number.h"
#include "text/text.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <unistd.h>

namespace {

double seconds(CycleLock::Time time) {
  return static_cast<double>(time.count()) / 1000;
}

// Nothing for a new file, and for one whose contents are not a stamp.
std::optional<CycleLock::Time> stampIn(const FileDescriptor& file) {
  char contents[32];
  const ssize_t length = pread(file.get(), contents, sizeof contents, 0);
  const auto stamp =
      text::numberFrom<std::int64_t>({contents, static_cast<std::size_t>(length > 0 ? length : 0)});
  return stamp ? std::make_optional<CycleLock::Time>(*stamp) : std::nullopt;
}

} // namespace

CycleLock::Time CycleLock::now() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now); // the time of day may be set
  return std::chrono::duration_cast<Time>(std::chrono::seconds(now.tv_sec) +
                                          std::chrono::nanoseconds(now.tv_nsec));
}

CycleLock::CycleLock(unsigned port, Time now) {
  const std::string path = newUserDirectory("poectl") + "/poectl_cycle_" + std::to_string(port);
  m_file = FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  if (!m_file.isOpen()) {
    throw CycleRefusal("cannot open " + path + ": " + std::strerror(errno));
  }
  if (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0) {
    throw CycleRefusal("another poectl cycles port " + std::to_string(port) + " at this moment");
  }
  const std::optional<Time> stamp = stampIn(m_file);
  if (stamp && *stamp <= now && now - *stamp < CYCLE_INTERVAL) { // a later one is from before a restart
    throw CycleRefusal("port " + std::to_string(port) + " was cycled " +
                       text::formatted("%.1f s ago; once in %d s is accepted: wait %.1f s",
                                       seconds(now - *stamp), static_cast<int>(CYCLE_INTERVAL.count()),
                                       seconds(*stamp + CYCLE_INTERVAL - now)));
  }
}

void CycleLock::stamp(Time now) const {
  const std::string contents = std::to_string(now.count());
  if (ftruncate(m_file.get(), 0) != 0 ||
      pwrite(m_file.get(), contents.data(), contents.size(), 0) != static_cast<ssize_t>(contents.size())) {
    throw CycleRefusal(std::string("cannot note the time of the cycle: ") + std::strerror(errno));
  }
}

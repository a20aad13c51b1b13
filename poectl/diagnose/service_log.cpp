#include "poectl/diagnose/service_log.h"

#include "poectl/host/visible_text.h"
#include "posix/file_descriptor.h"
#include "text/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

struct EventWords {
  LogEvent event;
  const char* words; // docs/troubleshooting.md lists the whole lines
};

constexpr EventWords EVENT_WORDS[] = {
    {LogEvent::START, "main:80 (main) - Card is ready"},
    {LogEvent::BUS_ERROR, "Failed reading device at address"},
    {LogEvent::SET_UP_AGAIN, "POE chip not initialised"},
    {LogEvent::AUDIT_RESTART, "audit restarting Port"},
    {LogEvent::STATUS_NOT_SENT, "msgsnd failure: "},
    {LogEvent::NO_STATUS_QUEUE, "mq_open /queueToMain: "},
    {LogEvent::NO_ADAPTER, "Cannot open I2C driver"},
    {LogEvent::NO_ADDRESS, "Cannot access I2C driver"},
    {LogEvent::NO_CONSOLE, "debug console: cannot "},
    {LogEvent::NOT_FED, " not fed for "},
    {LogEvent::NO_ENGINE, "Cannot create thread"},
    {LogEvent::NO_QUEUE, "main:74 (main) - msg open"},
    {LogEvent::RECEIVE_ENDED, "main:126 (main) - msg receive failed"},
    {LogEvent::BAD_PRIORITY, " pr="},
};
static_assert(std::size(EVENT_WORDS) == LOG_EVENTS);

constexpr std::size_t MAX_QUOTED_LINE = 200; // bytes

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw LogError("the log " + text::quoted(path) + " cannot be read: " + why);
}

} // namespace

void LogEvents::add(const std::string& text, bool isRecent) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    addLine(line, isRecent);
  }
}

void LogEvents::addLine(const std::string& line, bool isRecent) {
  const auto known = std::find_if(std::begin(EVENT_WORDS), std::end(EVENT_WORDS), [&](const EventWords& row) {
    return line.find(row.words) != std::string::npos;
  });
  if (known == std::end(EVENT_WORDS)) {
    return;
  }
  if (known->event == LogEvent::START) { // what came before is of an earlier service
    m_counts = {};
  }
  LogCount& count = m_counts[static_cast<std::size_t>(known->event)];
  count.total++;
  count.recent += isRecent ? 1 : 0;
  count.last = visibleLine(line.substr(0, MAX_QUOTED_LINE));
}

std::string LogEvents::quote(LogEvent event) const {
  const LogCount& count = of(event);
  const unsigned number = count.recent != 0 ? count.recent : count.total;
  const std::string since = count.recent != 0 ? "between the looks" : "since the service started";
  return "log: " + std::to_string(number) + (number == 1 ? " line " : " lines ") + since + ": " + count.last;
}

LogTail::LogTail(std::string path) : m_path(std::move(path)) {
  m_text = readFrom(-1);
}

std::string LogTail::added() {
  return readFrom(m_end);
}

// A negative offset: the end of the file.
std::string LogTail::readFrom(long long offset) {
  const FileDescriptor file(open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0) {
    refuse(m_path, std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    refuse(m_path, "it is no regular file");
  }
  const auto size = static_cast<long long>(status.st_size);
  const long long newest = std::max(size - static_cast<long long>(MAX_LOG_BYTES), 0LL);
  const long long start = offset < 0 || offset > size ? newest : std::max(offset, newest);
  std::string text(static_cast<std::size_t>(size - start), '\0');
  std::size_t length = 0;
  while (length < text.size()) {
    const ssize_t part = pread(file.get(), &text[length], text.size() - length,
                               static_cast<off_t>(start) + static_cast<off_t>(length));
    if (part < 0) {
      refuse(m_path, std::strerror(errno));
    }
    if (part == 0) {
      break;
    }
    length += static_cast<std::size_t>(part);
  }
  text.resize(length);
  m_end = start + static_cast<long long>(length);
  return text;
}

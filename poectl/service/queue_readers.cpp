#include "poectl/service/queue_readers.h"

#include "components/PoeDriver/poe_messages.h"
#include "poectl/console/console_client.h"
#include "poectl/host/visible_text.h"
#include "poectl/service/queue.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mqueue.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char SERVICE_NAME[] = "poe_service";

// Programs of every login that nobody but root can look into. None of them has to do with the queues.
constexpr std::array<const char*, 6> LOGIN_PROGRAMS = {"(sd-pam)",  "sshd",      "sshd-session",
                                                       "ssh-agent", "gpg-agent", "systemd"};

struct Queue {
  std::string name;
  dev_t device;
  ino_t inode;
  uid_t owner;
};

// The queue's identity; nothing when it cannot be opened. Closes it again: we are no reader ourselves.
std::optional<Queue> identify(const char* name) {
  for (const int access : {O_RDONLY, O_WRONLY}) {
    const mqd_t queue = mq_open(name, access | O_CLOEXEC);
    struct stat status {};
    if (queue != -1) {
      const bool known = fstat(queue, &status) == 0;
      mq_close(queue);
      return known ? std::make_optional<Queue>({name, status.st_dev, status.st_ino, status.st_uid})
                   : std::nullopt;
    }
  }
  return std::nullopt;
}

std::string commandName(const fs::path& process) {
  std::string name;
  std::getline(std::ifstream(process / "comm"), name);
  return visibleLine(name.substr(0, 64));
}

bool isProcess(const fs::path& entry) {
  const std::string name = entry.filename();
  return std::all_of(name.begin(), name.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

// Whether the flags in "fdinfo", which are octal, allow reading.
bool opensForReading(const fs::path& process, const std::string& descriptor) {
  std::ifstream lines(process / "fdinfo" / descriptor);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 6, "flags:") == 0) {
      return (std::strtoul(line.c_str() + 6, nullptr, 8) & O_ACCMODE) != O_WRONLY;
    }
  }
  return true; // not known, so it counts
}

enum class Use { NONE, READS, HIDDEN };

Use useOf(const Queue& queue, const fs::path& process) {
  std::error_code error;
  for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
       entry.increment(error)) {
    struct stat status {};
    if (stat(entry->path().c_str(), &status) == 0 && status.st_dev == queue.device &&
        status.st_ino == queue.inode && opensForReading(process, entry->path().filename())) {
      return Use::READS;
    }
  }
  const bool isHidden = error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
  return isHidden ? Use::HIDDEN : Use::NONE; // a process that has ended reads nothing
}

// Kernel threads have none.
bool hasCommandLine(const fs::path& process) {
  return std::ifstream(process / "cmdline").peek() != std::ifstream::traits_type::eof();
}

// Whether a process that we cannot look into may serve the queue.
bool isSuspect(const Queue& queue, const fs::path& process, const std::string& name) {
  if (name == SERVICE_NAME) {
    return queue.name == QUEUE_TO_POE;
  }
  std::ifstream lines(process / "status");
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 4, "Uid:") == 0) {
      return std::strtoul(line.c_str() + 4, nullptr, 10) == queue.owner &&
             std::find(LOGIN_PROGRAMS.begin(), LOGIN_PROGRAMS.end(), name) == LOGIN_PROGRAMS.end() &&
             hasCommandLine(process);
    }
  }
  return false;
}

void look(const Queue& queue, const fs::path& process, QueueReaders& readers) {
  const QueueReader reader{static_cast<pid_t>(std::stol(process.filename())), commandName(process)};
  switch (useOf(queue, process)) {
  case Use::READS:
    readers.found.push_back(reader);
    break;
  case Use::HIDDEN:
    if (readers.doubt.empty() && isSuspect(queue, process, reader.name)) {
      readers.doubt = describe(reader) + " may serve it, and only root can look into that process";
    }
    break;
  case Use::NONE:
    break;
  }
}

// Whether a reader of the status messages is a command of poectl that shows them and never undoes a
// configuration: "watch --example" sends its own only to a service that has forgotten all.
bool onlyShows(const QueueReader& reader) {
  constexpr std::array<const char*, 4> COMMANDS = {"publish", "serve", "status", "watch"};
  if (reader.name != "poectl") {
    return reader.name == "poectl-page";
  }
  std::ifstream words(fs::path("/proc") / std::to_string(reader.pid) / "cmdline");
  std::string command;
  std::getline(words, command, '\0');
  std::getline(words, command, '\0');
  return std::find(COMMANDS.begin(), COMMANDS.end(), command) != COMMANDS.end();
}

} // namespace

QueueReaders readersOf(const char* name) {
  const std::optional<Queue> queue = identify(name);
  if (!queue) {
    return {{}, errno == ENOENT ? "" : std::string("it cannot be opened: ") + std::strerror(errno)};
  }
  QueueReaders readers;
  std::error_code error;
  if (!fs::exists("/proc/1", error)) {
    readers.doubt = "the processes of other users are not shown in /proc";
  }
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
    if (isProcess(entry->path())) {
      look(*queue, entry->path(), readers);
    }
  }
  if (readers.found.empty() && readers.doubt.empty() && queue->name == QUEUE_TO_POE && consolePortIsTaken()) {
    readers.doubt = "port " + std::to_string(CONSOLE_PORT) +
                    " on 127.0.0.1 is taken, perhaps by a service that cannot be seen from here";
  }
  return readers;
}

std::string whyQueueExists(const char* name) {
  const std::string queue = std::string("queue ") + name + " exists";
  const QueueReaders readers = readersOf(name);
  if (!readers.found.empty()) {
    return queue + ": " + describe(readers.found.front()) + " serves it, and there can be only one";
  }
  if (!readers.doubt.empty()) {
    return queue + ", and it cannot be known whether somebody serves it: " + readers.doubt;
  }
  return queue + ", but nobody serves it: its process was killed; 'poectl clean' removes it";
}

std::string mainProcessNote() {
  const std::string undone = "its next configuration undoes this one";
  const QueueReaders readers = readersOf(QUEUE_TO_MAIN);
  if (!readers.found.empty()) {
    const QueueReader& reader = readers.found.front();
    return onlyShows(reader) ? "" : describe(reader) + " is the main process: " + undone;
  }
  return readers.doubt.empty() ? "" : "a main process may run, " + undone + ": " + readers.doubt;
}

std::string describe(const QueueReader& reader) {
  return "process " + std::to_string(reader.pid) + " (" + reader.name + ")";
}

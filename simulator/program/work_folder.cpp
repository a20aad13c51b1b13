#include "simulator/program/work_folder.h"

#include "text/text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PREFIX = "poe_card.";
constexpr std::string_view UNIQUE = "XXXXXX";
constexpr const char* LOCK = "poe_card.lock";
// The longest path that the adapter makes a socket of, in the folder. umockdev's opener leaves room for two
// zeros.
constexpr std::string_view MAX_SOCKET_NAME = "/umockdev.XXXXXX/ioctl/dev/i2c-0";
constexpr std::size_t MAX_PARENT =
    sizeof(sockaddr_un::sun_path) - 2 - MAX_SOCKET_NAME.size() - PREFIX.size() - UNIQUE.size() - 1;
constexpr int MAX_TRIES = 100;

std::string parentFolder() {
  const char* set = std::getenv("TMPDIR");
  std::string folder = set == nullptr || *set == '\0' ? "/tmp" : set;
  return fs::absolute(folder).string();
}

[[noreturn]] void fail(const std::string& parent, int error) {
  throw std::runtime_error("no folder for temporary files in " + text::quoted(parent) + ": " +
                           std::generic_category().message(error) +
                           "; accepted is a TMPDIR that can be written and has room");
}

// A file of this user that is not locked; this process then holds the lock. Not open: it is locked or of
// another user.
FileDescriptor lockOfTheDead(const fs::path& folder) {
  struct stat status {};
  if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid() ||
      (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return FileDescriptor();
  }
  FileDescriptor lock(open((folder / LOCK).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  return lock.isOpen() && flock(lock.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(lock) : FileDescriptor();
}

void removeFoldersOfTheDead(const std::string& parent) {
  std::error_code ignored; // A file that cannot be removed does no harm.
  for (fs::directory_iterator entry(parent, fs::directory_options::skip_permission_denied, ignored);
       !ignored && entry != fs::directory_iterator(); entry.increment(ignored)) {
    const std::string name = entry->path().filename().string();
    if (name.size() != PREFIX.size() + UNIQUE.size() || name.compare(0, PREFIX.size(), PREFIX) != 0) {
      continue;
    }
    const FileDescriptor lock = lockOfTheDead(entry->path());
    if (lock.isOpen()) {
      std::error_code stays;
      fs::remove_all(entry->path(), stays);
    }
  }
}

// The adapter's library cannot report that it has no room for its files. False: errno says why.
bool hasRoom(int fd) {
  constexpr std::array<char, 32'768> ROOM{};
  const ssize_t written = write(fd, ROOM.data(), ROOM.size());
  if (written >= 0 && written < static_cast<ssize_t>(ROOM.size())) {
    errno = ENOSPC;
    return false;
  }
  return written > 0 && ftruncate(fd, 0) == 0;
}

} // namespace

WorkFolder::WorkFolder() {
  const std::string parent = parentFolder();
  if (parent.size() > MAX_PARENT) {
    throw std::runtime_error("the path of the folder for temporary files, " + text::quoted(parent) +
                             ", has " + std::to_string(parent.size()) +
                             " characters; accepted is a TMPDIR of at most " + std::to_string(MAX_PARENT));
  }
  removeFoldersOfTheDead(parent);
  for (int tries = 0; tries < MAX_TRIES; ++tries) {
    if (tryToMake(parent)) {
      return;
    }
  }
  fail(parent, EBUSY);
}

// False: another poe_card has taken the folder for that of a dead one before its lock was held.
bool WorkFolder::tryToMake(const std::string& parent) {
  m_path = parent + "/" + std::string(PREFIX) + std::string(UNIQUE);
  if (mkdtemp(m_path.data()) == nullptr) {
    fail(parent, errno);
  }
  m_lock = FileDescriptor(
      open((m_path + "/" + LOCK).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  struct stat status {};
  errno = 0;
  if (m_lock.isOpen() && hasRoom(m_lock.get()) && flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0 &&
      fstat(m_lock.get(), &status) == 0 && status.st_nlink > 0) {
    return true;
  }
  const int error = errno;
  m_lock = FileDescriptor();
  remove();
  if (error != 0 && error != EWOULDBLOCK) {
    fail(parent, error);
  }
  return false;
}

WorkFolder::~WorkFolder() {
  remove();
}

void WorkFolder::remove() const noexcept {
  std::error_code stays; // Nothing can be done; the next start tries again.
  fs::remove_all(m_path, stays);
}

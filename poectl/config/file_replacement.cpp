#include "poectl/config/file_replacement.h"

#include "poectl/config/input_file.h"
#include "posix/file_descriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Free {
  void operator()(char* memory) const { std::free(memory); }
};

} // namespace

FileReplacement::FileReplacement(const std::string& path, const std::string& contents) : m_path(path) {
  const std::unique_ptr<char, Free> target(realpath(path.c_str(), nullptr));
  if (!target) {
    fail("cannot be changed");
  }
  m_target = target.get();
  try {
    write(contents);
  } catch (const InputError&) {
    unlink(m_temporary.c_str());
    throw;
  }
}

FileReplacement::~FileReplacement() {
  if (!m_temporary.empty()) {
    unlink(m_temporary.c_str());
  }
}

void FileReplacement::putInPlace() {
  if (std::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
    fail("cannot be replaced");
  }
  m_temporary.clear();
}

void FileReplacement::write(const std::string& contents) {
  struct stat status {};
  // The renaming alone would not ask whether the file itself may be written.
  if (stat(m_target.c_str(), &status) != 0 || faccessat(AT_FDCWD, m_target.c_str(), W_OK, AT_EACCESS) != 0) {
    fail("cannot be changed");
  }
  if (!S_ISREG(status.st_mode)) {
    throw InputError(m_path + ": cannot be changed: a regular file is accepted");
  }
  std::string temporary = m_target + ".XXXXXX";
  const FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
  if (file.get() < 0) {
    fail("cannot be changed: no file can be made beside it");
  }
  m_temporary = temporary;
  const bool keepsOwner = (status.st_uid == geteuid() && status.st_gid == getegid()) ||
                          fchown(file.get(), status.st_uid, status.st_gid) == 0;
  if (!keepsOwner || fchmod(file.get(), status.st_mode & 07777U) != 0) {
    fail("cannot be changed: its owner or its mode would be another");
  }
  if (!writeAndSync(file.get(), contents)) {
    fail("cannot be changed");
  }
}

void FileReplacement::fail(const std::string& what) const {
  throw InputError(m_path + ": " + what + ": " + std::strerror(errno));
}

bool writeAndSync(int file, const std::string& contents) {
  for (std::size_t done = 0; done < contents.size();) {
    const ssize_t length = write(file, contents.data() + done, contents.size() - done);
    if (length < 0 && errno != EINTR) {
      return false;
    }
    done += length > 0 ? static_cast<std::size_t>(length) : 0;
  }
  return fsync(file) == 0; // or a power failure could leave an empty file after it was renamed
}

bool writeAside(const std::string& path, const std::string& temporary, const std::string& contents) {
  unlink(temporary.c_str()); // O_EXCL then follows no link that somebody else has put there
  const FileDescriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file.isOpen()) {
    return false;
  }
  if (!writeAndSync(file.get(), contents) || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    return false;
  }
  return true;
}

#include "text/text_file.h"

#include "posix/file_descriptor.h"
#include "text/text.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void failErrno(const std::string& path) {
  const int error = errno;
  throw std::runtime_error("cannot read " + text::quoted(path) + ": " +
                           std::generic_category().message(error) + "; accepted is a file that can be read");
}

} // namespace

std::string readTextFile(const std::string& path, std::size_t most) {
  // A pipe, which is refused below, must not be waited for.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    failErrno(path);
  }
  if (!S_ISREG(status.st_mode)) {
    throw std::runtime_error(text::quoted(path) + " is no file; accepted is a regular file");
  }
  std::string text;
  std::array<char, 4096> part{};
  for (ssize_t got = 0; (got = read(file.get(), part.data(), part.size())) != 0;) {
    if (got < 0) {
      failErrno(path);
    }
    text.append(part.data(), static_cast<std::size_t>(got));
    if (text.size() > most) {
      throw std::runtime_error(text::quoted(path) + " is too long; accepted are " + std::to_string(most) +
                               " bytes");
    }
  }
  return text;
}

void requireWritableFile(const std::string& path) {
  const auto refuse = [&path](const std::string& why) {
    throw std::runtime_error("cannot write " + path + ": " + why +
                             "; accepted is a file that can be written");
  };
  // The reader of a pipe could keep the bus and the command waiting.
  const auto isPipe = [](const struct stat& status) {
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
  };
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && isPipe(status)) {
    refuse("it is a pipe or a socket");
  }
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
  const int error = errno;
  if (file.get() < 0) {
    refuse(std::generic_category().message(error));
  }
  if (fstat(file.get(), &status) != 0 || isPipe(status)) {
    refuse("it is a pipe or a socket");
  }
}

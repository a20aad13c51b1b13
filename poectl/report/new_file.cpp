#include "poectl/report/new_file.h"

#include "platform/host/file_descriptor.h"
#include "poectl/config/input_file.h"
#include "text/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string& path) {
  throw InputError(text::quoted(path) + " cannot be written: " + std::strerror(errno));
}

// Everything, or errno says why not.
bool writeAll(int file, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t length = write(file, text.data() + done, text.size() - done);
    if (length < 0 && errno != EINTR) {
      return false;
    }
    done += length > 0 ? static_cast<std::size_t>(length) : 0;
  }
  return fsync(file) == 0;
}

} // namespace

void requireNewFile(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) {
    throw InputError(text::quoted(path) + " exists already; the name of a new file is accepted");
  }
  const std::string folder = std::filesystem::path(path).parent_path().string();
  if (errno != ENOENT || access(folder.empty() ? "." : folder.c_str(), W_OK) != 0) {
    fail(path);
  }
}

void writeNewFile(const std::string& path, const std::string& text) {
  requireNewFile(path);
  const std::string temporary = path + "." + std::to_string(getpid()) + ".part";
  const FileDescriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (file.get() < 0) {
    fail(path);
  }
  if (!writeAll(file.get(), text) || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    fail(path);
  }
}

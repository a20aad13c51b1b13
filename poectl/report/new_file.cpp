#include "poectl/report/new_file.h"

#include "poectl/config/file_replacement.h"
#include "poectl/config/input_file.h"
#include "text/text.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string& path) {
  throw InputError(text::quoted(path) + " cannot be written: " + std::strerror(errno));
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
  if (!writeAside(path, temporary, text)) {
    fail(path);
  }
}

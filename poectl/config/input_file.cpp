#include "poectl/config/input_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t MAX_FILE_SIZE = 65536; // bytes

struct CloseFile {
  void operator()(std::FILE* file) const {
    if (file != stdin) {
      std::fclose(file);
    }
  }
};

} // namespace

std::string inputName(const std::string& path) {
  return path == "-" ? "standard input" : path;
}

std::string readInput(const std::string& path) {
  const std::string name = inputName(path);
  const std::unique_ptr<std::FILE, CloseFile> file(path == "-" ? stdin : std::fopen(path.c_str(), "re"));
  if (!file) {
    throw InputError(name + ": cannot be read: " + std::strerror(errno));
  }
  std::string text(MAX_FILE_SIZE + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0) {
    throw InputError(name + ": cannot be read: " + std::strerror(errno));
  }
  if (text.size() > MAX_FILE_SIZE) {
    throw InputError(name + ": is too large; at most " + std::to_string(MAX_FILE_SIZE) +
                     " bytes are accepted");
  }
  return text;
}

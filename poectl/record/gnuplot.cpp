#include "poectl/record/gnuplot.h"

#include "poectl/host/visible_text.h"
#include "posix/file_descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t MAX_ERRORS = 4096;               // bytes
constexpr std::size_t MAX_OUTPUT = 64UL * 1024 * 1024; // bytes

[[noreturn]] void fail(const std::string& what, int error) {
  throw GnuplotError("gnuplot: " + what + ": " + std::strerror(error));
}

// Throws when the system has no descriptor left.
FileDescriptor opened(int descriptor) {
  FileDescriptor owner(descriptor);
  if (!owner.isOpen()) {
    fail("cannot be started", errno);
  }
  return owner;
}

void writeAll(const FileDescriptor& file, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = write(file.get(), text.data() + done, text.size() - done);
    if (written < 0) {
      fail("cannot be started", errno);
    }
    done += static_cast<std::size_t>(written);
  }
  lseek(file.get(), 0, SEEK_SET);
}

std::string readAll(const FileDescriptor& file) {
  lseek(file.get(), 0, SEEK_SET);
  std::string text;
  std::array<char, 65536> part{};
  for (ssize_t length = 0; (length = read(file.get(), part.data(), part.size())) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(length));
    if (text.size() > MAX_OUTPUT) {
      throw GnuplotError("gnuplot: its picture is larger than " + std::to_string(MAX_OUTPUT) + " bytes");
    }
  }
  return text;
}

// Starts gnuplot, which is a process of its own until wait() or the destruction.
class Child {
public:
  Child(int input, int output, int errors) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    const char* const words[] = {"gnuplot", "--default-settings", "-", nullptr};
    const int error =
        posix_spawnp(&m_process, words[0], &actions, nullptr, const_cast<char**>(words), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT) {
      throw GnuplotError("gnuplot is not installed; the Debian package gnuplot-nox has it");
    }
    if (error != 0) {
      fail("cannot be started", error);
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (m_process > 0) {
      kill(m_process, SIGKILL);
      wait();
    }
  }

  // The wait status.
  int wait() {
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    return status;
  }

private:
  pid_t m_process = -1;
};

// What comes until the other end is closed: gnuplot does that when it ends.
std::string errorsUntilEnd(const FileDescriptor& pipe, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  std::string errors;
  std::array<char, 1024> part{};
  while (true) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd ready{pipe.get(), POLLIN, 0};
    if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0) {
      throw GnuplotError("gnuplot: has not ended after " + std::to_string(limit.count() / 1000) + " s");
    }
    const ssize_t length = read(pipe.get(), part.data(), part.size());
    if (length == 0) {
      return errors;
    }
    if (length > 0 && errors.size() < MAX_ERRORS) {
      errors.append(part.data(), static_cast<std::size_t>(length));
    }
  }
}

// The line that says what is wrong; before it gnuplot shows the command and marks the place.
std::string lastLine(std::string text) {
  text.erase(text.find_last_not_of('\n') + 1);
  return visibleLine(text.substr(text.rfind('\n') + 1));
}

} // namespace

std::string runGnuplot(const std::string& script, std::chrono::milliseconds limit) {
  const FileDescriptor input = opened(memfd_create("gnuplot script", MFD_CLOEXEC));
  const FileDescriptor output = opened(memfd_create("gnuplot picture", MFD_CLOEXEC));
  writeAll(input, script);
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    fail("cannot be started", errno);
  }
  const FileDescriptor errors(ends[0]);
  FileDescriptor errorsEnd(ends[1]);
  Child gnuplot(input.get(), output.get(), errorsEnd.get());
  errorsEnd = FileDescriptor();
  const std::string said = errorsUntilEnd(errors, limit);
  const int status = gnuplot.wait();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw GnuplotError("gnuplot: " + (said.empty() ? "ended without a picture" : lastLine(said)));
  }
  std::string picture = readAll(output);
  if (picture.empty()) {
    throw GnuplotError("gnuplot: " + (said.empty() ? "ended without a picture" : lastLine(said)));
  }
  return picture;
}

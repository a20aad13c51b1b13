#include "poectl/host/child_output.h"

#include "poectl/host/visible_text.h"
#include "posix/file_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Child {
  pid_t pid = -1;
  FileDescriptor output;
  std::string problem;
};

Child start(const std::vector<std::string>& words) {
  Child child;
  int ends[2] = {};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    child.problem = std::strerror(errno);
    return child;
  }
  child.output = FileDescriptor(ends[0]);
  const FileDescriptor outputEnd(ends[1]);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outputEnd.get(), STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // A group of its own, so that the children of the child end with it.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  const int error = posix_spawnp(&child.pid, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    child.pid = -1;
    child.problem = "cannot run " + words.front() + ": " + std::strerror(error);
  }
  return child;
}

// Collects until the output ends or a limit is reached. Returns why it was broken off.
std::string collect(int output, const ChildLimits& limits, std::string& text) {
  const Clock::time_point deadline = Clock::now() + limits.time;
  for (char block[4096]; true;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd ready{output, POLLIN, 0};
    const int found = left.count() > 0 ? poll(&ready, 1, static_cast<int>(left.count())) : 0;
    if (found < 0 && errno == EINTR) {
      continue;
    }
    if (found <= 0) {
      return "does not end within " + std::to_string(limits.time.count()) + " ms";
    }
    const ssize_t length = read(output, block, sizeof block);
    if (length <= 0) {
      return "";
    }
    text.append(block, static_cast<std::size_t>(length));
    if (text.size() > limits.bytes) {
      text.resize(limits.bytes);
      return "prints more than " + std::to_string(limits.bytes) + " bytes";
    }
  }
}

// Waits until the child has ended, and ends it at the deadline: one may close its output and go on.
int waitFor(pid_t pid, Clock::time_point deadline) {
  int status = 0;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (Clock::now() > deadline) {
      kill(-pid, SIGKILL);
      waitpid(pid, &status, 0);
      break;
    }
    poll(nullptr, 0, 5);
  }
  return status;
}

} // namespace

ChildOutput runChild(const std::vector<std::string>& words, const ChildLimits& limits) {
  const Clock::time_point deadline = Clock::now() + limits.time;
  const Child child = start(words);
  ChildOutput result;
  if (child.pid < 0) {
    result.problem = child.problem;
    return result;
  }
  const std::string brokenOff = collect(child.output.get(), limits, result.text);
  if (!brokenOff.empty()) {
    kill(-child.pid, SIGKILL);
  }
  const int status = waitFor(child.pid, deadline);
  result.text = visibleText(result.text);
  if (!brokenOff.empty()) {
    result.problem = words.front() + " " + brokenOff;
  } else if (WIFSIGNALED(status)) {
    result.problem = words.front() + " was ended by a signal";
  } else if (WEXITSTATUS(status) != 0) {
    result.problem = words.front() + " ended with status " + std::to_string(WEXITSTATUS(status));
  }
  return result;
}

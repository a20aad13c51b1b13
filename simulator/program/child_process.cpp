#include "simulator/program/child_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int CANNOT_RUN = 127;
constexpr int SIGNALLED = 128;

sigset_t handledSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGCHLD}) {
    sigaddset(&set, number);
  }
  return set;
}

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  result.reserve(strings.size() + 1);
  for (std::string& string : strings) {
    result.push_back(string.data());
  }
  result.push_back(nullptr);
  return result;
}

bool names(const std::string& variable, const std::string& name) {
  return variable.compare(0, name.size(), name) == 0 && variable[name.size()] == '=';
}

// Our variables, those that `added` replaces left out.
std::vector<std::string> environmentWith(const ChildProcess::Environment& added) {
  std::vector<std::string> result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string variable = *entry;
    const auto replaces = [&variable](const auto& addition) { return names(variable, addition.first); };
    if (std::none_of(added.begin(), added.end(), replaces)) {
      result.push_back(variable);
    }
  }
  for (const auto& [name, value] : added) {
    result.push_back(std::string(name).append(1, '=').append(value));
  }
  return result;
}

void writeText(const char* text) {
  // Nothing can be done about a stderr that does not take it.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
}

// What a command leaves running becomes our child, as we are its subreaper.
std::vector<pid_t> children() {
  const std::string self = std::to_string(getpid());
  std::ifstream list("/proc/self/task/" + self + "/children");
  return {std::istream_iterator<pid_t>(list), {}};
}

} // namespace

ChildProcess::ChildProcess() {
  const sigset_t handled = handledSignals();
  sigemptyset(&m_passedOn);
  struct sigaction byDefault {};
  byDefault.sa_handler = SIG_DFL;
  // An inherited "ignore" would lose the command's exit status.
  if (sigaction(SIGCHLD, &byDefault, nullptr) != 0 || sigaction(SIGPIPE, nullptr, &m_originalPipe) != 0) {
    throwErrno("sigaction");
  }
  if (sigprocmask(SIG_BLOCK, &handled, &m_originalMask) != 0) {
    throwErrno("sigprocmask");
  }
  if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
    throwErrno("prctl");
  }
  m_signalFd = FileDescriptor(signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!m_signalFd.isOpen()) {
    throwErrno("signalfd");
  }
}

void ChildProcess::start(const std::vector<std::string>& argv, const Environment& environment) {
  // All memory is taken before the fork: another thread of ours may hold a lock then.
  std::vector<std::string> arguments = argv;
  std::vector<std::string> variables = environmentWith(environment);
  const std::vector<char*> argumentPointers = pointers(arguments);
  const std::vector<char*> variablePointers = pointers(variables);
  const std::string failureText = "poe_card: cannot run " + argv.front() + ": ";
  const pid_t parent = getpid();

  m_pid = fork();
  if (m_pid < 0) {
    throwErrno("fork");
  }
  if (m_pid > 0) {
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(CANNOT_RUN);
  }
  become(argumentPointers.data(), variablePointers.data(), failureText);
}

void ChildProcess::become(char* const* argv, char* const* environment, const std::string& failureText) const {
  sigaction(SIGPIPE, &m_originalPipe, nullptr);
  sigprocmask(SIG_SETMASK, &m_originalMask, nullptr);
  execvpe(argv[0], argv, environment);
  const char* reason = strerrordesc_np(errno);
  writeText(failureText.c_str());
  writeText(reason == nullptr ? "unknown error" : reason);
  writeText("\n");
  _exit(CANNOT_RUN);
}

bool ChildProcess::handleSignal() {
  signalfd_siginfo info{};
  if (read(m_signalFd.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info)) {
    return false;
  }
  if (info.ssi_signo == SIGCHLD) {
    return reapCommand();
  }
  sigaddset(&m_passedOn, static_cast<int>(info.ssi_signo));
  // What the terminal sends, it has sent to the command as well.
  if (info.ssi_code != SI_KERNEL) {
    kill(m_pid, static_cast<int>(info.ssi_signo));
  }
  return false;
}

bool ChildProcess::reapCommand() {
  bool ended = false;
  int status = 0;
  for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
    if (pid != m_pid) {
      continue; // an orphan of the command's
    }
    ended = true;
    m_endSignal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : SIGNALLED + m_endSignal;
  }
  if (ended) {
    killLeftBehind();
  }
  return ended;
}

int ChildProcess::unexpectedSignal() const {
  return m_endSignal == 0 || sigismember(&m_passedOn, m_endSignal) == 1 ? 0 : m_endSignal;
}

void ChildProcess::killLeftBehind() {
  for (std::vector<pid_t> left = children(); !left.empty(); left = children()) {
    for (const pid_t pid : left) {
      kill(pid, SIGKILL);
    }
    for (const pid_t pid : left) {
      waitpid(pid, nullptr, 0);
    }
  }
}

// The command that runs on the simulated card: started, signalled, waited for.
#pragma once

#include "posix/file_descriptor.h"

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

class ChildProcess {
public:
  using Environment = std::vector<std::pair<std::string, std::string>>;

  // From here on SIGTERM, SIGINT, SIGHUP, SIGQUIT and SIGCHLD of this process are
  // taken from signalFd(). Make it before any thread is started and before a
  // library changes how signals are handled: the command starts with what was set
  // until now. Throws std::system_error.
  ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts argv[0] (looked up in PATH) with `environment` added to ours. It dies
  // with this thread. A command that cannot be run says so and ends with 127.
  // Throws std::system_error.
  void start(const std::vector<std::string>& argv, const Environment& environment);

  // Readable when handleSignal() has something to do.
  int signalFd() const { return m_signalFd.get(); }
  // Passes a signal on, or takes note of the command's end. True: the command has
  // ended, and what it left running has been killed.
  bool handleSignal();
  // The command's exit status, or 128 + the signal that ended it.
  int exitStatus() const { return m_exitStatus; }
  // The signal that ended the command; 0: none, or one that was passed on to it.
  int unexpectedSignal() const;

private:
  [[noreturn]] void become(char* const* argv, char* const* environment, const std::string& failureText) const;
  bool reapCommand();
  static void killLeftBehind();

  sigset_t m_originalMask{};
  struct sigaction m_originalPipe {};
  FileDescriptor m_signalFd;
  pid_t m_pid = -1;
  int m_exitStatus = 0;
  int m_endSignal = 0;
  sigset_t m_passedOn{}; // to the command
};

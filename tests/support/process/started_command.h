// A program that runs beside a test, its output in a pipe that nobody reads before it is asked for.
#pragma once

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class StartedCommand {
public:
  explicit StartedCommand(const std::vector<std::string>& words) {
    int ends[2] = {};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    m_pid = fork();
    if (m_pid == 0) {
      dup2(ends[1], STDOUT_FILENO);
      dup2(ends[1], STDERR_FILENO);
      signal(SIGHUP, SIG_DFL); // also when the tests run under nohup
      std::vector<char*> arguments;
      for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
      }
      arguments.push_back(nullptr);
      execv(arguments[0], arguments.data());
      _exit(126);
    }
    close(ends[1]);
    m_output = ends[0];
    fcntl(m_output, F_SETFL, O_NONBLOCK);
  }
  StartedCommand(const StartedCommand&) = delete;
  StartedCommand& operator=(const StartedCommand&) = delete;
  ~StartedCommand() {
    if (m_pid > 0) {
      kill(m_pid, SIGKILL);
      wait();
    }
    close(m_output);
  }

  pid_t pid() const { return m_pid; }
  void send(int signal) const {
    if (m_pid > 0) {
      kill(m_pid, signal);
    }
  }

  // Waits for its end. Returns the wait status.
  int wait() {
    ended(0);
    return m_status;
  }

  // The wait status when it has ended.
  std::optional<int> ended(int options = WNOHANG) {
    if (m_pid > 0 && waitpid(m_pid, &m_status, options) == m_pid) {
      m_pid = -1;
    }
    return m_pid < 0 ? std::optional(m_status) : std::nullopt;
  }

  // What it has written so far.
  const std::string& output() {
    char block[4096];
    for (ssize_t length = 0; (length = read(m_output, block, sizeof block)) > 0;) {
      m_text.append(block, static_cast<std::size_t>(length));
    }
    return m_text;
  }

private:
  pid_t m_pid = -1;
  int m_status = 0;
  int m_output = -1;
  std::string m_text;
};

// poectl's interactive console on a terminal of its own.
#pragma once

#include "tests/support/process/patience.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

// A terminal that runs poectl.
class Terminal {
public:
  // "poectl console", with its history below the folder.
  explicit Terminal(const std::string& stateFolder) {
    m_pid = forkpty(&m_master, nullptr, nullptr, nullptr);
    if (m_pid == 0) {
      setenv("TERM", "vt100", 1);
      setenv("XDG_STATE_HOME", stateFolder.c_str(), 1);
      execl(POECTL, POECTL, "console", nullptr);
      _exit(126);
    }
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    close(m_master);
    if (m_pid > 0) {
      waitpid(m_pid, nullptr, 0);
    }
  }

  pid_t pid() const { return m_pid; }

  // Waits for its end, with its output read. Returns the wait status.
  int waitForEnd() {
    EXPECT_FALSE(shows("never shown"));
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return status;
  }

  bool echoes() const {
    termios settings{};
    tcgetattr(m_master, &settings);
    return (settings.c_lflag & ECHO) != 0;
  }

  void type(const std::string& keys) {
    EXPECT_EQ(write(m_master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }

  // Whether the screen comes to show `text` behind what was already found.
  bool shows(const std::string& text) {
    std::size_t found = 0;
    while ((found = m_screen.find(text, m_seen)) == std::string::npos) {
      pollfd readable{m_master, POLLIN, 0};
      char block[1024];
      if (poll(&readable, 1, static_cast<int>(PATIENCE.count()) * 1000) != 1) {
        return false;
      }
      const ssize_t length = read(m_master, block, sizeof block);
      if (length <= 0) {
        return false;
      }
      m_screen.append(block, static_cast<std::size_t>(length));
    }
    m_seen = found + text.size();
    return true;
  }

private:
  pid_t m_pid = -1;
  int m_master = -1;
  std::string m_screen;
  std::size_t m_seen = 0;
};

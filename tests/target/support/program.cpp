#include "tests/target/support/program.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds POLL_INTERVAL{5};

std::string newFileName() {
  static int number = 0;
  return "/tmp/output" + std::to_string(number++);
}

[[noreturn]] void become(const std::vector<std::string>& commandLine, const std::string& outputFile) {
  const int output = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close(output);
  std::vector<char*> arguments;
  for (const std::string& word : commandLine) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  std::perror(arguments[0]);
  _exit(126);
}

} // namespace

Program::Program(const std::vector<std::string>& commandLine, const std::function<void()>& prepare)
    : m_outputFile(newFileName()), m_pid(fork()) {
  if (m_pid == 0) {
    if (prepare) {
      prepare();
    }
    become(commandLine, m_outputFile);
  }
  EXPECT_GT(m_pid, 0);
}

Program::~Program() {
  if (isRunning()) {
    kill(m_pid, SIGKILL);
    wait();
  }
  unlink(m_outputFile.c_str());
}

std::string Program::output() const {
  std::ostringstream text;
  text << std::ifstream(m_outputFile).rdbuf();
  return text.str();
}

bool Program::isRunning() {
  if (!m_ended) {
    m_ended = waitpid(m_pid, &m_status, WNOHANG) == m_pid;
  }
  return !m_ended;
}

int Program::wait(std::chrono::milliseconds timeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (isRunning()) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "the program does not end";
      return -1;
    }
    std::this_thread::sleep_for(POLL_INTERVAL);
  }
  return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
}

long statusValue(const std::string& folder, const std::string& name) {
  std::ifstream lines(folder + "/status");
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, name.size(), name) == 0) {
      return std::stol(line.substr(name.size()));
    }
  }
  ADD_FAILURE() << "no " << name << " in " << folder;
  return -1;
}

Footprint footprintOf(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  EXPECT_EQ(clock_getcpuclockid(pid, &clock), 0);
  EXPECT_EQ(clock_gettime(clock, &time), 0);
  return {statusValue("/proc/" + std::to_string(pid), "VmRSS:"),
          std::chrono::seconds(time.tv_sec) +
              std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::nanoseconds(time.tv_nsec))};
}

Result run(const std::vector<std::string>& commandLine, std::chrono::milliseconds timeout) {
  Program program(commandLine);
  const int status = program.wait(timeout);
  return {status, program.output()};
}

#include "tests/support/process/service_process.h"

#include "tests/support/process/wait_until.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string emptyFile() {
  std::string name = ::testing::TempDir() + "poe_service_XXXXXX";
  const int file = mkstemp(name.data());
  EXPECT_GE(file, 0);
  close(file);
  return name;
}

// poe_card runs a shell that preloads the faults as well and becomes the service.
std::vector<std::string> commandLine(const ServiceOptions& options, const std::string& logFile) {
  std::vector<std::string> line = {POE_CARD};
  if (options.capturesLog) {
    line.insert(line.end(), {"--log", logFile});
  }
  line.insert(line.end(), options.card.begin(), options.card.end());
  std::string script = options.preparation + "LD_PRELOAD=\"" SERVICE_FAULTS ":$LD_PRELOAD\" ";
  for (const auto& [name, value] : options.environment) {
    script += name + "=" + value + " ";
  }
  line.insert(line.end(), {"--", "/bin/sh", "-c", script + "exec " POE_SERVICE});
  return line;
}

[[noreturn]] void become(const std::vector<std::string>& line, const std::string& outputFile) {
  const int output = open(outputFile.c_str(), O_WRONLY | O_APPEND);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  std::vector<char*> arguments;
  for (const std::string& word : line) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  _exit(126);
}

} // namespace

ServiceProcess::ServiceProcess(const ServiceOptions& options) : m_outputFile(emptyFile()) {
  const std::vector<std::string> line = commandLine(options, m_outputFile);
  m_pid = fork();
  if (m_pid == 0) {
    become(line, m_outputFile);
  }
  EXPECT_GT(m_pid, 0);
}

ServiceProcess::~ServiceProcess() {
  if (isRunning()) {
    interrupt();
  }
  if (::testing::Test::HasFailure()) {
    std::cerr << "the service wrote:\n" << output();
  }
  unlink(m_outputFile.c_str());
}

std::string ServiceProcess::output() const {
  std::ostringstream text;
  text << std::ifstream(m_outputFile).rdbuf();
  return text.str();
}

bool ServiceProcess::waitForOutput(const std::string& text) const {
  return waitUntil([&] { return output().find(text) != std::string::npos; });
}

pid_t ServiceProcess::pid() const {
  const std::string parent = std::to_string(m_pid);
  pid_t child = -1;
  EXPECT_TRUE(std::ifstream("/proc/" + parent + "/task/" + parent + "/children") >> child);
  return child;
}

bool ServiceProcess::reap(bool wait) {
  if (m_pid > 0 && waitpid(m_pid, &m_status, wait ? 0 : WNOHANG) == m_pid) {
    m_pid = -1;
  }
  return m_pid < 0;
}

bool ServiceProcess::isRunning() {
  return !reap(false);
}

int ServiceProcess::interrupt() {
  // A signal that meets the service outside of its receive does nothing, so it is sent again.
  const bool ended = waitUntil([&] {
    if (m_pid > 0) {
      kill(m_pid, SIGTERM);
    }
    return reap(false);
  });
  if (!ended) {
    ADD_FAILURE() << "the service does not end";
    kill(m_pid, SIGKILL);
    reap(true);
  }
  return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

std::optional<int> ServiceProcess::waitForEnd() {
  if (!waitUntil([&] { return reap(false); })) {
    return std::nullopt;
  }
  return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

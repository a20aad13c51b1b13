#include "card_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

CardProcess::CardProcess(const std::filesystem::path& tmp, const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {POE_CARD};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);

  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
    throwErrno("pipe2");
  }
  m_pid = fork();
  if (m_pid < 0) {
    throwErrno("fork");
  }
  if (m_pid == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
      signal(number, SIG_DFL); // also when the tests run under nohup, which ignores SIGHUP
    }
    setenv("TMPDIR", tmp.c_str(), 1);
    execv(argv[0], argv.data());
    _exit(EXIT_FAILURE);
  }
  close(out[1]);
  close(err[1]);
  m_out = FileDescriptor(out[0]);
  m_err = FileDescriptor(err[0]);
}

CardProcess::~CardProcess() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
}

std::string CardProcess::restOf(const FileDescriptor& file) {
  std::string text;
  std::array<char, 4096> part{};
  ssize_t got = 0;
  while ((got = read(file.get(), part.data(), part.size())) > 0) {
    text.append(part.data(), static_cast<std::size_t>(got));
  }
  if (got < 0) {
    throwErrno("read");
  }
  return text;
}

std::string CardProcess::lineOf(const FileDescriptor& file) {
  std::string text;
  char character = 0;
  while (read(file.get(), &character, 1) == 1 && character != '\n') {
    text += character;
  }
  return text;
}

int CardProcess::wait() {
  int status = 0;
  if (waitpid(m_pid, &status, 0) < 0) {
    throwErrno("waitpid");
  }
  m_pid = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

CardResult runCard(const std::vector<std::string>& arguments) {
  const TemporaryDirectory tmp;
  return runCard(tmp.path(), arguments);
}

CardResult runCard(const std::filesystem::path& tmp, const std::vector<std::string>& arguments) {
  CardProcess card(tmp, arguments);
  CardResult result;
  result.out = card.rest();
  result.err = card.errors();
  result.status = card.wait();
  result.leftFiles = std::filesystem::exists(tmp) && !std::filesystem::is_empty(tmp);
  return result;
}

CardResult runProbe(const std::vector<std::string>& options, const std::vector<std::string>& words) {
  std::vector<std::string> arguments = options;
  arguments.insert(arguments.end(), {"--", CARD_PROBE});
  arguments.insert(arguments.end(), words.begin(), words.end());
  return runCard(arguments);
}

void expectRefusal(const CardResult& result, const std::string& line) {
  EXPECT_EQ(result.err, "poe_card: " + line + "\n");
  EXPECT_EQ(result.out, "") << line;
  EXPECT_EQ(result.status, 2) << line;
}

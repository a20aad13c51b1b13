// The system calls of poectl failing, one at a time, by strace. Whatever fails, poectl ends in time and not
// by a signal; it has printed all that it prints otherwise, or says why not in one line and returns 1 or 2;
// no queue is left behind.
#include "tests/support/process/main_process.h"
#include "tests/support/process/temporary_directory.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <mqueue.h>
#include <poll.h>
#include <regex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// The calls that fail, each with an error of its manual page. Those of the allocator and of threads' locks
// are left out.
const std::map<std::string, const char*> ERRORS = {
    {"access", "EACCES"},
    {"bind", "EADDRINUSE"},
    {"chdir", "EACCES"},
    {"chmod", "EPERM"},
    {"close", "EIO"},
    {"connect", "EACCES"},
    {"dup2", "EBUSY"},
    {"dup3", "EBUSY"},
    {"eventfd2", "EMFILE"},
    {"fchmod", "EPERM"},
    {"fcntl", "EINVAL"},
    {"flock", "ENOLCK"},
    {"fsync", "EIO"},
    {"ftruncate", "EIO"},
    {"getdents64", "EIO"},
    {"getsockopt", "ENOBUFS"},
    {"ioctl", "EIO"},
    {"listen", "EADDRINUSE"},
    {"lseek", "EINVAL"},
    {"mkdir", "ENOSPC"},
    {"mq_getsetattr", "EBADF"},
    {"mq_open", "ENFILE"},
    {"mq_timedreceive", "EBADF"},
    {"mq_timedsend", "EBADF"},
    {"mq_unlink", "EACCES"},
    {"newfstatat", "EACCES"},
    {"openat", "EMFILE"},
    {"pipe2", "EMFILE"},
    {"poll", "ENOMEM"},
    {"ppoll", "ENOMEM"},
    {"prctl", "EINVAL"},
    {"read", "EIO"},
    {"readlink", "EACCES"},
    {"recvfrom", "ECONNRESET"},
    {"rename", "ENOSPC"},
    {"rmdir", "EBUSY"},
    {"rt_sigprocmask", "EINVAL"},
    {"sendto", "ECONNRESET"},
    {"setsockopt", "ENOBUFS"},
    {"signalfd4", "EMFILE"},
    {"socket", "EMFILE"},
    {"statx", "EACCES"},
    {"symlink", "ENOSPC"},
    {"timerfd_create", "EMFILE"},
    {"unlink", "EBUSY"},
    {"write", "EIO"},
};

constexpr int MOST = 4; // of one call in one run

std::string listOfCalls() {
  std::string list = "munmap";
  for (const auto& [call, error] : ERRORS) {
    list += "," + call;
  }
  return list;
}

struct End {
  int status = -1; // -1: by a signal
  std::string output;
  std::string errors;
};

struct Fault {
  std::string call;
  int when; // the call's number in the whole run
};

class ToolCalls : public ::testing::Test {
protected:
  // Runs a command under strace, which writes or injects what `option` says.
  End run(const std::string& option, const std::string& command) const {
    const std::string line =
        "timeout 5 strace -qq " + option + " " + command + " >" + m_output + " 2>" + m_errors + " </dev/null";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, m_folder.read("output"), m_folder.read("errors")};
  }

  // The calls of a command, without those of the loader, which ends by unmapping its cache; of each call the
  // first MOST, as a loop, over all processes for instance, repeats what the first of its calls show.
  static std::vector<Fault> faultsOf(const std::string& trace) {
    std::ifstream lines(trace);
    std::map<std::string, int> seen;
    std::map<std::string, int> taken;
    std::vector<Fault> faults;
    bool loaded = false;
    for (std::string line; std::getline(lines, line);) {
      const std::string call = line.substr(0, line.find('('));
      loaded |= call == "munmap";
      seen[call]++;
      if (loaded && ERRORS.count(call) != 0 && ++taken[call] <= MOST) {
        faults.push_back({call, seen[call]});
      }
    }
    return faults;
  }

  static std::string injection(const Fault& fault) {
    return "-o /dev/null -e trace=" + fault.call + " -e inject=" + fault.call +
           ":error=" + ERRORS.at(fault.call) + ":when=" + std::to_string(fault.when);
  }

  // Lets each call of a command fail. Returns how many there were.
  std::size_t failEach(const std::string& tool, const std::string& arguments) {
    const std::string command = tool + " " + arguments;
    const End good = run("-o " + m_trace + " -e trace=" + listOfCalls(), command);
    EXPECT_EQ(good.status, 0) << good.errors;
    const std::string name = tool.substr(tool.rfind('/') + 1);
    const std::vector<Fault> faults = faultsOf(m_trace);
    for (const Fault& fault : faults) {
      const End end = run(injection(fault), command);
      const std::string what = name + " " + arguments + ", " + fault.call + " " + std::to_string(fault.when);
      if (end.status == 0) {
        EXPECT_EQ(end.output, good.output) << what << ": " << end.errors;
      } else {
        EXPECT_TRUE(end.status == 1 || end.status == 2) << what << ": status " << end.status;
        EXPECT_TRUE(std::regex_match(end.errors, std::regex("[^\n]+\n"))) << what << ": " << end.errors;
      }
      EXPECT_FALSE(queueExists("/queueToMain")) << what;
    }
    return faults.size();
  }

  const TemporaryDirectory m_folder;
  const std::string m_output = m_folder.file("output");
  const std::string m_errors = m_folder.file("errors");
  const std::string m_trace = m_folder.file("trace");
};

TEST_F(ToolCalls, OfCommandsWithoutAService) {
  const std::string file = m_folder.file("card.toml");
  ASSERT_EQ(std::system((std::string(POECTL " example >") + file).c_str()), 0);
  std::size_t faults = 0;
  for (const std::string& arguments : {std::string("example"), "check " + file, "explain " + file,
                                       std::string("clean"), std::string("preflight")}) {
    faults += failEach(POECTL, arguments);
  }
  EXPECT_GT(faults, 20U);
}

TEST_F(ToolCalls, ThatCannotLookForAQueueAreNoQueueThatIsLeftOver) {
  const End end = run(injection({"mq_open", 1}), POECTL " preflight");
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.errors, "poectl: cannot look for queue /queueToPoe: Too many open files in system\n");
}

TEST_F(ToolCalls, OfASentConfiguration) {
  const std::string file = m_folder.file("card.toml");
  ASSERT_EQ(std::system((std::string(POECTL " example >") + file).c_str()), 0);
  mq_attr attributes{};
  attributes.mq_maxmsg = 10;
  attributes.mq_msgsize = 2000;
  const mqd_t service = mq_open("/queueToPoe", O_RDONLY | O_NONBLOCK | O_CREAT | O_EXCL, 0600, &attributes);
  ASSERT_GE(service, 0);
  std::array<char, 2000> message{};
  std::thread reader; // takes each message at once
  std::atomic<bool> over{false};
  reader = std::thread([&] {
    pollfd full{service, POLLIN, 0};
    while (!over) {
      if (poll(&full, 1, 50) == 1) {
        mq_receive(service, message.data(), message.size(), nullptr);
      }
    }
  });
  EXPECT_GT(failEach(POECTL, "apply " + file), 5U);
  over = true;
  reader.join();
  mq_close(service);
  mq_unlink("/queueToPoe");
}

} // namespace

#include "tests/faults/failing_calls.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sys/wait.h>

namespace {

// The calls that fail, each with an error of its manual page. Those of the allocator and of threads' locks
// are left out.
const std::map<std::string, const char*> ERRORS = {
    {"access", "EACCES"},
    {"bind", "EADDRINUSE"},
    {"chdir", "EACCES"},
    {"chmod", "EPERM"},
    {"clone", "EAGAIN"},
    {"clone3", "EAGAIN"},
    {"close", "EIO"},
    {"connect", "EACCES"},
    {"dup2", "EBUSY"},
    {"dup3", "EBUSY"},
    {"eventfd2", "EMFILE"},
    {"faccessat2", "EACCES"},
    {"fallocate", "ENOSPC"},
    {"fchmod", "EPERM"},
    {"fcntl", "EINVAL"},
    {"flock", "ENOLCK"},
    {"fstatfs", "EIO"},
    {"fsync", "EIO"},
    {"ftruncate", "EIO"},
    {"getcwd", "ENOENT"},
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
    {"pread64", "EIO"},
    {"read", "EIO"},
    {"readlink", "EACCES"},
    {"readlinkat", "EACCES"},
    {"recvfrom", "ECONNRESET"},
    {"rename", "ENOSPC"},
    {"rmdir", "EBUSY"},
    {"rt_sigaction", "EINVAL"},
    {"sendto", "ECONNRESET"},
    {"rt_sigprocmask", "EINVAL"},
    {"setsockopt", "ENOBUFS"},
    {"signalfd4", "EMFILE"},
    {"socket", "EMFILE"},
    {"statfs", "EACCES"},
    {"statx", "EACCES"},
    {"symlink", "ENOSPC"},
    {"timerfd_create", "EMFILE"},
    {"unlink", "EBUSY"},
    {"unlinkat", "EBUSY"},
    {"wait4", "ECHILD"},
    {"write", "EIO"},
};

} // namespace

std::vector<FailingCalls::Fault> FailingCalls::faultsOf(const std::string& trace, int most) {
  std::ifstream lines(trace);
  std::map<std::string, int> seen;
  std::map<std::string, int> taken;
  std::vector<Fault> faults;
  bool loaded = false;
  for (std::string line; std::getline(lines, line);) {
    const std::string call = line.substr(0, line.find('('));
    loaded |= call == "munmap"; // the loader ends by unmapping its cache
    seen[call]++;
    if (loaded && ERRORS.count(call) != 0 && ++taken[call] <= most) {
      faults.push_back({call, seen[call]});
    }
  }
  return faults;
}

std::string FailingCalls::noting(const std::string& trace) {
  std::string calls = "munmap";
  for (const auto& [call, error] : ERRORS) {
    calls += "," + call;
  }
  return "-o " + trace + " -e trace=" + calls;
}

std::string FailingCalls::injecting(const Fault& fault) {
  return "-o /dev/null -e trace=" + fault.call + " -e inject=" + fault.call +
         ":error=" + ERRORS.at(fault.call) + ":when=" + std::to_string(fault.when);
}

FailingCalls::End FailingCalls::run(const std::string& options, const std::string& command) const {
  const std::string line = "timeout -k 1 5 strace -qq " + options + " " + command + " >" + m_output + " 2>" +
                           m_errors + " </dev/null";
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, m_folder.read("output"), m_folder.read("errors")};
}

void FailingCalls::expectEnd(const End& end, const End& good, const std::string& what) {
  if (end.status == 0) {
    EXPECT_EQ(end.output, good.output) << what << ": " << end.errors;
  } else {
    EXPECT_TRUE(end.status == 1 || end.status == 2) << what << ": status " << end.status;
    EXPECT_TRUE(std::regex_match(end.errors, std::regex("[^\n]+\n"))) << what << ": " << end.errors;
  }
}

std::size_t FailingCalls::failEach(const std::string& command, const std::string& options, int most,
                                   const Remains& remains, const std::set<std::string>& without) {
  const End good = run(options + " " + noting(m_trace), command);
  EXPECT_EQ(good.status, 0) << good.errors;
  std::vector<Fault> faults = faultsOf(m_trace, most);
  faults.erase(std::remove_if(faults.begin(), faults.end(),
                              [&](const Fault& fault) { return without.count(fault.call) != 0; }),
               faults.end());
  for (const Fault& fault : faults) {
    const std::string what = command + ", " + fault.call + " " + std::to_string(fault.when);
    expectEnd(run(options + " " + injecting(fault), command), good, what);
    EXPECT_EQ(remains(fault), "") << what;
  }
  return faults.size();
}

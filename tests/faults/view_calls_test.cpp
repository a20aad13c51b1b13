// The system calls of poectl's live view failing, one at a time, on a terminal of the test's own. Whatever
// fails, the view ends in time at its key or says in one line why not; it gives the terminal back as it was
// and leaves no queue behind.
#include "posix/file_descriptor.h"
#include "tests/faults/failing_calls.h"
#include "tests/support/process/main_process.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

const std::string ENTER = "\x1b[?1049h"; // the sequences of xterm for its second screen
const std::string LEAVE = "\x1b[?1049l";

class Terminal {
public:
  Terminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
    EXPECT_EQ(grantpt(m_master.get()), 0);
    EXPECT_EQ(unlockpt(m_master.get()), 0);
    m_slave = FileDescriptor(open(ptsname(m_master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    const winsize size{24, 80, 0, 0};
    ioctl(m_slave.get(), TIOCSWINSZ, &size);
    EXPECT_EQ(tcgetattr(m_slave.get(), &m_before), 0);
  }

  // Runs a command of the shell on it, with `keys` typed already. Returns its exit status; -1: by a signal.
  int run(const std::string& command, const std::string& keys) {
    EXPECT_EQ(write(m_master.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    const pid_t pid = fork();
    if (pid == 0) {
      setsid();
      dup2(m_slave.get(), STDIN_FILENO);
      dup2(m_slave.get(), STDOUT_FILENO);
      ioctl(STDIN_FILENO, TIOCSCTTY, 0);
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
      takeOutput(10);
    }
    takeOutput(0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // What a shell would find changed; empty when nothing is.
  std::string changes() const {
    termios now{};
    EXPECT_EQ(tcgetattr(m_slave.get(), &now), 0);
    const bool same = now.c_iflag == m_before.c_iflag && now.c_oflag == m_before.c_oflag &&
                      now.c_cflag == m_before.c_cflag && now.c_lflag == m_before.c_lflag;
    const std::size_t entered = m_output.rfind(ENTER);
    const bool left = entered == std::string::npos || m_output.find(LEAVE, entered) != std::string::npos;
    return std::string(same ? "" : "settings ") + (left ? "" : "screen");
  }

private:
  void takeOutput(int milliseconds) {
    pollfd ready{m_master.get(), POLLIN, 0};
    std::array<char, 4096> bytes{};
    while (poll(&ready, 1, milliseconds) == 1 && (ready.revents & POLLIN) != 0) {
      const ssize_t count = read(m_master.get(), bytes.data(), bytes.size());
      m_output.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
  }

  FileDescriptor m_master;
  FileDescriptor m_slave;
  termios m_before{};
  std::string m_output;
};

class ViewCalls : public FailingCalls {
protected:
  End run(const std::string& options, const std::string& what) {
    Terminal terminal;
    const int status = terminal.run("TERM=xterm timeout --foreground -k 1 5 strace -qq " + options +
                                        " " POECTL " watch --seconds 1 2>" + m_errors,
                                    "q");
    EXPECT_EQ(terminal.changes(), "") << what;
    return {status, "", m_folder.read("errors")};
  }
};

TEST_F(ViewCalls, OfAViewThatEndsByItsKey) {
  const End good = run(noting(m_trace), "no call");
  ASSERT_EQ(good.status, 0) << good.errors;
  const std::vector<Fault> faults = faultsOf(m_trace, 4);
  EXPECT_GT(faults.size(), 20U);
  for (const Fault& fault : faults) {
    const std::string what = "watch, " + fault.call + " " + std::to_string(fault.when);
    expectEnd(run(injecting(fault), what), good, what);
    EXPECT_TRUE(fault.call == "mq_unlink" || !queueExists("/queueToMain")) << what;
    mq_unlink("/queueToMain");
  }
}

} // namespace

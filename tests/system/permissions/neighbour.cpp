#include "tests/system/permissions/neighbour.h"

#include "tests/support/process/command.h"

#include <csignal>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Holds a namespace until it is killed; tells by `ready` that it is there.
[[noreturn]] void hold(int ready) {
  if (unshare(CLONE_NEWNET) == 0 && write(ready, "", 1) == 1) {
    pause();
  }
  _exit(1);
}

std::string joinedTo(pid_t pid) {
  const std::string there = "nsenter --net --target " + std::to_string(pid) + " ";
  const CommandResult result =
      run("set -e; "
          "ip link add poe-here type veth peer name poe-there netns " +
          std::to_string(pid) +
          "; ip address add 192.0.2.1/24 dev poe-here"
          "; ip address add 2001:db8::1/64 dev poe-here nodad"
          "; ip link set poe-here up; " +
          there + "ip address add 192.0.2.2/24 dev poe-there; " + there +
          "ip address add 2001:db8::2/64 dev poe-there nodad; " + there + "ip link set poe-there up");
  return result.status == 0 ? "" : result.output;
}

} // namespace

Neighbour::Neighbour() {
  int ready[2];
  if (pipe(ready) != 0) {
    m_refusal = "no pipe";
    return;
  }
  m_pid = fork();
  if (m_pid == 0) {
    close(ready[0]);
    hold(ready[1]);
  }
  close(ready[1]);
  char byte = 0;
  m_refusal = read(ready[0], &byte, 1) == 1 ? joinedTo(m_pid) : "no network namespace";
  close(ready[0]);
}

Neighbour::~Neighbour() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
}

std::string Neighbour::connect(const std::string& address, unsigned port) const {
  const CommandResult result =
      run("nsenter --net --target " + std::to_string(m_pid) + " timeout 10 bash -c 'exec 3<>/dev/tcp/" +
          address + "/" + std::to_string(port) + "'");
  if (result.status == 0) {
    return "";
  }
  const std::size_t last = result.output.rfind(": ", result.output.find("Connection refused"));
  return last == std::string::npos ? result.output : result.output.substr(last + 2, 18);
}

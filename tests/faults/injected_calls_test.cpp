// The unmodified executable on the simulated card, its queue calls made to fail by strace with each error
// that their manual pages list. A failing receive also ends each run of the service in order.
#include "tests/faults/errno_lists.h"
#include "tests/support/process/main_process.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string injection(const std::string& call, int error, const std::string& when) {
  return " -e inject=" + call + ":error=" + strerrorname_np(error) + ":when=" + when;
}

class InjectedCalls : public ::testing::Test {
protected:
  InjectedCalls() : m_log(::testing::TempDir() + "poe_injected_" + std::to_string(getpid())) {}
  ~InjectedCalls() override { std::remove(m_log.c_str()); }

  // Runs the service to its end. `last` is the number of the receive that fails with EINTR, so that the
  // service runs for one second less.
  void run(const std::string& injections, const std::string& last) {
    std::remove(m_log.c_str());
    const std::string command = "timeout 15 " POE_CARD " --log " + m_log +
                                " -- strace -f -qq -o /dev/null -e "
                                "trace=mq_open,mq_getsetattr,mq_timedreceive,mq_timedsend,mq_unlink" +
                                injection("mq_timedreceive", EINTR, last) + injections +
                                " " POE_SERVICE " >/dev/null";
    const int status = std::system(command.c_str());
    m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ostringstream text;
    text << std::ifstream(m_log).rdbuf();
    m_text = text.str();
  }

  // The lines that are written once, those of the end included; the log has no others of a priority above
  // notices.
  void expectLog(const std::string& expected) {
    std::istringstream lines(m_text);
    std::string line;
    std::string errors;
    while (std::getline(lines, line)) {
      if (line.rfind("<6>", 0) != 0 && !line.empty()) {
        errors += std::regex_replace(line, std::regex("mqd=[0-9a-f]+"), "mqd=N") + "\n";
      }
    }
    EXPECT_EQ(errors, expected);
  }

  int exitStatus() const { return m_exitStatus; }

  static std::string endsWith(int error) {
    return std::string("<2> [CRITICAL] main:126 (main) - msg receive failed mqd=N - ") + strerror(error) +
           "\n";
  }

  static std::string engineError(int line, const std::string& message) {
    return "<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine " + std::to_string(line) +
           " \n<3> " + message + "\n";
  }

private:
  std::string m_log;
  std::string m_text;
  int m_exitStatus = -1;
};

TEST_F(InjectedCalls, OpenOfTheInboundQueueEndsTheServiceWithStatus255) {
  for (const int error : Errors::MQ_OPEN) {
    run(injection("mq_open", error, "1"), "1");
    EXPECT_EQ(exitStatus(), 255);
    expectLog(std::string("<2> [CRITICAL] main:74 (main) - msg open  failed  /queueToPoe - ") +
              strerror(error) + "(" + std::to_string(error) + ")\n");
  }
}

TEST_F(InjectedCalls, ReceiveEndsTheServiceInOrder) {
  for (const int error : Errors::MQ_RECEIVE) {
    MainProcessQueue status;
    run(injection("mq_timedreceive", error, "1"), "2"); // the later option counts
    EXPECT_EQ(exitStatus(), 0);
    expectLog(endsWith(error));
    EXPECT_FALSE(queueExists("/queueToPoe"));
  }
}

TEST_F(InjectedCalls, SendCostsOneMessage) {
  for (const int error : Errors::MQ_SEND) {
    MainProcessQueue status;
    run(injection("mq_timedsend", error, "1"), "3");
    EXPECT_EQ(exitStatus(), 0);
    expectLog(engineError(940, std::string("msgsnd failure: ") + strerror(error)) + endsWith(EINTR));
    EXPECT_EQ(status.next().msgId, MSGID_STATUS); // of a later cycle
  }
}

// The inbound queue is opened once by a thread of its own, so the second open is the worker's.
TEST_F(InjectedCalls, OpenOfTheOutboundQueueCostsOneMessage) {
  for (const int error : Errors::MQ_OPEN) {
    MainProcessQueue status;
    run(injection("mq_open", error, "2"), "4"); // two seconds later, also on a busy machine
    EXPECT_EQ(exitStatus(), 0);
    expectLog(engineError(925, std::string("mq_open /queueToMain: ") + strerror(error)) + endsWith(EINTR));
    EXPECT_EQ(status.next().msgId, MSGID_STATUS); // of the first cycle
  }
}

TEST_F(InjectedCalls, AttributesAndUnlinkOfTheInboundQueueCostNothing) {
  for (const int error : Errors::MQ_GETATTR) {
    MainProcessQueue status;
    run(injection("mq_getsetattr", error, "1+"), "2");
    EXPECT_EQ(exitStatus(), 0);
    expectLog(endsWith(EINTR));
  }
  for (const int error : Errors::MQ_UNLINK) {
    MainProcessQueue status;
    run(injection("mq_unlink", error, "1"), "1");
    EXPECT_EQ(exitStatus(), 0);
    expectLog(endsWith(EINTR));
    EXPECT_EQ(mq_unlink("/queueToPoe"), 0); // is still there
  }
}

} // namespace

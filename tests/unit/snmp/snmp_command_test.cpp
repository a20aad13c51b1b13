// poectl snmp as snmpd starts it.
#include "tests/support/process/command.h"

#include <gtest/gtest.h>

namespace {

TEST(SnmpCommand, EndsWithItsInputAndWarnsBesideItsAnswers) {
  const std::string command =
      "printf 'PING\\nget\\n.1.3.6.1.2.1.105.1.3.1.1.2.1\\n' | " POECTL " snmp --directory /nowhere";
  const CommandResult result = run(command + " 2>/dev/null; echo status $?");
  EXPECT_EQ(result.output, "PONG\nNONE\nstatus 0\n");
  EXPECT_EQ(run(command + " >/dev/null").output,
            "poectl: /nowhere/status.json: cannot be read: No such file or directory\n");
  // snmpd gives its programs one pipe for both.
  EXPECT_EQ(run(command).output, "PONG\nNONE\n");
}

TEST(SnmpCommand, NeedsADirectory) {
  const CommandResult result = run(POECTL " snmp </dev/null");
  EXPECT_EQ(result.output,
            "poectl: --directory is required; accepted is the directory of 'poectl publish'\n");
  EXPECT_EQ(result.status, 2);
}

} // namespace

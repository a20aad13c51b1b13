// A crowd at the console of the real service.
#include "components/PoeDriver/poe_messages.h"
#include "tests/support/process/console_connection.h"
#include "tests/support/process/process_fixture.h"

#include <algorithm>
#include <deque>

namespace {

using ConsoleCrowd = ServiceTest;

TEST_F(ConsoleCrowd, OfFortyIdleConnectionsKeepsNobodyFromAnAnswer) {
  startService();
  std::deque<ConsoleConnection> idle;
  for (int connection = 0; connection < 40; connection++) {
    idle.emplace_back(CONSOLE_PORT);
    ASSERT_TRUE(idle.back().isConnected());
  }
  const ConsoleConnection engineer(CONSOLE_PORT);
  EXPECT_EQ(engineer.receiveReply(), "");
  engineer.send("PD69104Engine help\n");
  const std::string reply = engineer.receive(571 + 2);
  EXPECT_EQ(reply.substr(0, 10), "usage : \r\n");
  EXPECT_EQ(reply.substr(std::min<std::size_t>(571, reply.size())), "> ");
  EXPECT_EQ(idle.front().receiveToEnd(),
            "> Closed for a new client: at most 16 are served, this one was idle longest\n");
}

} // namespace

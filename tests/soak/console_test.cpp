// Crowds and floods at the console.
#include "components/PoeDriver/poe_messages.h"
#include "tests/soak/stress_fixture.h"
#include "tests/support/process/console_connection.h"

#include <atomic>
#include <deque>
#include <thread>
#include <vector>

namespace {

constexpr char PROMPT[] = "> ";

// Each one is served in its turn, and gets the reason when it has to leave for the sixteenth after it.
void expectServedInTurn(const std::deque<ConsoleConnection>& crowd) {
  for (std::size_t at = 0; at < crowd.size(); at++) {
    EXPECT_EQ(crowd[at].receive(2), PROMPT);
    if (at + 16 < crowd.size()) {
      EXPECT_EQ(crowd[at].receiveToEnd(),
                "Closed for a new client: at most 16 are served, this one was idle longest\n");
    }
  }
}

using ConsoleCrowd = StressTest;

TEST_F(ConsoleCrowd, OfTwoHundredIsServedInTurnAndLeavesNothingBehind) {
  startPowered();
  const auto end = Clock::now() + shortOrLong(std::chrono::seconds(3), std::chrono::seconds(30));
  unsigned crowds = 0;
  for (; Clock::now() < end; crowds++) {
    std::deque<ConsoleConnection> crowd;
    for (int connection = 0; connection < 200; connection++) {
      crowd.emplace_back(CONSOLE_PORT);
      ASSERT_TRUE(crowd.back().isConnected());
    }
    expectServedInTurn(crowd);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    crowd.clear();
    ASSERT_EQ(askConsole("help"), "PD69104Engine\n") << "behind crowd " << crowds;
    takeMessages();
  }
  measured("crowds", std::to_string(crowds));
  expectPace();
  expectUnharmed();
  EXPECT_EQ(outputAfterStart(), "");
}

using ConsoleFlood = StressTest;

// What the console knows and what it does not. Nothing that is logged, and no reply with a prompt in it.
std::string manyCommands() {
  std::string lines;
  for (const char* const command :
       {"help", "PD69104Engine info", "PD69104Engine device", "PD69104Engine channel 0",
        "PD69104Engine poeport 0", "PD69104Engine readReg 0x43", "nobody here", ""}) {
    lines += std::string(command) + "\n";
  }
  return lines + std::string(2000, 'x') + "\n"; // more than a line may have
}

unsigned promptsIn(const std::string& text) {
  unsigned prompts = 0;
  for (std::size_t at = text.find(PROMPT); at != std::string::npos; at = text.find(PROMPT, at + 2)) {
    prompts++;
  }
  return prompts;
}

// Connects, commands and leaves again and again. Returns how many commands were answered.
unsigned flood(Clock::time_point end) {
  constexpr unsigned LINES = 9;
  unsigned answers = 0;
  while (Clock::now() < end) {
    const ConsoleConnection console(CONSOLE_PORT);
    if (!console.isConnected()) {
      ADD_FAILURE() << "nobody listens";
      break;
    }
    console.send(manyCommands());
    console.finish();
    const std::string text = console.receiveToEnd();
    const unsigned prompts = promptsIn(text);
    EXPECT_EQ(prompts, LINES + 1) << text; // one at the start
    answers += prompts - 1;
  }
  return answers;
}

TEST_F(ConsoleFlood, FromTwelveClientsIsAnsweredWhileTheCycleGoesOn) {
  startPowered();
  const std::chrono::seconds duration = shortOrLong(std::chrono::seconds(4), std::chrono::seconds(60));
  std::atomic<unsigned> answers{0};
  std::vector<std::thread> clients;
  for (int client = 0; client < 12; client++) {
    clients.emplace_back([&] { answers += flood(Clock::now() + duration); });
  }
  for (const auto end = Clock::now() + duration; Clock::now() < end;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    takeMessages();
  }
  for (std::thread& client : clients) {
    client.join();
  }
  measured("commands answered", std::to_string(answers));
  EXPECT_GT(answers, 100U);
  expectPace();
  expectUnharmed();
  EXPECT_EQ(outputAfterStart(), "");
}

} // namespace

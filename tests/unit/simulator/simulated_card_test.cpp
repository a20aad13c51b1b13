// The simulated card: transfers, commands, schedule and record together.
#include "simulator/card/simulated_card.h"

#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using Time = SimulatedCard::Time;

// The register's value, or -1 for a transfer that failed.
int read(SimulatedCard& card, std::uint8_t address) {
  std::uint8_t value = 0;
  return card.read(address, &value) ? value : -1;
}

void powerPort0(SimulatedCard& card) {
  card.answer("plug 0");
  card.write(0x12, 0x03);
  card.write(0x14, 0x11);
}

std::vector<TimedCommand> scheduleOf(const std::vector<std::string>& commands) {
  std::vector<TimedCommand> schedule;
  for (const std::string& command : commands) {
    schedule.push_back(parseTimedCommand(command));
  }
  return schedule;
}

class SteppedCard : public testing::Test {
protected:
  std::string recordPath() const { return directory.file("record"); }
  std::string record() const { return directory.read("record"); }

  SimulatedCard card{Time::Stepped};
  TemporaryDirectory directory;
};

TEST_F(SteppedCard, LetsTransfersFailWithoutAnyEffect) {
  EXPECT_TRUE(card.write(0x12, 0x55));
  card.answer("bus fail 2");
  EXPECT_FALSE(card.write(0x12, 0xAA));
  EXPECT_EQ(read(card, 0x12), -1);
  EXPECT_EQ(read(card, 0x12), 0x55);
  card.answer("bus register 0x12");
  EXPECT_EQ(read(card, 0x12), -1);
  EXPECT_EQ(read(card, 0x13), 0);
}

TEST_F(SteppedCard, AcknowledgesItsAddressUnlessItIsAbsentOrItsBusIsDead) {
  EXPECT_TRUE(card.acknowledges());
  card.answer("bus dead");
  EXPECT_FALSE(card.acknowledges());
  card.answer("bus every 1");
  EXPECT_TRUE(card.acknowledges());
  card.setPresent(false);
  EXPECT_FALSE(card.acknowledges());
}

TEST_F(SteppedCard, AnswersLateAndUnchangedUntilTheBusIsWell) {
  const auto start = std::chrono::steady_clock::now();
  card.answer("bus late 20");
  EXPECT_EQ(read(card, 0x43), 0x41);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
  card.answer("bus late 60000");
  EXPECT_NE(card.answer("show").find("\nbus=late 60000\n"), std::string::npos);
  std::thread repair([this] { card.answer("bus ok"); });
  EXPECT_EQ(read(card, 0x43), 0x41);
  repair.join();
}

TEST_F(SteppedCard, AnswersAtOnceWhenItsWaitsEnd) {
  card.answer("bus late 60000");
  std::thread end([this] { card.endWaits(); });
  EXPECT_EQ(read(card, 0x43), 0x41);
  end.join();
}

// Transfers until the port 0 is powered.
int transfersToPower(SimulatedCard& card) {
  int made = 0;
  while (read(card, 0x10) != 0x11 && made < 1000) {
    ++made;
  }
  return made;
}

TEST_F(SteppedCard, AgesBy15MillisecondsWithEachTransfer) {
  powerPort0(card);
  EXPECT_EQ(transfersToPower(card), 19) << "300 ms after the last write";
}

TEST_F(SteppedCard, AgesWithTransfersThatFailToo) {
  powerPort0(card);
  card.answer("bus fail 15");
  EXPECT_EQ(transfersToPower(card), 19);
}

TEST_F(SteppedCard, DoesNotAgeOtherwise) {
  powerPort0(card);
  std::this_thread::sleep_for(std::chrono::milliseconds(200)); // detection takes 150 ms
  EXPECT_NE(card.answer("show").find("phase=detecting"), std::string::npos);
}

TEST(RealTimeCard, AgesByItself) {
  SimulatedCard card;
  powerPort0(card);
  EXPECT_TRUE(waitUntil([&] { return card.answer("reg 0x10") == "0x10 0x11\n"; }));
}

TEST_F(SteppedCard, RunsCommandsThatAreDueAtOnceAndTheOthersByTheirTimes) {
  card.schedule(scheduleOf({"0.060 reg 0x20 4", "reg 0x20 1", "0.045 reg 0x20 2", "0.045 reg 0x20 3"}));
  EXPECT_EQ(card.answer("reg 0x20"), "0x20 0x01\n");
  EXPECT_EQ(read(card, 0x20), 1); // 15 ms
  EXPECT_EQ(read(card, 0x20), 1); // 30 ms
  EXPECT_EQ(read(card, 0x20), 3); // 45 ms
  EXPECT_EQ(read(card, 0x20), 4); // 60 ms
}

TEST_F(SteppedCard, RunsACommandAtItsOwnTimeBetweenTwoTransfers) {
  // Detection takes 150 ms: the device that comes 5 ms after the 10th transfer is
  // found between the 20th and the 21st.
  card.write(0x12, 0x03);
  card.write(0x14, 0x11);
  card.schedule(scheduleOf({"0.155 plug 0"}));
  for (int made = 2; made < 19; ++made) {
    read(card, 0x00);
  }
  EXPECT_NE(read(card, 0x0C) & 7, 4);
  EXPECT_EQ(read(card, 0x0C) & 7, 4);
}

TEST_F(SteppedCard, RecordsEachTransferAsOneLineOfANewRecord) {
  directory.write("record", "old\n");
  card.record(std::make_unique<TransferRecord>(recordPath(), false));
  card.write(0x12, 0xFF);
  read(card, 0x43);
  read(card, 0xCF);
  card.answer("bus fail 2");
  read(card, 0x43);
  card.write(0x0C, 0x0A);
  card.write(0x0C, 0x0A);
  card.answer("reg 0x43");
  EXPECT_EQ(record(), "W 0x12 0xFF\n"
                      "R 0x43 0x41\n"
                      "R 0xCF failed unknown\n"
                      "R 0x43 failed\n"
                      "W 0x0C 0x0A failed\n"
                      "W 0x0C 0x0A read-only\n");
  EXPECT_TRUE(card.recordComplete());
}

TEST_F(SteppedCard, RecordsTheSecondsSinceTheStartWhenAsked) {
  card.record(std::make_unique<TransferRecord>(recordPath(), true));
  card.write(0x12, 0xFF);
  read(card, 0x43);
  EXPECT_EQ(record(), "0.015000 W 0x12 0xFF\n"
                      "0.030000 R 0x43 0x41\n");
}

// The lines of "show" that count the accesses that no program has a reason to make.
std::string countedAccesses(SimulatedCard& card) {
  const std::string shown = card.answer("show");
  return shown.substr(shown.find("unknown-registers="));
}

TEST_F(SteppedCard, CountsAccessesToUnknownRegistersAndWritesToReadOnlyOnes) {
  for (const int known : {0x0C, 0x12, 0x1A, 0xCC}) {
    read(card, static_cast<std::uint8_t>(known));
  }
  for (const int writable : {0x12, 0x1A, 0x90}) {
    card.write(static_cast<std::uint8_t>(writable), 0);
  }
  EXPECT_EQ(countedAccesses(card), "unknown-registers=0\nread-only-writes=0\n");
  read(card, 0xCF);
  card.write(0x05, 1);
  read(card, 0x05);
  card.write(0x91, 1);
  EXPECT_EQ(countedAccesses(card),
            "unknown-registers=3: 0x05, 0xCF\nread-only-writes=1: 0x91 active power bank\n");
}

TEST_F(SteppedCard, CountsOnlyWhatReachesTheChip) {
  card.answer("bus dead");
  read(card, 0x05);
  card.answer("bus ok");
  card.setPresent(false);
  card.write(0x91, 1);
  EXPECT_EQ(countedAccesses(card), "unknown-registers=0\nread-only-writes=0\n");
}

TEST_F(SteppedCard, NamesTheFirstEightUnknownRegisters) {
  for (int address = 0; address < 0x0C; ++address) {
    read(card, static_cast<std::uint8_t>(address));
  }
  EXPECT_EQ(countedAccesses(card),
            "unknown-registers=12: 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07 and 4 more\n"
            "read-only-writes=0\n");
}

// What a program and a schedule make of a card, as a record with times.
std::string recordOfARun(const TemporaryDirectory& directory) {
  SimulatedCard card(Time::Stepped);
  card.record(std::make_unique<TransferRecord>(directory.file("record"), true));
  card.schedule(scheduleOf({"plug 0 class=3 watts=9", "plug 2 signature=low", "0.7 draw 0 20", "1.1 plug 1",
                            "1.1 bus every 7", "4.1 power-cycle"}));
  card.write(0x12, 0xFF);
  card.write(0x14, 0xFF);
  for (int cycle = 0; cycle < 100; ++cycle) {
    for (const int address : {0x0C, 0x0D, 0x0E, 0x10, 0x30, 0x92, 0x96, 0x77, 0x79}) {
      read(card, static_cast<std::uint8_t>(address));
    }
  }
  return directory.read("record");
}

TEST_F(SteppedCard, IsTheSameInEachRun) {
  const std::string first = recordOfARun(directory);
  EXPECT_NE(first.find("R 0x10 0x11"), std::string::npos);
  EXPECT_NE(first.find("R 0x10 0x22"), std::string::npos);
  EXPECT_NE(first.find("failed"), std::string::npos);
  EXPECT_EQ(recordOfARun(directory), first);
}

TEST(SharedCard, IsUsedFromSeveralThreadsAtOnce) {
  SimulatedCard card;
  std::thread commands([&card] {
    for (int i = 0; i < 500; ++i) {
      card.answer(i % 2 == 0 ? "plug 0" : "unplug 0");
      card.answer("show");
    }
  });
  for (int i = 0; i < 2000; ++i) {
    EXPECT_TRUE(card.write(0x12, 0xFF));
    EXPECT_EQ(read(card, 0x12), 0xFF);
  }
  commands.join();
}

} // namespace

// What counts as an event between two status messages.
#include "poectl/status/status_events.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

class StatusEvents : public ::testing::Test {
protected:
  StatusEvents() {
    status.mainOperStatus = 1;
    for (PoePortStatus& port : status.port) {
      port.operStatus = 2;
    }
  }

  // The texts of the events of the next message, one second after the one before.
  std::vector<std::string> message() {
    now += milliseconds(1000);
    std::vector<std::string> texts;
    for (const StatusEvent& event : tracker.message(status, now)) {
      texts.push_back(eventText(event));
    }
    return texts;
  }

  using Texts = std::vector<std::string>;

  EventTracker tracker;
  EventTracker::Clock::time_point now;
  PoeStatus status{};
};

TEST_F(StatusEvents, AreNotTheStatesAndCountersOfTheFirstMessage) {
  status.port[0].operStatus = 4;
  status.port[0].shortCounter = 5;
  EXPECT_EQ(message(), Texts());
}

TEST_F(StatusEvents, AreTheTroublesOfTheFirstMessage) {
  status.mainOperStatus = 3;
  status.devError = 1;
  status.thermalShutdown = 1;
  EXPECT_EQ(message(), (Texts{"chip lost", "bus error", "thermal shutdown"}));
}

TEST_F(StatusEvents, NameThePortAndBothStates) {
  message();
  status.port[3].operStatus = 3;
  EXPECT_EQ(message(), (Texts{"port 3 SEARCHING -> DELIVERINGPOWER"}));
}

TEST_F(StatusEvents, NameEachCounterByItsField) {
  message();
  status.port[1] = {2, 0, 0, 0, 1, 2, 3, 4, 5, 6};
  EXPECT_EQ(message(),
            (Texts{"port 1 invalidSignatureCounter +1, now 1", "port 1 powerDeniedCounter +2, now 2",
                   "port 1 overLoadCounter +3, now 3", "port 1 underLoadCounter +4, now 4",
                   "port 1 shortCounter +5, now 5", "port 1 classErrorCounter +6, now 6"}));
}

TEST_F(StatusEvents, TakeACounterThatWrapsForAnIncrement) {
  status.port[0].overLoadCounter = 4294967295;
  message();
  status.port[0].overLoadCounter = 1;
  EXPECT_EQ(message(), (Texts{"port 0 overLoadCounter +2, now 1"}));
}

TEST_F(StatusEvents, TakeACounterThatGoesBackForARestartAndCountFromZero) {
  status.port[0].overLoadCounter = 7;
  status.port[1].shortCounter = 3;
  message();
  status.port[0].overLoadCounter = 2;
  status.port[1].shortCounter = 4;
  EXPECT_EQ(message(), (Texts{"service restarted: it counts from 0 again", "port 0 overLoadCounter +2, now 2",
                              "port 1 shortCounter +4, now 4"}));
}

TEST_F(StatusEvents, AreTheRiseAndTheFallOfATrouble) {
  message();
  status.mainOperStatus = 3;
  status.devError = 1;
  status.thermalShutdown = 1;
  EXPECT_EQ(message(), (Texts{"chip lost", "bus error", "thermal shutdown"}));
  EXPECT_EQ(message(), Texts());
  status.mainOperStatus = 1;
  status.devError = 0;
  status.thermalShutdown = 0;
  EXPECT_EQ(message(), (Texts{"chip recovered", "bus error is over", "thermal shutdown is over"}));
}

TEST_F(StatusEvents, TellOnceThatMessagesAreMissingAndWhenTheyAreBack) {
  EXPECT_FALSE(tracker.silence(now + milliseconds(9000))) << "before the first message";
  message();
  EXPECT_FALSE(tracker.silence(now + milliseconds(2499)));
  const auto stale = tracker.silence(now + milliseconds(2500));
  ASSERT_TRUE(stale);
  EXPECT_EQ(eventText(*stale), "STALE: no message for 2.5 s");
  EXPECT_FALSE(tracker.silence(now + milliseconds(3000)));
  now += milliseconds(4000);
  EXPECT_EQ(message(), (Texts{"messages are back after 5.0 s"}));
  EXPECT_EQ(message(), Texts());
  EXPECT_TRUE(tracker.silence(now + milliseconds(2500))) << "another time";
}

TEST(StatusEventsOfTheConsole, TellOfSnapshotsThatAreMissingForLongerThanThePeriod) {
  EventTracker tracker(milliseconds(25000));
  const EventTracker::Clock::time_point now{};
  tracker.message({}, now);
  EXPECT_FALSE(tracker.silence(now + milliseconds(24999)));
  const auto stale = tracker.silence(now + milliseconds(25000));
  ASSERT_TRUE(stale);
  EXPECT_EQ(eventText(*stale, Snapshot::Source::CONSOLE), "STALE: no snapshot for 25.0 s");
  const auto events = tracker.message({}, now + milliseconds(30000));
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(eventText(events[0], Snapshot::Source::CONSOLE), "snapshots are back after 30.0 s");
}

} // namespace

#include "platform/host/watchdog/watchdog_table.h"

#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

using Client = WatchdogTable::Client;
using Report = WatchdogTable::Report;
using Kind = WatchdogTable::Report::Kind;

// Found by the test framework through the types' own scope.
static bool operator==(const Report& a, const Report& b) {
  return a.kind == b.kind && a.name == b.name && a.gap == b.gap && a.timeout == b.timeout;
}

static std::ostream& operator<<(std::ostream& stream, const Report& report) {
  return stream << (report.kind == Kind::NOT_FED ? "not fed " : "fed again ") << report.name << ' '
                << report.gap << ' ' << report.timeout;
}

namespace {

using Reports = std::vector<Report>;

class WatchdogTableTest : public testing::Test {
protected:
  WatchdogTableTest() {
    m_table.add(&m_one);
    m_table.add(&m_two);
  }

  Reports reportsAt(std::uint64_t now) { return m_table.check(now).reports; }
  bool allInTimeAt(std::uint64_t now) { return m_table.check(now).allInTime; }

  WatchdogTable m_table;
  Client m_one{"One"};
  Client m_two{"Two"};
};

} // namespace

TEST_F(WatchdogTableTest, AClientsNameIsCutAfter31Characters) {
  const std::string name(31, 'n');
  EXPECT_EQ(Client(name).name, name);
  EXPECT_EQ(Client(name + "x").name, name);
}

TEST_F(WatchdogTableTest, NobodyIsInTimeBeforeAClientIsStarted) {
  EXPECT_FALSE(allInTimeAt(0));
  m_table.start(m_one, 1000, 0);
  EXPECT_TRUE(allInTimeAt(0));
}

TEST_F(WatchdogTableTest, AClientThatIsNotStartedIsNeverLate) {
  EXPECT_EQ(reportsAt(1000000), Reports());
  m_table.start(m_one, 2000000, 0);
  EXPECT_TRUE(allInTimeAt(1000000));
}

TEST_F(WatchdogTableTest, AClientIsInTimeUpToItsTimeOutAndLateAfterIt) {
  m_table.start(m_one, 1000, 500);
  EXPECT_TRUE(allInTimeAt(1500));
  EXPECT_FALSE(WatchdogTable::isLate(m_one, 1500));
  EXPECT_FALSE(allInTimeAt(1501));
  EXPECT_TRUE(WatchdogTable::isLate(m_one, 1501));
}

TEST_F(WatchdogTableTest, ALateClientIsReportedOnce) {
  m_table.start(m_one, 1000, 0);
  EXPECT_EQ(reportsAt(1000), Reports());
  EXPECT_EQ(reportsAt(1001), (Reports{{Kind::NOT_FED, "One", 1001, 1000}}));
  EXPECT_EQ(reportsAt(2001), Reports());
}

TEST_F(WatchdogTableTest, ALateClientIsReportedOnceMoreWhenItIsFedAgain) {
  m_table.start(m_one, 1000, 0);
  reportsAt(1500);
  EXPECT_EQ(m_table.notify(m_one, 1700), (Reports{{Kind::FED_AGAIN, "One", 1700, 1000}}));
  EXPECT_EQ(m_table.notify(m_one, 1800), Reports());
  EXPECT_EQ(reportsAt(2600), Reports());
}

TEST_F(WatchdogTableTest, AClientThatIsLateAgainIsReportedAgain) {
  m_table.start(m_one, 1000, 0);
  reportsAt(1500);
  m_table.notify(m_one, 1700);
  EXPECT_EQ(reportsAt(2800), (Reports{{Kind::NOT_FED, "One", 1100, 1000}}));
}

TEST_F(WatchdogTableTest, LatenessThatNoCheckHasSeenIsReportedWhenTheClientIsFedAgain) {
  m_table.start(m_one, 100, 0);
  reportsAt(50);
  EXPECT_EQ(m_table.notify(m_one, 300),
            (Reports{{Kind::NOT_FED, "One", 300, 100}, {Kind::FED_AGAIN, "One", 300, 100}}));
}

TEST_F(WatchdogTableTest, ANotificationBeforeTheStartHasNoEffect) {
  m_table.notify(m_one, 100);
  EXPECT_FALSE(allInTimeAt(100));
  m_table.notify(m_one, 1000000);
  EXPECT_EQ(reportsAt(2000000), Reports());
  m_table.start(m_one, 1000, 2000000);
  EXPECT_EQ(reportsAt(2001000), Reports());
}

TEST_F(WatchdogTableTest, ANewStartSetsANewTimeOutAndCountsAsANotification) {
  m_table.start(m_one, 1000, 0);
  m_table.start(m_one, 500, 800);
  EXPECT_EQ(reportsAt(1300), Reports());
  EXPECT_EQ(reportsAt(1301), (Reports{{Kind::NOT_FED, "One", 501, 500}}));
  EXPECT_EQ(m_table.startedClients(), 1U);
}

TEST_F(WatchdogTableTest, ANewStartOfALateClientFeedsItAgain) {
  m_table.start(m_one, 1000, 0);
  reportsAt(1500);
  EXPECT_EQ(m_table.start(m_one, 5000, 2000), (Reports{{Kind::FED_AGAIN, "One", 2000, 1000}}));
}

TEST_F(WatchdogTableTest, OneLateClientIsEnoughForNotBeingInTime) {
  m_table.start(m_one, 1000, 0);
  m_table.start(m_two, 5000, 0);
  EXPECT_FALSE(allInTimeAt(1001));
  m_table.notify(m_one, 1500);
  EXPECT_TRUE(allInTimeAt(1600));
}

TEST_F(WatchdogTableTest, EachLateClientIsReported) {
  m_table.start(m_one, 1000, 0);
  m_table.start(m_two, 500, 0);
  EXPECT_EQ(reportsAt(2000),
            (Reports{{Kind::NOT_FED, "One", 2000, 1000}, {Kind::NOT_FED, "Two", 2000, 500}}));
}

TEST_F(WatchdogTableTest, ARemovedClientIsNoneAnyMore) {
  m_table.start(m_one, 1000, 0);
  m_table.start(m_two, 5000, 0);
  EXPECT_EQ(m_table.remove(&m_one, 1000), Reports());
  EXPECT_EQ(m_table.startedClients(), 1U);
  EXPECT_TRUE(allInTimeAt(3000));
}

TEST_F(WatchdogTableTest, ARemovedClientLeavesTheReportThatIsDue) {
  m_table.start(m_one, 100, 0);
  EXPECT_EQ(m_table.remove(&m_one, 350), (Reports{{Kind::NOT_FED, "One", 350, 100}}));
}

TEST_F(WatchdogTableTest, ARemovedClientThatWasReportedAsLateIsNotReportedAgain) {
  m_table.start(m_one, 100, 0);
  reportsAt(200);
  EXPECT_EQ(m_table.remove(&m_one, 300), Reports());
}

TEST_F(WatchdogTableTest, ATimeBeforeTheLastNotificationIsNoGap) {
  m_table.start(m_one, 1000, 5000);
  m_table.notify(m_one, 4000);
  m_table.notify(m_one, 6000);
  EXPECT_EQ(WatchdogTable::gap(m_one, 5999), 0U);
  EXPECT_TRUE(allInTimeAt(5999));
}

TEST_F(WatchdogTableTest, TheLongestTimeOutDoesNotOverflow) {
  constexpr unsigned longest = std::numeric_limits<unsigned>::max();
  m_table.start(m_one, longest, 1);
  EXPECT_TRUE(allInTimeAt(1 + std::uint64_t{longest}));
  EXPECT_FALSE(allInTimeAt(2 + std::uint64_t{longest}));
}

TEST_F(WatchdogTableTest, TheNextDeadlineIsTheEarliestOfThoseWhoCanBecomeLate) {
  EXPECT_EQ(m_table.nextDeadline(), WatchdogTable::NEVER);
  m_table.start(m_one, 1000, 0);
  m_table.start(m_two, 5000, 100);
  EXPECT_EQ(m_table.nextDeadline(), 1001U);
  m_table.notify(m_one, 4500);
  EXPECT_EQ(m_table.nextDeadline(), 5101U);
  reportsAt(5501); // both are late
  EXPECT_EQ(m_table.nextDeadline(), WatchdogTable::NEVER);
  m_table.notify(m_two, 6000);
  EXPECT_EQ(m_table.nextDeadline(), 11001U);
}

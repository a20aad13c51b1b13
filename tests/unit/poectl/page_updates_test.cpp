// What the open pages of "poectl serve" are told, with stepped time.
#include "poectl/page/page_updates.h"

#include "tests/unit/poectl/record/record_sample.h"

#include <gtest/gtest.h>
#include <malloc.h>

namespace {

using namespace std::chrono_literals;

class PageUpdatesTest : public ::testing::Test {
protected:
  // A message, a change and an answer of the card, each minute.
  void pass(std::chrono::seconds time) {
    for (const auto end = m_now + time; m_now < end; m_now += 1min) {
      Snapshot snapshot = recordedMessage(m_now);
      snapshot.number = 1'000'000;
      updates.snapshot(snapshot);
      const StatusEvent event{EventKind::STATE};
      updates.change("2026-01-01T00:00:00.000Z", 1'000'000, event, snapshot);
      CardState card;
      card.busOk = m_now.count() % 120 == 0;
      updates.card(card, "ok");
      updates.note("the console does not reply in time");
    }
  }

  std::string next(std::uint64_t& number) const { return updates.next(number, 0ms); }

  PageUpdates updates{"queue", 2500ms};

private:
  std::chrono::seconds m_now{0};
};

TEST_F(PageUpdatesTest, ComeOneAfterTheOtherAndFromTheStartForAReaderThatIsFarBehind) {
  std::uint64_t number = PageUpdates::START;
  EXPECT_EQ(next(number).rfind("event: start\ndata: {\"origin\":\"queue\",\"staleAfterMs\":2500,\"ageMs\":0,"
                               "\"snapshot\":null,",
                               0),
            0U);
  EXPECT_EQ(next(number), "");
  pass(1min);
  for (const char* const name : {"snapshot", "change", "card", "note"}) {
    EXPECT_EQ(next(number).rfind(std::string("event: ") + name + "\ndata: {", 0), 0U) << name;
  }
  EXPECT_EQ(next(number), "");
  pass(16min); // 64 updates
  EXPECT_EQ(next(number).rfind("event: snapshot\n", 0), 0U);
  pass(17min);
  EXPECT_EQ(next(number).rfind("event: start\n", 0), 0U);
  EXPECT_EQ(next(number), "") << "the start has everything";
}

TEST_F(PageUpdatesTest, HoldNoMoreAfterADayThanAfterHalfADay) {
  pass(12h);
  const std::size_t heap = mallinfo2().uordblks; // 0 under a sanitizer
  std::uint64_t number = PageUpdates::START;
  const std::size_t start = next(number).size();
  pass(12h);
  EXPECT_LE(mallinfo2().uordblks, heap + 4096);
  number = PageUpdates::START;
  EXPECT_EQ(next(number).size(), start);
}

} // namespace

// The questions of snmpd and their answers.
#include "poectl/snmp/pass_persist.h"

#include "tests/unit/poectl/record/record_sample.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

class Questions : public ::testing::Test {
protected:
  std::string answersTo(const std::string& lines) { return session.take(lines); }

  Snapshot snapshot = recordedMessage(std::chrono::milliseconds(0));
  CardLook look = {&snapshot, std::chrono::milliseconds(1234)};
  PassPersist session{[this] { return look; }};
};

TEST_F(Questions, HaveTheAnswersOfTheProtocol) {
  snapshot.status.mainPower = 100;
  EXPECT_EQ(answersTo("PING\n"), "PONG\n");
  EXPECT_EQ(answersTo("get\n.1.3.6.1.2.1.105.1.3.1.1.2.1\n"), ".1.3.6.1.2.1.105.1.3.1.1.2.1\ngauge\n100\n");
  EXPECT_EQ(answersTo("get\n.1.3.6.1.2.1.105.1.3.1.1.2\n"), "NONE\n");
  EXPECT_EQ(answersTo("getnext\n.1.3.6.1.2.1.105.1.3.1.1.2\n"), ".1.3.6.1.2.1.105.1.3.1.1.2.1\ngauge\n100\n");
  EXPECT_EQ(answersTo("getnext\n.1.3.6.1.2.1.106\n"), "NONE\n");
  EXPECT_EQ(answersTo("set\n.1.3.6.1.2.1.105.1.3.1.1.2.1\ninteger 5\n"), "not-writable\n");
}

TEST_F(Questions, MayComeInPiecesAndSeveralAtOnce) {
  std::string answers;
  for (const char byte : std::string("PING\nget\n.1.3.6.1.2.1.105.1.3.1.1.2.1\nset\n.1\ninteger 5\n")) {
    answers += session.take({&byte, 1});
  }
  EXPECT_EQ(answers, "PONG\n.1.3.6.1.2.1.105.1.3.1.1.2.1\ngauge\n100\nnot-writable\n");
  EXPECT_EQ(answersTo("PING\nPING\nget\n.1\n"), "PONG\nPONG\nNONE\n");
  EXPECT_EQ(answersTo("quit\n\ninteger 5\nget\nPING\ngetnext\nget\nset\nset\nget\nPING\n"),
            "NONE\nNONE\nNONE\nNONE\nNONE\nnot-writable\nPONG\n");
}

TEST_F(Questions, OfAnyLengthHaveOneAnswer) {
  const std::string tooLong(100000, '1');
  EXPECT_EQ(answersTo(tooLong + "\n"), "NONE\n");
  EXPECT_EQ(answersTo("get\n" + tooLong + "\n"), "NONE\n");
  EXPECT_EQ(answersTo("set\n" + tooLong + "\nstring " + tooLong + "\n"), "not-writable\n");
  EXPECT_EQ(answersTo("getnext\n.1.3.6.1.2.1.105.1.3.1.1.2\n"), ".1.3.6.1.2.1.105.1.3.1.1.2.1\ngauge\n100\n");
  // The part that is kept is an identifier with objects after it.
  EXPECT_EQ(answersTo("getnext\n" + std::string(MAX_PASS_LINE - 1, '0') + "1.1\n"), "NONE\n");
}

// From the first to the last, each is the one that get finds, and all rise number by number.
TEST_F(Questions, WalkAllObjectsInTheOrderOfTheirNumbers) {
  const Mib mib;
  RandomSnapshots random(1);
  for (unsigned run = 0; run < 20; run++) {
    const Snapshot any = random.next();
    const CardLook anyLook = {run == 0 ? nullptr : &any, std::chrono::milliseconds(0)};
    Oid place;
    unsigned count = 0;
    for (auto answer = mib.next(place, anyLook); answer; answer = mib.next(place, anyLook)) {
      ASSERT_LT(place, *answer->oid);
      place = *answer->oid;
      const auto same = mib.get(place, anyLook);
      ASSERT_TRUE(same) << oidText(place);
      EXPECT_EQ(same->value.text, answer->value.text);
      count++;
    }
    EXPECT_GT(count, 200U);
  }
  EXPECT_LT((Oid{1, 9}), (Oid{1, 10}));
}

// What get and getnext find for any identifier, by the list of all.
TEST_F(Questions, OfAnyIdentifierFindItsObjectOrTheNextOne) {
  const Mib mib;
  std::vector<Oid> all;
  for (auto answer = mib.next({}, look); answer; answer = mib.next(all.back(), look)) {
    all.push_back(*answer->oid);
  }
  std::mt19937 engine(1);
  const auto below = [&](std::size_t limit) { return static_cast<std::uint32_t>(engine() % limit); };
  for (unsigned count = 0; count < 20000; count++) {
    Oid asked = all[below(all.size())];
    asked.resize(1 + below(asked.size() + 2), below(6));
    asked[below(asked.size())] += below(4) == 0 ? below(3) - 1 : 0; // one less, the same or one more
    const auto next = std::upper_bound(all.begin(), all.end(), asked);
    const auto found = mib.next(asked, look);
    ASSERT_EQ(found ? *found->oid : Oid(), next == all.end() ? Oid() : *next) << oidText(asked);
    ASSERT_EQ(mib.get(asked, look).has_value(), next != all.begin() && *std::prev(next) == asked)
        << oidText(asked);
  }
}

} // namespace

// The questions of snmpd and their answers.
#include "poectl/snmp/pass_persist.h"

#include "tests/unit/poectl/record/record_sample.h"

#include <algorithm>
#include <array>
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
}

TEST_F(Questions, OfAnyLengthHaveOneAnswer) {
  const std::string tooLong(100000, '1');
  EXPECT_EQ(answersTo(tooLong + "\n"), "NONE\n");
  EXPECT_EQ(answersTo("get\n" + tooLong + "\n"), "NONE\n");
  EXPECT_EQ(answersTo("set\n" + tooLong + "\nstring " + tooLong + "\n"), "not-writable\n");
  EXPECT_EQ(answersTo("PING\n"), "PONG\n");
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

// Lines of any bytes, and such as snmpd writes with a part of them changed.
class RandomLines {
public:
  std::string next(bool isQuestion) {
    const char* const words[] = {"PING", "get", "getnext", "set", "integer 5", "string \"a\"", "", "quit"};
    if ((below(4) != 0) == isQuestion) {
      return words[below(std::size(words))];
    }
    std::string line = ".1.3.6.1.2.1." + std::to_string(std::array{47, 99, 105}[below(3)]);
    for (unsigned count = below(10); count > 0; count--) {
      line += "." + std::to_string(below(4) == 0 ? m_engine() : below(6));
    }
    for (unsigned count = below(3) == 0 ? below(40) : 0; count > 0; count--) {
      line.insert(below(static_cast<unsigned>(line.size()) + 1), 1, static_cast<char>(below(256)));
    }
    line.resize(below(200) == 0 ? 5000 : line.size(), '7');
    return line.substr(0, line.find('\n')); // one line
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(m_engine() % limit); }

private:
  std::mt19937 m_engine{1};
};

// What may be answered to a line after the lines of the same question before it; what is missing is a
// question that goes on.
bool mayBeAnswered(const std::vector<std::string>& before, const std::string& line,
                   const std::string& answer) {
  if (before.empty()) {
    const bool goesOn = line == "get" || line == "getnext" || line == "set";
    return answer == (goesOn ? "" : line == "PING" ? "PONG\n" : "NONE\n");
  }
  if (before[0] == "set") {
    return answer == (before.size() == 1 ? "" : "not-writable\n");
  }
  if (answer == "NONE\n") {
    return true;
  }
  const auto asked = oidFrom(line);
  const auto found = oidFrom(answer.substr(0, answer.find('\n')));
  return asked && found && (before[0] == "get" ? *found == *asked : *found > *asked) &&
         std::count(answer.begin(), answer.end(), '\n') == 3;
}

// Each question has exactly one answer, whatever came before.
TEST_F(Questions, ThatAreRandomAreAllAnswered) {
  RandomLines random;
  std::vector<std::string> before;
  unsigned values = 0;
  for (unsigned count = 0; count < 100000; count++) {
    look.snapshot = random.below(3) == 0 ? nullptr : &snapshot;
    const std::string line = random.next(before.empty());
    const std::string answer = answersTo(line + "\n");
    ASSERT_TRUE(mayBeAnswered(before, line, answer)) << line << " " << answer;
    values += answer.rfind('.', 0) == 0 ? 1U : 0U;
    before.push_back(line);
    if (!answer.empty()) {
      before.clear();
    }
  }
  EXPECT_GT(values, 1000U);
}

} // namespace

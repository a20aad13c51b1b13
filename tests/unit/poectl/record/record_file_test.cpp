// Record files: written, read, and played in both directions.
#include "poectl/record/record_player.h"
#include "poectl/record/record_writer.h"
#include "tests/support/error_text.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/unit/poectl/record/record_sample.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using std::chrono::milliseconds;

class RecordFile : public ::testing::Test {
protected:
  // Records of one second each; the first one is number 1.
  static std::string lines(unsigned count) {
    std::string text;
    for (unsigned number = 1; number <= count; number++) {
      text += snapshotJsonLine(message(number));
    }
    return text;
  }

  static Snapshot message(unsigned number) {
    Snapshot snapshot = recordedMessage(milliseconds(1000 * number));
    snapshot.status.port[1].shortCounter = number;
    return snapshot;
  }

  std::string made(const std::string& text) const { return folder.write("r", text); }

  std::string writerRefusal(const std::string& name) {
    return errorText<InputError>([&] { const RecordWriter writer(name, warn); });
  }

  const TemporaryDirectory folder;
  const std::string path = folder.file("r");
  std::vector<std::string> warnings;
  const RecordWriter::Warn warn = [this](const std::string& line) { warnings.push_back(line); };
};

TEST_F(RecordFile, CutAtAnyByteIsReadUpToTheCutAndNamesTheLine) {
  const std::string whole = lines(2);
  const std::size_t length = whole.find('\n') + 1;
  for (std::size_t cut = 0; cut <= whole.size(); cut++) {
    RecordReader reader(made(whole.substr(0, cut)));
    unsigned records = 0;
    const std::string refusal = errorText<InputError>([&] {
      while (reader.next()) {
        records++;
      }
    });
    // A record that lacks nothing but the end of its line is whole.
    const std::size_t complete = (cut + 1) / length;
    ASSERT_EQ(records, complete) << cut;
    const std::string shown[] = {"there is no record before it", "shown is the 1 record before it"};
    const bool isWhole = cut % length == 0 || cut % length == length - 1;
    ASSERT_EQ(refusal,
              isWhole ? "accepted"
                      : path + ":" + std::to_string(complete + 1) + ": the line is cut; " + shown[complete])
        << cut;
  }
}

TEST_F(RecordFile, EndsAtADamagedLineUnlessItIsToBePassedOver) {
  const std::string damaged = lines(2) + "{}\n" + std::string(65537, 'x') + "\n" + lines(1);
  RecordReader strict(made(damaged));
  EXPECT_TRUE(strict.next() && strict.next());
  for (int time = 0; time < 2; time++) {
    EXPECT_EQ(errorText<InputError>([&] { strict.next(); }),
              path + ":3: \"version\" is missing; shown are the 2 records before it");
  }
  RecordReader lenient(path, warn);
  EXPECT_TRUE(lenient.next() && lenient.next() && lenient.next());
  EXPECT_FALSE(lenient.next());
  EXPECT_EQ(lenient.count(), 3U);
  EXPECT_EQ(warnings, (std::vector<std::string>{
                          path + ":3: \"version\" is missing; passed over",
                          path + ":4: the line is too long; accepted are 65536 bytes; passed over"}));
}

TEST_F(RecordFile, IsNoPipeDirectoryOrDevice) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  for (const std::string& other : {path, folder.path().string(), std::string("/dev/null")}) {
    EXPECT_EQ(errorText<InputError>([&] { RecordReader reader(other); }),
              other + ": is no regular file; accepted is a file of 'poectl watch --record'");
    EXPECT_EQ(writerRefusal(other),
              other + ": is no regular file; accepted is a regular file, or a name that is free");
  }
  EXPECT_EQ(errorText<InputError>([&] { RecordReader reader(folder.file("none")); }),
            folder.file("none") + ": cannot be read: No such file or directory");
  EXPECT_EQ(writerRefusal(folder.file("none/r")),
            folder.file("none/r") + ": cannot be written: No such file or directory");
}

TEST_F(RecordFile, GrowsByOneLineForEachRecord) {
  {
    RecordWriter writer(path, warn);
    writer.write(message(1));
    EXPECT_EQ(folder.read("r"), lines(1));
    EXPECT_EQ(writerRefusal(path), path + ": another program records into it; accepted is another file");
  }
  RecordWriter(path, warn).write(message(2));
  EXPECT_EQ(folder.read("r"), lines(2));
  EXPECT_EQ(warnings, std::vector<std::string>());
}

TEST_F(RecordFile, ThatEndsInACutLineGetsALineEndFirst) {
  const std::string cut = lines(1) + "{\"version\":1,\"ti";
  RecordWriter(made(cut), warn).write(message(2));
  EXPECT_EQ(folder.read("r"), cut + "\n" + snapshotJsonLine(message(2)));
}

TEST_F(RecordFile, OfAnotherKindOrVersionIsLeftAlone) {
  std::string later = lines(1);
  later.replace(later.find("\"version\":1"), 11, "\"version\":2");
  const std::vector<std::pair<std::string, std::string>> rows = {
      {later, "\"version\" is '2'; accepted is 1"},
      {"[bank]\n", "no record; accepted is a JSON object of 'poectl watch --record'"},
  };
  for (const auto& [text, reason] : rows) {
    EXPECT_EQ(writerRefusal(made(text)),
              path + ":1: " + reason + "; there is no record before it; nothing is appended");
    EXPECT_EQ(folder.read("r"), text);
  }
}

// A limit of the process stands for a full disk.
TEST_F(RecordFile, ThatTakesNoMoreIsReportedOnceAndHasNoPartOfARecord) {
  const auto limitSize = [](rlim_t bytes) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const auto before = signal(SIGXFSZ, SIG_IGN);
  RecordWriter writer(path, warn);
  writer.write(message(1));
  limitSize(lines(1).size() + 100);
  writer.write(message(2));
  writer.write(message(3));
  EXPECT_FALSE(writer.isComplete());
  limitSize(RLIM_INFINITY);
  signal(SIGXFSZ, before);
  EXPECT_EQ(folder.read("r"), lines(1));
  writer.write(message(2));
  EXPECT_EQ(folder.read("r"), lines(2));
  ASSERT_EQ(warnings.size(), 2U);
  EXPECT_EQ(warnings[0],
            path + ": cannot be written: No space left on device; it is tried again with each record");
  EXPECT_EQ(warnings[1], path + ": is written again");
}

TEST_F(RecordFile, IsPlayedForwardFromAnyRecord) {
  made(lines(50));
  RecordPlayer player(path, {});
  while (player.forward()) {
    EXPECT_EQ(player.snapshot().status.port[1].shortCounter, player.number());
    EXPECT_EQ(player.events().size(), player.number() == 1 ? 0U : 1U);
  }
  EXPECT_EQ(player.number(), 50U);
  EXPECT_EQ(player.percent(), 100U);
  for (const unsigned number : {50U, 1U, 17U, 16U, 2U}) {
    player.rewindTo(number);
    ASSERT_TRUE(player.forward());
    EXPECT_EQ(player.number(), number);
    EXPECT_EQ(player.snapshot().status.port[1].shortCounter, number);
    for (bool more = true; more && player.number() < 40;) {
      more = player.forward();
    }
  }
}

TEST_F(RecordFile, IsIndexedInBoundedMemory) {
  constexpr unsigned RECORDS = RecordPlayer::MAX_PLACES * 2 + 100;
  std::string text;
  for (unsigned number = 1; number <= RECORDS; number++) {
    text += R"({"version":1,"time":"2023-11-14T22:13:20.123Z","source":"console","transfers":)" +
            std::to_string(number) + R"(,"span_ms":0,"port":[{},{},{},{}]})" + "\n";
  }
  RecordPlayer player(made(text), {});
  for (bool more = true; more;) {
    more = player.forward();
  }
  for (const unsigned number : {RECORDS, RECORDS - 1, RECORDS / 2, 3U, 1U}) {
    player.rewindTo(number);
    ASSERT_TRUE(player.forward());
    EXPECT_EQ(player.snapshot().transfers, number);
  }
}

} // namespace

// The files of "poectl publish", with stepped time.
#include "poectl/publish/publication.h"

#include "poectl/status/status_export.h"
#include "poectl/status/timestamp.h"
#include "tests/support/error_text.h"
#include "tests/support/process/console_connection.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int g_syncs = 0;

} // namespace

// Waiting for the disk would make a day last hours.
extern "C" int __wrap_fsync(int /*file*/) {
  g_syncs++;
  return 0;
}

namespace {

using namespace std::chrono_literals;

class PublicationTest : public ::testing::Test {
protected:
  std::unique_ptr<Publication> publication() {
    return std::make_unique<Publication>(folder.path().string(), now,
                                         [this](const std::string& line) { warnings += line + "\n"; });
  }

  // A status message that has come now, of a service that has counted so many shorts.
  static Snapshot message(unsigned long number, std::uint32_t shorts = 0) {
    PoeStatus status{};
    status.port[2].shortCounter = shorts;
    Snapshot snapshot = snapshotOfMessage(number, status);
    snapshot.begin = snapshot.end = std::chrono::floor<std::chrono::milliseconds>(currentTime());
    snapshot.period = 1000ms;
    return snapshot;
  }

  std::string metrics() const { return folder.read("poe.prom"); }

  // The value of the first line of a metric; empty: there is none.
  std::string value(const std::string& metric) const {
    const std::string text = "\n" + metrics();
    const std::size_t line = text.find("\n" + metric);
    const std::size_t start = text.find(' ', line) + 1;
    return line == std::string::npos ? "" : text.substr(start, text.find('\n', start) - start);
  }

  const TemporaryDirectory folder;
  Publication::Clock::time_point now{1h};
  std::string warnings;
};

TEST_F(PublicationTest, HoldsOneLineAndTheMetricsOfTheSnapshot) {
  const auto files = publication();
  EXPECT_EQ(metrics(),
            "# HELP poe_up 1 while snapshots come, 0 when the last one is stale or there is none.\n"
            "# TYPE poe_up gauge\n"
            "poe_up 0\n");
  EXPECT_EQ(folder.entries(), 1U);
  const Snapshot snapshot = message(1, 3);
  g_syncs = 0;
  files->take(snapshot, now);
  EXPECT_EQ(g_syncs, 2) << "each file is on the disk before it gets its name";
  EXPECT_EQ(folder.read("status.json"), snapshotJsonLine(snapshot));
  EXPECT_EQ(metrics(),
            "# HELP poe_up 1 while snapshots come, 0 when the last one is stale or there is none.\n"
            "# TYPE poe_up gauge\n"
            "poe_up 1\n"
            "# HELP poe_snapshot_age_seconds Age of these values when they were written here.\n"
            "# TYPE poe_snapshot_age_seconds gauge\n"
            "poe_snapshot_age_seconds{source=\"queue\"} 0.000\n" +
                snapshotPrometheus(snapshot));
  EXPECT_EQ(folder.entries(), 2U) << "nothing is left beside them";
  EXPECT_EQ(warnings, "");
}

TEST_F(PublicationTest, SaysTheAgeOfWhatIsStaleAndKeepsItsValues) {
  const auto files = publication();
  files->take(message(1, 3), now);
  const std::string line = folder.read("status.json");
  files->refresh(now += 2499ms);
  EXPECT_EQ(value("poe_up"), "1");
  EXPECT_EQ(value("poe_snapshot_age_seconds"), "2.499");
  files->refresh(now += 1ms);
  EXPECT_EQ(value("poe_up"), "0");
  files->refresh(now += 24h);
  EXPECT_EQ(value("poe_up"), "0");
  EXPECT_EQ(value("poe_snapshot_age_seconds"), "86402.500");
  EXPECT_EQ(value("poe_port_short_total{port=\"2\"}"), "3");
  EXPECT_EQ(folder.read("status.json"), line);
  files->take(message(2, 1), now); // the service has started anew and counts from 0
  EXPECT_EQ(value("poe_up"), "1");
  EXPECT_EQ(value("poe_snapshot_age_seconds"), "0.000");
  EXPECT_EQ(value("poe_port_short_total{port=\"2\"}"), "1");
  files->end(now);
  EXPECT_EQ(value("poe_up"), "0");
}

TEST_F(PublicationTest, GoesOnWithWhatAKilledOneHasLeft) {
  Snapshot snapshot = message(7, 3);
  snapshot.begin = snapshot.end -= 100s;
  publication()->take(snapshot, now);
  const auto next = publication();
  EXPECT_EQ(value("poe_up"), "0");
  EXPECT_EQ(value("poe_snapshot_age_seconds").substr(0, 4), "100.");
  EXPECT_EQ(value("poe_port_short_total{port=\"2\"}"), "3");
  EXPECT_EQ(folder.read("status.json"), snapshotJsonLine(snapshot));
  EXPECT_EQ(warnings, "");
}

// As after the clock was set back: the age is not known, and a new snapshot ends that.
TEST_F(PublicationTest, TakesATimeInTheFutureForStaleWhenItIsAsFarAsAnOldOne) {
  for (const auto& [ahead, isUp, age] : {std::tuple(2000ms, "1", "-1."), std::tuple(100000ms, "0", "-99.")}) {
    Snapshot snapshot = message(7);
    snapshot.begin = snapshot.end += ahead;
    publication()->take(snapshot, now);
    const auto next = publication();
    EXPECT_EQ(value("poe_up"), isUp);
    EXPECT_EQ(value("poe_snapshot_age_seconds").rfind(age, 0), 0U) << value("poe_snapshot_age_seconds");
    next->take(message(8), now);
    EXPECT_EQ(value("poe_up"), "1");
    EXPECT_EQ(value("poe_snapshot_age_seconds"), "0.000");
  }
}

TEST_F(PublicationTest, ReplacesWhatIsNoSnapshot) {
  folder.write("status.json", "{\"version\":1");
  folder.write("status.json.part", "left");
  const auto files = publication();
  EXPECT_EQ(value("poe_up"), "0");
  EXPECT_EQ(warnings, folder.file("status.json") +
                          ":1: the line is cut; there is no record before it; it is replaced\n");
  files->take(message(1), now);
  EXPECT_EQ(folder.read("status.json").rfind("{\"version\":1,\"time\":", 0), 0U);
  EXPECT_EQ(folder.entries(), 2U);
}

TEST_F(PublicationTest, RefusesADirectoryThatAnotherOneHas) {
  const auto first = publication();
  EXPECT_EQ(errorText<InputError>([&] { publication(); }),
            folder.path().string() + ": another program publishes there; another directory is accepted");
}

TEST_F(PublicationTest, SaysOnceThatAFileCannotBeWrittenAndOnceThatItCan) {
  const auto files = publication();
  const std::filesystem::path away = folder.path().string() + ".away";
  std::filesystem::rename(folder.path(), away);
  const std::string failure =
      folder.file("poe.prom") + ": cannot be written: No such file or directory; it is tried again\n";
  for (int attempt = 0; attempt < 2; attempt++) {
    files->take(message(1), now);
    EXPECT_EQ(warnings, failure);
    EXPECT_FALSE(files->isWritten());
  }
  std::filesystem::rename(away, folder.path());
  files->refresh(now);
  EXPECT_EQ(warnings, failure + folder.path().string() + ": is written again\n");
  EXPECT_TRUE(files->isWritten());
}

// Snapshots come each minute, but for an hour and a half in which they do not.
TEST_F(PublicationTest, HoldsNoMoreAfterADayThanAfterAnHour) {
  const auto files = publication();
  Snapshot snapshot = message(1'000'000);
  snapshot.period = 60s;
  const auto passHours = [&](double hours, bool isUp) {
    const auto end = now + std::chrono::milliseconds(static_cast<std::int64_t>(hours * 3'600'000));
    while (now < end) {
      now += 60s;
      isUp ? files->take(snapshot, now) : files->refresh(now);
    }
  };
  passHours(1, true);
  const std::size_t heap = mallinfo2().uordblks; // 0 under a sanitizer
  const std::size_t descriptors = openDescriptors();
  passHours(9, true);
  passHours(1.5, false);
  EXPECT_EQ(value("poe_snapshot_age_seconds"), "5400.000");
  passHours(12.5, true);
  EXPECT_LE(mallinfo2().uordblks, heap + 4096);
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(folder.entries(), 2U);
  EXPECT_EQ(warnings, "");
}

} // namespace

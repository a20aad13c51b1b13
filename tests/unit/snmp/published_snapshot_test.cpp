// When a published snapshot is read, and when it is stale.
#include "poectl/snmp/published_snapshot.h"

#include "tests/support/process/console_connection.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/unit/poectl/record/record_sample.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

namespace {

using std::chrono::milliseconds;

class Published : public ::testing::Test {
protected:
  // Replaces the file as a publisher does: by rename.
  void publish(const std::string& text) const {
    folder.write("new", text);
    std::filesystem::rename(folder.file("new"), path);
  }

  static std::string lineOf(unsigned shortCounter) {
    Snapshot snapshot = recordedMessage(milliseconds(0));
    snapshot.status.port[1].shortCounter = shortCounter;
    return snapshotJsonLine(snapshot);
  }

  // The counter of a fresh snapshot, this long after its time; nothing without one.
  std::optional<std::uint32_t> counterAfter(milliseconds time) {
    const CardLook look = published.look(RECORD_START + time);
    return look.snapshot != nullptr ? std::optional(look.snapshot->status.port[1].shortCounter)
                                    : std::nullopt;
  }

  const TemporaryDirectory folder;
  const std::string path = folder.file("status.json");
  std::vector<std::string> warnings;
  PublishedSnapshot published{path, [this](const std::string& line) { warnings.push_back(line); }};
};

TEST_F(Published, IsReadAgainWhenItIsReplacedOrWrittenAgain) {
  EXPECT_EQ(counterAfter(milliseconds(0)), std::nullopt);
  publish(lineOf(1));
  EXPECT_EQ(counterAfter(milliseconds(0)), 1U);
  publish(lineOf(2));
  EXPECT_EQ(counterAfter(milliseconds(0)), 2U);
  folder.write("status.json", lineOf(33));
  EXPECT_EQ(counterAfter(milliseconds(0)), 33U);
  std::filesystem::remove(path);
  EXPECT_EQ(counterAfter(milliseconds(0)), std::nullopt);
}

TEST_F(Published, IsNotReadAgainWhileItStaysTheSame) {
  publish(lineOf(1));
  EXPECT_EQ(counterAfter(milliseconds(0)), 1U);
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max}; // no file can be opened
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(counterAfter(milliseconds(1)), 1U);
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(Published, IsStaleAfterTwoAndAHalfPeriodsBeforeAndAfterItsTime) {
  publish(lineOf(1)); // its period is 1 s
  for (const int after : {-2499, 0, 2499}) {
    EXPECT_EQ(counterAfter(milliseconds(after)), 1U) << after;
  }
  for (const int after : {-2500, 2500, 1000000}) {
    EXPECT_EQ(counterAfter(milliseconds(after)), std::nullopt) << after;
    EXPECT_EQ(published.look(RECORD_START + milliseconds(after)).age, milliseconds(after));
  }
}

// A new file each 5 minutes, and two looks at each.
TEST_F(Published, HoldsNoMoreAfterADayThanAfterAnHour) {
  std::size_t heap = 0; // 0 under a sanitizer
  const std::size_t descriptors = openDescriptors();
  for (unsigned step = 0; step < 24 * 12; step++) {
    publish(lineOf(1'000'000 + step));
    for (const int after : {0, 3000}) {
      ASSERT_EQ(counterAfter(milliseconds(after)).has_value(), after < 2500);
    }
    heap = step == 12 ? mallinfo2().uordblks : heap;
  }
  EXPECT_LE(mallinfo2().uordblks, heap + 4096);
  EXPECT_EQ(openDescriptors(), descriptors);
}

// One line for each reason, however often it is asked.
TEST_F(Published, WarnsOncePerReasonWhyThereIsNone) {
  const std::string accepted = "; accepted is one line of 'poectl publish'";
  const auto askTwice = [&] {
    EXPECT_EQ(counterAfter(milliseconds(0)), std::nullopt);
    EXPECT_EQ(published.look(RECORD_START).age, std::nullopt);
  };
  askTwice();
  publish("");
  askTwice();
  std::filesystem::resize_file(path, std::uintmax_t{1} << 40); // which nobody may read to its end
  askTwice();
  publish(lineOf(1) + lineOf(2));
  askTwice();
  publish("{}\n");
  askTwice();
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  askTwice();
  EXPECT_EQ(warnings, (std::vector<std::string>{
                          path + ": cannot be read: No such file or directory",
                          path + ": is empty" + accepted,
                          path + ": is too long; accepted are 65536 bytes",
                          path + ": has more than one line" + accepted,
                          path + ":1: \"version\" is missing; there is no record before it",
                          path + ": is no regular file; accepted is a file of 'poectl watch --record'",
                      }));
}

} // namespace

// "poectl watch" for programs and pipes beside the real service.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"
#include "tests/system/process/pattern.h"

#include <algorithm>

namespace {

const std::string TIME = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z";

class PoectlWatch : public ServiceTest {
protected:
  // The card's time passes by transfers: those after the switching on of port 0 are enough for its start, so
  // that no cycle sees it half way.
  void startConfigurable() {
    service =
        std::make_unique<ServiceProcess>(ServiceOptions{{"--stepped", "--plug", "0 class=2 watts=6"}, {}});
  }

  ~PoectlWatch() override { EXPECT_FALSE(queueExists("/queueToMain")); }
};

TEST_F(PoectlWatch, PrintsAJsonObjectOnALineForEachMessage) {
  startConfigurable();
  const CommandResult result = poectl("watch --example --json --count 3");
  EXPECT_EQ(result.status, 0);
  const std::vector<std::string> lines = linesOf(result.output);
  ASSERT_EQ(lines.size(), 3U) << result.output;
  for (std::size_t line = 0; line < lines.size(); line++) {
    const std::string head(
        "\\{\"version\":1,\"time\":\"" + TIME + "\",\"message\":" + std::to_string(line + 1) +
        ",\"source\":\"queue\",\"transfers\":0,\"span_ms\":0,\"period_ms\":1000,\"mainPower\":[0-9]+,"
        "\"mainOperStatus\":1,.*\\}");
    EXPECT_TRUE(matchesPattern(lines[line], head)) << lines[line];
  }
  EXPECT_NE(lines[2].find("\"mainPower\":100,"), std::string::npos)
      << "the example configuration is in force";
}

TEST_F(PoectlWatch, PrintsNothingButEvents) {
  startConfigurable();
  const CommandResult result = poectl("watch --example --events --count 3");
  EXPECT_EQ(result.status, 0);
  std::string behindTimes;
  for (const std::string& line : linesOf(result.output)) {
    EXPECT_TRUE(matchesPattern(line, TIME + " .*")) << line;
    behindTimes += line.substr(line.find(' ') + 1) + "\n";
  }
  EXPECT_EQ(behindTimes, "port 0 DISABLED -> DELIVERINGPOWER\n"
                         "port 1 DISABLED -> SEARCHING\n"
                         "port 2 DISABLED -> SEARCHING\n");
}

TEST_F(PoectlWatch, EndsQuietlyWhenItsReaderHasSeenEnough) {
  startConfigurable();
  const CommandResult result = run(POECTL " watch --json --seconds 10 | head -n 1 | wc -l");
  EXPECT_EQ(result.output, "1\n");
}

TEST_F(PoectlWatch, SaysThatItsOutputCannotBeWritten) {
  startConfigurable();
  EXPECT_EQ(poectl("watch --seconds 10 >/dev/full"),
            failedWith("cannot write to standard output: No space left on device"));
}

} // namespace

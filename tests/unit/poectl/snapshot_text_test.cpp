// Snapshots as text for people.
#include "poectl/status/snapshot.h"
#include "poectl/status/status_text.h"

#include <gtest/gtest.h>

namespace {

Snapshot consoleSnapshot() {
  Snapshot snapshot;
  snapshot.source = Snapshot::Source::CONSOLE;
  snapshot.number = 3;
  snapshot.end = snapshot.begin + std::chrono::microseconds(11001);
  snapshot.transfers = 49;
  snapshot.status.mainOperStatus = 1;
  snapshot.status.mainPower = 100;
  snapshot.status.port[0] = {3, 4, 3, 6, 1, 2, 3, 4, 5, 6};
  snapshot.status.port[1].operStatus = 1;
  snapshot.details[0] = {true, 15, 1, 538, 111, true, "FET error"};
  snapshot.details[1] = {false, 40, 3, 0, 0, false, ""};
  snapshot.names[0] = "front door";
  return snapshot;
}

TEST(SnapshotText, NamesTheConsoleItsCostAndItsSpan) {
  EXPECT_EQ(
      snapshotText(consoleSnapshot()),
      "snapshot 3 from the console, 49 transfers a snapshot, taken within 12 ms\n"
      "chip running, bank limit 100 W, consumption 0 W, temperature 0 C\n"
      "port  name        admin  state            class     W  limit W  prio     V    mA  invalid  denied  "
      "overload  underload  short  classerr  detection\n"
      "   0  front door  on     DELIVERINGPOWER      2     6       15     1  53.8   111        1       2  "
      "       3          4      5         6  good, FET error\n"
      "   1              off    DISABLED             -     0        -     3   0.0     0        0       0  "
      "       0          0      0         0  unknown\n"
      "   2              -      ?                    -     0        -     -     -     -        0       0  "
      "       0          0      0         0  unknown\n"
      "   3              -      ?                    -     0        -     -     -     -        0       0  "
      "       0          0      0         0  unknown\n");
}

TEST(SnapshotText, ListsWhatIsMissing) {
  Snapshot snapshot = consoleSnapshot();
  snapshot.missing = {"mainPower", "operStatus", "powerConsumption", "shortCounter"};
  const std::string failed = snapshotText(snapshot);
  EXPECT_NE(failed.find("chip running, bank limit - W, consumption 0 W"), std::string::npos) << failed;
  EXPECT_NE(failed.find("   0  front door  on     power on             2     -       15"), std::string::npos)
      << failed;
  EXPECT_NE(failed.find("\ncould not be read: bank limit, state, W, short\n"), std::string::npos) << failed;
  snapshot.transfers = 0;
  snapshot.details = {};
  const std::string spared = snapshotText(snapshot);
  EXPECT_EQ(spared.rfind("snapshot 3 from the console, no transfers, taken within 12 ms\n", 0), 0U) << spared;
  EXPECT_NE(spared.find("\nmissing without transfers: bank limit, admin, state, W, limit W, prio, V, mA,\n"
                        "short; ask without --no-bus (49 transfers)\n"),
            std::string::npos)
      << spared;
}

TEST(SnapshotText, ShowsTheSettingsThatWereSent) {
  Snapshot snapshot = snapshotOfMessage(5, {});
  PoeConfig config{};
  config.port[0].adminEnable = 1;
  config.port[1].powerLimit = 15000;
  addSettings(snapshot, config);
  const std::string text = snapshotText(snapshot);
  EXPECT_EQ(text.rfind("message 5 from the queue: chip unchecked, bank limit 0 W", 0), 0U) << text;
  EXPECT_NE(text.find("\n   0  on     ?                    -     0       40        0"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\n   1  off    ?                    -     0        -        0"), std::string::npos)
      << text;
}

} // namespace

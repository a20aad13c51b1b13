// A record in the live view: how time passes, and what the keys do.
#include "poectl/view/replay.h"

#include "poectl/view/view_drawing.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/unit/poectl/record/record_sample.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

class ReplayedRecord : public ::testing::Test {
protected:
  // Records at these times; each counts one more short on port 1.
  void play(const std::vector<milliseconds>& times) {
    std::string text;
    unsigned number = 0;
    for (const milliseconds time : times) {
      Snapshot snapshot = recordedMessage(time);
      snapshot.status.port[1].shortCounter = ++number;
      text += snapshotJsonLine(snapshot);
    }
    replay.emplace(folder.write("r", text), RecordReader::Warn(), state);
    pass(milliseconds(0));
  }

  static std::vector<milliseconds> everySecond(unsigned records) {
    std::vector<milliseconds> times;
    for (unsigned i = 0; i < records; i++) {
      times.emplace_back(1000 * i);
    }
    return times;
  }

  void pass(milliseconds time) {
    now += time;
    replay->update(now);
  }

  std::uint64_t press(ReplayKey key) {
    replay->press(key);
    pass(milliseconds(0));
    return state.replay->record;
  }

  std::uint64_t after(milliseconds time) {
    pass(time);
    return state.replay->record;
  }

  std::string row(std::size_t number) const { return drawView(state, {24, 80, false}).row(number); }

  const TemporaryDirectory folder;
  ViewState state;
  std::optional<Replay> replay;
  Replay::Clock::time_point now{hours(1)};
};

TEST_F(ReplayedRecord, ShowsEachRecordAtItsTime) {
  play(everySecond(3));
  EXPECT_EQ(state.replay->record, 1U);
  EXPECT_EQ(after(milliseconds(999)), 1U);
  EXPECT_EQ(after(milliseconds(1)), 2U);
  EXPECT_EQ(state.replay->time, "2023-11-14T22:13:21.123Z");
  EXPECT_EQ(state.events.back().time, "22:13:21");
  EXPECT_EQ(after(seconds(1)), 3U);
  EXPECT_TRUE(state.replay->isAtEnd);
  EXPECT_EQ(after(hours(1)), 3U);
  EXPECT_EQ(state.age, milliseconds(0)) << "a record does not become stale";
}

TEST_F(ReplayedRecord, PausesAndGoesOn) {
  play(everySecond(10));
  press(ReplayKey::PAUSE);
  EXPECT_EQ(after(seconds(5)), 1U);
  EXPECT_TRUE(state.replay->isPaused);
  press(ReplayKey::PAUSE);
  EXPECT_EQ(after(seconds(5)), 6U);
}

TEST_F(ReplayedRecord, ChangesItsSpeedBetweenAnEighthAndAThousand) {
  play(everySecond(3000));
  press(ReplayKey::FASTER);
  EXPECT_EQ(after(seconds(2)), 5U);
  press(ReplayKey::SLOWER);
  press(ReplayKey::SLOWER);
  EXPECT_EQ(after(seconds(2)), 6U);
  for (int times = 0; times < 20; times++) {
    press(ReplayKey::SLOWER);
  }
  EXPECT_EQ(state.replay->speed, 0.125);
  for (int times = 0; times < 20; times++) {
    press(ReplayKey::FASTER);
  }
  EXPECT_EQ(state.replay->speed, 1024);
  EXPECT_EQ(after(seconds(1)), 6U + 1024);
}

TEST_F(ReplayedRecord, SeeksByRecordsSecondsAndToTheEnds) {
  play(everySecond(3000));
  EXPECT_EQ(press(ReplayKey::FORWARD), 11U);
  EXPECT_EQ(press(ReplayKey::FAR_FORWARD), 611U);
  EXPECT_EQ(press(ReplayKey::BACK), 601U);
  EXPECT_EQ(press(ReplayKey::FAR_BACK), 1U);
  EXPECT_EQ(press(ReplayKey::BACK), 1U);
  EXPECT_EQ(press(ReplayKey::NEXT), 2U);
  EXPECT_EQ(press(ReplayKey::NEXT), 3U);
  EXPECT_EQ(press(ReplayKey::PREVIOUS), 2U);
  EXPECT_TRUE(state.replay->isPaused);
  press(ReplayKey::LAST);
  EXPECT_EQ(after(milliseconds(0)), 3000U);
  EXPECT_EQ(press(ReplayKey::FIRST), 1U);
  EXPECT_FALSE(state.replay->isAtEnd);
}

TEST_F(ReplayedRecord, ShowsTheSameAfterAStepBackAsBefore) {
  play(everySecond(100));
  press(ReplayKey::FAR_FORWARD);
  press(ReplayKey::PREVIOUS);
  press(ReplayKey::PREVIOUS);
  const std::string before = row(5) + row(9);
  const std::size_t events = state.events.size();
  press(ReplayKey::NEXT);
  press(ReplayKey::PREVIOUS);
  EXPECT_EQ(row(5) + row(9), before);
  EXPECT_EQ(state.events.size(), events);
  EXPECT_EQ(state.history.size(), 98U);
}

TEST_F(ReplayedRecord, PlaysOnlyTheLastMinuteOfALongSilence) {
  play({seconds(0), hours(8)});
  EXPECT_TRUE(state.isStale());
  EXPECT_EQ(after(milliseconds(59'999)), 1U);
  EXPECT_EQ(after(milliseconds(1)), 2U);
  ASSERT_EQ(state.events.size(), 3U);
  EXPECT_EQ(state.events[0].time, "22:13:22");
  EXPECT_EQ(eventText(state.events[1].event), "messages are back after 28800.0 s");
}

TEST_F(ReplayedRecord, GoesOnWhereTheClockWasSetBack) {
  play({hours(2), hours(0), hours(0) + seconds(1)});
  EXPECT_EQ(state.replay->record, 2U);
  EXPECT_EQ(after(seconds(1)), 3U);
}

TEST_F(ReplayedRecord, SaysWhereItIsAndWhichKeysItHas) {
  play(everySecond(4));
  press(ReplayKey::FASTER);
  press(ReplayKey::NEXT);
  EXPECT_EQ(row(0), "chip running, 0 C                              record 2, 2023-11-14 22:13:21 UTC");
  EXPECT_EQ(row(22), "paused, speed 2x, 75 % of the file"); // the next record is at hand
  EXPECT_EQ(row(23), "q quit  0-3 port  Enter page  space pause  , . record  + - speed  ? all keys");
  state.help = true;
  EXPECT_NE(row(9).find("space             pause, go on"), std::string::npos) << row(9);
  press(ReplayKey::LAST);
  EXPECT_EQ(row(22), "end of the record, speed 2x, 100 % of the file");
}

TEST_F(ReplayedRecord, HasItsOwnKeysBesideThoseOfTheView) {
  using Kind = KeyPress::Kind;
  const std::vector<std::pair<KeyPress, ReplayKey>> rows = {
      {{Kind::CHARACTER, ' '}, ReplayKey::PAUSE},
      {{Kind::CHARACTER, '+'}, ReplayKey::FASTER},
      {{Kind::CHARACTER, '-'}, ReplayKey::SLOWER},
      {{Kind::CHARACTER, ','}, ReplayKey::PREVIOUS},
      {{Kind::CHARACTER, '.'}, ReplayKey::NEXT},
      {{Kind::CHARACTER, '<'}, ReplayKey::FAR_BACK},
      {{Kind::CHARACTER, '>'}, ReplayKey::FAR_FORWARD},
      {{Kind::LEFT}, ReplayKey::BACK},
      {{Kind::RIGHT}, ReplayKey::FORWARD},
      {{Kind::HOME}, ReplayKey::FIRST},
      {{Kind::END}, ReplayKey::LAST},
  };
  ViewKeys keys;
  for (const auto& [key, effect] : rows) {
    EXPECT_EQ(keys.press(key, state).replay, ReplayKey::NONE) << "of the live view";
  }
  state.replay.emplace();
  state.card.emplace();
  for (const auto& [key, effect] : rows) {
    EXPECT_EQ(keys.press(key, state).replay, effect);
  }
  EXPECT_TRUE(keys.press({Kind::CHARACTER, 'q'}, state).quit);
  for (const char key : std::string("erpusfontbc:")) {
    const KeyEffect effect = keys.press({Kind::CHARACTER, key}, state);
    EXPECT_FALSE(effect.sendExample || effect.readSettings || !effect.cardCommand.empty() || state.prompt)
        << key;
    EXPECT_EQ(state.note, "this key does nothing; ? lists those that do");
  }
}

} // namespace

// What poectl learns from a configuration and from the simulated card.
#include "poectl/card/card_state.h"
#include "poectl/status/snapshot.h"

#include <gtest/gtest.h>

namespace {

TEST(SettingsOf, TakesALimitAsTheServiceDoes) {
  const auto limit = [](std::uint32_t milliWatts) {
    PoePortConfig config{};
    config.powerLimit = milliWatts;
    return settingsOf(config).limitW;
  };
  EXPECT_EQ(limit(15000), 15U);
  EXPECT_EQ(limit(15999), 15U);
  EXPECT_EQ(limit(0), 40U);
  EXPECT_EQ(limit(40001), 40U);
}

TEST(ParseCardState, ReadsPortsThermalShutdownAndBus) {
  const CardState state = parseCardState(
      "port 0: device=good class=4 watts=22.5 phase=delivering fault=none class-error=pending\n"
      "port 3: device=none class=0 watts=0 phase=off fault=fet class-error=none\n"
      "temperature=40\nthermal=on\nbus=dead\n");
  EXPECT_EQ(state.port[0].device, "device=good class=4 watts=22.5 class-error=pending");
  EXPECT_EQ(state.port[0].watts, 22.5);
  EXPECT_EQ(state.port[1].device, "");
  EXPECT_EQ(state.port[3].device, "device=none class=0 watts=0 fault=fet");
  EXPECT_TRUE(state.thermal);
  EXPECT_FALSE(state.busOk);
}

TEST(ParseCardState, PassesOverWhatItDoesNotKnow) {
  const CardState state =
      parseCardState("port\nport 4: device=good watts=9\nport x\nthermal=off\nbus=ok\n=\n\n");
  for (const CardPort& port : state.port) {
    EXPECT_EQ(port.device, "");
  }
  EXPECT_FALSE(state.thermal);
  EXPECT_TRUE(state.busOk);
}

} // namespace

// What the view learns of the ports from the console, a configuration and the simulated card.
#include "poectl/card/card_state.h"
#include "poectl/console/port_settings.h"

#include <gtest/gtest.h>

namespace {

const std::string REPORT = "channel 1\n"
                           "============\n"
                           "  admin enable              = TRUE\n"
                           "  Oper status               = DELIVERINGPOWER\n"
                           "  powerClassification       = CLASS4\n"
                           "  port power limit (W)      = 30\n"
                           "  temp port power limit (W) = 7\n"
                           "  priority                  = 1\n"
                           "  main voltage (dV)         = 540\n";

TEST(ParsePortSettings, ReadsTheConsolesReport) {
  const auto settings = parsePortSettings(REPORT);
  ASSERT_TRUE(settings);
  EXPECT_TRUE(settings->enabled);
  EXPECT_EQ(settings->limit, 30U);
  EXPECT_EQ(settings->priority, 2U); // the chip counts from 0
}

TEST(ParsePortSettings, FindsNothingInAnotherText) {
  EXPECT_FALSE(parsePortSettings(""));
  EXPECT_FALSE(parsePortSettings("ERROR reading port power limits\n"));
  std::string broken = REPORT;
  broken.replace(broken.find("= 30"), 4, "= x0");
  EXPECT_FALSE(parsePortSettings(broken));
  EXPECT_FALSE(parsePortSettings(REPORT.substr(0, REPORT.find("  priority"))));
}

TEST(SettingsOf, TakesALimitAsTheServiceDoes) {
  const auto limit = [](std::uint32_t milliWatts) {
    PoePortConfig config{};
    config.powerLimit = milliWatts;
    return settingsOf(config).limit;
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

TEST(ChannelFaults, AreThoseOfTheReport) {
  const std::string healthy = "  fet_error               = FALSE\n  mosfet_overtemperature  = FALSE\n"
                              "  det_fail                = FALSE\n";
  EXPECT_EQ(parseChannelFaults(healthy), "");
  EXPECT_EQ(parseChannelFaults("  fet_error               = TRUE\n  mosfet_overtemperature  = TRUE\n"
                               "  det_fail                = TRUE\n"),
            "FET error, hot MOSFET, detection failed");
  EXPECT_EQ(parseChannelFaults("No POE device found\n"), "");
}

} // namespace

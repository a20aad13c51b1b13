// The console's reports: whole replies, byte for byte.
#include "components/PoeDriver/pd69104_engine_console.h"
#include "tests/unit/service/console_fixture.h"
#include "tests/unit/service/driver_info_text.h"

#include <cstring>
#include <sstream>

namespace {

// info.

const std::string INFO_TITLE = "\n==============\npd69104 Engine\n==============\n\n";

const std::string ZERO_FIGURES = "main voltage (V)        = 0.0\n"
                                 "power_consumption       = 0\n"
                                 "min_shutdown_voltage    = 0.0\n"
                                 "PM calculation static   = TRUE\n"
                                 "power_bank              = 0\n"
                                 "power_limit (this bank) = 0\n"
                                 "power_bank settings:\n"
                                 "  - power_limit[0] = 0\n"
                                 "  - power_limit[1] = 0\n"
                                 "  - power_limit[2] = 0\n"
                                 "  - power_limit[3] = 0\n"
                                 "  - power_limit[4] = 0\n"
                                 "  - power_limit[5] = 0\n"
                                 "  - power_limit[6] = 0\n"
                                 "  - power_limit[7] = 0\n"
                                 "\n";

TEST_F(Console, InfoShowsTheFiguresOfTheLastCycleAndTheBanksAsTheyAre) {
  registers[0x71] = 0x26;
  registers[0x72] = 0x24; // 9254: 540 dV
  registers[0xCB] = 229;  // 426 dV
  registers[0x96] = 77;
  registers[0x91] = 2 << 3;
  afterACycle(
      [&] {
        registers[0x8B] = 120;
        registers[0x7F] = 0x02;
      },
      [&] {
        registers[0x89] = 0xFF;
        EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = ACTIVE\n\nstate of PoeEngine\n\n" +
                                       driverInfo("NORMAL", "FALSE", 0) +
                                       "main voltage (V)        = 54.0\n"
                                       "power_consumption       = 77\n"
                                       "min_shutdown_voltage    = 42.6\n"
                                       "PM calculation static   = FALSE\n"
                                       "power_bank              = 2\n"
                                       "power_limit (this bank) = 120\n"
                                       "power_bank settings:\n"
                                       "  - power_limit[0] = 255\n"
                                       "  - power_limit[1] = 0\n"
                                       "  - power_limit[2] = 120\n"
                                       "  - power_limit[3] = 0\n"
                                       "  - power_limit[4] = 0\n"
                                       "  - power_limit[5] = 0\n"
                                       "  - power_limit[6] = 0\n"
                                       "  - power_limit[7] = 0\n"
                                       "\n");
      });
}

TEST_F(Console, InfoCarriesAWatchdogTextThatFillsItsRoomWithoutANul) {
  makeEngine();
  setWatchdogText(std::string(5000, 'w'));
  EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = IDLE\n\n" + std::string(4095, 'w') +
                                 "\n" + driverInfo("IDLE", "FALSE", 0) + ZERO_FIGURES);
  std::string cut;
  EXPECT_EQ(call({"info"}, 4000, &cut), 1U);
  EXPECT_EQ(cut.find('\0'), std::string::npos);
  setWatchdogText("");
}

TEST_F(Console, InfoWithoutADriverObjectEndsAfterItsLineWithoutAnEmptyOne) {
  makeEngineWithoutDriver();
  EXPECT_EQ(reply({"info"}),
            INFO_TITLE + "m_state                 = IDLE\n\nstate of PoeEngine\n\nNo POE device found\n");
}

TEST_F(Console, InfoOfAChipThatDoesNotAnswerShowsZerosAndFalse) {
  makeEngine();
  bus.failAll();
  std::string figures = ZERO_FIGURES;
  figures.replace(figures.find("TRUE"), 4, "FALSE");
  EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = IDLE\n\nstate of PoeEngine\n\n" +
                                 driverInfo("IDLE", "FALSE", 0) + figures);
  EXPECT_EQ(takeLog(), readFailureReport("7f"));
}

TEST_F(Console, InfoWithoutAWatchdogClientSaysSoAndGoesOn) {
  makeEngineWithoutWatchdog();
  EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = IDLE\n\nNo watchdog device found\n\n" +
                                 driverInfo("IDLE", "FALSE", 0) + ZERO_FIGURES);
}

TEST(ConsoleReport, WritesTenthsOfVoltsWithOneDecimal) {
  const std::pair<std::uint32_t, const char*> rows[] = {
      {0, "V 0.0\n"}, {7, "V 0.7\n"}, {480, "V 48.0\n"}, {485, "V 48.5\n"}, {4294967295U, "V 429496729.5\n"}};
  for (const auto& [deciVolts, text] : rows) {
    char out[100];
    Reply(out, sizeof out).addVolts("V ", deciVolts);
    EXPECT_STREQ(out, text);
  }
}

TEST(ConsoleReport, WritesSignedAndUnsignedNumbersInDecimal) {
  char out[100];
  {
    Reply reply(out, sizeof out);
    reply.addNumber("a = ", 4294967295U);
    reply.addSigned("b = ", -5);
  }
  EXPECT_STREQ(out, "a = 4294967295\nb = -5\n");
}

// device.

TEST_F(Console, DeviceOfAFreshEngineShowsZerosAlsoWithoutADriverObject) {
  const std::string zeros = "device status\n"
                            "=============\n"
                            "  device_id               = 0\n"
                            "  device revision         = 0\n"
                            "  temperature             = 0\n"
                            "  thermal shutdown        = FALSE\n"
                            "  dev_error               = FALSE\n"
                            "  device errorcount       = 0\n"
                            "\n";
  makeEngine();
  EXPECT_EQ(reply({"device"}), zeros);
  EXPECT_EQ(registersMoved(), "");
  makeEngineWithoutDriver();
  EXPECT_EQ(reply({"device", "1"}), zeros);
}

TEST_F(Console, DeviceShowsWhatTheLastCycleRead) {
  afterACycle(
      [&] {
        registers[0x43] = 0xBD;
        registers[0x70] = 23; // -5
        registers[0x42] = 0x80;
        bus.failWhen([](std::size_t, const Transfer& t) { return t.reg == 0xCC || t.reg == 0x76; });
      },
      [&] {
        EXPECT_EQ(reply({"device"}), "device status\n"
                                     "=============\n"
                                     "  device_id               = 5\n"
                                     "  device revision         = 5\n"
                                     "  temperature             = -5\n"
                                     "  thermal shutdown        = TRUE\n"
                                     "  dev_error               = FALSE\n"
                                     "  device errorcount       = 1\n"
                                     "\n");
      });
}

TEST_F(Console, DeviceThatCannotBeReadWholeShowsTheErrorBesideTheOldReadings) {
  afterACycle(
      [&] {
        registers[0x43] = 0xBD;
        bus.failWhen([](std::size_t, const Transfer& t) { return t.reg == 0x42; });
      },
      [&] {
        EXPECT_EQ(reply({"device"}), "device status\n"
                                     "=============\n"
                                     "  device_id               = 0\n"
                                     "  device revision         = 0\n"
                                     "  temperature             = -27\n"
                                     "  thermal shutdown        = FALSE\n"
                                     "  dev_error               = TRUE\n"
                                     "  device errorcount       = 2\n" // one of each cycle
                                     "\n");
      });
}

// channel.

TEST_F(Console, ChannelAndPoePortWithoutANumberAreMissingTheirParameters) {
  makeEngine();
  EXPECT_EQ(reply({"channel"}), "MISSING PARAMETERS for command <channel> \n\n");
  EXPECT_EQ(reply({"poeport"}), "MISSING PARAMETERS for command <channel> \n\n");
}

TEST_F(Console, ChannelAndPoePortRejectANumberAboveThree) {
  makeEngine();
  for (const char* command : {"channel", "poeport"}) {
    EXPECT_EQ(reply({command, "4"}), "RANGE ERROR for command <channel> [4]\n\n");
    EXPECT_EQ(reply({command, "7"}), "RANGE ERROR for command <channel> [7]\n\n");
    EXPECT_EQ(reply({command, "0x10"}), "RANGE ERROR for command <channel> [16]\n\n");
    EXPECT_EQ(reply({command, "-1"}), "RANGE ERROR for command <channel> [4294967295]\n\n");
  }
  EXPECT_EQ(registersMoved(), "");
}

TEST_F(Console, ChannelAndPoePortWithoutADriverObjectSaySo) {
  makeEngineWithoutDriver();
  EXPECT_EQ(reply({"channel", "0"}), "channel 0\n============\nNo POE device found\n\n");
  EXPECT_EQ(reply({"poeport", "3"}), "channel 3\n============\nNo POE device found\n\n");
}

TEST_F(Console, ChannelThreeMayBeWrittenInEveryBase) {
  makeEngine();
  for (const char* number : {"3", "03", "0x3", "0X3", "+3"}) {
    EXPECT_EQ(reply({"channel", number}).substr(0, 23), "channel 3\n============\n");
  }
}

TEST_F(Console, ChannelShowsEachFlagAndTheIllegalDetection) {
  afterACycle(
      [&] {
        registers[0x0C] = 0x77;
        registers[0x49] = 0x02;
        registers[0x75] = 0x0F;
      },
      [&] {
        EXPECT_EQ(reply({"channel", "x"}), "channel 0\n"
                                           "============\n"
                                           "  enable                  = FALSE\n"
                                           "  power_good              = FALSE\n"
                                           "  det_status              = ILLEGAL\n"
                                           "  pclass                  = CLASS_OVERCURRENT\n"
                                           "  fet_error               = TRUE\n"
                                           "  mosfet_overtemperature  = TRUE\n"
                                           "  in_pm_mode              = TRUE\n"
                                           "  passed_MSCC_cap_det     = TRUE\n"
                                           "  det_fail                = TRUE\n"
                                           "\n");
      });
}

TEST_F(Console, ChannelDecodesEveryDetectionAndClassCode) {
  const char* const detection[] = {"UNKNOWN", "SHORT",         "CPD_TOO_HIGH", "RSIG_TOO_LOW",
                                   "GOOD",    "RSIG_TOO_HIGH", "OPEN_CIRCUIT", "ILLEGAL"};
  const char* const classes[] = {"UNKNOWN", "CLASS_1",        "CLASS_2", "CLASS_3",
                                 "CLASS_4", "CLASS_RESERVED", "CLASS_0", "CLASS_OVERCURRENT"};
  for (unsigned code = 0; code < 8; code++) {
    afterACycle([&] { registers[0x0F] = static_cast<std::uint8_t>(code | code << 4); },
                [&] {
                  const std::string expected = std::string("  det_status              = ") + detection[code] +
                                               "\n  pclass                  = " + classes[code] + "\n";
                  EXPECT_NE(reply({"channel", "3"}).find(expected), std::string::npos) << expected;
                });
  }
}

TEST(ConsoleReport, DecodesACodeOutsideItsTableAsIllegal) {
  constexpr const char* WORDS[] = {"NONE", "ONE"};
  EXPECT_STREQ(decode(WORDS, 1), "ONE");
  EXPECT_STREQ(decode(WORDS, 2), "ILLEGAL");
  EXPECT_STREQ(decode(WORDS, 0xFFFFFFFF), "ILLEGAL");
}

// poeport.

TEST_F(Console, PoePortShowsConfigurationStateReadingsAndCounters) {
  afterACycle(
      [&] {
        PoeConfig config = fourPorts();
        config.port[1].priority = 3;
        config.port[1].powerLimit = 30000;
        configure(config);
        registers[0x10] = 0x22;
        registers[0x0D] = 0x24;
        for (unsigned k = 0; k < 6; k++) {
          registers[0x77 + k] = static_cast<std::uint8_t>((k % 4) << 2);
        }
      },
      [&] {
        registers[0x86] = 30;
        registers[0x71] = registers[0x36] = 0x26;
        registers[0x72] = registers[0x37] = 0x24;
        registers[0x34] = 0xD7;
        registers[0x35] = 0x03; // 983: 120 mA
        registers[0x93] = 6;
        EXPECT_EQ(reply({"poeport", "1"}), "channel 1\n"
                                           "============\n"
                                           "  admin enable              = TRUE\n"
                                           "  Oper status               = DELIVERINGPOWER\n"
                                           "  powerClassification       = CLASS2\n"
                                           "  port power limit (W)      = 30\n"
                                           "  temp port power limit (W) = 30\n"
                                           "  priority                  = 2\n"
                                           "  main voltage (dV)         = 540\n"
                                           "  port_voltage (dV)         = 540\n"
                                           "  port_current (mA)         = 120\n"
                                           "  power_consumption (W)     = 6\n"
                                           "\n"
                                           "  invalidSignatureCounter   = 0\n"
                                           "  powerDeniedCounter        = 2\n"
                                           "  overLoadCounter           = 2\n"
                                           "  underLoadCounter          = 3\n"
                                           "  shortCounter              = 0\n"
                                           "  classErrorCounter         = 1\n"
                                           "\n"
                                           "\n");
      });
}

} // namespace

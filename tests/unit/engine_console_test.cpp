// The engine's console commands: whole replies, byte for byte.
#include "components/PoeDriver/pd69104_engine_console.h"
#include "tests/unit/engine_fixture.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

namespace {

const std::string HELP = "usage : \r\n"
                         "\t formatted input !!! 12 = dec(12),0x12 = dec(18),012 = dec(10)\n"
                         "\t>help                                      (= this overview)\r\n"
                         "\t>PD69104Engine info                        (shows pd69104 info)\n"
                         "\t>PD69104Engine device                      (shows pd69104 device info)\n"
                         "\t>PD69104Engine channel <channel_nr>        (shows pd69104 device channel info)\n"
                         "\t>PD69104Engine poeport <channel_nr>        (shows pd69104 poe port status)\n"
                         "\t>PD69104Engine writeReg <address> <value>  (write a pd69104 register)\n"
                         "\t>PD69104Engine readReg <address>           (read a pd69104 register)\n";

class Console : public EngineTest {
protected:
  static constexpr std::uint32_t SIZE = 8192;

  // Calls the handler with a buffer of `outLen` bytes inside a larger one and expects nothing written behind
  // it.
  std::uint32_t call(const std::vector<std::string>& words, std::uint32_t outLen, std::string* reply) {
    std::vector<const char*> argv;
    for (const std::string& word : words) {
      argv.push_back(word.c_str());
    }
    reply->assign(outLen + 64, '#');
    const std::uint32_t result =
        engine->dbgCommand(static_cast<std::uint32_t>(words.size()), argv.data(), reply->data(), outLen);
    EXPECT_EQ(reply->substr(outLen), std::string(64, '#')) << "written behind the buffer";
    reply->resize(outLen);
    return result;
  }

  // The reply of a known command, which must be followed by NUL up to the end of the buffer.
  std::string reply(const std::vector<std::string>& words) {
    std::string text;
    EXPECT_EQ(call(words, SIZE, &text), 1U);
    const std::size_t length = text.find('\0');
    EXPECT_EQ(text.find_first_not_of('\0', length), std::string::npos);
    return text.substr(0, length);
  }

  // Where the first cycle of a record begins; the record may start in the middle of a command.
  static std::size_t firstWholePiece(const std::string& record) { return record.find(HEALTHY_CYCLE); }

  void makeEngineWithoutDriver() {
    const FailingNew noDriver(sizeof(CPD69104));
    makeEngine();
  }

  // Runs the engine for one cycle after `prepare` and then the step.
  void afterACycle(const Step& prepare, const Step& step) {
    makeEngine();
    runCycles({[&] {
                 prepare();
                 takeLog();
               },
               [&] {
                 bus.takeTransfers();
                 takeLog();
                 step();
               }});
  }
};

// Dispatch and help.

TEST_F(Console, HelpIs571BytesLong) {
  EXPECT_EQ(HELP.size(), 571U);
}

TEST_F(Console, HelpCommandWritesTheHelpTextAndIsKnown) {
  makeEngine();
  EXPECT_EQ(reply({"help"}), HELP);
  EXPECT_EQ(reply({"help", "channel", "1"}), HELP);
}

TEST_F(Console, NoKeywordGetsTheHelpText) {
  makeEngine();
  std::string text;
  EXPECT_EQ(call({}, SIZE, &text), 0U);
  EXPECT_STREQ(text.c_str(), HELP.c_str());
}

TEST_F(Console, AKeywordThatDoesNotMatchExactlyGetsTheHelpText) {
  makeEngine();
  for (const char* word :
       {"Info", "inf", "infos", "", " info", "info ", "READREG", "readreg", "PD69104Engine"}) {
    std::string text;
    EXPECT_EQ(call({word, "1"}, SIZE, &text), 0U) << word;
    EXPECT_STREQ(text.c_str(), HELP.c_str()) << word;
  }
}

TEST_F(Console, AnswersThroughItsBaseClass) {
  makeEngine();
  Zorvan::Cdebugable& base = *engine;
  const char* argv[] = {"help"};
  char out[SIZE];
  EXPECT_EQ(base.dbgCommand(1, argv, out, sizeof out), 1U);
  EXPECT_EQ(out, HELP);
}

TEST_F(Console, CutsEveryReplyAtEveryLengthWithoutANulAndWritesNothingBehind) {
  makeEngine();
  const std::vector<std::vector<std::string>> commands = {{"help"},
                                                          {"info"},
                                                          {"device"},
                                                          {"channel", "0"},
                                                          {"poeport", "0"},
                                                          {"readReg", "1"},
                                                          {"writeReg", "1", "2"},
                                                          {"unknown"}};
  for (const auto& words : commands) {
    std::string whole;
    call(words, SIZE, &whole);
    const std::size_t length = whole.find('\0');
    for (std::uint32_t outLen = 0; outLen <= length + 3; outLen++) {
      std::string cut;
      call(words, outLen, &cut);
      EXPECT_EQ(cut, whole.substr(0, outLen)) << words[0] << " cut at " << outLen;
    }
  }
  const char* argv[] = {"info"};
  EXPECT_EQ(engine->dbgCommand(1, argv, nullptr, 0), 1U);
}

TEST_F(Console, NoRandomCommandWritesBehindItsBuffer) {
  makeEngine();
  std::mt19937 random(69104);
  const char* const pool[] = {"help",    "info", "device", "channel", "poeport", "writeReg",
                              "readReg", "0",    "3",      "4",       "-1",      "0xCE",
                              "0xCF",    "x",    "",       "255",     "1e9",     "\xFF"};
  for (int round = 0; round < 2000; round++) {
    std::vector<std::string> words(random() % 5);
    for (std::string& word : words) {
      word = pool[random() % std::size(pool)];
    }
    std::string text;
    call(words, static_cast<std::uint32_t>(random() % 700), &text);
  }
  takeLog();
}

// Arguments.

TEST(NumberArgument, ConvertsAsStrtoulWhereUnsignedLongHas32Bits) {
  const std::pair<const char*, std::uint32_t> rows[] = {
      {"0", 0},
      {"12", 12},
      {"0x12", 18},
      {"0X1a", 26},
      {"012", 10},
      {"032", 26},
      {"09", 0},
      {"0x", 0},
      {"", 0},
      {"zz", 0},
      {"12zz", 12},
      {" \t\n26", 26},
      {"+7", 7},
      {"-1", 4294967295U},
      {" -5", 4294967291U},
      {"-0", 0},
      {"--5", 0},
      {"+-5", 0},
      {"- 5", 0},
      {"-0x10", 4294967280U},
      {"4294967295", 4294967295U},
      {"4294967296", 4294967295U},
      {"4294967297", 4294967295U},
      {"-4294967295", 1},
      {"-4294967296", 4294967295U},
      {"-4294967297", 4294967295U},
      {"18446744073709551615", 4294967295U},
      {"18446744073709551616", 4294967295U},
      {"-18446744073709551615", 4294967295U},
      {"-18446744073709551616", 4294967295U},
      {"99999999999999999999999999", 4294967295U},
      {"0xFFFFFFFF", 4294967295U},
      {"0x100000000", 4294967295U},
  };
  for (const auto& [text, number] : rows) {
    EXPECT_EQ(numberArgument(text), number) << "'" << text << "'";
  }
}

// readReg and writeReg.

TEST_F(Console, ReadRegShowsARegisterInLowerCaseHexadecimal) {
  makeEngine();
  registers[0x1A] = 5;
  registers[0xCE] = 0xFE;
  for (const char* address : {"26", "0x1A", "0x1a", "0X1A", "032"}) {
    EXPECT_EQ(reply({"readReg", address, "surplus"}), "PD69104Engine: value read 0x1a:0x5\n\n");
  }
  EXPECT_EQ(reply({"readReg", "0xCE"}), "PD69104Engine: value read 0xce:0xfe\n\n");
  EXPECT_EQ(reply({"readReg", "zz"}), "PD69104Engine: value read 0x0:0x0\n\n");
  EXPECT_EQ(registersMoved(), "R1A R1A R1A R1A R1A RCE R00 ");
}

TEST_F(Console, ReadRegBehindTheLastRegisterFailsWithoutATransfer) {
  makeEngine();
  EXPECT_EQ(reply({"readReg", "0xCF"}), "ERROR in reading register: 0xcf\n\n");
  EXPECT_EQ(reply({"readReg", "300"}), "ERROR in reading register: 0x12c\n\n");
  EXPECT_EQ(reply({"readReg", "-1"}), "ERROR in reading register: 0xffffffff\n\n");
  const LogLines log = takeLog();
  ASSERT_EQ(log.size(), 6U);
  EXPECT_EQ(log[0].text, "SWERR ERROR DETECTED: components/PoeDriver/pd69104 2203 ");
  EXPECT_EQ(log[5].text.rfind("Range Error [address=0xffffffff result=0x", 0), 0U);
  EXPECT_EQ(registersMoved(), "");
}

TEST_F(Console, ReadRegTellsAFailedTransfer) {
  makeEngine();
  bus.failAll();
  EXPECT_EQ(reply({"readReg", "0x70"}), "ERROR in reading register: 0x70\n\n");
  EXPECT_EQ(takeLog(), readFailureReport("70"));
}

TEST_F(Console, WriteRegWritesTheLowEightBitsAndReportsTheWholeValue) {
  makeEngine();
  EXPECT_EQ(reply({"writeReg", "0x13", "3"}), "PD69104Engine: value written ok 0x13:0x3\n\n");
  EXPECT_EQ(reply({"writeReg", "0x10", "0x1234"}), "PD69104Engine: value written ok 0x10:0x1234\n\n");
  EXPECT_EQ(reply({"writeReg", "206", "256", "surplus"}), "PD69104Engine: value written ok 0xce:0x100\n\n");
  EXPECT_EQ(reply({"writeReg", "x", "y"}), "PD69104Engine: value written ok 0x0:0x0\n\n");
  EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x13, 3), W(0x10, 0x34), W(0xCE, 0), W(0x00, 0)}));
}

TEST_F(Console, WriteRegTellsFailures) {
  makeEngine();
  EXPECT_EQ(reply({"writeReg", "0xCF", "1"}), "ERROR in writing register: 0xcf\n\n");
  EXPECT_EQ(takeLog(), softwareError("pd69104", 2142, "Range Error [address=0xcf]\n"));
  EXPECT_EQ(registersMoved(), "");
  bus.failAll();
  EXPECT_EQ(reply({"writeReg", "0x12", "1"}), "ERROR in writing register: 0x12\n\n");
  EXPECT_EQ(takeLog(), softwareError("pd69104", 2154, "Failed reading device at address 0x12\n"));
}

TEST_F(Console, RegisterCommandsWithoutTheirArgumentsTouchNothing) {
  makeEngine();
  EXPECT_EQ(reply({"readReg"}), "MISSING PARAMETERS for command readReg \n\n");
  EXPECT_EQ(reply({"writeReg"}), "MISSING PARAMETERS for command writeReg \n\n");
  EXPECT_EQ(reply({"writeReg", "1"}), "MISSING PARAMETERS for command writeReg \n\n");
  EXPECT_EQ(registersMoved(), "");
}

TEST_F(Console, RegisterCommandsWithoutADriverObjectFail) {
  makeEngineWithoutDriver();
  EXPECT_EQ(reply({"readReg", "0x12"}), "ERROR in reading register: 0x12\n\n");
  EXPECT_EQ(reply({"writeReg", "0x12", "1"}), "ERROR in writing register: 0x12\n\n");
}

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

std::string driverText(const std::string& mode, const std::string& error, unsigned count) {
  return "==============\n"
         "PD69104 DRIVER\n"
         "==============\n"
         "m_HwOperationMode       : " +
         mode +
         "\n"
         "\n"
         "m_i2c_filename          : /dev/i2c-0\n"
         "m_i2c_adapter_nr        : 0\n"
         "m_i2c_file              : 31249\n"
         "m_poeError              : " +
         error +
         "\n"
         "m_poeErrorCount         : " +
         std::to_string(count) + "\n";
}

TEST_F(Console, InfoOfAFreshEngineShowsZeros) {
  makeEngine();
  EXPECT_EQ(reply({"info", "surplus"}), INFO_TITLE +
                                            "m_state                 = IDLE\n\nstate of PoeEngine\n\n" +
                                            driverText("IDLE", "FALSE", 0) + ZERO_FIGURES);
  EXPECT_EQ(registersMoved(), "R7F R89 R8A R8B R8C R8D R8E R8F R90 ");
}

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
                                       driverText("NORMAL", "FALSE", 0) +
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

TEST_F(Console, InfoCarriesABankLimitOverAFailedReadAndTakesAFailedFlagAsFalse) {
  makeEngine();
  for (unsigned bank = 0; bank < 8; bank++) {
    registers[0x89 + bank] = static_cast<std::uint8_t>(10 + bank);
  }
  for (std::size_t failing = 0; failing < 9; failing++) {
    bus.failTransfer(failing);
    const std::string text = reply({"info"});
    std::string expected = std::string("PM calculation static   = ") + (failing == 0 ? "FALSE" : "TRUE") +
                           "\n"
                           "power_bank              = 0\n"
                           "power_limit (this bank) = 0\n"
                           "power_bank settings:\n";
    for (unsigned bank = 0; bank < 8; bank++) {
      const unsigned carried = failing == bank + 1 ? (bank == 0 ? 0 : 10 + bank - 1) : 10 + bank;
      expected += "  - power_limit[" + std::to_string(bank) + "] = " + std::to_string(carried) + "\n";
    }
    EXPECT_EQ(text.substr(text.find("PM calculation")), expected + "\n") << "transfer " << failing;
    EXPECT_EQ(bus.takeTransfers().size(), 9U);
    EXPECT_EQ(takeLog().size(), 2U);
  }
}

TEST_F(Console, InfoCarriesAWatchdogTextThatFillsItsRoomWithoutANul) {
  makeEngine();
  setWatchdogText(std::string(5000, 'w'));
  EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = IDLE\n\n" + std::string(4095, 'w') +
                                 "\n" + driverText("IDLE", "FALSE", 0) + ZERO_FIGURES);
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

TEST_F(Console, InfoWithoutAWatchdogClientSaysSoAndGoesOn) {
  const FailingNew noWatchdog(sizeof(watchdogMonitor));
  makeEngine();
  EXPECT_EQ(reply({"info"}), INFO_TITLE + "m_state                 = IDLE\n\nNo watchdog device found\n\n" +
                                 driverText("IDLE", "FALSE", 0) + ZERO_FIGURES);
}

TEST(ConsoleReport, WritesTenthsOfVoltsWithOneDecimal) {
  const std::pair<std::uint32_t, const char*> rows[] = {
      {0, "V 0.0\n"}, {7, "V 0.7\n"}, {480, "V 48.0\n"}, {485, "V 48.5\n"}, {4294967295U, "V 429496729.5\n"}};
  for (const auto& [deciVolts, text] : rows) {
    std::ostringstream report;
    report << std::hex; // whatever the stream was switched to before
    writeVolts(report, "V ", deciVolts);
    EXPECT_EQ(report.str(), text);
  }
}

TEST(ConsoleReport, WritesSignedAndUnsignedNumbersInDecimal) {
  std::ostringstream report;
  report << std::hex;
  writeNumber(report, "a = ", 4294967295U);
  report << std::hex;
  writeSigned(report, "b = ", -5);
  EXPECT_EQ(report.str(), "a = 4294967295\nb = -5\n");
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

TEST_F(Console, DeviceShowsTheErrorFlagOfAnAbsentChip) {
  afterACycle([&] { bus.failAll(); },
              [&] {
                EXPECT_EQ(reply({"device"}), "device status\n"
                                             "=============\n"
                                             "  device_id               = 0\n"
                                             "  device revision         = 0\n"
                                             "  temperature             = -27\n"
                                             "  thermal shutdown        = FALSE\n"
                                             "  dev_error               = TRUE\n"
                                             "  device errorcount       = 1\n"
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

TEST_F(Console, ChannelShowsTheLastPolledRecord) {
  afterACycle(
      [&] {
        registers[0x10] = 0x44;
        registers[0x0E] = 0x24;
      },
      [&] {
        for (const char* number : {"2", "0x2", "02", "2nd"}) {
          EXPECT_EQ(reply({"channel", number}), "channel 2\n"
                                                "============\n"
                                                "  enable                  = TRUE\n"
                                                "  power_good              = TRUE\n"
                                                "  det_status              = GOOD\n"
                                                "  pclass                  = CLASS_2\n"
                                                "  fet_error               = FALSE\n"
                                                "  mosfet_overtemperature  = FALSE\n"
                                                "  in_pm_mode              = FALSE\n"
                                                "  passed_MSCC_cap_det     = FALSE\n"
                                                "  det_fail                = FALSE\n"
                                                "\n");
        }
        EXPECT_EQ(registersMoved(), "");
      });
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
                  EXPECT_EQ(reply({"channel", "3"}), std::string("channel 3\n"
                                                                 "============\n"
                                                                 "  enable                  = FALSE\n"
                                                                 "  power_good              = FALSE\n"
                                                                 "  det_status              = ") +
                                                         detection[code] +
                                                         "\n  pclass                  = " + classes[code] +
                                                         "\n"
                                                         "  fet_error               = FALSE\n"
                                                         "  mosfet_overtemperature  = FALSE\n"
                                                         "  in_pm_mode              = FALSE\n"
                                                         "  passed_MSCC_cap_det     = FALSE\n"
                                                         "  det_fail                = FALSE\n"
                                                         "\n");
                });
  }
}

TEST(ConsoleReport, DecodesACodeBehindItsTableAsIllegal) {
  constexpr const char* WORDS[] = {"NONE\n", "ONE\n"};
  EXPECT_STREQ(decode(WORDS, 1), "ONE\n");
  EXPECT_STREQ(decode(WORDS, 2), "ILLEGAL\n");
  EXPECT_STREQ(decode(WORDS, 0xFFFFFFFF), "ILLEGAL\n");
}

// poeport.

const std::string ZERO_COUNTERS = "  invalidSignatureCounter   = 0\n"
                                  "  powerDeniedCounter        = 0\n"
                                  "  overLoadCounter           = 0\n"
                                  "  underLoadCounter          = 0\n"
                                  "  shortCounter              = 0\n"
                                  "  classErrorCounter         = 0\n"
                                  "\n";

TEST_F(Console, PoePortOfAFreshEngineShowsOtherFaultNoClassAndZeroCounters) {
  makeEngine();
  EXPECT_EQ(reply({"poeport", "0"}), "channel 0\n"
                                     "============\n"
                                     "  admin enable              = FALSE\n"
                                     "  Oper status               = OTHERFAULT\n"
                                     "  powerClassification       = NONE\n"
                                     "  port power limit (W)      = 0\n"
                                     "  temp port power limit (W) = 0\n"
                                     "  priority                  = 0\n"
                                     "  main voltage (dV)         = 0\n"
                                     "  port_voltage (dV)         = 0\n"
                                     "  port_current (mA)         = 0\n"
                                     "  power_consumption (W)     = 0\n"
                                     "\n" +
                                         ZERO_COUNTERS + "\n");
  EXPECT_EQ(registersMoved(), "R81 R85 R80 R71 R72 R32 R33 R30 R31 R92 ");
}

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

TEST_F(Console, PoePortLeavesOutTheLinesOfEachFailedReading) {
  makeEngine();
  const std::string head = "channel 0\n"
                           "============\n"
                           "  admin enable              = FALSE\n"
                           "  Oper status               = OTHERFAULT\n"
                           "  powerClassification       = NONE\n";
  const std::string limits = "  port power limit (W)      = 0\n"
                             "  temp port power limit (W) = 0\n";
  const std::string priority = "  priority                  = 0\n";
  const std::string measurements = "  main voltage (dV)         = 0\n"
                                   "  port_voltage (dV)         = 0\n"
                                   "  port_current (mA)         = 0\n"
                                   "  power_consumption (W)     = 0\n";
  for (std::size_t failing = 0; failing < 10; failing++) {
    bus.failTransfer(failing);
    EXPECT_EQ(reply({"poeport", "0"}), head + (failing < 2 ? "" : limits) + (failing == 2 ? "" : priority) +
                                           (failing > 2 ? "" : measurements) + "\n" + ZERO_COUNTERS + "\n")
        << "transfer " << failing;
    EXPECT_EQ(bus.takeTransfers().size(), 10U);
    EXPECT_EQ(takeLog().size(), 2U);
  }
  bus.failAll();
  EXPECT_EQ(reply({"poeport", "0"}), head + "\n" + ZERO_COUNTERS + "\n");
  takeLog();
}

TEST_F(Console, PoePortShowsOneLessThanTheConfiguredPriority) {
  for (std::uint32_t priority = 1; priority <= 3; priority++) {
    afterACycle(
        [&] {
          PoeConfig config = fourPorts();
          config.port[2].priority = priority;
          configure(config);
        },
        [&] {
          const std::string text = reply({"poeport", "2"});
          EXPECT_NE(text.find("  priority                  = " + std::to_string(priority - 1) + "\n"),
                    std::string::npos);
        });
  }
}

TEST_F(Console, PoePortDecodesEveryClass) {
  const std::pair<unsigned, const char*> rows[] = {{0, "NONE"},   {1, "CLASS1"}, {2, "CLASS2"}, {3, "CLASS3"},
                                                   {4, "CLASS4"}, {5, "NONE"},   {6, "CLASS0"}, {7, "NONE"}};
  for (const auto& [code, word] : rows) {
    afterACycle([&, chipCode = code] { registers[0x0C] = static_cast<std::uint8_t>(chipCode << 4); },
                [&, expected = word] {
                  const std::string text = reply({"poeport", "0"});
                  EXPECT_EQ(text.substr(text.find("  powerClassification"), 31 + std::strlen(expected)),
                            std::string("  powerClassification       = ") + expected + "\n");
                });
  }
}

TEST_F(Console, PoePortDecodesEveryOperationalState) {
  struct Row {
    std::uint8_t adminEnable;
    unsigned portStatus;
    unsigned powerStatus;
    unsigned details;
    const char* word;
  };
  const Row rows[] = {{0, 0, 0, 0, "DISABLED"},
                      {1, 0, 0, 0, "SEARCHING"},
                      {1, 4, 1, 0, "DELIVERINGPOWER"},
                      {1, 1, 0, 0, "FAULT"},
                      {1, 0, 0, 1, "OTHERFAULT"}};
  for (const Row& row : rows) {
    afterACycle(
        [&] {
          PoeConfig config = fourPorts();
          config.port[0].adminEnable = row.adminEnable;
          configure(config);
          registers[0x0C] = static_cast<std::uint8_t>(row.portStatus);
          registers[0x10] = static_cast<std::uint8_t>(row.powerStatus);
          registers[0x75] = static_cast<std::uint8_t>(row.details);
        },
        [&] {
          const std::string text = reply({"poeport", "0"});
          EXPECT_EQ(text.substr(text.find("  Oper status"), 31 + std::strlen(row.word)),
                    std::string("  Oper status               = ") + row.word + "\n");
        });
  }
}

// Together with the worker.

// Four clients ask as fast as they can while the worker runs its cycles. The bus then must have seen nothing
// but whole cycles and whole commands, one behind the other: a command delays a cycle by its own transfers
// and by nothing else.
TEST_F(Console, LetsEveryCycleAndEveryCommandMakeItsTransfersInOnePiece) {
  makeEngine();
  std::atomic<bool> running{true};
  std::vector<std::thread> clients;
  const auto ask = [&] {
    const char* const commands[][2] = {
        {"info", ""}, {"device", ""}, {"channel", "1"}, {"poeport", "2"}, {"readReg", "0x43"}};
    std::vector<char> out(SIZE);
    while (running) {
      for (const auto& words : commands) {
        EXPECT_EQ(engine->dbgCommand(2, words, out.data(), SIZE), 1U);
      }
    }
  };
  const auto startClients = [&] {
    for (unsigned client = 0; client < 4; client++) {
      clients.emplace_back(ask);
    }
    bus.takeTransfers(); // the set-up, and what the clients have done so far: the next cycle begins the
                         // record
  };
  std::vector<Step> steps(100, [] {});
  steps.front() = startClients;
  std::string record;
  steps.back() = [&] {
    running = false;
    for (std::thread& client : clients) {
      client.join();
    }
    record = registersMoved();
  };
  runCycles(steps);
  EXPECT_EQ(takeLog(), DEFAULT_CONFIGURATION_NOTICE);

  const std::string pieces[] = {HEALTHY_CYCLE, "R7F R89 R8A R8B R8C R8D R8E R8F R90 ",
                                "R83 R87 R80 R71 R72 R3A R3B R38 R39 R94 ", "R43 "};
  std::size_t cycles = 0;
  std::size_t position = firstWholePiece(record);
  while (position < record.size()) {
    const auto piece = std::find_if(std::begin(pieces), std::end(pieces), [&](const std::string& candidate) {
      return record.compare(position, candidate.size(), candidate) == 0;
    });
    ASSERT_NE(piece, std::end(pieces)) << "at " << record.substr(position, 80);
    cycles += piece == std::begin(pieces) ? 1U : 0U;
    position += piece->size();
  }
  EXPECT_GE(cycles, 98U);
}

} // namespace

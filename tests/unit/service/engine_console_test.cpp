// The engine's console: dispatch, help, arguments, the register commands, and its place beside the worker.
#include "components/PoeDriver/pd69104_engine_console.h"
#include "tests/unit/service/console_fixture.h"

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

// Dispatch and help.

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

TEST_F(Console, CutsEveryReplyAtEveryLengthWithoutANulAndWritesNothingBeyond) {
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

// Arguments.

using Numbers = std::vector<std::pair<const char*, std::uint32_t>>;

void expectNumbers(const Numbers& rows) {
  for (const auto& [text, number] : rows) {
    EXPECT_EQ(numberArgument(text), number) << "'" << text << "'";
  }
}

TEST(NumberArgument, IsDecimalHexadecimalOrOctalByItsPrefixUpToTheFirstCharacterThatIsNoDigit) {
  expectNumbers({{"0", 0},
                 {"12", 12},
                 {"0x12", 18},
                 {"0X1a", 26},
                 {"012", 10},
                 {"032", 26},
                 {"09", 0},
                 {"0x", 0},
                 {"12zz", 12},
                 {"", 0},
                 {"zz", 0},
                 {"- 5", 0},
                 {"--5", 0},
                 {"+-5", 0},
                 {"+7", 7},
                 {"-0", 0},
                 {" \t\n26", 26}});
}

TEST(NumberArgument, IsCutTo32BitsButTheLargestNumberBeyondAnUnsignedLong) {
  const bool cut = sizeof(unsigned long) > sizeof(std::uint32_t);
  expectNumbers({{"4294967295", 4294967295U},
                 {"0xFFFFFFFF", 4294967295U},
                 {"-1", 4294967295U},
                 {" -5", 4294967291U},
                 {"-0x10", 4294967280U},
                 {"-4294967295", 1},
                 {"18446744073709551615", 4294967295U},
                 {"18446744073709551616", 4294967295U},
                 {"-18446744073709551616", 4294967295U},
                 {"4294967296", cut ? 0 : 4294967295U},
                 {"4294967297", cut ? 1 : 4294967295U},
                 {"0x100000012", cut ? 18 : 4294967295U},
                 {"-4294967296", cut ? 0 : 4294967295U},
                 {"-4294967299", cut ? 4294967293U : 4294967295U},
                 {"-18446744073709551615", cut ? 1 : 4294967295U}});
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

TEST_F(Console, ReadRegAboveTheLastRegisterFailsWithoutATransfer) {
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

TEST_F(Console, ReadRegReportsAFailedTransfer) {
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

TEST_F(Console, WriteRegReportsFailures) {
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

} // namespace

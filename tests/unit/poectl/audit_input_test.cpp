// What the audit of the running service works with, taken from the replies of its console.
#include "poectl/console/audit_input.h"

#include "poectl/console/console_client.h"

#include <gtest/gtest.h>

namespace {

std::string channel(const std::string& enable, const std::string& detection) {
  return "channel 0\n============\n  enable                  = " + enable +
         "\n  power_good              = FALSE\n  det_status              = " + detection +
         "\n  pclass                  = CLASS_2\n\n";
}

std::string complaint(const std::string& reply) {
  try {
    portStateFrom(reply);
  } catch (const ConsoleError& error) {
    return error.what();
  }
  return "nothing";
}

class PortStateFrom : public ::testing::TestWithParam<std::pair<const char*, std::uint32_t>> {};

TEST_P(PortStateFrom, TakesTheChipsDetectionCodeFromItsWord) {
  EXPECT_EQ(portStateFrom(channel("FALSE", GetParam().first)).detection, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Words, PortStateFrom,
                         ::testing::Values(std::pair{"UNKNOWN", 0U}, std::pair{"SHORT", 1U},
                                           std::pair{"CPD_TOO_HIGH", 2U}, std::pair{"RSIG_TOO_LOW", 3U},
                                           std::pair{"GOOD", 4U}, std::pair{"RSIG_TOO_HIGH", 5U},
                                           std::pair{"OPEN_CIRCUIT", 6U}, std::pair{"ILLEGAL", 7U}),
                         [](const auto& row) { return std::string(row.param.first); });

TEST(PortStateFromReport, IsPoweredWhenTheChannelIsEnabled) {
  EXPECT_TRUE(portStateFrom(channel("TRUE", "GOOD")).powered);
  EXPECT_FALSE(portStateFrom(channel("FALSE", "GOOD")).powered);
}

TEST(PortStateFromReport, RefusesAReportOfAnotherForm) {
  EXPECT_EQ(complaint("No POE device found\n\n"),
            "the console does not show 'det_status              = ' but 'No POE device found'");
  EXPECT_EQ(complaint(channel("TRUE", "SPLENDID")),
            "the console shows 'det_status              = SPLENDID', which is not understood");
  EXPECT_EQ(complaint(channel("PERHAPS", "GOOD")),
            "the console shows 'enable                  = PERHAPS', which is not understood");
}

TEST(BankLimitFrom, TakesTheLimitOfTheActiveBank) {
  EXPECT_EQ(bankLimitFrom("power_bank              = 0\npower_limit (this bank) = 100\npower_bank settings:\n"
                          "  - power_limit[0] = 30\n"),
            100U);
}

TEST(BankLimitFrom, RefusesAReportOfAnotherForm) {
  EXPECT_THROW(bankLimitFrom("No POE device found\n"), ConsoleError);
  EXPECT_THROW(bankLimitFrom("power_limit (this bank) = many\n"), ConsoleError);
  EXPECT_THROW(bankLimitFrom("power_limit (this bank) = 1 \n"), ConsoleError);
}

} // namespace

// The tools that everybody uses on a bus, on the simulated card.
#include "card_process.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* I2CGET = I2C_TOOLS "/i2cget";
constexpr const char* I2CSET = I2C_TOOLS "/i2cset";
constexpr const char* I2CDUMP = I2C_TOOLS "/i2cdump";

TEST(I2cTools, I2cgetReadsARegister) {
  const CardResult result = runCard({"--", I2CGET, "-y", "0", "0x20", "0x43"});
  EXPECT_EQ(result.out, "0x41\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST(I2cTools, I2csetWritesARegister) {
  const std::string writeAndRead =
      std::string(I2CSET) + " -y 0 0x20 0x12 0x5A && " + I2CGET + " -y 0 0x20 0x12";
  const CardResult result = runCard({"--", "sh", "-c", writeAndRead});
  EXPECT_EQ(result.out, "0x5a\n");
  EXPECT_EQ(result.status, 0);
}

TEST(I2cTools, ADumpOfOneCardIsLoadedIntoAnother) {
  const TemporaryDirectory directory;
  const std::string dump = (directory.path() / "card.txt").string();
  const CardResult first =
      runCard({"--plug", "1 class=4 watts=22", "--", "sh", "-c",
               std::string(I2CSET) + " -y 0 0x20 0x8A 0x64 && " + I2CDUMP + " -y 0 0x20 b >" + dump});
  EXPECT_EQ(first.status, 0) << first.err;
  const CardResult second = runCard({"--command", "load " + dump, "--", I2CGET, "-y", "0", "0x20", "0x8A"});
  EXPECT_EQ(second.out, "0x64\n");
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(second.status, 0);
}

} // namespace

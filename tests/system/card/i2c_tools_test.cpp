// The tools that everybody uses on a bus, on the simulated card.
#include "card_process.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* I2CGET = I2C_TOOLS "/i2cget";
constexpr const char* I2CSET = I2C_TOOLS "/i2cset";
constexpr const char* I2CDUMP = I2C_TOOLS "/i2cdump";

TEST(I2cTools, WriteDumpAndReadRegistersSoThatADumpOfOneCardIsLoadedIntoAnother) {
  const TemporaryDirectory directory;
  const std::string dump = directory.file("card.txt");
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

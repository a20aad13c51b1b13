// The console over loopback, through poectl.
#include "tests/target/support/target_fixture.h"

namespace {

using Console = TargetTest;

TEST_F(Console, ReadsAndWritesARegister) {
  startService();
  configureScene();
  const Result read = run({"/bin/poectl", "console", "readReg", "0x8B"});
  EXPECT_EQ(read.output, "PD69104Engine: value read 0x8b:0x55\n\n");
  const Result written = run({"/bin/poectl", "console", "writeReg", "0x15", "0x1A7"});
  EXPECT_EQ(written.output, "PD69104Engine: value written ok 0x15:0x1a7\n\n");
  EXPECT_EQ(chip->read(0x15), 0xA7);
  EXPECT_EQ(log.take(), START_LOG);
}

} // namespace

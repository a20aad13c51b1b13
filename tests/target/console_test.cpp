// The console over loopback, through poectl.
#include "tests/target/support/target_fixture.h"

#include <regex>

namespace {

class Console : public TargetTest {
protected:
  // A service with the scene's configuration on the scene's chip.
  void startScene() {
    startService();
    configureScene();
    chip->write(SCENE_REGISTERS);
    chip->write({{0x43, 0x41}, // device 2, revision 1
                 {0x71, 0x37},
                 {0x72, 0x24}, // 54.1 V
                 {0x3C, 0x05},
                 {0x3D, 0x0D}, // 407 mA
                 {0x3E, 0x00},
                 {0x3F, 0x23}, // 52.3 V
                 {0xCB, 0x12},
                 {0xCC, 0xF9}}); // 51.0 V, above it bits that do not belong to it
    nextWholeStatus();
    EXPECT_EQ(log.take(), START_LOG);
  }

  static std::string reply(std::vector<std::string> words) {
    words.insert(words.begin(), {"/bin/poectl", "console"});
    const Result result = run(words);
    EXPECT_EQ(result.status, 0);
    return result.output;
  }
};

TEST_F(Console, ReadsARegister) {
  startScene();
  EXPECT_EQ(reply({"readReg", "0x8B"}), "PD69104Engine: value read 0x8b:0x55\n\n");
}

TEST_F(Console, WritesARegister) {
  startScene();
  EXPECT_EQ(reply({"writeReg", "0x15", "0x1A7"}), "PD69104Engine: value written ok 0x15:0x1a7\n\n");
  EXPECT_EQ(chip->read(0x15), 0xA7);
}

TEST_F(Console, RefusesARegisterAboveTheLast) {
  startScene();
  EXPECT_EQ(reply({"readReg", "0xCF"}), "ERROR in reading register: 0xcf\n\n");
  const std::string report = log.take();
  EXPECT_TRUE(
      std::regex_match(report, std::regex("<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 2203 \n"
                                          "<3> Range Error \\[address=0xcf result=0x[0-9a-f]+\\]\n")))
      << report;
}

TEST_F(Console, ShowsTheDevice) {
  startScene();
  EXPECT_EQ(reply({"device"}), "device status\n"
                               "=============\n"
                               "  device_id               = 2\n"
                               "  device revision         = 1\n"
                               "  temperature             = -18\n"
                               "  thermal shutdown        = FALSE\n"
                               "  dev_error               = FALSE\n"
                               "  device errorcount       = 0\n"
                               "\n");
}

} // namespace
